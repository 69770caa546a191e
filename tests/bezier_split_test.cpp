// Splitting, flatness and polylines: against dense scans of the curve, and bit for bit where the
// order of operations is fixed.

#include "movane/foundation.h"
#include "movane/numerics.h"

#include "reference/bezier_reference.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

namespace {

using namespace movane_tests;

constexpr double kNan       = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf       = std::numeric_limits<double>::infinity();
constexpr int kMostSections = 1 << 26;

struct FreePoints {
    void operator()(double* points) const { std::free(points); }
};

struct Deviation {
    double t, distance;
};

Deviation estimated(Bezier* b) {
    Deviation d;
    EXPECT_EQ(bezier_vector_error(b, &d.t, &d.distance), 1);
    return d;
}

double signed_distance(const Polygon& p, double t, double chord_length) {
    const double dx = p.x.back() - p.x.front(), dy = p.y.back() - p.y.front();
    const double x = de_casteljau(p.x, t) - p.x.front(), y = de_casteljau(p.y, t) - p.y.front();
    return (y * dx - x * dy) / chord_length;
}

double estimated_length(double dx, double dy) {
    dx = std::fabs(dx);
    dy = std::fabs(dy);
    return 0.9375 * std::max(dx, dy) + 0.46875 * std::min(dx, dy);
}

TEST(BezierSplit, FindsTheLargestDeviationOfACubic) {
    std::mt19937 random(1);
    for (int round = 0; round < 50; ++round) {
        const Polygon p     = random_polygon(3, random);
        const double length = estimated_length(p.x[3] - p.x[0], p.y[3] - p.y[0]);
        double largest      = 0;
        for (int i = 0; i <= 2000; ++i)
            largest = std::max(largest, std::fabs(signed_distance(p, i / 2000.0, length)));

        const Deviation d = estimated(curve_of(p).get());
        EXPECT_NEAR(d.distance, largest, 1e-5 * largest);
        EXPECT_NEAR(d.distance, std::fabs(signed_distance(p, d.t, length)), 1e-9 * largest);
    }
}

TEST(BezierSplit, EstimatesTheSpecialCurvesAsStated) {
    struct Case {
        Polygon p;
        double t, distance;
    };
    const Case cases[] = {
        {{{0, 5, 10}, {0, 8, 0}}, 0.5, 0.25 * (0.9375 * 16)},
        {{{0, 1, 10}, {0, 8, 0}}, 0.5, 0.25 * (0.9375 * 16 + 0.46875 * 8)},
        {{{1, 4, 1, 1}, {1, 5, 7, 1}}, 0.5, 6},               // closed: the farther inner point
        {{{0, 2, 8, 10}, {0, 3, 3, 0}}, 0.5, 0.75 * 3 * 10},  // not divided by the chord's length
        {{{0, 1, 2, 3}, {0, 0, 0, 0}}, 0.5, 0},
        {{{0, 0, 8, 8}, {0, 8, -8, 0}},
         0.5 + std::sqrt(3) / 6,
         std::sqrt(3) / 6 * 8 / 0.9375},  // tie
    };
    for (const Case& c : cases) {
        const Deviation d = estimated(curve_of(c.p).get());
        EXPECT_DOUBLE_EQ(d.t, c.t);
        EXPECT_DOUBLE_EQ(d.distance, c.distance);
    }
    const Curve quartic(bezier_new(4, 0, 0, 1, 1));
    Deviation d{5, 5};
    EXPECT_EQ(
        message_of([&] { EXPECT_EQ(bezier_vector_error(quartic.get(), &d.t, &d.distance), 0); }),
        "Bezier_vector_error : illegal degree");
    EXPECT_EQ(d.t, 0);
    EXPECT_EQ(d.distance, 0);
}

TEST(BezierSplit, HalvesContinueEachOther) {
    std::mt19937 random(2);
    for (const int degree : {2, 3}) {
        const Polygon p = random_polygon(degree, random);
        const Curve b   = curve_of(p);
        for (const double t : {0.0, 0.3, 0.5, 1.0}) {
            Bezier *left, *right;
            ASSERT_EQ(bezier_subdivide(b.get(), t, &left, &right), 1);
            const Curve first(left), second(right);
            const Polygon l = polygon_of(left, degree), r = polygon_of(right, degree);
            EXPECT_EQ(l.x.back(), r.x.front());
            EXPECT_EQ(l.y.back(), r.y.front());
            EXPECT_EQ(l.x.front(), p.x.front());
            EXPECT_EQ(r.y.back(), p.y.back());
            for (const double s : {0.2, 0.9}) {
                EXPECT_NEAR(de_casteljau(l.x, s), de_casteljau(p.x, s * t), 1e-12);
                EXPECT_NEAR(de_casteljau(r.y, s), de_casteljau(p.y, t + s * (1 - t)), 1e-12);
            }
        }
    }
}

TEST(BezierSplit, RefusesToSplit) {
    const auto refused = [](int degree, double t) {
        const Curve b(bezier_new(degree, 0, 0, 1, 1));
        Bezier *left = b.get(), *right = b.get();
        const std::string message =
            message_of([&] { EXPECT_EQ(bezier_subdivide(b.get(), t, &left, &right), 0); });
        EXPECT_EQ(left, nullptr);
        EXPECT_EQ(right, nullptr);
        return message;
    };
    for (const double t : {-0.0001, 1.0001, kNan})
        EXPECT_EQ(refused(3, t), "Bezier_subdivide: illegal t value");
    EXPECT_EQ(refused(4, 0.5), "Bezier_subdivide: illegal degree");
    EXPECT_EQ(refused(4, 2), "Bezier_subdivide: illegal t value");
}

// --- polylines -------------------------------------------------------------------------------

// The adaptive polyline by the reference: splits polygons in long double where the estimate says.
void append_pieces(const Polygon& p, double bound, std::vector<Vertex>& points) {
    const Deviation d = estimated(curve_of(p).get());
    if (!(d.distance > bound)) return points.push_back({p.x[3], p.y[3]});
    const auto part = [&](bool left) {
        Polygon half(3);
        for (std::size_t i = 0; i <= 3; ++i) {
            const auto coordinate = [&](const std::vector<double>& c) {
                const auto first = c.begin() + (left ? 0 : static_cast<std::ptrdiff_t>(i));
                const auto last  = left ? c.begin() + static_cast<std::ptrdiff_t>(i) + 1 : c.end();
                return de_casteljau({first, last}, d.t);
            };
            half.x[i] = coordinate(p.x);
            half.y[i] = coordinate(p.y);
        }
        return half;
    };
    append_pieces(part(true), bound, points);
    append_pieces(part(false), bound, points);
}

TEST(BezierSplit, AdaptivePolylineSplitsUntilFlat) {
    std::mt19937 random(3);
    movane_dynar* points = nullptr;
    for (const double bound : {100.0, 1.0, 0.01}) {
        for (int round = 0; round < 10; ++round) {
            const Polygon p = random_polygon(3, random);
            std::vector<Vertex> expected{{p.x[0], p.y[0]}};
            append_pieces(p, bound, expected);

            const int sections = bezier_vector(curve_of(p).get(), bound, &points);
            ASSERT_EQ(sections + 1, static_cast<int>(expected.size()));
            for (int i = 0; i <= sections; ++i) {
                const auto* v = static_cast<const Vertex*>(dynar_ptr(points, i));
                ASSERT_NEAR(v->x, expected[static_cast<std::size_t>(i)].x, 1e-9);
                ASSERT_NEAR(v->y, expected[static_cast<std::size_t>(i)].y, 1e-9);
            }
        }
    }
    // A deviation of just the bound is flat enough.
    const Curve closed = curve_of(Polygon({1, 4, 1, 1}, {1, 5, 7, 1}));
    EXPECT_EQ(bezier_vector(closed.get(), 6, &points), 1);
    // Other degrees: the slot of control point 3 all the same.
    for (const int degree : {2, 4}) {
        const Curve straight(bezier_new(degree, 1, 1, 1, 1));
        if (degree == 2) bezier_set_controlp(straight.get(), 0, 1, 1);
        EXPECT_EQ(message_of([&] { EXPECT_EQ(bezier_vector(straight.get(), 1, &points), 1); }),
                  degree == 2 ? "" : "Bezier_vector_error : illegal degree");
        EXPECT_EQ(*static_cast<const Vertex*>(dynar_ptr(points, 1)), (Vertex{0, 0}));
    }
    // Here every left half is as far from flat as the whole, every right half counts as flat.
    const Curve endless = curve_of(Polygon({0, 0, 0, kInf}, {0, 1, 1, 0}));
    EXPECT_EQ(bezier_vector(endless.get(), 1, &points), 31);
    EXPECT_EQ(dynar_kill(points), nullptr);
}

TEST(BezierSplit, CountsTheSectionsThatKeepTheBound) {
    std::mt19937 random(4);
    for (const int degree : {2, 3}) {
        for (const double bound : {30.0, 1.0, 0.1}) {
            const Polygon p    = random_polygon(degree, random);
            const int sections = bezier_fvector_len(curve_of(p).get(), bound);
            ASSERT_GE(sections, 1);
            for (int i = 0; i < sections; ++i) {  // the middle of a section is farthest away
                const double a = i / static_cast<double>(sections);
                const double c = (i + 1) / static_cast<double>(sections);
                const auto off = [&](const std::vector<double>& q) {
                    return de_casteljau(q, (a + c) / 2) -
                           (de_casteljau(q, a) + de_casteljau(q, c)) / 2;
                };
                EXPECT_LE(std::hypot(off(p.x), off(p.y)), bound * 1.07);  // lengths are estimated
            }
        }
    }
}

TEST(BezierSplit, CountsSectionsExactly) {
    struct Case {
        Polygon p;
        double bound;
        int sections;
        const char* remark;
    };
    const char kSecondary[] =
        "DEBUG : Bezier_fvector_len: resorting to secondary error criterium\n";
    const Case cases[] = {
        {{{0, 5, 10}, {0, 5, 10}}, 0.1, 1, "DEBUG : Bezier_fvector_len: vector input\n"},
        {{{0, 0, 16}, {0, 0, 0}}, 15.0 / 4, 2, ""},  // M = 15, sqrt(1) is a whole section
        {{{0, 0, 16}, {0, 0, 0}}, 15.1 / 4, 1, ""},
        {{{0, 0, 0, 16}, {0, 0, 0, 0}}, 45.0 / 16, 3, ""},  // the end bends most: M = 3 a3 = 45
        {{{0, 0, 16, 48}, {0, 0, 0, 0}}, 45.0 / 4, 2, ""},  // as much all along: M = a2 = 45
        {{{0, 1, 2, 3}, {0, 0, 0, 0}}, 0.1, 1, kSecondary},
        {{{0, 1e308, -1e308, 0}, {0, 0, 0, 0}}, 1, kMostSections, kSecondary},
        {{{0, kNan, 1, 2}, {0, 0, 0, 0}}, 1, 1, kSecondary},
        {{{0, 0, 16}, {0, 0, 0}}, 1e-300, kMostSections, ""},
        {{{0, kNan, 16}, {0, 0, 0}}, 1, 1, ""},
    };
    dbg_set(1);
    for (const Case& c : cases) {
        const Curve b = curve_of(c.p);
        testing::internal::CaptureStdout();
        EXPECT_EQ(bezier_fvector_len(b.get(), c.bound), c.sections);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), c.remark);
    }
    dbg_set(0);

    const auto refused = [](int degree, double bound) {
        const Curve b(bezier_new(degree, 0, 0, 1, 1));
        return message_of([&] { EXPECT_EQ(bezier_fvector_len(b.get(), bound), 0); });
    };
    for (const double bound : {0.0, -1.0, kNan})
        EXPECT_EQ(refused(3, bound), "Bezier_fvector_len: illegal error bound");
    EXPECT_EQ(refused(4, 1), "Bezier_fvector_len: illegal degree");
}

// The differences written out, one coordinate at a time.
std::vector<double> forward_differences(const std::vector<double>& p, int sections) {
    const double h = 1.0 / sections;
    std::vector<double> values{p[0]};
    double value = p[0];
    if (p.size() == 3) {
        const double a1 = 2 * (p[1] - p[0]), a2 = p[0] - 2 * p[1] + p[2];
        double first        = a1 * h + a2 * (h * h);
        const double second = 2 * a2 * (h * h);
        for (int i = 1; i < sections; ++i, first += second) values.push_back(value += first);
    } else {
        const double a1 = 3 * (p[1] - p[0]), a2 = 3 * (p[0] - 2 * p[1] + p[2]);
        const double a3 = 3 * (p[1] - p[2]) - p[0] + p[3];
        double first    = a1 * h + a2 * (h * h) + a3 * (h * h * h);
        double second   = 2 * a2 * (h * h) + 6 * a3 * (h * h * h);
        for (int i = 1; i < sections; ++i) {
            values.push_back(value += first);
            first += second;
            second += 6 * a3 * (h * h * h);
        }
    }
    values.push_back(p.back());
    return values;
}

TEST(BezierSplit, ForwardDifferencesAreExact) {
    std::mt19937 random(5);
    for (const int degree : {2, 3}) {
        const Polygon p = random_polygon(degree, random);
        const Curve b   = curve_of(p);
        for (const int sections : {1, 2, 3, 100}) {
            const std::vector<double> x = forward_differences(p.x, sections);
            const std::vector<double> y = forward_differences(p.y, sections);
            for (const int itemsize : {0, 16, 17, 24}) {
                const auto stride = static_cast<std::size_t>(itemsize ? itemsize : 16);
                const auto points = static_cast<std::size_t>(sections) + 1;
                std::vector<unsigned char> expected(stride * points, 0xA5), buffer = expected;
                for (std::size_t i = 0; i < points; ++i) {
                    const double point[] = {x[i], y[i]};
                    std::memcpy(&expected[i * stride], point, sizeof point);
                }
                EXPECT_EQ(bezier_vector_fd(b.get(), buffer.data(), sections, itemsize), 1);
                EXPECT_EQ(buffer, expected);  // also the bytes between the points
            }
            EXPECT_NEAR(x[static_cast<std::size_t>(sections) / 2],
                        de_casteljau(p.x, sections / 2 / static_cast<double>(sections)), 1e-9);
        }
    }
    const auto refused = [](int degree, int sections, int itemsize) {
        const Curve b(bezier_new(degree, 0, 0, 1, 1));
        return message_of(
            [&] { EXPECT_EQ(bezier_vector_fd(b.get(), nullptr, sections, itemsize), 0); });
    };
    for (const int itemsize : {1, 15, -16})
        EXPECT_EQ(refused(3, 1, itemsize), "Bezier_vector_fd: illegal itemsize");
    for (const int sections : {0, -1})
        EXPECT_EQ(refused(3, sections, 0), "Bezier_vector_fd: illegal nr_sect");
    EXPECT_EQ(refused(4, 1, 0), "Bezier_vector_fd: illegal degree");
}

TEST(BezierSplit, UniformPolylineIsTheTwoStepsInOne) {
    std::mt19937 random(6);
    for (const int degree : {2, 3}) {
        const Polygon p = random_polygon(degree, random);
        const Curve b   = curve_of(p);
        double* points;
        const int sections = bezier_fvector(b.get(), 0.1, &points);
        const std::unique_ptr<double, FreePoints> owner(points);
        ASSERT_EQ(sections, bezier_fvector_len(b.get(), 0.1));
        const std::vector<double> x = forward_differences(p.x, sections);
        for (std::size_t i = 0; i < x.size(); ++i) ASSERT_EQ(points[2 * i], x[i]);
    }
    const Curve quartic(bezier_new(4, 0, 0, 1, 1));
    double untouched = 0, *points = &untouched;
    EXPECT_EQ(message_of([&] { EXPECT_EQ(bezier_fvector(quartic.get(), 0.1, &points), 0); }),
              "Bezier_fvector:unable to vectorise");
    EXPECT_EQ(points, nullptr);
}

}  // namespace
