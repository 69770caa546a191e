// Where a segment crosses the planes of a container, and what follows from it: what is inside.
//
// Seen along the segment, a triangle is crossed when its outline encloses the point that the
// segment has become. An edge counts when exactly one of its ends is strictly above that point and
// it passes strictly to the right of it; an odd number of such edges encloses. Each edge is judged
// alike for both of its triangles, and every sign is exact, so a segment through an edge or a
// corner of a closed surface behaves as one moved aside by next to nothing: it is never miscounted.

#include "movane/gamut.h"

#include "Support/memory.h"
#include "Support/point3.h"
#include "plane.h"
#include "predicates.h"
#include "tetra_volume.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

using movane::orient_2d;
using movane::orient_3d;
using movane::Point3;

constexpr double kFarAway = 10000.0;  // x of the end of the segment that tells inside from outside
constexpr double kCoincident = 0.01;  // crossings nearer than this in x, y and z are one

class Segment {
public:
    // What is above is decided without the axis along which the segment extends least: its
    // projection then is no point, unless it is one itself.
    Segment(const double* s, const double* e) : s_(s), e_(e) {
        const Point3 d = Point3(e) - Point3(s);
        const double x = std::fabs(d.x), y = std::fabs(d.y), z = std::fabs(d.z);
        const int least = z <= x && z <= y ? 2 : y <= x ? 1 : 0;
        first_          = least == 0 ? 1 : 0;
        second_         = least == 2 ? 1 : 2;
    }

    [[nodiscard]] bool crosses(const volume_plane& plane) const {
        const double* const corners[] = {&plane.corner_a.x, &plane.corner_b.x, &plane.corner_c.x};
        if (is_apart(corners) || !movane::are_finite(corners[0], corners[1], corners[2]))
            return false;
        const bool above[] = {is_above(corners[0]), is_above(corners[1]), is_above(corners[2])};
        if (above[0] == above[1] && above[1] == above[2]) return false;
        bool is_enclosed = false;
        for (int i = 0; i < 3; ++i) {
            const int j = (i + 1) % 3;
            if (above[i] == above[j]) continue;
            const int upper = above[i] ? i : j, lower = above[i] ? j : i;
            if (orient_3d(s_, e_, corners[lower], corners[upper]) > 0) is_enclosed = !is_enclosed;
        }
        return is_enclosed && is_over(plane, s_) != is_over(plane, e_);
    }

    // Where it crosses a plane that it is known to cross: 0 to 1.
    [[nodiscard]] double parameter(const volume_plane& plane) const {
        return movane::crossing_parameter(Point3(&plane.corner_a.x), Point3(&plane.corner_b.x),
                                          Point3(&plane.corner_c.x), Point3(s_), Point3(e_));
    }

    [[nodiscard]] Point3 at(double t) const { return Point3(s_) + (Point3(e_) - Point3(s_)) * t; }

private:
    // Whether the boxes around the segment and a triangle are apart, which spares most tests.
    [[nodiscard]] bool is_apart(const double* const (&corners)[3]) const {
        for (int k = 0; k < 3; ++k) {
            const auto [low, high] = std::minmax({corners[0][k], corners[1][k], corners[2][k]});
            if (high < std::min(s_[k], e_[k]) || low > std::max(s_[k], e_[k])) return true;
        }
        return false;
    }

    [[nodiscard]] bool is_above(const double* p) const {
        return orient_2d(s_[first_], s_[second_], e_[first_], e_[second_], p[first_], p[second_]) >
               0;
    }

    static bool is_over(const volume_plane& plane, const double* p) {
        return orient_3d(&plane.corner_a.x, &plane.corner_b.x, &plane.corner_c.x, p) > 0;
    }

    const double *s_, *e_;
    int first_, second_;  // the two axes that tell what is above
};

// Calls visit(parameter) for each crossing, in the order of the planes, until it returns false.
template <class Visit>
void for_each_crossing(const tetra_volume& v, const double* s, const double* e, Visit visit) {
    if (!movane::are_finite(s, e)) return;
    const Segment segment(s, e);
    for (int i = 0; i < list_num(v.planes); ++i) {
        const volume_plane* const plane = movane::plane_at(v, i);
        if (plane && segment.crosses(*plane) && !visit(segment.parameter(*plane))) return;
    }
}

}  // namespace

int tetra_volume_line_intersect(const tetra_volume* v, const double* s, const double* e,
                                double* points, int max) {
    if (!v || !s || !e || (!points && max > 0)) return -1;
    const Segment segment(s, e);
    int count = 0;
    for_each_crossing(*v, s, e, [&](double t) {
        if (count < max) segment.at(t).store(points + std::ptrdiff_t{3} * count);
        ++count;
        return true;
    });
    return count;
}

int tetra_volume_line_intersect2(const tetra_volume* v, const double* s, const double* e,
                                 double* points, int max) {
    const int crossings = tetra_volume_line_intersect(v, s, e, nullptr, 0);
    if (crossings < 0 || (!points && max > 0)) return -1;
    const auto parameters = movane::make_block<double>(static_cast<std::size_t>(crossings));
    if (!parameters) return -1;
    double* const begin = parameters.get();
    double* end         = begin;
    for_each_crossing(*v, s, e, [&](double t) {
        *end++ = t;
        return true;
    });
    std::sort(begin, end);

    const Segment segment(s, e);
    int count = 0;
    for (const double* t = begin; t < end; ++t) {
        const Point3 point = segment.at(*t);
        if (t > begin && movane::is_near(point, segment.at(t[-1]), kCoincident)) continue;
        if (count < max) point.store(points + std::ptrdiff_t{3} * count);
        ++count;
    }
    return count;
}

int tetra_volume_line_hasintersects(const tetra_volume* v, const double* s, const double* e) {
    if (!v || !s || !e) return 0;
    bool is_crossed = false;
    for_each_crossing(*v, s, e, [&](double) {
        is_crossed = true;
        return false;
    });
    return is_crossed ? 1 : 0;
}

int tetra_volume_point_inside(const tetra_volume* v, const double* q) {
    if (!v || !q) return 0;
    const double end[] = {kFarAway, q[1], q[2]};
    return tetra_volume_line_intersect(v, q, end, nullptr, 0) % 2;
}
