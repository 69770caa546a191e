// Real roots of polynomials.
//
// The cubic has a closed form: without its square term it is s^3 - 3 Q s + 2 R. The root that is
// alone, or of three the one apart from the other two, comes from a cube root or the trigonometric
// form, which are accurate there. They are not for the other two when these are close together, or
// when the first is far away, as with curves whose cubic term is small. So these two are measured
// from the turning point between them, where the sign of the polynomial tells whether they exist.
//
// Higher degrees: between neighbouring roots of its derivative a polynomial is monotone and has
// one root at most, which is enclosed and cannot be missed.

#include "Source/bezierd_roots.h"

#include "Source/bezierd.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace movane {
namespace {

constexpr double kCoincident    = 1e-10;
constexpr double kTouching      = 1e-12;  // of the sum of the coefficients' sizes
constexpr double kRootPrecision = 1e-12;
constexpr int kNewtonSteps      = 2;

double slope(const double* c, int degree, double t) {
    double value = 0.0;
    for (int k = degree; k >= 1; --k) value = value * t + k * c[k];
    return value;
}

// --- cubic -----------------------------------------------------------------------------------

// The cubic without its square term, in s = t - centre.
struct Depressed {
    double centre, q, r;

    explicit Depressed(const double* m)
        : centre(-m[2] / 3.0), q(centre * centre - m[1] / 3.0), r(horner(m, 3, centre) * 0.5) {}
};

// The only root, or of three the one apart from the other two.
double lone_root(const Depressed& d) {
    const double size   = std::fabs(d.r);
    const double height = std::fabs(d.q) * std::sqrt(std::fabs(d.q));  // |Q|^(3/2)

    double distance;
    if (d.q > 0.0 && size < height) {
        distance = 2.0 * std::sqrt(d.q) * std::cos(std::acos(size / height) / 3.0);
    } else {
        const double root = d.q > 0.0 ? std::sqrt(size - height) * std::sqrt(size + height)
                                      : std::hypot(size, height);
        const double a    = std::cbrt(size + root);
        distance          = a == 0.0 ? 0.0 : a + d.q / a;
    }
    return d.centre - std::copysign(distance, d.r);
}

// Newton's method as long as it brings the polynomial closer to 0.
double polished(const double* m, double t) {
    double value = horner(m, 3, t);
    for (int step = 0; step < kNewtonSteps; ++step) {
        const double next       = t - value / slope(m, 3, t);
        const double next_value = horner(m, 3, next);
        if (!(std::fabs(next_value) < std::fabs(value))) break;
        t     = next;
        value = next_value;
    }
    return t;
}

// Whether the polynomial is 0 at t as far as its evaluation can tell.
bool vanishes(const double* m, double t) {
    constexpr double kRounding = 4.0 * std::numeric_limits<double>::epsilon();
    const double size          = std::fabs(t);
    const double sizes =
        ((size + std::fabs(m[2])) * size + std::fabs(m[1])) * size + std::fabs(m[0]);
    return std::fabs(horner(m, 3, t)) <= kRounding * sizes;
}

// --- any degree --------------------------------------------------------------------------------

// The root between two points where the polynomial has opposite signs: Newton's method, and
// bisection whenever a step would leave the bracket or does not halve the one before.
double enclosed_root(const double* c, int degree, double low, double high) {
    const bool rises = horner(c, degree, low) < 0.0;
    double t         = 0.5 * (low + high);
    double last_step = high - low;
    while (std::fabs(last_step) > kRootPrecision) {
        const double value = horner(c, degree, t);
        if (value == 0.0) break;
        ((value < 0.0) == rises ? low : high) = t;

        double next = t - value / slope(c, degree, t);
        const bool taken =
            next > low && next < high && std::fabs(next - t) <= 0.5 * std::fabs(last_step);
        if (!taken) next = 0.5 * (low + high);
        last_step = next - t;
        t         = next;
    }
    return t;
}

}  // namespace

int cubic_roots(const double* m, double* roots) noexcept {
    const Depressed d(m);
    double found[3] = {polished(m, lone_root(d))};
    if (!std::isfinite(found[0])) return 0;

    int count = 1;
    if (d.q > 0.0) {
        const double offset = std::copysign(std::sqrt(d.q), d.r);
        double turn         = d.centre + offset;
        turn -= slope(m, 3, turn) / (6.0 * turn + 2.0 * m[2]);

        const double value = horner(m, 3, turn);
        if (vanishes(m, turn)) {
            if (vanishes(m, d.centre - offset)) {
                found[0] = d.centre;  // a triple root
            } else {
                found[count++] = turn;
            }
        } else if (std::signbit(value) != std::signbit(d.r)) {
            // With u = t - turn there is no linear term: the roots' products in pairs add to 0.
            const double lone     = found[0] - turn;
            const double half_sum = 0.5 * value / (lone * lone);
            const double product  = -value / lone;
            const double half_gap = std::sqrt(half_sum * half_sum - product);
            found[count++]        = polished(m, turn + (half_sum - half_gap));
            found[count++]        = polished(m, turn + (half_sum + half_gap));
        }
    }
    std::sort(found, found + count);

    const auto coincide = [](double lower, double upper) { return upper - lower < kCoincident; };
    const double* const end = std::unique(found, found + count, coincide);
    return static_cast<int>(std::copy(static_cast<const double*>(found), end, roots) - roots);
}

int roots_between(const double* c, int degree, double low, double high, double* roots) noexcept {
    // The borders of the monotone stretches: low, the roots of the derivative, high.
    double borders[kHighestDegree + 1];
    int last = 1;
    if (degree > 1) {
        double derivative[kHighestDegree];
        for (int k = 1; k <= degree; ++k) derivative[k - 1] = k * c[k];
        last += roots_between(derivative, degree - 1, low, high, borders + 1);
    }
    borders[0]    = low;
    borders[last] = high;

    double sizes = 0.0;
    for (int k = 0; k <= degree; ++k) sizes += std::fabs(c[k]);
    const auto value_at = [&](double t) {
        const double value = horner(c, degree, t);
        return std::fabs(value) <= kTouching * sizes ? 0.0 : value;
    };

    int count    = 0;
    double value = value_at(low);
    if (value == 0.0) roots[count++] = low;
    for (int i = 1; i <= last; ++i) {
        const double before = value;
        value               = value_at(borders[i]);
        if (before == 0.0) continue;  // this stretch has its root already
        if (value == 0.0) {
            roots[count++] = borders[i];
        } else if ((before < 0.0) != (value < 0.0)) {
            roots[count++] = enclosed_root(c, degree, borders[i - 1], borders[i]);
        }
    }
    return count;
}

}  // namespace movane
