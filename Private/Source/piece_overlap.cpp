// Which of two pieces of the top surface lies above the other.
//
// First the plane: do their projections onto the chromatic plane overlap at all? Pieces that share
// a primary touch along its ramp, so points near that bound tell nothing; there the side of the
// ramp on which each sheet lies decides, or else points and outlines away from it. Then the
// height: the nodes of the new piece are compared with the old one.

#include "Source/piece_overlap.h"

#include "movane/numerics.h"

#include "Source/piece_search.h"
#include "Support/report.h"

#include <algorithm>
#include <cmath>

namespace movane {
namespace {

using Piece = top_surface_piece;

constexpr Reporter report{"MOVANE/Private/Source/ttriangulartopsurface"};

constexpr double kCoincident = 0.01;  // distance of points that count as one
constexpr double kSameDevice = 1e-9;  // difference of device values that count as equal
constexpr double kShortest   = 1e-9;  // stretch of a ramp that has a direction

// --- device vectors ------------------------------------------------------------------------------

// Whether both have the same values at the channels that are fixed in both.
bool agree_where_fixed(const Piece& p, const Piece& q) {
    for (int k = 0; k < std::min(p.nr_device, q.nr_device); ++k) {
        if (p.varies(k) || q.varies(k)) continue;
        if (!(std::fabs(p.device[size(k)] - q.device[size(k)]) <= kSameDevice)) return false;
    }
    return true;
}

bool is_same_piece(const Piece& p, const Piece& q) {
    return q.varies(p.first->channel) && q.varies(p.second->channel) && agree_where_fixed(p, q);
}

// The channel along which two pieces touch; -1 for none.
int common_channel(const Piece& p, const Piece& q) {
    if (!agree_where_fixed(p, q)) return -1;
    if (q.varies(p.first->channel)) return p.first->channel;
    return q.varies(p.second->channel) ? p.second->channel : -1;
}

// --- ramps ---------------------------------------------------------------------------------------

// The row or column of a piece along which its common channel varies. Its points are chromatic.
struct Ramp {
    Block<ChromaPoint> points;
    int count = 0;
};

int nearest_sample(const Block<double>& samples, int count, double value) {
    return count > 0 && std::fabs(samples[size(count - 1)] - value) < std::fabs(samples[0] - value)
               ? count - 1
               : 0;
}

// The end of the piece where its other channel comes nearest to the value that it has in `other`.
// Missing colours are left out. False without memory.
bool make_ramp(const Piece& p, const Piece& other, int channel, Ramp* ramp) {
    const bool along_first = channel == p.first->channel;
    const double value     = other.device[size(along_first ? p.second->channel : p.first->channel)];
    const int at           = along_first ? nearest_sample(p.samples1, p.nr1, value)
                                         : nearest_sample(p.samples0, p.nr0, value);
    const int start        = along_first ? at * p.nr0 : at;
    const int step         = along_first ? 1 : p.nr0;
    const int nodes        = p.nodes() == 0 ? 0 : along_first ? p.nr0 : p.nr1;
    ramp->points           = make_block<ChromaPoint>(size(nodes));
    if (!ramp->points) return false;
    for (int i = 0; i < nodes; ++i) {
        const int node = start + i * step;
        if (!p.sheet->is_missing[size(node)])
            ramp->points[size(ramp->count++)] = p.sheet->points[size(node)];
    }
    return true;
}

double distance(ChromaPoint p, ChromaPoint from, ChromaPoint to) {
    const double u[]    = {to.a - from.a, to.b - from.b};
    const double square = u[0] * u[0] + u[1] * u[1];
    const double along  = (p.a - from.a) * u[0] + (p.b - from.b) * u[1];
    const double t      = square > 0 ? std::clamp(along / square, 0.0, 1.0) : 0.0;
    const double foot[] = {from.a + t * u[0], from.b + t * u[1], 0};
    const double at[]   = {p.a, p.b, 0};
    return vect_distance(at, foot, 3);
}

bool is_near(ChromaPoint p, const Ramp& ramp) {
    for (int i = 0; i < ramp.count; ++i) {
        const int next = std::min(i + 1, ramp.count - 1);  // a ramp of one point has no stretch
        if (distance(p, ramp.points[size(i)], ramp.points[size(next)]) <= kCoincident) return true;
    }
    return false;
}

bool is_near_outline(ChromaPoint p, const Sheet& sheet) {
    for (int i = 0; i < sheet.outline_edges; ++i) {
        const SheetEdge edge = sheet.outline[size(i)];
        if (distance(p, sheet.points[size(edge.from)], sheet.points[size(edge.to)]) <= kCoincident)
            return true;
    }
    return false;
}

// --- sides of the common bound -------------------------------------------------------------------

// A stretch of the ramp as the system [along across] * (t, side) = point - from.
class Stretch {
public:
    Stretch(ChromaPoint from, ChromaPoint to) : from_(from) {
        const double length = std::hypot(to.a - from.a, to.b - from.b);
        const double a = (to.a - from.a) / length, b = (to.b - from.b) / length;
        const double rows[] = {a, -b, b, a};
        matrix_             = mat_new(rows, 2);
    }
    ~Stretch() { mat_kill(matrix_); }
    Stretch(const Stretch&)            = delete;
    Stretch& operator=(const Stretch&) = delete;

    explicit operator bool() const { return matrix_; }

    // False without memory.
    bool side(ChromaPoint p, double* side) const {
        double x[] = {p.a - from_.a, p.b - from_.b};
        int status = 0;
        if (mat_solve_set(matrix_, x, &status) != 0) return false;
        *side = status == 0 ? x[1] : 0;
        return true;
    }

private:
    ChromaPoint from_;
    movane_mat* matrix_;
};

struct Sides {
    bool has_left = false, has_right = false;

    [[nodiscard]] bool is_fold() const { return has_left && has_right; }
};

// The stretch of the ramp that is nearest to a node; -1 when the node is not valid or too near.
int nearest_stretch(const Piece& piece, int node, const Ramp& ramp) {
    if (!is_valid_node(piece, node)) return -1;
    int nearest  = -1;
    double least = 0;
    for (int i = 0; i + 1 < ramp.count; ++i) {
        const ChromaPoint from = ramp.points[size(i)], to = ramp.points[size(i + 1)];
        if (!(std::hypot(to.a - from.a, to.b - from.b) > kShortest)) continue;
        const double here = distance(piece.sheet->points[size(node)], from, to);
        if (nearest < 0 || here < least) {
            nearest = i;
            least   = here;
        }
    }
    return least > kCoincident ? nearest : -1;
}

// False without memory.
bool find_sides(const Piece& piece, const Ramp& ramp, Sides* sides) {
    const Sheet& sheet = *piece.sheet;
    const auto nearest = make_block<int>(size(sheet.nodes));
    if (!nearest) return false;
    int* const end = nearest.get() + sheet.nodes;
    for (int n = 0; n < sheet.nodes; ++n) nearest[size(n)] = nearest_stretch(piece, n, ramp);
    for (int i = 0; i + 1 < ramp.count; ++i) {
        if (std::find(nearest.get(), end, i) == end) continue;
        const Stretch stretch(ramp.points[size(i)], ramp.points[size(i + 1)]);
        if (!stretch) return false;
        for (int n = 0; n < sheet.nodes; ++n) {
            if (nearest[size(n)] != i) continue;
            double side = 0;
            if (!stretch.side(sheet.points[size(n)], &side)) return false;
            if (side > kCoincident) sides->has_left = true;
            if (side < -kCoincident) sides->has_right = true;
        }
    }
    return true;
}

// --- the plane -----------------------------------------------------------------------------------

enum class Overlap { failed, none, some };

bool are_boxes_apart(const Sheet& s, const Sheet& t) {
    return s.a_min > t.a_max + kCoincident || t.a_min > s.a_max + kCoincident ||
           s.b_min > t.b_max + kCoincident || t.b_min > s.b_max + kCoincident;
}

// Whether a node or the middle of a triangle of `piece`, away from all bounds, is on the other.
bool has_point_on(const Piece& piece, const Sheet& other, const Ramp& bound) {
    const Sheet& sheet = *piece.sheet;
    const auto is_on   = [&](ChromaPoint p) {
        return covers(other, p) && !is_near(p, bound) && !is_near_outline(p, other);
    };
    for (int n = 0; n < sheet.nodes; ++n)
        if (is_valid_node(piece, n) && is_on(sheet.points[size(n)])) return true;
    for (int t = 0; t < 2 * sheet.nodes; ++t) {
        if (!sheet.is_kept[size(t)]) continue;
        int nodes[3];
        triangle_nodes(sheet, t, nodes);
        ChromaPoint middle{};
        for (const int n : nodes) {
            middle.a += sheet.points[size(n)].a / 3;
            middle.b += sheet.points[size(n)].b / 3;
        }
        if (is_on(middle)) return true;
    }
    return false;
}

bool do_outlines_cross(const Sheet& s, const Sheet& t, const Ramp& bound) {
    for (int i = 0; i < s.outline_edges; ++i) {
        const ChromaPoint p = s.points[size(s.outline[size(i)].from)],
                          q = s.points[size(s.outline[size(i)].to)];
        for (int j = 0; j < t.outline_edges; ++j) {
            const ChromaPoint u = t.points[size(t.outline[size(j)].from)],
                              v = t.points[size(t.outline[size(j)].to)];
            const double at_p = cross(u, v, p), at_q = cross(u, v, q);
            if (!((at_p < 0 && at_q > 0) || (at_p > 0 && at_q < 0))) continue;
            const double at_u = cross(p, q, u), at_v = cross(p, q, v);
            if (!((at_u < 0 && at_v > 0) || (at_u > 0 && at_v < 0))) continue;
            const double x            = at_p / (at_p - at_q);
            const ChromaPoint meeting = {p.a + x * (q.a - p.a), p.b + x * (q.b - p.b)};
            // Corners that touch cross by the last bit.
            const bool is_proper =
                distance(p, u, v) > kCoincident && distance(q, u, v) > kCoincident &&
                distance(u, p, q) > kCoincident && distance(v, p, q) > kCoincident;
            if (is_proper && !is_near(meeting, bound)) return true;
        }
    }
    return false;
}

Overlap overlap(const Piece& p, const Piece& q) {
    if (are_boxes_apart(*p.sheet, *q.sheet)) return Overlap::none;
    Ramp bound;
    const int channel = common_channel(p, q);
    if (channel >= 0) {
        Ramp other;
        if (!make_ramp(p, q, channel, &bound) || !make_ramp(q, p, channel, &other)) {
            report("No Memory");
            return Overlap::failed;
        }
        if (bound.count == 0 || other.count == 0) {
            if (bound.count == other.count) {
                report("No Common Bounds!");
            } else {
                report("Inconsistent common bound algorithm");
            }
            return Overlap::failed;
        }
        Sides of_p, of_q;
        if (!find_sides(p, bound, &of_p) || !find_sides(q, bound, &of_q)) {
            report("No Memory");
            return Overlap::failed;
        }
        // A sheet on both sides is folded over the bound: its height decides.
        if (of_p.is_fold() || of_q.is_fold()) return Overlap::some;
        if ((of_p.has_left && of_q.has_right) || (of_p.has_right && of_q.has_left))
            return Overlap::none;
    }
    return has_point_on(p, *q.sheet, bound) || has_point_on(q, *p.sheet, bound) ||
                   do_outlines_cross(*p.sheet, *q.sheet, bound)
               ? Overlap::some
               : Overlap::none;
}

// --- the height ----------------------------------------------------------------------------------

// How the nodes of `piece` lie to `base`.
int classify(Piece& base, const Piece& piece) {
    enum { nothing, outside, on, below, above } state = nothing;
    for (int n = 0; n < piece.nodes(); ++n) {
        if (!is_valid_node(piece, n)) continue;
        double height       = 0;
        const double here   = piece.sheet->lightness[size(n)];
        const Answer answer = project(base, piece.sheet->points[size(n)], &height);
        if (answer == Answer::failed) return kFailed;
        if (answer == Answer::none) {
            if (state == nothing || state == on) state = outside;
        } else if (height > here + kLevel) {
            if (state == above) return kInterwoven;
            state = below;
        } else if (height >= here - kLevel) {
            if (state == nothing) state = on;
        } else {
            if (state == below) return kInterwoven;
            state = above;
        }
    }
    constexpr int kResults[] = {kNoNodes, kApart, kSame, kBelow, kAbove};  // by state
    return kResults[state];
}

}  // namespace

int compare_pieces(top_surface_piece& old_piece, top_surface_piece& new_piece) {
    if (is_same_piece(old_piece, new_piece)) return kSame;
    if (!evaluate(old_piece) || !evaluate(new_piece)) return kFailed;
    if (new_piece.nodes() == 0) return kNoNodes;
    const Overlap found = overlap(old_piece, new_piece);
    if (found == Overlap::failed) return kFailed;
    if (found == Overlap::none) return kApart;
    const int result = classify(old_piece, new_piece);
    if (result != kApart) return result;
    // A piece that holds the other's nodes while none of its own is on the other.
    const int reversed = classify(new_piece, old_piece);
    if (reversed == kNoNodes) return kApart;
    return reversed == kAbove ? kBelow : reversed == kBelow ? kAbove : reversed;
}

}  // namespace movane
