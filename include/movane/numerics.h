/* Numerics: curves, minimisers, matrices, random numbers, fits.
 */
#ifndef MOVANE_NUMERICS_H
#define MOVANE_NUMERICS_H

#include "movane/api.h"

MOVANE_C_BEGIN

/* --- Bezier curves ------------------------------------------------------------------------
 *
 * Planar curves of degree 2, 3 or 4 in double coordinates, in whatever unit the host draws in.
 * A curve of degree n has the control points 0 to n: 0 and n are its end points, those between
 * are the inner control points. The parameter t runs from 0 at the start to 1 at the end.
 *
 *   Bezier* b = bezier_new(3, 0, 0, 100, 50);
 *   bezier_set_controlp(b, 0, 30, 0);  bezier_set_controlp(b, 1, 70, 50);
 *   double* points;  int sections = bezier_fvector(b, 0.25, &points);  ...  free(points);
 *   bezier_kill(b);
 *
 * A polyline is a sequence of points of two doubles, x then y (16 bytes).
 *
 * Curves come from one pool, which is made with the first curve and never given back, and
 * bezier_vector() counts its points in one place for the whole library: use curves from one
 * thread at a time.
 */

typedef struct Bezier Bezier;
struct movane_dynar; /* a dynamic array, see movane/foundation.h */

/// Evaluates a Bernstein polynomial, such as 3*t*t*(1-t) for degree 3 and index 2.
///
/// @param degree  2, 3 or 4
/// @param i       0 to degree
/// @return        the value; -1 on failure
/// @fails         "B_poly : illegal index"    index of degree 2
///                "B_poly : illegal index "   index of degree 3 or 4; ends in a blank
///                "B_poly : illegal degree "  ends in a blank
MOVANE_API double B_poly(int degree, int i, double t);

/// Creates a curve from its end points; the inner control points are (0, 0).
///
/// @param degree  2, 3 or 4
/// @return        a curve the caller owns and releases with bezier_kill(); null on failure
/// @fails         "Bezier_new : illegal degree"
///                "Bezier_new : allocation of Bezier failed"
MOVANE_API Bezier* bezier_new(int degree, double x0, double y0, double xn, double yn);

/// Returns the curve to the pool; null is accepted.
///
/// @return  1
MOVANE_API int bezier_kill(Bezier* b);

/// Sets all control points.
///
/// @param x,y  degree+1 values each
/// @return     1
MOVANE_API int bezier_set_control_poly(Bezier* b, const double* x, const double* y);

/// Copies all control points out.
///
/// @param x,y  room for degree+1 values each
/// @return     1
MOVANE_API int bezier_get_control_poly(Bezier* b, double* x, double* y);

/// Moves an end point. Above degree 2 the inner control point next to it moves along, so the
/// curve keeps its direction and speed there; the inner point of degree 2 stays.
///
/// @param which  0 for the start point, 1 for the end point
/// @return       1; 0 on failure
/// @fails        "Bezier_set_endp : illegal index"
MOVANE_API int bezier_set_endp(Bezier* b, int which, double x, double y);

/// @param which  0 for the start point, 1 for the end point
/// @return       1; 0 on failure, nothing is written then
/// @fails        "Bezier_get_endp : illegal index"
MOVANE_API int bezier_get_endp(Bezier* b, int which, double* x, double* y);

/// Sets one inner control point.
///
/// @param i  0 to degree-2, counting the inner points only
/// @return   1; 0 on failure
/// @fails    "Bezier_set_controlp : illegal ind"
MOVANE_API int bezier_set_controlp(Bezier* b, int i, double x, double y);

/// @param i  0 to degree-2, counting the inner points only
/// @return   1; 0 on failure, nothing is written then
/// @fails    "Bezier_get_controlp : illegal ind"
MOVANE_API int bezier_get_controlp(Bezier* b, int i, double* x, double* y);

/// Evaluates the curve by Horner's rule on its power-basis coefficients.
///
/// @param t    any value; beyond 0..1 the curve is continued
/// @param x,y  receive the point
MOVANE_API void bezier_get(Bezier* b, double t, double* x, double* y);

/// Finds the points of the curve that have a given x.
///
/// Leading coefficients of x(t) below 1.1920928955078125e-5 count as 0. Parameters up to about
/// 1.19e-5 outside 0..1 are accepted. A quadratic x(t) that only touches the given x has no
/// solution; coinciding solutions of a cubic one count once.
///
/// @param y  receives the y of each point; room for 3. A cubic x(t) gives them in ascending order
///           of t, a quadratic one the larger root (of the monic polynomial) first
/// @return   number of values written; 0 also on failure
/// @fails    "Bezier_get_y : invalid degree "  x(t) is constant; ends in a blank
///           "Bezier_get_y : Sorry no support for higher order (>3)"  x(t) is quartic
MOVANE_API int bezier_get_y(Bezier* b, double x, double* y);

/// bezier_get_y() with x and y exchanged.
///
/// @fails  "Bezier_get_y : invalid degree "  y(t) is constant; this text names the other function
///         "Bezier_get_x : Sorry no support for higher order (>3)"  y(t) is quartic
MOVANE_API int bezier_get_x(Bezier* b, double y, double* x);

/// As bezier_get_y(), for curves up to degree 4 and faster for cubics, of which it finds at most
/// one point: the one that Newton's method started at t = 0.5 leads to (see fthird_order_eq()).
/// A quartic x(t) gives all its points in ascending order of t, points closer than the precision
/// of the coefficients allows to tell apart as one.
///
/// @param y  receives the y of each point; room for 4
/// @return   number of values written; 0 also on failure
/// @fails    "Bezier_get_y : invalid degree "  x(t) is constant; ends in a blank
MOVANE_API int bezier_fget_y(Bezier* b, double x, double* y);

/// bezier_fget_y() with x and y exchanged.
///
/// @fails  "Bezier_get_y : invalid degree "  y(t) is constant; this text names the other function
MOVANE_API int bezier_fget_x(Bezier* b, double y, double* x);

/// Estimates how far the curve lies from its chord.
///
/// Lengths are estimated as 0.9375 * longer + 0.46875 * shorter coordinate. A closed cubic gives
/// the distance of the farther inner control point from the start. When both inner points of a
/// cubic lie equally far from the chord on the same side, the result is 0.75 times that distance
/// times the length of the chord: this one value is not divided by it.
///
/// @param t    receives the parameter of the largest deviation; 0 on failure
/// @param err  receives the deviation in units of the coordinates; 0 on failure
/// @return     1; 0 on failure
/// @fails      "Bezier_vector_error : illegal degree"  degree 4
MOVANE_API int bezier_vector_error(Bezier* b, double* t, double* err);

/// Splits the curve in two by de Casteljau's construction. The curve itself stays.
///
/// @param t           0 to 1; at the bounds one half is a point
/// @param left,right  receive the halves, which the caller owns; null on failure
/// @return            1; 0 on failure
/// @fails             "Bezier_subdivide: illegal t value"
///                    "Bezier_subdivide: illegal degree"  degree 4
///                    "Bezier subdivide: unable to create new Bezier"  after a message of
///                                                                     bezier_new()
MOVANE_API int bezier_subdivide(Bezier* b, double t, Bezier** left, Bezier** right);

/// Turns a cubic into a polyline by splitting it where it deviates most, until each piece lies
/// within the bound of its chord or has been halved 30 times.
///
/// Each piece contributes its control point 3, so the curve has to be a cubic; of other degrees
/// that point does not end the piece. A piece that cannot be split is taken as it is, after the
/// messages of bezier_subdivide().
///
/// @param bound   largest deviation, in units of the coordinates, above 0
/// @param points  the address of an array of 16-byte items, which is filled from index 0; when it
///                is null, receives a new array that the caller releases with dynar_kill()
/// @return        number of sections, one less than points; 0 on failure
/// @fails         "Bezier_vector: Unable to create vertex array"  after the message of dynar_new()
MOVANE_API int bezier_vector(Bezier* b, double bound, struct movane_dynar** points);

/// Computes into how many sections of equal parameter length the curve has to be cut so that the
/// chords stay within the bound, at most 2^26.
///
/// A quadratic whose inner point halves the chord has one section; a debug remark then says
/// "Bezier_fvector_len: vector input".
/// For a cubic whose second derivative is 0 or not a number, the count is 1 more than the quotient
/// of the flatness estimate, see bezier_vector_error(), and the bound; the remark is
/// "Bezier_fvector_len: resorting to secondary error criterium".
///
/// @param bound  largest deviation, in units of the coordinates, above 0
/// @return       number of sections, at least 1; 0 on failure
/// @fails        "Bezier_fvector_len: illegal error bound"
///               "Bezier_fvector_len: illegal degree"  degree 4
///               "Bezier_fvector_len: unable to get error estimate"
MOVANE_API int bezier_fvector_len(Bezier* b, double bound);

/// Computes points at equal steps of the parameter by forward differencing. The first and the
/// last point are the end points exactly.
///
/// @param buffer    receives nr_sect+1 points
/// @param nr_sect   number of sections, at least 1
/// @param itemsize  bytes from point to point, at least 16; 0 means 16. Bytes behind the 16 of a
///                  point stay as they are
/// @return          1; 0 on failure
/// @fails           "Bezier_vector_fd: illegal itemsize"
///                  "Bezier_vector_fd: illegal nr_sect"
///                  "Bezier_vector_fd: illegal degree"  degree 4
MOVANE_API int bezier_vector_fd(Bezier* b, void* buffer, int nr_sect, int itemsize);

/// bezier_fvector_len() and bezier_vector_fd() in one.
///
/// @param points  receives the points, sections+1 times x and y, in memory that the caller
///                releases with free(); null on failure
/// @return        number of sections; 0 on failure
/// @fails         "Bezier_fvector: allocation of vertex array failed"
///                "Bezier_fvector:unable to vectorise"  after the messages of bezier_fvector_len()
///                                                      and bezier_vector_fd()
MOVANE_API int bezier_fvector(Bezier* b, double bound, double** points);

/// Sets the control points so that the curve passes through given points at t = i/degree.
///
/// @param x,y  degree+1 values each
/// @return     1; 0 on failure, the curve is unchanged
/// @fails      "bezier_cpoly_det: malloc failure"
MOVANE_API int bezier_cpoly_det(Bezier* b, const double* x, const double* y);

/// Fits a cubic to a sequence of points by least squares.
///
/// The curve starts at the first point and ends at the last. Two points give a straight segment.
/// Three give a curve through all of them, or a straight segment when the middle one is close to
/// an end (less than a tenth of the way along the points) and the outer points differ in both
/// coordinates, or when it coincides with one of them. From four points on, least-squares solutions
/// for the inner control points and Newton steps of the points' parameters alternate, starting from
/// the chord lengths, until no parameter moves by 0.001 any more, at most 21 times.
///
/// @param nr_points                   number of points, at least 2
/// @param x,y                         the points, nr_points values each
/// @param use_start_tangent           non-zero: the first inner control point lies on the line
///                                    through the first point along (start_tx, start_ty), which
///                                    may have any length; from four points on
/// @param use_end_tangent             likewise: the second inner control point, the last point
///                                    and (end_tx, end_ty)
/// @param lse                         receives the root mean square of the inner points' distances
/// @param max_err                     receives the largest of these distances
/// @param trace                       above 0: prints the passes to standard output
/// @return                            1; 0 on failure
/// @fails  "Bezier_fit : degrees other than 3 not implemented yet"
///         "Bezier_fit : nr_points too small "   ends in a blank
///         "Bezier_fit : allocation of s failed"   the curve is as before
///         "Bezier_fit : system without solution"  the inner control points are put on the ends
///                                                 and the fit goes on
///         "Bezier_fit : divide by 0"              a parameter stays and the fit goes on
///
/// After M. Plass and M. Stone, "Curve-fitting with piecewise parametric cubics", Computer
/// Graphics 17(3), 1983.
MOVANE_API int bezier_fit(Bezier* b, int nr_points, const double* x, const double* y,
                          int use_start_tangent, double start_tx, double start_ty,
                          int use_end_tangent, double end_tx, double end_ty, double* lse,
                          double* max_err, int trace);

/* --- Golden-section line minimiser --------------------------------------------------------
 *
 * Finds a local minimum of a function of one variable within a bracket that the host knows.
 * Nothing is allocated, kept or reported; any number of threads may search at once.
 */

/// Narrows a bracket around a minimum by golden-section search (J. Kiefer, "Sequential minimax
/// search for a maximum", 1953).
///
/// Each evaluation shortens the bracket to 0.618 of its length: about
/// ln(tol / |xc - xa|) / ln(0.618) of them are made after the first two. Near the minimum the
/// values of a smooth function differ by the square of the distance only, so a tol below some
/// 1e-8 times the abscissa buys nothing.
///
/// No argument is tested. A tol of 0 ends only when the ends of the bracket meet exactly, a
/// negative one never. Where f gives NaN the search runs towards xa.
///
/// @param xa,xc  ends of the bracket, in either order
/// @param xb     a point between them whose value is below those of both ends
/// @param tol    length of the bracket at which the search ends, in units of x (absolute, not
///               relative to x)
/// @param f      the function; it must not throw
/// @param f_min  receives the value at the result
/// @return       the better of the last two inner points; of two equal ones that on xc's side
MOVANE_API double gsect_min(double xa, double xb, double xc, double tol, double (*f)(double x),
                            double* f_min);

/* --- Downhill simplex ---------------------------------------------------------------------
 *
 * Minimises a function of n variables without derivatives (J. A. Nelder and R. Mead, "A simplex
 * method for function minimization", The Computer Journal 7, 1965).
 *
 *   dhsm* h = dhsm_new(deviation, 0, 3);
 *   dhsm_init(h, 0, 0, 0, 0, steps, x);            optional: a starting simplex of the host's own
 *   dhsm_solve(h, model, target, 0, 1e-6, x, 500, &least);
 *   dhsm_kill(h);
 *
 * Out of memory posts "nr: 1, kind: 0, sys: 12, file: MOVANE/Private/Source/dhsm, line: <line>,
 * info: No resources available".
 *
 * The tolerance of the running solve is one process-wide value: solves of different handles must
 * not run at the same time, and a function that itself solves changes the tolerance of the outer
 * solve's default convergence measure.
 */

typedef struct dhsm dhsm;

/// The function to minimise. It must not throw.
///
/// @param u1,u2,u3  what the host handed to dhsm_solve()
/// @param point     n coordinates, valid during the call
typedef double (*dhsm_function)(void* u1, void* u2, void* u3, const double* point);

/// A convergence measure: the solve ends as soon as it is below the tolerance. It is asked before
/// every step, must not throw and must leave the record unchanged, except for the scratch points.
///
/// @param highest,lowest  indices of the vertices with the greatest and the smallest value
typedef double (*dhsm_convergence)(dhsm* h, void* u1, void* u2, void* u3, int highest, int lowest);

/// The record of a minimiser. Convergence measures read it; nobody but the library writes it.
struct dhsm {
    double* vertices; /* n+1 rows of n coordinates: the simplex */
    double* values;   /* the value at each vertex; as the last solve left them */
    double* trial;    /* scratch point, n+1 doubles */
    double* trial2;   /* scratch point, n+1 doubles */
    double* centroid; /* of all vertices but the highest; n+1 doubles, the last unused */
    int n;            /* variables */
    int initialised;  /* 1 when a starting simplex waits for the next solve */
    dhsm_function function;
    dhsm_convergence convergence;
};

/// Creates a minimiser.
///
/// The default convergence measure is the spread of the simplex: the largest extent of the
/// vertices along one coordinate, divided by the largest magnitude among the coordinates of the
/// lowest vertex, or by 1 when that is smaller. A spread within the tolerance counts only if
/// the lowest vertex is a minimum of its surroundings: each of its coordinates in turn is moved
/// outward by 0.5 % (of itself, or of the largest magnitude when it is 0), and a move to a lower
/// value lets the solve go on. This costs up to n evaluations whenever it is done.
///
/// @param f            the function to minimise
/// @param convergence  the host's convergence measure; null for the default one
/// @param n            number of variables, at least 1
/// @return             a minimiser the caller owns and releases with dhsm_kill(); null on failure,
///                     without a message when n is below 1
/// @fails              the message above  out of memory; nothing is left allocated
MOVANE_API dhsm* dhsm_new(dhsm_function f, dhsm_convergence convergence, int n);

/// Sets up the starting simplex of the next solve: the start point, and for each coordinate the
/// start point moved up by a step. The function is not called.
///
/// Where that would pass an upper bound, the vertex lies below the start point instead: by a
/// tenth of the distance to the lower bound, or by two steps where there is none. Bounds place
/// the starting simplex only; the solve may leave them.
///
/// @param has_lower,has_upper  n flags each, non-zero where a bound exists; when either array is
///                             null there are no bounds
/// @param lower,upper          the bounds, n each; read only where a flag is set
/// @param steps                n steps, in units of the coordinates
/// @param x                    the start point, n coordinates; it replaces the one that
///                             dhsm_solve() is given
/// @return                     0
MOVANE_API int dhsm_init(dhsm* h, const int* has_lower, const int* has_upper, const double* lower,
                         const double* upper, const double* steps, const double* x);

/// Minimises the function.
///
/// Without a preceding dhsm_init() the starting simplex is made around x, with one step for all
/// coordinates: a tenth of the distance between the largest and the smallest of them, or 0.1 when
/// they are all equal. A starting simplex serves one solve: call dhsm_init() before each.
///
/// @param u1,u2,u3  handed through to the function and the convergence measure
/// @param tol       the convergence measure to get below; 0 means 1e-7
/// @param x         n coordinates: in, the start point (unused after dhsm_init()); out, the best
///                  vertex
/// @param maxiter   steps (reflections with all that follows from them) after which the solve
///                  gives up, one more than this is made; 0 means 1000
/// @param fmin      receives the value at x
/// @return          0 when converged, -1 when it gave up; x and *fmin are set in both cases
MOVANE_API int dhsm_solve(dhsm* h, void* u1, void* u2, void* u3, double tol, double* x, int maxiter,
                          double* fmin);

/// Releases a minimiser; null is accepted.
///
/// @return  0
MOVANE_API int dhsm_kill(dhsm* h);

/* --- Matrices and linear systems --------------------------------------------------------
 *
 * Dense matrices of doubles, row-major: element (i, j) stands at i * columns + j. A square matrix
 * is decomposed when it is first solved, inverted or asked for its determinant; the factors are
 * kept until a setter changes it.
 *
 *   movane_mat* a = mat_new(values, 3);
 *   if (mat_solve_set(a, b, &status) == 0 && status == 0) ...      b has become the solution
 *   a = mat_kill(a);
 *
 * Numerical trouble is told through `status` alone, without a message:
 *
 *    0    none
 *   -1    a row is all zero (nothing is factored then), or the matrix is not square
 *   -2    a pivot below 1e-20 in magnitude was replaced by 1e-20
 *
 * Out of memory posts "nr: 1, kind: 0, sys: 12, file: MOVANE/Private/Source/mat, line: <line>,
 * info: No resources available". A matrix, together with its inverse, belongs to one thread at a
 * time.
 */

typedef struct movane_mat movane_mat;

/// Creates a matrix.
///
/// @param data  rows * cols values to copy; null, or fewer rows than 1, leaves the values
///              unspecified
/// @return      a matrix the caller owns and releases with mat_kill(); null on failure
/// @fails       out of memory, see above
MOVANE_API movane_mat* mat_gen_new(const double* data, int rows, int cols);

/// Creates a square matrix: mat_gen_new(data, n, n).
MOVANE_API movane_mat* mat_new(const double* data, int n);

/// Releases the matrix. Its inverse, or the matrix whose inverse it is, lives on by itself.
///
/// @return  null
MOVANE_API movane_mat* mat_kill(movane_mat* a);

/// Copies rows * cols values in.
///
/// @return  0
MOVANE_API int mat_set_mat(movane_mat* a, const double* data);

/// Copies one row in.
///
/// @param i    row, from 0; not checked
/// @param row  cols values
/// @return     0
MOVANE_API int mat_set_row(movane_mat* a, int i, const double* row);

/// Copies one column in.
///
/// @param j    column, from 0; not checked
/// @param col  rows values
/// @return     0
MOVANE_API int mat_set_col(movane_mat* a, int j, const double* col);

/// Sets one element; neither index is checked.
///
/// @return  0
MOVANE_API int mat_set_element(movane_mat* a, int i, int j, double value);

/// Reads one element.
///
/// Both indices are checked against the row count: of a wide matrix the columns from `rows` on
/// are refused, and of a tall one an index from `cols` on runs into the next rows as far as there
/// are any.
///
/// @param status  0; -1 when either index is negative or not below the row count, or when the
///                element would lie outside the matrix
/// @return        the value; 0.0 with status -1
MOVANE_API double mat_get_element(const movane_mat* a, int i, int j, int* status);

/// @return  address of the cols values of row i, in the matrix, valid as long as the matrix;
///          null when there is no such row. Writing through it does not make the matrix forget
///          its decomposition, as the setters do.
MOVANE_API double* mat_get_row(movane_mat* a, int i);

/// @return  a copy of the rows values of column j, in a buffer of the matrix that is valid until
///          the next mat_get_col() or decomposition; null when there is no such column, or
///          without memory
/// @fails   out of memory, see above
MOVANE_API double* mat_get_col(movane_mat* a, int j);

/// Multiplies by a column vector: out = a * v.
///
/// @param v    cols values
/// @param out  receives rows values; must not overlap v
/// @return     0
MOVANE_API int mat_mulvec(const movane_mat* a, const double* v, double* out);

/// Decomposes a square matrix, unless its decomposition is at hand: Crout's method with implicit
/// scaled partial pivoting.
///
/// @param status  0, -1 or -2, see above; 0 for a decomposition at hand, whatever it gave at first
/// @return        0; -1 on failure, or for a matrix that is not square (status -1, no message)
/// @fails         out of memory, see above
MOVANE_API int mat_ludcmp(movane_mat* a, int* status);

/// Solves a * x = b in place, after decomposing if needed.
///
/// When this call's own decomposition gives a non-zero status b is left alone; a later call on the
/// unchanged matrix solves with the factors as they stand, and status 0.
///
/// @param b       the right side, rows values; becomes the solution
/// @param status  as of mat_ludcmp()
/// @return        as of mat_ludcmp()
/// @fails         out of memory, see above
MOVANE_API int mat_solve_set(movane_mat* a, double* b, int* status);

/// Computes the determinant, after decomposing if needed: the product of the pivots, replaced
/// ones included, so that [[1, 1], [1, 1]] gives 1e-20 rather than 0.
///
/// @param det  receives the determinant; left alone on failure
/// @return     as of mat_ludcmp()
/// @fails      out of memory, see above
MOVANE_API int mat_det_det(movane_mat* a, double* det);

/// Gives the inverse, a matrix of its own that the caller owns and releases with mat_kill().
///
/// There is one inverse per matrix. It is handed out again until a setter changes the matrix;
/// the next call then computes anew into that same inverse, so an inverse follows its source. A
/// caller who killed the inverse gets null until the next setter. Inverting the inverse itself
/// parts it from its source first: it no longer follows, and the source makes another one.
///
/// @param status  as of mat_ludcmp(), but also -1 or -2 when an earlier call decomposed this
///                matrix with that status; 0 for an inverse at hand
/// @return        the inverse; null on failure, or when status is not 0
/// @fails         out of memory, see above; nothing is left allocated
MOVANE_API movane_mat* mat_invert(movane_mat* a, int* status);

/// Solves a * x = b for a small system of known good nature, in place and without a handle.
///
/// Plain elimination: rows are exchanged only when a pivot is exactly 0, so nearly singular or
/// badly scaled systems lose accuracy that mat_solve_set() would keep.
///
/// @param a  n * n values, row-major; overwritten
/// @param b  the right side, n values; becomes the solution
/// @return   1; 0 when every pivot tried is 0, a and b are then partly eliminated
MOVANE_API int gaussd(double* a, double* b, int n);

/// Finds one root of c[0] + c[1]*t + c[2]*t^2 + c[3]*t^3 by at most 20 steps of Newton's method
/// from the middle of an interval.
///
/// @param c     four coefficients
/// @param root  receives the root; left alone when there is none
/// @param lo    the search ends when an estimate falls below it
/// @param hi    the search ends when a step, not an estimate, is greater: a root above `hi` can be
///              returned
/// @param tol   the largest magnitude of the last step
/// @return      1; 0 when the slope vanishes, a bound is passed or 20 steps do not suffice
MOVANE_API int fthird_order_eq(const double* c, double* root, double lo, double hi, double tol);

/* --- Angles -----------------------------------------------------------------------------
 *
 * The library's pi is 3.1415926535 and its full circle 6.283185307; angles are compared with
 * constants of these digits.
 */

/// Computes the angle of the vector (x, y), counter-clockwise from the positive x axis.
///
/// @param x      abscissa; mind the order, which is not that of atan2()
/// @param y      ordinate
/// @param error  0; -1 when the angle is undefined: x is exactly 0 and |y| at most 0.001
/// @return       radians in 0..2 pi; 0.0 when undefined
MOVANE_API double real_atan2PI(double x, double y, int* error);

/// The same angle in degrees.
MOVANE_API double real_atan(double x, double y, int* error);

/* --- Random numbers -----------------------------------------------------------------------
 *
 * The minimal standard generator (S. K. Park and K. W. Miller, "Random number generators: good
 * ones are hard to find", Communications of the ACM 31, 1988): a state s becomes
 * 16807 * s modulo 2^31 - 1. Its period is 2^31 - 2. Each state belongs to one caller at a time.
 * The class TRan3 below is a generator with a longer memory.
 */

/// Creates the state of a generator.
///
/// @param seed  any number; the state is its remainder modulo 2^31 - 1, with its sign, or 1 when
///              that is 0
/// @return      a state the caller owns and releases with random_kill(); null on failure
/// @fails       "Random_new : allocation failed"
MOVANE_API int* random_new(int seed);

/// Releases a state; null is accepted.
///
/// @return  0
MOVANE_API int random_kill(int* state);

/// Advances the state, which is from 1 to 2^31 - 2 afterwards.
///
/// @return  the new state times 2^-31, rounded to float: above 0, and 1.0f for the 63 highest
///          states
MOVANE_API float random_val(int* state);

/* --- Straight-line fit ------------------------------------------------------------------ */

/// Fits y = a + b*x to n points by least squares.
///
/// Nothing is checked: too few points, equal abscissas or a zero deviation give infinities or
/// values that are not numbers.
///
/// @param sig        standard deviations of the ordinates, n values, in units of y; read only when
///                   `weighted` is not 0
/// @param weighted   0: all points count alike
/// @param a,b        receive axis intercept and slope
/// @param siga,sigb  receive their standard errors; estimated from the scatter of the points, n-2
///                   degrees of freedom, when not weighted
/// @param chi2       receives the sum of the squared residuals, each divided by its deviation when
///                   weighted
/// @param q          receives the probability that chance alone gives a chi-square this large;
///                   1.0 when not weighted
/// @return           0
/// @fails            "Invalid arguments in routine gammq"                weighted with n below 3;
///                                                                      q is 1.0 for n = 2
///                   "x less than 0 in routine gser"                     a negative chi-square
///                   "a too large, ITMAX too small in routine gser"      q did not converge ...
///                   "a too large, ITMAX too small in gcf"               ... or is not a number
MOVANE_API int least_square_fit(const double* x, const double* y, int n, const double* sig,
                                int weighted, double* a, double* b, double* siga, double* sigb,
                                double* chi2, double* q);

MOVANE_C_END

#ifdef __cplusplus

/// A subtractive lagged generator (D. E. Knuth, "The Art of Computer Programming", volume 2,
/// section 3.2.2): each number is the one 55 before it minus the one 24 before it, modulo 10^9.
///
/// An object holds its whole state; copies continue the same sequence independently. Each object
/// belongs to one caller at a time.
class MOVANE_API TRan3 {
public:
    static const long MBIG  = 1000000000;  ///< modulus of the sequence
    static const long MSEED = 161803398;   ///< distance from the seed to the first number
    static const int MZ     = 0;           ///< least number of the sequence
    static const float FAC;                ///< 1 / MBIG

    /// @param seed  any number; seeds that differ in sign only give the same sequence
    explicit TRan3(long seed);
    TRan3(const TRan3& other);
    TRan3& operator=(const TRan3& other);

    /// @return  the next number of the sequence, scaled: from 0 up to the float below 1
    float Generate();

private:
    int lag_table[56];  // a ring, entries 1 to 55; each from 0 up to MBIG - 1
    int next_index;     // the entry replaced last
    int partner_index;  // the entry that was subtracted from it
};

/// Powers of 16-bit fractions, 0 to 65535 standing for 0 to 1, from a table.
///
/// The table has 2^xbits * 2^ybits entries of two bytes. It is written by the constructor alone:
/// any number of threads may look up at once. Objects cannot be copied.
class MOVANE_API TFastPow {
public:
    /// Tabulates i/(rows-1) to the power j/(cols-1), times 65535 and truncated, for each of the
    /// 2^xbits rows and the 2^ybits columns; 0 to the power 0 is 1. A single row stands for the
    /// base 0, a single column for the exponent 0.
    ///
    /// Without memory the powers of the bases concerned are 0; nothing is reported.
    ///
    /// @param xbits,ybits  leading bits of base and exponent that are told apart, 0 to 16
    TFastPow(int xbits, int ybits);
    virtual ~TFastPow();
    TFastPow(const TFastPow&)            = delete;
    TFastPow& operator=(const TFastPow&) = delete;

    /// Looks up x to the power y. The low bits of both are dropped; nothing is interpolated.
    unsigned short Calculate(unsigned short x, unsigned short y);

    /// Calculate() for n pairs; nothing is done when n is below 1.
    ///
    /// @param out  n results; may be x or y itself
    /// @return     0
    int MultiCalculate(int n, unsigned short* x, unsigned short* y, unsigned short* out);

private:
    int rows;
    int cols;
    int max_out;             // 65535
    int word_bits;           // 16
    int x_shift;             // 16 - xbits
    int y_shift;             // 16 - ybits
    unsigned short** table;  // rows pointers to cols entries each; null without memory
};

#endif

#endif
