// The nearest point of a line, a segment, a triangle or a tetrahedron.
//
// Every candidate is made from weights that are not negative, so it belongs to the figure however
// badly the weights are conditioned; of all candidates the nearest wins. The inside of a needle or
// of a point-like triangle may thus fail to give one, and an edge takes its place at a distance
// that differs by rounding only. Directions are scaled to the order of 1, so that no square of a
// length leaves the range of doubles on the way.

#include "movane/gamut.h"

#include "Support/point3.h"
#include "predicates.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

using movane::cross;
using movane::dot;
using movane::Point3;

double largest_coordinate(const Point3& p) {
    return std::max({std::fabs(p.x), std::fabs(p.y), std::fabs(p.z)});
}

template <int kCorners>
struct Foot {
    Point3 point;
    double weights[kCorners];
    double distance;  // not its square, which may leave the range of doubles
};

double distance(const Point3& a, const Point3& b) {
    const Point3 d = a - b;
    return std::hypot(d.x, d.y, d.z);
}

// Where on the line through a and b the foot of q lies, 0 at a and 1 at b.
double line_parameter(const Point3& q, const Point3& a, const Point3& b) {
    const Point3 d      = b - a;
    const double length = largest_coordinate(d);
    if (!(length > 0)) return 0.0;
    const Point3 direction = d / length;
    return dot(q - a, direction) / dot(direction, direction) / length;
}

Foot<2> on_segment(const Point3& q, const Point3& a, const Point3& b) {
    const double t = line_parameter(q, a, b);
    // From the nearer end, so that the foot does not depend on the direction of the segment.
    if (t <= 0.5) {
        const double share = t > 0 ? t : 0.0;
        const Point3 foot  = a + (b - a) * share;
        return {foot, {1 - share, share}, distance(q, foot)};
    }
    const double back  = line_parameter(q, b, a);
    const double share = back > 0 ? back : 0.0;
    const Point3 foot  = b + (a - b) * share;
    return {foot, {share, 1 - share}, distance(q, foot)};
}

// The foot on the plane, if it lies in the triangle, takes the place of a farther one.
void consider_inside(const Point3& q, const Point3 (&corners)[3], Foot<3>& best) {
    const Point3 to_b = corners[1] - corners[0], to_c = corners[2] - corners[0];
    const double scale = std::max(largest_coordinate(to_b), largest_coordinate(to_c));
    if (!(scale > 0)) return;
    const Point3 b = to_b / scale, c = to_c / scale, p = (q - corners[0]) / scale,
                 normal = cross(b, c);
    const double wb = dot(cross(p, c), normal), wc = dot(cross(b, p), normal),
                 wa = dot(cross(b - p, c - p), normal), sum = wa + wb + wc;
    if (!(wa >= 0 && wb >= 0 && wc >= 0 && sum > 0)) return;
    const Point3 foot = corners[0] + to_b * (wb / sum) + to_c * (wc / sum);
    const double away = distance(q, foot);
    if (away <= best.distance) best = {foot, {wa / sum, wb / sum, wc / sum}, away};
}

Foot<3> on_triangle(const Point3& q, const Point3 (&corners)[3]) {
    Foot<3> best{corners[0], {1, 0, 0}, distance(q, corners[0])};
    for (int i = 0; i < 3; ++i) {
        const int j        = (i + 1) % 3;
        const Foot<2> foot = on_segment(q, corners[i], corners[j]);
        if (!(foot.distance < best.distance)) continue;
        best            = {foot.point, {0, 0, 0}, foot.distance};
        best.weights[i] = foot.weights[0];
        best.weights[j] = foot.weights[1];
    }
    consider_inside(q, corners, best);
    return best;
}

// The nearest point of the four faces.
Foot<4> on_faces(const Point3& q, const Point3 (&corners)[4]) {
    Foot<4> best{q, {}, 0};
    for (int i = 0; i < 4; ++i) {
        const int on[]     = {(i + 1) % 4, (i + 2) % 4, (i + 3) % 4};
        const Foot<3> face = on_triangle(q, {corners[on[0]], corners[on[1]], corners[on[2]]});
        if (i > 0 && !(face.distance < best.distance)) continue;
        best = {face.point, {}, face.distance};
        for (int k = 0; k < 3; ++k) best.weights[on[k]] = face.weights[k];
    }
    return best;
}

// Puts q, which lies inside, in the place of the nearest point of the faces. Its weights are each
// corner's share of the volume; but in a sliver, where these are nothing but rounding, those of the
// faces make a point that is nearer.
void replace_by_inside(const Point3& q, const Point3 (&corners)[4], Foot<4>& best) {
    double scale = 0, sum = 0, weights[4];
    for (const Point3& corner : corners) scale = std::max(scale, largest_coordinate(corner - q));
    for (int i = 0; i < 4; ++i) {
        const Point3 a = (corners[(i + 1) % 4] - q) / scale, b = (corners[(i + 2) % 4] - q) / scale,
                     c = (corners[(i + 3) % 4] - q) / scale;
        weights[i]     = std::fabs(dot(a, cross(b, c)));
        sum += weights[i];
    }
    Point3 away(0, 0, 0);
    for (int i = 0; i < 4; ++i) {
        weights[i] /= sum;
        away = away + (corners[i] - q) * weights[i];
    }
    if (std::hypot(away.x, away.y, away.z) <= best.distance) std::copy_n(weights, 4, best.weights);
    best.point = q;
}

// Whether q lies inside or on the border; never in a flat tetrahedron.
bool is_inside(const double* q, const double* const (&p)[4]) {
    const int turn = movane::orient_3d(p[0], p[1], p[2], p[3]);
    return turn != 0 && turn * movane::orient_3d(q, p[1], p[2], p[3]) >= 0 &&
           turn * movane::orient_3d(p[0], q, p[2], p[3]) >= 0 &&
           turn * movane::orient_3d(p[0], p[1], q, p[3]) >= 0 &&
           turn * movane::orient_3d(p[0], p[1], p[2], q) >= 0;
}

template <int kCorners>
double deliver(const Point3& q, const Foot<kCorners>& foot, double* point, double* weights) {
    foot.point.store(point);
    if (weights) std::copy_n(foot.weights, kCorners, weights);
    const Point3 missing = q - foot.point;
    return dot(missing, missing);
}

}  // namespace

double proj_point_line(const double* q, const double* a, const double* b, double* foot, double* t) {
    const Point3 point(q), from(a), to(b), d = to - from;
    const double length = largest_coordinate(d);
    // Not by way of the parameter, which is huge when q is far from a short line.
    const Point3 direction = length > 0 ? d / length : d;
    const double along =
        length > 0 ? dot(point - from, direction) / dot(direction, direction) : 0.0;
    const Point3 nearest = from + direction * along;
    nearest.store(foot);
    if (t) *t = line_parameter(point, from, to);
    const Point3 missing = point - nearest;
    return dot(missing, missing);
}

double proj_point_segment(const double* q, const double* a, const double* b, double* foot,
                          double* t) {
    const Foot<2> nearest = on_segment(Point3(q), Point3(a), Point3(b));
    if (t) *t = nearest.weights[1];
    return deliver<2>(Point3(q), nearest, foot, nullptr);
}

double proj_point_triangle(const double* q, const double* a, const double* b, const double* c,
                           double* foot, double* weights) {
    return deliver(Point3(q), on_triangle(Point3(q), {Point3(a), Point3(b), Point3(c)}), foot,
                   weights);
}

double proj_point_tetra(const double* q, const double* a, const double* b, const double* c,
                        const double* d, double* foot, double* weights) {
    const double* const given[] = {a, b, c, d};
    const Point3 corners[]      = {Point3(a), Point3(b), Point3(c), Point3(d)};
    const Point3 point(q);
    Foot<4> best = on_faces(point, corners);
    if (movane::are_finite(q, a, b, c, d) && is_inside(q, given))
        replace_by_inside(point, corners, best);
    return deliver(point, best, foot, weights);
}
