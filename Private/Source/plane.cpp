// Planes through triangles, and what a single plane, triangle or line is asked.
//
// Sides are decided by the exact predicates, so that answers about neighbouring triangles never
// contradict one another; a point, once it is known to exist, is computed in plain doubles.

#include "movane/gamut.h"

#include "Support/memory.h"
#include "Support/point3.h"
#include "plane.h"
#include "predicates.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

// Hosts read the records.
static_assert(sizeof(volume_point) == 4 * sizeof(double));
static_assert(offsetof(volume_plane, corner_a) == 4 * sizeof(double));
static_assert(offsetof(volume_plane, centroid) == 16 * sizeof(double));
static_assert(offsetof(volume_plane, flag) == 19 * sizeof(double));

namespace {

using movane::are_finite;
using movane::cross;
using movane::dot;
using movane::orient_2d;
using movane::orient_3d;
using movane::Point3;

constexpr double kShortestLine = 0.01;  // between the two points of a line
constexpr double kLeastNormal  = 0.01;  // square of a normal's length

Point3 position(const volume_point& p) { return {p.x, p.y, p.z}; }

volume_plane plane_through(const volume_point& a, const volume_point& b, const volume_point& c) {
    const Point3 normal   = cross(position(a) - position(c), position(b) - position(c));
    const Point3 centroid = (position(a) + position(b) + position(c)) / 3;
    return {.a        = normal.x,
            .b        = normal.y,
            .c        = normal.z,
            .d        = -dot(normal, position(a)),
            .corner_a = a,
            .corner_b = b,
            .corner_c = c,
            .centroid = {centroid.x, centroid.y, centroid.z},
            .flag     = 0};
}

// Whether no two signs are opposite.
bool do_agree(int a, int b, int c) { return std::min({a, b, c}) >= 0 || std::max({a, b, c}) <= 0; }

}  // namespace

namespace movane {

double crossing_parameter(const Point3& a, const Point3& b, const Point3& c, const Point3& s,
                          const Point3& e) noexcept {
    const Point3 normal = cross(b - a, c - a);
    const double from = dot(normal, s - a), to = dot(normal, e - a);
    const double t = from / (from - to);
    return t >= 0 ? std::min(t, 1.0) : 0.0;  // 0 also for what is not a number
}

}  // namespace movane

// --- planes ----------------------------------------------------------------------------------

volume_plane* plane_new(const volume_plane* plane) {
    if (!plane) return nullptr;
    auto copy = movane::create<volume_plane>();
    if (!copy) return nullptr;
    *copy      = *plane;
    copy->flag = 0;
    return copy.release();
}

volume_plane* plane_new2(const volume_point* a, const volume_point* b, const volume_point* c) {
    if (!a || !b || !c) return nullptr;
    const volume_plane plane = plane_through(*a, *b, *c);
    return plane_new(&plane);
}

int plane_kill(volume_plane* plane) {
    movane::destroy(plane);
    return 0;
}

double plane_get_distance_from_point(const double* q, const volume_point* a, const volume_point* b,
                                     const volume_point* c) {
    if (!q || !a || !b || !c) return -1.0;
    const volume_plane plane = plane_through(*a, *b, *c);
    const double square      = plane.a * plane.a + plane.b * plane.b + plane.c * plane.c;
    if (square < kLeastNormal) return 0.0;
    const double height = plane.a * q[0] + plane.b * q[1] + plane.c * q[2] + plane.d;
    return height * height / square;
}

int plane_intersect_line(const volume_plane* plane, const double* s, const double* e, double* out) {
    if (!plane || !s || !e) return 0;
    const Point3 normal(plane->a, plane->b, plane->c), from(s), direction = Point3(e) - from;
    const double slope = dot(normal, direction);
    if (!(slope != 0)) return 0;
    const Point3 crossing = from - direction * ((dot(normal, from) + plane->d) / slope);
    if (!crossing.is_finite()) return 0;
    crossing.store(out);
    return 1;
}

// --- lines -----------------------------------------------------------------------------------

double line_get_distance_from_point(const double* q, const double* s, const double* e) {
    if (!q || !s || !e) return -1.0;
    const Point3 from(s), direction = Point3(e) - from, to_point = Point3(q) - from;
    const double length = std::sqrt(dot(direction, direction));
    if (length < kShortestLine) return 0.0;
    // The foot of the perpendicular would be at t; the measures are defined with this one.
    const double t       = dot(to_point, direction) / length / length;
    const Point3 foot    = from + direction * t / length;
    const Point3 missing = Point3(q) - foot;
    return dot(missing, missing);
}

// --- triangles -------------------------------------------------------------------------------

double triangle_get_area(const double* a, const double* b, const double* c) {
    if (!a || !b || !c) return -1.0;
    const Point3 base = Point3(a) - Point3(b);
    return std::sqrt(dot(base, base)) * line_get_distance_from_point(c, a, b) * 0.5;
}

int triangle_point_inside(const double* q, const double* a, const double* b, const double* c) {
    if (!q || !a || !b || !c || !are_finite(q, a, b, c)) return 0;
    const Point3 normal = cross(Point3(b) - Point3(a), Point3(c) - Point3(a));
    const double n[]    = {std::fabs(normal.x), std::fabs(normal.y), std::fabs(normal.z)};
    const auto axis     = std::max_element(n, n + 3) - n;
    const auto i = (axis + 1) % 3, j = (axis + 2) % 3;
    const auto turn = [&](const double* p, const double* r, const double* s) {
        return orient_2d(p[i], p[j], r[i], r[j], s[i], s[j]);
    };
    return turn(a, b, c) != 0 && do_agree(turn(a, b, q), turn(b, c, q), turn(c, a, q)) ? 1 : 0;
}

int triangle_intersect_linesegment(const double* a, const double* b, const double* c,
                                   const double* s, const double* e, double* out) {
    return triangle_intersect_linesegment2(a, b, c, s, e, out, nullptr);
}

int triangle_intersect_linesegment2(const double* a, const double* b, const double* c,
                                    const double* s, const double* e, double* out, double* t) {
    if (!a || !b || !c || !s || !e || !are_finite(a, b, c, s, e)) return 0;
    const int start = orient_3d(a, b, c, s), end = orient_3d(a, b, c, e);
    if (start == end) return 0;  // on one side, or both in the plane
    if (!do_agree(orient_3d(s, e, a, b), orient_3d(s, e, b, c), orient_3d(s, e, c, a))) return 0;
    const Point3 from(s), to(e);
    double at = start == 0 ? 0.0 : 1.0;
    if (start != 0 && end != 0)
        at = movane::crossing_parameter(Point3(a), Point3(b), Point3(c), from, to);
    if (at < 1) {
        (from + (to - from) * at).store(out);
    } else {
        to.store(out);
    }
    if (t) *t = at;
    return 1;
}
