// Unsharp masking against the whole-image reference.

#include "movane/imaging.h"

#include "support/fusm_host.h"
#include "support/handle.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

using namespace movane_tests;
using Filter = Handle<usm_filter, int>;

TEST(Fusm, DeliversWhatTheWholeImageReferenceDoes) {
    std::mt19937 random(1);
    for (int i = 0; i < 40; ++i) {
        expect_sharpened_like_reference<std::uint8_t>(random);
        expect_sharpened_like_reference<std::uint16_t>(random);
    }
}

TEST(Fusm, RefusesWhatTheHeaderSays) {
    const MessageCapture capture;
    const int channels[] = {0, 1, 2, 3}, beyond[] = {0, 2}, negative[] = {-1};
    const auto callback = mix_channels<unsigned char, 3, 10>;
    struct Row {
        int radius, maxval, comps, channels;
        const int* channel_of;
        fusm_comps callback;
        const char* message;
    };
    for (const Row& r : {Row{-1, 255, 5, 1, channels, nullptr, "usm_new: illegal radius"},
                         {3, 255, 1, 1, channels, nullptr, "usm_new: illegal radius"},
                         {0, 255, 5, 1, channels, callback, "usm_new: illegal nr comp"},
                         {0, 255, -1, 1, channels, callback, "usm_new: illegal nr comp"},
                         {0, 255, 1, 11, channels, callback, "usm_new: illegal nr comp"},
                         {0, 255, 0, -1, channels, callback, "usm_new: illegal nr comp"},
                         {0, 255, 2, 3, channels, nullptr, "usm_new: illegal nr comp"},
                         {0, 255, 2, 2, beyond, callback, "usm_new: illegal nr comp"},
                         {0, 255, 1, 1, negative, callback, "usm_new: illegal nr comp"},
                         {0, 0, 1, 1, channels, nullptr, "usm_new: unable to alloc usmval"},
                         {0, -5, 1, 1, channels, nullptr, "usm_new: unable to alloc usmval"}})
        expect_failed(
            Filter(fusm_new(r.radius, r.maxval, r.comps, r.channels, r.channel_of, r.callback),
                   fusm_kill),
            nullptr, r.message);
}

TEST(Fusm, KeepsSettingsWhereTheHostCanReadThem) {
    const int channels[] = {0, 0};
    const Filter f(fusm_new(1, 255, 2, 1, channels, nullptr), fusm_kill);
    EXPECT_EQ(fusm_stren_get(f)[1] + fusm_noise_red_get(f)[1], 1.0);
    const double values[] = {0.5, 0.25, 0.125};
    fusm_stren_set(f, values);
    fusm_noise_red_set(f, values + 1);
    EXPECT_EQ(fusm_stren_get(f)[1] + fusm_noise_red_get(f)[0], 0.5);
    fusm_stren_get(f)[1] = fusm_noise_red_get(f)[0] = 2.0;
    EXPECT_EQ(fusm_stren_get(f)[1] + fusm_noise_red_get(f)[0], 4.0);
}

// A curve that cannot be made leaves the component without one.
TEST(Fusm, RefusesCurvesThatAreNoFunctions) {
    const int channel = 0;
    const Filter f(fusm_new(0, 255, 1, 1, &channel, nullptr), fusm_kill);
    const auto sharpened_dot = [&] {
        fusm_start(f, 4, 5, nullptr, 1, 1, 1);
        unsigned char lines[3][5] = {{}, {0, 0, 100, 0, 0}, {}}, done[5] = {}, *out = done;
        for (unsigned char* in : lines) fusm_b_do(f, &in, &out, nullptr);
        return int{done[2]};
    };
    const double none[] = {0.0, 0.0}, levels[] = {0.0, 255.0}, same[] = {7.0, 7.0};
    const auto set = [&](int n, const double* at) {
        return outcome_of([&] { return fusm_level_red_set(f, 0, n, at, none); });
    };
    for (const auto& [n, at] : {std::pair{2, same}, {1, levels}, {-1, levels}, {0, none}}) {
        EXPECT_EQ(set(2, levels), "1");
        EXPECT_EQ(sharpened_dot(), 100);
        EXPECT_EQ(set(n, at), n ? "0 fusm_level_red_set: unable to create lin interp" : "1");
        EXPECT_EQ(sharpened_dot(), 255);
    }
}

TEST(Fusm, TakesANegativeWidthForNone) {
    const int channel = 0;
    const Filter f(fusm_new(0, 255, 1, 1, &channel, nullptr), fusm_kill);
    EXPECT_EQ(fusm_start(f, 4, -3, nullptr, 1, 1, 1), 1);
    unsigned char in[] = {1}, sample = 2, *line = in, *out = &sample;
    for (int y = 0; y < 4; ++y) fusm_b_do(f, &line, &out, nullptr);
    EXPECT_EQ(sample, 2);
}

}  // namespace
