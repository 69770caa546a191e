// Planes, triangles and lines: rows with known answers, and random triangles against what the
// construction of the points implies.

#include "movane/gamut.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <utility>
#include <vector>

namespace {

using Point = std::array<double, 3>;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

volume_point record(const Point& p, double nr = 0) { return {p[0], p[1], p[2], nr}; }

TEST(Plane, HoldsWhatTheHeaderSays) {
    const volume_point a{1, 2, 3, 7}, b{4, 2, 3, 8}, c{1, 4, 3, 9};
    volume_plane* plane = plane_new2(&a, &b, &c);
    EXPECT_EQ((std::vector{plane->a, plane->b, plane->c, plane->d}),
              (std::vector<double>{0, 0, 6, -18}));
    EXPECT_EQ((std::vector{plane->corner_a.nr, plane->corner_b.nr, plane->corner_c.nr}),
              (std::vector<double>{7, 8, 9}));
    EXPECT_EQ((std::vector(plane->centroid, plane->centroid + 3)),
              (std::vector<double>{2, 8.0 / 3, 3}));
    plane->flag        = 5;
    volume_plane* copy = plane_new(plane);
    EXPECT_EQ(copy->flag, 0);
    EXPECT_EQ(copy->d, -18);
    EXPECT_EQ(plane_kill(plane), 0);
    EXPECT_EQ(plane_kill(copy), 0);
    EXPECT_EQ(plane_kill(plane_new(nullptr)), 0);
    EXPECT_EQ(plane_new2(&a, nullptr, &c), nullptr);
}

TEST(Plane, DistancesAreSquaresAndMeasuresBuiltOnThem) {
    const Point o{0, 0, 0}, x10{10, 0, 0}, y10{0, 10, 0}, q{3, 4, 2}, x_short{0.009, 0, 0};
    const volume_point a = record(o), b = record(x10), c = record(y10), flat = record({5, 0, 0});
    EXPECT_EQ(plane_get_distance_from_point(q.data(), &a, &b, &c), 4.0);
    EXPECT_EQ(plane_get_distance_from_point(q.data(), &a, &b, &flat), 0.0);
    EXPECT_EQ(plane_get_distance_from_point(q.data(), &a, &b, nullptr), -1.0);
    // The perpendicular's foot is 3 from the start; the formula divides that by the line's length.
    for (const auto& [length, foot] : {std::pair{1.0, 3.0}, {2.0, 1.5}, {10.0, 0.3}}) {
        const Point end{length, 0, 0}, abreast{0, 4, 2};
        const double square = (3 - foot) * (3 - foot) + 20;
        EXPECT_DOUBLE_EQ(line_get_distance_from_point(q.data(), o.data(), end.data()), square);
        EXPECT_DOUBLE_EQ(triangle_get_area(o.data(), end.data(), q.data()), length * square * 0.5);
        EXPECT_EQ(line_get_distance_from_point(abreast.data(), o.data(), end.data()), 20.0);
    }
    EXPECT_EQ(line_get_distance_from_point(q.data(), o.data(), x_short.data()), 0.0);
    EXPECT_EQ(line_get_distance_from_point(nullptr, o.data(), x10.data()), -1.0);
    EXPECT_EQ(triangle_get_area(o.data(), x10.data(), nullptr), -1.0);
}

TEST(Plane, IsIntersectedByLinesThatAreNotParallel) {
    const volume_point a{0, 0, 2, 0}, b{1, 0, 2, 0}, c{0, 1, 2, 0};
    volume_plane* plane = plane_new2(&a, &b, &c);
    Point out{};
    const Point o{0, 0, 0}, up{1, 2, 1}, level{5, 5, 0}, unknown{0, 0, kNan};
    EXPECT_EQ(plane_intersect_line(plane, o.data(), up.data(), out.data()), 1);
    EXPECT_EQ(out, (Point{2, 4, 2}));
    EXPECT_EQ(plane_intersect_line(plane, o.data(), up.data(), nullptr), 1);
    EXPECT_EQ(plane_intersect_line(plane, o.data(), level.data(), out.data()), 0);
    EXPECT_EQ(plane_intersect_line(plane, o.data(), unknown.data(), out.data()), 0);
    EXPECT_EQ(plane_intersect_line(nullptr, o.data(), up.data(), out.data()), 0);
    plane_kill(plane);
}

TEST(Triangle, HoldsItsBorderAndNothingBeyond) {
    struct Row {
        const char* name;
        Point q;
        int inside;
    };
    const Point a{0, 0, 0}, b{4, 0, 1}, c{0, 4, 1};
    for (const Row& row :
         {Row{"inside", {1, 1, 2}, 1}, Row{"far above", {1, 1, 900}, 1}, Row{"corner", b, 1},
          Row{"edge", {2, 2, 1}, 1}, Row{"beside a corner", {-1e-300, 0, 0}, 0},
          Row{"just beyond an edge", {2, std::nextafter(2, 3), 1}, 0},
          Row{"on the line of an edge", {5, -1, 1}, 0}, Row{"nowhere", {1, 1, kNan}, 0}}) {
        EXPECT_EQ(triangle_point_inside(row.q.data(), a.data(), b.data(), c.data()), row.inside)
            << row.name;
        EXPECT_EQ(triangle_point_inside(row.q.data(), c.data(), b.data(), a.data()), row.inside)
            << row.name << ", the other way round";
    }
    const Point middle{2, 0, 0.5};
    EXPECT_EQ(triangle_point_inside(middle.data(), a.data(), b.data(), middle.data()), 0);
    EXPECT_EQ(triangle_point_inside(nullptr, a.data(), b.data(), c.data()), 0);
}

TEST(Triangle, IsMetBySegmentsUpToTheirEnds) {
    struct Row {
        const char* name;
        Point s, e;
        int met;
        double t;
    };
    const Point a{0, 0, 1}, b{4, 0, 1}, c{0, 4, 1};
    for (const Row& row : {Row{"starts in it", {1, 1, 1}, {9, 9, 9}, 1, 0},
                           Row{"ends in it", {9, 9, 9}, {1, 1, 1}, 1, 1},
                           Row{"through a corner", {4, 0, 0}, {4, 0, 2}, 1, 0.5},
                           Row{"through an edge", {2, 2, 0}, {2, 2, 2}, 1, 0.5},
                           Row{"just past an edge", {2, std::nextafter(2, 3), 0}, {2, 2, 2}, 0, 0},
                           Row{"in the plane", {-1, 1, 1}, {3, 1, 1}, 0, 0},
                           Row{"a point in it", {1, 1, 1}, {1, 1, 1}, 0, 0},
                           Row{"endless", {1, 1, 0}, {1, 1, HUGE_VAL}, 0, 0}}) {
        for (const bool is_turned : {false, true}) {
            const Point &p1 = is_turned ? c : a, &p3 = is_turned ? a : c;
            Point out{};
            double t = -1;
            EXPECT_EQ(triangle_intersect_linesegment2(p1.data(), b.data(), p3.data(), row.s.data(),
                                                      row.e.data(), out.data(), &t),
                      row.met)
                << row.name;
            EXPECT_EQ(triangle_intersect_linesegment(p1.data(), b.data(), p3.data(), row.s.data(),
                                                     row.e.data(), nullptr),
                      row.met);
            if (!row.met) continue;
            EXPECT_EQ(t, row.t) << row.name;
            for (int k = 0; k < 3; ++k)
                EXPECT_EQ(out[k], row.s[k] + (row.e[k] - row.s[k]) * t) << row.name;
        }
    }
}

TEST(Triangle, IsMetWhereTheSegmentWasAimed) {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> any(-100, 100), share(-0.5, 1.5), along(0.1, 2);
    int met = 0;
    for (int i = 0; i < 2000; ++i) {
        Point a, b, c, s, e, aim;
        for (Point* p : {&a, &b, &c, &s})
            for (double& x : *p) x = any(random);
        const double u = share(random), v = share(random), t = along(random);
        for (int k = 0; k < 3; ++k) {
            aim[k] = a[k] + u * (b[k] - a[k]) + v * (c[k] - a[k]);
            e[k]   = s[k] + (aim[k] - s[k]) / t;
        }
        const double margin =
            std::min({std::fabs(u), std::fabs(v), std::fabs(1 - u - v), std::fabs(1 - t)});
        if (margin < 1e-9) continue;
        Point out{};
        double found        = 0;
        const int expected  = u > 0 && v > 0 && u + v < 1 && t < 1;
        const int intersect = triangle_intersect_linesegment2(
            a.data(), b.data(), c.data(), s.data(), e.data(), out.data(), &found);
        EXPECT_EQ(intersect, expected) << i;
        if (!intersect) continue;
        ++met;
        EXPECT_NEAR(found, t, 1e-8);
        for (int k = 0; k < 3; ++k) EXPECT_NEAR(out[k], aim[k], 1e-6);
    }
    EXPECT_GT(met, 50);
}

}  // namespace
