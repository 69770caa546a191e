// The convex hull: which points are inside, against half spaces found by trying all triples; its
// tolerance, and its copies.

#include "movane/gamut.h"

#include "support/hull_points.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <random>

namespace {

using namespace movane_tests;

TEST(ConvexHull, HoldsWhatLiesOnOneSideOfEveryTriple) {
    std::mt19937 random(1);
    std::uniform_int_distribution<int> near(-12, 12);
    for (int round = 0; round < 300; ++round) {
        const HullPoints points               = integer_points(random, 4 + round % 12, 12);
        const auto sides                      = supporting_sides(points);
        const std::optional<TConvexHull> hull = constructed(points);
        ASSERT_EQ(hull.has_value(), !sides.empty());
        for (int i = 0; hull && i < 200; ++i) {
            const HullPoint p = {near(random) * 1.0, near(random) * 1.0, near(random) * 1.0};
            bool is_inside    = true;
            for (const auto& side : sides) is_inside = is_inside && volume(points, side, p) >= 0;
            // Volumes are integers, so that the tolerance is none; where faces are polygons,
            // triples of their corners add nothing but what rounding cannot change.
            EXPECT_EQ(hull->InsideHull(p[0], p[1], p[2]), is_inside) << "round " << round;
        }
    }
}

TEST(ConvexHull, KeepsAToleranceOfHalfAUnit) {
    TConvexHull hull;
    EXPECT_EQ(hull.IsEmpty(), 1);
    EXPECT_EQ(hull.Construct(), -1);
    EXPECT_EQ(hull.InsideHull(1e9, 0, 0), 1);
    for (const HullPoint& p : {HullPoint{0, 0, 0}, {10, 0, 0}, {0, 10, 0}, {0, 0, 10}})
        EXPECT_EQ(hull.AddPoint(p[0], p[1], p[2]), 0);
    EXPECT_EQ(hull.IsEmpty(), 0);
    EXPECT_EQ(hull.InsideHull(1e9, 0, 0), 1) << "before it is constructed";
    EXPECT_EQ(hull.Construct(), 0);

    // A face in a coordinate plane has twice the area 100: the volume at a distance is 100 of it.
    const std::pair<HullPoint, int> rows[] = {
        {{2.5, 2.5, 2.5}, 1}, {{2, 2, 0}, 1}, {{2, 2, -0.005}, 1}, {{2, 2, -0.00501}, 0},
        {{2, 2, -0.2}, 0},    {{4, 4, 4}, 0}, {{1e300, 0, 0}, 0},  {{-1e300, 1, 1}, 0}};
    for (const auto& [p, expected] : rows)
        EXPECT_EQ(hull.InsideHull(p[0], p[1], p[2]), expected) << p[2];
}

TEST(ConvexHull, OutlivesItsSourceInCopies) {
    auto source = std::make_unique<TConvexHull>();
    TConvexHull early(*source), other;
    other.AddPoint(1, 2, 3);
    for (const HullPoint& p : {HullPoint{0, 0, 0}, {9, 0, 0}, {0, 9, 0}, {0, 0, 9}, {3, 3, 3.5}})
        source->AddPoint(p[0], p[1], p[2]);
    TConvexHull before(*source);
    EXPECT_EQ(source->Construct(), 0);
    other               = *source;
    TConvexHull& itself = other;
    other               = itself;
    EXPECT_EQ(early.IsEmpty(), 1);
    EXPECT_EQ(before.InsideHull(9, 9, 9), 1) << "knows nothing of the construction";
    source.reset();
    EXPECT_EQ(other.InsideHull(9, 9, 9), 0);
    EXPECT_EQ(other.InsideHull(1, 1, 1), 1);

    // A copy that constructs, or adds, finds the lists as the others have left them.
    EXPECT_EQ(before.Construct(), 0);
    EXPECT_EQ(before.InsideHull(9, 9, 9), 0);
    EXPECT_EQ(before.InsideHull(3, 3, 3.2), 1);
    before.AddPoint(9, 9, 9);
    EXPECT_EQ(before.Construct(), 0);
    EXPECT_EQ(before.InsideHull(5, 5, 5), 1);
    EXPECT_EQ(other.InsideHull(5, 5, 5), 1);
}

}  // namespace
