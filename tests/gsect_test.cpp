// Golden-section search: every point at which it calls the function, bit for bit.

#include "movane/numerics.h"

#include "reference/gsect_reference.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace {

using movane_tests::gsect_reference;
using movane_tests::LineSearch;

using Function = double (*)(double);

// The interface hands nothing through to the function, so what it records is global.
Function function;
std::vector<double> visited;

double recorded(double x) {
    visited.push_back(x);
    return function(x);
}

LineSearch search(double xa, double xb, double xc, double tol, Function f) {
    function = f;
    visited.clear();
    double least   = 0;
    const double x = gsect_min(xa, xb, xc, tol, recorded, &least);
    return {visited, x, least};
}

std::vector<std::uint64_t> bits(const LineSearch& s) {
    std::vector<std::uint64_t> all;
    for (const double x : s.visited) all.push_back(std::bit_cast<std::uint64_t>(x));
    all.push_back(std::bit_cast<std::uint64_t>(s.x));
    all.push_back(std::bit_cast<std::uint64_t>(s.value));
    return all;
}

const Function kFunctions[] = {
    [](double x) { return (x - 1) * (x - 1); },
    [](double x) { return std::fabs(x + 0.3); },
    [](double x) { return std::floor(4 * std::fabs(x)); },  // plateaus: ties everywhere
    [](double x) { return x * x * x * x - 3 * x * x + x; },
    [](double x) { return -x; },
    [](double) { return std::numeric_limits<double>::quiet_NaN(); },
};

TEST(Gsect, LooksWhereTheReferenceLooks) {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> abscissa(-8, 8);
    for (const Function f : kFunctions) {
        for (int round = 0; round < 300; ++round) {
            const double xa = abscissa(random), xc = abscissa(random);
            // Also the middle, an end and a point outside: nothing is tested.
            const double places[] = {abscissa(random), (xa + xc) / 2, xa, xc};
            const double tol      = std::pow(10.0, -static_cast<double>(random() % 10));
            for (const double xb : places) {
                ASSERT_EQ(bits(search(xa, xb, xc, tol, f)),
                          bits(gsect_reference(xa, xb, xc, tol, f)))
                    << xa << ' ' << xb << ' ' << xc << ' ' << tol;
            }
        }
    }
}

TEST(Gsect, FindsTheMinimumOfAParabola) {
    const LineSearch s = search(0, 0.5, 3, 1e-6, kFunctions[0]);
    EXPECT_NEAR(s.x, 1, 1e-6);
    EXPECT_NEAR(s.value, 0, 1e-12);
    EXPECT_EQ(s.visited[0], 0.5);
    EXPECT_EQ(s.visited[1], 0.5 + 0.38196601 * 2.5);
}

TEST(Gsect, PlacesItsFirstPoints) {
    // A tolerance beyond the bracket ends the search with the two points of the start.
    const auto first = [](double xa, double xb, double xc, Function f) {
        const LineSearch s = search(xa, xb, xc, 100, f);
        return std::vector<double>{s.visited.at(0), s.visited.at(1), s.x,
                                   static_cast<double>(s.visited.size())};
    };
    const Function flat = [](double) { return 7.0; };
    const double g      = 0.38196601;
    using Points        = std::vector<double>;
    EXPECT_EQ(first(0, 2, 4, flat), (Points{2 - g * 2, 2, 2, 2}));  // equal parts: on xa's side
    EXPECT_EQ(first(0, 1, 4, flat), (Points{1, 1 + g * 3, 1 + g * 3, 2}));  // a tie: the second
    EXPECT_EQ(first(4, 1, 0, flat), (Points{1 + g * 3, 1, 1, 2}));
    EXPECT_EQ(first(0, 1, 4, [](double x) { return x; })[2], 1);
}

TEST(GsectDeathTest, AFunctionThatThrowsEndsTheProcess) {
    double least;
    EXPECT_DEATH(gsect_min(
                     0, 1, 2, 0.1, [](double) -> double { throw 1; }, &least),
                 "");
}

}  // namespace
