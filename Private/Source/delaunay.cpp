// Delaunay tetrahedra by incremental insertion (A. Bowyer, "Computing Dirichlet tessellations", and
// D. F. Watson, "Computing the n-dimensional Delaunay tessellation", The Computer Journal 24,
// 1981).
//
// Each new point takes away the cells whose spheres hold it, and is joined to the faces of the
// cavity they leave. The space outside the hull is filled with cells, too: they join its faces to a
// point at infinity, so that a point outside is no special case.
//
// A point on a sphere counts as outside. As the predicates are exact, this is the same as lifting
// each point by an amount that is tiny, but larger than that of all earlier ones; so there is
// one solution, a walk towards a point never runs in circles, and each face of a cavity is strictly
// visible from the new point: no cavity needs repair, no cell is flat.

#include "delaunay.h"

#include "predicates.h"

#include <algorithm>
#include <utility>

namespace movane {
namespace {

constexpr int kInfinity = -1;  // number of the point at infinity

struct Cell : DelaunayCell {
    int mark;  // the step that found it in conflict; negative: that found it not
};

template <class Item>
struct Growing {
    Block<Item> items;
    int count    = 0;
    int capacity = 0;

    Item& operator[](int i) { return items[static_cast<std::size_t>(i)]; }
    const Item& operator[](int i) const { return items[static_cast<std::size_t>(i)]; }

    [[nodiscard]] bool push(const Item& item) {
        if (count == capacity) {
            constexpr int kFirst = 64, kMost = 1 << 30;
            if (capacity >= kMost) return false;
            const int larger = std::max(kFirst, 2 * capacity);
            auto block       = make_block<Item>(static_cast<std::size_t>(larger));
            if (!block) return false;
            std::copy_n(items.get(), count, block.get());
            items    = std::move(block);
            capacity = larger;
        }
        items[static_cast<std::size_t>(count++)] = item;
        return true;
    }
};

struct Face {
    int cell;
    int opposite;  // index of the corner that is not in it
};

int index_of(const int (&values)[4], int value) {
    return static_cast<int>(std::find(values, values + 4, value) - values);
}

// Invariants between insertions: `cells` fill all space, neighbours know each other, and no finite
// cell's sphere holds a point inserted so far; slots in `unused` are not among them.
class Triangulation {
public:
    Triangulation(const volume_point* points, int count) : points_(points), count_(count) {}

    [[nodiscard]] bool build(DelaunayCells& result) {
        int first[4];
        if (!find_first_cell(first)) return true;
        if (!make_first_cells(first)) return false;
        for (int i = 0; i < count_; ++i) {
            if (index_of(first, i) == 4 && !insert(i)) return false;
        }
        return extract(result);
    }

private:
    const double* at(int number) const { return &points_[number].x; }

    // The first point, the next that differs, and so on; false when all lie in one plane.
    bool find_first_cell(int (&first)[4]) const {
        const double* found[4] = {};
        int known              = 0;
        for (int i = 0; i < count_ && known < 4; ++i) {
            const double* const p = at(i);
            const bool is_flat    = known == 2   ? are_collinear(found[0], found[1], p)
                                    : known == 3 ? orient_3d(found[0], found[1], found[2], p) == 0
                                                 : false;
            if (is_flat) continue;
            found[known]   = p;
            first[known++] = i;
        }
        if (known < 4) return false;
        if (orient_3d(found[0], found[1], found[2], found[3]) < 0) std::swap(first[0], first[1]);
        return true;
    }

    // Cell 0, and beyond its face i the infinite cell i + 1.
    [[nodiscard]] bool make_first_cells(const int (&first)[4]) {
        Cell cell{{{first[0], first[1], first[2], first[3]}, {1, 2, 3, 4}}, 0};
        if (!cells_.push(cell)) return false;
        for (const auto& face : kFaceCorners) {
            const int a = face[0], b = face[2], c = face[1];  // seen from the other side
            if (!cells_.push(
                    {{{kInfinity, first[a], first[b], first[c]}, {0, a + 1, b + 1, c + 1}}, 0}))
                return false;
        }
        return true;
    }

    // On which side of a face of a cell a point lies: 1 outside of the cell.
    int side_of(const Cell& cell, int opposite, const double* p) const {
        const auto& face = kFaceCorners[opposite];
        return orient_3d(at(cell.corner[face[0]]), at(cell.corner[face[1]]),
                         at(cell.corner[face[2]]), p);
    }

    bool sphere_holds(const Cell& cell, const double* p) const {
        return in_sphere(at(cell.corner[0]), at(cell.corner[1]), at(cell.corner[2]),
                         at(cell.corner[3]), p) > 0;
    }

    // The sphere of an infinite cell is the half-space beyond its face of the hull, and of that
    // face's plane the inside of the circle through its corners, in which the sphere of the finite
    // neighbour cuts the plane.
    bool is_in_conflict(const Cell& cell, const double* p) const {
        const int infinite = index_of(cell.corner, kInfinity);
        if (infinite == 4) return sphere_holds(cell, p);
        const int side = side_of(cell, infinite, p);
        return side < 0 || (side == 0 && sphere_holds(cells_[cell.neighbour[infinite]], p));
    }

    // A finite cell that holds the point, or an infinite one beyond whose face it lies.
    int locate(const double* p) const {
        int cell = last_;
        for (int i = 0; i < 4;) {
            if (side_of(cells_[cell], i, p) <= 0) {
                ++i;
                continue;
            }
            cell = cells_[cell].neighbour[i];
            if (index_of(cells_[cell].corner, kInfinity) < 4) return cell;
            i = 0;
        }
        return cell;
    }

    // Lists the cells in conflict with the point and the faces between them and others.
    [[nodiscard]] bool find_cavity(const double* p, int step) {
        cavity_.count = faces_.count = 0;
        const int start              = locate(p);
        cells_[start].mark           = step;
        if (!cavity_.push(start)) return false;
        for (int k = 0; k < cavity_.count; ++k) {
            for (int i = 0; i < 4; ++i) {
                const int neighbour = cells_[cavity_[k]].neighbour[i];
                Cell& other         = cells_[neighbour];
                if (other.mark != step && other.mark != -step) {
                    other.mark = is_in_conflict(other, p) ? step : -step;
                    if (other.mark == step && !cavity_.push(neighbour)) return false;
                }
                if (other.mark != step && !faces_.push({cavity_[k], i})) return false;
            }
        }
        return true;
    }

    // The slot of a new cell; kNoCell without memory.
    int add_cell(const Cell& cell) {
        if (unused_.count == 0) return cells_.push(cell) ? cells_.count - 1 : kNoCell;
        const int slot = unused_[--unused_.count];
        cells_[slot]   = cell;
        return slot;
    }

    // Joins a face of the cavity to the point; the cell behind the face then knows the new one in
    // place of its neighbour.
    [[nodiscard]] bool join(const Face& face, int number) {
        const Cell inner = cells_[face.cell];
        const int outer  = inner.neighbour[face.opposite];
        const auto& on   = kFaceCorners[face.opposite];
        const int joined =
            add_cell({{{number, inner.corner[on[0]], inner.corner[on[1]], inner.corner[on[2]]},
                       {outer, kNoCell, kNoCell, kNoCell}},
                      0});
        if (joined == kNoCell) return false;
        Cell& behind                                            = cells_[outer];
        behind.neighbour[index_of(behind.neighbour, face.cell)] = joined;
        cells_[face.cell].neighbour[face.opposite]              = joined;
        return true;
    }

    // The new cell at the other side of an edge of a face of the cavity, the edge without the
    // corner `third`: turns about the edge, through the cavity, until its next face.
    int across_edge(const Face& face, int third, int step) const {
        const int* const on = cells_[face.cell].corner;
        int apex            = on[face.opposite];  // of the cell, with the edge and the corner
        int cell            = face.cell;
        for (;;) {
            const int next = cells_[cell].neighbour[index_of(cells_[cell].corner, third)];
            if (cells_[next].mark != step) return next;
            const int entered = index_of(cells_[next].neighbour, cell);
            third             = apex;
            apex              = cells_[next].corner[entered];
            cell              = next;
        }
    }

    [[nodiscard]] bool insert(int number) {
        const int step = ++step_;
        if (!find_cavity(at(number), step)) return false;
        for (int k = 0; k < faces_.count; ++k) {
            if (!join(faces_[k], number)) return false;
        }
        for (int k = 0; k < faces_.count; ++k) {
            const Face face  = faces_[k];
            const int joined = cells_[face.cell].neighbour[face.opposite];
            for (int i = 1; i < 4; ++i)
                cells_[joined].neighbour[i] = across_edge(face, cells_[joined].corner[i], step);
            if (index_of(cells_[joined].corner, kInfinity) == 4) last_ = joined;
        }
        for (int k = 0; k < cavity_.count; ++k) {
            cells_[cavity_[k]].corner[0] = cells_[cavity_[k]].corner[1] = kInfinity;  // in no cell
            if (!unused_.push(cavity_[k])) return false;
        }
        return true;
    }

    // The finite cells in the order of their slots.
    [[nodiscard]] bool extract(DelaunayCells& result) {
        const auto is_finite = [](const Cell& cell) {
            return index_of(cell.corner, kInfinity) == 4;
        };
        int count = 0;
        for (int i = 0; i < cells_.count; ++i)
            cells_[i].mark = is_finite(cells_[i]) ? count++ : kNoCell;
        result.cells = make_block<DelaunayCell>(static_cast<std::size_t>(count));
        if (!result.cells) return false;
        result.count = count;
        for (int i = 0; i < cells_.count; ++i) {
            const Cell& cell = cells_[i];
            if (cell.mark == kNoCell) continue;
            DelaunayCell& out = result.cells[static_cast<std::size_t>(cell.mark)];
            out               = cell;
            for (int& neighbour : out.neighbour) neighbour = cells_[neighbour].mark;
        }
        return true;
    }

    const volume_point* points_;
    int count_;
    Growing<Cell> cells_;
    Growing<int> unused_, cavity_;
    Growing<Face> faces_;  // of the cavity
    int step_ = 0;
    int last_ = 0;  // a finite cell
};

}  // namespace

bool find_delaunay_cells(const volume_point* points, int count, DelaunayCells& result) noexcept {
    return Triangulation(points, count).build(result);
}

}  // namespace movane
