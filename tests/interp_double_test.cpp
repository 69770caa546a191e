// Linear interpolators: segments as list_pos() has them, values by the formula.

#include "movane/interpolation.h"

#include "movane/foundation.h"

#include "support/handle.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace movane_tests;

using Curve  = Handle<lin_interp_double, int>;
using Points = std::vector<std::array<double, 2>>;

constexpr char kTooFew[]     = "-1 lin_interp : too little function points",
               kNoFunction[] = "-1 lin_interp : not a function !!";

int less(const void* element, const void* key) { return xsort_int(key, element); }

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
std::string expected_outcome(const Points& points, const movane_list* keys, double x,
                             bool extends) {
    const auto n = static_cast<int>(points.size());
    if (n < 2) return kTooFew;
    int pos = list_pos(keys, &x);
    if (!extends && (pos == 0 || pos >= n)) return "0" + text_of(points[pos ? n - 1 : 0][1]);
    pos                  = std::min(pos, n - 1);
    const auto& [xp, yp] = points[pos];
    const auto& [xq, yq] = points[pos == 0 ? 1 : pos - 1];
    if (std::fabs(xq - xp) <= 1e-20) return kNoFunction;
    return "0" + text_of(yp + (x - xp) * (yq - yp) / (xq - xp));
}

std::string listed(const lin_interp_double* curve) {
    std::string text;
    double x, y;
    for (int i = 0; lin_interp_double_getp(curve, i, &x, &y) == 0; ++i)
        text += text_of(x) + text_of(y);
    return text;
}

TEST(LinInterp, FindsItsSegmentsLikeAList) {
    std::mt19937 random(1);
    const auto uniform = [&] { return std::uniform_real_distribution<double>(-1, 1)(random); };
    for (int round = 0; round < 700; ++round) {
        // Evenly spaced, clustered, with equal ones, far apart, at the least distance, or with what
        // has no place.
        const auto kind   = random() % 7;
        const auto some_x = [&](int i) {
            const int exponent     = static_cast<int>(random() % 2098) - 1074;
            const double odd_one   = random() % 2 ? INFINITY : -INFINITY;
            const double choices[] = {i * 0.1,
                                      std::exp(12 * uniform()),
                                      static_cast<double>(random() % 8),
                                      std::ldexp(uniform(), exponent),
                                      static_cast<double>(random() % 25) * 1e-21,
                                      random() % 12 ? uniform() : odd_one,
                                      random() % 12 ? uniform() : NAN};
            return choices[kind];
        };
        const func_predicate compare = random() % 4 ? nullptr : random() % 2 ? less : xsort_int;
        const Curve curve(lin_interp_double_new(2, compare), lin_interp_double_kill);
        const Handle<movane_list, movane_list*> keys(
            list_new(0, sizeof(double), compare ? compare : xsort_int), list_kill);
        Points points;
        const auto insert = [&](double x, double y) {
            points.insert(points.begin() + list_insert(keys, &x), {x, y});
        };
        const auto change = [&](std::size_t at, double x, double y) {
            points[at] = {x, y};
            list_changep(keys, static_cast<int>(at), &x);
        };
        const int n = static_cast<int>(random() % (round % 8 ? 9 : 120));
        for (int i = 0; i < n; ++i) {
            const double x = some_x(i), y = uniform();
            if (random() % 10) {
                ASSERT_EQ(lin_interp_double_insert(curve, x, y), 0);
                insert(x, y);
            } else {  // the nearest point gives way, if it is near enough
                std::size_t nearest = 0;
                for (std::size_t k = 1; k < points.size(); ++k)
                    if (std::fabs(points[k][0] - x) < std::fabs(points[nearest][0] - x))
                        nearest = k;
                const double tolerance = static_cast<double>(random() % 5) * 0.1;
                ASSERT_EQ(lin_interp_double_subst(curve, x, y, tolerance), 0);
                if (!points.empty() && std::fabs(points[nearest][0] - x) < tolerance)
                    change(nearest, x, y);
                else
                    insert(x, y);
            }
            // At times one takes the place of another, in order or not, and goes away again.
            while (random() % 20 == 0) {
                const std::size_t at = random() % points.size();
                const double other   = random() % 2 ? some_x(i) : points[at ? at - 1 : at][0];
                ASSERT_EQ(lin_interp_double_changep(curve, static_cast<int>(at), other, y), 0);
                change(at, other, y);
            }
        }
        for (int i = 0; i < 40; ++i) {
            double x = some_x(i);
            if (n != 0) {
                const double stored = points[random() % points.size()][0];
                const double near[] = {stored, std::nextafter(stored, -INFINITY),
                                       std::nextafter(stored, INFINITY), stored + 0.05};
                x                   = near[random() % 4];
            }
            ASSERT_EQ(outcome(lin_interp_double_inter, curve, x),
                      expected_outcome(points, keys, x, true));
            ASSERT_EQ(outcome(lin_interp_double_inextp, curve, x),
                      expected_outcome(points, keys, x, false));
        }
        // The inverse is what one inserts the other way round.
        const func_predicate order = random() % 2 ? nullptr : less;
        const Curve inverse(lin_interp_double_invert(curve, order), lin_interp_double_kill),
            expected(lin_interp_double_new(0, order), lin_interp_double_kill);
        for (const auto& [x, y] : points) lin_interp_double_insert(expected, y, x);
        ASSERT_EQ(listed(inverse), listed(expected));
        ASSERT_EQ(outcome(lin_interp_double_inter, inverse, 0.1),
                  outcome(lin_interp_double_inter, expected, 0.1));
    }
}

TEST(LinInterp, RefusesIndicesAndNull) {
    const Curve one(lin_interp_double_new(2, nullptr), lin_interp_double_kill);
    lin_interp_double_insert(one, 1, 2);
    const auto all_calls = [](lin_interp_double* t, int at) {
        double x = 5, y = 6;
        std::string text;
        for (const auto& call :
             {outcome_of([&] { return lin_interp_double_getp(t, at, &x, &y); }),
              outcome_of([&] { return lin_interp_double_changep(t, at, 0, 0); }),
              outcome_of([&] { return t ? -1 : lin_interp_double_insert(t, 0, 0); }),
              outcome_of([&] { return t ? -1 : lin_interp_double_subst(t, 0, 0, 0); })})
            text += call + "; ";
        EXPECT_EQ(x * 10 + y, 56);
        return text;
    };
    const std::string none = "-1 lin_interp_double_getp : Not properly initialized; ";
    for (const int at : {-1, 1, 70000})
        EXPECT_EQ(all_calls(one, at), "-1; -1 list_changep : index out of bound; -1; -1; ");
    EXPECT_EQ(all_calls(nullptr, 0), none + none + none + none);
    EXPECT_EQ(outcome(lin_interp_double_inter, nullptr, 0), kTooFew);
    EXPECT_EQ(outcome(lin_interp_double_inextp, nullptr, 0), kTooFew);
    EXPECT_EQ(lin_interp_double_num(one) * 10 + lin_interp_double_num(nullptr), 10);
    const MessageCapture posted;
    expect_failed(Curve(lin_interp_double_invert(nullptr, nullptr), lin_interp_double_kill),
                  nullptr, "lin_interp_double : cannot create inverted object");
    expect_failed(Curve(lin_interp_double_new(65536, nullptr), lin_interp_double_kill), nullptr,
                  "lin_interp : Cannot create new instance of double interpolator");
}

}  // namespace
