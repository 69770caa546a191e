// Golden-section search: every point at which it calls the function, bit for bit.

#include "movane/numerics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <deque>
#include <random>
#include <vector>

namespace {

using Function = double (*)(double);
using Values   = std::vector<double>;

// The search over a sliding window of four points: where it looks and, at last, what it returns.
Values reference(double xa, double xb, double xc, double tol, Function f) {
    constexpr double kRatio = 0.61803399, kRest = 0.38196601;
    const bool right_is_larger = std::fabs(xc - xb) > std::fabs(xb - xa);
    Values visited{right_is_larger ? xb : xb - kRest * (xb - xa),
                   right_is_larger ? xb + kRest * (xc - xb) : xb};
    std::deque<double> x{xa, visited[0], visited[1], xc};
    while (std::fabs(x[3] - x[0]) > tol) {
        const bool go_right = f(x[2]) < f(x[1]);
        go_right ? x.pop_front() : x.pop_back();
        // Three are left; the new one lies between the middle one and the far end.
        visited.push_back(kRatio * x[1] + kRest * x[go_right ? 2 : 0]);
        x.insert(x.begin() + (go_right ? 2 : 1), visited.back());
    }
    visited.push_back(f(x[1]) < f(x[2]) ? x[1] : x[2]);
    return visited;
}

// The interface hands nothing through to the function, so what it records is global.
Function function;
Values record;

double recorded(double x) {
    record.push_back(x);
    return function(x);
}

TEST(Gsect, LooksWhereTheReferenceLooks) {
    const Function functions[] = {
        [](double x) { return (x - 1) * (x - 1); },
        [](double x) { return std::floor(4 * std::fabs(x)); },  // plateaus: ties everywhere
        [](double x) { return x * x * x * x - 3 * x * x + x; },
        [](double x) { return std::sqrt(x); },  // not a number on the left
    };
    std::mt19937 random(1);
    std::uniform_real_distribution<double> abscissa(-8, 8);
    for (int round = 0; round < 1200; ++round) {
        function        = functions[round % 4];
        const double xa = std::floor(abscissa(random)), xc = std::floor(abscissa(random));
        const double tol = std::pow(10.0, 1 - round % 9);
        // Also the middle, an end and a point outside: nothing is tested.
        for (const double xb : {abscissa(random), (xa + xc) / 2, xa, xc}) {
            record.clear();
            double least   = 0;
            const double x = gsect_min(xa, xb, xc, tol, recorded, &least);
            record.push_back(x);
            ASSERT_EQ(record, reference(xa, xb, xc, tol, function)) << xa << ' ' << xb << ' ' << xc;
            ASSERT_TRUE(least == function(x) || std::isnan(function(x)));
        }
    }
}

TEST(GsectDeathTest, AFunctionThatThrowsEndsTheProcess) {
    const auto f = [](double) -> double { throw 1; };
    double least;
    EXPECT_DEATH(gsect_min(0, 1, 2, 0.1, f, &least), "");
}

}  // namespace
