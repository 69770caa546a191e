// A host of the two resizers that keeps what it is given.
#pragma once

#include "movane/imaging.h"
#include "reference/resize_reference.h"
#include "support/handle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <type_traits>
#include <utility>
#include <vector>

namespace movane_tests {

inline std::function<void(int)> on_resized_line;

/// The calls of the zoom; those that take a value of the host or a channel in turn with the others.
struct Zoom {
    Handle<izat_zoom, int> record{izat_new(7), izat_kill};
    bool is_other_kind = false;

    template <class Sample>
    static auto reference(const ResizeImage& image) {
        return zoom_reference<Sample>(image);
    }

    int start(const ResizeImage& i, int in_step, int out_step) {
        is_other_kind = !is_other_kind;
        if (is_other_kind)
            return izat_startwh(
                record, i.channels, i.in_h, i.in_w, i.out_h, i.out_w, &on_resized_line,
                [](void* user, int ch) { (*static_cast<std::function<void(int)>*>(user))(ch); },
                in_step, out_step);
        return izat_start(
            record, i.channels, i.in_h, i.in_w, i.out_h, i.out_w,
            [](int ch) { on_resized_line(ch); }, in_step, out_step);
    }

    template <class T, std::size_t... I>
    void feed(T* const* in, T** out, std::index_sequence<I...>) {
        constexpr bool is_byte = sizeof(T) == 1;
        constexpr int channels = sizeof...(I);
        if constexpr (channels == 1 && is_byte) izat_mono_b(record, in[I]..., out + I...);
        if constexpr (channels == 1 && !is_byte) izat_mono(record, in[I]..., out + I...);
        if constexpr (channels == 3 && is_byte) izat_rgb_b(record, in[I]..., out + I...);
        if constexpr (channels == 3 && !is_byte) izat_rgb(record, in[I]..., out + I...);
        if constexpr (channels == 4 && is_byte) izat_cmyk_b(record, in[I]..., out + I...);
        if constexpr (channels == 4 && !is_byte) izat_cmyk(record, in[I]..., out + I...);
        if constexpr (channels > 4 && is_byte)
            (izat_mono_b_do(record, in[I], out + I, static_cast<int>(I)), ...);
        if constexpr (channels > 4 && !is_byte)
            (izat_mono_do(record, in[I], out + I, static_cast<int>(I)), ...);
    }
};

struct Bilinear {
    Handle<ibilin_filter, int> record{ibilin_new(7), ibilin_kill};

    template <class Sample>
    static auto reference(const ResizeImage& image) {
        return bilinear_reference<Sample>(image);
    }

    int start(const ResizeImage& i, int in_step, int out_step) {
        return ibilin_start(
            record, i.channels, i.in_h, i.in_w, i.out_h, i.out_w,
            [](int ch) { on_resized_line(ch); }, in_step, out_step);
    }

    template <class T, std::size_t... I>
    void feed(T* const* in, T** out, std::index_sequence<I...>) {
        constexpr bool is_byte = sizeof(T) == 1;
        constexpr int channels = sizeof...(I);
        if constexpr (channels == 1 && is_byte) ibilin_mono_b(record, in[I]..., out + I...);
        if constexpr (channels == 1 && !is_byte) ibilin_mono(record, in[I]..., out + I...);
        if constexpr (channels == 3 && is_byte) ibilin_rgb_b(record, in[I]..., out + I...);
        if constexpr (channels == 3 && !is_byte) ibilin_rgb(record, in[I]..., out + I...);
        if constexpr (channels == 4 && is_byte) ibilin_cmyk_b(record, in[I]..., out + I...);
        if constexpr (channels == 4 && !is_byte) ibilin_cmyk(record, in[I]..., out + I...);
    }
};

/// Sends an image through a resizer. An input line has no sample too many and does not outlive its
/// call; output goes to one line per channel, of which all that the resizer does not have to write
/// must keep its value.
template <int kChannels, class Sample, class Family>
std::vector<ResizedLine<Sample>> resize(Family& family, const ResizeImage& image, int in_step,
                                        int out_step) {
    constexpr Sample kFill = 0x5A;
    // Channels lie side by side when the step has room for them, else one after the other.
    const auto start_of = [](int channel, int width, int step) {
        return step >= kChannels ? channel : channel * width * step;
    };
    const auto samples_of = [&](int width, int step) {
        return start_of(kChannels - 1, width, step) + (width - 1) * step + 1;
    };
    std::vector<Sample> buffer(samples_of(image.out_w, out_step), kFill);
    Sample *targets[kChannels], *sources[kChannels];
    for (int ch = 0; ch < kChannels; ++ch)
        targets[ch] = &buffer[start_of(ch, image.out_w, out_step)];
    std::vector<ResizedLine<Sample>> lines;
    int call        = 0;
    on_resized_line = [&](int ch) {
        std::vector<Sample> line;
        for (int x = 0; x < image.out_w; ++x)
            line.push_back(std::exchange(targets[ch][x * out_step], kFill));
        lines.push_back({call, ch, line});
    };
    EXPECT_EQ(family.start(image, in_step, out_step), 1);
    for (; call < image.fed; ++call) {
        std::vector<Sample> line(samples_of(image.in_w, in_step));
        for (int ch = 0; ch < kChannels; ++ch) {
            sources[ch] = &line[start_of(ch, image.in_w, in_step)];
            for (int x = 0; x < image.in_w; ++x)
                sources[ch][x * in_step] = static_cast<Sample>(image(ch, call, x));
        }
        family.feed(sources, targets, std::make_index_sequence<kChannels>());
    }
    EXPECT_EQ(std::count(buffer.begin(), buffer.end(), kFill), std::ssize(buffer))
        << "stray writes";
    return lines;
}

/// Compares one image with the reference, another being abandoned before it.
template <int kChannels, class Sample, class Family>
void expect_like_reference(Family& family, ResizeImage image, int in_step, int out_step) {
    image.channels = kChannels;
    for (const int fed : {image.in_h / 2, image.in_h + 2}) {
        image.fed = fed;
        EXPECT_TRUE((resize<kChannels, Sample>(family, image, in_step, out_step)) ==
                    Family::template reference<Sample>(image))
            << kChannels << " channels of " << 8 * sizeof(Sample) << " bits, " << image.in_w
            << " x " << image.in_h << " to " << image.out_w << " x " << image.out_h << ", " << fed
            << " lines fed, steps " << in_step << " and " << out_step << ", seed " << image.seed;
    }
}

/// Random images, all channel counts and sample types: every pair of small sizes, and larger ones.
template <class Family>
void expect_random_images_like_reference(Family& family) {
    std::mt19937 random(1);
    const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    for (int i = 0; i < 7 * 7 * 2 + 30; ++i) {
        const bool is_small = i < 7 * 7 * 2;
        ResizeImage image{1, 1, 1, 1, 1, 0, static_cast<unsigned>(random())};
        image.in_h        = is_small ? 1 + i % 7 : 1 + below(40);
        image.out_h       = is_small ? 1 + i / 7 % 7 : 1 + below(40);
        image.in_w        = 1 + below(is_small ? 7 : 400);
        image.out_w       = 1 + below(is_small ? 7 : 400);
        const int in_step = 1 + below(5), out_step = 1 + below(5);
        expect_like_reference<1, std::uint8_t>(family, image, in_step, out_step);
        expect_like_reference<1, std::uint16_t>(family, image, in_step, out_step);
        expect_like_reference<3, std::uint8_t>(family, image, in_step, out_step);
        expect_like_reference<3, std::uint16_t>(family, image, in_step, out_step);
        expect_like_reference<4, std::uint8_t>(family, image, in_step, out_step);
        expect_like_reference<4, std::uint16_t>(family, image, in_step, out_step);
    }
}

}  // namespace movane_tests
