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

constexpr int kBayer[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};

// In units of 1 / (16 * in_max): the level is level * 16 * out_max, a threshold entry * in_max.
// Exact where the quotient is; the table's doubles err by less than it takes to cross a threshold.
int dithered(std::int64_t level, std::int64_t in_max, std::int64_t out_max, int x, int y) {
    const std::int64_t nearest   = (2 * level * out_max + in_max) / (2 * in_max),
                       remainder = 16 * (level * out_max - nearest * in_max),
                       threshold = kBayer[x & 3][y & 3] * in_max;
    if (threshold < remainder && nearest < out_max) return static_cast<int>(nearest + 1);
    return static_cast<int>(remainder < -threshold && nearest > 0 ? nearest - 1 : nearest);
}

struct Range {
    unsigned int in_max, out_max;
};
constexpr Range kRanges[] = {{1, 0},    {2, 1},     {3, 2},       {16, 1},
                             {255, 1},  {255, 3},   {255, 15},    {255, 254},
                             {4095, 7}, {65535, 1}, {65535, 255}, {65535, 65534}};

TEST(Rdither, GivesTheLevelsOfExactFractions) {
    for (const Range& r : kRanges) {
        const Handle d(rdither_new(r.in_max, r.out_max), rdither_kill);
        for (unsigned int level = 0; level <= r.in_max; ++level) {
            for (const int x : {-4, -3, 2, INT_MAX}) {
                for (const int y : {0, 1, INT_MIN + 2, -1}) {
                    ASSERT_EQ(rdither_val(d, x, y, static_cast<int>(level)),
                              dithered(level, r.in_max, r.out_max, x, y))
                        << level << " of " << r.in_max << " to " << r.out_max;
                }
            }
        }
    }
}

template <class Sample>
void check_lines(void (*line)(rdither*, const Sample*, int, unsigned char*, int, int, int, int)) {
    std::mt19937 random(1);
    for (const Range& r : kRanges) {
        if (r.in_max > Sample(-1)) continue;
        const Handle d(rdither_new(r.in_max, r.out_max), rdither_kill);
        for (int count = -1; count < 70; ++count) {
            const int in_step  = 1 + static_cast<int>(random() % 4),
                      out_step = 1 + static_cast<int>(random() % 4),
                      x0 = static_cast<int>(random()), y = static_cast<int>(random());
            std::vector<Sample> in(static_cast<std::size_t>(std::max(count, 0) * in_step));
            for (Sample& s : in) s = static_cast<Sample>(random() % (r.in_max + 1));
            std::vector<unsigned char> out(static_cast<std::size_t>(std::max(count, 1) * out_step)),
                expected = out;
            line(d, in.data(), in_step, out.data(), out_step, x0, y, count);
            for (int i = 0; i < count; ++i) {
                const int x =
                    static_cast<int>(static_cast<unsigned>(x0) + static_cast<unsigned>(i));
                expected[static_cast<std::size_t>(i * out_step)] = static_cast<unsigned char>(
                    rdither_val(d, x, y, in[static_cast<std::size_t>(i * in_step)]));
            }
            ASSERT_TRUE(out == expected) << count << " of " << r.in_max << " to " << r.out_max;
        }
    }
}

TEST(Rdither, ServesLinesAsItDoesPixels) {
    check_lines(rdither_line);
    check_lines(rdither_line_b);
}

TEST(Rdither, RefusesRangesThatDoNotShrink) {
    const MessageCapture capture;
    for (const Range& r : {Range{3, 3}, {3, 4}, {0, 0}, {65536, 1}, {UINT_MAX, 255}})
        expect_failed(Handle(rdither_new(r.in_max, r.out_max), rdither_kill), nullptr,
                      "rdither_new: param error");
}

}  // namespace
