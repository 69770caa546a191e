// Containers filled from points: the tetrahedra of their Delaunay solution, and its border as
// planes.

#include "movane/gamut.h"

#include "Support/memory.h"
#include "Support/point3.h"
#include "delaunay.h"
#include "tetra_volume.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace {

using movane::Block;
using movane::DelaunayCell;
using movane::DelaunayCells;
using movane::make_block;
using movane::Point3;

constexpr double kSamePoint    = 0.01;  // points nearer than this in x, y and z are one
constexpr double kSliverVolume = 1e-6;  // six-fold
constexpr int kMostRecords     = UINT16_MAX;

// --- points that differ --------------------------------------------------------------------------

// Points in order, none within kSamePoint of another. A point can be near only those in its own box
// and the 26 around it; points are found by their boxes.
// Invariants: heads holds a power of two entries, at least as many as there may be points; an entry
// is the last point whose box has that hash, and `previous` leads on; -1 ends.
class DistinctPoints {
public:
    [[nodiscard]] bool allocate(std::size_t most) {
        const std::size_t slots = std::bit_ceil(most + 1);
        mask_                   = slots - 1;
        points_                 = make_block<volume_point>(most);
        previous_               = make_block<int>(most);
        heads_                  = make_block<int>(slots);
        if (!points_ || !previous_ || !heads_) return false;
        std::fill_n(heads_.get(), slots, kNone);
        return true;
    }

    void add_if_new(const volume_point& p) {
        const Point3 position(&p.x);
        if (!position.is_finite() || is_known(position)) return;
        int& head                                   = heads_[slot_of(box_of(position))];
        points_[static_cast<std::size_t>(count_)]   = p;
        previous_[static_cast<std::size_t>(count_)] = head;
        head                                        = count_++;
    }

    [[nodiscard]] const volume_point* points() const { return points_.get(); }
    [[nodiscard]] int count() const { return count_; }

private:
    static constexpr int kNone            = -1;
    static constexpr double kBoxesPerUnit = 0.5 / kSamePoint;  // so that rounding does not matter

    static Point3 box_of(const Point3& p) {
        const Point3 scaled = p * kBoxesPerUnit;
        return {std::floor(scaled.x), std::floor(scaled.y), std::floor(scaled.z)};
    }

    [[nodiscard]] std::size_t slot_of(const Point3& box) const {
        std::uint64_t hash = 0;
        for (const double side : {box.x, box.y, box.z}) {
            hash = (hash ^ std::bit_cast<std::uint64_t>(side + 0.0)) * 0x9E3779B97F4A7C15U;
            hash ^= hash >> 32;
        }
        return static_cast<std::size_t>(hash) & mask_;
    }

    [[nodiscard]] bool is_known(const Point3& p) const {
        const Point3 middle = box_of(p);
        for (int k = 0; k < 27; ++k) {
            const Point3 box = middle + Point3(k % 3 - 1, k / 3 % 3 - 1, k / 9 - 1);
            for (int i = heads_[slot_of(box)]; i != kNone;
                 i     = previous_[static_cast<std::size_t>(i)]) {
                if (is_near(p, Point3(&points_[static_cast<std::size_t>(i)].x), kSamePoint))
                    return true;
            }
        }
        return false;
    }

    Block<volume_point> points_;
    Block<int> previous_, heads_;
    std::size_t mask_ = 0;
    int count_        = 0;
};

// Null when the handle is null or its elements are no points.
const movane_list* list_of_points(const void* handle) {
    const auto* const list = static_cast<const movane_list*>(handle);
    return list && list_get_el_size(list) == sizeof(volume_point) ? list : nullptr;
}

void add_all(const movane_list* list, DistinctPoints& distinct) {
    for (int i = 0; i < list_num(list); ++i)
        distinct.add_if_new(*static_cast<const volume_point*>(list_get_element(list, i)));
}

// --- cells to records ----------------------------------------------------------------------------

struct KillVolume {
    void operator()(tetra_volume* v) const { tetra_volume_kill(v); }
};
using OwnedVolume = std::unique_ptr<tetra_volume, KillVolume>;

// The cells that become tetrahedra; calls visit_border(cell, face) for each face that then belongs
// to one tetrahedron only.
class Solid {
public:
    Solid(const volume_point* points, const DelaunayCells& cells)
        : points_(points), cells_(cells) {}

    template <class VisitCell, class VisitFace>
    [[nodiscard]] bool walk(VisitCell visit_cell, VisitFace visit_border) const {
        for (int k = 0; k < cells_.count; ++k) {
            const DelaunayCell& cell = at(k);
            if (is_sliver(cell)) continue;
            if (!visit_cell(cell)) return false;
            for (int i = 0; i < 4; ++i) {
                const int beyond     = cell.neighbour[i];
                const bool is_border = beyond == movane::kNoCell || is_sliver(at(beyond));
                if (is_border && !visit_border(cell, movane::kFaceCorners[i])) return false;
            }
        }
        return true;
    }

    [[nodiscard]] const volume_point* corner(const DelaunayCell& cell, int i) const {
        return &points_[cell.corner[i]];
    }

private:
    [[nodiscard]] const DelaunayCell& at(int k) const {
        return cells_.cells[static_cast<std::size_t>(k)];
    }

    [[nodiscard]] bool is_sliver(const DelaunayCell& cell) const {
        return std::fabs(movane::six_fold_volume(*corner(cell, 0), *corner(cell, 1),
                                                 *corner(cell, 2), *corner(cell, 3))) <
               kSliverVolume;
    }

    const volume_point* points_;
    const DelaunayCells& cells_;
};

tetra_volume* volume_of(const DistinctPoints& points) {
    DelaunayCells cells;
    if (!movane::find_delaunay_cells(points.points(), points.count(), cells)) return nullptr;
    const Solid solid(points.points(), cells);
    int tetrahedrae = 0, planes = 0;
    const auto counts_on = [](int& counter) {
        return [&counter](auto&&...) { return counter++ < kMostRecords; };
    };
    if (!solid.walk(counts_on(tetrahedrae), counts_on(planes))) return nullptr;

    OwnedVolume v(tetra_volume_new0());
    if (!v || list_alloc(v->tetrahedrae, tetrahedrae) != 0 || list_alloc(v->planes, planes) != 0)
        return nullptr;
    const bool is_complete = solid.walk(
        [&](const DelaunayCell& cell) {
            return tetra_volume_add_tetra(v.get(), solid.corner(cell, 0), solid.corner(cell, 1),
                                          solid.corner(cell, 2), solid.corner(cell, 3)) == 0;
        },
        [&](const DelaunayCell& cell, const int(&face)[3]) {
            tetra_volume_add_plane(v.get(), solid.corner(cell, face[0]),
                                   solid.corner(cell, face[1]), solid.corner(cell, face[2]));
            return movane::plane_at(*v, v->nr_of_planes - 1) != nullptr;
        });
    return is_complete ? v.release() : nullptr;
}

}  // namespace

tetra_volume* tetra_volume_new(void* point_list) {
    const movane_list* const given = list_of_points(point_list);
    DistinctPoints points;
    if (!given || !points.allocate(static_cast<std::size_t>(list_num(given)))) return nullptr;
    add_all(given, points);
    return volume_of(points);
}

tetra_volume* tetra_volume_new2(void* point_list) {
    const OwnedVolume preliminary(tetra_volume_new(point_list));
    if (!preliminary) return nullptr;
    const movane::BorderPoints border = movane::border_points(*preliminary);
    const movane_list* const given    = list_of_points(point_list);
    DistinctPoints points;
    if (!border.points || !points.allocate(static_cast<std::size_t>(list_num(given))))
        return nullptr;
    for (int i = 0; i < border.count; ++i)
        points.add_if_new(border.points[static_cast<std::size_t>(i)]);
    add_all(given, points);
    return volume_of(points);
}
