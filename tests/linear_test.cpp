// The plain solvers: elimination against exact arithmetic, Newton's method at each of its exits.

#include "movane/numerics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

using Values = std::vector<double>;

TEST(Gaussd, SolvesSystemsOfIntegersExactly) {
    std::mt19937 random(1);
    const auto digit = [&] { return static_cast<double>(random() % 5) - 2.0; };
    for (int round = 0; round < 300; ++round) {
        // An upper triangle with powers of 2 as pivots, then multiples of upper rows added to lower
        // ones: elimination stays in integers.
        const int n = 1 + round % 8;
        Values a(n * n), b(n), x(n);
        for (int i = n - 1; i >= 0; --i) {
            x[i]         = digit();
            a[i * n + i] = random() % 2 ? -4 : 1;
            for (int j = i + 1; j < n; ++j) a[i * n + j] = digit();
        }
        for (int i = n - 1; i >= 0; --i) {
            for (int k = 0; k < i; ++k) {
                const double factor = digit();
                for (int j = k; j < n; ++j) a[i * n + j] += factor * a[k * n + j];
            }
            for (int j = 0; j < n; ++j) b[i] += a[i * n + j] * x[j];
        }
        ASSERT_EQ(gaussd(a.data(), b.data(), n), 1);
        ASSERT_EQ(b, x) << "round " << round;
    }
}

TEST(Gaussd, ExchangesRowsOnlyForAPivotOfZero) {
    const auto gives = [](Values a, Values b, int result, const Values& a_after,
                          const Values& b_after) {
        EXPECT_EQ(gaussd(a.data(), b.data(), static_cast<int>(b.size())), result);
        EXPECT_EQ(a, a_after);
        EXPECT_EQ(b, b_after);
    };
    // Each exchange starts from the one before: the third row takes the place of the first, which
    // moves down by one.
    gives({0, 0, 1, 0, 2, 0, 4, 0, 0}, {5, 6, 8}, 1, {4, 0, 0, 0, 2, 0, 0, 0, 1}, {2, 3, 5});
    gives({0, 3, 0, 0, 5, 0, 1, 0, 2}, {1, 2, 3}, 0, {1, 0, 2, 0, 3, 0, 0, 5, 0},
          {3, 1, 2 - 5. / 3});
    gives({0x1p-900, 1, 1, 1}, {1, 1}, 1, {0x1p-900, 1, 1, -0x1p900}, {0, 1});  // tiny, but taken
    gives({1, 1, 1, 1}, {1, 1}, 0, {1, 1, 1, 0}, {1, 0});
    // Products are added up before they are subtracted.
    const Values steep{1, 0x1p60, -0x1p60, 0, 1, 0, 0, 0, 1};
    gives(steep, {1, 1, 1}, 1, steep, {1, 1, 1});
    gives({}, {}, 1, {}, {});
    // The products are summed before they are subtracted; taken one by one they would be lost.
    gives({1, 1, 1, 0, 1, 0, 0, 0, 1}, {1e16, 1, 1}, 1, {1, 1, 1, 0, 1, 0, 0, 0, 1},
          {1e16 - 2, 1, 1});
}

TEST(CubicRoot, EndsAtEachOfItsExits) {
    struct Case {
        double c[4], lo, hi, tol;
        int found;
        double root;
    };
    for (const Case& c : {
             Case{{-0.343, 0, 0, 1}, 0, 1, 1e-10, 1, 0.7},
             Case{
                 {-0.343, 0, 0, 1}, 0, 2, 1, 1, 1 - (1 - 0.343) / 3},  // the first estimate will do
             Case{{-3, 1}, 0, 1, 1e-10, 1, 3},      // a root above hi is found: steps are negative
             Case{{1.5, 1}, -2, 0.1, 1e-10, 0, 0},  // a step above hi ends the search,
             Case{{1.25, 1}, -2, 0.5, 1e-10, 1, -1.25},                   // a step of hi does not
             Case{{0.5, 1}, 0, 9, 1e-10, 0, 0},                           // below lo
             Case{{0, 1}, 0, 1, 1e-10, 1, 0},                             // at lo
             Case{{1, -1, 1}, 0, 1, 1e-10, 0, 0},                         // no slope
             Case{{2, -2, 0, 1}, -1, 1, 1e-10, 0, 0},                     // a loop between 0 and 1
             Case{{0, 0, 0, 1}, 0, 2, 1.6e-4, 1, std::pow(2.0 / 3, 20)},  // the last step,
             Case{{0, 0, 0, 1}, 0, 2, 1.2e-4, 0, 0},                      // and one too many
         }) {
        double root = 0;
        EXPECT_EQ(fthird_order_eq(c.c, &root, c.lo, c.hi, c.tol), c.found);
        EXPECT_NEAR(root, c.root, 1e-15);
    }
}

}  // namespace
