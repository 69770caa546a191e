// Bilinear resampling: every entry point against a plain model of it.

#include "movane/imaging.h"

#include "support/messages.h"
#include "support/resize_host.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <vector>

namespace {

using namespace movane_tests;

TEST(Ibilin, DeliversWhatTheReferenceDoes) {
    Bilinear bilinear;
    expect_random_images_like_reference(bilinear);
    expect_like_reference<1, std::uint8_t>(bilinear, {1, 3000, 2, 2, 3, 0, 1}, 1, 1);
    expect_like_reference<1, std::uint16_t>(bilinear, {1, 2, 3, 3000, 2, 0, 1}, 1, 1);
}

// The lines that come out and the calls in which they do, one pixel each.
TEST(Ibilin, KeepsItsTwoLastLinesAtTheEnd) {
    struct Case {
        const char* name;
        std::vector<int> in;
        int out_height;
        std::vector<int> calls, out;
    };
    const Case cases[] = {
        {"equal size repeats the last line but one", {10, 20, 40}, 3, {1, 2, 2}, {10, 20, 20}},
        {"two lines to four", {10, 20}, 4, {1, 1, 1, 1}, {10, 15, 10, 15}},
        {"ten lines to one", {10, 20, 3, 3, 3, 3, 3, 3, 3, 3}, 1, {1}, {10}},
        {"one line", {10}, 3, {0, 0, 0}, {10, 10, 10}},
        {"full 16 bits", {65535, 65535}, 3, {1, 1, 1}, {65535, 65535, 65535}},
    };
    const Bilinear bilinear;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        unsigned short sample = 0, *out = &sample;
        std::vector<int> calls, results;
        int call        = 0;
        on_resized_line = [&](int) {
            calls.push_back(call);
            results.push_back(sample);
        };
        ibilin_start(
            bilinear.record, 1, static_cast<int>(c.in.size()), 1, c.out_height, 1,
            [](int ch) { on_resized_line(ch); }, 1, 1);
        for (const int value : c.in) {
            auto in = static_cast<unsigned short>(value);
            ibilin_mono(bilinear.record, &in, &out);
            ++call;
        }
        EXPECT_EQ(calls, c.calls);
        EXPECT_EQ(results, c.out);
    }
}

TEST(Ibilin, RefusesWhatItCannotDoAndIsHarmlessThen) {
    const MessageCapture posted;
    const Bilinear bilinear;
    unsigned char in[4] = {}, line[4] = {1, 2, 3, 4}, *out = line;
    const auto start = [&](int channels, int in_height, int in_width, int out_height,
                           int out_width) {
        return ibilin_start(
            bilinear.record, channels, in_height, in_width, out_height, out_width,
            [](int) { ADD_FAILURE(); }, 1, 1);
    };
    ibilin_mono_b(bilinear.record, in, &out);  // never started
    for (const int none : {0, -1}) {
        const std::string message = "ibilin_start: illegal dest image";
        expect_failed(start(1, none, 2, 2, 2), 0, message);
        expect_failed(start(1, 2, none, 2, 2), 0, message);
        expect_failed(start(1, 2, 2, none, 2), 0, message);
        expect_failed(start(1, 2, 2, 2, none), 0, message);
        expect_failed(start(none, 2, 2, 2, 2), 0, message);
        expect_failed(start(5, 2, 2, 2, 2), 0, message);
    }
    EXPECT_EQ(start(1, 2, 2, 2, 2), 1);
    expect_failed(start(1, 1, 1, 1, INT_MAX), 0, "ibilin_start: unsufficient resources");
    ibilin_mono_b(bilinear.record, in, &out);
    EXPECT_EQ(std::vector<int>(line, line + 4), (std::vector<int>{1, 2, 3, 4}));
}

}  // namespace
