// The straight-line fit by exact fractions, the incomplete gamma function where it is known in
// closed form, and their messages.

#include "movane/numerics.h"

#include "Source/special_functions.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <tuple>

namespace {

using movane::incomplete_gamma_q;
using movane_tests::MessageCapture;

TEST(LeastSquareFit, SolvesTheNormalEquations) {
    const double sig[] = {1, 0.5, 0.5, 1};
    struct Case {
        int n, weighted;
        double x[4], y[4], a, b, variance_a, variance_b, chi2;
    };
    for (const Case& c : {
             Case{4, 0, {0, 1, 2, 3}, {1, 3, 4, 8}, 0.7, 2.2, 0.63, 0.18, 1.8},
             Case{4, 1, {0, 1, 2, 4}, {1, 3, 4, 8}, 29. / 26, 21. / 13, 9. / 26, 5. / 52, 25. / 26},
             Case{4, 1, {1, 2, 3, 5}, {6, 0, 5, 4}, 1, 10. / 13, 0.75, 5. / 52, 726. / 13},
         }) {
        double a, b, siga, sigb, chi2, q;
        least_square_fit(c.x, c.y, c.n, sig, c.weighted, &a, &b, &siga, &sigb, &chi2, &q);
        EXPECT_NEAR(a, c.a, 1e-13);
        EXPECT_NEAR(b, c.b, 1e-13);
        EXPECT_NEAR(siga * siga, c.variance_a, 1e-13);
        EXPECT_NEAR(sigb * sigb, c.variance_b, 1e-13);
        EXPECT_NEAR(chi2, c.chi2, 1e-13);
        EXPECT_EQ(q, c.weighted ? incomplete_gamma_q(0.5 * c.n - 1, 0.5 * chi2) : 1);
    }
}

TEST(LeastSquareFit, IsCertainWithoutADegreeOfFreedomOrADeviation) {
    const MessageCapture capture;
    const double x[] = {0.1, 1e9 + 1, 2e9}, y[] = {0.3, 1e9 / 7, 3e9}, sig[] = {1e-9, 1e-9, 1e-9};
    double a, b, siga, sigb, chi2, q = 7;
    least_square_fit(x, y, 2, sig, 1, &a, &b, &siga, &sigb, &chi2, &q);
    EXPECT_GT(chi2, 1);  // of rounding
    EXPECT_EQ(q, 1);
    EXPECT_EQ(MessageCapture::take(), "Invalid arguments in routine gammq");
    const double line[] = {1, 2, 3}, ones[] = {1, 1, 1};
    least_square_fit(line, line, 3, ones, 1, &a, &b, &siga, &sigb, &chi2, &(q = 7));
    EXPECT_TRUE(chi2 == 0 && q == 1);
    EXPECT_EQ(MessageCapture::take(), "");
}

// Q(a + 1, x) = Q(a, x) + x^a e^-x / Gamma(a + 1), from Q(1, x) = e^-x or Q(1/2, x) = erfc(sqrt x):
// all terms are positive, so nothing cancels.
double reference(double a, long double x) {
    const bool is_whole = std::fmod(a, 1.0) == 0.0;
    long double q       = is_whole ? std::exp(-x) : std::erfc(std::sqrt(x));
    for (long double s = is_whole ? 1.0L : 0.5L; s < a; ++s)
        q += std::exp(s * std::log(x) - x - std::lgamma(s + 1));
    return static_cast<double>(q);
}

TEST(IncompleteGamma, AgreesWithClosedForms) {
    const MessageCapture capture;
    for (const double a : {0.5, 1.0, 3.0, 10.5, 50.0, 200.0}) {
        for (const double ratio : {1e-6, 0.01, 0.3, 0.9, 1.0, 1.1, 1.5, 3.0, 10.0}) {
            for (const double x : {a * ratio, a + ratio}) {
                // The exponent a log x - x - lgamma a hands the rounding of its terms on.
                const double rounding = 4e-16 * (x + a * std::fabs(std::log(x))) + 5e-15;
                const double q        = reference(a, x);
                EXPECT_NEAR(incomplete_gamma_q(a, x), q, rounding * (x < a + 1 ? 1 : q));
            }
        }
    }
    // Near x = a the searches are longest; there Q is 1/2 - 1/(3 sqrt(2 pi a)) but for terms of
    // 1/a.
    for (double a = 0.5; a < 2e9; a *= 1.9) {
        const double q = 0.5 - 1 / (3 * std::sqrt(2 * std::acos(-1.0) * a));
        EXPECT_NEAR(incomplete_gamma_q(a, a), q, 0.03 / a + 1e-15 * a * std::log(a + 2));
        EXPECT_GT(incomplete_gamma_q(a, a + 0.999), 0);
        EXPECT_GT(incomplete_gamma_q(a, a + 1), 0);
    }
    EXPECT_EQ(MessageCapture::take(), "");
}

TEST(IncompleteGamma, PostsItsMessages) {
    const MessageCapture capture;
    const double infinity                                 = std::numeric_limits<double>::infinity();
    const std::tuple<double, double, std::string> cases[] = {
        {-0.5, 0.25, "Invalid arguments in routine gammq"},
        {0, 1e9, "Invalid arguments in routine gammq"},
        {2, -1, "x less than 0 in routine gser"},  // after that of gammq
        {infinity, 1, "a too large, ITMAX too small in routine gser"},
        {1, infinity - infinity, "a too large, ITMAX too small in gcf"},
        {3, 0, ""},
    };
    for (const auto& [a, x, message] : cases) {
        const double q = incomplete_gamma_q(a, x);
        EXPECT_EQ(MessageCapture::take(), message);
        // Without a degree of freedom or a deviation.
        EXPECT_TRUE((a != 0 && !(x <= 0)) || q == 1);
    }
}

}  // namespace
