// Real roots of polynomials, for the inverse evaluation of curves.
#pragma once

namespace movane {

/// The real roots of m[0] + m[1] t + m[2] t^2 + m[3] t^3 with m[3] = 1, ascending, those closer
/// than 1e-10 once.
///
/// @param roots  room for 3
/// @return       number of roots; 0 when a coefficient is not finite
int cubic_roots(const double* m, double* roots) noexcept;

constexpr int kHighestDegree = 20;

/// The real roots of c[0] + c[1] t + ... + c[degree] t^degree in [low, high], ascending, each
/// once. Where the polynomial turns at less than 1e-12 of the sum of its coefficients' sizes, that
/// turning point is taken as the root.
///
/// @param degree  1 to kHighestDegree
/// @param roots   room for `degree` values
/// @return        number of roots
int roots_between(const double* c, int degree, double low, double high, double* roots) noexcept;

}  // namespace movane
