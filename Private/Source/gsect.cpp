// Golden-section line minimiser.
//
// Four abscissae divide the bracket: x0 and x3 are its ends, x1 and x2 lie 0.382 and 0.618 of the
// way from x0 to x3. The end beyond the worse inner point is cut off; by the golden ratio the
// better one is then in place as an inner point of the rest, so each cut costs one evaluation.
// The ratio has the eight digits of the interface, and the arithmetic its order: both decide at
// which abscissae the function is called.

#include "movane/numerics.h"

#include <cmath>

namespace {

constexpr double kLarge = 0.61803399;
constexpr double kSmall = 0.38196601;

}  // namespace

double gsect_min(double xa, double xb, double xc, double tol, double (*f)(double), double* f_min) {
    // A function that throws ends the process here instead of unwinding through C frames.
    const auto value_at = [f](double x) noexcept { return f(x); };

    double x0 = xa, x1 = xb, x2 = xb, x3 = xc;
    if (std::fabs(xc - xb) > std::fabs(xb - xa)) {
        x2 = xb + kSmall * (xc - xb);
    } else {
        x1 = xb - kSmall * (xb - xa);
    }
    double f1 = value_at(x1);
    double f2 = value_at(x2);

    while (std::fabs(x3 - x0) > tol) {
        if (f2 < f1) {
            x0 = x1;
            x1 = x2;
            x2 = kLarge * x1 + kSmall * x3;
            f1 = f2;
            f2 = value_at(x2);
        } else {
            x3 = x2;
            x2 = x1;
            x1 = kLarge * x2 + kSmall * x0;
            f2 = f1;
            f1 = value_at(x1);
        }
    }

    const bool first_is_lower = f1 < f2;
    *f_min                    = first_is_lower ? f1 : f2;
    return first_is_lower ? x1 : x2;
}
