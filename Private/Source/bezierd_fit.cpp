// Bezier curves: control polygons through points, and the least-squares fit of a cubic.
//
// The fit alternates two steps, each of which can only bring curve and points closer. With the
// parameters of the points fixed, the inner control points that minimise the squared distances
// solve a linear system; with the curve fixed, each parameter moves towards the foot of its point's
// perpendicular.
// After M. Plass and M. Stone, "Curve-fitting with piecewise parametric cubics", Computer Graphics
// 17(3), 1983.

#include "movane/numerics.h"

#include "Engine/runtime.h"
#include "Source/bezierd.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>
#include <utility>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/bezierd_fit"};

constexpr int kMostPasses   = 21;
constexpr int kNewtonSteps  = 4;
constexpr double kSmallMove = 0.001;  // of a parameter
constexpr double kNearStart = 0.1;    // of the way along three points
constexpr double kNearEnd   = 0.9;

struct Point {
    double x, y;
};

Point operator+(Point a, Point b) { return {a.x + b.x, a.y + b.y}; }
Point operator-(Point a, Point b) { return {a.x - b.x, a.y - b.y}; }
Point operator*(double s, Point a) { return {s * a.x, s * a.y}; }
Point operator/(Point a, double s) { return {a.x / s, a.y / s}; }
double dot(Point a, Point b) { return a.x * b.x + a.y * b.y; }
double length(Point a) { return std::sqrt(dot(a, a)); }

Point control_point(const Bezier& b, int i) { return {b.x[i], b.y[i]}; }

void set_control_point(Bezier& b, int i, Point p) {
    b.x[i]        = p.x;
    b.y[i]        = p.y;
    b.coeff_valid = 0;
}

void set_polygon(Bezier& b, Point p0, Point p1, Point p2, Point p3) {
    set_control_point(b, 0, p0);
    set_control_point(b, 1, p1);
    set_control_point(b, 2, p2);
    set_control_point(b, 3, p3);
}

// --- control polygon through points --------------------------------------------------------------

// One coordinate: the inner control points of the curve that is at p[i] for t = i/degree.
//
// a      room for (degree-1)^2 doubles
// inner  receives degree-1 control points
bool solve_polygon(const double* p, int degree, double* a, double* inner) {
    const int unknowns = degree - 1;
    for (int i = 0; i < unknowns; ++i) {
        const double t = static_cast<double>(i + 1) / degree;
        for (int j = 0; j < unknowns; ++j) a[i * unknowns + j] = B_poly(degree, j + 1, t);
        inner[i] = p[i + 1] - B_poly(degree, 0, t) * p[0] - B_poly(degree, degree, t) * p[degree];
    }
    return gaussd(a, inner, unknowns) != 0;
}

// --- few points --------------------------------------------------------------------------------

struct Errors {
    double lse, largest;
};

Errors fit_two(Bezier& b, Point from, Point to) {
    set_polygon(b, from, from, to, to);
    return {0, 0};
}

Errors fit_three(Bezier& b, Point first, Point middle, Point last) {
    const double before = length(middle - first);
    const double behind = length(last - middle);
    const double t      = before + behind > 0 ? before / (before + behind) : 0.5;
    const double u      = 1 - t;

    // A middle point on an end is met by every curve; there is nothing to divide by then.
    const bool clear_of_ends    = t >= kNearStart && t <= kNearEnd;
    const bool level_or_upright = first.x == last.x || first.y == last.y;
    if (clear_of_ends || (level_or_upright && t > 0 && t < 1)) {
        const Point inner =
            (middle - u * u * u * first - t * t * t * last) / (3 * t * u * u + 3 * t * t * u);
        set_polygon(b, first, inner, inner, last);
        return {0, 0};
    }
    set_polygon(b, first, first, last, last);
    const Point chord = last - first, arm = middle - first;
    const double cross    = arm.x * chord.y - arm.y * chord.x;
    const double distance = std::fabs(cross) / movane::approx_len(chord.x, chord.y);
    return {distance, distance};
}

// --- least squares -------------------------------------------------------------------------------

// A point of the sequence, its parameter, and how far the curve at the parameter misses it.
struct Sample {
    double t;
    Point point;
    Point miss;
    double move;  // of t, in the running pass
};
static_assert(sizeof(Sample) == 6 * sizeof(double));

// The freedom of inner control point 1 or 2: where it may move, starting from its end point.
struct Unknown {
    int inner;
    Point direction;
};

struct Unknowns {
    int count = 0;
    Unknown each[4];

    void free_along(int inner, Point direction) { each[count++] = {inner, direction}; }
};

Unknowns unknowns_of(const Bezier& b) {
    Unknowns unknowns;
    const auto free_point = [&](int inner, bool along_tangent, Point tangent) {
        if (along_tangent) return unknowns.free_along(inner, tangent);
        unknowns.free_along(inner, {1, 0});
        unknowns.free_along(inner, {0, 1});
    };
    free_point(1, b.start_tangent_set != 0, {b.start_tangent_x, b.start_tangent_y});
    free_point(2, b.end_tangent_set != 0, {b.end_tangent_x, b.end_tangent_y});
    return unknowns;
}

// Chord lengths along the sequence, from 0 to 1.
void set_initial_parameters(std::span<Sample> samples) {
    const std::size_t last = samples.size() - 1;
    samples[0].t           = 0;
    for (std::size_t i = 1; i <= last; ++i)
        samples[i].t = samples[i - 1].t + length(samples[i].point - samples[i - 1].point);

    const double total = samples[last].t;
    for (std::size_t i = 0; i <= last; ++i) {
        samples[i].t =
            total > 0 ? samples[i].t / total : static_cast<double>(i) / static_cast<double>(last);
    }
}

// Sets the inner control points: the normal equations in terms of their moves from the end points.
void place_inner_points(Bezier& b, std::span<const Sample> inner, const Unknowns& unknowns) {
    const Point p0 = control_point(b, 0), p3 = control_point(b, 3);
    double products[2][2] = {};  // of the weights of the inner control points
    Point pulls[2]        = {};
    for (const Sample& s : inner) {
        const double t = s.t, u = 1 - t;
        const double weight[2] = {3 * t * u * u, 3 * t * t * u};
        const Point unmoved    = (u * u * u + weight[0]) * p0 + (t * t * t + weight[1]) * p3;
        const Point missing    = s.point - unmoved;
        for (int k = 0; k < 2; ++k) {
            for (int l = 0; l < 2; ++l) products[k][l] += weight[k] * weight[l];
            pulls[k] = pulls[k] + weight[k] * missing;
        }
    }

    const int n = unknowns.count;
    double a[16];
    double moves[4];
    for (int k = 0; k < n; ++k) {
        const Unknown& row = unknowns.each[k];
        for (int l = 0; l < n; ++l) {
            const Unknown& column = unknowns.each[l];
            a[k * n + l] =
                products[row.inner - 1][column.inner - 1] * dot(row.direction, column.direction);
        }
        moves[k] = dot(row.direction, pulls[row.inner - 1]);
    }
    if (!gaussd(a, moves, n)) {
        report("Bezier_fit : system without solution");
        std::fill_n(moves, n, 0.0);
    }

    Point placed[2] = {p0, p3};
    for (int k = 0; k < n; ++k) {
        Point& p = placed[unknowns.each[k].inner - 1];
        p        = p + moves[k] * unknowns.each[k].direction;
    }
    set_control_point(b, 1, placed[0]);
    set_control_point(b, 2, placed[1]);
}

// --- parameters --------------------------------------------------------------------------------

// The point at t of the curve whose coefficients are valid.
Point point_at(const Bezier& b, double t) {
    return {movane::horner(b.ax, 3, t), movane::horner(b.ay, 3, t)};
}

// Moves a parameter towards the foot of its point's perpendicular, where (K - point) K' is 0.
void refine_parameter(const Bezier& b, Sample& s) {
    const Point a1{b.ax[1], b.ay[1]}, a2{b.ax[2], b.ay[2]}, a3{b.ax[3], b.ay[3]};
    const double before = s.t;
    for (int step = 0; step < kNewtonSteps; ++step) {
        s.miss             = point_at(b, s.t) - s.point;
        const Point first  = s.t * (3 * s.t * a3 + 2 * a2) + a1;
        const Point second = 6 * s.t * a3 + 2 * a2;
        const double slope = dot(first, first) + dot(s.miss, second);
        if (slope == 0) {
            report("Bezier_fit : divide by 0");
            break;
        }
        const double dt = dot(s.miss, first) / slope;
        if (!(s.t - dt > 0 && s.t - dt < 1)) break;
        s.t -= dt;
        if (std::fabs(dt) < kSmallMove) break;
    }
    s.move = std::fabs(s.t - before);
}

void fit_in_passes(Bezier& b, std::span<Sample> inner, bool trace) {
    const Unknowns unknowns = unknowns_of(b);
    double max_dt           = 1;
    for (int pass = 1; pass <= kMostPasses && !(max_dt < kSmallMove); ++pass) {
        place_inner_points(b, inner, unknowns);
        movane::update_coefficients(b);
        max_dt = 0;
        for (Sample& s : inner) {
            refine_parameter(b, s);
            max_dt = std::max(max_dt, s.move);
        }
        if (!trace) continue;
        typefl("  t-iteration # max_dt % \n", pass, max_dt);
        typefl("  xc1 % yc1 % xc2 % yc2 %\n", b.x[1], b.y[1], b.x[2], b.y[2]);
    }
}

Errors errors_of(const Bezier& b, std::span<Sample> inner) {
    double sum = 0, largest = 0;
    for (Sample& s : inner) {
        s.miss              = point_at(b, s.t) - s.point;
        const double square = dot(s.miss, s.miss);
        sum += square;
        if (square > largest || std::isnan(square)) largest = square;
    }
    return {std::sqrt(sum / static_cast<double>(inner.size())), std::sqrt(largest)};
}

Errors fit_many(Bezier& b, std::span<Sample> samples, bool trace) {
    const std::span<Sample> inner = samples.subspan(1, samples.size() - 2);
    set_control_point(b, 0, samples.front().point);
    set_control_point(b, 3, samples.back().point);
    set_initial_parameters(samples);
    fit_in_passes(b, inner, trace);
    const Errors errors = errors_of(b, inner);
    if (trace) {
        typefl("  maxE % \n", errors.largest);
        typefl("  LSE  % \n", errors.lse);
    }
    return errors;
}

}  // namespace

int bezier_cpoly_det(Bezier* b, const double* x, const double* y) {
    const int n          = b->degree;
    const int unknowns   = n - 1;
    const int matrix     = unknowns * unknowns;
    const auto work_size = static_cast<std::size_t>(matrix + unknowns);
    const auto work      = movane::make_block<double>(work_size);
    if (!work) {
        report("bezier_cpoly_det: malloc failure");
        return 0;
    }
    double* const a     = work.get();
    double* const inner = a + matrix;
    double polygon_x[5], polygon_y[5];
    for (const auto& [points, polygon] : {std::pair{x, polygon_x}, std::pair{y, polygon_y}}) {
        if (!solve_polygon(points, n, a, inner)) return 0;
        polygon[0] = points[0];
        polygon[n] = points[n];
        std::copy_n(inner, unknowns, polygon + 1);
    }
    return bezier_set_control_poly(b, polygon_x, polygon_y);
}

int bezier_fit(Bezier* b, int nr_points, const double* x, const double* y, int use_start_tangent,
               double start_tx, double start_ty, int use_end_tangent, double end_tx, double end_ty,
               double* lse, double* max_err, int trace) {
    if (b->degree != 3) {
        report("Bezier_fit : degrees other than 3 not implemented yet");
        return 0;
    }
    if (trace > 0) typefl("Bezier_fit\n");
    if (nr_points < 2) {
        report("Bezier_fit : nr_points too small ");
        return 0;
    }
    const auto point = [&](int i) { return Point{x[i], y[i]}; };
    Errors errors;
    if (nr_points == 2) {
        errors = fit_two(*b, point(0), point(1));
    } else if (nr_points == 3) {
        errors = fit_three(*b, point(0), point(1), point(2));
    } else {
        const auto count   = static_cast<std::size_t>(nr_points);
        const auto samples = movane::make_block<Sample>(count);
        if (!samples) {
            report("Bezier_fit : allocation of s failed");
            return 0;
        }
        for (int i = 0; i < nr_points; ++i) samples[i] = {0, point(i), {0, 0}, 0};
        b->start_tangent_set = use_start_tangent;
        b->start_tangent_x   = start_tx;
        b->start_tangent_y   = start_ty;
        b->end_tangent_set   = use_end_tangent;
        b->end_tangent_x     = end_tx;
        b->end_tangent_y     = end_ty;
        errors               = fit_many(*b, {samples.get(), count}, trace > 0);
    }
    *lse     = errors.lse;
    *max_err = errors.largest;
    return 1;
}
