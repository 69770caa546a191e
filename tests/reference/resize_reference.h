// The two resizers seen as a whole: two passes over an image that is there at once, in 64 bits.
#pragma once

#include "reference/scanlines.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace movane_tests {

/// An image of noise and the size it is to get.
struct ResizeImage {
    int channels, in_h, in_w, out_h, out_w;
    int fed;  // lines
    unsigned seed;

    unsigned operator()(int channel, int y, int x) const { return noise(seed, channel, y, x); }
};

/// What an output draws on: inputs from `first` on.
struct Taps {
    int first;
    std::vector<std::int64_t> weights;
};

inline double overlap(double m, double r, double a, double b) {
    const double from = std::max(a, m - r), to = std::min(b, m + r);
    if (from < m && m < to) return overlap(m, r, from, m) + overlap(m, r, m, to);
    const auto height = [&](double u) { return to <= m ? 1 - (m - u) / r : (u - m) / r; };
    return 0.5 * (to - from) * (height(from) + height(to));
}

inline std::vector<Taps> zoom_taps(int in, int out) {
    const double r = static_cast<double>(in) / out;
    std::vector<Taps> all;
    for (int i = 0; i < out; ++i) {
        const int low  = std::max(static_cast<int>((i - 0.5) * r), 0);
        const int high = std::min(static_cast<int>((i + 1.5) * r), in - 1);
        std::vector<double> parts;
        double sum = 0;
        for (int k = low; k <= high; ++k) {
            parts.push_back(overlap((i + 0.5) * r, r, k, k + 1));
            sum += parts.back();
        }
        Taps taps{low, {}};
        for (const double part : parts)
            taps.weights.push_back(parts.size() == 1 ? 65536
                                   : sum != 0        ? static_cast<int>(part * 65536 / sum)
                                                     : 0);
        all.push_back(taps);
    }
    return all;
}

inline std::vector<Taps> bilinear_taps(int in, int out) {
    std::vector<Taps> all;
    for (int i = 0; i < out; ++i) {
        const double p          = static_cast<double>(i) * in / out;
        const int at            = static_cast<int>(p);
        const std::int64_t part = static_cast<int>((p - at) * 65536);
        if (at + 1 < in)
            all.push_back({at, {65536 - part, part}});
        else
            all.push_back({at, {65536}});
    }
    return all;
}

inline std::uint32_t wrapped(std::int64_t sum) { return static_cast<std::uint32_t>(sum); }

template <class Sample>
std::vector<Delivery<Sample>> zoom_reference(const ResizeImage& image) {
    constexpr std::int64_t kRounding = sizeof(Sample) == 1 ? 32768 : 0;
    const auto rows                  = zoom_taps(image.in_h, image.out_h);
    const auto columns               = zoom_taps(image.in_w, image.out_w);
    const auto across                = [&](int channel, int y, const Taps& taps) {
        std::int64_t sum = kRounding;
        for (std::size_t k = 0; k < taps.weights.size(); ++k)
            sum += static_cast<Sample>(image(channel, y, taps.first + static_cast<int>(k))) *
                   taps.weights[k];
        return static_cast<std::int32_t>(wrapped(sum)) >> 16;
    };
    std::vector<std::vector<std::int32_t>> scaled(image.channels * image.in_h);
    for (int i = 0; i < image.channels * image.in_h; ++i)
        for (const Taps& column : columns)
            scaled[i].push_back(across(i / image.in_h, i % image.in_h, column));
    std::vector<Delivery<Sample>> lines;
    for (const Taps& row : rows) {
        const int call = row.first + static_cast<int>(row.weights.size()) - 1;
        for (int channel = 0; channel < image.channels && call < image.fed; ++channel) {
            lines.push_back({call, channel, {}});
            for (std::size_t x = 0; x < columns.size(); ++x) {
                std::int64_t sum = kRounding;
                for (std::size_t k = 0; k < row.weights.size(); ++k)
                    sum += scaled[channel * image.in_h + row.first + k][x] * row.weights[k];
                lines.back().line.push_back(static_cast<Sample>(wrapped(sum) >> 16));
            }
        }
    }
    return lines;
}

template <class Sample>
std::vector<Delivery<Sample>> bilinear_reference(const ResizeImage& image) {
    const auto rows    = bilinear_taps(image.in_h, image.out_h);
    const auto columns = bilinear_taps(image.in_w, image.out_w);
    const auto mix     = [](std::int64_t a, std::int64_t b, std::int64_t fraction) {
        return (a * (65536 - fraction) + b * fraction) >> 16;
    };
    const auto across = [&](int channel, int y, const Taps& taps) {
        const auto sample = [&](int x) { return static_cast<Sample>(image(channel, y, x)); };
        return taps.weights.size() == 1
                   ? sample(taps.first)
                   : mix(sample(taps.first), sample(taps.first + 1), taps.weights[1]);
    };
    std::vector<Delivery<Sample>> lines;
    std::vector<int> taken;  // the input lines that were needed when they came
    std::size_t j = 0;
    for (int y = 0; y < image.fed && j < rows.size(); ++y) {
        const auto lower = [&] {
            return rows[j].first + static_cast<int>(rows[j].weights.size()) - 1;
        };
        if (y == rows[j].first || y == lower()) taken.push_back(y);
        for (; j < rows.size() && lower() <= y; ++j) {
            const int current  = taken.back();
            const int previous = taken.size() > 1 ? taken[taken.size() - 2] : current;
            const double p     = static_cast<double>(j) * image.in_h / image.out_h;
            const auto part    = static_cast<int>((p - static_cast<int>(p)) * 65536);
            for (int channel = 0; channel < image.channels; ++channel) {
                Delivery<Sample> line{y, channel, {}};
                for (const Taps& taps : columns)
                    line.line.push_back(static_cast<Sample>(mix(
                        across(channel, previous, taps), across(channel, current, taps), part)));
                lines.push_back(line);
            }
        }
    }
    return lines;
}

}  // namespace movane_tests
