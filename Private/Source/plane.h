// Where a segment crosses the plane of a triangle.
#pragma once

#include "Support/point3.h"

namespace movane {

/// @pre     the plane of a, b, c lies between s and e, or goes through one of them
/// @return  0 at s to 1 at e, rounded
double crossing_parameter(const Point3& a, const Point3& b, const Point3& c, const Point3& s,
                          const Point3& e) noexcept;

}  // namespace movane
