// The zoom: every entry point against the whole-image reference.

#include "movane/imaging.h"

#include "support/resize_host.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

using namespace movane_tests;

TEST(Izat, DeliversWhatTheWholeImageReferenceDoes) {
    Zoom zoom;
    expect_random_images_like_reference(zoom);
    expect_like_reference<1, std::uint8_t>(zoom, {1, 998, 1, 2, 1, 0, 1}, 1, 1);
    expect_like_reference<1, std::uint16_t>(zoom, {1, 1, 5000, 1, 1, 0, 1}, 3, 1);
    expect_like_reference<16, std::uint8_t>(zoom, {16, 5, 9, 8, 6, 0, 2}, 16, 1);
    expect_like_reference<5, std::uint16_t>(zoom, {5, 9, 5, 3, 11, 0, 3}, 1, 7);
}

// The footprint apart from any formula of ours: at equal size a pixel takes 1/8 from its left, 3/8
// + 1/8 from itself and 3/8 from its right neighbour; at the edges what is left of it is scaled up.
TEST(Izat, WeighsTheRightHalfByDistance) {
    Zoom zoom;
    const int expected[3][3] = {{137, 30, 0}, {103, 120, 48}, {0, 90, 192}};
    for (int lit = 0; lit < 3; ++lit) {
        unsigned char in[3] = {}, line[3] = {}, *out = line;
        in[lit] = 240;
        ASSERT_EQ(izat_start(zoom.record, 1, 1, 3, 1, 3, nullptr, 1, 1), 1);
        izat_mono_b(zoom.record, in, &out);
        for (int x = 0; x < 3; ++x) EXPECT_EQ(line[x], expected[lit][x]);
    }
}

TEST(Izat, RefusesWhatItCannotDoAndIsHarmlessThen) {
    const MessageCapture posted;
    const Zoom zoom;
    unsigned char in[4] = {}, line[4] = {1, 2, 3, 4}, *out = line;
    const auto start = [&](int channels, int in_h, int in_w, int out_h, int out_w) {
        const auto done = [](int) { ADD_FAILURE(); };
        return izat_start(zoom.record, channels, in_h, in_w, out_h, out_w, done, 1, 1);
    };
    izat_mono_b(zoom.record, in, &out);  // never started
    expect_refused_measures(start, 16, "izat_start: illegal image");
    EXPECT_EQ(start(1, 998, 2, 2, 2), 1);
    expect_failed(start(1, 999, 2, 2, 2), 0, "izat_start: max zoom factor exceeded");
    izat_mono_b(zoom.record, in, &out);
    expect_failed(start(16, 1, INT_MAX, 1, 1), 0, "izat_start: insuf. mem");
    expect_failed(start(1, 1, 1, 1, INT_MAX), 0, "izat_start: insuf. mem");
    izat_mono_b(zoom.record, in, &out);
    EXPECT_EQ(std::vector<int>(line, line + 4), (std::vector<int>{1, 2, 3, 4}));
}

}  // namespace
