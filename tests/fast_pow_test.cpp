// The power table over all of its shapes.

#include "movane/numerics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>

namespace {

// A table of one entry stands for the fraction 0.
double fraction(int word, int bits) {
    return bits == 0 ? 0 : (word >> (16 - bits)) / ((1 << bits) - 1.0);
}

TEST(FastPow, LooksUpTheTruncatedPower) {
    std::mt19937 random(1);
    const auto word = [&] {  // often an end
        return static_cast<unsigned short>(random() % 4 == 0 ? random() % 2 * 65535 : random());
    };
    for (const auto& [xbits, ybits] :
         {std::pair{8, 8}, {3, 5}, {5, 3}, {16, 0}, {0, 16}, {1, 1}, {0, 0}, {12, 4}}) {
        TFastPow table(xbits, ybits);
        for (int i = 0; i < 3000; ++i) {
            unsigned short x[] = {word(), word()}, y[] = {word(), word(), 4711},
                           expected[] = {0, 0, 4711};
            for (const int k : {0, 1}) {
                const double power = std::pow(fraction(x[k], xbits), fraction(y[k], ybits));
                expected[k]        = static_cast<unsigned short>(power * 65535);
                ASSERT_EQ(table.Calculate(x[k], y[k]), expected[k]) << x[k] << ' ' << y[k];
            }
            ASSERT_EQ(table.MultiCalculate(-1, x, y, x), 0);
            ASSERT_EQ(table.MultiCalculate(2, x, y, y), 0);  // in place
            ASSERT_TRUE(std::equal(y, y + 3, expected));
        }
    }
}

}  // namespace
