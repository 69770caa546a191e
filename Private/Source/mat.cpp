// Dense matrices: LU decomposition, linear systems, determinant, inverse.
//
// The decomposition is Crout's with implicit scaled partial pivoting (Press et al., Numerical
// Recipes, section 2.3), done row by row: each element loses its products in ascending order of k,
// one rounding each, exactly as in Crout's sums, but the innermost loop runs along a row. The
// inverse solves for all unit vectors at once, for the same reason and with the same results as
// solving for one after the other (as long as no factor is infinite).

#include "movane/numerics.h"

#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/mat"};

constexpr int kOutOfMemory = 0;  // the kind of failure that is reported

enum Status { kRegular = 0, kZeroRow = -1, kNotSquare = -1, kPivotReplaced = -2 };

constexpr double kPivotFloor = 1e-20;

}  // namespace

// Invariants: neither count is negative; data holds rows * cols values; scale, perm and work, once
// made, hold rows values and lu rows * rows. A matrix and its inverse are each other's partner; the
// one with a work buffer is the source. inverse_valid is 0 for an inverse, and stays 1 for a source
// whose inverse was killed.
struct movane_mat {
    movane::Block<double> data;
    movane::Block<double> lu;
    movane_mat* partner;
    movane::Block<double> scale;  // also the column handed out by mat_get_col()
    movane::Block<int> perm;      // row exchanged with row i at step i
    double parity;
    movane::Block<double> work;  // one row of the inverse while it is formed
    int rows;
    int cols;
    int lu_valid;
    int inverse_valid;
    int lu_status;             // of the decomposition in lu
    movane::Block<int> order;  // row of lu that stands at place i after the exchanges

    // Number of elements of the matrix, which exists: the product fits.
    std::size_t count() const {
        return static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols);
    }
    std::size_t offset(int i, int j) const {
        return static_cast<std::size_t>(i) * static_cast<std::size_t>(cols) +
               static_cast<std::size_t>(j);
    }
    double* row(int i) const { return data.get() + offset(i, 0); }
    const double* lu_row(int i) const { return lu.get() + offset(order.get()[i], 0); }
    double* lu_row(int i) { return lu.get() + offset(order.get()[i], 0); }
};

namespace {

// --- arithmetic on rows -------------------------------------------------------------------------

constexpr int kStrip = 4;  // columns taken at once

// row[j] -= factor * other[j] from column `first` on. Strips begin at fixed columns: a load that
// straddles what two earlier stores wrote would have to wait for both.
void subtract_multiple(double* __restrict row, const double* __restrict other, double factor,
                       int first, int n) {
    int j = first;
    for (; j < n && j % kStrip != 0; ++j) row[j] -= factor * other[j];
    for (; j + kStrip <= n; j += kStrip) {
        for (int lane = 0; lane < kStrip; ++lane) row[j + lane] -= factor * other[j + lane];
    }
    for (; j < n; ++j) row[j] -= factor * other[j];
}

double largest_magnitude(const double* row, int n) {
    double largest = 0.0;
    for (int j = 0; j < n; ++j) largest = std::max(largest, std::fabs(row[j]));
    return largest;
}

// --- decomposition ------------------------------------------------------------------------------

// False when a row is all zero.
bool find_scales(movane_mat& a) {
    bool all_are_scaled = true;
    for (int i = 0; i < a.rows; ++i) {
        const double largest = largest_magnitude(a.row(i), a.rows);
        a.scale.get()[i]     = largest == 0.0 ? 1.0 : 1.0 / largest;
        if (largest == 0.0) all_are_scaled = false;
    }
    return all_are_scaled;
}

int find_pivot_place(const movane_mat& a, int column) {
    int pivot_place = column;
    double best     = -1.0;
    for (int i = column; i < a.rows; ++i) {
        const double candidate = a.scale.get()[a.order.get()[i]] * std::fabs(a.lu_row(i)[column]);
        if (candidate > best) {
            best        = candidate;
            pivot_place = i;
        }
    }
    return pivot_place;
}

// Rows stay where they are; only their order changes.
void exchange_rows(movane_mat& a, int place, int pivot_place) {
    a.perm.get()[place] = pivot_place;
    if (pivot_place == place) return;
    std::swap(a.order.get()[place], a.order.get()[pivot_place]);
    a.parity = -a.parity;
}

void factor(movane_mat& a) {
    const int n = a.rows;
    for (int k = 0; k < n; ++k) {
        exchange_rows(a, k, find_pivot_place(a, k));
        double* const pivot_row = a.lu_row(k);
        if (std::fabs(pivot_row[k]) < kPivotFloor) {
            a.lu_status  = kPivotReplaced;
            pivot_row[k] = kPivotFloor;
        }
        for (int i = k + 1; i < n; ++i) {
            double* const row = a.lu_row(i);
            row[k] /= pivot_row[k];
            subtract_multiple(row, pivot_row, row[k], k + 1, n);
        }
    }
}

// With a row that is all zero nothing is factored, and solving goes by the plain copy.
void decompose(movane_mat& a) {
    std::copy_n(a.data.get(), a.count(), a.lu.get());
    std::iota(a.order.get(), a.order.get() + a.rows, 0);
    a.parity    = 1.0;
    a.lu_status = kRegular;
    a.lu_valid  = 1;
    if (find_scales(a)) {
        factor(a);
    } else {
        a.lu_status = kZeroRow;
        std::iota(a.perm.get(), a.perm.get() + a.rows, 0);
    }
}

// --- substitution -------------------------------------------------------------------------------

void substitute(const movane_mat& a, double* b) {
    const int n           = a.rows;
    const int* const perm = a.perm.get();
    for (int i = 0; i < n; ++i) std::swap(b[i], b[perm[i]]);
    int first_nonzero = 0;
    while (first_nonzero < n && b[first_nonzero] == 0.0) ++first_nonzero;
    for (int i = first_nonzero + 1; i < n; ++i) {
        const double* const row = a.lu_row(i);
        double sum              = b[i];
        for (int j = first_nonzero; j < i; ++j) sum -= row[j] * b[j];
        b[i] = sum;
    }
    for (int i = n - 1; i >= 0; --i) {
        const double* const row = a.lu_row(i);
        double sum              = b[i];
        for (int j = i + 1; j < n; ++j) sum -= row[j] * b[j];
        b[i] = sum / row[i];
    }
}

// sums[lane] -= factors[k] * x(k, lane) for the k from first to last-1, where x has rows of n
// values.
template <int kWidth>
void subtract_products(double* sums, const double* factors, const double* x, int n, int first,
                       int last) {
    double held[kWidth];
    std::copy_n(sums, kWidth, held);
    for (int k = first; k < last; ++k) {
        const double* const row = x + static_cast<std::size_t>(k) * static_cast<std::size_t>(n);
        for (int lane = 0; lane < kWidth; ++lane) held[lane] -= factors[k] * row[lane];
    }
    std::copy_n(held, kWidth, sums);
}

// The same for a whole row; the sums of the strip at column j begin at first_of(j).
template <class FirstOf>
void subtract_products(double* sums, const double* factors, const double* x, int n,
                       FirstOf first_of, int last) {
    int j = 0;
    for (; j + kStrip <= n; j += kStrip)
        subtract_products<kStrip>(sums + j, factors, x + j, n, first_of(j), last);
    for (; j < n; ++j) subtract_products<1>(sums + j, factors, x + j, n, first_of(j), last);
}

// The unit vectors, taken in the order of the exchanged rows, form a triangle: the one in column j
// is zero above row j, and its sums start there. The results belong into the columns in which the
// rows stood before the exchanges.
void substitute_unit_vectors(const movane_mat& a, const movane_mat& inverse) {
    const int n     = a.rows;
    double* const x = inverse.data.get();

    std::fill_n(x, inverse.count(), 0.0);
    for (int i = 0; i < n; ++i) {
        inverse.row(i)[i] = 1.0;
        subtract_products(
            inverse.row(i), a.lu_row(i), x, n, [](int j) { return j; }, i);
    }
    for (int i = n - 1; i >= 0; --i) {
        double* const row = inverse.row(i);
        subtract_products(
            row, a.lu_row(i), x, n, [i](int) { return i + 1; }, n);
        for (int j = 0; j < n; ++j) row[j] /= a.lu_row(i)[i];
    }
    double* const work = a.work.get();
    for (int i = 0; i < n; ++i) {
        double* const row = inverse.row(i);
        std::copy_n(row, n, work);
        for (int j = 0; j < n; ++j) row[a.order.get()[j]] = work[j];
    }
}

// The same column by column, for factors that overflowed: the zeros in which the strips above begin
// would meet them as 0 * infinity.
void solve_for_unit_vectors(const movane_mat& a, const movane_mat& inverse) {
    double* const column = a.work.get();
    for (int j = 0; j < a.rows; ++j) {
        std::fill_n(column, a.rows, 0.0);
        column[j] = 1.0;
        substitute(a, column);
        for (int i = 0; i < a.rows; ++i) inverse.row(i)[j] = column[i];
    }
}

bool has_finite_factors(const movane_mat& a) {
    return std::all_of(a.lu.get(), a.lu.get() + a.count(),
                       [](double factor) { return std::isfinite(factor); });
}

// --- room and links -----------------------------------------------------------------------------

// Makes a buffer unless there is one.
template <class T>
bool have_room(movane::Block<T>& block, std::size_t count) {
    if (!block) block = movane::make_block<T>(count);
    return block != nullptr;
}

void forget_results(movane_mat& a) { a.lu_valid = a.inverse_valid = 0; }

void part(movane_mat& a) {
    if (a.partner) a.partner->partner = nullptr;
    a.partner = nullptr;
}

bool is_inverse(const movane_mat& a) { return a.partner && !a.work; }

}  // namespace

// --- life cycle ---------------------------------------------------------------------------------

movane_mat* mat_gen_new(const double* data, int rows, int cols) {
    if (auto a = movane::create<movane_mat>()) {
        a->rows   = std::max(rows, 0);
        a->cols   = std::max(cols, 0);
        a->parity = 1.0;
        a->data   = movane::make_zeroed_block<double>(static_cast<std::size_t>(a->rows),
                                                    static_cast<std::size_t>(a->cols));
        if (a->data) {
            if (data) std::copy_n(data, a->count(), a->data.get());
            return a.release();
        }
    }
    report.no_resources(kOutOfMemory);
    return nullptr;
}

movane_mat* mat_new(const double* data, int n) { return mat_gen_new(data, n, n); }

movane_mat* mat_kill(movane_mat* a) {
    if (a) part(*a);
    movane::destroy(a);
    return nullptr;
}

// --- elements -----------------------------------------------------------------------------------

int mat_set_mat(movane_mat* a, const double* data) {
    std::copy_n(data, a->count(), a->data.get());
    a->parity = 1.0;
    forget_results(*a);
    return 0;
}

int mat_set_row(movane_mat* a, int i, const double* row) {
    std::copy_n(row, a->cols, a->row(i));
    forget_results(*a);
    return 0;
}

int mat_set_col(movane_mat* a, int j, const double* col) {
    for (int i = 0; i < a->rows; ++i) a->row(i)[j] = col[i];
    forget_results(*a);
    return 0;
}

int mat_set_element(movane_mat* a, int i, int j, double value) {
    a->row(i)[j] = value;
    forget_results(*a);
    return 0;
}

double mat_get_element(const movane_mat* a, int i, int j, int* status) {
    // The column is held against the row count on purpose: hosts rely on it.
    const bool is_refused =
        i < 0 || j < 0 || i >= a->rows || j >= a->rows || a->offset(i, j) >= a->count();
    *status = is_refused ? -1 : 0;
    return is_refused ? 0.0 : a->row(i)[j];
}

double* mat_get_row(movane_mat* a, int i) { return i >= 0 && i < a->rows ? a->row(i) : nullptr; }

double* mat_get_col(movane_mat* a, int j) {
    if (j < 0 || j >= a->cols) return nullptr;
    if (!have_room(a->scale, static_cast<std::size_t>(a->rows))) {
        report.no_resources(kOutOfMemory);
        return nullptr;
    }
    for (int i = 0; i < a->rows; ++i) a->scale.get()[i] = a->row(i)[j];
    return a->scale.get();
}

int mat_mulvec(const movane_mat* a, const double* v, double* out) {
    for (int i = 0; i < a->rows; ++i) out[i] = std::inner_product(v, v + a->cols, a->row(i), 0.0);
    return 0;
}

// --- linear systems -----------------------------------------------------------------------------

int mat_ludcmp(movane_mat* a, int* status) {
    *status = kRegular;
    if (a->lu_valid) return 0;
    if (a->rows != a->cols) {
        *status = kNotSquare;
        return -1;
    }
    const auto n = static_cast<std::size_t>(a->rows);
    if (!have_room(a->lu, a->count()) || !have_room(a->scale, n) || !have_room(a->perm, n) ||
        !have_room(a->order, n)) {
        report.no_resources(kOutOfMemory);
        return -1;
    }
    decompose(*a);
    *status = a->lu_status;
    return 0;
}

int mat_solve_set(movane_mat* a, double* b, int* status) {
    if (mat_ludcmp(a, status) != 0) return -1;
    if (*status == kRegular) substitute(*a, b);
    return 0;
}

int mat_det_det(movane_mat* a, double* det) {
    int status = kRegular;
    if (mat_ludcmp(a, &status) != 0) return -1;
    double product = a->parity;
    for (int i = 0; i < a->rows; ++i) product *= a->lu_row(i)[i];
    *det = product;
    return 0;
}

movane_mat* mat_invert(movane_mat* a, int* status) {
    *status = kRegular;
    if (a->inverse_valid) return a->partner;
    if (is_inverse(*a)) {  // from here on it is a source of its own
        a->partner->inverse_valid = 0;
        part(*a);
    }
    if (mat_ludcmp(a, status) != 0) return nullptr;
    *status = a->lu_status;
    if (*status != kRegular) return nullptr;

    if (!have_room(a->work, static_cast<std::size_t>(a->rows))) {
        report.no_resources(kOutOfMemory);
        return nullptr;
    }
    if (!a->partner) a->partner = mat_new(nullptr, a->rows);
    if (!a->partner) {
        a->work.reset();
        return nullptr;
    }
    a->partner->partner = a;
    if (has_finite_factors(*a))
        substitute_unit_vectors(*a, *a->partner);
    else
        solve_for_unit_vectors(*a, *a->partner);
    forget_results(*a->partner);
    a->inverse_valid = 1;
    return a->partner;
}
