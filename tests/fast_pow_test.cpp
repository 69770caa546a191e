// The power table over all of its shapes.

#include "movane/numerics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <utility>
#include <vector>

namespace {

using Words = std::vector<unsigned short>;

int entry(int x, int y, int xbits, int ybits) {
    const auto fraction = [](int word, int bits) {
        const int entries = 1 << bits;
        const int index   = static_cast<int>(word * (entries / 65536.0));
        return entries == 1 ? 0.0 : index / (entries - 1.0);
    };
    return static_cast<int>(std::pow(fraction(x, xbits), fraction(y, ybits)) * 65535);
}

TEST(FastPow, LooksUpTheTruncatedPower) {
    std::mt19937 random(1);
    for (const auto& [xbits, ybits] : std::vector<std::pair<int, int>>{
             {8, 8}, {3, 5}, {5, 3}, {16, 0}, {0, 16}, {1, 1}, {0, 0}, {12, 4}}) {
        TFastPow table(xbits, ybits);
        Words x{0, 0, 65535, 65535, 32768, 32767}, y{0, 65535, 0, 65535, 65535, 65535};
        for (int i = 0; i < 3000; ++i) {
            x.push_back(static_cast<unsigned short>(random()));
            y.push_back(static_cast<unsigned short>(random()));
        }
        Words expected;
        for (std::size_t i = 0; i < x.size(); ++i) {
            expected.push_back(static_cast<unsigned short>(entry(x[i], y[i], xbits, ybits)));
            ASSERT_EQ(table.Calculate(x[i], y[i]), expected.back())
                << xbits << ' ' << ybits << ' ' << x[i] << ' ' << y[i];
        }
        const int n = static_cast<int>(x.size());
        Words out(x.size() + 1, 4711);
        EXPECT_EQ(table.MultiCalculate(n, x.data(), y.data(), out.data()), 0);
        EXPECT_EQ(table.MultiCalculate(0, x.data(), y.data(), &out.back()), 0);
        EXPECT_EQ(table.MultiCalculate(-1, x.data(), y.data(), &out.back()), 0);
        EXPECT_EQ(out.back(), 4711);
        out.pop_back();
        EXPECT_EQ(out, expected);
        EXPECT_EQ(table.MultiCalculate(n, x.data(), y.data(), y.data()), 0);  // in place
        EXPECT_EQ(y, expected);
    }
}

TEST(FastPow, HasTheEntriesOfItsManual) {
    TFastPow table(8, 8);
    EXPECT_EQ(table.Calculate(0xFFFF, 0), 65535);
    EXPECT_EQ(table.Calculate(0, 0), 65535);
    EXPECT_EQ(table.Calculate(0x8000, 0xFFFF), 32896);
    EXPECT_EQ(table.Calculate(0x80FF, 0xFF00), 32896);  // the low bits are dropped
    EXPECT_EQ(table.Calculate(0, 0x0100), 0);
    EXPECT_EQ(TFastPow(0, 8).Calculate(0xFFFF, 0xFFFF), 0);
    EXPECT_EQ(TFastPow(8, 0).Calculate(0, 0xFFFF), 65535);
}

}  // namespace
