// Curves against de Casteljau's construction, and inverse evaluation against a dense scan.

#include "movane/numerics.h"

#include "reference/bezier_reference.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>

namespace {

using namespace movane_tests;

constexpr double kRounding = 1e-11;  // a dozen roundings of values up to some hundreds

using Inverse = int (*)(Bezier*, double, double*);

std::vector<double> found_by(Inverse inverse, Bezier* b, double value) {
    std::array<double, 4> found{};
    const int count = inverse(b, value, found.data());
    return {found.begin(), found.begin() + count};
}

TEST(BezierBase, BernsteinPolynomialsBuildTheCurve) {
    std::mt19937 random(1);
    for (const int degree : {2, 3, 4}) {
        const Polygon p = random_polygon(degree, random);
        for (const double t : {-0.5, 0.0, 0.125, 0.7, 1.0, 1.5}) {
            double sum = 0;
            for (int i = 0; i <= degree; ++i)
                sum += B_poly(degree, i, t) * p.x[static_cast<std::size_t>(i)];
            EXPECT_NEAR(sum, de_casteljau(p.x, t), kRounding);
        }
    }
    const auto refused = [](int degree, int i) {
        return message_of([&] { EXPECT_EQ(B_poly(degree, i, 0.5), -1.0); });
    };
    EXPECT_EQ(refused(2, 3), "B_poly : illegal index");
    EXPECT_EQ(refused(3, -1), "B_poly : illegal index ");
    EXPECT_EQ(refused(4, 5), "B_poly : illegal index ");
    EXPECT_EQ(refused(5, 0), "B_poly : illegal degree ");
    EXPECT_EQ(refused(1, 0), "B_poly : illegal degree ");
}

TEST(BezierBase, EveryChangeShowsInTheCurve) {
    std::mt19937 random(2);
    for (const int degree : {2, 3, 4}) {
        const auto n  = static_cast<std::size_t>(degree);
        Polygon model = random_polygon(degree, random);
        const Curve b(bezier_new(degree, model.x[0], model.y[0], model.x[n], model.y[n]));
        for (std::size_t i = 1; i < n; ++i) model.x[i] = model.y[i] = 0;

        for (int round = 0; round < 200; ++round) {
            ASSERT_EQ(polygon_of(b.get(), degree), model);
            for (const double t : {-0.25, 0.0, 0.3, 1.0}) {
                Vertex v;
                bezier_get(b.get(), t, &v.x, &v.y);
                ASSERT_NEAR(v.x, de_casteljau(model.x, t), kRounding);
                ASSERT_NEAR(v.y, de_casteljau(model.y, t), kRounding);
            }
            const Polygon fresh = random_polygon(degree, random);
            const std::size_t i = random() % (n + 1);
            const bool is_end   = i == 0 || i == n;
            if (random() % 4 == 0) {
                model = fresh;
                EXPECT_EQ(bezier_set_control_poly(b.get(), model.x.data(), model.y.data()), 1);
                continue;
            }
            if (is_end && degree > 2) {  // the neighbour moves along
                const std::size_t neighbour = i == 0 ? 1 : n - 1;
                model.x[neighbour] += fresh.x[i] - model.x[i];
                model.y[neighbour] += fresh.y[i] - model.y[i];
            }
            model.x[i]       = fresh.x[i];
            model.y[i]       = fresh.y[i];
            const int which  = i == 0 ? 0 : 1;
            const int inner  = static_cast<int>(i) - 1;
            const auto set   = is_end ? bezier_set_endp : bezier_set_controlp;
            const auto get   = is_end ? bezier_get_endp : bezier_get_controlp;
            const int number = is_end ? which : inner;
            EXPECT_EQ(set(b.get(), number, fresh.x[i], fresh.y[i]), 1);
            Vertex v;
            EXPECT_EQ(get(b.get(), number, &v.x, &v.y), 1);
            EXPECT_EQ(v, (Vertex{model.x[i], model.y[i]}));
        }
    }
}

TEST(BezierBase, RefusesDegreesAndIndices) {
    for (const int degree : {-1, 1, 5}) {
        EXPECT_EQ(message_of([&] { EXPECT_EQ(bezier_new(degree, 0, 0, 1, 1), nullptr); }),
                  "Bezier_new : illegal degree");
    }
    for (const int degree : {2, 3, 4}) {
        const Curve b(bezier_new(degree, 1, 2, 3, 4));
        const Polygon before = polygon_of(b.get(), degree);
        Vertex v{7, 8};
        const auto refused = [&](auto call, int index, auto... arguments) {
            return message_of([&] { EXPECT_EQ(call(b.get(), index, arguments...), 0); });
        };
        for (const int which : {-1, 2}) {
            EXPECT_EQ(refused(bezier_set_endp, which, 9.0, 9.0), "Bezier_set_endp : illegal index");
            EXPECT_EQ(refused(bezier_get_endp, which, &v.x, &v.y),
                      "Bezier_get_endp : illegal index");
        }
        for (const int i : {-1, degree - 1}) {
            EXPECT_EQ(refused(bezier_set_controlp, i, 9.0, 9.0),
                      "Bezier_set_controlp : illegal ind");
            EXPECT_EQ(refused(bezier_get_controlp, i, &v.x, &v.y),
                      "Bezier_get_controlp : illegal ind");
        }
        EXPECT_EQ(polygon_of(b.get(), degree), before);
        EXPECT_EQ(v, (Vertex{7, 8}));
    }
    EXPECT_EQ(bezier_kill(nullptr), 1);
}

// Every point that a scan of the parameters finds, and no other. Both coordinates take turns.
TEST(BezierBase, FindsAllPointsWithAGivenCoordinate) {
    struct Case {
        int degree;
        Inverse y_at, x_at;
    };
    std::mt19937 random(3);
    std::uniform_real_distribution<double> inside(0.001, 0.999);
    int most = 0;
    for (const Case& c :
         {Case{2, bezier_get_y, bezier_get_x}, Case{2, bezier_fget_y, bezier_fget_x},
          Case{3, bezier_get_y, bezier_get_x}, Case{4, bezier_fget_y, bezier_fget_x}}) {
        for (int round = 0; round < 150; ++round) {
            const Polygon p    = random_polygon(c.degree, random);
            const Curve b      = curve_of(p);
            const bool given_x = round % 2 == 0;
            const auto& given  = given_x ? p.x : p.y;
            const auto& other  = given_x ? p.y : p.x;
            const double value = de_casteljau(given, inside(random));

            std::vector<double> parameters =
                zeros([&](double t) { return de_casteljau(given, t) - value; }, 0, 1);
            // A quadratic gives the larger root of its monic polynomial first.
            if (c.degree == 2) std::reverse(parameters.begin(), parameters.end());
            const std::vector<double> found = found_by(given_x ? c.y_at : c.x_at, b.get(), value);
            ASSERT_EQ(found.size(), parameters.size()) << c.degree << ' ' << round;
            for (std::size_t i = 0; i < found.size(); ++i)
                ASSERT_NEAR(found[i], de_casteljau(other, parameters[i]), 1e-7);
            most = std::max(most, static_cast<int>(found.size()));
        }
    }
    EXPECT_GE(most, 3);
}

TEST(BezierBase, FindsCoincidingRootsOnce) {
    using Roots = std::vector<double>;
    // With the other coordinate equal to t, the points found are the roots themselves.
    const auto roots = [](Inverse inverse, const Polygon& p) {
        return found_by(inverse, curve_of(p).get(), 0.0);
    };
    // Multiples of (t-1/4)^2 (t-3/4), (t-1/2)^3, (t-1/4)^2 (t-3/4)^2, and (t-1/8) ... (t-7/8).
    const Polygon twice({-9, 19, -33, 27}, {0, 64, 128, 192});
    const Polygon thrice({-1, 1, -1, 1}, {0, 1. / 3, 2. / 3, 1});
    const Polygon two_twice({27, -45, 59, -45, 27}, {0, .25, .5, .75, 1});
    const Polygon four({315, -741, 955, -741, 315}, {0, .25, .5, .75, 1});
    const Roots pair = roots(bezier_get_y, twice);
    ASSERT_EQ(pair.size(), 2u);
    EXPECT_NEAR(pair[0], 48, 1e-12);
    EXPECT_NEAR(pair[1], 144, 1e-12);
    EXPECT_EQ(roots(bezier_get_y, thrice).size(), 1u);
    EXPECT_NEAR(roots(bezier_get_y, thrice)[0], 0.5, 1e-12);
    EXPECT_EQ(roots(bezier_fget_y, two_twice).size(), 2u);
    EXPECT_EQ(roots(bezier_fget_y, four).size(), 4u);
    // A quadratic that touches has no solution.
    EXPECT_EQ(roots(bezier_get_y, Polygon({1, -1, 1}, {0, 1, 2})), Roots{});
    EXPECT_EQ(roots(bezier_fget_y, Polygon({1, -1, 1}, {0, 1, 2})), Roots{});
}

TEST(BezierBase, TheFastPairFollowsNewtonFromTheMiddleOfACubic) {
    const double third = 1. / 3;
    // x(t) = t^3 - 1.5 t^2 + 0.5665 t has three solutions for 0.03325, the middle one at 0.5.
    const Curve s = curve_of(
        Polygon({0, 0.5665 * third, 2 * 0.5665 * third - 0.5, 0.0665}, {0, third, 2 * third, 1}));
    EXPECT_EQ(found_by(bezier_get_y, s.get(), 0.03325).size(), 3u);
    const std::vector<double> fast = found_by(bezier_fget_y, s.get(), 0.03325);
    ASSERT_EQ(fast.size(), 1u);
    EXPECT_NEAR(fast[0], 0.5, 1e-9);
    // A level start ends the search at once: x(t) = (t - 0.5)^3, whose slope at 0.5 is 0.
    const Curve level = curve_of(Polygon({-1, 1, -1, 1}, {0, third, 2 * third, 1}));
    EXPECT_EQ(found_by(bezier_fget_y, level.get(), 0.25).size(), 0u);
    EXPECT_EQ(found_by(bezier_get_y, level.get(), 0.25).size(), 1u);
}

TEST(BezierBase, DropsNegligibleTermsAndWidensTheInterval) {
    const Inverse everyone[] = {bezier_get_y, bezier_fget_y};
    for (const Inverse inverse : everyone) {
        const Curve straight = curve_of(Polygon({0, 0.5, 1}, {0, 0.5, 1}));
        for (const double x : {-1.19e-5, 0.0, 1.0000119})
            EXPECT_EQ(found_by(inverse, straight.get(), x), std::vector<double>{x});
        for (const double x : {-1.1920928955078125e-5, -1.2e-5, 1.000011920928955, 1.00002})
            EXPECT_TRUE(found_by(inverse, straight.get(), x).empty());
    }
    // x(t) = t + a t^2: below the threshold the square term is left out, then t = 0.5 exactly.
    const auto solution = [](double a) {
        const Curve b = curve_of(Polygon({0, 0.5, 1 + a}, {0, 0.5, 1}));
        return found_by(bezier_get_y, b.get(), 0.5).at(0);
    };
    EXPECT_EQ(solution(1e-5), 0.5);
    EXPECT_NEAR(solution(2e-5), 0.5 - 0.25 * 2e-5, 1e-9);
}

TEST(BezierBase, SaysWhenACoordinateCannotBeSolved) {
    const Inverse all[] = {bezier_get_y, bezier_get_x, bezier_fget_y, bezier_fget_x};
    for (const Inverse inverse : all) {
        for (const int degree : {2, 3, 4}) {
            const Curve point(bezier_new(degree, 0, 0, 0, 0));
            EXPECT_EQ(message_of([&] { found_by(inverse, point.get(), 0.0); }),
                      "Bezier_get_y : invalid degree ");
        }
    }
    const Curve quartic(bezier_new(4, 1, 1, 0, 0));
    const auto message = [&](Inverse inverse) {
        return message_of([&] { found_by(inverse, quartic.get(), 0.5); });
    };
    EXPECT_EQ(message(bezier_get_y), "Bezier_get_y : Sorry no support for higher order (>3)");
    EXPECT_EQ(message(bezier_get_x), "Bezier_get_x : Sorry no support for higher order (>3)");
    EXPECT_EQ(message(bezier_fget_y), "");
    EXPECT_EQ(message(bezier_fget_x), "");
    const double nan  = std::numeric_limits<double>::quiet_NaN();
    const Curve cubic = curve_of(Polygon({0, 3, 1, 9}, {0, 3, 1, 9}));
    for (const Inverse inverse : all) EXPECT_TRUE(found_by(inverse, cubic.get(), nan).empty());
    EXPECT_TRUE(found_by(bezier_fget_y, quartic.get(), nan).empty());
}

}  // namespace
