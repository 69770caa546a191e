// Vectors: arithmetic on plain arrays in any dimension, sorted arrays, subsets of points.

#include "movane/gamut.h"

#include "movane/numerics.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

constexpr double kZeroNorm = 1e-20;

// Searches an empty array when n is negative.
template <class Value>
int lower_bound_index(const Value* a, Value x, int n) {
    return static_cast<int>(std::lower_bound(a, a + std::max(n, 0), x) - a);
}

template <class Value>
void insert_sorted(Value* a, Value x, int n) {
    if (n < 1) return;
    Value* const place = a + lower_bound_index(a, x, n - 1);
    std::copy_backward(place, a + n - 1, a + n);
    *place = x;
}

// Flags that came with more than k ones must not overrun `selected`.
void list_selected(int k, int n, const int* flags, int* selected) {
    int listed = 0;
    for (int i = 0; i < n && listed < k; ++i) {
        if (flags[i]) selected[listed++] = i;
    }
}

}  // namespace

// --- norms, products, distances ---------------------------------------------------------------

double vect_calc_norm(const double* v, int n) { return std::sqrt(vect_scalar_product(v, v, n)); }

int vect_normalise(double* v, int n) {
    const double norm = vect_calc_norm(v, n);
    if (norm > kZeroNorm) {
        for (int i = 0; i < n; ++i) v[i] /= norm;
    }
    return 0;
}

double vect_scalar_product(const double* a, const double* b, int n) {
    double sum = 0.0;
    for (int i = 0; i < n; ++i) sum += a[i] * b[i];
    return sum;
}

double vect_square_distance(const double* a, const double* b, int n) {
    double sum = 0.0;
    for (int i = 0; i < n; ++i) sum += (b[i] - a[i]) * (b[i] - a[i]);
    return sum;
}

double vect_distance(const double* a, const double* b, int n) {
    return std::sqrt(vect_square_distance(a, b, n));
}

int vect_vector_product(const double* in, double* out) {
    const int n               = static_cast<int>(in[0]);
    const double* const given = in + 1;

    movane_mat* matrix = mat_new(nullptr, n);
    if (!matrix) return -1;
    for (int k = 0; k < n; ++k) mat_set_element(matrix, 0, k, 0.0);
    for (int i = 1; i < n; ++i)
        mat_set_row(matrix, i,
                    given + static_cast<std::size_t>(i - 1) * static_cast<std::size_t>(n));

    int result = 0;
    for (int k = 0; k < n && result == 0; ++k) {
        mat_set_element(matrix, 0, k, 1.0);
        result = mat_det_det(matrix, &out[k]);
        mat_set_element(matrix, 0, k, 0.0);
    }
    mat_kill(matrix);
    return result;
}

double vect_Min(const double* a, int n) { return *std::min_element(a, a + std::max(n, 1)); }

double vect_Max(const double* a, int n) { return *std::max_element(a, a + std::max(n, 1)); }

// --- sorted arrays ------------------------------------------------------------------------------

int vect_locate_in_array(const int* a, int x, int n, int* pos) {
    *pos = lower_bound_index(a, x, n);
    return 0;
}

int vect_locate_in_sh_array(const short* a, short x, int n, short* pos) {
    *pos = static_cast<short>(lower_bound_index(a, x, n));
    return 0;
}

int vect_locate_in_double_array(const double* a, double x, int n, int* pos) {
    *pos = lower_bound_index(a, x, n);
    return 0;
}

int vect_insert_in_array(int* a, int x, int n) {
    insert_sorted(a, x, n);
    return 0;
}

int vect_insert_in_sh_array(short* a, short x, int n) {
    insert_sorted(a, x, n);
    return 0;
}

int vect_shift_right_0(int* a, int n, int k) {
    const int places = std::clamp(k, 0, std::max(n, 0));
    if (places == 0) return 0;
    std::copy_backward(a, a + n - places, a + n);
    std::fill(a, a + places, 0);
    return 0;
}

// --- subsets ------------------------------------------------------------------------------------

int vect_next_point_selection(int k, int n, int first, int* selected, int* flags) {
    if (first) {
        for (int i = 0; i < n; ++i) flags[i] = i < k;
        list_selected(k, n, flags, selected);
        return 0;
    }
    int taken        = 0;
    bool gap_is_seen = false;
    for (int i = n - 1; i >= 0; --i) {
        if (!flags[i]) {
            gap_is_seen = true;
            continue;
        }
        if (taken == k) return -1;
        flags[i] = 0;
        ++taken;
        if (gap_is_seen) {
            std::fill_n(flags + i + 1, taken, 1);
            list_selected(k, n, flags, selected);
            return 0;
        }
    }
    return -2;
}
