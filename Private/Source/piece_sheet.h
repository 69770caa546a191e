// The colours of a piece as a sheet of triangles over the chromatic plane.
#pragma once

#include "Support/memory.h"

#include <cstddef>

namespace movane {

/// A count or an index of a block.
constexpr std::size_t size(int n) { return static_cast<std::size_t>(n); }

struct ChromaPoint {
    double a, b;
};

/// Twice the area of o, p, q; positive when they turn to the left.
constexpr double cross(ChromaPoint o, ChromaPoint p, ChromaPoint q) {
    return (p.a - o.a) * (q.b - o.b) - (p.b - o.b) * (q.a - o.a);
}

/// A stretch of the ray of one hue on one triangle; lightness is linear in the radius.
struct RaySegment {
    double inner, outer;  // radii, inner <= outer
    double inner_lightness, outer_lightness;
};

/// The stretches of one ray, in ascending order of the inner radius. The sheet's outermost
/// connected run lies between two radii.
struct RadialProfile {
    const RaySegment* segments;
    int count;  // 0: the ray misses the sheet, and the other fields mean nothing
    double first, last;
    double first_lightness, last_lightness;
};

/// An edge that bounds the sheet, as two nodes.
struct SheetEdge {
    int from, to;
};

// Invariants: node n has the place points[n] and the height lightness[n], which mean nothing when
// it is missing; is_kept[t] tells whether triangle t is part of the sheet. Triangles overlapping
// bucket k are bucket_items[bucket_starts[k]] up to, not including, [bucket_starts[k + 1]].
struct Sheet {
    int columns, rows, nodes;
    Block<ChromaPoint> points;
    Block<double> lightness;
    Block<unsigned char> is_missing;
    Block<unsigned char> is_kept;
    int triangles;  // kept ones
    double a_min, a_max, b_min, b_max;

    int buckets_across;
    Block<int> bucket_starts;
    Block<int> bucket_items;

    Block<SheetEdge> outline;
    int outline_edges;

    // The profile last asked for.
    Block<RaySegment> segments;
    bool has_profile;
    double profile_phi;
    RadialProfile profile;
};

/// Builds the sheet of a grid of nodes.
///
/// @param colours   three coordinates per node
/// @param axes      the coordinates that are A, B and the lightness
/// @param discards  two bytes per node: non-zero leaves the first, second triangle of the node's
///                  cell out
/// @return          null when there is no memory
Owned<Sheet> make_sheet(int columns, int rows, const double* colours, const int (&axes)[3],
                        const unsigned char* discards);

/// The nodes of triangle t, 2n or 2n + 1 of cell n.
void triangle_nodes(const Sheet& sheet, int t, int (&nodes)[3]);

/// Finds the sheet above a place: near the nearest node first, then everywhere. Where it is folded,
/// the greatest lightness found counts.
bool hit_sheet(const Sheet& sheet, ChromaPoint at, double* lightness);

/// Whether the sheet covers a place.
bool covers(const Sheet& sheet, ChromaPoint at);

/// The sheet along the ray at a hue; valid until the next call.
const RadialProfile& radial_profile(Sheet& sheet, double phi);

}  // namespace movane
