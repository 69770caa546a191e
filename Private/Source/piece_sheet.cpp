// The colours of a piece as a sheet of triangles over the chromatic plane.
//
// A sheet can be bent, folded and full of holes: the device decides. So nothing is assumed of it
// but that it consists of triangles. Degenerate ones are left out at once; the others are put into
// square buckets by their bounding boxes, and a place asks those of its bucket alone.

#include "Source/piece_sheet.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace movane {
namespace {

constexpr double kFarthest   = 1e60;   // products of four coordinates stay finite
constexpr double kDegenerate = 1e-12;  // twice the area, in units of the squared diameter
constexpr double kOnEdge     = 1e-9;   // of an edge function, in the same unit
constexpr int kMostAcross    = 32;     // buckets in each direction
constexpr int kNearCells     = 2;      // of the nearest node, in each direction

struct Corners {
    ChromaPoint at[3];
    double lightness[3];
};

struct Box {
    double a_min, a_max, b_min, b_max;
};

double square_distance(ChromaPoint p, ChromaPoint q) {
    return (p.a - q.a) * (p.a - q.a) + (p.b - q.b) * (p.b - q.b);
}

double square_diameter(const ChromaPoint (&p)[3]) {
    return std::max(
        {square_distance(p[0], p[1]), square_distance(p[1], p[2]), square_distance(p[2], p[0])});
}

bool is_sound(double coordinate) { return std::fabs(coordinate) <= kFarthest; }

Corners corners(const Sheet& sheet, int t) {
    int nodes[3];
    triangle_nodes(sheet, t, nodes);
    Corners c;
    for (int k = 0; k < 3; ++k) {
        c.at[k]        = sheet.points[size(nodes[k])];
        c.lightness[k] = sheet.lightness[size(nodes[k])];
    }
    return c;
}

// A little larger than the triangle, by what counts as on its edge.
Box box_of(const Corners& c) {
    const double margin     = 1e-6 * std::sqrt(square_diameter(c.at));
    const auto [a_lo, a_hi] = std::minmax({c.at[0].a, c.at[1].a, c.at[2].a});
    const auto [b_lo, b_hi] = std::minmax({c.at[0].b, c.at[1].b, c.at[2].b});
    return {a_lo - margin, a_hi + margin, b_lo - margin, b_hi + margin};
}

// Weights a little below 0 count as 0, so that a sliver does not extrapolate.
bool hit_triangle(const Sheet& sheet, int t, ChromaPoint p, double* lightness) {
    const Corners c     = corners(sheet, t);
    const double sign   = cross(c.at[0], c.at[1], c.at[2]) < 0 ? -1 : 1;
    const double within = -kOnEdge * square_diameter(c.at);
    double sum = 0, weighted = 0;
    for (int k = 0; k < 3; ++k) {
        const double weight = sign * cross(c.at[(k + 1) % 3], c.at[(k + 2) % 3], p);
        if (!(weight >= within)) return false;
        sum += std::max(weight, 0.0);
        weighted += std::max(weight, 0.0) * c.lightness[k];
    }
    if (!(sum > 0)) return false;
    *lightness = weighted / sum;
    return true;
}

// --- building ------------------------------------------------------------------------------------

// Returns whether any node is there.
bool place_nodes(Sheet& sheet, const double* colours, const int (&axes)[3]) {
    bool is_first = true;
    for (int n = 0; n < sheet.nodes; ++n) {
        const auto at        = size(n);
        const double* colour = colours + 3 * at;
        if (!is_sound(colour[0]) || !is_sound(colour[1]) || !is_sound(colour[2])) {
            sheet.is_missing[at] = 1;
            continue;
        }
        const ChromaPoint p = {colour[axes[0]], colour[axes[1]]};
        sheet.points[at]    = p;
        sheet.lightness[at] = colour[axes[2]];
        if (is_first) {
            sheet.a_min = sheet.a_max = p.a;
            sheet.b_min = sheet.b_max = p.b;
        }
        is_first    = false;
        sheet.a_min = std::min(sheet.a_min, p.a);
        sheet.a_max = std::max(sheet.a_max, p.a);
        sheet.b_min = std::min(sheet.b_min, p.b);
        sheet.b_max = std::max(sheet.b_max, p.b);
    }
    return !is_first;
}

void keep_triangles(Sheet& sheet, const unsigned char* discards) {
    for (int row = 0; row + 1 < sheet.rows; ++row) {
        for (int column = 0; column + 1 < sheet.columns; ++column) {
            for (int half = 0; half < 2; ++half) {
                const int t   = 2 * (row * sheet.columns + column) + half;
                const auto at = size(t);
                int nodes[3];
                triangle_nodes(sheet, t, nodes);
                const bool is_whole = std::none_of(
                    nodes, nodes + 3, [&](int n) { return sheet.is_missing[size(n)]; });
                if (!is_whole || discards[at]) continue;
                const Corners c = corners(sheet, t);
                if (std::fabs(cross(c.at[0], c.at[1], c.at[2])) <=
                    kDegenerate * square_diameter(c.at))
                    continue;
                sheet.is_kept[at] = 1;
                ++sheet.triangles;
            }
        }
    }
}

template <class Action>
void for_each_triangle(const Sheet& sheet, Action action) {
    for (int t = 0; t < 2 * sheet.nodes; ++t)
        if (sheet.is_kept[size(t)]) action(t);
}

int bucket(double x, double lo, double hi, int across) {
    if (!(hi > lo)) return 0;
    const double place = (x - lo) / (hi - lo) * across;
    return static_cast<int>(std::clamp(place, 0.0, across - 1.0));
}

template <class Action>
void for_each_bucket(const Sheet& sheet, const Box& box, Action action) {
    const int across = sheet.buckets_across;
    const int a_last = bucket(box.a_max, sheet.a_min, sheet.a_max, across);
    const int b_last = bucket(box.b_max, sheet.b_min, sheet.b_max, across);
    for (int b = bucket(box.b_min, sheet.b_min, sheet.b_max, across); b <= b_last; ++b)
        for (int a = bucket(box.a_min, sheet.a_min, sheet.a_max, across); a <= a_last; ++a)
            action(size(b * across + a));
}

// Counts, then fills from the end of each bucket down to its start.
bool fill_buckets(Sheet& sheet) {
    sheet.buckets_across =
        std::clamp(static_cast<int>(std::sqrt(sheet.triangles / 2.0)), 1, kMostAcross);
    const auto buckets  = size(sheet.buckets_across) * size(sheet.buckets_across);
    sheet.bucket_starts = make_zeroed_block<int>(buckets + 1);
    if (!sheet.bucket_starts) return false;
    std::int64_t items = 0;
    for_each_triangle(sheet, [&](int t) {
        for_each_bucket(sheet, box_of(corners(sheet, t)), [&](std::size_t k) {
            ++sheet.bucket_starts[k];
            ++items;
        });
    });
    if (items > INT32_MAX) return false;
    sheet.bucket_items = make_block<int>(static_cast<std::size_t>(items));
    if (!sheet.bucket_items) return false;
    for (std::size_t k = 1; k <= buckets; ++k) sheet.bucket_starts[k] += sheet.bucket_starts[k - 1];
    for_each_triangle(sheet, [&](int t) {
        for_each_bucket(sheet, box_of(corners(sheet, t)), [&](std::size_t k) {
            sheet.bucket_items[size(--sheet.bucket_starts[k])] = t;
        });
    });
    return true;
}

// An edge belongs to the node it starts from: along the row, along the column, or the diagonal of
// the node's cell.
enum { kAlongRow, kAlongColumn, kDiagonal, kEdgeKinds };

bool find_outline(Sheet& sheet) {
    const auto nodes = size(sheet.nodes);
    const auto users = make_zeroed_block<unsigned char>(nodes, kEdgeKinds);
    if (!users) return false;
    const int columns = sheet.columns;
    const auto use    = [&](int node, int kind) { ++users[size(node) * kEdgeKinds + size(kind)]; };
    for_each_triangle(sheet, [&](int t) {
        const int n      = t / 2;
        const bool first = t % 2 == 0;
        use(n, kDiagonal);
        use(first ? n : n + columns, kAlongRow);
        use(first ? n : n + 1, kAlongColumn);
    });
    const auto count = std::count(users.get(), users.get() + nodes * kEdgeKinds, 1);
    sheet.outline    = make_block<SheetEdge>(static_cast<std::size_t>(count));
    if (!sheet.outline) return false;
    for (int n = 0; n < sheet.nodes; ++n) {
        const SheetEdge edges[] = {{n, n + 1}, {n, n + columns}, {n + 1, n + columns}};
        for (std::size_t kind = 0; kind < kEdgeKinds; ++kind)
            if (users[size(n) * kEdgeKinds + kind] == 1)
                sheet.outline[size(sheet.outline_edges++)] = edges[kind];
    }
    return true;
}

// --- looking up ----------------------------------------------------------------------------------

int nearest_node(const Sheet& sheet, ChromaPoint p) {
    int nearest  = -1;
    double least = 0;
    for (int n = 0; n < sheet.nodes; ++n) {
        if (sheet.is_missing[size(n)]) continue;
        const double distance = square_distance(sheet.points[size(n)], p);
        if (nearest < 0 || distance < least) {
            nearest = n;
            least   = distance;
        }
    }
    return nearest;
}

// Collects the greatest lightness.
struct Highest {
    const Sheet& sheet;
    ChromaPoint at;
    bool is_hit      = false;
    double lightness = 0;

    void ask(int t) {
        double here = 0;
        if (!hit_triangle(sheet, t, at, &here)) return;
        lightness = is_hit ? std::max(lightness, here) : here;
        is_hit    = true;
    }
};

void ask_near(Highest& highest, int node) {
    const Sheet& sheet   = highest.sheet;
    const int row        = node / sheet.columns;
    const int column     = node % sheet.columns;
    const int row_end    = std::min(row + kNearCells, sheet.rows - 2);
    const int column_end = std::min(column + kNearCells, sheet.columns - 2);
    for (int r = std::max(row - kNearCells, 0); r <= row_end; ++r) {
        for (int c = std::max(column - kNearCells, 0); c <= column_end; ++c) {
            const int t = 2 * (r * sheet.columns + c);
            for (const int triangle : {t, t + 1})
                if (sheet.is_kept[size(triangle)]) highest.ask(triangle);
        }
    }
}

void ask_everywhere(Highest& highest) {
    const Sheet& sheet  = highest.sheet;
    const ChromaPoint p = highest.at;
    const double slack  = 1e-6 * (sheet.a_max - sheet.a_min + sheet.b_max - sheet.b_min);
    if (!(p.a >= sheet.a_min - slack && p.a <= sheet.a_max + slack && p.b >= sheet.b_min - slack &&
          p.b <= sheet.b_max + slack))
        return;
    for_each_bucket(sheet, {p.a, p.a, p.b, p.b}, [&](std::size_t k) {
        for (int i = sheet.bucket_starts[k]; i < sheet.bucket_starts[k + 1]; ++i)
            highest.ask(sheet.bucket_items[size(i)]);
    });
}

// --- rays ----------------------------------------------------------------------------------------

struct RayPoint {
    double radius, lightness;
};

// What of a triangle lies over the ray (cos phi, sin phi) * radius, radius >= 0.
bool cut_triangle(const Corners& c, double cosine, double sine, RaySegment* segment) {
    const double on_ray = kOnEdge * std::sqrt(square_diameter(c.at));
    double along[3], beside[3];
    for (int k = 0; k < 3; ++k) {
        along[k]  = cosine * c.at[k].a + sine * c.at[k].b;
        beside[k] = cosine * c.at[k].b - sine * c.at[k].a;
        if (std::fabs(beside[k]) <= on_ray) beside[k] = 0;
    }
    RayPoint inner{}, outer{};
    bool is_cut    = false;
    const auto add = [&](RayPoint p) {
        if (!is_cut || p.radius < inner.radius) inner = p;
        if (!is_cut || p.radius > outer.radius) outer = p;
        is_cut = true;
    };
    for (int k = 0; k < 3; ++k) {
        const int next = (k + 1) % 3;
        if (beside[k] == 0) add({along[k], c.lightness[k]});
        if ((beside[k] < 0 && beside[next] > 0) || (beside[k] > 0 && beside[next] < 0)) {
            const double t = beside[k] / (beside[k] - beside[next]);
            add({along[k] + t * (along[next] - along[k]),
                 c.lightness[k] + t * (c.lightness[next] - c.lightness[k])});
        }
    }
    if (!is_cut || outer.radius < 0) return false;
    if (inner.radius < 0) {
        const double t  = inner.radius / (inner.radius - outer.radius);
        inner.lightness = inner.lightness + t * (outer.lightness - inner.lightness);
        inner.radius    = 0;
    }
    *segment = {inner.radius, outer.radius, inner.lightness, outer.lightness};
    return true;
}

RadialProfile outermost_run(const RaySegment* segments, int count, double gap) {
    RadialProfile profile{segments, count, 0, 0, 0, 0};
    for (int i = 0; i < count; ++i) {
        const RaySegment& s = segments[i];
        if (i == 0 || s.inner > profile.last + gap) {
            profile.first           = s.inner;
            profile.first_lightness = s.inner_lightness;
            profile.last            = s.outer;
            profile.last_lightness  = s.outer_lightness;
        } else if (s.outer > profile.last) {
            profile.last           = s.outer;
            profile.last_lightness = s.outer_lightness;
        }
    }
    return profile;
}

}  // namespace

void triangle_nodes(const Sheet& sheet, int t, int (&nodes)[3]) {
    const int n    = t / 2;
    const int half = t % 2;
    nodes[0]       = n + half;
    nodes[1]       = half ? n + sheet.columns : n + 1;
    nodes[2]       = n + sheet.columns + half;
}

Owned<Sheet> make_sheet(int columns, int rows, const double* colours, const int (&axes)[3],
                        const unsigned char* discards) {
    auto sheet = create<Sheet>();
    if (!sheet || std::int64_t{columns} * rows > INT32_MAX / 6) return nullptr;
    sheet->columns    = columns;
    sheet->rows       = rows;
    sheet->nodes      = columns * rows;
    const auto nodes  = size(sheet->nodes);
    sheet->points     = make_zeroed_block<ChromaPoint>(nodes);
    sheet->lightness  = make_zeroed_block<double>(nodes);
    sheet->is_missing = make_zeroed_block<unsigned char>(nodes);
    sheet->is_kept    = make_zeroed_block<unsigned char>(nodes, 2);
    if (!sheet->points || !sheet->lightness || !sheet->is_missing || !sheet->is_kept)
        return nullptr;
    if (place_nodes(*sheet, colours, axes)) keep_triangles(*sheet, discards);
    sheet->segments = make_block<RaySegment>(size(sheet->triangles));
    if (!sheet->segments || !fill_buckets(*sheet) || !find_outline(*sheet)) return nullptr;
    return sheet;
}

bool hit_sheet(const Sheet& sheet, ChromaPoint at, double* lightness) {
    Highest highest{sheet, at};
    const int node = sheet.triangles > 0 ? nearest_node(sheet, at) : -1;
    if (node >= 0) ask_near(highest, node);
    if (!highest.is_hit) ask_everywhere(highest);
    if (highest.is_hit) *lightness = highest.lightness;
    return highest.is_hit;
}

bool covers(const Sheet& sheet, ChromaPoint at) {
    Highest highest{sheet, at};
    ask_everywhere(highest);
    return highest.is_hit;
}

const RadialProfile& radial_profile(Sheet& sheet, double phi) {
    if (sheet.has_profile && sheet.profile_phi == phi) return sheet.profile;
    const double cosine = std::cos(phi), sine = std::sin(phi);
    int count = 0;
    for_each_triangle(sheet, [&](int t) {
        RaySegment* const segment = &sheet.segments[size(count)];
        if (cut_triangle(corners(sheet, t), cosine, sine, segment)) ++count;
    });
    std::sort(sheet.segments.get(), sheet.segments.get() + count,
              [](const RaySegment& p, const RaySegment& q) {
                  return p.inner != q.inner ? p.inner < q.inner
                                            : p.inner_lightness > q.inner_lightness;
              });
    const double extent = sheet.a_max - sheet.a_min + sheet.b_max - sheet.b_min;
    sheet.profile       = outermost_run(sheet.segments.get(), count, kOnEdge * extent);
    sheet.profile_phi   = phi;
    sheet.has_profile   = true;
    return sheet.profile;
}

}  // namespace movane
