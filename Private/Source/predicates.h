// Signs of determinants that decide how points lie to each other. They are right for all finite
// doubles, so that two answers never contradict one another.
#pragma once

namespace movane {

/// @return  the sign of (b-a) x (c-a) in two dimensions: 1 when a, b, c turn to the left, 0 when
///          they are collinear
int orient_2d(double ax, double ay, double bx, double by, double cx, double cy) noexcept;

/// @return  1 when d lies on the side of the plane a, b, c to which (b-a) x (c-a) points, -1 on the
///          other side, 0 in the plane
int orient_3d(const double* a, const double* b, const double* c, const double* d) noexcept;

/// @return  whether three points in space lie on one line
bool are_collinear(const double* a, const double* b, const double* c) noexcept;

/// @pre     orient_3d(a, b, c, d) == 1
/// @return  1 when e lies inside the sphere through a, b, c, d, 0 on it, -1 outside
int in_sphere(const double* a, const double* b, const double* c, const double* d,
              const double* e) noexcept;

}  // namespace movane
