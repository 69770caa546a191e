// What the modules of tetrahedral volumes share.
#pragma once

#include "movane/foundation.h"
#include "movane/gamut.h"

#include "Support/memory.h"

namespace movane {

/// The record at an index of one of a container's lists; may be null.
template <class Record>
Record* record_at(const movane_list* list, int index) {
    return *static_cast<Record**>(list_get_element(list, index));
}

inline volume_plane* plane_at(const tetra_volume& v, int index) {
    return record_at<volume_plane>(v.planes, index);
}

inline volume_tetra* tetra_at(const tetra_volume& v, int index) {
    return record_at<volume_tetra>(v.tetrahedrae, index);
}

/// Six times the signed volume of a tetrahedron.
double six_fold_volume(const volume_point& p0, const volume_point& p1, const volume_point& p2,
                       const volume_point& p3);

/// Corners of all planes, then, if wanted, of all tetrahedra. Corners of equal coordinates have
/// equal numbers; numbers are given in the order of first appearance.
struct NumberedCorners {
    Block<volume_point> points;
    Block<int> numbers;
    int count        = 0;
    int plane_points = 0;  // how many of them are corners of planes
    int numbers_used = 0;

    /// The first of the corners with each number, in the order of the numbers.
    [[nodiscard]] Block<volume_point> distinct() const;
};

/// @return  false when there is no memory
[[nodiscard]] bool number_corners(const tetra_volume& v, bool with_tetrahedrae,
                                  NumberedCorners& corners);

/// Border corners of a container, each once, in the order of the planes.
struct BorderPoints {
    Block<volume_point> points;  // null without memory
    int count = 0;
};
BorderPoints border_points(const tetra_volume& v);

}  // namespace movane
