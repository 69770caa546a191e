// The picture that the benchmarks of scanline filters work on.
#pragma once

#include <cmath>
#include <random>
#include <vector>

constexpr int kWidth  = 1501;  // odd, so that lines start unaligned
constexpr int kHeight = 500;

/// Smooth areas, edges and some grain, interleaved.
template <class Sample>
std::vector<Sample> photo(int channels, Sample white = Sample(-1)) {
    std::mt19937 random(1);
    std::vector<Sample> samples;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth * channels; ++x) {
            const double slope = 0.5 + 0.3 * std::sin(x * 0.011) * std::cos(y * 0.017);
            const double grain = static_cast<double>(random() % 1000) * 5e-5;
            const double edge  = (x / 130 + y / 70) % 2 != 0 ? 0.1 : 0.0;
            samples.push_back(static_cast<Sample>((slope + grain + edge) * white));
        }
    }
    return samples;
}
