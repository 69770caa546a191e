// Item strings against the C library's own conversions, and the messages of their callers.

#include "movane/services.h"

#include "support/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace {

using movane_tests::outcome_of;

constexpr double kInfinity = std::numeric_limits<double>::infinity(),
                 kNan      = std::numeric_limits<double>::quiet_NaN();

std::string written(const std::vector<double>& values, int result = 0) {
    std::vector<char> text(330 * values.size() + 1);  // no more than documented
    EXPECT_EQ(str_itemstr_from_double(values.data(), static_cast<int>(values.size()), text.data()),
              result);
    return text.data();
}

std::string printed(double value) {
    const double magnitude = std::fabs(value);
    const int width        = magnitude > 1 ? static_cast<int>(std::log10(magnitude)) + 1 : 1;
    char text[400];
    std::snprintf(text, sizeof text, " %*.*lf ", width, std::max(4 - width, 0), value);
    return text;
}

TEST(ItemString, WritesAsPrintfDoes) {
    EXPECT_EQ(written({123.456, 0.5, 12345.6, -1, -12, -0.0, 99999.9, 9.9999}),
              " 123.5  0.500  12346  -1.000  -12.00  -0.000  100000  10.000 ");
    for (const double bad : {kInfinity, -kInfinity, kNan}) EXPECT_EQ(written({1, bad, 2}, -1), "");

    for (const double value : {DBL_MAX, -DBL_MAX, 999.95, 0.0005, 0.00049999})
        EXPECT_EQ(written({value}), printed(value));
    for (int exponent = -5; exponent <= 308; ++exponent) {
        const double power = std::pow(10.0, exponent);
        for (const double x : {-power, std::nextafter(power, 0.0), std::nextafter(power, DBL_MAX)})
            EXPECT_EQ(written({x}), printed(x));
    }
    std::mt19937_64 random(62);
    for (int i = 0; i < 4000; ++i) {
        const double value = i % 2 ? std::bit_cast<double>(random())
                                   : static_cast<double>(random() % 2000001) / 1000 - 1000;
        EXPECT_TRUE(!std::isfinite(value) || written({value}) == printed(value)) << value;
    }
}

TEST(ItemString, ChoosesWidthAndPrecision) {
    const auto chosen = [](double value, int digits) {
        int width = -1, precision = -1;
        EXPECT_EQ(vd_fmt_d(value, digits, &width, &precision), 0);
        return std::to_string(width) + "." + std::to_string(precision);
    };
    EXPECT_EQ(chosen(-123.456, 4), "3.1");
    EXPECT_EQ(chosen(12345.6, 5), "5.0");
    EXPECT_EQ(chosen(12345.6, 9), "5.4");
    EXPECT_EQ(chosen(0, 1) + chosen(5, INT_MIN), "1.01.0");
    EXPECT_EQ(chosen(kNan, 4) + chosen(-kInfinity, 4), "1.31.3");
}

// The result and all values, those that are not read being -7.
template <class Number>
std::string read(int (*call)(const char*, int, Number*), const char* text, int n) {
    Number values[] = {-7, -7, -7};
    std::ostringstream told;
    told << call(text, n, values);
    for (const Number value : values) told << ' ' << value;
    return told.str();
}

TEST(ItemString, ReadsNumbers) {
    const std::tuple<const char*, int, const char*, const char*> rows[] = {
        {"1.5 -2.5", 2, "0 1.5 -2.5 -7", "0 1 -2 -7"},
        {"1.5 2", 3, "-1 1.5 2 -7", "-1 1 2 -7"},
        {"1.5 2", 1, "0 1.5 -7 -7", "0 1 -7 -7"},
        {"  -1\t+5  007 ", 3, "0 -1 5 7", "0 -1 5 7"},
        {"1,5 2;x 3mm", 3, "0 1 2 3", "0 1 2 3"},
        {"1e2 .5 5.", 3, "0 100 0.5 5", "-1 1 -7 -7"},
        {"0x10 -0X1.8p1", 2, "0 16 -3 -7", "0 0 0 -7"},
        {"inf -INFINITY nan", 3, "0 inf -inf nan", "-1 -7 -7 -7"},
        {"2147483647 -2147483648", 2, "0 2.14748e+09 -2.14748e+09 -7",
         "0 2147483647 -2147483648 -7"},
        {"1e999 -2e-324 0x1p-1080", 3, "0 inf -0 0", "0 1 -2 0"},
        {"2147483648", 1, "0 2.14748e+09 -7 -7", "-1 -7 -7 -7"},
        {"1 x 3", 3, "-1 1 -7 -7", "-1 1 -7 -7"},
        {"x", -1, "0 -7 -7 -7", "0 -7 -7 -7"}};
    for (const auto& [text, n, doubles, ints] : rows) {
        EXPECT_EQ(read(str_double_from_itemstr, text, n), doubles);
        EXPECT_EQ(read(str_int_from_itemstr, text, n), ints);
    }
    for (const char* bad : {"", "   ", "+-1", "++1", "--1", "0x", "0xinf"})
        EXPECT_EQ(read(str_double_from_itemstr, bad, 1), "-1 -7 -7 -7") << bad;
}

TEST(ItemString, ReportsBadTextsAndValues) {
    double values[2] = {1, kNan};
    char text[661];
    EXPECT_EQ(outcome_of([&] { return vd_from_str("1 2", 2, values); }), "0");
    EXPECT_EQ(outcome_of([&] { return vd_from_str("1", 2, values); }),
              "-1 Error bad item string for double conversions");
    EXPECT_EQ(outcome_of([&] { return str_from_vd(values, 2, text); }), "0");
    EXPECT_STREQ(text, " 1.000  2.000 ");
    values[1] = kInfinity;
    EXPECT_EQ(outcome_of([&] { return str_from_vd(values, 2, text); }),
              "-1 Error bad formatted item string from doubles, ier -1 ");
}

}  // namespace
