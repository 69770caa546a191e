// Unsharp masking, its variants and OpenCV doing the same on the same image, in one run.
//
// The unit is a sample: pixels times channels. OpenCV knows no gain table and no dead zone; its
// part is the plain sharpening that strength 1 means: the sample plus its high-pass, saturated.
// "opencv" does that in one filter2D with the high-pass kernel plus 1 in the middle, which is the
// least that gives the result; "opencv_steps" takes the high-pass as an image of its own first
// (filter2D to 16 or 32 bits, then add), as one must to shape it before it is added. Both work on
// one thread, as we do.

#include "Kernels/fusm_variants.h"
#include "movane/imaging.h"
#include "photo.h"

#include <benchmark/benchmark.h>
#include <opencv2/imgproc.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

int feed_line(usm_filter* f, unsigned char** in, unsigned char** out) {
    return fusm_b_do(f, in, out, nullptr);
}
int feed_line(usm_filter* f, unsigned short** in, unsigned short** out) {
    return fusm_do(f, in, out, nullptr);
}

void count_samples(benchmark::State& state, int channels) {
    state.SetItemsProcessed(state.iterations() * kWidth * kHeight * channels);
}

template <class Sample>
void sharpen(benchmark::State& state, const movane::FusmKernels* variant, bool has_curves) {
    const int radius   = static_cast<int>(state.range(0)),
              channels = static_cast<int>(state.range(1)), samples = kWidth * channels;
    auto source = photo<Sample>(channels);
    // One line after the other into the output image, as many as have been finished.
    static Sample* out[4];
    static int line_samples;
    line_samples = samples;
    std::vector<Sample> result(source.size());

    movane::fusm_kernels.use(variant);
    const int channel_of[] = {0, 1, 2, 3};
    usm_filter* f          = fusm_new(radius, Sample(-1), channels, channels, channel_of, nullptr);
    const double levels[] = {0.0, Sample(-1) * 0.5, Sample(-1) * 1.0}, factors[] = {0.5, 1.0, 0.5};
    for (int ch = 0; ch < channels && has_curves; ++ch)
        fusm_level_red_set(f, ch, 3, levels, factors);
    for (auto _ : state) {
        Sample* in[4];
        for (int ch = 0; ch < channels; ++ch) {
            in[ch]  = source.data() + ch;
            out[ch] = result.data() + ch;
        }
        const auto next_line = [](int comp) { out[comp] += line_samples; };
        fusm_start(f, kHeight, kWidth, next_line, channels, 1, channels);
        for (int y = 0; y < kHeight; ++y) {
            feed_line(f, in, out);
            for (int ch = 0; ch < channels; ++ch) in[ch] += samples;
        }
        benchmark::DoNotOptimize(result.data());
        benchmark::ClobberMemory();
    }
    fusm_kill(f);
    movane::fusm_kernels.use(nullptr);
    count_samples(state, channels);
}

// The kernels of the three radii, scaled as strength 1 means it.
cv::Mat high_pass(int radius) {
    static const float all[3][25] = {
        {0, 0, 0, 0, 0, 0, 0, -1, 0, 0, 0, -1, 4, -1, 0, 0, 0, -1, 0, 0, 0, 0, 0, 0, 0},
        {0, 0, -1, 0, 0, 0, 0, -2, 0, 0, -1, -2, 12, -2, -1, 0, 0, -2, 0, 0, 0, 0, -1, 0, 0},
        {0, -1, -2, -1, 0, -1, 0, 2, 0, -1, -2, 2, 8, 2, -2, -1, 0, 2, 0, -1, 0, -1, -2, -1, 0}};
    cv::Mat kernel(5, 5, CV_32F);
    std::copy(all[radius], all[radius] + 25, kernel.ptr<float>());
    if (radius == 0) kernel = kernel(cv::Rect(1, 1, 3, 3)).clone();
    kernel *= radius == 0 ? 1.0 : radius == 1 ? 1.0 / 3.0 : 0.25;
    return kernel;
}

template <class Sample>
void opencv(benchmark::State& state, bool in_steps) {
    const int radius   = static_cast<int>(state.range(0)),
              channels = static_cast<int>(state.range(1));
    auto source        = photo<Sample>(channels);
    const int type     = CV_MAKETYPE(cv::DataType<Sample>::depth, channels);
    const int wide     = sizeof(Sample) == 1 ? CV_16S : CV_32F;  // what filter2D offers
    const cv::Mat in(kHeight, kWidth, type, source.data());
    cv::Mat response(kHeight, kWidth, CV_MAKETYPE(wide, channels)), result(kHeight, kWidth, type);
    cv::Mat kernel = high_pass(radius);
    if (!in_steps) kernel.at<float>(kernel.rows / 2, kernel.cols / 2) += 1.0F;

    cv::setNumThreads(1);
    for (auto _ : state) {
        if (in_steps) {
            cv::filter2D(in, response, wide, kernel);
            cv::add(in, response, result, cv::noArray(), cv::DataType<Sample>::depth);
        } else {
            cv::filter2D(in, result, -1, kernel);
        }
        benchmark::DoNotOptimize(result.data);
        benchmark::ClobberMemory();
    }
    count_samples(state, channels);
}

template <class Sample>
void register_all(const std::string& bits) {
    using benchmark::RegisterBenchmark;
    const auto over_sizes = [](benchmark::internal::Benchmark* bench) {
        bench->ArgNames({"radius", "channels"})->ArgsProduct({{0, 1, 2}, {1, 3, 4}});
        bench->Unit(benchmark::kMillisecond);
    };
    for (const auto& variant : movane::fusm_kernels.variants()) {
        if (!movane::cpu_offers(variant.needs)) continue;
        const std::string name = variant.kernels->name;
        over_sizes(RegisterBenchmark(("fusm" + bits + "/" + name).c_str(), sharpen<Sample>,
                                     variant.kernels, false));
        over_sizes(RegisterBenchmark(("fusm_curves" + bits + "/" + name).c_str(), sharpen<Sample>,
                                     variant.kernels, true));
    }
    over_sizes(RegisterBenchmark(("fusm" + bits + "/opencv").c_str(), opencv<Sample>, false));
    over_sizes(RegisterBenchmark(("fusm" + bits + "/opencv_steps").c_str(), opencv<Sample>, true));
}

[[maybe_unused]] const bool registered = [] {
    register_all<unsigned char>("_8");
    register_all<unsigned short>("_16");
    return true;
}();

}  // namespace

BENCHMARK_MAIN();
