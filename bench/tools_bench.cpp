// Histogram, ordered dither and flood fill beside what a host would take instead: OpenCV's calcHist
// and floodFill, and a loop of rdither_val(). Items are values or pixels.

#include "movane/imaging.h"

#include <benchmark/benchmark.h>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace {

enum Kind { kPhoto, kNoise, kFlat };
constexpr const char* kKinds[] = {"photo", "noise", "flat"};

constexpr int kWidth  = 1501;
constexpr int kHeight = 500;
constexpr int kPixels = kWidth * kHeight;

// Levels up to `top`.
template <class Sample>
std::vector<Sample> image(Kind kind, int top) {
    std::mt19937 random(1);
    std::vector<Sample> samples;
    for (int i = 0; i < kPixels; ++i) {
        const int x = i % kWidth, y = i / kWidth;
        const double slope = 0.5 + 0.4 * std::sin(x * 0.011) * std::cos(y * 0.017);
        const double grain = static_cast<double>(random() % 1000) * 5e-5;
        const double value = kind == kPhoto   ? slope + grain
                             : kind == kNoise ? static_cast<double>(random()) / 4294967296.0
                                              : 0.7;
        samples.push_back(static_cast<Sample>(value * top));
    }
    return samples;
}

// --- histogram -----------------------------------------------------------------------------------

void histogram(benchmark::State& state, Kind kind, int top) {
    const auto values = image<int>(kind, top);
    hist* h           = hist_new(0, top);
    for (auto _ : state) {
        hist_point(h, values.data(), kPixels);
        benchmark::ClobberMemory();
    }
    hist_kill(h);
    state.SetItemsProcessed(state.iterations() * kPixels);
}

// Of samples of their own type, which is where its data comes from: bytes, or 16 bits.
template <class Sample>
void calc_hist(benchmark::State& state, Kind kind, int top) {
    auto samples = image<Sample>(kind, top);
    const cv::Mat in(kHeight, kWidth, cv::DataType<Sample>::type, samples.data());
    const int bins       = top + 1;
    const float ranges[] = {0.0F, static_cast<float>(bins)}, *range = ranges;
    const int channel = 0;
    cv::Mat counts;
    cv::setNumThreads(1);
    for (auto _ : state) {
        cv::calcHist(&in, 1, &channel, cv::noArray(), counts, 1, &bins, &range, true, true);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kPixels);
}

// --- ordered dither ------------------------------------------------------------------------------

template <class Sample>
void dither_line(rdither* d, const Sample* in, unsigned char* out, int y) {
    if constexpr (sizeof(Sample) == 1) {
        rdither_line_b(d, in, 1, out, 1, 0, y, kWidth);
    } else {
        rdither_line(d, in, 1, out, 1, 0, y, kWidth);
    }
}

template <class Sample>
void dither(benchmark::State& state, Kind kind, int top, bool by_lines) {
    const auto in = image<Sample>(kind, top);
    std::vector<unsigned char> out(in.size());
    rdither* d = rdither_new(static_cast<unsigned int>(top), top > 255 ? 255 : 3);
    for (auto _ : state) {
        for (int y = 0; y < kHeight; ++y) {
            const Sample* from = in.data() + std::ptrdiff_t{y} * kWidth;
            unsigned char* to  = out.data() + std::ptrdiff_t{y} * kWidth;
            if (by_lines) {
                dither_line(d, from, to, y);
            } else {
                for (int x = 0; x < kWidth; ++x)
                    to[x] = static_cast<unsigned char>(rdither_val(d, x, y, from[x]));
            }
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    rdither_kill(d);
    state.SetItemsProcessed(state.iterations() * kPixels);
}

// --- flood fill ----------------------------------------------------------------------------------

struct Raster {
    int size;
    std::vector<unsigned char> pixels;  // 1 is to be filled

    unsigned char& at(int x, int y) {
        return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(size) +
                      static_cast<std::size_t>(x)];
    }
};

Raster raster(const std::string& shape, int size) {
    Raster r{size, std::vector<unsigned char>(static_cast<std::size_t>(size) *
                                              static_cast<std::size_t>(size))};
    std::mt19937 random(1);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            const int ring   = std::min({x, y, size - 1 - x, size - 1 - y});
            const bool noise = random() % 1000 < 620;
            bool is_inside   = true;
            if (shape == "disc") is_inside = std::hypot(x - size / 2, y - size / 2) < size / 2;
            if (shape == "lattice") is_inside = x % 2 == 0 || y % 2 == 0;
            if (shape == "comb") is_inside = x % 2 == 0 || y == size - 1;
            if (shape == "noise") is_inside = noise || y == size / 2;
            if (shape == "spiral")
                is_inside = ring % 2 == 0 ? x != ring || y != ring + 1 || ring == 0
                                          : x == ring && y == ring + 1;
            r.at(x, y) = is_inside ? 1 : 0;
        }
    }
    return r;
}

int inside(void* user, int x, int y) {
    auto& r = *static_cast<Raster*>(user);
    return x >= 0 && x < r.size && y >= 0 && y < r.size && r.at(x, y) == 1;
}

void fill(void* user, int x1, int x2, int y) {
    unsigned char* const line = &static_cast<Raster*>(user)->at(0, y);
    std::fill(line + x1, line + x2 + 1, static_cast<unsigned char>(2));
}

void flood_fill(benchmark::State& state, const std::string& shape, bool by_opencv) {
    const int size       = static_cast<int>(state.range(0));
    const Raster blank   = raster(shape, size);
    const int y          = shape == "disc" || shape == "noise" ? size / 2 : 0;
    const int x          = shape == "disc" ? size / 2 : 0;
    std::ptrdiff_t count = 0;
    flood* f             = flood_new(inside, fill);
    Raster r             = blank;
    cv::setNumThreads(1);
    for (auto _ : state) {
        state.PauseTiming();
        std::copy(blank.pixels.begin(), blank.pixels.end(), r.pixels.begin());
        state.ResumeTiming();
        if (by_opencv) {
            cv::Mat in(size, size, CV_8U, r.pixels.data());
            cv::floodFill(in, cv::Point(x, y), 2, nullptr, 0, 0, 4);
        } else {
            flood_do(f, &r, x, y);
        }
        benchmark::ClobberMemory();
    }
    count = std::count(r.pixels.begin(), r.pixels.end(), static_cast<unsigned char>(2));
    flood_kill(f);
    state.SetItemsProcessed(state.iterations() * count);
}

[[maybe_unused]] const bool registered = [] {
    using benchmark::RegisterBenchmark;
    for (const Kind kind : {kPhoto, kNoise, kFlat}) {
        const std::string name = kKinds[kind];
        RegisterBenchmark(("hist_8_" + name + "/movane").c_str(), histogram, kind, 255);
        RegisterBenchmark(("hist_8_" + name + "/opencv").c_str(), calc_hist<std::uint8_t>, kind,
                          255);
        RegisterBenchmark(("hist_16_" + name + "/movane").c_str(), histogram, kind, 65535);
        RegisterBenchmark(("hist_16_" + name + "/opencv").c_str(), calc_hist<std::uint16_t>, kind,
                          65535);
        RegisterBenchmark(("rdither_8_" + name + "/movane").c_str(), dither<std::uint8_t>, kind,
                          255, true);
        RegisterBenchmark(("rdither_8_" + name + "/pixels").c_str(), dither<std::uint8_t>, kind,
                          255, false);
        RegisterBenchmark(("rdither_16_" + name + "/movane").c_str(), dither<std::uint16_t>, kind,
                          65535, true);
        RegisterBenchmark(("rdither_16_" + name + "/pixels").c_str(), dither<std::uint16_t>, kind,
                          65535, false);
    }
    for (const std::string shape : {"disc", "lattice", "comb", "noise", "spiral"}) {
        for (const bool by_opencv : {false, true})
            RegisterBenchmark(("flood_" + shape + (by_opencv ? "/opencv" : "/movane")).c_str(),
                              flood_fill, shape, by_opencv)
                ->Arg(1000)
                ->Arg(4000)
                ->Unit(benchmark::kMillisecond);
    }
    return true;
}();

}  // namespace

BENCHMARK_MAIN();
