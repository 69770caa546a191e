// The FIR filter seen as a whole: which lines come out of an image, in which call, with what in
// them. No ring, no delay, sums in 64 bits.
#pragma once

#include "reference/scanlines.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace movane_tests {

/// An image of noise and a filter for it.
template <class Sample>
struct FirImage {
    int channels, width, height;  // as announced
    int fed;                      // lines
    unsigned seed;
    int radius, max_value;
    const std::vector<double>& weights;

    Sample operator()(int channel, int y, int x) const {
        return static_cast<Sample>(noise(seed, channel, y, x));
    }

    Sample filtered(int channel, int y, int x) const {
        std::int64_t sum = 0;
        auto weight      = weights.begin();
        for (int i = y - radius; i <= y + radius; ++i)
            for (int j = x - radius; j <= x + radius; ++j)
                sum += (*this)(channel, i, j) * to_16_16(*weight++);
        const auto wrapped = static_cast<std::int32_t>(static_cast<std::uint32_t>(sum));
        return static_cast<Sample>(std::min(std::max(wrapped, 0) >> 16, max_value));
    }

    static std::int64_t to_16_16(double weight) {
        if (std::isnan(weight)) return 0;
        return static_cast<std::int64_t>(
            std::clamp(std::trunc(weight * 65536.0), -2147483648.0, 2147483647.0));
    }
};

template <class Sample>
std::vector<Delivery<Sample>> fir_reference(const FirImage<Sample>& image) {
    std::vector<Delivery<Sample>> deliveries;
    const int r = image.radius, width = image.width, height = image.height;
    const auto deliver = [&](int call, int y, bool is_filtered) {
        for (int channel = 0; channel < image.channels; ++channel) {
            std::vector<Sample> line;
            for (int x = 0; x < width; ++x)
                line.push_back(is_filtered && x >= r && x < width - r
                                   ? image.filtered(channel, y, x)
                                   : image(channel, y, x));
            deliveries.push_back({call, channel, line});
        }
    };
    const bool never_ends = height <= 0;  // being complete before it begins
    for (int y = 0; y < (never_ends ? image.fed : std::min(image.fed, height)); ++y) {
        if (y < r) deliver(y, y, false);
        if (y >= std::max(r, 2 * r) && !never_ends) deliver(y, y - r, true);
        if (y != height - 1) continue;
        for (int last = std::max(0, height - r); last < height; ++last) deliver(y, last, false);
    }
    return deliveries;
}

}  // namespace movane_tests
