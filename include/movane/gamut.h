/* Gamut geometry: what is computed with the colours that a device can reach.
 *
 *   Vectors      vect_*                  arithmetic on plain arrays, subsets of points, lobes
 *   Planes       plane_*, triangle_*, line_*    triangles in space, the planes they lie in
 *   Volumes      tetra_*, tetra_volume_*, writeVRML    a solid as tetrahedra and border planes
 *   Projections  proj_*                  the nearest point of a line, triangle or tetrahedron
 *
 * and, for C++ hosts, at the end:
 *
 *   Hull         TConvexHull             the convex hull of points, and which colours lie inside
 *   Plane        TPlane                  pixels of a planar slice of CIELAB, and back
 *   Quadtree     TQuadTree               a region of a grid, sampled sparingly
 *   Top surface  TTriangularTopSurface   the light side of a device's gamut
 *
 * Conventions:
 *
 * - Vectors and points are arrays of doubles; the dimension is an argument. Coordinates have the
 *   unit of the colour space in use, and lengths and distances have it too.
 * - Angles are radians in 0..2 pi, as real_atan2PI() (numerics.h) gives them.
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

/// Gives the square of the distance of q from a point of the line through s and e: from
/// s + (e - s) * t / L, where L is the length of e - s and t the position of the foot of the
/// perpendicular, 0 at s and 1 at e. For lines of length 1, and for points abreast of s, that is
/// the square of the distance from the line; for others proj_point_line() gives it.
///
/// @return  the square; 0.0 when s and e are less than 0.01 apart; -1.0 for a null argument
MOVANE_API double line_get_distance_from_point(const double* q, const double* s, const double* e);

/// Gives the family's measure of a triangle, which is not its area: half the distance of a and b
/// times line_get_distance_from_point() of c and their line.
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
/// @return      0; -1 for null, for a list of elements of another size, without memory, and when it
///              would hold more than 65535 points; it is unchanged then
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

#ifdef __cplusplus

#include "movane/foundation.h"

#include <stdio.h>

#include <iosfwd>

/* --- Convex hull --------------------------------------------------------------------------
 *
 * The convex hull of points in space, grown one point at a time, and whether a point lies inside.
 *
 *   TConvexHull hull;
 *   for (...) hull.AddPoint(lab[0], lab[1], lab[2]);
 *   if (hull.Construct() == 0 && hull.InsideHull(50, 0, 0)) ...
 *
 * A point lies outside a face when the determinant of the face's corners less the point, six times
 * the volume between them, is below -0.5 in the cube of the coordinates' unit. This tolerance is
 * fixed: a hull smaller than the tolerance is flat, and thousands of points on a surface as wide as
 * CIELAB lie so close that colours well inside may be found outside. Hosts with so many scale all
 * coordinates up, by 16 say, those of queries too. Any coordinates are accepted. Points that are
 * not numbers lie outside nothing and are dropped, unless they stand among the first three that are
 * not collinear, which makes Construct() fail.
 *
 * Nothing is posted to the error reporter. Any number of threads may ask InsideHull() at once.
 */

struct tVertexStructure;
struct tEdgeStructure;
struct tFaceStructure;
struct ConvexHullLists;

class MOVANE_API TConvexHull {
public:
    /// A hull without points.
    TConvexHull();

    /// Copies share points and hull, which the last of them releases, and belong to one thread.
    /// What is added or constructed through one of them is not told to the others.
    TConvexHull(const TConvexHull& other);
    TConvexHull& operator=(const TConvexHull& other);
    ~TConvexHull();

    /// @return  1 when no point was added, else 0
    int IsEmpty() const;

    /// Adds a point. Without memory it is counted, but missing; Construct() fails then.
    ///
    /// @return  0
    int AddPoint(double x, double y, double z);

    /// Builds the hull of all points; time grows with their number times that of the faces. Called
    /// again, it builds anew from the points that were left and those added since.
    ///
    /// @return  0; -1 when all points are coplanar, when any three that were added one after the
    ///          other are collinear, the first two following the last, and without memory
    int Construct();

    /// @return  1 when the point lies inside the hull or on its surface, within the tolerance, and
    ///          before Construct(); else 0. Of coplanar points the hull is their plane.
    int InsideHull(double x, double y, double z) const;

private:
    // Steps of the construction; those that return int give 0, and -1 on failure.
    tVertexStructure* MakeNullVertex();
    tEdgeStructure* MakeNullEdge();
    tFaceStructure* MakeNullFace();
    tFaceStructure* MakeFace(tVertexStructure* a, tVertexStructure* b, tVertexStructure* c,
                             tFaceStructure* fold);
    void MakeCcw(tFaceStructure* face, tEdgeStructure* edge, tVertexStructure* p);
    tFaceStructure* MakeConeFace(tEdgeStructure* edge, tVertexStructure* p);
    int VolumeSign(const tFaceStructure* face, const tVertexStructure* p) const;
    double Volumei(const tFaceStructure* face, const tVertexStructure* p) const;
    int Collinear(const tVertexStructure* a, const tVertexStructure* b,
                  const tVertexStructure* c) const;
    int DoubleTriangle();
    int AddPoint(tVertexStructure* p);
    int ConstructHull();
    void CleanUp(tVertexStructure** next);
    void CleanEdges();
    void CleanFaces();
    void CleanVertices(tVertexStructure** next);
    void EdgeOrderOnFaces();
    int InsideHull(tVertexStructure* p) const;
    static void SubVec(const double* a, const double* b, double* difference);  // x and y alone

    // Diagnostics. The first five are for a debugger and tell nothing.
    void Consistency() const;
    void Convexity() const;
    void CheckEuler() const;
    void Checks() const;
    void CheckEndpts() const;
    void Print() const;                              // PostScript, to standard output
    void PrintOut(const tVertexStructure* v) const;  // the lists, to standard error
    void PrintVertices() const;
    void PrintEdges() const;
    void PrintFaces() const;
    void PrintPoint(const tVertexStructure* v) const;  // to standard output

    tVertexStructure* vertices_;
    tEdgeStructure* edges_;
    tFaceStructure* faces_;
    int count_;  // points added
    ConvexHullLists* lists_;
};

/* --- Axis plane ---------------------------------------------------------------------------
 *
 * A raster laid over a planar slice of CIELAB: which colour a pixel shows, where a colour lies, and
 * where the ticks of the axes are. Pixel column 0 is the least x, the last column the greatest; row
 * 0 is the greatest y, rows count downward.
 *
 *   TPlane plane(601, 601, plane_type_lightness, 50.0, -125.0, 125.0, -125.0, 125.0);
 *   double lab[3];
 *   plane.GetLab(column, row, lab, true);
 *
 * Positions round halves away from zero and are kept within the range of an int; those that are
 * not numbers, and all positions along an axis of one pixel, are 0.
 */

/// What is constant on the plane, and what its axes are.
enum PlaneType : int {
    plane_type_lightness,  ///< L is fixed; x is a, y is b
    plane_type_a,          ///< a is fixed; x is b, y is L
    plane_type_b,          ///< b is fixed; x is a, y is L
    plane_type_hue         ///< the hue angle is fixed, in degrees; x is the chroma along it, y is L
};

/// Each object belongs to one thread at a time, for the sake of its ticks.
class MOVANE_API TPlane {
public:
    /// @param W,H        pixel columns and rows
    /// @param value      the fixed coordinate
    /// @param xmin,xmax  the ends of the axes, each at the middle of a pixel
    TPlane(int W, int H, PlaneType type, double value, double xmin, double xmax, double ymin,
           double ymax);

    TPlane(const TPlane& other);
    TPlane& operator=(const TPlane& other);

    int W() const;
    int H() const;
    PlaneType Type();
    double Value() const;
    double XMin() const;
    double XMax() const;
    double YMin() const;
    double YMax() const;

    /// @return  x at a column, inside the plane or outside; the least x when there is one column
    double X(int column) const;

    /// @return  y at a row, inside the plane or outside; the greatest y when there is one row
    double Y(int row) const;

    /// Tells the colour of a pixel.
    ///
    /// @param lab   receives L, a, b; left alone when the plane is of no known type
    /// @param clip  takes positions to 0 to W and 0 to H, one pixel more than there is
    void GetLab(int column, int row, double* lab, bool clip) const;

    /// Finds the pixel of a colour, which is projected onto the plane: along the missing axis, or
    /// with the part of its chroma that points along the hue.
    ///
    /// @param column,row  receive the position; when the plane is of no known type they are only
    ///                    clipped
    /// @param no_clip     false takes positions to 0 to W and 0 to H, one pixel more than there is
    void GetXY(const double* lab, int* column, int* row, bool no_clip) const;

    /// Finds the ticks of the x axis: -125 to 125 in ten steps.
    ///
    /// @param count   receives 11
    /// @param marker  receives the index of the tick to mark, 5: the zero
    /// @return        the columns of the ticks, which may lie outside the plane; valid as long as
    ///                the object. All 0, and so is the marker, when the plane is of no known type.
    const int* GetXGridPoints(int* count, int* marker) const;

    /// GetXGridPoints() of the y axis: the same ticks with constant lightness, else 0 to 100 with
    /// the last one, 10, marked.
    ///
    /// @return  the ticks counted in rows *upward* from the least y, against the sense of all other
    ///          rows
    const int* GetYGridPoints(int* count, int* marker) const;

    /// @return  1 when sizes, types, values and axes are all equal, else 0
    int operator==(const TPlane& other);
    int operator!=(const TPlane& other);

private:
    int X2x(double x) const;  // the column of x
    int Y2y(double y) const;  // the row of y
    void CalculateAxes() const;

    int w_;
    int h_;
    PlaneType type_;
    double value_;
    double xmin_;
    double xmax_;
    double ymin_;
    double ymax_;
    mutable int has_axes_;
    mutable int x_marker_;
    mutable int y_marker_;
    mutable int x_grid_[11];
    mutable int y_grid_[11];
};

/* --- Region quadtree ----------------------------------------------------------------------
 *
 * A region of an integer grid that only a callback of the host knows, sampled once and then asked
 * without it.
 *
 *   TQuadTree section(0, 512, 512, &hull, is_in_hull, NULL, NULL);
 *   if (section.ErrNo() == 0 && section.IsInside(100, 200)) ...
 *
 * Squares are sampled along their boundaries alone: one whose samples agree is inside, or outside,
 * as a whole; others are split into four, down to squares of one unit. What does not reach the
 * boundary of a square is therefore not seen: islands and holes.
 *
 * Nothing is posted to the error reporter. The callbacks run on the constructing thread and must
 * not throw; finished trees may be asked by any number of threads.
 */

/// Tells which of n points lie inside.
///
/// @param user    what the tree was given
/// @param x,y     n values each; n is always 1
/// @param inside  receives n bytes, not 0 for a point inside
/// @return        0; anything else ends the sampling
typedef int (*quadtree_classify)(void* user, const int* x, const int* y, int n,
                                 unsigned char* inside);

/// Is told how much of a tree is built, in percent. What it returns is not used.
typedef int (*quadtree_progress)(void* user, float percent);

/// Objects cannot be copied.
class MOVANE_API TQuadTree {
public:
    /// Builds the tree of the square from x to x + size and from y - size to y: y is the greater
    /// coordinate. Sizes that are powers of two leave nothing out; where an odd size is halved, the
    /// last row and column of the square belong to no part and are outside.
    ///
    /// Without memory, parts of the tree are missing, where all points are outside; or points are
    /// classified more often.
    ///
    /// @param progress  may be null
    TQuadTree(int x, int y, int size, void* user, quadtree_classify classify, void* progress_user,
              quadtree_progress progress);
    ~TQuadTree();
    TQuadTree(const TQuadTree&)            = delete;
    TQuadTree& operator=(const TQuadTree&) = delete;

    /// @return  1 when the point lies in the region; 0 when it does not, when it lies outside the
    ///          square, and after a failed classification
    int IsInside(int x, int y) const;

    /// @return  0; the result of the classification that failed
    int ErrNo() const;

private:
    struct Sample;
    struct Node;
    struct Progress;
    struct Samples {
        Sample** items;  // ascending by x, then by y
        int count;
        int capacity;
    };

    Node* MakeNode(int x, int y, int size, unsigned char edges, float start, float span);
    void FreeNode(Node* node);
    void Build(Node* node, const Progress& progress);
    void Split(Node* node, const Progress& progress);
    bool BoundaryAgrees(const Node* node, bool inside);
    void DropSamples(const Node* node);
    bool SamplePoint(int x, int y);
    void KeepSample(int position, int x, int y, unsigned char value);
    int FindSample(int x, int y) const;
    void DropSample(int x, int y);

    Node* root_;
    Samples samples_;
    int node_count_;
    int error_;
    void* user_;
    quadtree_classify classify_;
};

struct lin_interp_double;
struct md_tetrad_table;

/* --- Top surface --------------------------------------------------------------------------
 *
 * The light side of the gamut of an output device, seen from above. The device is known through a
 * callback alone, its forward model; device coordinates lie in 0..1, 1 meaning no colorant (the
 * lightest, paper) and 0 the full amount.
 *
 *   TPrimary                one channel at its full amount, and the colour of that
 *   TPrimComb               a piece of the surface: two channels vary, the others are fixed
 *   TTriangularTopSurface   the umbrella of such pieces, and coordinates below it
 *   TMaskedTriangle, TDumEl list elements: triangles of a piece, a hue span
 *
 *   double steps[] = {0, 0.25, 0.5, 0.75, 1};
 *   const double* values[] = {steps, steps, steps};
 *   const int counts[] = {5, 5, 5};
 *   TTriangularTopSurface top(3, values, counts, &press, 0, press_to_lab, 20, 20);
 *   if (top.ErrNo() == 0) top.DetermineNormCoord(lab, norm, excess, 1000);
 *
 * Colours are three doubles. One is the lightness L, chosen by the host; the other two, in
 * ascending order, are the chromatic axes A and B: with lightness 0 they are 1 and 2, with 1 they
 * are 0 and 2, with 2 they are 0 and 1. The hue phi is the angle of (A, B), the chroma C its
 * length; teta is the angle from the lightness axis, so that C = L * tan(teta).
 *
 * Pieces are measured on grids of nr0 by nr1 nodes: node (i, j), the i-th sample of the second
 * primary and the j-th of the first, is stored at i * nr0 + j. A cell between the nodes n, n+1,
 * n+nr0 and n+nr0+1 is two triangles, number 2n on the first three and 2n+1 on the last three.
 * Nodes whose colour is not finite, or farther out than 1e60, count as missing.
 *
 * White has to lie on the lightness axis exactly. Off it, if only by rounding, it has a hue, and
 * the axis lies within a piece, which then covers all hues and is left out by the conversions. So
 * a forward model of measured colours subtracts the chromatic coordinates of its white.
 *
 * Measuring happens on first use, so that even queries change an object: callers serialise the use
 * of one surface. The forward model must not throw. All messages come from
 * "MOVANE/Private/Source/ttriangulartopsurface".
 */

/// The forward model of a device.
///
/// @param userData  as it was given
/// @param device    a value for each channel, 0..1
/// @param colour    receives three coordinates; those not written are 0
/// @return          not examined
typedef int (*top_surface_forward)(void* userData, const double* device, double* colour);

/// One channel at its full amount, all others absent.
class MOVANE_API TPrimary : public TElement {
public:
    /// A primary that is not darkening. The three coordinates are copied.
    ///
    /// @param axis  the coordinate that is the lightness
    TPrimary(const double* colour, int channel, int axis);
    ~TPrimary() override;

    /// Copies everything but the place in a list.
    TPrimary(const TPrimary& other);
    TPrimary& operator=(const TPrimary& other);

    double colour[3];
    int channel;    ///< from 0
    int darkening;  ///< non-zero: it lies below the umbrella, and spans none of its pieces
    int axis;       ///< 0, 1 or 2
};

/// A run of triangles of a piece, by their numbers.
class MOVANE_API TMaskedTriangle : public TElement {
public:
    ~TMaskedTriangle() override;

    /// Copies the numbers, not the place in a list; the copy is read from its start. Without
    /// memory for the numbers, once there is an array for them, the process ends as dynar_ptr()
    /// says.
    ///
    /// @fails  "No Mem"  out of memory; the copy has no further numbers
    TMaskedTriangle(const TMaskedTriangle& other);
    TMaskedTriangle& operator=(const TMaskedTriangle& other);

    int id;              ///< the first triangle
    int cursor;          ///< place of reading in `more`
    movane_dynar* more;  ///< the following ones, int; owned; null for none

protected:
    /// One triangle; for descendants, hosts make copies only.
    explicit TMaskedTriangle(int triangle);
};

/// The hue span of a piece, while the spans are being put together.
class MOVANE_API TDumEl : public TElement {
public:
    TDumEl(double start, double width, int index);
    ~TDumEl() override;
    TDumEl(const TDumEl& other);
    TDumEl& operator=(const TDumEl& other);

    double start;  ///< radians
    double width;  ///< radians
    int index;     ///< of the piece
};

struct top_surface_piece;

/// A piece of the umbrella: the colours of two primaries mixed in all amounts.
class MOVANE_API TPrimComb : public TElement {
public:
    /// A piece that has yet to be measured. Everything is copied; `userData` stays the host's.
    ///
    /// @param samples0,samples1  device values of the first and the second primary's channel
    /// @param nr0,nr1            how many of them, 0 to 100000 each
    /// @param device             nrDevice values, more than the number of either channel: -1.0 at
    ///                           the two channels, fixed values elsewhere
    /// @param tag                -1 for a plain pair; else the channel by which a piece was split
    /// @fails  "Bad Initialisation of PrimComb"  no userData or no forward: ErrNo() 3
    ///         "TPrimCoord: Invalid data"        a count outside 0..100000: ErrNo() 2
    ///         "No Memory"                       ErrNo() 1
    TPrimComb(const TPrimary* first, const TPrimary* second, const double* samples0,
              const double* samples1, int nr0, int nr1, const double* device, int nrDevice,
              void* userData, top_surface_forward forward, int tag);
    ~TPrimComb() override;

    /// Copies what was given and what was measured, not the place in a list.
    ///
    /// @fails  "No Memory"  ErrNo() 1
    TPrimComb(const TPrimComb& other);
    TPrimComb& operator=(const TPrimComb& other);

    /// @return  0; 1, 2 or 3 when the piece could not be made
    int ErrNo() const;

    /// Tells on which side of a bounding plane a place lies. The planes are vertical, through the
    /// ends of the first row, the last row, the first column and the last column.
    ///
    /// @param side  0 to 3, in that order
    /// @return      1 on the side of the piece, or within 1e-5 of the plane; 0 beyond it; -1 on
    ///              failure
    /// @fails       "Wrong input"  no such side
    ///              "No Memory"    the piece cannot be measured
    int InsideBoundingPlane(int side, double A, double B);

private:
    friend struct top_surface_piece;

    int errNo;
    top_surface_piece* piece;  // null when errNo is not 0
};

/// The umbrella of pieces over the gamut, and polar coordinates below it.
///
/// In the normalised coordinates (tetar, phir, VTr), each 0..1, phir is the hue within the span
/// that the umbrella covers, tetar the angle from the lightness axis in units of the largest,
/// tetaMax(phir), and VTr the lightness in units of the surface's there. The quick conversions
/// take the surface of a hue for a straight line from the lightest point to the edge; those with
/// MinGam use its tabulated height.
///
/// Coordinates given to a conversion that are not finite count as 0; no result is NaN.
class MOVANE_API TTriangularTopSurface {
public:
    /// Measures the primaries and chooses the pieces. Arrays are copied; `userData` stays the
    /// host's and in use as long as the object. Where memory runs out after the primaries were
    /// measured, or the device has no darkening primary, that is reported and the object is sound.
    ///
    /// @param nrChannels     channels of the device, at least 1
    /// @param gridValues     the device values at which each channel is sampled
    /// @param nrGridValues   how many, at least 2 each; pieces take at most 100000, and comparing
    ///                       two of them takes time with the square of their nodes
    /// @param userData       handed to `forward`; not null
    /// @param axis           the coordinate that is the lightness: 0, 1 or 2
    /// @param forward        the device; not null
    /// @param nrPhiSteps,nrTetaSteps  points of the tables over phir and tetar, equal; with fewer
    ///                       than 2 every conversion fails
    /// @fails  ErrNo() tells; the object is then one without pieces
    ///         "Invalid Parameters, nrphisteps and nrtetasteps still need to be the same"
    ///                               one of the above does not hold: 2
    ///         "Invalid Parameters"  a channel with fewer than 2 values: 2
    ///         "Not enough memory"   for the table of arrays or the counts: 1
    ///         "No Memory"           for a channel's values or the primaries: 1; for a piece or its
    ///                               geometry: 0
    ///         "TPrimCoord: Invalid data"  a channel with more than 100000 values; its pieces are
    ///                               left out: 0
    ///         "No memory", "no Memory"  for a split piece: 0
    ///         "No Common Bounds!"   two pieces share a primary whose colours are all missing; the
    ///                               new one is left out: 0
    ///         "Inconsistent common bound algorithm"  in one of the two only, likewise: 0
    ///         "Out of memory", "No more memory"  for the darkening primaries: 0
    ///         no primary is darkening: 0, and
    /// "Not yet supported, for every part of the umbrella we need to find darkening inks first"
    TTriangularTopSurface(int nrChannels, const double** gridValues, const int* nrGridValues,
                          void* userData, int axis, int (*forward)(void*, const double*, double*),
                          int nrPhiSteps, int nrTetaSteps);

    virtual ~TTriangularTopSurface();

    /// Writes the plotting script of all pieces: the rows of each piece in the (A, B) plane and its
    /// four bounding lines. Piece k, row i:
    ///
    ///     xk_i = [A  A  ... ]            yk_i = [B  B  ... ]
    ///     xsk = [101 values of A ]       ysk_e = [the bounding line e over them ]
    ///     plot(xk_0,yk_0,'y',...,xsk,ysk_0,'r',...)
    ///
    /// Sides e are 0 first row, 1 last row, 2 first column, 3 last column. A line without a slope
    /// in B stands behind a line "vertical line, x,y-pairs" as an xsk_e and a ysk_e of its own.
    /// Numbers have the format of the stream.
    ///
    /// @return  out
    /// @fails   "No Memory"  a piece cannot be measured; it is left out, and ErrNo() is 1
    virtual std::ostream& ForBinaryStream(std::ostream& out);

    /// Copies are deep; what is built on first use is built anew by each.
    ///
    /// @fails  "Not enough memory", "No Memory"  ErrNo() 1, the copy has no pieces
    TTriangularTopSurface(const TTriangularTopSurface& other);
    TTriangularTopSurface& operator=(const TTriangularTopSurface& other);
    static void* operator new(size_t bytes) noexcept;
    static void operator delete(void* surface) noexcept;

    /// @return  0 while the object is sound; 1 out of memory, 2 invalid parameters
    int ErrNo();

    // --- pieces ---

    /// @return  number of pieces
    int GetNrDifferentPrimCombs();

    /// @return  number of variable coordinates of a piece: 2, and one for each darkening primary
    ///          attached to it; -1 when there is no such piece
    int GetNrVarCoordPrimComb(int index);

    /// Tells which coordinates of a piece vary.
    ///
    /// @param device  receives nrChannels values: -1.0 at the channels of the pair, -2.0, -3.0 ...
    ///                at those of attached primaries, fixed values elsewhere. Channel 0, and what
    ///                is attached behind it, is never marked that way.
    /// @return        0; -1 when there is no such piece
    int GetPrimComb(int index, double* device);

    /// GetPrimComb() at a cursor, with the sense of the result reversed.
    ///
    /// @param restart  non-zero: the cursor goes to the first piece
    /// @return         -1 when `device` was written, the cursor stays; 0 when there is no piece at
    ///                 the cursor, which moves on by one
    int ScanDifferentPrimCombs(int restart, double* device);

    /// Completes the device vector of a point of a piece.
    ///
    /// @param params  a value for each coordinate that GetPrimComb() marks, in the order of the
    ///                channels
    /// @param device  receives nrChannels values, also when a value is out of range
    /// @return        0 when both values of the pair lie within their samples; -1 otherwise
    /// @fails         "No such umbrella surface"
    int GetDevCoord(int index, const double* params, double* device);

    // --- coordinates ---

    /// Converts n colours to (tetar, phir, VTr) triples.
    ///
    /// A hue outside the span, or an angle beyond the largest, is clipped. VTr is capped at 1.
    ///
    /// @param colour  n triples
    /// @param norm    receives n triples
    /// @param excess  receives for each point how far it lies outside phir and tetar: 0 inside,
    ///                negative outside
    /// @return        0; -1 when the umbrella covers no hue, nothing is written then
    /// @fails         "Such a small or big gamut is just not possible"  a piece without a hue, or
    ///                                         with all; it is left out
    ///                "Algorithm does not converge"  a piece without an edge at a hue; left out
    ///                                         there
    ///                "No more memory", "No More Memory"  for the hue spans
    ///                "No Memory"              for the geometry of a piece
    ///                those of lin_interp_double_new() and its companions
    int DetermineNormCoord(const double* colour, double* norm, double* excess, int n);

    /// The same with the tabulated surface. A colour above it gets VTr 1, and `excess` grows by the
    /// distance. The table of angles needs an answer at each hue and height: an umbrella whose hues
    /// leave a gap, or whose lightest point is not on the lightness axis, has none, and the call
    /// fails each time.
    ///
    /// @return  0; -1 on failure, nothing is written then
    /// @fails   as DetermineNormCoord(), and
    ///          "Not enough memory"  for a table
    ///          "Check code, has to be an error somewhere!"  no piece answers at a vertex of a
    ///                     table: 0 in that of heights, which goes on; -1 in that of angles
    ///          "algo sucks"                           a search took more than 1000 steps
    ///          "Double Concave Surfaces not supported"  a piece has no such point; both leave the
    ///                     piece without an answer
    int DetermineNormCoordMinGam(const double* colour, double* norm, double* excess, int n);

    /// The inverse of DetermineNormCoord().
    ///
    /// @param excess  receives 0 for each point
    /// @return        0; -1 as DetermineNormCoord()
    int DetermineXYZ(const double* norm, double* colour, double* excess, int n);

    /// The inverse of DetermineNormCoordMinGam(); it needs no table of angles and works for any
    /// umbrella that covers a hue.
    int DetermineXYZMinGam(const double* norm, double* colour, double* excess, int n);

    /// Gives the edge of the umbrella at a hue; outside the span that of the nearer end.
    ///
    /// @param tetaMax  receives the largest teta, at most 1.57078632675
    /// @param VTMin    receives the lightness there
    /// @return         0; -1 as DetermineNormCoord()
    int UmbrellaEdge(double phi, double* tetaMax, double* VTMin);

    // --- triangles, dumps, script ---

    /// Steps through the cells of all pieces. Cells with both triangles discarded are passed over;
    /// of a cell with one discarded the other is given twice. Each is announced on standard output,
    /// in a line that begins with "Discard Triangles".
    ///
    /// @param restart       non-zero: starts with the first piece
    /// @param first,second  receive three colours each
    /// @return              0; 1 when the cell lies in another piece than that of the call before
    ///                      (0 after a restart); -1 behind the last piece
    int ScanTriangles(int restart, double (*first)[3], double (*second)[3]);

    /// Steps through the masked triangles of all pieces. Which triangle of a cell number t stands
    /// for is told by the parity of t / 2: the second for an odd one.
    ///
    /// @param triangle  receives three colours
    /// @return          as ScanTriangles()
    int ScanMaskedTriangles(int restart, double (*triangle)[3]);

    /// Prints a line per node: its colour and a device vector.
    ///
    /// Colours come in the order of storage, while the vectors step through the second channel's
    /// samples within the first's: with different samples the two do not belong together.
    ///
    /// @return  0, also when there is no such piece, where nothing is printed; -1 when it cannot be
    ///          measured
    int DumpGrid(FILE* f, int index);

    /// Prints a line per node, row by row with two empty lines behind each: both sample values and
    /// the node's lightness above the highest other piece at its place, -1 when there is none.
    int DumpFP(FILE* f, int index);

    /// Prints a line per node, laid out as by DumpFP(): both sample values, the derivatives of the
    /// colour by the first channel and those by the second.
    ///
    /// They are three-point differences, one-sided at the ends; equal samples give 0.
    int DumpFirstDer(FILE* f, int index);

    /// DumpFirstDer() of the second derivatives; fewer than three samples give 0.
    int DumpSecDer(FILE* f, int index);

    /// Writes ForBinaryStream() to a text file, replacing one that exists, with the line ends of
    /// the system. An error number that is set afterwards is reported, and cleared.
    ///
    /// @param path  UTF-8
    /// @return      0; -1 when the file cannot be opened
    /// @fails       "cannot open export file %s"
    ///              "Cannot export process"  the error number is set; the result is 0
    int Export(const char* path);

protected:
    // Steps of the construction; 0, or -1 on failure, unless stated.
    int MakeSortedPrimList();
    int DetermineTopUmbrella();
    int DetermineNonSaturatedUmbrellaParts();
    int DetermineSaturatedUmbrellaParts();
    /// @return  1 when the umbrella took the piece and owns it, 0 when not, negative on failure
    int AddToUmbrella(TPrimComb* comb);
    int ThrowOutRedundantPrimaries(double* device, double* base, int channelA, int channelB,
                                   int* counter);
    int FindDarkeningPrimaries();
    /// @return  1 or 0
    int PrimaryUnderneathTopUmbrella(TPrimary* primary);
    /// @return  1 and the piece above the colour; 0 and null when there is none; -1 on failure
    int PointUnderNeathTopUmbrella(const double* colour, const TPrimComb** piece);

    // Steps of the coordinates, each done once; 0, or -1 on failure.
    int DetermineVTMax();
    int DeterminePosPhiMinPosDeltaPhi();
    int PhiToPhir(double phi, double* phir);
    int PhirToPhi(double phir, double* phi);
    int DeterminePhirTetaMaxAndVTMin();
    int RecalcTetarForOutDarkGamPrims();
    int RecalcTetarDTeta(double phir, double dTeta);
    int DeterminePhirTetarVTMax();
    int DeterminePhirVTrTetar();

    int errNo;
    int axis;
    int chromaA;
    int chromaB;
    int nrChannels;
    double** gridValues;
    int* nrGridValues;
    void* userData;
    int (*forward)(void*, const double*, double*);
    int nrPhiSteps;
    int nrTetaSteps;
    TList* sortedPrimaries;              ///< TPrimary, lightest first
    TList* umbrella;                     ///< TPrimComb, without errors
    TList* darkeningPrimaries;           ///< TPrimary, lightest first
    int combCursor;                      ///< of ScanDifferentPrimCombs()
    int triangleCursor;                  ///< piece of ScanTriangles()
    int maskedCursor;                    ///< piece of ScanMaskedTriangles()
    double VTMax;                        ///< largest lightness; 0 until computed
    double PosPhiMin;                    ///< start of the hue span, radians
    double PosDeltaPhi;                  ///< its width, radians; 0 until computed
    lin_interp_double* tetaMaxTable;     ///< over phir, as the next two
    lin_interp_double* VTMinTable;       ///< lightness at the edge
    lin_interp_double* edgeChromaTable;  ///< tan(tetaMax) * VTMin
    md_tetrad_table* VTMaxGrid;          ///< height over (phir, tetar)
    md_tetrad_table* TetarGrid;          ///< tetar over (phir, s), at VTMax - (VTMax - VTMin) * s

private:
    void Clear();
    void Release();
    int TakeSamples(const double* const* values, const int* counts);
    int CopyFrom(const TTriangularTopSurface& other);
    TPrimary* PrimaryOfChannel(int channel);
    int SplitPiece(TPrimary* primary, TPrimComb* piece, TList* parts);
    int MakePhirTetaMaxAndVTMin();
    int FillPhirVTrTetar();
    void KillEdgeTables();
    int DetermineNodeValues(TPrimComb* piece);
};

#endif

#endif
