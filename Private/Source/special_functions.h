// The special functions behind the fit, for those who need them by themselves.
#pragma once

namespace movane {

/// The regularised upper incomplete gamma function Q(a, x), for a > 0 and x >= 0. Other arguments
/// and a search that does not converge are reported as least_square_fit() documents.
double incomplete_gamma_q(double a, double x);

}  // namespace movane
