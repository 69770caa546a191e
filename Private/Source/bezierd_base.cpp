// Bezier curves: life cycle, control points, evaluation by parameter and by coordinate.
//
// Control points are the truth; the power-basis coefficients are a cache over them, which every
// evaluation brings up to date first. Finding a point by its x means finding the roots of x(t)
// minus that x. Both coordinates are treated alike, so each operation on x and y is written once,
// for the coordinate that is given and the other one.

#include "movane/numerics.h"

#include "Engine/zone.h"
#include "Source/bezierd.h"
#include "Source/bezierd_roots.h"
#include "Support/report.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/bezierd_base"};

constexpr int kRecordWords = 66;  // of 4 bytes
constexpr int kChunkBytes  = 8192;
static_assert(sizeof(Bezier) <= 4 * kRecordWords);

// process-wide: the pool of all curves, made with the first one.
constinit cdl_zone* pool = nullptr;

// --- arithmetic ------------------------------------------------------------------------------

void power_basis(int degree, const double* p, double* a) {
    switch (degree) {
        case 2:
            a[0] = p[0];
            a[1] = 2 * (p[1] - p[0]);
            a[2] = p[0] - 2 * p[1] + p[2];
            break;
        case 3:
            a[0] = p[0];
            a[1] = 3 * (p[1] - p[0]);
            a[2] = 3 * (p[0] - 2 * p[1] + p[2]);
            a[3] = 3 * (p[1] - p[2]) - p[0] + p[3];
            break;
        default:
            a[0] = p[0];
            a[1] = 4 * p[1] - 4 * p[0];
            a[2] = 6 * p[0] - 12 * p[1] + 6 * p[2];
            a[3] = -4 * p[0] + 12 * p[1] - 12 * p[2] + 4 * p[3];
            a[4] = p[0] - 4 * p[1] + 6 * p[2] - 4 * p[3] + p[4];
            break;
    }
}

// --- inverse evaluation ------------------------------------------------------------------------

constexpr double kNegligible     = 1.1920928955078125e-5;  // 100 * 2^-23
constexpr double kLowestAccepted = -1.1920928955078125e-5;
constexpr double kUpperAccepted  = 1.000011920928955;
constexpr double kSearchFrom     = -0.5;  // parameters where the fget pair looks for roots
constexpr double kSearchTo       = 1.5;
constexpr double kRootTolerance  = 1e-10;
constexpr int kMostRoots         = 4;

// What sets the get pair and the fget pair apart.
struct Method {
    int (*cubic)(const double* m, double* roots);
    int highest_degree;
    const char* too_high;
};

int newton_cubic(const double* m, double* root) {
    return fthird_order_eq(m, root, kSearchFrom, kSearchTo, kRootTolerance);
}

// A touching double root is no solution.
int quadratic(const double* m, double* roots) {
    const double discriminant = m[1] * m[1] - 4 * m[0];
    if (discriminant <= 0) return 0;
    roots[0] = (std::sqrt(discriminant) - m[1]) * 0.5;
    roots[1] = (-m[1] - std::sqrt(discriminant)) * 0.5;
    return 2;
}

int monic_roots(const double* m, int degree, const Method& method, double* roots) {
    switch (degree) {
        case 1:
            roots[0] = -m[0];
            return 1;
        case 2:
            return quadratic(m, roots);
        case 3:
            return method.cubic(m, roots);
        default:
            return movane::roots_between(m, degree, kSearchFrom, kSearchTo, roots);
    }
}

// The points where the coordinate `given` of a curve has the value: their coordinate `other`.
int invert(const double* given, const double* other, int degree, double value, const Method& method,
           double* found) {
    int effective = degree;
    while (effective > 0 && std::fabs(given[effective]) < kNegligible) --effective;
    if (effective == 0) {
        report("Bezier_get_y : invalid degree ");  // sic: one text for all four functions
        return 0;
    }
    if (effective > method.highest_degree) {
        report(method.too_high);
        return 0;
    }

    double monic[kMostRoots + 1] = {};
    const double leading         = given[effective];
    for (int k = 0; k <= effective; ++k) monic[k] = given[k] / leading;
    monic[0] -= value / leading;

    double roots[kMostRoots];
    const int root_count = monic_roots(monic, effective, method, roots);
    int count            = 0;
    for (int i = 0; i < root_count; ++i) {
        if (roots[i] > kLowestAccepted && roots[i] < kUpperAccepted)
            found[count++] = movane::horner(other, degree, roots[i]);
    }
    return count;
}

int y_at(Bezier& curve, double x, const Method& method, double* y) {
    movane::update_coefficients(curve);
    return invert(curve.ax, curve.ay, curve.degree, x, method, y);
}

int x_at(Bezier& curve, double y, const Method& method, double* x) {
    movane::update_coefficients(curve);
    return invert(curve.ay, curve.ax, curve.degree, y, method, x);
}

}  // namespace

void movane::update_coefficients(Bezier& curve) noexcept {
    if (curve.coeff_valid) return;
    power_basis(curve.degree, curve.x, curve.ax);
    power_basis(curve.degree, curve.y, curve.ay);
    curve.coeff_valid = 1;
}

double B_poly(int degree, int i, double t) {
    constexpr double kBinomials[][5] = {{1, 2, 1}, {1, 3, 3, 1}, {1, 4, 6, 4, 1}};
    if (degree < 2 || degree > 4) {
        report("B_poly : illegal degree ");
        return -1.0;
    }
    if (i < 0 || i > degree) {
        report(degree == 2 ? "B_poly : illegal index" : "B_poly : illegal index ");
        return -1.0;
    }
    double value = kBinomials[degree - 2][i];
    for (int k = 0; k < i; ++k) value *= t;
    for (int k = i; k < degree; ++k) value *= 1 - t;
    return value;
}

// --- life cycle --------------------------------------------------------------------------------

Bezier* bezier_new(int degree, double x0, double y0, double xn, double yn) {
    if (degree < 2 || degree > 4) {
        report("Bezier_new : illegal degree");
        return nullptr;
    }
    if (!pool) pool = cdl_zcreate(kRecordWords, kChunkBytes);
    void* const place = pool ? cdl_zalloc(pool) : nullptr;
    if (!place) {
        report("Bezier_new : allocation of Bezier failed");
        return nullptr;
    }
    auto* const b = ::new (place) Bezier{};
    b->degree     = degree;
    b->x[0]       = x0;
    b->y[0]       = y0;
    b->x[degree]  = xn;
    b->y[degree]  = yn;
    return b;
}

int bezier_kill(Bezier* b) {
    if (b) cdl_zfree(pool, b);
    return 1;
}

// --- control points ------------------------------------------------------------------------------

int bezier_set_control_poly(Bezier* b, const double* x, const double* y) {
    std::copy_n(x, b->degree + 1, b->x);
    std::copy_n(y, b->degree + 1, b->y);
    b->coeff_valid = 0;
    return 1;
}

int bezier_get_control_poly(Bezier* b, double* x, double* y) {
    std::copy_n(b->x, b->degree + 1, x);
    std::copy_n(b->y, b->degree + 1, y);
    return 1;
}

int bezier_set_endp(Bezier* b, int which, double x, double y) {
    if (which != 0 && which != 1) {
        report("Bezier_set_endp : illegal index");
        return 0;
    }
    const int end = which == 0 ? 0 : b->degree;
    if (b->degree > 2) {
        const int neighbour = which == 0 ? 1 : b->degree - 1;
        b->x[neighbour] += x - b->x[end];
        b->y[neighbour] += y - b->y[end];
    }
    b->x[end]      = x;
    b->y[end]      = y;
    b->coeff_valid = 0;
    movane::update_coefficients(*b);
    return 1;
}

int bezier_get_endp(Bezier* b, int which, double* x, double* y) {
    if (which != 0 && which != 1) {
        report("Bezier_get_endp : illegal index");
        return 0;
    }
    const int end = which == 0 ? 0 : b->degree;
    *x            = b->x[end];
    *y            = b->y[end];
    return 1;
}

int bezier_set_controlp(Bezier* b, int i, double x, double y) {
    if (i < 0 || i > b->degree - 2) {
        report("Bezier_set_controlp : illegal ind");
        return 0;
    }
    b->x[i + 1]    = x;
    b->y[i + 1]    = y;
    b->coeff_valid = 0;
    return 1;
}

int bezier_get_controlp(Bezier* b, int i, double* x, double* y) {
    if (i < 0 || i > b->degree - 2) {
        report("Bezier_get_controlp : illegal ind");
        return 0;
    }
    *x = b->x[i + 1];
    *y = b->y[i + 1];
    return 1;
}

// --- evaluation ------------------------------------------------------------------------------

void bezier_get(Bezier* b, double t, double* x, double* y) {
    movane::update_coefficients(*b);
    *x = movane::horner(b->ax, b->degree, t);
    *y = movane::horner(b->ay, b->degree, t);
}

int bezier_get_y(Bezier* b, double x, double* y) {
    return y_at(*b, x,
                {movane::cubic_roots, 3, "Bezier_get_y : Sorry no support for higher order (>3)"},
                y);
}

int bezier_get_x(Bezier* b, double y, double* x) {
    return x_at(*b, y,
                {movane::cubic_roots, 3, "Bezier_get_x : Sorry no support for higher order (>3)"},
                x);
}

int bezier_fget_y(Bezier* b, double x, double* y) {
    return y_at(*b, x, {newton_cubic, 4, "Bezier_get_y : Sorry no support for higher order (>4)"},
                y);
}

int bezier_fget_x(Bezier* b, double y, double* x) {
    return x_at(*b, y, {newton_cubic, 4, "Bezier_get_x : Sorry no support for higher order (>4)"},
                x);
}
