// Angles over the full circle.
//
// The digits of pi below are part of the results: hue and polar angles are compared with constants
// of the same digits.

#include "movane/numerics.h"

#include <cmath>

namespace {

constexpr double kPi             = 3.1415926535;
constexpr double kTwoPi          = 6.283185307;
constexpr double kHalfPi         = 1.57079632675;
constexpr double kUndefinedBelow = 0.001;  // |y| on the y axis, itself included

}  // namespace

double real_atan2PI(double x, double y, int* error) {
    *error = 0;
    if (x != 0.0) {
        double angle = std::atan(y / x);
        if (x < 0.0) angle += kPi;
        if (angle < 0.0) angle += kTwoPi;
        return angle;
    }
    if (std::fabs(y) <= kUndefinedBelow) {
        *error = -1;
        return 0.0;
    }
    return y < 0.0 ? -kHalfPi + kTwoPi : kHalfPi;
}

double real_atan(double x, double y, int* error) { return real_atan2PI(x, y, error) * 180.0 / kPi; }
