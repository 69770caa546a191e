// Drawing the top surface: scans over the triangles of its pieces.
//
// A scan is a cursor of the surface, which piece, and cursors of each piece, which triangle of it.
// The latter are set back when the scan enters a piece or leaves it, so that the next scan finds
// them at the start.

#include "movane/gamut.h"

#include "Source/prim_comb.h"

#include <algorithm>
#include <cstdio>

namespace {

using movane::piece_at;
using Piece = top_surface_piece;

bool starts_cell(const Piece& piece, int node) {
    return node >= 0 && node % piece.nr0 + 1 < piece.nr0 && node / piece.nr0 + 1 < piece.nr1;
}

// The colours of triangle t of an evaluated piece.
struct Triangle {
    const double* corners[3];

    Triangle(const Piece& piece, int t) {
        int nodes[3];
        movane::triangle_nodes(*piece.sheet, t, nodes);
        for (int k = 0; k < 3; ++k) corners[k] = piece.colour(nodes[k]);
    }

    void write(double (*triangle)[3]) const {
        for (int k = 0; k < 3; ++k) std::copy_n(corners[k], 3, triangle[k]);
    }
};

// --- announcing what is discarded ----------------------------------------------------------------

void print_both_discarded(const Piece& piece, int node) {
    const auto& p = Triangle(piece, 2 * node).corners;
    const auto& q = Triangle(piece, 2 * node + 1).corners;
    std::printf(
        "Discard Triangles %3.1lf %d %d: \n %4.2lf %4.2lf \n %4.2lf, %4.2lf \n %4.2lf %4.2lf "
        "\n\n, %4.2lf %4.2lf \n %4.2lf, %4.2lf \n %4.2lf %4.2lf \n\n",
        piece.device[0], 2 * node, 2 * node + 1, p[0][1], p[0][2], p[1][1], p[1][2], p[2][1],
        p[2][2], q[0][1], q[0][2], q[1][1], q[1][2], q[2][1], q[2][2]);
}

void print_discarded(const Piece& piece, int t) {
    const auto& p = Triangle(piece, t).corners;
    std::printf(
        "Discard Triangles %3.1lf %d: \n %4.2lf %4.2lf \n %4.2lf %4.2lf \n %4.2lf %4.2lf \n\n",
        piece.device[0], t, p[0][1], p[0][2], p[1][1], p[1][2], p[2][1], p[2][2]);
}

// --- cells ---------------------------------------------------------------------------------------

// Moves on to the next cell with a triangle to give, and gives it. False at the end of the piece,
// whose cursor then stands before the first cell.
bool next_cell(Piece& piece, double (*first)[3], double (*second)[3]) {
    const int cells_end = (piece.nr1 - 1) * piece.nr0;
    for (int node = piece.node_cursor + 1; node < cells_end; ++node) {
        if (!starts_cell(piece, node)) continue;
        const unsigned char* const record = piece.discards.get() + 2 * movane::size(node);
        if (record[0] && record[1]) {
            print_both_discarded(piece, node);
            continue;
        }
        if (record[0] || record[1]) print_discarded(piece, 2 * node + (record[0] ? 0 : 1));
        Triangle(piece, 2 * node + (record[0] ? 1 : 0)).write(first);
        Triangle(piece, 2 * node + (record[1] ? 0 : 1)).write(second);
        piece.node_cursor = node;
        return true;
    }
    piece.node_cursor = -1;
    return false;
}

// --- masked triangles ----------------------------------------------------------------------------

// The number at a piece's cursors: entry 0 of an element is its id, the others follow in `more`.
// False when the element has no such entry.
bool number_at(TMaskedTriangle& element, int entry, int* number) {
    if (entry == 0) {
        *number = element.id;
        return true;
    }
    if (!element.more || entry > dynar_nr_items(element.more)) return false;
    *number = *static_cast<const int*>(dynar_ptr(element.more, entry - 1));
    return true;
}

bool next_masked(Piece& piece, double (*triangle)[3]) {
    while (TElement* const e = piece.masked->Get(piece.masked_element)) {
        auto& element = *static_cast<TMaskedTriangle*>(e);
        int number    = 0;
        if (!number_at(element, piece.masked_entry, &number)) {
            ++piece.masked_element;
            piece.masked_entry = 0;
            continue;
        }
        element.cursor = piece.masked_entry++;
        const int node = number / 2;
        if (!starts_cell(piece, node)) continue;
        // The parity of the node, not that of the number: hosts expect it.
        Triangle(piece, 2 * node + node % 2).write(triangle);
        return true;
    }
    piece.masked_element = piece.masked_entry = 0;
    return false;
}

}  // namespace

int TTriangularTopSurface::ScanTriangles(int restart, double (*first)[3], double (*second)[3]) {
    if (restart != 0) triangleCursor = 0;
    bool is_entering = restart != 0;
    int moved        = 0;
    while (const TPrimComb* const comb = piece_at(umbrella, triangleCursor)) {
        Piece& piece = Piece::of(*comb);
        if (!movane::evaluate(piece)) return -1;
        if (is_entering) piece.node_cursor = -1;
        if (next_cell(piece, first, second)) return restart != 0 ? 0 : moved;
        ++triangleCursor;
        is_entering = true;
        moved       = 1;
    }
    return -1;
}

int TTriangularTopSurface::ScanMaskedTriangles(int restart, double (*triangle)[3]) {
    if (restart != 0) maskedCursor = 0;
    int moved = 0;
    while (const TPrimComb* const comb = piece_at(umbrella, maskedCursor)) {
        Piece& piece = Piece::of(*comb);
        if (!movane::evaluate(piece)) return -1;
        if (restart != 0) piece.masked_element = piece.masked_entry = 0;
        if (next_masked(piece, triangle)) return restart != 0 ? 0 : moved;
        ++maskedCursor;
        moved = 1;
    }
    return -1;
}
