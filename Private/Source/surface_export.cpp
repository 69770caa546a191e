// The top surface as a plotting script: the rows of each piece in the chromatic plane, and the four
// lines that bound it.

#include "movane/gamut.h"
#include "movane/services.h"

#include "Source/prim_comb.h"
#include "Support/report.h"

#include <cmath>
#include <ostream>

namespace {

using movane::first_piece;
using movane::Formatted;
using movane::next_piece;
using movane::size;
using Piece = top_surface_piece;

constexpr movane::Reporter report{"MOVANE/Private/Source/ttriangulartopsurface"};

constexpr int kSides          = 4;
constexpr int kTracePoints    = 101;
constexpr double kShortest    = 1e-5;  // side of a piece that has a bounding plane
constexpr double kPlaneMargin = 1e-5;

// --- bounding planes -----------------------------------------------------------------------------

// a * A + b * B + d is the distance from the plane, positive on the side of the piece; all 0 for a
// side that has none.
struct BoundingPlane {
    double a, b, d;
};

movane::ChromaPoint mean_of_nodes(const Piece& p) {
    movane::ChromaPoint sum{};
    int count = 0;
    for (int n = 0; n < p.nodes(); ++n) {
        if (p.sheet->is_missing[size(n)]) continue;
        sum.a += p.sheet->points[size(n)].a;
        sum.b += p.sheet->points[size(n)].b;
        ++count;
    }
    return count > 0 ? movane::ChromaPoint{sum.a / count, sum.b / count} : sum;
}

// The piece has nodes, and is measured.
BoundingPlane bounding_plane(const Piece& p, int side) {
    const int last_row = (p.nr1 - 1) * p.nr0, last_column = p.nr0 - 1;
    const int ends[kSides][2] = {{0, last_column},
                                 {last_row, last_row + last_column},
                                 {0, last_row},
                                 {last_column, last_row + last_column}};
    const int from = ends[side][0], to = ends[side][1];
    if (p.sheet->is_missing[size(from)] || p.sheet->is_missing[size(to)]) return {0, 0, 0};
    const auto start = p.sheet->points[size(from)], end = p.sheet->points[size(to)];
    const double length = std::hypot(end.a - start.a, end.b - start.b);
    if (length < kShortest) return {0, 0, 0};
    BoundingPlane plane{-(end.b - start.b) / length, (end.a - start.a) / length, 0};
    plane.d           = -(plane.a * start.a + plane.b * start.b);
    const auto inside = mean_of_nodes(p);
    if (plane.a * inside.a + plane.b * inside.b + plane.d < 0)
        plane = {-plane.a, -plane.b, -plane.d};
    return plane;
}

// --- the script ----------------------------------------------------------------------------------

// What follows a name: its values.
template <class Value>
void write_trace(std::ostream& out, Value value) {
    out << " = [";
    for (int i = 0; i < kTracePoints; ++i) out << value(i) << " ";
    out << "]\n";
}

double between(double lo, double hi, int i) { return lo + (hi - lo) * i / (kTracePoints - 1); }

void write_piece(std::ostream& out, const Piece& p, int k) {
    for (int i = 0; i < p.nr1; ++i) {
        for (const bool is_a : {true, false}) {
            out << (is_a ? "x" : "y") << k << "_" << i << " = [";
            for (int j = 0; j < p.nr0; ++j)
                out << p.colour(i * p.nr0 + j)[is_a ? p.chroma_a : p.chroma_b] << "  ";
            out << "]\n";
        }
    }
    const auto extreme = [&](int which) {
        return p.has_no_colour() ? movane::ChromaPoint{} : p.chroma(p.colour(p.extremes[which]));
    };
    using namespace movane;
    const double a_min = extreme(kSmallestA).a, a_max = extreme(kLargestA).a;
    const double b_min = extreme(kSmallestB).b, b_max = extreme(kLargestB).b;
    out << "xs" << k;
    write_trace(out, [&](int i) { return between(a_min, a_max, i); });

    bool is_vertical[kSides];
    for (int e = 0; e < kSides; ++e) {
        const BoundingPlane plane = bounding_plane(p, e);
        is_vertical[e]            = plane.b == 0;
        if (is_vertical[e]) {
            out << "vertical line, x,y-pairs\n"
                << "xs" << k << "_" << e;
            write_trace(out, [&](int) { return plane.a == 0 ? 0.0 : -plane.d / plane.a; });
        }
        out << "ys" << k << "_" << e;
        write_trace(out, [&](int i) {
            if (is_vertical[e]) return between(b_min, b_max, i);
            return 0.0 - (plane.a * between(a_min, a_max, i) + plane.d) / plane.b;  // no -0
        });
    }
    out << "plot(";
    for (int i = 0; i < p.nr1; ++i) out << "x" << k << "_" << i << ",y" << k << "_" << i << ",'y',";
    for (int e = 0; e < kSides; ++e) {
        out << "xs" << k;
        if (is_vertical[e]) out << "_" << e;
        out << ",ys" << k << "_" << e << ",'r'" << (e + 1 < kSides ? "," : "");
    }
    out << ")\n";
}

}  // namespace

int TPrimComb::InsideBoundingPlane(int side, double A, double B) {
    if (side < 0 || side >= kSides) {
        report("Wrong input");
        return -1;
    }
    if (!piece || !movane::evaluate(*piece)) return -1;
    if (piece->nodes() == 0) return 1;
    const BoundingPlane plane = bounding_plane(*piece, side);
    return plane.a * A + plane.b * B + plane.d >= -kPlaneMargin ? 1 : 0;
}

std::ostream& TTriangularTopSurface::ForBinaryStream(std::ostream& out) {
    int k = 0;
    for (TPrimComb* comb = first_piece(umbrella); comb; comb = next_piece(comb), ++k) {
        Piece& piece = Piece::of(*comb);
        if (movane::evaluate(piece)) {
            write_piece(out, piece, k);
        } else {
            errNo = movane::kErrorMemory;
        }
    }
    return out;
}

int TTriangularTopSurface::Export(const char* path) {
    fdofstream file(path, streambufExt::mode_out);
    if (!file.is_open()) {
        report(Formatted("cannot open export file %s", path));
        return -1;
    }
    ForBinaryStream(file);
    if (errNo != 0) {
        report("Cannot export process");
        errNo = 0;
    }
    file.close();
    return 0;
}
