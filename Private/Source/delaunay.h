// The Delaunay tetrahedra of a set of points.
#pragma once

#include "Support/memory.h"

#include "movane/gamut.h"

namespace movane {

/// A tetrahedron: orient_3d() of its corners is 1.
struct DelaunayCell {
    int corner[4];     // numbers of points
    int neighbour[4];  // the cell across the face opposite to each corner; kNoCell at the hull
};

constexpr int kNoCell = -1;

/// Corners of the face opposite to each corner, so that its normal points out of the cell.
constexpr int kFaceCorners[4][3] = {{1, 2, 3}, {0, 3, 2}, {0, 1, 3}, {0, 2, 1}};

struct DelaunayCells {
    Block<DelaunayCell> cells;
    int count = 0;
};

/// Computes the tetrahedra; none when all points lie in one plane.
///
/// @param points  finite and pairwise different; their order decides between the solutions that
///                points on a common sphere have
/// @return        false when there is no memory
[[nodiscard]] bool find_delaunay_cells(const volume_point* points, int count,
                                       DelaunayCells& result) noexcept;

}  // namespace movane
