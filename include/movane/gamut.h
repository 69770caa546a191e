/* Gamut geometry: what is computed with the colours that a device can reach.
 *
 *   Vectors       vect_*                   arithmetic on plain arrays, subsets of points, lobes
 *   Top surface   TTriangularTopSurface    the light side of a device's gamut, for C++ hosts
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

MOVANE_C_END

#ifdef __cplusplus

#include "movane/foundation.h"

#include <stdio.h>

#include <iosfwd>

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

    /// Copies the numbers, not the place in a list; the copy is read from its start.
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
    /// @param device             nrDevice values: -1.0 at the two channels, fixed values elsewhere
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
    /// @param nrGridValues   how many, at least 2 each; pieces take at most 100000
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
    /// @param params  a value for each variable coordinate, in the order of the channels
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
    ///                there "No more memory", "No More Memory"  for the hue spans "No Memory"   for
    ///                the geometry of a piece those of lin_interp_double_new() and its companions
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

    /// Writes ForBinaryStream() to a file, replacing one that exists. An error number that is set
    /// afterwards is reported, and cleared.
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
