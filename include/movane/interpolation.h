/* Interpolation: tables that map input channels to output channels.
 *
 *   Simplex tables of bytes     md_tetrab_*    8-bit codes in and out: lines of images
 *   Simplex tables of doubles   md_tetrad_*    the same scheme in floating point
 *
 * A table holds output values at the points of a regular grid over its input space, any number
 * of dimensions. A point between them gets the weighted mean of dims+1 corners of its grid cell:
 * each cell is split into simplices (six tetrahedra in three dimensions) that share the cell's
 * lowest and highest corner, and sorting the point's positions inside the cell finds its simplex.
 *
 * Samples come as streams: one pointer per channel and one stride for all channels of a side, in
 * elements (bytes for md_tetrab_*, doubles for md_tetrad_*). Sample i of channel d is
 * in[d][i * in_stride]; interleaved RGB passes {base, base+1, base+2} and stride 3, planar data
 * stride 1. A null entry in `out` is a channel that is not wanted. Every other entry of `out` is
 * advanced in place, so that it points behind the last sample on return and the next call goes
 * on from there.
 *
 * Grid values are interleaved: the outputs of one point are adjacent, the last dimension varies
 * fastest, and each dimension stores additional layers behind its grid points (one, unless
 * md_tetrab_new_special() was told otherwise). Fill a table by walking its points, which needs no
 * knowledge of that layout and skips those layers:
 *
 *   md_tetrab_table* t = md_tetrab_new(3, 4, 33);
 *   int index[3] = {0, 0, 0};
 *   unsigned char rgb[3];
 *   do {
 *       unsigned char* cmyk = md_tetrab_vertex_get(t, index, rgb);
 *       separate(rgb, cmyk);
 *   } while (md_tetrab_scan_vertex(t, index));
 *
 *   unsigned char* in[3]  = {line, line + 1, line + 2};
 *   unsigned char* out[4] = {ink, ink + 1, ink + 2, ink + 3};
 *   md_tetrab_interp(t, in, 3, out, 4, width, NULL, 0);
 *   t = md_tetrab_kill(t);
 *
 * Several threads may interpolate through one table at the same time, as long as nobody changes
 * its values or its LUTs meanwhile: a call keeps its working values to itself.
 */
#ifndef MOVANE_INTERPOLATION_H
#define MOVANE_INTERPOLATION_H

#include "movane/api.h"

MOVANE_C_BEGIN

/* --- Simplex tables of bytes ----------------------------------------------------------------
 *
 * Each input code passes the input LUT of its dimension, each result the output LUT of its
 * channel; both are the identity at first. Grid values and weights are bytes: a corner counts
 * round(value * weight / 255), and the sum wraps modulo 256.
 *
 * The position of a code inside its cell is truncated to 1/255 of a cell. Code 255 always lands
 * on the last grid point and gives exactly its value.
 */

typedef struct md_tetrab_table md_tetrab_table;

/// Creates a table with values and weights from 0 to 255.
///
/// All values, those of the additional layers included, are 0.
///
/// @param dims     input dimensions, at least 1
/// @param outputs  output channels, at least 1
/// @param grid     grid points per dimension, at least 2; (grid+1)^dims * outputs bytes are
///                 stored, at most 2^31-1
/// @return         a table the caller owns and releases with md_tetrab_kill(); null on failure
/// @fails          "md_tetra_new: illegal dimension"     an argument is out of its range
///                 "md_tetra_new: insufficient memory"   for the record, a LUT or work space
///                 "md_tetrab_new: malloc failure"       for the values or a cell table
MOVANE_API md_tetrab_table* md_tetrab_new(int dims, int outputs, int grid);

/// Creates a table with another range of values and weights.
///
/// A corner counts trunc((weight - w_lo) * (value - w_lo) / (w_hi - w_lo) + w_lo + 0.5), or 255
/// when value or weight lies outside the range. The weights of the corners are differences of
/// the weights in the cell, the first is taken from w_hi; so a range that begins above 0 does
/// not give back grid values. All values are w_lo at first.
///
/// @param grid       grid points per dimension, at least 2; (grid+pad)^dims * outputs bytes are
///                   stored, at most 2^31-1
/// @param w_lo,w_hi  the range, 0 <= w_lo < w_hi <= 255
/// @param pad        additional layers per dimension, at least 0; they are read with weight w_lo
///                   only
/// @return           as md_tetrab_new()
/// @fails            as md_tetrab_new(), and
///                   "md_tetrab_new: insuff. mem."  for the products of a range of its own
MOVANE_API md_tetrab_table* md_tetrab_new_special(int dims, int outputs, int grid, int w_lo,
                                                  int w_hi, int pad);

/// Releases a table and all that it owns; null is accepted.
///
/// @return  null
MOVANE_API md_tetrab_table* md_tetrab_kill(md_tetrab_table* table);

/// Interpolates a line of samples.
///
/// A sample whose input codes all equal those of the sample before it in the same call gets a
/// copy of the output bytes before its own, even if the mask left those untouched: they are then
/// what the host had there.
///
/// Streams may overlap. Samples are then finished one after the other, each reading all its
/// codes before it writes; its channels are written first to last, with four dimensions last to
/// first.
///
/// @param in          one pointer per dimension; left unchanged
/// @param in_stride   bytes from one sample to the next, the same for all dimensions
/// @param out         one pointer per channel, null for a channel that is not wanted; each is
///                    advanced by count * out_stride bytes
/// @param out_stride  bytes from one sample to the next, the same for all channels
/// @param count       samples
/// @param mask        one byte per sample, adjacent, or null: a sample whose byte is not above
///                    the threshold leaves its output bytes as they are
/// @param threshold   compared with the mask as a double
MOVANE_API void md_tetrab_interp(const md_tetrab_table* table, unsigned char** in, int in_stride,
                                 unsigned char** out, int out_stride, int count,
                                 unsigned char* mask, double threshold);

/// Copies LUTs of 256 bytes into the table.
///
/// @param ilut  one LUT per dimension; null, or a null entry, stands for the identity
/// @param olut  one LUT per channel, likewise
/// @return      1
MOVANE_API int md_tetrab_LUT(md_tetrab_table* table, unsigned char** ilut, unsigned char** olut);

/// @return  the 256 bytes of the input LUT of dimension `d`, in the table and open to writing;
///          null when there is no such dimension
MOVANE_API unsigned char* md_tetrab_ilutptr(const md_tetrab_table* table, int d);

/// @return  the 256 bytes of the output LUT of channel `c`, in the table and open to writing;
///          null when there is no such channel
MOVANE_API unsigned char* md_tetrab_olutptr(const md_tetrab_table* table, int c);

/// @param size  receives the bytes of the grid values, additional layers included
/// @return      the grid values, in the table and open to writing
MOVANE_API unsigned char* md_tetrab_dataptr(const md_tetrab_table* table, int* size);

/// Looks a grid point up.
///
/// @param index   its number in each dimension, from 0 to grid-1
/// @param coords  receives the input code of its grid line in each dimension, rounded
/// @return        its output values, one byte per channel, in the table and open to writing
MOVANE_API unsigned char* md_tetrab_vertex_get(const md_tetrab_table* table, int* index,
                                               unsigned char* coords);

/// Moves a counter on to the next grid point: the first dimension counts fastest. Behind the
/// last point it is back at all zeros.
///
/// @param index  the counter, one number per dimension
/// @return       number of points from the new one to the last; 0 behind the last point
MOVANE_API int md_tetrab_scan_vertex(const md_tetrab_table* table, int* index);

/// @return  number of grid points, grid^dims
MOVANE_API int md_tetrab_get_nrpoints(const md_tetrab_table* table);

/// Creates a table with another grid that continues a given one.
///
/// The new values are what the old table, with its LUTs, gives at the new grid points. When the
/// new grid divides each old cell into equal parts and all input LUTs are the identity, the
/// points are located exactly; otherwise the old table is asked at their rounded input codes.
/// The new table has values and weights from 0 to 255 and no LUTs but the identity; the old one
/// stays as it is.
///
/// @param new_grid  grid points per dimension, at least 2
/// @return          a table the caller owns and releases with md_tetrab_kill(); null on failure
/// @fails           a message of md_tetrab_new(), then
///                  "md_tetrab_expand: error in md_tetrab_new"
MOVANE_API md_tetrab_table* md_tetrab_expand(const md_tetrab_table* table, int new_grid);

/* --- Simplex tables of doubles --------------------------------------------------------------
 *
 * The same scheme without LUTs, masks or repeats. All dimensions share one input range.
 */

typedef struct md_tetrad_table md_tetrad_table;

/// Creates a table whose values are all zero.
///
/// @param dims     input dimensions, at least 1
/// @param outputs  output channels, at least 1
/// @param grid     grid points per dimension, at least 2; (grid+1)^dims * outputs doubles are
///                 stored, at most 2^31-1 bytes
/// @param lo,hi    inputs of the first and the last grid point: two finite numbers, in either
///                 order, that differ
/// @return         a table the caller owns and releases with md_tetrad_kill(); null on failure
/// @fails          "md_tetra_new: illegal dimension"    an argument is out of its range
///                 "md_tetra_new: insufficient memory"  for the record or work space
///                 "md_tetrab_new: malloc failure"      for the array of cell tables
///                 "md_tetrad_new: insuff. mem."        for a cell table or the values
MOVANE_API md_tetrad_table* md_tetrad_new(int dims, int outputs, int grid, double lo, double hi);

/// Releases a table and all that it owns; null is accepted.
///
/// @return  null
MOVANE_API md_tetrad_table* md_tetrad_kill(md_tetrad_table* table);

/// Interpolates a line of samples.
///
/// Inputs are not clamped: what lies outside lo to hi reads outside the table. A sample with an
/// input that is not a number is safe, its outputs mean nothing.
///
/// @param in          one pointer per dimension; unchanged with up to four dimensions, advanced
///                    by count * in_stride doubles with five and more
/// @param in_stride   doubles from one sample to the next, the same for all dimensions
/// @param out         one pointer per channel, null for a channel that is not wanted; each is
///                    advanced by count * out_stride doubles
/// @param out_stride  doubles from one sample to the next, the same for all channels
/// @param count       samples
MOVANE_API void md_tetrad_interp(const md_tetrad_table* table, double** in, int in_stride,
                                 double** out, int out_stride, int count);

/// Looks a grid point up.
///
/// @param index   its number in each dimension, from 0 to grid-1
/// @param coords  receives its input in each dimension
/// @return        its output values, one per channel, in the table and open to writing
MOVANE_API double* md_tetrad_vertex_get(const md_tetrad_table* table, int* index, double* coords);

/// @param count  receives the number of doubles, additional layers included
/// @return       the grid values, in the table and open to writing
MOVANE_API double* md_tetrad_dataptr(const md_tetrad_table* table, int* count);

/// As md_tetrab_scan_vertex().
MOVANE_API int md_tetrad_scan_vertex(const md_tetrad_table* table, int* index);

/// @return  number of grid points, grid^dims
MOVANE_API int md_tetrad_get_nrpoints(const md_tetrad_table* table);

MOVANE_C_END

#endif
