// The FIR filter seen as a whole: which lines come out of an image, in which call, with what in
// them. No ring, no delay, sums in 64 bits.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace movane_tests {

template <class Sample>
using Plane = std::vector<std::vector<Sample>>;  // the lines of one channel

struct FirSetting {
    int radius;
    int max_value;
    std::vector<double> weights;
    int height;  // as announced; the planes hold as many lines as are fed
};

template <class Sample>
struct Delivery {
    int call;  // the line call within which it happened, from 0
    int channel;
    std::vector<Sample> line;
    bool operator==(const Delivery&) const = default;
};

inline std::int64_t reference_16_16(double weight) {
    if (std::isnan(weight)) return 0;
    return static_cast<std::int64_t>(
        std::clamp(std::trunc(weight * 65536.0), -2147483648.0, 2147483647.0));
}

template <class Sample>
std::vector<Sample> filtered_line(const Plane<Sample>& plane, const FirSetting& setting, int y) {
    const int r = setting.radius, size = 2 * r + 1;
    const auto at = [](const auto& vector, int i) { return vector[static_cast<std::size_t>(i)]; };

    std::vector<Sample> line = at(plane, y);
    const int width          = static_cast<int>(line.size());
    for (int x = r; x < width - r; ++x) {
        std::int64_t sum = 0;
        for (int i = 0; i < size; ++i) {
            for (int j = 0; j < size; ++j)
                sum += at(plane[static_cast<std::size_t>(y - r + i)], x - r + j) *
                       reference_16_16(at(setting.weights, i * size + j));
        }
        const auto wrapped = static_cast<std::int32_t>(static_cast<std::uint32_t>(sum));
        const int value    = std::min(std::max(wrapped, 0) >> 16, setting.max_value);
        line[static_cast<std::size_t>(x)] = static_cast<Sample>(value);
    }
    return line;
}

template <class Sample>
std::vector<Delivery<Sample>> fir_reference(const std::vector<Plane<Sample>>& planes,
                                            const FirSetting& setting) {
    std::vector<Delivery<Sample>> deliveries;
    const auto deliver = [&](int call, int y, bool filtered) {
        for (std::size_t ch = 0; ch < planes.size(); ++ch)
            deliveries.push_back({call, static_cast<int>(ch),
                                  filtered ? filtered_line(planes[ch], setting, y)
                                           : planes[ch][static_cast<std::size_t>(y)]});
    };
    const int r = setting.radius, height = setting.height;
    const int fed     = static_cast<int>(planes[0].size());
    const bool flawed = height <= 0;  // an image that is complete before it begins never ends

    for (int y = 0; y < (flawed ? fed : std::min(fed, height)); ++y) {
        if (y < r) {
            deliver(y, y, false);
        } else if (y >= 2 * r && !flawed) {
            deliver(y, y - r, true);
        }
        if (y == height - 1) {
            for (int last = std::max(0, height - r); last < height; ++last) deliver(y, last, false);
        }
    }
    return deliveries;
}

}  // namespace movane_tests
