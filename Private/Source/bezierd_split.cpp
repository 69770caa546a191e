// Bezier curves: splitting, and conversion to polylines.
//
// The adaptive polyline splits where the curve is farthest from its chord until the pieces are
// flat. The uniform one derives a section count from the second derivative, which bounds the
// distance of curve and chord, and runs through the parameters by forward differencing.

#include "movane/foundation.h"
#include "movane/numerics.h"

#include "Source/bezierd.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/bezierd_split"};

constexpr int kPointBytes      = 16;  // two doubles
constexpr int kArrayGrowth     = 500;
constexpr int kDeepest         = 30;
constexpr double kMostSections = 67108864.0;  // 2^26

// process-wide: the points that the running bezier_vector() has stored.
constinit int point_count = 0;

struct Kill {
    void operator()(Bezier* b) const noexcept { bezier_kill(b); }
};
using Curve = std::unique_ptr<Bezier, Kill>;

// --- flatness --------------------------------------------------------------------------------

struct Deviation {
    double t, distance;
};

Deviation deviation_of_quadratic(const Bezier& b) {
    return {0.5,
            0.25 * movane::approx_len(2 * b.x[1] - b.x[0] - b.x[2], 2 * b.y[1] - b.y[0] - b.y[2])};
}

Deviation deviation_of_cubic(const Bezier& b) {
    const double d1x = b.x[1] - b.x[0], d1y = b.y[1] - b.y[0];
    const double d2x = b.x[2] - b.x[0], d2y = b.y[2] - b.y[0];
    const double d3x = b.x[3] - b.x[0], d3y = b.y[3] - b.y[0];
    if (d3x == 0 && d3y == 0)
        return {0.5, std::sqrt(std::max(d1x * d1x + d1y * d1y, d2x * d2x + d2y * d2y))};

    // Chord length times the signed distance of the inner points.
    const double q1 = d1y * d3x - d1x * d3y;
    const double q2 = d2y * d3x - d2x * d3y;
    if (q1 == q2) return {0.5, std::fabs(0.375 * q1 + 0.375 * q2)};  // sic: not over the length

    const double length     = movane::approx_len(d3x, d3y);
    const double root       = std::sqrt(q1 * (q1 - q2) + q2 * q2);
    const auto deviation_at = [&](double t) {
        if (!(t >= 0 && t <= 1)) return Deviation{t, 0};
        return Deviation{t, std::fabs(3 * t * (1 - t) * ((1 - t) * q1 / length + t * q2 / length))};
    };
    const Deviation a = deviation_at((2 * q1 - q2 + root) / (3 * (q1 - q2)));
    const Deviation c = deviation_at((2 * q1 - q2 - root) / (3 * (q1 - q2)));
    return a.distance >= c.distance ? a : c;
}

// --- splitting -------------------------------------------------------------------------------

// One coordinate by de Casteljau: left takes the first point of every level, right the last.
void split_polygon(const double* p, int degree, double t, double* left, double* right) {
    double level[4];
    std::copy_n(p, degree + 1, level);
    for (int last = degree; last >= 0; --last) {
        left[degree - last] = level[0];
        right[last]         = level[last];
        for (int i = 0; i < last; ++i) level[i] = (1 - t) * level[i] + t * level[i + 1];
    }
}

// --- adaptive polyline -------------------------------------------------------------------------

void append_point(movane_dynar* points, double x, double y) {
    void* const slot = dynar_ptr(points, point_count);
    if (!slot) return;
    const double point[2] = {x, y};
    std::memcpy(slot, point, sizeof point);
    ++point_count;
}

// Appends the end of every flat piece of the curve. A piece, which is the caller's curve only at
// depth 0, is given up before its halves are treated.
void append_pieces(Bezier* b, Curve piece, int depth, double bound, movane_dynar* points) {
    double t, distance;
    bezier_vector_error(b, &t, &distance);
    Bezier *first, *second;
    if (distance > bound && depth < kDeepest && bezier_subdivide(b, t, &first, &second)) {
        Curve left(first), right(second);
        piece.reset();
        append_pieces(first, std::move(left), depth + 1, bound, points);
        append_pieces(second, std::move(right), depth + 1, bound, points);
    } else {
        append_point(points, b->x[3], b->y[3]);  // sic: whatever the degree
    }
}

// --- uniform polyline --------------------------------------------------------------------------

// Truncates. A count beyond all use is cut, one that is not a number is 1.
int section_count(double sections) {
    if (std::isnan(sections)) return 1;
    return static_cast<int>(std::min(sections, kMostSections));
}

// The largest second derivative over 2, as a length.
double bend(const Bezier& b) {
    const double at_start = movane::approx_len(b.ax[2], b.ay[2]);
    if (b.degree == 2) return at_start;
    const double at_end = movane::approx_len(3 * b.ax[3] + b.ax[2], 3 * b.ay[3] + b.ay[2]);
    return std::max(at_end, at_start);
}

// The differences of one coordinate over a step h, and the value they lead to.
struct Differences {
    double value, first, second, third;

    Differences(const double* a, int degree, double h) : value(a[0]) {
        const double h2 = h * h;
        const double h3 = h2 * h;
        if (degree == 2) {
            first  = a[1] * h + a[2] * h2;
            second = 2 * a[2] * h2;
            third  = -0.0;  // added, it changes nothing, not even the sign of a zero
        } else {
            first  = a[1] * h + a[2] * h2 + a[3] * h3;
            second = 2 * a[2] * h2 + 6 * a[3] * h3;
            third  = 6 * a[3] * h3;
        }
    }

    void advance() {
        value += first;
        first += second;
        second += third;
    }
};

}  // namespace

int bezier_vector_error(Bezier* b, double* t, double* err) {
    Deviation largest{0, 0};
    if (b->degree == 2) largest = deviation_of_quadratic(*b);
    if (b->degree == 3) largest = deviation_of_cubic(*b);
    *t   = largest.t;
    *err = largest.distance;
    if (b->degree == 2 || b->degree == 3) return 1;
    report("Bezier_vector_error : illegal degree");
    return 0;
}

int bezier_subdivide(Bezier* b, double t, Bezier** left, Bezier** right) {
    *left  = nullptr;
    *right = nullptr;
    if (!(t >= 0 && t <= 1)) {
        report("Bezier_subdivide: illegal t value");
        return 0;
    }
    const int degree = b->degree;
    if (degree > 3) {
        report("Bezier_subdivide: illegal degree");
        return 0;
    }
    Curve first(bezier_new(degree, b->x[0], b->y[0], 0, 0));
    Curve second(bezier_new(degree, 0, 0, b->x[degree], b->y[degree]));
    if (!first || !second) {
        report("Bezier subdivide: unable to create new Bezier");
        return 0;
    }
    split_polygon(b->x, degree, t, first->x, second->x);
    split_polygon(b->y, degree, t, first->y, second->y);
    *left  = first.release();
    *right = second.release();
    return 1;
}

int bezier_vector(Bezier* b, double bound, movane_dynar** points) {
    if (!*points) *points = dynar_new(kPointBytes, kArrayGrowth);
    if (!*points) {
        report("Bezier_vector: Unable to create vertex array");
        return 0;
    }
    point_count = 0;
    append_point(*points, b->x[0], b->y[0]);
    append_pieces(b, nullptr, 0, bound, *points);
    return point_count - 1;
}

int bezier_fvector_len(Bezier* b, double bound) {
    if (!(bound > 0)) {
        report("Bezier_fvector_len: illegal error bound");
        return 0;
    }
    if (b->degree > 3) {
        report("Bezier_fvector_len: illegal degree");
        return 0;
    }
    movane::update_coefficients(*b);
    const double bending = bend(*b);
    if (b->degree == 2 && bending == 0) {
        dbg("Bezier_fvector_len: vector input");
        return 1;
    }
    if (b->degree == 3 && !(bending > 0)) {
        dbg("Bezier_fvector_len: resorting to secondary error criterium");
        double t, err;
        if (!bezier_vector_error(b, &t, &err)) {
            report("Bezier_fvector_len: unable to get error estimate");
            return 0;
        }
        return section_count(err / bound + 1.0);
    }
    return section_count(1.0 + std::trunc(std::sqrt(bending / (4 * bound))));
}

int bezier_vector_fd(Bezier* b, void* buffer, int nr_sect, int itemsize) {
    if (itemsize == 0) itemsize = kPointBytes;
    if (itemsize < kPointBytes) {
        report("Bezier_vector_fd: illegal itemsize");
        return 0;
    }
    if (nr_sect < 1) {
        report("Bezier_vector_fd: illegal nr_sect");
        return 0;
    }
    const int degree = b->degree;
    if (degree > 3) {
        report("Bezier_vector_fd: illegal degree");
        return 0;
    }
    auto* item           = static_cast<unsigned char*>(buffer);
    const auto put_point = [&](double x, double y) {
        const double point[2] = {x, y};
        std::memcpy(item, point, sizeof point);  // items need not be aligned
        item += itemsize;
    };

    movane::update_coefficients(*b);
    const double h = 1.0 / nr_sect;
    Differences x(b->ax, degree, h);
    Differences y(b->ay, degree, h);
    put_point(b->x[0], b->y[0]);
    for (int i = 1; i < nr_sect; ++i) {
        x.advance();
        y.advance();
        put_point(x.value, y.value);
    }
    put_point(b->x[degree], b->y[degree]);
    return 1;
}

int bezier_fvector(Bezier* b, double bound, double** points) {
    *points            = nullptr;
    const int sections = bezier_fvector_len(b, bound);
    auto vertices      = movane::make_block<double>(2 * (static_cast<std::size_t>(sections) + 1));
    if (!vertices) {
        report("Bezier_fvector: allocation of vertex array failed");
        return 0;
    }
    if (!bezier_vector_fd(b, vertices.get(), sections, kPointBytes)) {
        report("Bezier_fvector:unable to vectorise");
        return 0;
    }
    *points = movane::hand_over(std::move(vertices));
    return sections;
}
