// The incomplete gamma function where it is known in closed form, and its messages.

#include "Source/special_functions.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using movane::incomplete_gamma_q;
using movane_tests::message_of;

// Q(a + 1, x) = Q(a, x) + x^a e^-x / Gamma(a + 1), from Q(1, x) = e^-x or Q(1/2, x) = erfc(sqrt x):
// all terms are positive, so nothing cancels.
double reference(double a, double x) {
    const long double start = std::fmod(a, 1.0) == 0.0 ? 1.0L : 0.5L;
    long double q           = start == 1.0L ? std::exp(-static_cast<long double>(x))
                                            : std::erfc(std::sqrt(static_cast<long double>(x)));
    for (long double s = start; s < a; ++s)
        q += std::exp(s * std::log(static_cast<long double>(x)) - x - std::lgamma(s + 1));
    return static_cast<double>(q);
}

TEST(IncompleteGamma, AgreesWithClosedForms) {
    EXPECT_EQ(message_of([] {
                  for (const double a : {0.5, 1.0, 1.5, 2.0, 3.0, 4.5, 10.0, 10.5, 50.0, 200.0}) {
                      for (const double ratio :
                           {1e-6, 0.01, 0.3, 0.9, 0.999, 1.0, 1.001, 1.1, 1.5, 3.0, 10.0}) {
                          for (const double x : {a * ratio, a + ratio}) {
                              // The exponent a log x - x - lgamma a carries the rounding of its
                              // terms over to the result.
                              const double terms     = x + a * std::fabs(std::log(x)) + 1.0;
                              const double tolerance = 4e-16 * terms + 4e-15;
                              const double expected  = reference(a, x);
                              const double scale     = x < a + 1.0 ? 1.0 : expected;
                              EXPECT_NEAR(incomplete_gamma_q(a, x), expected, tolerance * scale)
                                  << "a " << a << ", x " << x;
                          }
                      }
                  }
              }),
              "");
    EXPECT_EQ(incomplete_gamma_q(3.0, 0.0), 1.0);
}

TEST(IncompleteGamma, ConvergesWhereItsTwoSearchesMeet) {
    EXPECT_EQ(message_of([] {
                  for (double a = 0.5; a < 2e9; a *= 1.9) {
                      for (const double x : {a, a + 0.999, a + 1.0, a + std::sqrt(a)}) {
                          const double q = incomplete_gamma_q(a, x);
                          EXPECT_GT(q, 0.0);
                          EXPECT_LT(q, 1.0);
                      }
                      // At x = a it is 1/2 - 1/(3 sqrt(2 pi a)) but for terms of 1/a.
                      const double expected =
                          0.5 - 1.0 / (3.0 * std::sqrt(2.0 * std::acos(-1.0) * a));
                      EXPECT_NEAR(incomplete_gamma_q(a, a), expected,
                                  0.03 / a + 1e-15 * a * std::log(a + 2));
                  }
              }),
              "");
}

TEST(IncompleteGamma, PostsItsMessages) {
    const double infinity = std::numeric_limits<double>::infinity();
    const double nan      = std::numeric_limits<double>::quiet_NaN();
    struct Case {
        double a, x;
        const char* message;
    };
    for (const Case& c : {
             Case{0.0, 1.0, "Invalid arguments in routine gammq"},
             {-0.5, 0.25, "Invalid arguments in routine gammq"},
             {2.0, -1.0, "x less than 0 in routine gser"},  // after that of gammq
             {infinity, 1.0, "a too large, ITMAX too small in routine gser"},
             {1.0, nan, "a too large, ITMAX too small in gcf"},
         })
        EXPECT_EQ(message_of([&] { incomplete_gamma_q(c.a, c.x); }), c.message);
}

}  // namespace
