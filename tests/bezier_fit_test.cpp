// Control polygons through points, and the fit against a plain one: a dense design matrix, solved
// with pivoting, all in long double.

#include "movane/numerics.h"

#include "reference/bezier_reference.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>

namespace {

using namespace movane_tests;
using Real = long double;

struct Tangent {
    int use  = 0;
    double x = 0, y = 0;
};

struct Fit {
    int result;
    Polygon polygon{3};
    double lse = -1, max_err = -1;
    std::string message, trace;
};

Fit fit(const Polygon& points, Tangent start = {}, Tangent end = {}, int trace = 0) {
    const Curve b(bezier_new(3, -1, -1, -1, -1));
    Fit f;
    testing::internal::CaptureStdout();
    f.message = message_of([&] {
        f.result =
            bezier_fit(b.get(), points.degree() + 1, points.x.data(), points.y.data(), start.use,
                       start.x, start.y, end.use, end.x, end.y, &f.lse, &f.max_err, trace);
    });
    f.trace   = testing::internal::GetCapturedStdout();
    f.polygon = polygon_of(b.get(), 3);
    return f;
}

// --- the reference -----------------------------------------------------------------------------

using Row = std::array<Real, 5>;  // up to four unknowns and the right side

std::array<Real, 4> solve(std::array<Row, 4> a, std::size_t n) {
    for (std::size_t k = 0; k < n; ++k) {
        for (std::size_t i = k + 1; i < n; ++i)
            if (std::fabs(a[i][k]) > std::fabs(a[k][k])) std::swap(a[i], a[k]);
        for (std::size_t i = 0; i < n; ++i) {
            if (i == k) continue;
            const Real factor = a[i][k] / a[k][k];
            for (std::size_t j = k; j <= 4; ++j) a[i][j] -= factor * a[k][j];
        }
    }
    std::array<Real, 4> x{};
    for (std::size_t k = 0; k < n; ++k) x[k] = a[k][4] / a[k][k];
    return x;
}

struct ReferenceFit {
    Real x[4], y[4];
    Real lse, max_err;
    int passes;
};

ReferenceFit reference_fit(const Polygon& points, Tangent start, Tangent end) {
    const std::size_t last = points.x.size() - 1;
    std::vector<Real> t(last + 1);
    for (std::size_t i = 1; i <= last; ++i)
        t[i] = t[i - 1] +
               std::hypot(Real{points.x[i]} - points.x[i - 1], Real{points.y[i]} - points.y[i - 1]);
    for (std::size_t i = 0; i <= last; ++i) t[i] /= t[last];

    ReferenceFit f{};
    f.x[0] = points.x[0], f.y[0] = points.y[0], f.x[3] = points.x[last], f.y[3] = points.y[last];
    struct Unknown {
        int inner;
        Real dx, dy;
    };
    std::vector<Unknown> unknowns;
    for (const auto& [inner, tangent] : {std::pair{1, start}, std::pair{2, end}}) {
        if (tangent.use) {
            unknowns.push_back({inner, tangent.x, tangent.y});
        } else {
            unknowns.push_back({inner, 1, 0});
            unknowns.push_back({inner, 0, 1});
        }
    }
    const auto bernstein = [](int i, Real s) {
        const Real u = 1 - s;
        return i == 0 ? u * u * u : i == 1 ? 3 * s * u * u : i == 2 ? 3 * s * s * u : s * s * s;
    };
    Real max_dt = 1;
    while (f.passes < 21 && max_dt >= 0.001L) {
        f.x[1] = f.x[0], f.y[1] = f.y[0], f.x[2] = f.x[3], f.y[2] = f.y[3];
        std::array<Row, 4> normal{};
        for (std::size_t i = 0; i <= last; ++i) {
            for (const bool is_x : {true, false}) {  // one row of the design matrix each
                Row row{};
                for (std::size_t k = 0; k < unknowns.size(); ++k)
                    row[k] = bernstein(unknowns[k].inner, t[i]) *
                             (is_x ? unknowns[k].dx : unknowns[k].dy);
                row[4] = is_x ? points.x[i] : points.y[i];
                for (int j = 0; j < 4; ++j) row[4] -= bernstein(j, t[i]) * (is_x ? f.x[j] : f.y[j]);
                for (std::size_t k = 0; k < unknowns.size(); ++k)
                    for (std::size_t l = 0; l < 5; ++l) normal[k][l] += row[k] * row[l];
            }
        }
        const std::array<Real, 4> moves = solve(normal, unknowns.size());
        for (std::size_t k = 0; k < unknowns.size(); ++k) {
            f.x[unknowns[k].inner] += moves[k] * unknowns[k].dx;
            f.y[unknowns[k].inner] += moves[k] * unknowns[k].dy;
        }
        max_dt        = 0;
        Real squares  = 0;
        f.max_err     = 0;
        const auto at = [&](const Real* p, Real s) {
            Real value = 0;
            for (int j = 0; j < 4; ++j) value += bernstein(j, s) * p[j];
            return value;
        };
        const auto first = [](const Real* p, Real s) {
            const Real u = 1 - s;
            return 3 * (u * u * (p[1] - p[0]) + 2 * u * s * (p[2] - p[1]) + s * s * (p[3] - p[2]));
        };
        const auto second = [](const Real* p, Real s) {
            return 6 * ((1 - s) * (p[2] - 2 * p[1] + p[0]) + s * (p[3] - 2 * p[2] + p[1]));
        };
        for (std::size_t i = 1; i < last; ++i) {
            const Real before = t[i];
            for (int step = 0; step < 4; ++step) {
                const Real mx = at(f.x, t[i]) - points.x[i], my = at(f.y, t[i]) - points.y[i];
                const Real dx = first(f.x, t[i]), dy = first(f.y, t[i]);
                const Real dt = (mx * dx + my * dy) / (dx * dx + dy * dy + mx * second(f.x, t[i]) +
                                                       my * second(f.y, t[i]));
                if (t[i] - dt <= 0 || t[i] - dt >= 1) break;
                t[i] -= dt;
                if (std::fabs(dt) < 0.001L) break;
            }
            max_dt         = std::max(max_dt, std::fabs(t[i] - before));
            const Real off = std::hypot(at(f.x, t[i]) - points.x[i], at(f.y, t[i]) - points.y[i]);
            squares += off * off;
            f.max_err = std::max(f.max_err, off);
        }
        f.lse = std::sqrt(squares / static_cast<Real>(last - 1));
        ++f.passes;
    }
    return f;
}

// Points along an arc with noise, as a host would trace an outline.
Polygon noisy_arc(int count, double deviation, std::mt19937& random) {
    std::normal_distribution<double> noise(0, deviation);
    Polygon p(count - 1);
    for (std::size_t i = 0; i < p.x.size(); ++i) {
        const double angle = 2.0 * static_cast<double>(i) / count;
        p.x[i]             = 100 * std::cos(angle) + noise(random);
        p.y[i]             = 60 * std::sin(angle) + noise(random);
    }
    return p;
}

TEST(BezierFit, AlternatesLikeThePlainFit) {
    std::mt19937 random(1);
    const Tangent up{1, 0, 3}, back{-1, 4, 1}, none{0, 5, 5};
    int most_passes = 0;
    for (const int count : {4, 5, 12, 100}) {
        for (const auto& [start, end] :
             {std::pair{none, none}, {up, none}, {none, back}, {up, back}}) {
            for (const double deviation : {1.0, 1.0, 4.0, 8.0, 10.0}) {
                const Polygon points     = noisy_arc(count, deviation, random);
                const ReferenceFit plain = reference_fit(points, start, end);
                const Fit f              = fit(points, start, end);
                EXPECT_EQ(f.result, 1);
                EXPECT_EQ(f.message + f.trace, "");
                for (std::size_t i = 0; i < 4; ++i) {
                    EXPECT_NEAR(f.polygon.x[i], static_cast<double>(plain.x[i]), 1e-6);
                    EXPECT_NEAR(f.polygon.y[i], static_cast<double>(plain.y[i]), 1e-6);
                }
                EXPECT_NEAR(f.lse, static_cast<double>(plain.lse), 1e-7);
                EXPECT_NEAR(f.max_err, static_cast<double>(plain.max_err), 1e-7);
                most_passes = std::max(most_passes, plain.passes);
            }
        }
    }
    EXPECT_EQ(most_passes, 21);
}

TEST(BezierFit, MeetsPointsThatLieOnACurve) {
    const Polygon arc({0, 20, 60, 100}, {0, 40, 50, 10});
    const auto fit_points_on_arc = [&](int count) {
        Polygon points(count - 1);
        for (std::size_t i = 0; i < points.x.size(); ++i) {
            const double t = static_cast<double>(i) / (count - 1);
            points.x[i]    = de_casteljau(arc.x, t);
            points.y[i]    = de_casteljau(arc.y, t);
        }
        return fit(points);
    };
    EXPECT_LT(fit_points_on_arc(4).max_err, 1e-12);  // as many unknowns as coordinates
    // The passes end where parameters move by less than 0.001 of the curve's length, about 120.
    const Fit many = fit_points_on_arc(41);
    EXPECT_LT(many.max_err, 0.4);
    EXPECT_LT(many.lse, many.max_err);
}

TEST(BezierFit, TwoAndThreePointsFollowTheirRules) {
    struct Case {
        const char* name;
        Polygon points;
        Polygon expected;
        double error;
    };
    const Case cases[] = {
        {"two", {{1, 4}, {2, 6}}, {{1, 1, 4, 4}, {2, 2, 6, 6}}, 0},
        {"through the middle", {{0, 3, 6}, {0, 3, 0}}, {{0, 3, 3, 6}, {0, 4, 4, 0}}, 0},
        {"all equal", {{5, 5, 5}, {7, 7, 7}}, {{5, 5, 5, 5}, {7, 7, 7, 7}}, 0},
        {"near the start",
         {{0, 3, 30}, {0, 0, 40}},
         {{0, 0, 30, 30}, {0, 0, 40, 40}},
         120 / (0.9375 * 40 + 0.46875 * 30)},
        {"near the end",
         {{30, 3, 0}, {40, 0, 0}},
         {{30, 30, 0, 0}, {40, 40, 0, 0}},
         120 / (0.9375 * 40 + 0.46875 * 30)},
        {"on the start of a level chord", {{0, 0, 8}, {3, 3, 3}}, {{0, 0, 8, 8}, {3, 3, 3, 3}}, 0},
    };
    for (const Case& c : cases) {
        const Fit f = fit(c.points, {1, 1, 0}, {1, 0, 1});  // the tangents play no part
        EXPECT_EQ(f.result, 1) << c.name;
        EXPECT_EQ(f.message, "") << c.name;
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_DOUBLE_EQ(f.polygon.x[i], c.expected.x[i]) << c.name;
            EXPECT_DOUBLE_EQ(f.polygon.y[i], c.expected.y[i]) << c.name;
        }
        EXPECT_DOUBLE_EQ(f.lse, c.error) << c.name;
        EXPECT_DOUBLE_EQ(f.max_err, c.error) << c.name;
    }
    // Level or upright chords bend even for a middle point close to an end.
    for (const Polygon& points : {Polygon({0, 1, 40}, {0, 1, 0}), Polygon({0, 1, 0}, {0, 1, 40})}) {
        const double before = std::hypot(1, 1), t = before / (before + std::hypot(39, 1));
        const Fit f = fit(points);
        EXPECT_EQ(f.max_err, 0);
        EXPECT_NEAR(de_casteljau(f.polygon.x, t), points.x[1], 1e-12);
        EXPECT_NEAR(de_casteljau(f.polygon.y, t), points.y[1], 1e-12);
    }
}

TEST(BezierFit, TellsWhatItCannotSolve) {
    for (const int count : {1, 0, -5}) {
        const Curve b(bezier_new(3, 0, 0, 1, 1));
        const double x = 0;
        double lse, max_err;
        EXPECT_EQ(message_of([&] {
                      EXPECT_EQ(
                          bezier_fit(b.get(), count, &x, &x, 0, 0, 0, 0, 0, 0, &lse, &max_err, 0),
                          0);
                  }),
                  "Bezier_fit : nr_points too small ");
    }
    for (const int degree : {2, 4}) {
        const Curve b(bezier_new(degree, 0, 0, 1, 1));
        EXPECT_EQ(message_of([&] {
                      EXPECT_EQ(bezier_fit(b.get(), 0, nullptr, nullptr, 0, 0, 0, 0, 0, 0, nullptr,
                                           nullptr, 1),
                                0);
                  }),
                  "Bezier_fit : degrees other than 3 not implemented yet");
    }
    // A tangent without direction leaves its unknown undetermined.
    const Polygon zigzag({0, 1, 3, 9}, {0, 4, -4, 3});
    const Fit undetermined = fit(zigzag, {1, 0, 0}, {});
    EXPECT_EQ(undetermined.result, 1);
    EXPECT_EQ(undetermined.message, "Bezier_fit : system without solution");
    EXPECT_EQ(undetermined.polygon, Polygon({0, 0, 9, 9}, {0, 0, 3, 3}));
}

TEST(BezierFit, TracesEveryPass) {
    const Fit still = fit(Polygon({0, 0, 0, 0}, {0, 0, 0, 0}), {}, {}, 1);
    EXPECT_EQ(still.message, "Bezier_fit : divide by 0");
    EXPECT_EQ(still.trace,
              "Bezier_fit\n"
              "  t-iteration 1 max_dt 0 \n"
              "  xc1 0 yc1 0 xc2 0 yc2 0\n"
              "  maxE 0 \n"
              "  LSE  0 \n");
    EXPECT_EQ(fit(Polygon({0, 1}, {0, 1}), {}, {}, 1).trace, "Bezier_fit\n");

    std::mt19937 random(1);
    const Polygon points = noisy_arc(12, 1, random);
    const Fit f          = fit(points, {1, 0, 3}, {}, 2);
    char ending[256];
    std::snprintf(ending, sizeof ending, "  xc1 %g yc1 %g xc2 %g yc2 %g\n  maxE %g \n  LSE  %g \n",
                  f.polygon.x[1], f.polygon.y[1], f.polygon.x[2], f.polygon.y[2], f.max_err, f.lse);
    ASSERT_GT(f.trace.size(), std::string(ending).size());
    EXPECT_EQ(f.trace.substr(f.trace.size() - std::string(ending).size()), ending);
    const int passes = reference_fit(points, {1, 0, 3}, {}).passes;
    EXPECT_GT(passes, 1);
    for (int pass = 1; pass <= passes + 1; ++pass) {
        const std::string start = "  t-iteration " + std::to_string(pass) + " max_dt ";
        EXPECT_EQ(f.trace.find(start) != std::string::npos, pass <= passes);
    }
}

TEST(BezierFit, ControlPolygonPassesThroughThePoints) {
    std::mt19937 random(3);
    for (const int degree : {2, 3, 4}) {
        const Polygon points = random_polygon(degree, random);
        const Curve b(bezier_new(degree, 1, 2, 3, 4));
        Vertex v;
        bezier_get(b.get(), 0.5, &v.x, &v.y);
        EXPECT_EQ(bezier_cpoly_det(b.get(), points.x.data(), points.y.data()), 1);
        for (int i = 0; i <= degree; ++i) {
            bezier_get(b.get(), static_cast<double>(i) / degree, &v.x, &v.y);
            EXPECT_NEAR(v.x, points.x[static_cast<std::size_t>(i)], 1e-11);
            EXPECT_NEAR(v.y, points.y[static_cast<std::size_t>(i)], 1e-11);
        }
    }
}

}  // namespace
