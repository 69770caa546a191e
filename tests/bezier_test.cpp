// Curves against de Casteljau's construction and dense scans, the fit against a plain one, and bit
// for bit where the order of operations is fixed.

#include "movane/numerics.h"

#include "movane/foundation.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using movane_tests::MessageCapture;
using Values  = std::vector<double>;
using Point   = std::complex<double>;
using Polygon = std::vector<Point>;
using Curve   = std::shared_ptr<Bezier>;

constexpr double kNan      = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf      = std::numeric_limits<double>::infinity();
constexpr double kRounding = 1e-11;  // some dozen roundings of values up to some hundreds

struct Coordinates {
    Values x, y;
    explicit Coordinates(const Polygon& p) {
        for (const Point& q : p) x.push_back(q.real());
        for (const Point& q : p) y.push_back(q.imag());
    }
};

Polygon random_polygon(int degree, std::mt19937& random) {
    std::uniform_real_distribution<double> coordinate(-100, 100);
    Polygon p(degree + 1);
    for (Point& q : p) q = {coordinate(random), coordinate(random)};
    return p;
}

Curve curve_of(const Polygon& p) {
    const Curve b(bezier_new(static_cast<int>(p.size()) - 1, 0, 0, 0, 0), bezier_kill);
    const Coordinates c(p);
    EXPECT_EQ(bezier_set_control_poly(b.get(), c.x.data(), c.y.data()), 1);
    return b;
}

Polygon polygon_of(Bezier* b, int degree) {
    double x[5], y[5];
    EXPECT_EQ(bezier_get_control_poly(b, x, y), 1);
    Polygon p;
    for (int i = 0; i <= degree; ++i) p.emplace_back(x[i], y[i]);
    return p;
}

Point point_of(Bezier* b, double t) {
    double x, y;
    bezier_get(b, t, &x, &y);
    return {x, y};
}

// De Casteljau's construction.
Point at(Polygon level, double t) {
    for (; level.size() > 1; level.pop_back())
        for (std::size_t i = 1; i < level.size(); ++i)
            level[i - 1] += t * (level[i] - level[i - 1]);
    return level[0];
}

// Makes sure that a call has failed with a message; goes with a MessageCapture.
void refused(const char* message, double result, double failure = 0) {
    EXPECT_EQ(result, failure) << message;
    EXPECT_EQ(MessageCapture::take(), message);
}

TEST(Bezier, RefusesWithItsMessages) {
    const MessageCapture capture;
    const Polygon p3{{0, 0}, {3, 3}, {1, 1}, {9, 9}}, p4{{0, 0}, {3, 3}, {1, 1}, {9, 9}, {2, 2}};
    const Curve cubic = curve_of(p3), quartic = curve_of(p4);
    Bezier *const b3 = cubic.get(), *const b4 = quartic.get(), *left = b3, *right = b3;
    double x = 7, y = 7, t = 5, error = 5, *points = &t;
    const auto fit = [&](Bezier* b, int count) {
        return bezier_fit(b, count, &x, &y, 0, 0, 0, 0, 0, 0, &x, &y, 0);
    };
    for (const int degree : {1, 5}) {
        refused("Bezier_new : illegal degree", bezier_new(degree, 0, 0, 1, 1) != nullptr);
        refused("B_poly : illegal degree ", B_poly(degree, 0, 0.5), -1);
    }
    refused("B_poly : illegal index", B_poly(2, 3, 0.5), -1);
    refused("B_poly : illegal index ", B_poly(3, -1, 0.5), -1);
    refused("B_poly : illegal index ", B_poly(4, 5, 0.5), -1);
    for (const int which : {-1, 2}) {
        refused("Bezier_set_endp : illegal index", bezier_set_endp(b3, which, 9, 9));
        refused("Bezier_get_endp : illegal index", bezier_get_endp(b3, which, &x, &y));
    }
    for (const int i : {-1, 3}) {
        refused("Bezier_set_controlp : illegal ind", bezier_set_controlp(b4, i, 9, 9));
        refused("Bezier_get_controlp : illegal ind", bezier_get_controlp(b4, i, &x, &y));
    }
    for (const double illegal : {-0.1, 1.1, kNan})
        refused("Bezier_subdivide: illegal t value", bezier_subdivide(b4, illegal, &left, &right));
    refused("Bezier_subdivide: illegal degree", bezier_subdivide(b4, 0.5, &left, &right));
    refused("Bezier_vector_error : illegal degree", bezier_vector_error(b4, &t, &error));
    for (const double bound : {0.0, kNan})
        refused("Bezier_fvector_len: illegal error bound", bezier_fvector_len(b3, bound));
    refused("Bezier_fvector_len: illegal degree", bezier_fvector_len(b4, 1));
    for (const int size : {-16, 15})
        refused("Bezier_vector_fd: illegal itemsize", bezier_vector_fd(b3, nullptr, 1, size));
    refused("Bezier_vector_fd: illegal nr_sect", bezier_vector_fd(b3, nullptr, 0, 0));
    refused("Bezier_vector_fd: illegal degree", bezier_vector_fd(b4, nullptr, 1, 0));
    refused("Bezier_fvector:unable to vectorise", bezier_fvector(b4, 0.1, &points));
    refused("Bezier_fit : nr_points too small ", fit(b3, 1));
    refused("Bezier_fit : degrees other than 3 not implemented yet", fit(b4, 9));
    refused("", bezier_kill(nullptr), 1);
    EXPECT_TRUE(polygon_of(b3, 3) == p3 && polygon_of(b4, 4) == p4);
    EXPECT_TRUE(x + y == 14 && t + error == 0 && !left && !right && !points);
}

// --- control points and evaluation ---------------------------------------------------------------

TEST(Bezier, EveryChangeShowsInTheCurve) {
    std::mt19937 random(2);
    for (const int degree : {2, 3, 4}) {
        Polygon model     = random_polygon(degree, random);
        const Curve curve = curve_of(model);
        Bezier* const b   = curve.get();
        for (int i = 0; i <= degree; ++i) {
            const Point to = random_polygon(2, random)[0], move = to - model[i];
            model[i] = to;
            if (degree > 2 && i == 0) model[1] += move;  // the neighbours of ends move along
            if (degree > 2 && i == degree) model[degree - 1] += move;
            const bool is_end = i == 0 || i == degree;
            const int index   = is_end ? i / degree : i - 1;
            const auto set    = is_end ? bezier_set_endp : bezier_set_controlp;
            const auto get    = is_end ? bezier_get_endp : bezier_get_controlp;
            double x, y;
            EXPECT_EQ(set(b, index, to.real(), to.imag()), 1);
            EXPECT_EQ(get(b, index, &x, &y), 1);
            EXPECT_EQ(Point(x, y), to);
            EXPECT_EQ(polygon_of(b, degree), model);
            for (const double t : {-0.25, 0.0, 0.3, 1.0}) {
                Point sum = 0;
                for (int k = 0; k <= degree; ++k) sum += B_poly(degree, k, t) * model[k];
                EXPECT_LT(std::abs(sum - at(model, t)), kRounding);
                EXPECT_LT(std::abs(point_of(b, t) - at(model, t)), kRounding);
            }
        }
        const Polygon points = random_polygon(degree, random);
        const Coordinates c(points);
        EXPECT_EQ(bezier_set_control_poly(b, c.x.data(), c.y.data()), 1);
        EXPECT_LT(std::abs(point_of(b, 0.3) - at(points, 0.3)), kRounding);
        EXPECT_EQ(bezier_cpoly_det(b, c.x.data(), c.y.data()), 1);
        for (int i = 0; i <= degree; ++i)
            EXPECT_LT(std::abs(point_of(b, 1.0 * i / degree) - points[i]), kRounding);
    }
    const Curve fresh(bezier_new(4, 1, 2, 3, 4), bezier_kill);
    EXPECT_EQ(polygon_of(fresh.get(), 4), (Polygon{{1, 2}, 0, 0, 0, {3, 4}}));
}

// --- inverse evaluation --------------------------------------------------------------------------

using Inverse = int (*)(Bezier*, double, double*);

Values found_by(Inverse inverse, const Polygon& p, double value) {
    double found[4];
    return {found, found + inverse(curve_of(p).get(), value, found)};
}

TEST(Bezier, FindsAllPointsWithAGivenCoordinate) {
    std::mt19937 random(6);
    for (int round = 0; round < 240; ++round) {
        const bool fast  = round % 2 == 0;
        const int degree = round % 4 < 2 ? 2 : fast ? 4 : 3;
        const Polygon p  = random_polygon(degree, random);
        const double x   = at(p, 0.001 * (round % 999) + 0.001).real();
        // A dense scan, to within a step.
        Values expected;
        for (double t = 0; t < 1; t += 1.0 / 1024)
            if ((at(p, t).real() > x) != (at(p, t + 1.0 / 1024).real() > x))
                expected.push_back(at(p, t).imag());
        // A quadratic gives the larger root of its monic polynomial first.
        if (degree == 2) std::reverse(expected.begin(), expected.end());
        const Values y = found_by(fast ? bezier_fget_y : bezier_get_y, p, x);
        ASSERT_EQ(y.size(), expected.size()) << "round " << round;
        for (std::size_t i = 0; i < y.size(); ++i) ASSERT_NEAR(y[i], expected[i], 1);
        Polygon turned = p;
        for (Point& q : turned) q = {q.imag(), q.real()};
        ASSERT_EQ(found_by(fast ? bezier_fget_x : bezier_get_x, turned, x), y);
    }
}

TEST(Bezier, SolvesWithinItsLimits) {
    const MessageCapture capture;
    const std::pair<Inverse, std::string> inverses[] = {
        {bezier_get_y, "Bezier_get_y : Sorry no support for higher order (>3)"},
        {bezier_get_x, "Bezier_get_x : Sorry no support for higher order (>3)"},
        {bezier_fget_y, ""},
        {bezier_fget_x, ""},
    };
    const Polygon diagonal{{0, 0}, {0.5, 0.5}, {1, 1}};
    for (const auto& [inverse, too_high] : inverses) {
        EXPECT_EQ(found_by(inverse, {{1, 1}, 0, 0, 0, 0}, 0.5).empty(), !too_high.empty());
        EXPECT_EQ(MessageCapture::take(), too_high);
        EXPECT_EQ(found_by(inverse, {0, 0, 0, 0}, 0), Values{});
        EXPECT_EQ(MessageCapture::take(), "Bezier_get_y : invalid degree ");
        for (const double x : {-1.19e-5, 0.0, 1.0000119})
            EXPECT_EQ(found_by(inverse, diagonal, x), Values{x});
        for (const double x : {-1.1920928955078125e-5, -1.2e-5, 1.000011920928955, 1.00002})
            EXPECT_EQ(found_by(inverse, diagonal, x), Values{});
        // A quadratic that touches has no solution.
        EXPECT_EQ(found_by(inverse, {{1, 1}, {-1, -1}, {1, 1}}, 0), Values{});
        EXPECT_EQ(found_by(inverse, {{0, 0}, {3, 3}, {1, 1}, {9, 9}}, kNan), Values{});
    }
    // x(t) = t + a t^2: below the threshold the square term is left out, then t = 0.5 exactly.
    const auto solution = [](double a) {
        return found_by(bezier_get_y, {{0, 0}, {0.5, 0.5}, {1 + a, 1}}, 0.5).at(0);
    };
    EXPECT_EQ(solution(1.19e-5), 0.5);
    EXPECT_NEAR(solution(1.2e-5), 0.5 - 0.25 * 1.2e-5, 1e-9);
    // x(t) = t^3 - 1.5 t^2 + 0.5665 t has three solutions for 0.03325, y(t) = t; Newton's method
    // starts, and stays, at the middle one.
    const double x1 = 0.5665 / 3, x2 = 2 * x1 - 0.5;
    const Polygon s{{0, 0}, {x1, 1. / 3}, {x2, 2. / 3}, {0.0665, 1}};
    const Polygon turned{{0, 0}, {1. / 3, x1}, {2. / 3, x2}, {1, 0.0665}};
    EXPECT_EQ(found_by(bezier_get_y, s, 0.03325).size(), 3u);
    EXPECT_NEAR(found_by(bezier_fget_y, s, 0.03325).at(0), 0.5, 1e-9);
    EXPECT_EQ(found_by(bezier_fget_x, turned, 0.03325), found_by(bezier_fget_y, s, 0.03325));
}

// --- flatness and splitting ----------------------------------------------------------------------

std::pair<double, double> deviation_of(const Polygon& p) {
    double t, distance;
    EXPECT_EQ(bezier_vector_error(curve_of(p).get(), &t, &distance), 1);
    return {t, distance};
}

TEST(Bezier, FindsTheLargestDeviationOfACubic) {
    std::mt19937 random(1);
    for (int round = 0; round < 50; ++round) {
        const Polygon p   = random_polygon(3, random);
        const Point chord = p[3] - p[0];
        const auto [shorter, longer] =
            std::minmax({std::fabs(chord.real()), std::fabs(chord.imag())});
        double largest = 0;
        for (double t = 0; t < 1; t += 1.0 / 2048)
            largest = std::max(largest, std::fabs((std::conj(chord) * (at(p, t) - p[0])).imag()));
        largest /= 0.9375 * longer + 0.46875 * shorter;
        EXPECT_NEAR(deviation_of(p).second, largest, 1e-5 * largest);
    }
    const auto deviates = [](const Polygon& p, double t, double distance) {
        EXPECT_DOUBLE_EQ(deviation_of(p).first, t);
        EXPECT_DOUBLE_EQ(deviation_of(p).second, distance);
    };
    deviates({{0, 0}, {1, 8}, {10, 0}}, 0.5, 0.25 * (0.9375 * 16 + 0.46875 * 8));
    deviates({{1, 1}, {4, 5}, {1, 7}, {1, 1}}, 0.5, 6);  // closed: the farther inner point
    deviates({{0, 0}, {3, 2}, {3, 8}, {0, 10}}, 0.5, 0.75 * 3 * 10);  // not over the chord
    const double tie = std::sqrt(3) / 6;
    deviates({{0, 0}, {0, 8}, {8, -8}, {8, 0}}, 0.5 + tie, tie * 8 / 0.9375);
}

std::pair<Curve, Curve> halves_of(const Polygon& p, double t) {
    Bezier *left = nullptr, *right = nullptr;
    EXPECT_EQ(bezier_subdivide(curve_of(p).get(), t, &left, &right), 1);
    return {Curve(left, bezier_kill), Curve(right, bezier_kill)};
}

TEST(Bezier, HalvesContinueEachOther) {
    std::mt19937 random(2);
    for (const int degree : {2, 3}) {
        const Polygon p = random_polygon(degree, random);
        for (const double t : {0.0, 0.3, 1.0}) {
            const auto [left, right] = halves_of(p, t);
            for (const double s : {0.0, 0.2, 1.0}) {
                EXPECT_LT(std::abs(point_of(left.get(), s) - at(p, s * t)), kRounding);
                EXPECT_LT(std::abs(point_of(right.get(), s) - at(p, t + s * (1 - t))), kRounding);
            }
        }
    }
}

// --- polylines -----------------------------------------------------------------------------------

void append_pieces(const Polygon& p, double bound, Polygon& points) {
    const auto [t, distance] = deviation_of(p);
    if (distance <= bound) return points.push_back(p[3]);
    const auto [left, right] = halves_of(p, t);
    append_pieces(polygon_of(left.get(), 3), bound, points);
    append_pieces(polygon_of(right.get(), 3), bound, points);
}

TEST(Bezier, AdaptivePolylineSplitsUntilFlat) {
    const MessageCapture capture;
    movane_dynar* points = nullptr;
    const auto polyline  = [&](const Polygon& p, double bound) {
        const int sections = bezier_vector(curve_of(p).get(), bound, &points);
        const auto* first  = static_cast<const Point*>(dynar_ptr(points, 0));
        return Polygon(first, first + sections + 1);
    };
    std::mt19937 random(3);
    for (const double bound : {100.0, 50.0, 1.0, 1.0, 1.0, 0.01}) {
        const Polygon p = random_polygon(3, random);
        Polygon expected{p[0]};
        append_pieces(p, bound, expected);
        ASSERT_EQ(polyline(p, bound), expected);
    }
    // A deviation of just the bound is flat enough.
    EXPECT_EQ(polyline({{1, 1}, {4, 5}, {1, 7}, {1, 1}}, 6).size(), 2u);
    // Here every left half is as far from flat as the whole, every right half counts as flat.
    EXPECT_EQ(polyline({{0, 0}, {0, 1}, {0, 1}, {kInf, 0}}, 1).size(), 32u);
    // Other degrees: the slot of control point 3 all the same.
    EXPECT_EQ(polyline({{1, 1}, {1, 1}, {1, 1}}, 1), (Polygon{{1, 1}, 0}));
    EXPECT_EQ(MessageCapture::take(), "");
    EXPECT_EQ(polyline({1, 2, 3, 4, 5}, 1), (Polygon{1, 4}));
    EXPECT_EQ(MessageCapture::take(), "Bezier_vector_error : illegal degree");
    dynar_kill(points);
}

TEST(Bezier, CountsSections) {
    const auto count = [](const Polygon& p, double bound) {
        testing::internal::CaptureStdout();
        const int sections = bezier_fvector_len(curve_of(p).get(), bound);
        return testing::internal::GetCapturedStdout() + std::to_string(sections);
    };
    const std::string begin     = "DEBUG : Bezier_fvector_len: ";
    const std::string secondary = begin + "resorting to secondary error criterium\n";
    dbg_set(1);
    EXPECT_EQ(count({0, 5, 10}, 0.1), begin + "vector input\n1");
    EXPECT_EQ(count({0, 0, 16}, 15.0 / 4), "2");  // M = 15, sqrt(1) is a whole section
    EXPECT_EQ(count({0, 0, 16}, 15.1 / 4), "1");
    EXPECT_EQ(count({0, 0, {16, 16}}, 22.5 / 4), "2");  // both coordinates: M = 15 + 7.5
    EXPECT_EQ(count({0, 0, 0, 16}, 45.0 / 16), "3");    // the end bends most: M = 3 a3 = 45
    EXPECT_EQ(count({16, 0, 0, 0}, 45.0 / 16), "3");    // the start
    EXPECT_EQ(count({0, 1, 2, 3}, 0.1), secondary + "1");
    EXPECT_EQ(count({0, 1e308, -1e308, 0}, 1), secondary + "67108864");  // 2^26 at most
    EXPECT_EQ(count({0, kNan, 1, 2}, 1), secondary + "1");
    EXPECT_EQ(count({0, kNan, 16}, 1), "1");
    dbg_set(0);
}

// The differences written out.
Polygon forward_differences(const Polygon& p, int sections) {
    const double h  = 1.0 / sections;
    const bool flat = p.size() == 3;
    const Point a1  = (flat ? 2.0 : 3.0) * (p[1] - p[0]);
    const Point a2  = (flat ? 1.0 : 3.0) * (p[0] - 2.0 * p[1] + p[2]);
    const Point a3  = flat ? 0.0 : 3.0 * (p[1] - p[2]) - p[0] + p[3];
    Point first     = a1 * h + a2 * (h * h) + a3 * (h * h * h);
    Point second    = 2.0 * a2 * (h * h) + 6.0 * a3 * (h * h * h);
    Polygon points{p[0]};
    for (int i = 1; i < sections; ++i) {
        points.push_back(points.back() + first);
        first += second;
        second += 6.0 * a3 * (h * h * h);
    }
    points.push_back(p.back());
    return points;
}

TEST(Bezier, UniformPolylineIsExact) {
    std::mt19937 random(5);
    for (const int degree : {2, 3}) {
        const Polygon p = random_polygon(degree, random);
        const Curve b   = curve_of(p);
        for (const int sections : {1, 2, 3, 100}) {
            const Polygon points = forward_differences(p, sections);
            EXPECT_LT(std::abs(points[1] - at(p, 1.0 / sections)), kRounding);
            for (const int itemsize : {0, 16, 17, 24}) {
                const std::size_t stride = itemsize ? itemsize : 16;
                std::string expected(stride * points.size(), '-'), buffer = expected;
                for (std::size_t i = 0; i < points.size(); ++i)
                    std::memcpy(&expected[i * stride], &points[i], 16);
                EXPECT_EQ(bezier_vector_fd(b.get(), buffer.data(), sections, itemsize), 1);
                EXPECT_TRUE(buffer == expected);  // also the bytes between the points
            }
        }
        double* points         = nullptr;
        const int sections     = bezier_fvector(b.get(), 0.1, &points);
        const Polygon expected = forward_differences(p, bezier_fvector_len(b.get(), 0.1));
        ASSERT_EQ(sections + 1, static_cast<int>(expected.size()));
        EXPECT_EQ(std::memcmp(points, expected.data(), 16 * expected.size()), 0);
        std::free(points);
    }
}

// --- fit -----------------------------------------------------------------------------------------

struct Tangent {
    int use = 0;
    Point along{};
};

std::string summary(const Polygon& p, double lse, double max_err) {
    std::ostringstream text;
    for (const Point& q : p) text << q << ' ';
    text << lse << ' ' << max_err;
    return text.str();
}

// The trace and the message of a fit, and what it gives.
std::string fit(const Polygon& p, int trace = 0, const Tangent& t0 = {}, const Tangent& t1 = {}) {
    const Coordinates c(p);
    const int n   = static_cast<int>(p.size());
    const Curve b = curve_of({-1, -1, -1, -1});
    double lse = -1, max_err = -1;
    const MessageCapture capture;
    testing::internal::CaptureStdout();
    const int result =
        bezier_fit(b.get(), n, c.x.data(), c.y.data(), t0.use, t0.along.real(), t0.along.imag(),
                   t1.use, t1.along.real(), t1.along.imag(), &lse, &max_err, trace);
    EXPECT_EQ(result, 1);
    return testing::internal::GetCapturedStdout() + MessageCapture::take() +
           summary(polygon_of(b.get(), 3), lse, max_err);
}

Polygon derivative(const Polygon& p) {
    Polygon d;
    for (std::size_t i = 1; i < p.size(); ++i)
        d.push_back(static_cast<double>(p.size() - 1) * (p[i] - p[i - 1]));
    return d;
}

double dot(const Point& a, const Point& b) { return (std::conj(a) * b).real(); }

// The same from a design matrix and the definition of the perpendicular's foot.
std::string reference_fit(const Polygon& points, const Tangent& t0, const Tangent& t1) {
    const std::size_t last = points.size() - 1;
    Values t{0};
    for (std::size_t i = 1; i <= last; ++i)
        t.push_back(t[i - 1] + std::abs(points[i] - points[i - 1]));
    for (std::size_t i = 0; i <= last; ++i) t[i] /= t[last];

    std::vector<std::pair<int, Point>> unknowns;  // an inner control point and its direction
    for (const auto& [inner, tangent] : {std::pair{1, t0}, {2, t1}}) {
        unknowns.emplace_back(inner, tangent.use ? tangent.along : 1.0);
        if (!tangent.use) unknowns.emplace_back(inner, Point(0, 1));
    }
    const std::size_t n = unknowns.size();

    Polygon p;
    std::ostringstream trace("Bezier_fit\n", std::ios::ate);
    double max_dt = 1, max_err = 0, squares = 0;
    for (int pass = 1; pass <= 21 && max_dt >= 0.001; ++pass) {
        p = {points[0], points[0], points[last], points[last]};
        Values normal(n * n), moves(n);
        for (std::size_t i = 1; i < last; ++i) {
            Polygon row;
            for (const auto& [inner, along] : unknowns)
                row.push_back(3 * t[i] * (1 - t[i]) * (inner == 1 ? 1 - t[i] : t[i]) * along);
            for (std::size_t k = 0; k < n; ++k) {
                moves[k] += dot(row[k], points[i] - at(p, t[i]));
                for (std::size_t l = 0; l < n; ++l) normal[k * n + l] += dot(row[k], row[l]);
            }
        }
        int status = 0;
        const std::shared_ptr<movane_mat> a(mat_new(normal.data(), static_cast<int>(n)), mat_kill);
        mat_solve_set(a.get(), moves.data(), &status);
        for (std::size_t k = 0; k < n; ++k) p[unknowns[k].first] += moves[k] * unknowns[k].second;

        max_dt = max_err = squares = 0;
        const Polygon slope = derivative(p), bend = derivative(slope);
        for (std::size_t i = 1; i < last; ++i) {
            const double before = t[i];
            const auto miss     = [&] { return at(p, t[i]) - points[i]; };
            for (int step = 0; step < 4; ++step) {
                const double dt = dot(miss(), at(slope, t[i])) /
                                  (std::norm(at(slope, t[i])) + dot(miss(), at(bend, t[i])));
                if (t[i] - dt <= 0 || t[i] - dt >= 1) break;
                t[i] -= dt;
                if (std::fabs(dt) < 0.001) break;
            }
            max_dt  = std::max(max_dt, std::fabs(t[i] - before));
            max_err = std::max(max_err, std::abs(miss()));
            squares += std::norm(miss());
        }
        trace << "  t-iteration " << pass << " max_dt " << max_dt << " \n  xc1 " << p[1].real()
              << " yc1 " << p[1].imag() << " xc2 " << p[2].real() << " yc2 " << p[2].imag() << '\n';
    }
    const double lse = std::sqrt(squares / static_cast<double>(last - 1));
    trace << "  maxE " << max_err << " \n  LSE  " << lse << " \n" << summary(p, lse, max_err);
    return trace.str();
}

TEST(BezierFit, AlternatesLikeThePlainFit) {
    std::mt19937 random(1);
    const Tangent up{1, {0, 3}}, back{-1, {4, 1}}, none{0, {5, 5}};
    bool has_ended_by_count = false;
    for (int round = 0; round < 60; ++round) {
        const int count = 5 + round % 3 * round;
        std::normal_distribution<double> noise(0, 1 + round % 10);
        Polygon arc;
        for (int i = 0; i < count; ++i)
            arc.push_back({100 * std::cos(2.0 * i / count) + noise(random),
                           60 * std::sin(2.0 * i / count) + noise(random)});
        const Tangent &start = round % 4 / 2 ? up : none, &end = round % 2 ? back : none;
        const std::string expected = reference_fit(arc, start, end);
        EXPECT_EQ(fit(arc, 2, start, end), expected);
        EXPECT_EQ(fit(arc, 0, start, end), expected.substr(expected.rfind('\n') + 1));
        has_ended_by_count |= expected.find("t-iteration 21") != expected.npos;
    }
    EXPECT_TRUE(has_ended_by_count);
}

TEST(BezierFit, HasRulesForFewPointsAndForEqualOnes) {
    const Tangent along{1, {1, 0}};  // plays no part
    const auto few = [&](const Polygon& points) { return fit(points, 0, along, along); };
    EXPECT_EQ(fit({{1, 2}, {4, 6}}, 1), "Bezier_fit\n(1,2) (1,2) (4,6) (4,6) 0 0");
    EXPECT_EQ(few({{0, 0}, {3, 3}, {6, 0}}), "(0,0) (3,4) (3,4) (6,0) 0 0");
    EXPECT_EQ(few({{5, 7}, {5, 7}, {5, 7}}), "(5,7) (5,7) (5,7) (5,7) 0 0");
    // Close to an end: the distance from the chord, by its estimated length.
    EXPECT_EQ(few({{0, 0}, {3, 0}, {30, 40}}), "(0,0) (0,0) (30,40) (30,40) 2.32727 2.32727");
    EXPECT_EQ(few({{30, 40}, {3, 0}, {0, 0}}), "(30,40) (30,40) (0,0) (0,0) 2.32727 2.32727");
    // Level and upright chords bend all the same, unless the middle point is an end.
    EXPECT_EQ(few({0, {3, 4}, 73}), "(0,0) (15.9786,21.4589) (15.9786,21.4589) (73,0) 0 0");
    EXPECT_EQ(few({0, {4, 3}, {0, 73}}), "(0,0) (21.4589,15.9786) (21.4589,15.9786) (0,73) 0 0");
    EXPECT_EQ(few({{0, 3}, {0, 3}, {8, 3}}), "(0,3) (0,3) (8,3) (8,3) 0 0");
    // A tangent without direction leaves its unknown undetermined.
    const std::string undetermined = fit({{0, 0}, {1, 4}, {3, -4}, {9, 3}}, 0, {1, 0});
    EXPECT_EQ(undetermined.find("Bezier_fit : system without solution(0,0) (0,0) (9,3) (9,3) "),
              0u);
    EXPECT_TRUE(fit({0, {kNan, 1}, 2, 3}).ends_with("nan"));
    EXPECT_EQ(fit({0, 0, 0, 0}, 1),
              "Bezier_fit\n  t-iteration 1 max_dt 0 \n  xc1 0 yc1 0 xc2 0 yc2 0\n  maxE 0 \n"
              "  LSE  0 \nBezier_fit : divide by 0(0,0) (0,0) (0,0) (0,0) 0 0");
}

}  // namespace
