/* Gamut geometry: what is computed with the colours that a device can reach.
 *
 *   Vectors      vect_*       arithmetic on plain arrays, subsets of points, lobes of a curve
 *   Planes       plane_*, triangle_*, line_*    triangles in space and the planes they lie in
 *   Volumes      tetra_*, tetra_volume_*, writeVRML    a solid as tetrahedra and border planes
 *   Projections  proj_*       the nearest point of a line, segment, triangle or tetrahedron
 *
 * Conventions:
 *
 * - Vectors and points are arrays of doubles; the dimension is an argument. Coordinates have the
 *   unit of the colour space in use, and lengths and distances have it too.
 * - Arguments are trusted: counts and dimensions are not checked unless a comment says so.
 * - Buffers stay the host's. Calls without a handle share nothing and may run on any thread.
 */
#ifndef MOVANE_GAMUT_H
#define MOVANE_GAMUT_H

#include "movane/api.h"

MOVANE_C_BEGIN

/* --- Vectors ----------------------------------------------------------------------------
 *
 * Norms, products and distances in any dimension; search and insertion in sorted arrays; subsets
 * of points; and lobes, the hills of a sampled curve. Sums are formed in ascending order of the
 * index.
 */

/// @return  the Euclidean length of v
MOVANE_API double vect_calc_norm(const double* v, int n);

/// Scales v to length 1; a vector not longer than 1e-20 is left alone.
///
/// @return  0
MOVANE_API int vect_normalise(double* v, int n);

/// @return  the sum of a[i] * b[i]
MOVANE_API double vect_scalar_product(const double* a, const double* b, int n);

/// @return  the sum of (b[i] - a[i])^2
MOVANE_API double vect_square_distance(const double* a, const double* b, int n);

/// @return  the distance of the points a and b
MOVANE_API double vect_distance(const double* a, const double* b, int n);

/// Computes the vector that is perpendicular to n-1 given ones, the cross product for n = 3.
///
/// Component k is the determinant of the matrix whose first row is the k-th unit vector and whose
/// other rows are the given vectors. Where it vanishes it may come out as a value of the order of
/// 1e-20 rather than 0, see mat_det_det().
///
/// @param in   the dimension n as a number, cut to an integer; then n-1 vectors of n values each
/// @param out  receives n values; must not overlap `in`
/// @return     0; -1 on failure, `out` is then partly written
/// @fails      out of memory, as of mat_gen_new()
MOVANE_API int vect_vector_product(const double* in, double* out);

/// @return  the smallest element; the first when n is below 2
MOVANE_API double vect_Min(const double* a, int n);

/// @return  the largest element; the first when n is below 2
MOVANE_API double vect_Max(const double* a, int n);

/// Finds the place of a value in an ascending array.
///
/// @param pos  receives the index of the first element not below x; n when there is none
/// @return     0
MOVANE_API int vect_locate_in_array(const int* a, int x, int n, int* pos);

/// vect_locate_in_array() for 16-bit values; n is at most 32767.
MOVANE_API int vect_locate_in_sh_array(const short* a, short x, int n, short* pos);

/// vect_locate_in_array() for doubles.
MOVANE_API int vect_locate_in_double_array(const double* a, double x, int n, int* pos);

/// Inserts a value into an ascending array, before elements equal to it.
///
/// @param a  n-1 values, with room for one more
/// @param n  elements afterwards; below 1 nothing happens
/// @return   0
MOVANE_API int vect_insert_in_array(int* a, int x, int n);

/// vect_insert_in_array() for 16-bit values.
MOVANE_API int vect_insert_in_sh_array(short* a, short x, int n);

/// Moves the elements k places up and fills up with zeros; the last k elements are lost.
///
/// @param a  n values
/// @param k  places; below 1 nothing happens, n and more clear the array
/// @return   0
MOVANE_API int vect_shift_right_0(int* a, int n, int k);

/// Steps through the subsets of k out of n indices, the first chosen index advancing slowest:
/// {0,1}, {0,2}, {1,2} for k = 2 and n = 3.
///
/// @param first     non-zero starts with the subset 0..k-1; 0 goes on to the next
/// @param selected  receives the k chosen indices in ascending order; left alone when -1 or -2 is
///                  returned
/// @param flags     n values, 1 for a chosen index and 0 for others: the state between two calls,
///                  cleared in parts when -1 or -2 is returned
/// @return          0; -2 when there is no further subset; -1 when the flags hold more than k ones
///                  before the place where the next subset differs, seen from the end
MOVANE_API int vect_next_point_selection(int k, int n, int first, int* selected, int* flags);

/* A lobe is a hill of a sampled curve: a rise above the threshold next to a fall below it, with a
 * peak between two edges. vect_lobe_new() finds the highest one, the first of equals; height is
 * the peak's value minus that of the higher edge.
 *
 *   vect_lobe* lobe = vect_lobe_new(curve, n, 1, 1, 100.0, 0.0, threshold);
 *   vect_lobe_stretch_rel(lobe, 0.1, out);        the highest lobe becomes a tenth higher
 *   lobe = vect_lobe_kill(lobe);
 *
 * Out of memory posts "nr: 1, kind: 0, sys: 12, file: MOVANE/Private/Source/vect_lobe,
 * line: <line>, info: No resources available".
 */

typedef struct vect_lobe vect_lobe;

/// Copies a curve and finds its highest lobe. A curve of fewer than 3 samples has none.
///
/// @param y                  n samples
/// @param clip_max,clip_min  non-zero: stretched samples are kept within max, min
/// @param threshold          in units of y: the step between neighbours that makes a rise or a
///                           fall, and that ends a lobe where the curve rises again
/// @return                   a lobe the caller owns and releases with vect_lobe_kill(); null on
///                           failure. A curve without a lobe yields a handle, too.
/// @fails                    out of memory, see above
MOVANE_API vect_lobe* vect_lobe_new(const double* y, int n, int clip_max, int clip_min, double max,
                                    double min, double threshold);

/// Releases the lobe.
///
/// @return  null
MOVANE_API vect_lobe* vect_lobe_kill(vect_lobe* lobe);

/// Writes the curve with a triangle added to its lobe: `amount` high at the peak, falling to 0 at
/// the edges. Where the peak is the left edge itself only the samples right of it are raised; a
/// curve without a lobe is copied.
///
/// @param amount  in units of y
/// @param out     receives n samples
/// @return        0
MOVANE_API int vect_lobe_stretch(const vect_lobe* lobe, double amount, double* out);

/// vect_lobe_stretch() by a fraction of the lobe's height.
///
/// @param factor  1.0 raises the peak by the height
/// @return        0
MOVANE_API int vect_lobe_stretch_rel(const vect_lobe* lobe, double factor, double* out);

/* --- Planes -----------------------------------------------------------------------------
 *
 * Triangles in space, the planes they lie in, and where lines meet them. Where a function decides
 * on which side something lies it decides exactly, for all finite coordinates; points it computes
 * are rounded. A null pointer yields the failure value, and nothing is reported.
 *
 * Points are three doubles x, y, z; where a number goes along they are records of four. The first
 * three members of a record may be passed as a point: &p.x.
 */

typedef struct volume_point {
    double x, y, z;
    double nr; /* the point's number, whole */
} volume_point;

/* The plane a*x + b*y + c*z + d = 0 through a triangle. Its normal (a, b, c) is
 * (corner_a - corner_c) x (corner_b - corner_c): it points to where the corners are seen
 * counter-clockwise, and is twice as long as the triangle is large. */
typedef struct volume_plane {
    double a, b, c, d;
    volume_point corner_a, corner_b, corner_c;
    double centroid[3]; /* the mean of the corners */
    int flag;           /* the host's; 0 in a new plane */
} volume_plane;

/// Copies a plane.
///
/// @return  a plane with the flag 0, which the caller owns and releases with plane_kill() or
///          free(); null for a null argument or without memory
MOVANE_API volume_plane* plane_new(const volume_plane* plane);

/// Makes the plane through three points.
///
/// @return  a plane that the caller owns and releases with plane_kill() or free(); null for a null
///          argument or without memory
MOVANE_API volume_plane* plane_new2(const volume_point* a, const volume_point* b,
                                    const volume_point* c);

/// Releases a plane; null is accepted.
///
/// @return  0
MOVANE_API int plane_kill(volume_plane* plane);

/// @return  the square of the distance of q from the plane through a, b, c; 0.0 when the square of
///          the plane's normal is below 0.01; -1.0 for a null argument
MOVANE_API double plane_get_distance_from_point(const double* q, const volume_point* a,
                                                const volume_point* b, const volume_point* c);

/// Intersects a plane with the line through s and e, which has no ends.
///
/// @param out  receives the point; null is accepted
/// @return     1; 0 when the line and the plane are parallel, or when a coordinate is not finite
MOVANE_API int plane_intersect_line(const volume_plane* plane, const double* s, const double* e,
                                    double* out);

/// @return  the square of the distance of q from the line through s and e, which has no ends; 0.0
///          when these are less than 0.01 apart; -1.0 for a null argument
MOVANE_API double line_get_distance_from_point(const double* q, const double* s, const double* e);

/// Gives the family's measure of a triangle, which is not its area: half the distance of a and b
/// times the square of the distance of c from their line.
///
/// @return  the measure; -1.0 for a null argument
MOVANE_API double triangle_get_area(const double* a, const double* b, const double* c);

/// Tells whether a point of a triangle's plane lies in the triangle, the border included. Both are
/// looked at along the axis in which the normal is longest; the height of q over the plane does not
/// matter.
///
/// @return  1 inside, else 0; 0 for a triangle without area
MOVANE_API int triangle_point_inside(const double* q, const double* a, const double* b,
                                     const double* c);

/// Tells whether the segment from s to e meets a triangle. Ends and borders count; a segment in the
/// triangle's plane does not meet it.
///
/// @param out  receives the point; null is accepted
/// @return     1 or 0
MOVANE_API int triangle_intersect_linesegment(const double* a, const double* b, const double* c,
                                              const double* s, const double* e, double* out);

/// triangle_intersect_linesegment() that also gives the position on the segment.
///
/// @param t  receives 0 at s to 1 at e; null is accepted
MOVANE_API int triangle_intersect_linesegment2(const double* a, const double* b, const double* c,
                                               const double* s, const double* e, double* out,
                                               double* t);

/* --- Volumes ----------------------------------------------------------------------------
 *
 * A solid, filled with tetrahedra and bounded by planes, which are triangles.
 *
 *   tetra_volume* v = tetra_volume_new(points);           a list of volume_point
 *   if (tetra_volume_point_inside(v, lab)) ...
 *   count = tetra_volume_line_intersect2(v, from, to, crossings, 16);
 *   tetra_volume_kill(v);
 *
 * Or tetra_volume_new0(), then tetra_volume_add_tetra() and tetra_volume_add_plane(). The planes
 * should close the solid: every edge belongs to an even number of them.
 *
 * Failure values are -1 for counts and codes, -1.0 for measures, null for records and 0 for
 * questions; null handles and records lead to them. Nothing is reported, except by the lists of a
 * container for which there is no memory. A container may be read by several threads.
 */

typedef struct volume_tetra {
    volume_point p[4];
    double centroid[3];
    double m[9]; /* by rows: (u, v, w) = m * (q - p[0]), where q = p[0] + u * (p[1] - p[0]) + ... */
} volume_tetra;

struct movane_list;

/* Lists of pointers to records; the container owns both. Entries may be null. */
typedef struct tetra_volume {
    int nr_of_planes;
    struct movane_list* planes; /* of volume_plane* */
    int nr_of_tetrahedrae;
    struct movane_list* tetrahedrae; /* of volume_tetra* */
    int reserved[2];                 /* 0 */
} tetra_volume;

/// Makes a tetrahedron. The determinant of its edges is kept at least 1e-6 from 0 when the matrix
/// is computed, so a flat one has a matrix, too.
///
/// @return  a tetrahedron that the caller owns and releases with free(); null for a null argument
///          or without memory
MOVANE_API volume_tetra* tetra_new(const volume_point* p0, const volume_point* p1,
                                   const volume_point* p2, const volume_point* p3);

/// Computes the barycentric coordinates of a point: u, v, w belong to p[1], p[2], p[3].
///
/// @param out  receives u, v, w; null is accepted
/// @return     1 when u, v and w lie in 0..1 and their sum does not exceed 1, else 0
MOVANE_API int tetra_point_inside(const volume_tetra* tetra, const double* q, double* out);

/// @return  the number of corner 0..3, cut to an integer; -1 for other corners and for a number
///          that an int does not hold
MOVANE_API int tetra_get_pointnr(const volume_tetra* tetra, int corner);

/// Gives the family's measure of a tetrahedron, which is not its volume: triangle_get_area() of the
/// first three corners times the square of the distance of the last from their plane, divided by 3.
///
/// @return  the measure; -1.0 for null
MOVANE_API double tetra_get_volume(const volume_tetra* tetra);

/// Makes an empty container.
///
/// @return  a container that the caller owns and releases with tetra_volume_kill(); null on failure
/// @fails   out of memory, as of list_new()
MOVANE_API tetra_volume* tetra_volume_new0(void);

/// Fills the convex hull of a set of points with their Delaunay tetrahedra.
///
/// Points within 0.01 of an earlier one in x, y and z are left out, and so are those with a
/// coordinate that is not finite. Tetrahedra of which six times the volume is below 1e-6 are left
/// out. Planes are the faces that belong to one tetrahedron only; their normals point outward. The
/// same points in the same order give the same container.
///
/// @param point_list  a list of volume_point; stays the host's
/// @return            a container that the caller owns and releases with tetra_volume_kill(), empty
///                    for fewer than 4 points and for points in one plane; null when there would
///                    be more than 65535 tetrahedra or planes (about 10000 points), when the list
///                    is null or holds elements of another size, and without memory
/// @fails             out of memory, partly, as of list_new() and list_alloc()
MOVANE_API tetra_volume* tetra_volume_new(void* point_list);

/// tetra_volume_new() with the points of the border first: from a container of all points come the
/// border points, then the given points follow in order, without those within 0.01 of a point that
/// is already there; of these the container is made.
///
/// @fails  out of memory, partly, as of list_new() and list_alloc()
MOVANE_API tetra_volume* tetra_volume_new2(void* point_list);

/// Releases a container with all its planes and tetrahedra; null is accepted.
///
/// @return  0
MOVANE_API int tetra_volume_kill(tetra_volume* v);

/// Appends the plane through three points. Without memory for it, null is appended and counted.
///
/// @return  0; -1 for a null container, or when the list cannot grow, which changes nothing
/// @fails   "list_insert : Unable to extend list, insufficient resources"
MOVANE_API int tetra_volume_add_plane(tetra_volume* v, const volume_point* a, const volume_point* b,
                                      const volume_point* c);

/// Appends a copy of a plane, with the flag 0. Without memory for it, and for a null plane, null is
/// appended and counted.
///
/// @return  0; -1 for a null container, or when the list cannot grow, which changes nothing
/// @fails   "list_insert : Unable to extend list, insufficient resources"
MOVANE_API int tetra_volume_add_plane2(tetra_volume* v, const volume_plane* plane);

/// Appends the tetrahedron of four points.
///
/// @return  0; -1 for a null argument and without memory, which changes nothing
/// @fails   "list_insert : Unable to extend list, insufficient resources"
MOVANE_API int tetra_volume_add_tetra(tetra_volume* v, const volume_point* p0,
                                      const volume_point* p1, const volume_point* p2,
                                      const volume_point* p3);

/// @return  the number of tetrahedra; -1 for null
MOVANE_API int tetra_volume_get_nr_of_tetrahedrae(const tetra_volume* v);

/// Finds the first tetrahedron for which tetra_point_inside() answers 1.
///
/// @param out  receives the tetrahedron, which stays the container's; left alone on failure
/// @return     0; -1 when there is none
MOVANE_API int tetra_volume_get_tetra(const tetra_volume* v, const double* q, volume_tetra** out);

/// Gives the tetrahedron at an index.
///
/// @param out  receives the tetrahedron, which stays the container's; left alone on failure
/// @return     0; -1 for an index that is negative or past the end
MOVANE_API int tetra_volume_get_tetra2(const tetra_volume* v, int index, volume_tetra** out);

/// Tells whether a point lies inside the planes: the segment from it to (10000, y, z) crosses an
/// odd number of them. A point on a plane may be found on either side.
///
/// @return  1 or 0
MOVANE_API int tetra_volume_point_inside(const tetra_volume* v, const double* q);

/// Counts how often the segment from s to e crosses the planes.
///
/// The segment is moved aside by less than any distance, so that it meets neither edges nor
/// corners: where it passes through an edge of two planes it crosses one of them when it enters
/// or leaves the solid there, and both or none when it touches. An end on a plane lies below it,
/// on the side that its normal does not point to.
///
/// @param points  receives three doubles for each crossing, in the order of the planes
/// @param max     crossings for which `points` has room, 0 and more; further ones are only counted
/// @return        number of crossings, 0 when a coordinate of the segment is not finite; -1 for a
///                null argument; `points` may be null when max is 0
MOVANE_API int tetra_volume_line_intersect(const tetra_volume* v, const double* s, const double* e,
                                           double* points, int max);

/// tetra_volume_line_intersect() in the order from s to e; crossings of which x, y and z each
/// differ by less than 0.01 from those of the one before count once.
///
/// @return  number of different crossings; -1 for a null argument and without memory
MOVANE_API int tetra_volume_line_intersect2(const tetra_volume* v, const double* s, const double* e,
                                            double* points, int max);

/// @return  1 when tetra_volume_line_intersect() counts any crossing, else 0
MOVANE_API int tetra_volume_line_hasintersects(const tetra_volume* v, const double* s,
                                               const double* e);

/// Appends the corners of the planes to a list, in the order of the planes, those of equal
/// coordinates once. Points that were in the list before are not looked at.
///
/// @param list  a list of volume_point
/// @return      0; -1 for null, for a list of elements of another size, without memory, and when
/// the
///              list would hold more than 65535 points; it is unchanged then
/// @fails       "list_insert : Unable to extend list, insufficient resources"
MOVANE_API int tetra_volume_get_border_points(const tetra_volume* v, void* list);

/// @return  the sum of tetra_get_volume() over all tetrahedra; -1.0 for null
MOVANE_API double tetra_volume_get_volume(const tetra_volume* v);

/// Writes a container as a cloud of points, a line of three coordinates each: three axes, then
/// points along the edges of each tetrahedron, from corner to corner in equal steps: 100 along an
/// edge between two corners of planes, 10 along others.
///
/// @param name  path in UTF-8; the file is replaced
/// @return      0; -1 for null, without memory, and when the file cannot be written
MOVANE_API int tetra_volume_dump_to_file(const tetra_volume* v, const char* name);

/// Writes the scene that writeVRML() writes; no viewer is started.
///
/// @return  0 or -1
MOVANE_API int tetra_volume_view(const tetra_volume* v, const char* name);

/// Writes a container as a VRML 2.0 scene: the three axes as boxes and the planes as faces, each in
/// the colour of its place, red along x, green along y and blue along z. The corners of the
/// tetrahedra of a container without planes are written as a cloud of points.
///
/// @param name  path in UTF-8; the file is replaced
/// @return      0; -1 for null, without memory, and when the file cannot be written
MOVANE_API int writeVRML(const tetra_volume* v, const char* name);

/* --- Projections ------------------------------------------------------------------------
 *
 * The point of a figure that is nearest to q. Figures may be degenerate: a segment without length,
 * a triangle or tetrahedron whose corners lie in one line or plane, or all in one point. Neither
 * very large nor very small coordinates do harm, as long as their differences are finite; a
 * squared distance outside the range of doubles becomes infinite or 0. With coordinates that are
 * not finite the results are unspecified.
 *
 * Each call returns the square of the distance. `foot` receives the nearest point, and may be null;
 * so may the other results.
 */

/// Projects q onto the line through a and b, which has no ends.
///
/// @param t  receives the position of the foot, 0 at a and 1 at b; 0 when a and b are equal
/// @return   the square of the distance
MOVANE_API double proj_point_line(const double* q, const double* a, const double* b, double* foot,
                                  double* t);

/// Projects q onto the segment from a to b.
///
/// @param t  receives the position of the foot, 0 at a to 1 at b
/// @return   the square of the distance
MOVANE_API double proj_point_segment(const double* q, const double* a, const double* b,
                                     double* foot, double* t);

/// Projects q onto a triangle.
///
/// @param weights  receives the weights of a, b, c that make the foot: none negative, their sum 1
///                 up to rounding
/// @return         the square of the distance
MOVANE_API double proj_point_triangle(const double* q, const double* a, const double* b,
                                      const double* c, double* foot, double* weights);

/// Projects q onto a tetrahedron; a point inside is its own foot.
///
/// @param weights  receives the weights of a, b, c, d that make the foot, as of
///                 proj_point_triangle()
/// @return         the square of the distance, 0 inside and on the border
MOVANE_API double proj_point_tetra(const double* q, const double* a, const double* b,
                                   const double* c, const double* d, double* foot, double* weights);

MOVANE_C_END

#endif
