// The two resizers, their variants, OpenCV's resize and, for single planes, libyuv's ScalePlane on
// the same image, in one run.
//
// The unit is an output sample: pixels times channels. Bilinear resampling stands beside
// INTER_LINEAR. The zoom weighs all input pixels below its footprint, which is twice as wide as a
// pixel: it stands beside INTER_AREA (box in libyuv) when it reduces, and INTER_LINEAR when it
// enlarges (as INTER_AREA itself does). OpenCV works on one thread, as we do.

#include "Kernels/ibilin_variants.h"
#include "Kernels/izat_variants.h"
#include "movane/imaging.h"
#include "photo.h"

#include <benchmark/benchmark.h>
#include <libyuv/scale.h>
#include <opencv2/imgproc.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace {

struct Size {
    int width, height;
};
Size size_at(const benchmark::State& state) {
    const auto scaled = [&](int n) { return static_cast<int>(n * state.range(0) / 100); };
    return {scaled(kWidth), scaled(kHeight)};
}

// 16-bit samples stay within the zoom's exact range.
template <class Sample>
std::vector<Sample> picture(int channels) {
    return photo<Sample>(channels, sizeof(Sample) == 1 ? 255 : 32767);
}

void feed(izat_zoom* z, unsigned char* in, unsigned char** out, int channels) {
    for (int ch = 0; ch < channels; ++ch) izat_mono_b_do(z, in + ch, out + ch, ch);
}
void feed(izat_zoom* z, unsigned short* in, unsigned short** out, int channels) {
    for (int ch = 0; ch < channels; ++ch) izat_mono_do(z, in + ch, out + ch, ch);
}
void feed(ibilin_filter* f, unsigned char* in, unsigned char** out, int channels) {
    if (channels == 1) ibilin_mono_b(f, in, out);
    if (channels == 3) ibilin_rgb_b(f, in, in + 1, in + 2, out, out + 1, out + 2);
}
void feed(ibilin_filter* f, unsigned short* in, unsigned short** out, int channels) {
    if (channels == 1) ibilin_mono(f, in, out);
    if (channels == 3) ibilin_rgb(f, in, in + 1, in + 2, out, out + 1, out + 2);
}

void start(izat_zoom* z, int channels, Size out, izat_line_done done) {
    izat_start(z, channels, kHeight, kWidth, out.height, out.width, done, channels, channels);
}
void start(ibilin_filter* f, int channels, Size out, ibilin_line_done done) {
    ibilin_start(f, channels, kHeight, kWidth, out.height, out.width, done, channels, channels);
}
void kill(izat_zoom* z) { izat_kill(z); }
void kill(ibilin_filter* f) { ibilin_kill(f); }

template <class Sample, class New, class Dispatch, class Kernels>
void ours(benchmark::State& state, New create, Dispatch* dispatch, const Kernels* variant) {
    const int channels = static_cast<int>(state.range(1));
    const Size size    = size_at(state);
    auto in            = picture<Sample>(channels);
    // A host that takes every line away before the next is written: one line of output.
    static long lines;
    std::vector<Sample> line(static_cast<std::size_t>(size.width * channels));
    Sample* out[4];
    for (int ch = 0; ch < channels; ++ch) out[ch] = line.data() + ch;

    dispatch->use(variant);
    auto* const record = create(0);
    for (auto _ : state) {
        start(record, channels, size, [](int) { ++lines; });
        for (int y = 0; y < kHeight; ++y)
            feed(record, in.data() + y * kWidth * channels, out, channels);
        benchmark::DoNotOptimize(line.data());
        benchmark::ClobberMemory();
    }
    kill(record);
    dispatch->use(nullptr);
    state.SetItemsProcessed(state.iterations() * size.width * size.height * channels);
}

template <class Sample>
void opencv(benchmark::State& state, int reducing) {
    const int channels = static_cast<int>(state.range(1));
    const Size size    = size_at(state);
    auto in            = picture<Sample>(channels);
    const int type     = CV_MAKETYPE(cv::DataType<Sample>::depth, channels);
    const cv::Mat source(kHeight, kWidth, type, in.data());
    cv::Mat result(size.height, size.width, type);
    cv::setNumThreads(1);
    const int method = state.range(0) < 100 ? reducing : cv::INTER_LINEAR;
    for (auto _ : state) {
        cv::resize(source, result, result.size(), 0, 0, method);
        benchmark::DoNotOptimize(result.data);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * size.width * size.height * channels);
}

// libyuv scales single planes.
template <class Sample>
void libyuv_plane(benchmark::State& state, libyuv::FilterMode reducing) {
    const Size size = size_at(state);
    const auto in   = picture<Sample>(1);
    std::vector<Sample> out(static_cast<std::size_t>(size.width) *
                            static_cast<std::size_t>(size.height));
    const auto method = state.range(0) < 100 ? reducing : libyuv::kFilterBilinear;
    for (auto _ : state) {
        if constexpr (sizeof(Sample) == 1)
            libyuv::ScalePlane(in.data(), kWidth, kWidth, kHeight, out.data(), size.width,
                               size.width, size.height, method);
        else
            libyuv::ScalePlane_16(in.data(), kWidth, kWidth, kHeight, out.data(), size.width,
                                  size.width, size.height, method);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * size.width * size.height);
}

template <class Sample, class New, class Dispatch>
void register_family(const std::string& name, New create, Dispatch& dispatch, int reducing) {
    using benchmark::RegisterBenchmark;
    const auto over_sizes = [](benchmark::internal::Benchmark* bench) {
        bench->ArgNames({"percent", "channels"})->ArgsProduct({{23, 71, 250}, {1, 3}});
        bench->Unit(benchmark::kMillisecond);
    };
    for (const auto& variant : dispatch.variants()) {
        if (!movane::cpu_offers(variant.needs)) continue;
        over_sizes(RegisterBenchmark(
            (name + "/" + variant.kernels->name).c_str(),
            ours<Sample, New, Dispatch, std::remove_cvref_t<decltype(*variant.kernels)>>, create,
            &dispatch, variant.kernels));
    }
    over_sizes(RegisterBenchmark((name + "/opencv").c_str(), opencv<Sample>, reducing));
    RegisterBenchmark((name + "/libyuv").c_str(), libyuv_plane<Sample>,
                      reducing == cv::INTER_AREA ? libyuv::kFilterBox : libyuv::kFilterBilinear)
        ->ArgNames({"percent", "channels"})
        ->ArgsProduct({{23, 71, 250}, {1}})
        ->Unit(benchmark::kMillisecond);
}

[[maybe_unused]] const bool registered = [] {
    register_family<unsigned char>("zoom_8", izat_new, movane::izat_kernels, cv::INTER_AREA);
    register_family<unsigned short>("zoom_16", izat_new, movane::izat_kernels, cv::INTER_AREA);
    register_family<unsigned char>("bilinear_8", ibilin_new, movane::ibilin_kernels,
                                   cv::INTER_LINEAR);
    register_family<unsigned short>("bilinear_16", ibilin_new, movane::ibilin_kernels,
                                    cv::INTER_LINEAR);
    return true;
}();

}  // namespace

BENCHMARK_MAIN();
