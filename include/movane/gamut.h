/* Gamut geometry: what is computed with the colours that a device can reach.
 *
 *   Vectors    vect_*    arithmetic on plain arrays, subsets of points, lobes of a curve
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

MOVANE_C_END

#endif
