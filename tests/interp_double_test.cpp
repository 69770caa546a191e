// Linear interpolators: segments as list_pos() has them, values by the formula.

#include "movane/interpolation.h"

#include "movane/foundation.h"

#include "support/handle.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace movane_tests;

using Curve = Handle<lin_interp_double, int>;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN(), kInfinity = INFINITY;
constexpr char kTooFew[]     = "lin_interp : too little function points",
               kNoFunction[] = "lin_interp : not a function !!";

int less(const void* element, const void* key) { return xsort_int(key, element); }

Curve curve_of(const std::vector<std::array<double, 2>>& points, func_predicate compare = nullptr) {
    Curve curve(lin_interp_double_new(2, compare), lin_interp_double_kill);
    for (const auto& [x, y] : points) EXPECT_EQ(lin_interp_double_insert(curve, x, y), 0);
    return curve;
}

std::string text_of(double y) {
    char text[40];
    std::snprintf(text, sizeof text, " %.17g", y);
    return std::isnan(y) ? " nan" : text;
}

// What a call gives, such as "0 1.5" or "-1 message"; y keeps its value in the latter case.
template <class Call>
std::string outcome(Call call, const lin_interp_double* curve, double x) {
    double y                  = 4711;
    const std::string outcome = outcome_of([&] { return call(curve, x, &y); });
    return outcome[0] == '0' || y != 4711 ? outcome + text_of(y) : outcome;
}

// The same by the formula, on the segment that a list with these keys tells.
std::string expected_outcome(const std::vector<std::array<double, 2>>& points,
                             const movane_list* keys, double x, bool extends) {
    const auto n = static_cast<int>(points.size());
    if (n < 2) return std::string("-1 ") + kTooFew;
    int pos = list_pos(keys, &x);
    if (!extends && (pos == 0 || pos >= n)) return "0" + text_of(points[pos ? n - 1 : 0][1]);
    pos                  = std::min(pos, n - 1);
    const auto& [xp, yp] = points[pos];
    const auto& [xq, yq] = points[pos == 0 ? 1 : pos - 1];
    if (std::fabs(xq - xp) <= 1e-20) return std::string("-1 ") + kNoFunction;
    return "0" + text_of(yp + (x - xp) * (yq - yp) / (xq - xp));
}

TEST(LinInterp, FindsItsSegmentsLikeAList) {
    std::mt19937 random(1);
    const auto uniform = [&] { return std::uniform_real_distribution<double>(-1, 1)(random); };
    for (int round = 0; round < 1500; ++round) {
        // Evenly spaced, clustered, with equal ones, far apart, or with what has no place.
        const auto kind   = random() % 6;
        const auto some_x = [&](int i) {
            const int exponent     = static_cast<int>(random() % 2098) - 1074;
            const double odd_one   = random() % 2 ? kInfinity : -kInfinity;
            const double choices[] = {i * 0.1,
                                      std::exp(12 * uniform()),
                                      static_cast<double>(random() % 8),
                                      std::ldexp(uniform(), exponent),
                                      random() % 12 ? uniform() : odd_one,
                                      random() % 12 ? uniform() : kNan};
            return choices[kind];
        };
        const func_predicate compare = random() % 4 ? nullptr : random() % 2 ? less : xsort_int;
        const Curve curve            = curve_of({}, compare);
        const Handle<movane_list, movane_list*> keys(
            list_new(0, sizeof(double), compare ? compare : xsort_int), list_kill);
        std::vector<std::array<double, 2>> points;
        const int n = static_cast<int>(random() % (round % 8 ? 9 : 120));
        for (int i = 0; i < n; ++i) {
            const std::array point{some_x(i), uniform()};
            ASSERT_EQ(lin_interp_double_insert(curve, point[0], point[1]), 0);
            points.insert(points.begin() + list_insert(keys, &point[0]), point);
            // At times one takes the place of another, in order or not, and goes away again.
            while (random() % 20 == 0) {
                const auto at = static_cast<int>(random() % points.size());
                points[at][0] = random() % 2 ? some_x(at) : points[at ? at - 1 : at][0];
                ASSERT_EQ(lin_interp_double_changep(curve, at, points[at][0], points[at][1]), 0);
                list_changep(keys, at, &points[at][0]);
            }
        }
        for (int i = 0; i < 40; ++i) {
            double x = some_x(i), stored = 0, y = 0;
            if (lin_interp_double_getp(curve, static_cast<int>(random() % 130), &stored, &y) == 0) {
                const double near[] = {stored, std::nextafter(stored, -kInfinity),
                                       std::nextafter(stored, kInfinity), stored + 0.05};
                x                   = near[random() % 4];
            }
            ASSERT_EQ(outcome(lin_interp_double_inter, curve, x),
                      expected_outcome(points, keys, x, true));
            ASSERT_EQ(outcome(lin_interp_double_inextp, curve, x),
                      expected_outcome(points, keys, x, false));
        }
    }
}

TEST(LinInterp, KeepsItsBorders) {
    const std::vector<std::array<double, 2>> line = {{0, 0}, {1, 2}}, flat = {{0, 1}, {1e-20, 2}},
                                             steep = {{0, 1}, {1.1e-20, 2}},
                                             step  = {{0, 1}, {0, 2}, {1, 3}};
    const struct {
        const std::vector<std::array<double, 2>>& points;
        double x;
        const char *inter, *inextp;
    } rows[] = {{line, 0.5, "0 1", "0 1"},
                {line, 1.5, "0 3", "0 2"},
                {line, 1, "0 2", "0 2"},
                {line, -1, "0 -2", "0 0"},
                {flat, 0, "-1 lin_interp : not a function !!", "-1 lin_interp : not a function !!"},
                {flat, 1, "-1 lin_interp : not a function !!", "0 2"},
                {steep, 0, "0 1", "0 1"},
                {step, -1, "-1 lin_interp : not a function !!", "0 1"},
                {step, 0, "0 2", "0 2"}};
    for (const auto& [points, x, inter, inextp] : rows) {
        EXPECT_EQ(outcome(lin_interp_double_inter, curve_of(points), x), inter);
        EXPECT_EQ(outcome(lin_interp_double_inextp, curve_of(points), x), inextp);
    }

    const MessageCapture posted;
    double x = 5, y = 6;
    for (const int at : {-1, 2, 70000}) {
        EXPECT_EQ(lin_interp_double_getp(curve_of(line), at, &x, &y), -1);
        expect_failed(lin_interp_double_changep(curve_of(line), at, 0, 0), -1,
                      "list_changep : index out of bound");
    }
    EXPECT_EQ(x * 10 + y, 56);
    const std::string no_table = "lin_interp_double_getp : Not properly initialized";
    expect_failed(lin_interp_double_getp(nullptr, 0, &x, &y), -1, no_table);
    expect_failed(lin_interp_double_insert(nullptr, 0, 0), -1, no_table);
    expect_failed(lin_interp_double_changep(nullptr, 0, 0, 0), -1, no_table);
    expect_failed(lin_interp_double_subst(nullptr, 0, 0, 0), -1, no_table);
    expect_failed(lin_interp_double_inter(nullptr, 0, &y), -1, kTooFew);
    expect_failed(lin_interp_double_inextp(nullptr, 0, &y), -1, kTooFew);
    EXPECT_EQ(lin_interp_double_num(nullptr), 0);
    expect_failed(Curve(lin_interp_double_invert(nullptr, nullptr), lin_interp_double_kill),
                  nullptr, "lin_interp_double : cannot create inverted object");
    expect_failed(Curve(lin_interp_double_new(65536, nullptr), lin_interp_double_kill), nullptr,
                  "lin_interp : Cannot create new instance of double interpolator");
}

std::string points_of(const lin_interp_double* curve) {
    std::string text;
    double x, y;
    for (int i = 0; lin_interp_double_getp(curve, i, &x, &y) == 0; ++i)
        text += std::to_string(x).substr(0, 5) + ":" + std::to_string(y).substr(0, 1) + " ";
    return text;
}

TEST(LinInterp, SubstitutesTheNearestPointAndInverts) {
    const struct {
        double x, tolerance;
        const char* points;
    } rows[] = {
        {0.005, 0.01, "0.005:9 1.000:2 1.000:3 "}, {0.5, 0.01, "0.000:1 0.500:9 1.000:2 1.000:3 "},
        {0.5, 0.6, "0.500:9 1.000:2 1.000:3 "},    {0.75, 0.25, "0.000:1 0.750:9 1.000:2 1.000:3 "},
        {1.25, 0.26, "0.000:1 1.250:9 1.000:3 "},  {kNan, 9, "0.000:1 1.000:2 1.000:3 nan:9 "}};
    for (const auto& [x, tolerance, points] : rows) {
        const Curve curve = curve_of({{0, 1}, {1, 2}, {1, 3}});
        EXPECT_EQ(lin_interp_double_subst(curve, x, 9, tolerance), 0);
        EXPECT_EQ(points_of(curve), points);
    }
    const Curve empty = curve_of({});
    EXPECT_EQ(lin_interp_double_subst(empty, 4, 5, 100), 0);
    EXPECT_EQ(points_of(empty), "4.000:5 ");

    const Curve hill = curve_of({{0, 3}, {1, 5}, {2, 3}, {4, 1}});
    const Curve up(lin_interp_double_invert(hill, nullptr), lin_interp_double_kill),
        down(lin_interp_double_invert(hill, less), lin_interp_double_kill);
    EXPECT_EQ(points_of(up), "1.000:4 3.000:0 3.000:2 5.000:1 ");
    EXPECT_EQ(points_of(down), "5.000:1 3.000:0 3.000:2 1.000:4 ");
    EXPECT_EQ(outcome(lin_interp_double_inter, up, 4), "0 1.5");
    EXPECT_EQ(outcome(lin_interp_double_inter, down, 4), "0 0.5");
}

}  // namespace
