// Item strings against the C library's own conversions, and the messages of their callers.

#include "movane/services.h"

#include "support/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using movane_tests::message_of;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::string written(const std::vector<double>& values, int result = 0) {
    const std::unique_ptr<char[]> text(new char[330 * values.size() + 1]);
    EXPECT_EQ(str_itemstr_from_double(values.data(), static_cast<int>(values.size()), text.get()),
              result);
    return text.get();
}

std::string printed(double value) {
    const double magnitude = std::fabs(value);
    const int width        = magnitude > 1 ? static_cast<int>(std::log10(magnitude)) + 1 : 1;
    char text[400];
    std::snprintf(text, sizeof text, " %*.*lf ", width, std::max(4 - width, 0), value);
    return text;
}

TEST(ItemString, KeepsFourDigits) {
    EXPECT_EQ(written({123.456}), " 123.5 ");
    EXPECT_EQ(written({0.5}), " 0.500 ");
    EXPECT_EQ(written({12345.6}), " 12346 ");
    EXPECT_EQ(written({1.0}), " 1.000 ");
    EXPECT_EQ(written({-1.0, -12.0, 0.0, -0.0}), " -1.000  -12.00  0.000  -0.000 ");
    EXPECT_EQ(written({99999.9, 9.9999}), " 100000  10.000 ");
    EXPECT_EQ(written({}), "");
    EXPECT_EQ(written({DBL_MAX, -DBL_MAX}).size(), 2 * 2 + 309 + 310u);
    for (const double bad : {kInfinity, -kInfinity, std::nan("")})
        EXPECT_EQ(written({1.0, bad, 2.0}, -1), "");
}

TEST(ItemString, WritesAsPrintfDoes) {
    std::mt19937_64 random(62);
    std::vector<double> values = {0.9999999, 1.0000001, 9.9995, 999.95, 0.0005, 0.00049999};
    for (int exponent = -5; exponent <= 308; ++exponent) {
        const double power = std::pow(10.0, exponent);
        for (const double x : {power, std::nextafter(power, 0.0), std::nextafter(power, DBL_MAX)})
            values.insert(values.end(), {x, -x});
    }
    while (values.size() < 5000) {
        const auto any = std::bit_cast<double>(random());
        if (std::isfinite(any)) values.push_back(any);
        values.push_back(static_cast<double>(random() % 2000001) / 1000.0 - 1000.0);
    }
    for (const double value : values) EXPECT_EQ(written({value}), printed(value));
}

TEST(ItemString, ChoosesWidthAndPrecision) {
    const struct {
        double value;
        int digits, width, precision;
    } rows[] = {
        {123.456, 4, 3, 1},   {-123.456, 4, 3, 1},  {1.0, 4, 1, 3},        {0.001, 4, 1, 3},
        {10.0, 4, 2, 2},      {12345.6, 4, 5, 0},   {12345.6, 5, 5, 0},    {12345.6, 9, 5, 4},
        {DBL_MAX, 4, 309, 0}, {0.0, 1, 1, 0},       {0.0, 0, 1, 0},        {5.0, -7, 1, 0},
        {5.0, INT_MIN, 1, 0}, {kInfinity, 4, 1, 3}, {-kInfinity, 4, 1, 3}, {std::nan(""), 4, 1, 3},
    };
    for (const auto& row : rows) {
        int width = -1, precision = -1;
        EXPECT_EQ(vd_fmt_d(row.value, row.digits, &width, &precision), 0);
        EXPECT_EQ(width, row.width) << row.value;
        EXPECT_EQ(precision, row.precision) << row.value << ' ' << row.digits;
    }
}

TEST(ItemString, ReadsDoubles) {
    const struct {
        const char* text;
        int n, result;
        std::vector<double> values;
    } rows[] = {
        {"1.5 2.5", 2, 0, {1.5, 2.5}},
        {"1.5 2.5", 3, -1, {1.5, 2.5}},
        {"1.5 2.5", 1, 0, {1.5}},
        {"  -1e2\t+.5  5. ", 3, 0, {-100, 0.5, 5}},
        {"1,5 2;x 3mm", 3, 0, {1, 2, 3}},
        {"0x10 -0X1.8p1", 2, 0, {16, -3}},
        {"inf -INFINITY", 2, 0, {kInfinity, -kInfinity}},
        {"1 x 3", 3, -1, {1}},
        {"", 1, -1, {}},
        {"   ", 1, -1, {}},
        {"+-1", 1, -1, {}},
        {"++1", 1, -1, {}},
        {"--1", 1, -1, {}},
        {"0x", 1, -1, {}},
        {"0xinf", 1, -1, {}},
        {"1e999", 1, -1, {}},
        {"", 0, 0, {}},
        {"x", -1, 0, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        double values[4] = {-7, -7, -7, -7};
        EXPECT_EQ(str_double_from_itemstr(row.text, row.n, values), row.result);
        for (std::size_t i = 0; i < row.values.size(); ++i) EXPECT_EQ(values[i], row.values[i]);
        EXPECT_EQ(values[3], -7);
    }
    double not_a_number = 0;
    EXPECT_EQ(str_double_from_itemstr("nan", 1, &not_a_number), 0);
    EXPECT_TRUE(std::isnan(not_a_number));
}

TEST(ItemString, ReadsIntegers) {
    const struct {
        const char* text;
        int n, result;
        std::vector<int> values;
    } rows[] = {
        {"1 -2 +3", 3, 0, {1, -2, 3}},
        {"2147483647 -2147483648", 2, 0, {INT_MAX, INT_MIN}},
        {"1.9 007", 2, 0, {1, 7}},
        {"2147483648", 1, -1, {}},
        {"1 2", 3, -1, {1, 2}},
        {"+", 1, -1, {}},
        {"", 0, 0, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        int values[4] = {-7, -7, -7, -7};
        EXPECT_EQ(str_int_from_itemstr(row.text, row.n, values), row.result);
        for (std::size_t i = 0; i < row.values.size(); ++i) EXPECT_EQ(values[i], row.values[i]);
        EXPECT_EQ(values[3], -7);
    }
}

TEST(ItemString, ReadsWhatScanfReads) {
    std::mt19937_64 random(63);
    for (int i = 0; i < 5000; ++i) {
        const auto any = std::bit_cast<double>(random());
        if (!std::isfinite(any)) continue;
        char text[64];
        std::snprintf(text, sizeof text, i % 2 ? " %.17g" : "%+.5e x", any);
        double scanned = 0, read = 1;
        ASSERT_EQ(std::sscanf(text, "%lf", &scanned), 1);
        if (!std::isfinite(scanned) || scanned == 0) continue;  // rounded out of the range
        EXPECT_EQ(str_double_from_itemstr(text, 1, &read), 0);
        EXPECT_EQ(read, scanned) << text;
    }
}

TEST(ItemString, ReportsBadTextsAndValues) {
    double values[2] = {1, std::nan("")};
    char text[661];
    EXPECT_EQ(message_of([&] { EXPECT_EQ(vd_from_str("1 2", 2, values), 0); }), "");
    EXPECT_EQ(message_of([&] { EXPECT_EQ(vd_from_str("1", 2, values), -1); }),
              "Error bad item string for double conversions");
    EXPECT_EQ(message_of([&] { EXPECT_EQ(str_from_vd(values, 2, text), 0); }), "");
    EXPECT_STREQ(text, " 1.000  2.000 ");
    values[1] = kInfinity;
    EXPECT_EQ(message_of([&] { EXPECT_EQ(str_from_vd(values, 2, text), -1); }),
              "Error bad formatted item string from doubles, ier -1 ");
    EXPECT_STREQ(text, "");
}

}  // namespace
