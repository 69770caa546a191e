// A host of the FIR filter that keeps what it is given.
#pragma once

#include "movane/imaging.h"
#include "reference/fir_reference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

namespace movane_tests {

template <class T, std::size_t... I>
void feed(fir_filter* f, T* const* in, T** out, std::index_sequence<I...>) {
    constexpr bool is_byte = sizeof(T) == 1;
    if constexpr (sizeof...(I) == 1 && is_byte) fir_mono_b(f, in[I]..., out + I...);
    if constexpr (sizeof...(I) == 1 && !is_byte) fir_mono(f, in[I]..., out + I...);
    if constexpr (sizeof...(I) == 3 && is_byte) fir_rgb_b(f, in[I]..., out + I...);
    if constexpr (sizeof...(I) == 3 && !is_byte) fir_rgb(f, in[I]..., out + I...);
    if constexpr (sizeof...(I) == 4 && is_byte) fir_cmyk_b(f, in[I]..., out + I...);
    if constexpr (sizeof...(I) == 4 && !is_byte) fir_cmyk(f, in[I]..., out + I...);
}

/// Where the channels of a line lie: side by side when the step has room for them, else one after
/// the other.
struct FirLayout {
    int channels, width, step;

    int start(int channel) const { return step >= channels ? channel : channel * width * step; }
    int samples() const { return start(channels - 1) + std::max(width - 1, 0) * step + 1; }
};

inline std::function<void(int)> on_line_done;

/// Sends an image through a filter with its weights. Input lines have no sample too many and live
/// no longer than they must; output goes to two buffers in turn, of which all that the filter does
/// not have to write must keep its value.
template <int kChannels, class Sample>
std::vector<Delivery<Sample>> filter_image(fir_filter* f, const FirImage<Sample>& image,
                                           int in_step, int out_step) {
    constexpr Sample kFill = 0x5A;
    const FirLayout in{kChannels, image.width, in_step}, out{kChannels, image.width, out_step};
    std::vector<Sample> buffers(2 * out.samples() + 70, kFill);
    Sample *targets[kChannels], *sources[kChannels];
    for (int ch = 0; ch < kChannels; ++ch) targets[ch] = &buffers[out.start(ch)];
    std::vector<Delivery<Sample>> deliveries;
    int call     = 0;
    on_line_done = [&](int ch) {
        std::vector<Sample> line;
        for (int x = 0; x < image.width; ++x)
            line.push_back(std::exchange(targets[ch][x * out_step], kFill));
        deliveries.push_back({call, ch, line});
        const bool is_first = targets[ch] < &buffers[out.samples()];
        targets[ch] += is_first ? out.samples() : -out.samples();
    };
    fir_start(
        f, kChannels, image.height, image.width, [](int ch) { on_line_done(ch); }, in_step,
        out_step);
    std::vector<std::vector<Sample>> lines;
    for (; call < image.fed; ++call) {
        lines.emplace_back(in.samples());
        for (int ch = 0; ch < kChannels; ++ch) {
            sources[ch] = &lines[call][in.start(ch)];
            for (int x = 0; x < image.width; ++x) sources[ch][x * in_step] = image(ch, call, x);
        }
        feed(f, sources, targets, std::make_index_sequence<kChannels>());
        const int kept = 2 * image.radius + 1;
        if (call >= kept) std::vector<Sample>().swap(lines[call - kept]);
    }
    EXPECT_EQ(std::count(buffers.begin(), buffers.end(), kFill), std::ssize(buffers))
        << "stray writes";
    return deliveries;
}

}  // namespace movane_tests
