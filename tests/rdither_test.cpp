// Ordered dither against fractions of whole numbers.

#include "movane/imaging.h"

#include "support/handle.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <random>
#include <vector>

namespace {

using namespace movane_tests;

// In units of 1 / (16 * in_max): the level is level * 16 * out_max, a threshold entry * in_max.
// Exact where the quotient is; the table's doubles err by less than it takes to cross a threshold.
int dithered(std::int64_t level, std::int64_t in_max, std::int64_t out_max, int x, int y) {
    constexpr int kBayer[4][4]   = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
    const std::int64_t nearest   = (2 * level * out_max + in_max) / (2 * in_max),
                       remainder = 16 * (level * out_max - nearest * in_max),
                       threshold = kBayer[x & 3][y & 3] * in_max;
    if (threshold < remainder && nearest < out_max) return static_cast<int>(nearest + 1);
    return static_cast<int>(remainder < -threshold && nearest > 0 ? nearest - 1 : nearest);
}

// All levels in a line, before which and between which nothing is written.
template <class Sample>
void expect_line(void (*line)(rdither*, const Sample*, int, unsigned char*, int, int, int, int),
                 rdither* d, int in_max, std::mt19937& random) {
    const int in_step = 1 + static_cast<int>(random() % 4), out_step = 2,
              x0 = static_cast<int>(random()), y = static_cast<int>(random());
    std::vector<Sample> in(in_max * in_step + 1);
    std::vector<unsigned char> out(2 * in_max + 3), expected = out;
    for (int i = 0; i <= in_max; ++i) {
        in[i * in_step]  = static_cast<Sample>(i);
        const unsigned x = static_cast<unsigned>(x0) + static_cast<unsigned>(i);
        expected[2 * i]  = static_cast<unsigned char>(rdither_val(d, static_cast<int>(x), y, i));
    }
    for (const int none : {0, -1}) line(d, nullptr, 1, nullptr, 1, 0, 0, none);
    line(d, in.data(), in_step, out.data(), out_step, x0, y, in_max + 1);
    EXPECT_TRUE(out == expected) << in_max;
}

TEST(Rdither, GivesTheLevelsOfExactFractions) {
    std::mt19937 random(1);
    for (const auto& [in_max, out_max] : {std::pair{1, 0},
                                          {2, 1},
                                          {3, 2},
                                          {16, 1},
                                          {255, 1},
                                          {255, 3},
                                          {255, 15},
                                          {255, 254},
                                          {4095, 7},
                                          {65535, 1},
                                          {65535, 255},
                                          {65535, 65534}}) {
        const Handle d(rdither_new(static_cast<unsigned>(in_max), static_cast<unsigned>(out_max)),
                       rdither_kill);
        for (int level = 0; level <= in_max; ++level)
            for (const int x : {-4, -3, 2, INT_MAX})
                for (const int y : {0, 1, INT_MIN + 2, -1})
                    ASSERT_EQ(rdither_val(d, x, y, level), dithered(level, in_max, out_max, x, y))
                        << level << " of " << in_max << " to " << out_max;
        expect_line(rdither_line, d, in_max, random);
        if (in_max <= 255) expect_line(rdither_line_b, d, in_max, random);
    }
}

TEST(Rdither, RefusesRangesThatDoNotShrink) {
    const MessageCapture capture;
    for (const auto& [in_max, out_max] :
         {std::pair{3U, 3U}, {3, 4}, {0, 0}, {65536, 1}, {UINT_MAX, 255}})
        expect_failed(Handle(rdither_new(in_max, out_max), rdither_kill), nullptr,
                      "rdither_new: param error");
}

}  // namespace
