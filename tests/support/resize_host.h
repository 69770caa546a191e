// A host of the two resizers.
#pragma once

#include "movane/imaging.h"
#include "reference/resize_reference.h"
#include "support/handle.h"
#include "support/messages.h"
#include "support/scanline_host.h"

#include <cstdint>
#include <random>
#include <string>

namespace movane_tests {

/// The calls of the zoom; those that take a value of the host or a channel in turn with the others.
struct Zoom {
    Handle<izat_zoom, int> record{izat_new(7), izat_kill};
    bool has_user = false;

    template <class Sample>
    static auto reference(const ResizeImage& image) {
        return zoom_reference<Sample>(image);
    }

    int start(const ResizeImage& i, int in_step, int out_step) {
        has_user = !has_user;
        if (!has_user)
            return izat_start(record, i.channels, i.in_h, i.in_w, i.out_h, i.out_w, line_done,
                              in_step, out_step);
        const auto done = [](void* user, int channel) {
            (*static_cast<std::function<void(int)>*>(user))(channel);
        };
        return izat_startwh(record, i.channels, i.in_h, i.in_w, i.out_h, i.out_w, &on_line_done,
                            done, in_step, out_step);
    }

    template <class Sample, std::size_t... I>
    void feed(Sample** in, Sample** out, std::index_sequence<I...> channels) {
        if constexpr (sizeof...(I) <= 4) {
            feed_line(record, in, out, channels, izat_mono, izat_mono_b, izat_rgb, izat_rgb_b,
                      izat_cmyk, izat_cmyk_b);
        } else if constexpr (sizeof(Sample) == 1) {
            (izat_mono_b_do(record, in[I], out + I, static_cast<int>(I)), ...);
        } else {
            (izat_mono_do(record, in[I], out + I, static_cast<int>(I)), ...);
        }
    }
};

struct Bilinear {
    Handle<ibilin_filter, int> record{ibilin_new(7), ibilin_kill};

    template <class Sample>
    static auto reference(const ResizeImage& image) {
        return bilinear_reference<Sample>(image);
    }

    int start(const ResizeImage& i, int in_step, int out_step) {
        return ibilin_start(record, i.channels, i.in_h, i.in_w, i.out_h, i.out_w, line_done,
                            in_step, out_step);
    }

    template <class Sample, class Channels>
    void feed(Sample** in, Sample** out, Channels channels) {
        feed_line(record, in, out, channels, ibilin_mono, ibilin_mono_b, ibilin_rgb, ibilin_rgb_b,
                  ibilin_cmyk, ibilin_cmyk_b);
    }
};

/// Compares one image with the reference, another being abandoned before it.
template <int kChannels, class Sample, class Family>
void expect_like_reference(Family& family, ResizeImage image, int in_step, int out_step) {
    image.channels = kChannels;
    for (const int fed : {image.in_h / 2, image.in_h + 2}) {
        image.fed         = fed;
        const auto result = send_lines<Sample>(
            image, {kChannels, image.in_w, in_step}, {kChannels, image.out_w, out_step}, 1,
            Output::stays, [&] { EXPECT_EQ(family.start(image, in_step, out_step), 1); },
            [&](Sample** in, Sample** out, int) {
                family.feed(in, out, std::make_index_sequence<kChannels>());
            });
        EXPECT_TRUE(result == Family::template reference<Sample>(image))
            << kChannels << " channels of " << 8 * sizeof(Sample) << " bits, " << image.in_w
            << " x " << image.in_h << " to " << image.out_w << " x " << image.out_h << ", " << fed
            << " lines fed, steps " << in_step << " and " << out_step << ", seed " << image.seed;
    }
}

/// Random images, 1, 3 and 4 channels in turn: every pair of small heights; all widths up to three
/// of the widest blocks of a kernel and one; and around strips.
template <class Family>
void expect_random_images_like_reference(Family& family) {
    std::mt19937 random(1);
    const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    for (int i = 0; i < 7 * 7 * 2 + 20; ++i) {
        const bool is_small = i < 7 * 7 * 2;
        const ResizeImage image{.channels = 1,
                                .in_h     = 1 + (is_small ? i % 7 : below(40)),
                                .in_w     = 1 + below(is_small ? 60
                                                      : i % 3  ? 200
                                                               : 2000),
                                .out_h    = 1 + (is_small ? i / 7 % 7 : below(40)),
                                .out_w    = is_small ? 1 + i % 50 : 150 + i,
                                .fed      = 0,
                                .seed     = static_cast<unsigned>(random())};
        const auto compare = [&, in_step = 1 + below(5), out_step = 1 + below(5)](auto channels) {
            expect_like_reference<channels, std::uint8_t>(family, image, in_step, out_step);
            expect_like_reference<channels, std::uint16_t>(family, image, in_step, out_step);
        };
        if (i % 3 == 0) compare(std::integral_constant<int, 1>());
        if (i % 3 == 1) compare(std::integral_constant<int, 3>());
        if (i % 3 == 2) compare(std::integral_constant<int, 4>());
    }
}

/// Expects start(channels, in_h, in_w, out_h, out_w) to refuse each measure of 0 and less, and a
/// channel too many.
template <class Start>
void expect_refused_measures(Start start, int most_channels, const std::string& message) {
    const MessageCapture posted;
    for (const int none : {0, -1}) {
        expect_failed(start(1, none, 2, 2, 2), 0, message);
        expect_failed(start(1, 2, none, 2, 2), 0, message);
        expect_failed(start(1, 2, 2, none, 2), 0, message);
        expect_failed(start(1, 2, 2, 2, none), 0, message);
        expect_failed(start(none, 2, 2, 2, 2), 0, message);
    }
    expect_failed(start(most_channels + 1, 2, 2, 2, 2), 0, message);
}

}  // namespace movane_tests
