// Unsharp masking seen as a whole: which lines come out of an image, in which call, with what in
// them. No rings, the kernels as squares of weights, no tables.
#pragma once

#include "reference/scanlines.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <utility>
#include <vector>

namespace movane_tests {

/// What a host's callback puts into a channel, of the first and the last component.
inline int mixed_channel(int first, int last, int channel) {
    return (3 * first + last + 7 * channel) / 4;
}

/// An image of noise and a filter for it.
template <class Sample>
struct FusmImage {
    int radius, maxval, comps, channels;
    bool has_callback;
    std::vector<int> channel_of;
    int width, height;  // as announced
    int fed;            // lines
    unsigned seed;
    int brightest;  // sample
    bool has_limits;
    std::vector<double> strength, noise;
    std::vector<std::vector<std::pair<double, double>>> curves;  // ascending; empty for none

    int half() const { return radius == 0 ? 1 : 2; }

    Sample noise_at(int what, int y, int x) const {
        const unsigned any = mixed(seed, what, y, x);
        // Flat enough here and there for small responses.
        const auto range = static_cast<unsigned>(brightest) + 1;
        return static_cast<Sample>(any % 4 ? 40 + any / 4 % 8 : any / 4 % range);
    }
    Sample operator()(int comp, int y, int x) const { return noise_at(comp, y, x); }
    Sample limit(int y, int x) const { return noise_at(9, y, x); }
    bool has_limit(int y) const { return has_limits && y % 3 != 2; }

    int source(int channel, int y, int x) const {
        if (!has_callback) return (*this)(channel, y, x);
        return static_cast<Sample>(
            mixed_channel((*this)(0, y, x), (*this)(comps - 1, y, x), channel));
    }

    int response(int channel, int y, int x) const {
        // By the distances of line and column.
        static constexpr int kWeights[3][3][3] = {{{4, -1, 0}, {-1, 0, 0}, {0, 0, 0}},
                                                  {{12, -2, -1}, {-2, 0, 0}, {-1, 0, 0}},
                                                  {{8, 2, -2}, {2, 0, -1}, {-2, -1, 0}}};
        if (x < half() || x >= width - half()) return 0;
        int sum = 0;
        for (int i = -half(); i <= half(); ++i)
            for (int j = -half(); j <= half(); ++j)
                if (const int weight = kWeights[radius][std::abs(i)][std::abs(j)])
                    sum += weight * source(channel, y + i, x + j);
        return sum;
    }

    static int gain_units(double value) {
        return std::isnan(value)
                   ? 0
                   : static_cast<int>(std::clamp(std::floor(value + 0.5), 0.0, 65535.0));
    }

    int gain(int comp, int v) const {
        const double s    = radius == 0   ? strength[comp]
                            : radius == 1 ? strength[comp] / 3.0
                                          : strength[comp] * 0.25;
        const double dead = std::isnan(noise[comp]) ? 0.0 : maxval * noise[comp];
        const int n = static_cast<int>(std::clamp(dead, 0.0, 2147483647.0)), h = n / 2;
        if (v == 0 || v < h) return 0;
        return gain_units(v < n ? v * s * (v - h) / h : v * s);
    }

    /// In units of 1/256; curves are chosen such that this is exact.
    int factor(int comp, int v) const {
        const auto& curve = curves[comp];
        std::size_t k     = 1;
        while (k + 1 < curve.size() && curve[k].first < v) ++k;
        const auto [x0, y0] = curve[k - 1];
        const auto [x1, y1] = curve[k];
        return gain_units((y0 + (v - x0) * (y1 - y0) / (x1 - x0)) * 256.0);
    }

    Sample sharpened(int comp, int y, int x) const {
        const int v    = (*this)(comp, y, x);
        std::int64_t r = response(channel_of[comp], y, x);
        if (!curves[comp].empty())
            r = static_cast<std::int64_t>(
                std::floor(static_cast<double>(r * factor(comp, std::min(v, maxval))) / 256.0));
        const int correction =
            gain(comp, static_cast<int>(std::min<std::int64_t>(std::abs(r), maxval)));
        const int highest = has_limit(y) ? limit(y, x) : maxval;
        return static_cast<Sample>(
            std::min(std::max(r < 0 ? v - correction : v + correction, 0), highest));
    }
};

template <class Sample>
std::vector<Delivery<Sample>> fusm_reference(const FusmImage<Sample>& image) {
    std::vector<Delivery<Sample>> deliveries;
    const int half = image.half(), height = image.height;
    const auto deliver = [&](int call, int y, bool is_sharpened) {
        for (int comp = 0; comp < image.comps; ++comp) {
            std::vector<Sample> line;
            for (int x = 0; x < image.width; ++x)
                line.push_back(is_sharpened ? image.sharpened(comp, y, x) : image(comp, y, x));
            deliveries.push_back({call, comp, line});
        }
    };
    for (int y = 0; y < std::min(image.fed, height); ++y) {
        if (y < half) deliver(y, y, false);
        if (y >= 2 * half) deliver(y, y - half, true);
        if (y != height - 1) continue;
        for (int last = std::max(0, height - half); last < height; ++last) deliver(y, last, false);
    }
    return deliveries;
}

}  // namespace movane_tests
