// What the modules of the Bezier family share: the record, its coefficients, and the length that
// all estimates use.
#pragma once

#include "movane/numerics.h"

#include <cmath>
#include <cstdint>

// Invariants: degree is 2, 3 or 4 and never changes; while coeff_valid is 1, ax and ay are the
// power-basis coefficients of the control points x and y. Entries beyond the degree stay 0.
struct Bezier {
    std::int32_t degree;
    double x[5];
    double y[5];
    std::int32_t start_tangent_set;  // the constraints of the last fit
    double start_tangent_x, start_tangent_y;
    std::int32_t end_tangent_set;
    double end_tangent_x, end_tangent_y;
    std::int32_t coeff_valid;
    double ax[5];
    double ay[5];
};

namespace movane {

/// Recomputes the coefficients unless they are valid. Every evaluation begins with it.
void update_coefficients(Bezier& curve) noexcept;

/// The polynomial a[0] + a[1] t + ... + a[degree] t^degree.
inline double horner(const double* a, int degree, double t) {
    double value = a[degree];
    for (int k = degree - 1; k >= 0; --k) value = value * t + a[k];
    return value;
}

/// The length of a vector without a square root, 6 % too short to 5 % too long. Not a number when
/// a coordinate is none.
inline double approx_len(double a, double b) {
    a                    = std::fabs(a);
    b                    = std::fabs(b);
    const double longer  = a > b ? a : b;
    const double shorter = a > b ? b : a;
    return 0.9375 * longer + 0.46875 * shorter;
}

}  // namespace movane
