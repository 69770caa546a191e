// Single tetrahedra: the barycentric test, and the family's measure.

#include "movane/gamut.h"

#include "Support/memory.h"
#include "Support/point3.h"
#include "tetra_volume.h"

#include <climits>
#include <cmath>
#include <cstddef>

// Hosts read the record.
static_assert(offsetof(volume_tetra, centroid) == 16 * sizeof(double));
static_assert(offsetof(volume_tetra, m) == 19 * sizeof(double));
static_assert(sizeof(volume_tetra) == 28 * sizeof(double));

namespace {

using movane::cross;
using movane::dot;
using movane::Point3;

constexpr double kLeastDeterminant = 1e-6;

// Either 0 counts as positive; what is not a number stays.
double guarded(double determinant) {
    if (!(std::fabs(determinant) < kLeastDeterminant)) return determinant;
    return determinant < 0 ? -kLeastDeterminant : kLeastDeterminant;
}

}  // namespace

namespace movane {

double six_fold_volume(const volume_point& p0, const volume_point& p1, const volume_point& p2,
                       const volume_point& p3) {
    const Point3 origin(&p0.x);
    return dot(Point3(&p1.x) - origin, cross(Point3(&p2.x) - origin, Point3(&p3.x) - origin));
}

}  // namespace movane

volume_tetra* tetra_new(const volume_point* p0, const volume_point* p1, const volume_point* p2,
                        const volume_point* p3) {
    if (!p0 || !p1 || !p2 || !p3) return nullptr;
    auto tetra = movane::create<volume_tetra>();
    if (!tetra) return nullptr;
    const Point3 corners[] = {Point3(&p0->x), Point3(&p1->x), Point3(&p2->x), Point3(&p3->x)};
    const Point3 u = corners[1] - corners[0], v = corners[2] - corners[0],
                 w           = corners[3] - corners[0];
    const double determinant = guarded(movane::six_fold_volume(*p0, *p1, *p2, *p3));
    tetra->p[0]              = *p0;
    tetra->p[1]              = *p1;
    tetra->p[2]              = *p2;
    tetra->p[3]              = *p3;
    ((corners[0] + corners[1] + corners[2] + corners[3]) * 0.25).store(tetra->centroid);
    (cross(v, w) / determinant).store(tetra->m);
    (cross(w, u) / determinant).store(tetra->m + 3);
    (cross(u, v) / determinant).store(tetra->m + 6);
    return tetra.release();
}

int tetra_point_inside(const volume_tetra* tetra, const double* q, double* out) {
    if (!tetra || !q) return 0;
    const Point3 d = Point3(q) - Point3(&tetra->p[0].x);
    const double u = dot(Point3(tetra->m), d), v = dot(Point3(tetra->m + 3), d),
                 w = dot(Point3(tetra->m + 6), d);
    Point3(u, v, w).store(out);
    const auto is_within = [](double x) { return x >= 0 && x <= 1; };
    return is_within(u) && is_within(v) && is_within(w) && u + v + w <= 1 ? 1 : 0;
}

int tetra_get_pointnr(const volume_tetra* tetra, int corner) {
    if (!tetra || corner < 0 || corner > 3) return -1;
    const double nr    = tetra->p[corner].nr;
    const bool is_held = nr > INT_MIN - 1.0 && nr < INT_MAX + 1.0;
    return is_held ? static_cast<int>(nr) : -1;
}

double tetra_get_volume(const volume_tetra* tetra) {
    if (!tetra) return -1.0;
    const volume_point* const p = tetra->p;
    return triangle_get_area(&p[0].x, &p[1].x, &p[2].x) *
           plane_get_distance_from_point(&p[3].x, &p[0], &p[1], &p[2]) / 3;
}
