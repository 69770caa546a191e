// Downhill simplex: minimises a function of n variables from its values alone.
//
// A simplex of n+1 points creeps downhill: in each step its highest vertex is reflected through
// the centroid of the others, and the point found there decides whether to go on in that
// direction, to stay, to pull back or to shrink everything towards the lowest vertex. The order
// of all sums is part of the interface: it decides at which points the function is called.

#include "movane/numerics.h"

#include "Support/memory.h"
#include "Support/report.h"
#include "movane/gamut.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/dhsm"};

constexpr double kDefaultTolerance   = 1e-7;
constexpr int kDefaultIterations     = 1000;
constexpr double kStartStep          = 0.1;    // of the extent of the start point; or as it is
constexpr double kBoundStep          = 0.1;    // of the distance to the lower bound
constexpr double kProbeStep          = 0.005;  // of the coordinate
constexpr double kZeroCoordinate     = 1e-20;  // magnitudes below are probed by the largest one
constexpr double kProbeSignificance  = 1e-12;  // of the value: what counts as lower
constexpr double kJustBelowTolerance = 0.999999;

// Hosts' convergence measures read the record.
static_assert(offsetof(dhsm, n) == 5 * sizeof(double*));
static_assert(offsetof(dhsm, function) == offsetof(dhsm, n) + 2 * sizeof(int));

// process-wide: the tolerance of the running solve, for the default convergence measure.
constinit double solve_tolerance = 0;

// The record and its five arrays, in the order of the record's pointers to them.
struct OwningDhsm : dhsm {
    std::array<movane::Block<double>, 5> arrays;
};

using Point = std::span<double>;

// --- the simplex -----------------------------------------------------------------------------

Point vertex(const dhsm& h, int i) {
    const auto n = static_cast<std::size_t>(h.n);
    return {h.vertices + static_cast<std::size_t>(i) * n, n};
}

Point scratch(const dhsm& h, double* point) { return {point, static_cast<std::size_t>(h.n)}; }

void copy(std::span<const double> from, Point to) {
    std::copy(from.begin(), from.end(), to.begin());
}

double largest_magnitude(std::span<const double> point) {
    double largest = 0;
    for (const double x : point) largest = std::max(largest, std::fabs(x));
    return largest;
}

// The host's function with what it wants handed through; the one place that calls it. A function
// that throws ends the process here instead of unwinding through a half-updated simplex.
struct Objective {
    const dhsm& h;
    void *u1, *u2, *u3;

    double operator()(std::span<const double> point) const noexcept {
        return h.function(u1, u2, u3, point.data());
    }
};

// --- the default convergence measure -----------------------------------------------------------

double spread(const dhsm& h, int lowest) {
    double extent = 0;
    for (std::size_t j = 0; j < static_cast<std::size_t>(h.n); ++j) {
        double least = vertex(h, 0)[j], greatest = least;
        for (int i = 1; i <= h.n; ++i) {
            least    = std::min(least, vertex(h, i)[j]);
            greatest = std::max(greatest, vertex(h, i)[j]);
        }
        extent = std::max(extent, greatest - least);
    }
    return extent / std::max(largest_magnitude(vertex(h, lowest)), 1.0);
}

// A simplex can collapse into a subspace where every step fails; a look around tells such a place
// from a minimum.
bool has_lower_surroundings(const dhsm& h, const Objective& f, int lowest) {
    const Point base     = vertex(h, lowest);
    const Point probe    = scratch(h, h.trial);
    const double value   = h.values[lowest];
    const double largest = largest_magnitude(base);
    const double margin  = kProbeSignificance * (std::fabs(value) + solve_tolerance);

    copy(base, probe);
    for (std::size_t j = 0; j < base.size(); ++j) {
        const bool is_zero = std::fabs(base[j]) < kZeroCoordinate;
        probe[j]           = base[j] + kProbeStep * (is_zero ? largest : base[j]);
        if (f(probe) < value - margin) return true;
        probe[j] = base[j];
    }
    return false;
}

double default_convergence(dhsm* h, void* u1, void* u2, void* u3, int /*highest*/, int lowest) {
    const double s = spread(*h, lowest);
    if (s > solve_tolerance) return s;
    if (has_lower_surroundings(*h, Objective{*h, u1, u2, u3}, lowest)) return 2 * solve_tolerance;
    return s == solve_tolerance ? s * kJustBelowTolerance : s;
}

// --- one step ----------------------------------------------------------------------------------

struct Order {
    int lowest, highest, next_highest;
};

Order order(const dhsm& h) {
    const double* values = h.values;
    Order o{1, 1, 0};
    if (values[0] > values[1]) std::swap(o.highest, o.next_highest);
    for (int i = 0; i <= h.n; ++i) {
        if (values[i] < values[o.lowest]) o.lowest = i;
        if (values[i] > values[o.highest]) {
            o.next_highest = o.highest;
            o.highest      = i;
        } else if (values[i] > values[o.next_highest] && i != o.highest) {
            o.next_highest = i;
        }
    }
    return o;
}

void find_centroid(const dhsm& h, int highest) {
    const Point c = scratch(h, h.centroid);
    std::fill(c.begin(), c.end(), 0.0);
    for (int i = 0; i <= h.n; ++i) {
        if (i == highest) continue;
        const Point v = vertex(h, i);
        for (std::size_t j = 0; j < c.size(); ++j) c[j] += v[j];
    }
    for (double& x : c) x /= h.n;
}

void shrink(const dhsm& h, const Objective& f, int lowest) {
    const Point low = vertex(h, lowest);
    for (int i = 0; i <= h.n; ++i) {
        if (i == lowest) continue;
        const Point v = vertex(h, i);
        for (std::size_t j = 0; j < v.size(); ++j) v[j] = (low[j] + v[j]) * 0.5;
        h.values[i] = f(v);
    }
}

void step(const dhsm& h, const Objective& f, const Order& o) {
    const Point high   = vertex(h, o.highest);
    const Point c      = scratch(h, h.centroid);
    const Point r      = scratch(h, h.trial);
    const Point other  = scratch(h, h.trial2);
    const auto move_to = [&](Point point, double value) {
        copy(point, high);
        h.values[o.highest] = value;
    };

    find_centroid(h, o.highest);
    for (std::size_t j = 0; j < c.size(); ++j) r[j] = c[j] + (c[j] - high[j]);
    const double yr = f(r);

    if (yr <= h.values[o.lowest]) {
        for (std::size_t j = 0; j < c.size(); ++j) other[j] = c[j] + 2 * (r[j] - c[j]);
        const double ye = f(other);
        if (yr <= ye) {
            move_to(r, yr);
        } else {
            move_to(other, ye);
        }
    } else if (yr < h.values[o.next_highest]) {
        move_to(r, yr);
    } else {
        if (yr < h.values[o.highest]) move_to(r, yr);
        for (std::size_t j = 0; j < c.size(); ++j) other[j] = c[j] + (high[j] - c[j]) * 0.5;
        const double yk = f(other);
        if (h.values[o.highest] <= yk) {
            shrink(h, f, o.lowest);
        } else {
            move_to(other, yk);
        }
    }
}

void init_around(dhsm* h, const double* x) {
    double start_step = (vect_Max(x, h->n) - vect_Min(x, h->n)) * kStartStep;
    if (start_step == 0) start_step = kStartStep;
    const Point steps = scratch(*h, h->trial);
    std::fill(steps.begin(), steps.end(), start_step);
    dhsm_init(h, nullptr, nullptr, nullptr, nullptr, h->trial, x);
}

double* obtain(movane::Block<double>& array, std::size_t rows, std::size_t columns = 1) {
    array = movane::make_zeroed_block<double>(rows, columns);
    return array.get();
}

bool obtain_arrays(OwningDhsm& h) {
    const auto n = static_cast<std::size_t>(h.n);
    return (h.vertices = obtain(h.arrays[0], n + 1, n)) &&
           (h.values = obtain(h.arrays[1], n + 1)) && (h.trial = obtain(h.arrays[2], n + 1)) &&
           (h.trial2 = obtain(h.arrays[3], n + 1)) && (h.centroid = obtain(h.arrays[4], n + 1));
}

}  // namespace

// --- life cycle ----------------------------------------------------------------------------

dhsm* dhsm_new(dhsm_function f, dhsm_convergence convergence, int n) {
    if (n < 1) return nullptr;

    if (auto h = movane::create<OwningDhsm>()) {
        h->n           = n;
        h->function    = f;
        h->convergence = convergence ? convergence : default_convergence;
        if (obtain_arrays(*h)) return h.release();
    }
    report.no_resources(0);
    return nullptr;
}

int dhsm_kill(dhsm* h) {
    movane::destroy(static_cast<OwningDhsm*>(h));
    return 0;
}

// --- operations ----------------------------------------------------------------------------

int dhsm_init(dhsm* h, const int* has_lower, const int* has_upper, const double* lower,
              const double* upper, const double* steps, const double* x) {
    const bool bounded = has_lower && has_upper;
    const std::span<const double> start(x, static_cast<std::size_t>(h->n));

    copy(start, vertex(*h, 0));
    for (int i = 1; i <= h->n; ++i) {
        const int k       = i - 1;
        double coordinate = x[k] + steps[k];
        if (bounded && has_upper[k] && upper[k] < coordinate)
            coordinate = has_lower[k] ? x[k] - (x[k] - lower[k]) * kBoundStep : x[k] - 2 * steps[k];

        const Point v = vertex(*h, i);
        copy(start, v);
        v[static_cast<std::size_t>(k)] = coordinate;
    }
    h->initialised = 1;
    return 0;
}

int dhsm_solve(dhsm* h, void* u1, void* u2, void* u3, double tol, double* x, int maxiter,
               double* fmin) {
    const Objective f{*h, u1, u2, u3};
    if (!h->initialised) init_around(h, x);
    for (int i = h->n; i >= 0; --i) h->values[i] = f(vertex(*h, i));

    if (tol == 0) tol = kDefaultTolerance;
    if (maxiter == 0) maxiter = kDefaultIterations;
    solve_tolerance = tol;

    const auto has_converged = [&](const Order& o) noexcept {
        return h->convergence(h, u1, u2, u3, o.highest, o.lowest) < tol;
    };
    int result = 0;
    Order o    = order(*h);
    for (int iterations = 0; !has_converged(o); ++iterations) {
        if (iterations > maxiter) {
            result = -1;
            break;
        }
        step(*h, f, o);
        o = order(*h);
    }

    copy(vertex(*h, o.lowest), {x, static_cast<std::size_t>(h->n)});
    *fmin          = h->values[o.lowest];
    h->initialised = 0;
    return result;
}
