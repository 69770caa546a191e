// The FIR filter, its variants and OpenCV's filter2D on the same image, in one run.
//
// The unit is a sample: pixels times channels. The kernel sharpens: every weight counts, and the
// one in the middle is above 1. OpenCV works on one thread, as we do.

#include "Kernels/fir_variants.h"
#include "movane/imaging.h"
#include "photo.h"

#include <benchmark/benchmark.h>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace {

std::vector<double> sharpening(int radius) {
    const int size = 2 * radius + 1;
    std::vector<double> weights;
    double sum = 0.0;
    for (int y = -radius; y <= radius; ++y) {
        for (int x = -radius; x <= radius; ++x) {
            weights.push_back(-std::exp(-(x * x + y * y) / (0.5 * radius * radius)));
            sum += weights.back();
        }
    }
    for (double& w : weights) w /= -sum;
    weights[static_cast<std::size_t>(size * size / 2)] += 2.0;
    return weights;
}

void count_samples(benchmark::State& state, int channels) {
    state.SetItemsProcessed(state.iterations() * kWidth * kHeight * channels);
}

void feed_line(fir_filter* f, unsigned char* in, unsigned char** out, int channels) {
    if (channels == 1) fir_mono_b(f, in, out);
    if (channels == 3) fir_rgb_b(f, in, in + 1, in + 2, out, out + 1, out + 2);
    if (channels == 4) fir_cmyk_b(f, in, in + 1, in + 2, in + 3, out, out + 1, out + 2, out + 3);
}

void feed_line(fir_filter* f, unsigned short* in, unsigned short** out, int channels) {
    if (channels == 1) fir_mono(f, in, out);
    if (channels == 3) fir_rgb(f, in, in + 1, in + 2, out, out + 1, out + 2);
    if (channels == 4) fir_cmyk(f, in, in + 1, in + 2, in + 3, out, out + 1, out + 2, out + 3);
}

template <class Sample>
void fir(benchmark::State& state, const movane::FirKernels* variant) {
    const int radius   = static_cast<int>(state.range(0));
    const int channels = static_cast<int>(state.range(1));
    const int samples  = kWidth * channels;
    auto in            = photo<Sample>(channels);
    // One line after the other into the output image, as many as have been finished.
    static Sample* out[4];
    static int line_samples;
    line_samples = samples;
    std::vector<Sample> result(in.size());

    movane::fir_kernels.use(variant);
    fir_filter* f = fir_new(radius, Sample(-1));
    fir_set_kernel(f, sharpening(radius).data());
    for (auto _ : state) {
        for (int ch = 0; ch < channels; ++ch) out[ch] = result.data() + ch;
        const auto next_line = [](int channel) { out[channel] += line_samples; };
        fir_start(f, channels, kHeight, kWidth, next_line, channels, channels);
        for (int y = 0; y < kHeight; ++y) feed_line(f, in.data() + y * samples, out, channels);
        benchmark::DoNotOptimize(result.data());
        benchmark::ClobberMemory();
    }
    fir_kill(f);
    movane::fir_kernels.use(nullptr);
    count_samples(state, channels);
}

template <class Sample>
void filter2d(benchmark::State& state) {
    const int radius   = static_cast<int>(state.range(0));
    const int channels = static_cast<int>(state.range(1));
    const int type     = CV_MAKETYPE(cv::DataType<Sample>::depth, channels);
    auto in            = photo<Sample>(channels);
    auto weights       = sharpening(radius);
    cv::Mat kernel(2 * radius + 1, 2 * radius + 1, CV_64F, weights.data());
    kernel.convertTo(kernel, CV_32F);
    const cv::Mat source(kHeight, kWidth, type, in.data());
    cv::Mat result(kHeight, kWidth, type);

    cv::setNumThreads(1);
    for (auto _ : state) {
        cv::filter2D(source, result, -1, kernel);
        benchmark::DoNotOptimize(result.data);
        benchmark::ClobberMemory();
    }
    count_samples(state, channels);
}

template <class Sample>
void register_all(const std::string& bits) {
    using benchmark::RegisterBenchmark;
    const auto over_sizes = [](benchmark::internal::Benchmark* bench) {
        bench->ArgNames({"radius", "channels"})->ArgsProduct({{1, 2, 5, 10}, {1, 3, 4}});
        bench->Unit(benchmark::kMillisecond);
    };
    for (const auto& variant : movane::fir_kernels.variants()) {
        if (!movane::cpu_offers(variant.needs)) continue;
        const std::string name = "fir" + bits + "/" + variant.kernels->name;
        over_sizes(RegisterBenchmark(name.c_str(), fir<Sample>, variant.kernels));
    }
    over_sizes(RegisterBenchmark(("fir" + bits + "/opencv").c_str(), filter2d<Sample>));
}

[[maybe_unused]] const bool registered = [] {
    register_all<unsigned char>("_8");
    register_all<unsigned short>("_16");
    return true;
}();

}  // namespace

BENCHMARK_MAIN();
