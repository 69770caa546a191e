// Projections: against what makes a point the nearest one, and rows of degenerate figures.

#include "movane/gamut.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>
#include <vector>

namespace {

using Point  = std::array<double, 3>;
using Points = std::vector<Point>;

double squared_distance(const Point& a, const Point& b) {
    return vect_square_distance(a.data(), b.data(), 3);
}

struct Projection {
    Point foot;
    std::vector<double> weights;  // of the corners
    double squared;
};

// Onto the segment, triangle or tetrahedron of 2 to 4 corners.
Projection project(const Point& q, const Points& p) {
    Projection result{{}, std::vector<double>(p.size()), -1};
    double* const foot    = result.foot.data();
    double* const weights = result.weights.data();
    if (p.size() == 2) {
        result.squared = proj_point_segment(q.data(), p[0].data(), p[1].data(), foot, weights + 1);
        weights[0]     = 1 - weights[1];
    } else if (p.size() == 3) {
        result.squared =
            proj_point_triangle(q.data(), p[0].data(), p[1].data(), p[2].data(), foot, weights);
    } else {
        result.squared = proj_point_tetra(q.data(), p[0].data(), p[1].data(), p[2].data(),
                                          p[3].data(), foot, weights);
    }
    return result;
}

// The foot belongs to the figure, and all of the convex figure lies behind it.
void expect_nearest(const Point& q, const Points& p, double size) {
    const Projection found = project(q, p);
    double sum             = 0;
    Point made{};
    for (std::size_t i = 0; i < p.size(); ++i) {
        EXPECT_GE(found.weights[i], 0);
        sum += found.weights[i];
        for (int k = 0; k < 3; ++k) made[k] += found.weights[i] * p[i][k];
    }
    EXPECT_NEAR(sum, 1, 1e-12);
    const double rounding = 1e-12 * size;
    for (int k = 0; k < 3; ++k) EXPECT_NEAR(made[k], found.foot[k], rounding);
    const double squared = squared_distance(q, found.foot);
    EXPECT_NEAR(found.squared, squared, rounding * size);

    for (const Point& corner : p) {
        double beyond = 0;
        for (int k = 0; k < 3; ++k) beyond += (corner[k] - found.foot[k]) * (q[k] - found.foot[k]);
        EXPECT_LE(beyond, 1e-9 * size * size);
    }
}

TEST(Projections, FindTheNearestPoint) {
    std::mt19937 random(1);
    for (int i = 0; i < 1500; ++i) {
        SCOPED_TRACE(i);
        // Anywhere; on a coarse grid, so that corners coincide, edges are collinear, faces flat;
        // or flat but for rounding. Small and large figures.
        const double size = std::array{100.0, 1e-8, 1e9}[i % 3];
        Points p(2 + random() % 3);
        Point q;
        const auto fill = [&](Point& point) {
            for (double& x : point)
                x = i % 2 ? size * (static_cast<int>(random() % 3) - 1)
                          : size * (static_cast<double>(random()) / 2147483648.0 - 1);
            if (i % 5 == 0) point[2] = 0.3 * point[0] + 0.7 * point[1];
            if (i % 20 == 0) point[1] = 0.1 * point[0];
        };
        for (Point& point : p) fill(point);
        fill(q);
        if (p.size() == 4 && i % 6 == 0 && i % 5 != 0) {  // inside, not flat
            for (int k = 0; k < 3; ++k)
                q[k] = 0.1 * p[0][k] + 0.2 * p[1][k] + 0.3 * p[2][k] + 0.4 * p[3][k];
            const Projection found = project(q, p);
            EXPECT_EQ(found.foot, q);
            EXPECT_EQ(found.squared, 0);
        }
        expect_nearest(q, p, 4 * size);
    }
}

TEST(Projections, AcceptDegenerateFigures) {
    struct Row {
        const char* name;
        Point q;
        Points p;
        Point foot;
        double squared;
    };
    const Point o{0, 0, 0}, x{1, 0, 0}, z{0, 0, 1};
    const double tiny = 1e-200, huge = 1e150;
    for (const Row& row : {
             Row{"point as a segment", z, {x, x}, x, 2},
             Row{"point as a tetrahedron", z, {x, x, x, x}, x, 2},
             Row{"segment as a triangle", {0.5, 1, 0}, {o, {2, 0, 0}, x}, {0.5, 0, 0}, 1},
             Row{"tiny segment", {tiny / 4, tiny, 0}, {o, {tiny, 0, 0}}, {tiny / 4, 0, 0}, 0},
             Row{"tiny triangle",
                 {tiny / 4, tiny / 4, 1},
                 {o, {tiny, 0, 0}, {0, tiny, 0}},
                 {tiny / 4, tiny / 4, 0},
                 1},
             Row{"huge segment",
                 {huge / 4, huge, 0},
                 {o, {huge, 0, 0}},
                 {huge / 4, 0, 0},
                 huge * huge},
             Row{"huge tetrahedron",
                 {huge / 4, huge / 4, -1},
                 {o, {huge, 0, 0}, {0, huge, 0}, {0, 0, huge}},
                 {huge / 4, huge / 4, 0},
                 1},
         }) {
        const Projection found = project(row.q, row.p);
        EXPECT_EQ(found.foot, row.foot) << row.name;
        EXPECT_EQ(found.squared, row.squared) << row.name;
    }
}

TEST(Projections, OntoALineGoBeyondItsPoints) {
    struct Row {
        Point q, a, b, foot;
        double t, squared;
    };
    const Point o{0, 0, 0};
    for (const Row& row :
         {Row{{6, 3, 4}, o, {2, 0, 0}, {6, 0, 0}, 3, 25},
          Row{{-4, 0, 1}, o, {2, 0, 0}, {-4, 0, 0}, -2, 1}, Row{{3, 0, 4}, o, o, o, 0, 25},
          Row{{2, 1, 0}, o, {1e-200, 0, 0}, {2, 0, 0}, 2e200, 1}}) {
        Point foot{};
        double t = -9;
        EXPECT_EQ(proj_point_line(row.q.data(), row.a.data(), row.b.data(), foot.data(), &t),
                  row.squared);
        EXPECT_EQ(foot, row.foot);
        EXPECT_DOUBLE_EQ(t, row.t);
        EXPECT_EQ(proj_point_line(row.q.data(), row.a.data(), row.b.data(), nullptr, nullptr),
                  row.squared);
    }
}

}  // namespace
