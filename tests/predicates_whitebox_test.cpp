// The predicates against exact integers: general, degenerate and nearly degenerate points of all
// magnitudes.

#include "Source/predicates.h"

#include "reference/exact.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <vector>

namespace {

using movane_tests::reference::Exact;
using movane_tests::reference::orientation;
using Point = std::array<double, 3>;

template <std::size_t kDimensions, class... Points>
int exact_sign(const Points&... points) {
    int unit = 1024;
    for (const Point& point : {points...})
        for (const double x : point) unit = x == 0 ? unit : std::min(unit, std::ilogb(x) - 53);
    const auto exact = [&](double x) { return x == 0 ? Exact(0) : Exact::scaled(x, unit); };
    const std::array<std::array<Exact, 3>, sizeof...(points)> all{
        {{exact(points[0]), exact(points[1]), exact(points[2])}...}};
    return orientation<kDimensions>(all).sign();
}

// Coordinates that decide by themselves whether a determinant vanishes: of a kind of their own for
// each set of points.
class Coordinates {
public:
    explicit Coordinates(std::mt19937& random)
        : random_(random),
          kind_(random() % 16 ? static_cast<int>(random() % 4)
                              : 4 + static_cast<int>(random() % 2)) {}

    double operator()() {
        const int small    = static_cast<int>(random_() % 5) - 2;
        const double any   = static_cast<double>(random_()) / 4294967296.0;
        const int exponent = static_cast<int>(random_() % 2097) - 1074;
        switch (kind_) {
            case 0:
                return any * 100;
            case 1:
                return small;  // often degenerate
            case 2:
                return 0.1 * small;  // degenerate but for rounding
            case 3:
                return 12 + small * 0x1p-49;  // units in the last place
            case 4:
                return std::ldexp(small, random_() % 2 ? -1074 : 1020);
            default:
                return std::ldexp(any - 0.5, exponent);  // all magnitudes
        }
    }

private:
    std::mt19937& random_;
    int kind_;
};

TEST(Predicates, GiveTheSignsOfExactDeterminants) {
    std::mt19937 random(1);
    int zeros = 0, inside = 0;
    for (int i = 0; i < 1500; ++i) {
        Coordinates coordinate(random);
        std::vector<Point> p(5);
        for (Point& point : p) point = {coordinate(), coordinate(), coordinate()};
        // A point of the plane, as far as doubles can tell.
        if (random() % 3 == 0)
            for (int k = 0; k < 3; ++k) p[3][k] = 0.25 * p[0][k] + 0.25 * p[1][k] + 0.5 * p[2][k];

        const int turn = exact_sign<2>(p[0], p[1], p[2]);
        EXPECT_EQ(movane::orient_2d(p[0][0], p[0][1], p[1][0], p[1][1], p[2][0], p[2][1]), turn);
        const int side = exact_sign<3>(p[0], p[1], p[2], p[3]);
        EXPECT_EQ(movane::orient_3d(p[0].data(), p[1].data(), p[2].data(), p[3].data()), side) << i;
        zeros += turn == 0 || side == 0;
        if (side == 0) continue;
        if (side < 0) std::swap(p[0], p[1]);
        const int found =
            movane::in_sphere(p[0].data(), p[1].data(), p[2].data(), p[3].data(), p[4].data());
        EXPECT_EQ(found, -exact_sign<3>(p[0], p[1], p[2], p[3], p[4])) << i;
        zeros += found == 0;
        inside += found > 0;
    }
    EXPECT_GT(zeros, 200);
    EXPECT_GT(inside, 50);
}

TEST(Predicates, TellInsideFromOutsideAndCollinearFromNot) {
    const Point o{0, 0, 0}, x{1, 0, 0}, y{0, 1, 0}, z{0, 0, 1}, middle{0.25, 0.25, 0.25};
    EXPECT_EQ(movane::orient_3d(o.data(), x.data(), y.data(), z.data()), 1);
    EXPECT_EQ(movane::in_sphere(o.data(), x.data(), y.data(), z.data(), middle.data()), 1);
    const double t[] = {0.1, 0.2, 0.3}, u[] = {0.2, 0.4, 0.6}, v[] = {0.3, 0.6, 0.9};
    EXPECT_TRUE(movane::are_collinear(o.data(), t, u));
    EXPECT_FALSE(movane::are_collinear(t, u, v));  // 0.1 + 0.2 is not 0.3
    for (const Point& p : {x, y, z})
        EXPECT_FALSE(movane::are_collinear(o.data(), p.data(), middle.data()));
}

}  // namespace
