// Digits, combinations and hexadecimal texts against printf, Pascal's triangle and arithmetic.

#include "movane/services.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <random>
#include <tuple>
#include <vector>

namespace {

using Digits = std::vector<int>;

Digits digits_of(int value, int n, int base) {
    Digits digits(static_cast<std::size_t>(n) + 1, 99);
    EXPECT_EQ(numb_decimal_to_base(value, digits.data(), n, base), 0);
    EXPECT_EQ(digits.back(), 99);
    digits.pop_back();
    return digits;
}

TEST(Numb, SplitsAndJoinsDigits) {
    EXPECT_EQ(digits_of(1234, 3, 10), (Digits{4, 3, 2}));
    EXPECT_EQ(digits_of(7, 3, 1), (Digits{0, 0, 0}));
    EXPECT_EQ(digits_of(7, 3, -4), (Digits{0, 0, 0}));
    EXPECT_EQ(digits_of(7, 0, 10), Digits{});

    std::mt19937 random(1);
    for (int i = 0; i < 500; ++i) {
        const int value = static_cast<int>(random()), base = 2 + static_cast<int>(random() % 40);
        int joined = 0;
        EXPECT_EQ(numb_base_to_decimal(digits_of(value, 40, base).data(), &joined, 32, base), 0);
        EXPECT_EQ(joined, value);
    }
    int none = 5;
    EXPECT_EQ(numb_base_to_decimal(nullptr, &none, 0, 10), 0);
    EXPECT_EQ(none, 0);
}

TEST(Numb, CountsCombinations) {
    int row[13] = {1};  // of Pascal's triangle
    for (int n = 0; n <= 12; ++n) {
        for (int k = 0; k <= n; ++k) EXPECT_EQ(numb_combination(n, k), row[k]);
        for (int k = n + 1; k > 0 && k < 13; --k) row[k] += row[k - 1];
    }
    const int rows[][3] = {{2, 5, -1},         {5, -1, -1},
                           {-3, -5, -1},       {34, 17, 4},
                           {30, 17, -3},       {46341, 2, 1073720970},
                           {65535, 2, -98303}, {INT_MAX, 1, INT_MAX},
                           {25, 9, -4614},     {INT_MAX, INT_MAX, 0},
                           {40, 34, 0}};
    for (const auto& [n, k, expected] : rows) EXPECT_EQ(numb_combination(n, k), expected);
}

TEST(Numb, ReadsAndWritesHexadecimal) {
    char text[16], expected[16];
    int read = 7;
    std::mt19937 random(2);
    for (int i = 0; i < 500; ++i) {
        const auto value = static_cast<unsigned>(random() >> (random() % 32));
        std::snprintf(expected, sizeof expected, "%x", value);
        EXPECT_EQ(numb_decimal_to_hex_string(static_cast<int>(value), text), 0);
        EXPECT_STREQ(text, value == 0 ? "" : expected);
        std::snprintf(expected, sizeof expected, i % 2 ? "%08x" : "%X", value);
        EXPECT_EQ(numb_hex_string_to_decimal(expected, &read), 0);
        EXPECT_EQ(static_cast<unsigned>(read), value);
    }
    // A last character that is no digit repeats the one before it.
    const std::tuple<const char*, int, int> rows[] = {
        {"1g", 0, 17},  {"aBg", 0, 0xabb}, {"123456789", 0, 0x23456789},
        {"f ", 0, 255}, {"g", -1, 7},      {"1gg", -1, 7},
        {"g1", -1, 7},  {"-1", -1, 7},     {"/", -1, 7},
        {"", -1, 7}};
    for (const auto& [hex, result, value] : rows) {
        read = 7;
        EXPECT_EQ(numb_hex_string_to_decimal(hex, &read), result) << hex;
        EXPECT_EQ(read, value) << hex;
    }
    const int digits[] = {1, 16, 2};
    EXPECT_EQ(numb_hex_to_hex_string(digits, 3, text), -1);
    EXPECT_STREQ(text, "2");
    EXPECT_EQ(numb_hex_to_hex_string(digits, 0, text), 0);
    EXPECT_STREQ(text, "");
}

}  // namespace
