// The zoom: every entry point against the whole-image reference.

#include "movane/imaging.h"

#include "support/messages.h"
#include "support/resize_host.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <vector>

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

// What the footprint is, apart from any reference: the integrals over a pixel each, where the left
// half weighs 1 - distance and the right half weighs the distance.
TEST(Izat, WeighsTheRightHalfByDistance) {
    const Zoom zoom;
    unsigned char line[3], *out = line;
    const auto response_to = [&](std::vector<unsigned char> in) {
        izat_start(zoom.record, 1, 1, 3, 1, 3, nullptr, 1, 1);
        izat_mono_b(zoom.record, in.data(), &out);
        return std::vector<int>(line, line + 3);
    };
    // At equal size a pixel at m = x + 0.5 takes 1/8 from its left, 3/8 + 1/8 from itself and 3/8
    // from its right neighbour; at the edges what is left of it is scaled up.
    EXPECT_EQ(response_to({240, 0, 0}), (std::vector<int>{137, 30, 0}));
    EXPECT_EQ(response_to({0, 240, 0}), (std::vector<int>{103, 120, 48}));
    EXPECT_EQ(response_to({0, 0, 240}), (std::vector<int>{0, 90, 192}));
}

TEST(Izat, RefusesWhatItCannotDoAndIsHarmlessThen) {
    const MessageCapture posted;
    Zoom zoom;
    unsigned char in[4] = {}, line[4] = {1, 2, 3, 4}, *out = line;
    const auto start = [&](int channels, int in_h, int in_w, int out_h, int out_w) {
        return izat_start(
            zoom.record, channels, in_h, in_w, out_h, out_w, [](int) { ADD_FAILURE(); }, 1, 1);
    };
    izat_mono_b(zoom.record, in, &out);  // never started
    for (const int none : {0, -1}) {
        const std::string message = "izat_start: illegal image";
        expect_failed(start(1, none, 2, 2, 2), 0, message);
        expect_failed(start(1, 2, none, 2, 2), 0, message);
        expect_failed(start(1, 2, 2, none, 2), 0, message);
        expect_failed(start(1, 2, 2, 2, none), 0, message);
        expect_failed(start(none, 2, 2, 2, 2), 0, message);
        expect_failed(start(17, 2, 2, 2, 2), 0, message);
    }
    EXPECT_EQ(start(1, 2, 2, 2, 2), 1);
    EXPECT_EQ(start(1, 998, 2, 2, 2), 1);
    expect_failed(start(1, 999, 2, 2, 2), 0, "izat_start: max zoom factor exceeded");
    izat_mono_b(zoom.record, in, &out);
    expect_failed(start(16, 1, INT_MAX, 1, 1), 0, "izat_start: insuf. mem");
    expect_failed(start(1, 1, 1, 1, INT_MAX), 0, "izat_start: insuf. mem");
    izat_mono_b(zoom.record, in, &out);
    EXPECT_EQ(std::vector<int>(line, line + 4), (std::vector<int>{1, 2, 3, 4}));
}

}  // namespace
