/* Gamut geometry: what is computed with the colours that a device can reach.
 *
 *   Vectors    vect_*         arithmetic on plain arrays, subsets of points, lobes of a curve
 *   Hull       TConvexHull    the convex hull of points, and whether a colour lies inside
 *   Plane      TPlane         pixels of a planar slice of CIELAB, and back
 *   Quadtree   TQuadTree      a region of a grid, sampled sparingly
 *
 * The classes stand at the end.
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

#ifdef __cplusplus

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
 * fixed: coordinates must be of the order of CIELAB's, since a hull smaller than the tolerance is
 * flat. Any coordinates are accepted. Points that are not numbers lie outside nothing and are
 * dropped, unless they stand among the first three that are not collinear, which makes
 * Construct() fail.
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
    ///          other are collinear, and without memory
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

#endif

#endif
