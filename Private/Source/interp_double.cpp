// Linear interpolation of doubles between the points of a function table.
//
// The table's lists are contiguous, so the default ordering needs no calls to be searched: a
// proportional guess first, which is right at once in evenly spaced tables, then bisection.
// list_pos() defines the answer. Among sorted keys there is but one border between those not
// above x and those above, however it is found; keys that are out of order (a point was replaced
// by one from elsewhere, or is not a number) are left to list_pos(), whose probes then matter.

#include "movane/interpolation.h"

#include "movane/foundation.h"

#include "Support/memory.h"
#include "Support/report.h"

#include <cmath>
#include <utility>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/interp_double"};

constexpr double kLeastDistance = 1e-20;  // of the ends of a segment

}  // namespace

// Invariants, restored by every function that changes points: x, y and count are the lists of
// `table`; without default ordering is_searchable is false, else it tells that x ascends without
// numbers that are none; steps_per_x is the number of segments by the width of them all.
struct lin_interp_double {
    int ext;
    movane_func* table;
    func_predicate compare;
    const double* x;
    const double* y;
    int count;
    bool is_searchable;
    double steps_per_x;

    ~lin_interp_double() { func_kill(table); }
};

namespace {

// --- the invariants --------------------------------------------------------------------------

bool is_ascending(const lin_interp_double& t, int first, int last) {
    for (int i = first; i < last; ++i) {
        if (!(t.x[i] <= t.x[i + 1])) return false;
    }
    return true;
}

void look_at_table(lin_interp_double& t) {
    void* x = nullptr;
    void* y = nullptr;
    t.count = func_num(t.table);
    if (t.count > 0) func_get_point(t.table, 0, &x, &y);
    t.x           = static_cast<const double*>(x);
    t.y           = static_cast<const double*>(y);
    t.steps_per_x = t.count > 1 ? (t.count - 1) / (t.x[t.count - 1] - t.x[0]) : 0;
}

void note_whole_table(lin_interp_double& t) {
    look_at_table(t);
    t.is_searchable = t.compare == xsort_int && is_ascending(t, 0, t.count - 1);
}

// In a searchable table a look at the neighbours is enough.
void note_insertion(lin_interp_double& t, int index) {
    look_at_table(t);
    const int first = index > 0 ? index - 1 : 0;
    const int last  = index + 1 < t.count ? index + 1 : index;
    t.is_searchable = t.is_searchable && is_ascending(t, first, last);
}

bool has_table(const lin_interp_double* t) {
    if (t && t->table) return true;
    report("lin_interp_double_getp : Not properly initialized");
    return false;
}

// --- segments --------------------------------------------------------------------------------

// Index of the first key above x.
int border(const lin_interp_double& t, double x) {
    if (!t.is_searchable) return func_pos(t.table, &x);
    if (t.x[0] > x) return 0;
    if (!(t.x[t.count - 1] > x)) return t.count;

    // From here on x[low] <= x < x[high].
    int low = 0, high = t.count - 1;
    const double steps = (x - t.x[0]) * t.steps_per_x;
    if (steps >= 0 && steps < high) {  // infinite keys give other steps, or none
        const int guess = static_cast<int>(steps);
        if (t.x[guess] > x) {
            high = guess;
        } else if (t.x[guess + 1] > x) {
            return guess + 1;
        } else {
            low = guess + 1;
        }
    }
    while (high - low > 1) {
        const int middle               = (low + high) / 2;
        (t.x[middle] > x ? high : low) = middle;
    }
    return high;
}

int on_segment(const lin_interp_double& t, int at, int partner, double x, double* y) {
    const double dx = t.x[partner] - t.x[at];
    if (std::fabs(dx) <= kLeastDistance) {
        report("lin_interp : not a function !!");
        return -1;
    }
    *y = t.y[at] + (x - t.x[at]) * (t.y[partner] - t.y[at]) / dx;
    return 0;
}

bool has_segments(const lin_interp_double* t) {
    if (t && t->count >= 2) return true;
    report("lin_interp : too little function points");
    return false;
}

}  // namespace

// --- life cycle --------------------------------------------------------------------------------

lin_interp_double* lin_interp_double_new(int ext, func_predicate compare) {
    if (auto t = movane::create<lin_interp_double>()) {
        t->ext     = ext;
        t->compare = compare ? compare : xsort_int;
        t->table   = func_new(ext, sizeof(double), sizeof(double), t->compare);
        if (t->table) {
            note_whole_table(*t);
            return t.release();
        }
    }
    report("lin_interp : Cannot create new instance of double interpolator");
    return nullptr;
}

int lin_interp_double_kill(lin_interp_double* t) {
    movane::destroy(t);
    return 0;
}

// --- points ------------------------------------------------------------------------------------

int lin_interp_double_insert(lin_interp_double* t, double x, double y) {
    if (!has_table(t)) return -1;
    const int index = func_insert(t->table, &x, &y);
    // A failure may have moved the lists all the same.
    if (index < 0) {
        look_at_table(*t);
        return -1;
    }
    note_insertion(*t, index);
    return 0;
}

int lin_interp_double_changep(lin_interp_double* t, int index, double x, double y) {
    if (!has_table(t) || func_changep(t->table, index, &x, &y) < 0) return -1;
    note_whole_table(*t);
    return 0;
}

int lin_interp_double_getp(const lin_interp_double* t, int index, double* x, double* y) {
    if (!has_table(t) || index < 0 || index >= t->count) return -1;
    *x = t->x[index];
    *y = t->y[index];
    return 0;
}

int lin_interp_double_num(const lin_interp_double* t) { return t ? t->count : 0; }

// --- interpolation -----------------------------------------------------------------------------

int lin_interp_double_inter(const lin_interp_double* t, double x, double* y) {
    if (!has_segments(t)) return -1;
    int at = border(*t, x);
    if (at >= t->count) at = t->count - 1;
    return on_segment(*t, at, at == 0 ? 1 : at - 1, x, y);
}

int lin_interp_double_inextp(const lin_interp_double* t, double x, double* y) {
    if (!has_segments(t)) return -1;
    const int at = border(*t, x);
    if (at > 0 && at < t->count) return on_segment(*t, at, at - 1, x, y);
    *y = t->y[at == 0 ? 0 : t->count - 1];
    return 0;
}

lin_interp_double* lin_interp_double_invert(const lin_interp_double* t, func_predicate compare) {
    if (t) {
        movane::Owned<lin_interp_double> inverse(lin_interp_double_new(t->ext, compare));
        movane_func* const table = inverse ? func_invert(t->table, inverse->compare) : nullptr;
        if (table) {
            func_kill(std::exchange(inverse->table, table));
            note_whole_table(*inverse);
            return inverse.release();
        }
    }
    report("lin_interp_double : cannot create inverted object");
    return nullptr;
}

int lin_interp_double_subst(lin_interp_double* t, double x, double y, double tolerance) {
    if (!has_table(t)) return -1;
    if (t->count == 0) return lin_interp_double_insert(t, x, y);

    int nearest     = 0;
    double distance = std::fabs(t->x[0] - x);
    for (int i = 1; i < t->count; ++i) {
        const double other = std::fabs(t->x[i] - x);
        if (other < distance) {
            nearest  = i;
            distance = other;
        }
    }
    return distance < tolerance ? lin_interp_double_changep(t, nearest, x, y)
                                : lin_interp_double_insert(t, x, y);
}
