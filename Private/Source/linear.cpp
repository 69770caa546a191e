// Plain solvers without a handle: Gaussian elimination and Newton's method for a cubic.
//
// Both serve the curves, whose systems are small and well scaled: a pivot is exchanged only when
// it is exactly 0. Products are subtracted one by one in ascending order of the column.

#include "movane/numerics.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

constexpr int kNewtonSteps = 20;

double* row_of(double* a, int n, int i) {
    return a + static_cast<std::size_t>(i) * static_cast<std::size_t>(n);
}

// The rows below are tried one after the other; each exchange starts from what the one before it
// left, so the tried rows end up moved down by one place.
bool bring_up_pivot(double* a, double* b, int n, int k) {
    double* const pivot_row = row_of(a, n, k);
    for (int other = k + 1; pivot_row[k] == 0.0; ++other) {
        if (other >= n) return false;
        std::swap_ranges(pivot_row, pivot_row + n, row_of(a, n, other));
        std::swap(b[k], b[other]);
    }
    return true;
}

void eliminate_below(double* a, double* b, int n, int k) {
    const double* const pivot_row = row_of(a, n, k);
    for (int i = k + 1; i < n; ++i) {
        double* const row   = row_of(a, n, i);
        const double factor = row[k] / pivot_row[k];
        for (int j = k + 1; j < n; ++j) row[j] -= factor * pivot_row[j];
        b[i] -= factor * b[k];
    }
}

}  // namespace

int gaussd(double* a, double* b, int n) {
    for (int k = 0; k < n; ++k) {
        if (!bring_up_pivot(a, b, n, k)) return 0;
        eliminate_below(a, b, n, k);
    }
    for (int i = n - 1; i >= 0; --i) {
        const double* const row = row_of(a, n, i);
        double sum              = 0;
        for (int j = i + 1; j < n; ++j) sum += row[j] * b[j];
        b[i] = (b[i] - sum) / row[i];
    }
    return 1;
}

int fthird_order_eq(const double* c, double* root, double lo, double hi, double tol) {
    double t = (lo + hi) * 0.5;
    for (int i = 0; i < kNewtonSteps; ++i) {
        const double slope = (3 * c[3] * t + 2 * c[2]) * t + c[1];
        if (slope == 0.0) return 0;
        const double step = (((c[3] * t + c[2]) * t + c[1]) * t + c[0]) / slope;
        t -= step;
        if (t < lo || step > hi) return 0;  // hi bounds the step, on purpose
        if (std::fabs(step) <= tol) {
            *root = t;
            return 1;
        }
    }
    return 0;
}
