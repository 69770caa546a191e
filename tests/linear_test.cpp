// The plain solvers: elimination against exact arithmetic, Newton's method at each of its exits.

#include "movane/numerics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

using Values = std::vector<double>;

TEST(Gaussd, SolvesSystemsOfIntegersExactly) {
    // L * U with a unit lower part: every pivot is a power of 2, so elimination stays in integers.
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        const auto n     = static_cast<std::size_t>(1 + round % 8);
        const auto digit = [&] { return static_cast<double>(random() % 5) - 2.0; };
        Values lower(n * n), upper(n * n), a(n * n), x(n), b(n);
        for (std::size_t i = 0; i < n; ++i) {
            x[i] = digit();
            for (std::size_t j = 0; j < n; ++j) {
                if (j < i) lower[i * n + j] = digit();
                if (j > i) upper[i * n + j] = digit();
            }
            lower[i * n + i] = 1.0;
            upper[i * n + i] =
                std::ldexp(random() % 2 ? 1.0 : -1.0, static_cast<int>(random() % 3));
        }
        for (std::size_t i = 0; i < n; ++i) {
            for (std::size_t j = 0; j < n; ++j) {
                for (std::size_t k = 0; k < n; ++k)
                    a[i * n + j] += lower[i * n + k] * upper[k * n + j];
                b[i] += a[i * n + j] * x[j];
            }
        }
        ASSERT_EQ(gaussd(a.data(), b.data(), static_cast<int>(n)), 1);
        ASSERT_EQ(b, x) << "round " << round;
    }
}

TEST(Gaussd, ExchangesRowsOnlyForAPivotOfZero) {
    struct Case {
        const char* name;
        Values a, b;
        int result;
        Values a_after, b_after;
    };
    const Case cases[] = {
        {"each exchange starts from the one before",
         {0, 0, 1, 0, 2, 0, 4, 0, 0},
         {5, 6, 8},
         1,
         {4, 0, 0, 0, 2, 0, 0, 0, 1},
         {2, 3, 5}},
        {"the third row takes the place of the first, which moves down by one",
         {0, 3, 0, 0, 5, 0, 1, 0, 2},
         {1, 2, 3},
         0,
         {1, 0, 2, 0, 3, 0, 0, 5, 0},
         {3, 1, 2 - 5.0 / 3.0 * 1}},
        {"a tiny pivot is taken",
         {0x1p-900, 1, 1, 1},
         {1, 1},
         1,
         {0x1p-900, 1, 1, -0x1p900},
         {0, 1}},
        {"nothing below the last pivot", {1, 1, 1, 1}, {1, 1}, 0, {1, 1, 1, 0}, {1, 0}},
        {"a column of zeros", {0, 1, 0, 1}, {1, 2}, 0, {0, 1, 0, 1}, {2, 1}},
        {"one zero", {0}, {1}, 0, {0}, {1}},
        {"nothing to solve", {}, {}, 1, {}, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Values a = c.a, b = c.b;
        EXPECT_EQ(gaussd(a.data(), b.data(), static_cast<int>(b.size())), c.result);
        EXPECT_EQ(a, c.a_after);
        EXPECT_EQ(b, c.b_after);
    }
}

TEST(CubicRoot, EndsAtEachOfItsExits) {
    struct Case {
        const char* name;
        double c[4];
        double lo, hi, tol;
        int found;
        double root;
    };
    const Case cases[] = {
        {"in one step", {-1, 2, 0, 0}, 0, 1, 1e-10, 1, 0.5},
        {"a cubic", {-0.343, 0, 0, 1}, 0, 1, 1e-10, 1, 0.7},
        {"a root above hi is found, for the steps are negative", {-3, 1, 0, 0}, 0, 1, 1e-10, 1, 3},
        {"a step above hi ends the search", {1.5, 1, 0, 0}, -2, 0.1, 1e-10, 0, 0},
        {"a step of hi does not", {1.25, 1, 0, 0}, -2, 0.5, 1e-10, 1, -1.25},
        {"below lo", {0.5, 1, 0, 0}, 0, 9, 1e-10, 0, 0},
        {"at lo", {0, 1, 0, 0}, 0, 1, 1e-10, 1, 0},
        {"no slope", {1, -1, 1, 0}, 0, 1, 1e-10, 0, 0},
        {"a loop between 0 and 1", {2, -2, 0, 1}, -1, 1, 1e-10, 0, 0},
        {"a loose tolerance takes the first estimate",
         {-0.343, 0, 0, 1},
         0,
         2,
         1,
         1,
         1 - (1 - 0.343) / 3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        double root = 0.0;
        EXPECT_EQ(fthird_order_eq(c.c, &root, c.lo, c.hi, c.tol), c.found);
        EXPECT_NEAR(root, c.root, 1e-15);
    }
}

}  // namespace
