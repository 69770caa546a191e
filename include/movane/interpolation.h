/* Interpolation: tables that map input channels to output channels.
 *
 *   Simplex tables of bytes     md_tetrab_*           8-bit codes in and out: lines of images
 *   Simplex tables of doubles   md_tetrad_*           the same scheme in floating point
 *   Function tables             func_*                keys in order, each with a value
 *   Linear interpolators        lin_interp_double_*   curves through points
 *   Gradation tables            grad_tab_*            a curve and its inverse, kept in a file
 *   CLUT                        CLUT                  floats of any dimension, for C++ hosts
 *
 * A simplex table holds output values at the points of a regular grid over its input space, any
 * number of dimensions. A point between them gets the weighted mean of dims+1 corners of its grid
 * cell: each cell is split into simplices (six tetrahedra in three dimensions) that share the
 * cell's lowest and highest corner, and sorting the point's positions inside the cell finds its
 * simplex.
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

/* --- Function tables --------------------------------------------------------------------------
 *
 * Two parallel dynamic lists (foundation.h): keys, which an ordering of the host keeps sorted, and
 * values; value i belongs to key i. Keys and values are records of any size, copied in. Like a
 * list, a table holds at most 65535 points and belongs to one caller while it is changed; any
 * number of threads may read it. Addresses of keys and values are valid until the next insertion.
 */

typedef struct movane_func movane_func;

/// As an ordering: non-zero when the element belongs after the key. As an equality: 0 when they
/// are equal. The same as a list_predicate.
typedef int (*func_predicate)(const void* element, const void* key);

/// Creates an empty table.
///
/// @param ext         points for which there is room at once, and by which the table grows; 10
///                    when below 1, at most 65535
/// @param key_size    bytes of a key, at most 65535
/// @param value_size  bytes of a value, at most 65535
/// @param compare     order of the keys; null keeps the order of insertion
/// @return            a table the caller owns and releases with func_kill(); null on failure
/// @fails             "list_new : Not enough resources to create list", when a list is refused,
/// then
///                    "func_new : unable to create new instance of function"
MOVANE_API movane_func* func_new(int ext, int key_size, int value_size, func_predicate compare);

/// Releases a table with its keys and values; null is accepted.
///
/// @return  0
MOVANE_API int func_kill(movane_func* function);

/// Copies a point in: its key where the ordering puts it, behind keys that it does not order
/// after; its value at the same index.
///
/// @return  its index; -1 on failure, nothing is inserted
/// @fails   "list_insert : Unable to extend list, insufficient resources"
MOVANE_API int func_insert(movane_func* function, const void* key, const void* value);

/// Replaces a point where it is. Nothing is sorted: a key out of order misleads later searches.
///
/// @return  the index; -1 on failure
/// @fails   "list_changep : index out of bound"  index negative or not below func_num()
MOVANE_API int func_changep(movane_func* function, int index, const void* key, const void* value);

/// Creates the inverse: a table whose keys are the values of this one and whose values are its
/// keys, inserted in the order of this table's indices.
///
/// @param compare  order of the new keys; null keeps the order of insertion
/// @return         a table the caller owns and releases with func_kill(); null on failure
/// @fails          as func_new() and func_insert()
MOVANE_API movane_func* func_invert(const movane_func* function, func_predicate compare);

/// @return  index of the first key that belongs after `key`; func_num() when none does
MOVANE_API int func_pos(const movane_func* function, const void* key);

/// Looks a point up.
///
/// @param key,value  receive the addresses of the stored key and value, which are open to writing
/// @return           0; -1 when there is no such index, `key` and `value` stay as they are
MOVANE_API int func_get_point(const movane_func* function, int index, void** key, void** value);

/// @return  number of points; 0 for null
MOVANE_API int func_num(const movane_func* function);

/// Removes a point; the ones behind it move up. An index out of range is ignored.
///
/// @return  0
MOVANE_API int func_rem_point(movane_func* function, int index);

/// Finds a point by its key, as list_search_el() does: the stored key at func_pos() is compared,
/// in a table without ordering every one. The ordering should therefore be non-zero for equal
/// keys too.
///
/// @param value    receives the address of the stored value; stays as it is when there is none
/// @param compare  0 when a stored key and `key` are equal
/// @return         the index; -1 when there is none
MOVANE_API int func_search_el(const movane_func* function, const void* key, void** value,
                              func_predicate compare);

/// Makes room for n points in advance. Without memory the table stays as it was.
///
/// @return  0, also on failure
/// @fails   "list_insert : Unable to extend list, insufficient resources"
MOVANE_API int func_alloc(movane_func* function, int n);

/* --- Linear interpolators ---------------------------------------------------------------------
 *
 * A curve through points (x, y): straight between them, and straight on or constant outside.
 *
 *     lin_interp_double* curve = lin_interp_double_new(10, NULL);
 *     lin_interp_double_insert(curve, 0.0, 0.0);
 *     lin_interp_double_insert(curve, 1.0, 2.0);
 *     double y;
 *     if (lin_interp_double_inter(curve, 0.5, &y) == 0) ...        y is 1.0
 *     lin_interp_double_kill(curve);
 *
 * The points are a function table of doubles. With the default ordering, xsort_int(), x ascends
 * and a new point lies behind those with the same x; then the segment is found by a proportional
 * guess, which hits at once where points are about evenly spaced, and else by bisection. Results
 * do not depend on that. Any number of threads may interpolate as long as nobody changes points.
 *
 * A null interpolator has no table and no points.
 */

typedef struct lin_interp_double lin_interp_double;

/// Creates an interpolator without points.
///
/// @param ext      points for which there is room at once, and by which it grows; 10 when below
///                 1, at most 65535
/// @param compare  order of the x, called with pointers to doubles; null for xsort_int()
/// @return         an interpolator the caller owns and releases with lin_interp_double_kill();
///                 null on failure
/// @fails          those of func_new(), when its table is refused, then
///                 "lin_interp : Cannot create new instance of double interpolator"
MOVANE_API lin_interp_double* lin_interp_double_new(int ext, func_predicate compare);

/// Releases an interpolator; null is accepted.
///
/// @return  0
MOVANE_API int lin_interp_double_kill(lin_interp_double* interpolator);

/// Adds a point.
///
/// @return  0; -1 on failure, nothing is added
/// @fails   "lin_interp_double_getp : Not properly initialized"  there is no table
///          "list_insert : Unable to extend list, insufficient resources"
MOVANE_API int lin_interp_double_insert(lin_interp_double* interpolator, double x, double y);

/// Replaces a point where it is; nothing is sorted.
///
/// @return  0; -1 on failure
/// @fails   "lin_interp_double_getp : Not properly initialized"  there is no table
///          "list_changep : index out of bound"
MOVANE_API int lin_interp_double_changep(lin_interp_double* interpolator, int index, double x,
                                         double y);

/// Looks a point up.
///
/// @param x,y  receive the point; stay as they are on failure
/// @return     0; -1 when there is no such index
/// @fails      "lin_interp_double_getp : Not properly initialized"  there is no table
MOVANE_API int lin_interp_double_getp(const lin_interp_double* interpolator, int index, double* x,
                                      double* y);

/// @return  number of points
MOVANE_API int lin_interp_double_num(const lin_interp_double* interpolator);

/// Interpolates; outside the points the first or last segment goes straight on.
///
/// At the x of a point the segment to its right is used, the last segment at the last point. An x
/// that is not a number lies behind all points.
///
/// @param y  receives the value; stays as it is on failure
/// @return   0; -1 on failure
/// @fails    "lin_interp : too little function points"  fewer than 2
///           "lin_interp : not a function !!"           the x of the segment's ends are at most
///                                                      1e-20 apart
MOVANE_API int lin_interp_double_inter(const lin_interp_double* interpolator, double x, double* y);

/// Interpolates; outside the points the value is that of the first or the last point, so that
/// fails there only what has too few points. Otherwise as lin_interp_double_inter().
MOVANE_API int lin_interp_double_inextp(const lin_interp_double* interpolator, double x, double* y);

/// Creates the inverse: the points (y, x), sorted anew. The curve need not be monotonic; the
/// result is then no inverse but holds the points all the same.
///
/// @param compare  order of the new x; null for xsort_int()
/// @return         an interpolator the caller owns and releases with lin_interp_double_kill();
///                 null on failure
/// @fails          those of the call that failed, then
///                 "lin_interp_double : cannot create inverted object"
MOVANE_API lin_interp_double* lin_interp_double_invert(const lin_interp_double* interpolator,
                                                       func_predicate compare);

/// Replaces the point whose x is nearest, if it is near enough, or adds one. Of points equally
/// near the one with the lowest index is replaced; it stays at its index.
///
/// @param tolerance  a point less than this away is replaced, in units of x
/// @return           0; -1 on failure
/// @fails            "lin_interp_double_getp : Not properly initialized"  there is no table
///                   "list_insert : Unable to extend list, insufficient resources"
MOVANE_API int lin_interp_double_subst(lin_interp_double* interpolator, double x, double y,
                                       double tolerance);

/* --- Gradation tables -------------------------------------------------------------------------
 *
 * A tone curve over a range of values and its inverse, kept as a record file of pairs
 * (file_double_*, services.h). In the file both members of a pair are relative to the range, 0
 * standing for `min` and 1 for `max`; calls deal in values of the range.
 */

typedef struct grad_tab grad_tab;

/// Opens a gradation table, or begins a new one.
///
/// The inverse is made here, once: points that are added later are not in it.
///
/// @param file     path of the record file, at most 127 characters
/// @param mode     0: the file is read. Otherwise the table begins empty; grad_tab_save() makes or
///                 replaces the file.
/// @param max,min  ends of the range
/// @return         a table the caller owns and releases with grad_tab_kill(); null on failure
/// @fails          those of file_double_new(), file_double_list() and of the lin_interp_double
///                 call that failed; without memory for the table itself, none
MOVANE_API grad_tab* grad_tab_new(const char* file, int mode, double max, double min);

/// Releases a table; null is accepted. What was not saved is lost.
///
/// @return  0
MOVANE_API int grad_tab_kill(grad_tab* table);

/// Writes the file, as file_double_save().
///
/// @return  0; -1 on failure, also for null, without a message then
/// @fails   "file_double_save: Unable to save record file"
MOVANE_API int grad_tab_save(grad_tab* table);

/// Adds a point to the forward curve and to the records in memory.
///
/// The record is named "p" and 100 minus the relative input in percent, rounded: "p100" is `min`.
/// Points with the same name are all kept, in order of adding.
///
/// @param point  input and output, two values of the range
/// @return       0; -1 on failure, also when max equals min, without a message then. Nothing is
///               added; only a point that the records refuse is in the forward curve all the same.
/// @fails        "list_insert : Unable to extend list, insufficient resources", or those of
///               file_double_add_item()
MOVANE_API int grad_tab_add_point(grad_tab* table, const double point[2]);

/// Gives the next pair of the records.
///
/// @param state  1: the pair after the one of the last call; anything else: the first. It is 1
///               afterwards.
/// @param pair   receives input and output, values of the range; stays as it is at the end
/// @return       1; 0 at the end
/// @fails        as file_double_list()
MOVANE_API int grad_tab_list(grad_tab* table, int* state, double pair[2]);

/// Maps samples through the forward curve with lin_interp_double_inter().
///
/// @param in,out                 first samples; `out` may be `in` with the same stride
/// @param in_stride,out_stride   doubles from one sample to the next
/// @param count                  samples; nothing is done when it is below 1
/// @return                       0; -1 at the first sample that fails, those before it are mapped
/// @fails                        "lin_interp : too little function points"
///                               "lin_interp : not a function !!"
MOVANE_API int grad_tab_do(const grad_tab* table, const double* in, int in_stride, double* out,
                           int out_stride, int count);

/// Maps samples through the inverse curve, as grad_tab_do().
MOVANE_API int grad_tab_do_inv(const grad_tab* table, const double* in, int in_stride, double* out,
                               int out_stride, int count);

MOVANE_C_END

#ifdef __cplusplus

/* --- CLUT -------------------------------------------------------------------------------------
 *
 * A colour lookup table of floats: a regular grid over 0..1 in each input dimension, and the
 * interpolation between its points. Three dimensions are interpolated in tetrahedra, all others
 * multilinearly.
 *
 *   unsigned char points[3] = {33, 33, 33};
 *   CLUT table(3, points, 4, 0, values);           33 * 33 * 33 * 4 floats, which are copied
 *   table.InterpolateLine(inks, pixels, width);    interleaved doubles
 *
 * The values of one grid point are adjacent, the last dimension varies fastest, and there are no
 * additional layers: the value of channel c at the point (i0, i1, ...) is element
 * i0 * GetDimSize(0) + i1 * GetDimSize(1) + ... + c.
 *
 * What is computed is defined to the bit, all of it in single precision: a coordinate x becomes
 * t = (float)(points - 1) * (float)x, its cell trunc(t), its fraction t - cell; at the top the
 * last cell with fraction 1. The weight of a corner is the product of its factors in ascending
 * order of the dimensions. Weighted values are added, starting from 0, with the corners in the
 * order of their numbers; bit d of a corner's number is set when it is the upper one in dimension
 * d.
 *
 * Any number of threads may interpolate through one object, or through copies of it, as long as
 * nobody writes values: a call keeps its working values to itself.
 *
 * Copies share the values and whatever else was allocated, and no destructor releases it: an
 * object's memory stays for the rest of the process. Leak checkers know it by the frame
 * "CLUT::CLUT".
 */

/// What each interpolated value passes on its way out.
typedef double (*clut_output)(float value);

class MOVANE_API CLUT {
public:
    /// A table with the values at `data`, which stay the host's. Values are clipped to 0..1 on
    /// their way out.
    ///
    /// Nothing is reported. When there is no memory, or when the grid has more than 2^31-1 values,
    /// the table has no points, its results are 0, and there is no data.
    ///
    /// @param inDim        input dimensions, 1 to 16
    /// @param gridPoints   grid points of each dimension, inDim of them, each at least 2
    /// @param outChannels  values of a grid point
    /// @param tag          kept, and not used
    /// @param data         the values of all grid points, laid out as said above
    CLUT(unsigned char inDim, unsigned char* gridPoints, unsigned char outChannels,
         unsigned char tag, float* data);

    /// Copies share values and memory with their source.
    CLUT(const CLUT& other);
    CLUT& operator=(const CLUT& other);

    /// Releases nothing.
    virtual ~CLUT();

    /// Value number i, open to writing.
    float& operator[](int i);

    /// The address of value number i; null when there are no points and i is 0.
    float* GetData(int i);

    /// Number of grid points.
    unsigned int NumPoints() const;

    /// Grid points of dimension 0.
    unsigned char GridPoints() const;

    /// Grid points of dimension d, 0 to 15; 0 from the number of dimensions on.
    unsigned char GridPoint(int d) const;

    /// Values from one grid point to the next in dimension d, 0 to 15.
    unsigned int GetDimSize(unsigned char d) const;

    unsigned char GetInputDim() const;
    unsigned char GetOutputChannels() const;

    /// Interpolates one point.
    ///
    /// Coordinates below 0 count as 0, those above 1 as 1. One that is not a number makes every
    /// result not a number.
    ///
    /// @param out  receives a value for each channel; may not overlap `in`
    /// @param in   a coordinate for each dimension
    void Interpolate(double* out, const double* in);

    /// Interpolates points one after the other, each as Interpolate() does to the last bit, in
    /// less time. An addition to the class: older hosts know Interpolate() alone.
    ///
    /// @param out    receives the channels of each point, adjacent; may not overlap `in`
    /// @param in     the coordinates of each point, adjacent
    /// @param count  points; nothing is done when it is below 1
    void InterpolateLine(double* out, const double* in, int count);

protected:
    /// Computes what interpolation needs beside the values. A call of its own allocates anew;
    /// without memory the object has no points afterwards.
    void Begin();

    // The kernels, each for its number of dimensions; there must be points.
    void Interp3dTetra(double* out, const double* in);
    void Interp3d(double* out, const double* in);  ///< multilinear; Interpolate() never uses it
    void Interp4d(double* out, const double* in);
    void Interp5d(double* out, const double* in);
    void Interp6d(double* out, const double* in);
    void InterpND(double* out, const double* in);  ///< multilinear in any number of dimensions

    clut_output output_;  ///< clips to 0..1 at first
    unsigned char input_dims_;
    unsigned char output_channels_;
    unsigned char tag_;
    unsigned char grid_points_[16];  ///< 0 from input_dims_ on
    unsigned int nr_points_;
    unsigned int dim_sizes_[16];  ///< values from one grid point to the next
    float* data_;                 ///< with room for 3 floats behind the values
    unsigned char tops_[16];      ///< grid points - 1
    int corner_offsets_[16];      ///< of 3 and 4 dimensions: corner b behind the base, in values
    int* corner_table_;           ///< the same of all numbers of dimensions but 3
    float* top_coordinates_;      ///< tops_ as floats, likewise
    unsigned int nr_corners_;     ///< of a cell
    int bit_weights_[16];         ///< entry d is 1 << (input_dims_ - d - 1)

    friend struct ClutLattice;
};

#endif

#endif
