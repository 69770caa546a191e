// Bilinear resampling: every entry point against a plain model of it.

#include "movane/imaging.h"

#include "support/resize_host.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

using namespace movane_tests;

TEST(Ibilin, DeliversWhatTheReferenceDoes) {
    Bilinear bilinear;
    expect_random_images_like_reference(bilinear);
    expect_like_reference<1, std::uint8_t>(bilinear, {1, 3000, 2, 2, 3, 0, 1}, 1, 1);
    expect_like_reference<1, std::uint16_t>(bilinear, {1, 2, 3, 3000, 2, 0, 1}, 1, 1);
}

TEST(Ibilin, RefusesWhatItCannotDoAndIsHarmlessThen) {
    const MessageCapture posted;
    const Bilinear bilinear;
    unsigned char in[4] = {}, line[4] = {1, 2, 3, 4}, *out = line;
    const auto start = [&](int channels, int in_h, int in_w, int out_h, int out_w) {
        const auto done = [](int) { ADD_FAILURE(); };
        return ibilin_start(bilinear.record, channels, in_h, in_w, out_h, out_w, done, 1, 1);
    };
    ibilin_mono_b(bilinear.record, in, &out);  // never started
    expect_refused_measures(start, 4, "ibilin_start: illegal dest image");
    EXPECT_EQ(start(1, 2, 2, 2, 2), 1);
    expect_failed(start(1, 1, 1, 1, INT_MAX), 0, "ibilin_start: unsufficient resources");
    ibilin_mono_b(bilinear.record, in, &out);
    EXPECT_EQ(std::vector<int>(line, line + 4), (std::vector<int>{1, 2, 3, 4}));
}

}  // namespace
