// A piece of the top surface, as the other modules of the surface see it.
#pragma once

#include "movane/gamut.h"

#include "Source/piece_sheet.h"
#include "Support/memory.h"

#include <cstddef>
#include <memory>

namespace movane {

/// The smallest and the largest hue of a quadrant's nodes; 0 while it has none.
struct HueQuadrant {
    double smallest, largest;
    bool is_used;
};

enum { kLargestA, kSmallestA, kLargestB, kSmallestB, kExtremes };

}  // namespace movane

// Invariants: all blocks are there; device holds -1.0 at the channels of both primaries. What
// stands behind is_measured means nothing before, and the sheet is made with it or, for a copy, on
// first use.
struct top_surface_piece {
    std::unique_ptr<TPrimary> first, second;
    int axis, chroma_a, chroma_b;
    void* user_data;
    top_surface_forward forward;
    int nr_device;
    movane::Block<double> device;
    int nr0, nr1;
    movane::Block<double> samples0, samples1;
    int tag;

    movane::Block<double> colours;             // three per node
    movane::Block<double> values;              // one per node, -1.0 until computed
    movane::Block<unsigned char> discards;     // two per node: 5 discards a triangle of its cell
    movane::Block<double> first_derivatives;   // six per node
    movane::Block<double> second_derivatives;  // six per node
    std::unique_ptr<TList> masked;             // TMaskedTriangle
    std::unique_ptr<TList> further;            // TPrimary: channels that vary, too; null for none

    bool is_measured;
    double largest_lightness, largest_chroma, smallest_chroma;
    int extremes[movane::kExtremes];  // nodes; -1 when all are missing
    movane::HueQuadrant quadrants[4];
    double hue_start, hue_width;  // radians; width 0 until computed
    movane::Owned<movane::Sheet> sheet;

    // Scans: a cell's node, -1 before the first; an element of `masked` and a number in it.
    int node_cursor;
    int masked_element, masked_entry;

    static top_surface_piece& of(const TPrimComb& comb) { return *comb.piece; }

    [[nodiscard]] int nodes() const { return nr0 * nr1; }
    [[nodiscard]] double* colour(int node) const {
        return colours.get() + 3 * static_cast<std::size_t>(node);
    }
    [[nodiscard]] bool has_no_colour() const { return extremes[movane::kLargestA] < 0; }
    [[nodiscard]] movane::ChromaPoint chroma(const double* from) const {
        return {from[chroma_a], from[chroma_b]};
    }
};

namespace movane {

/// The chromatic axes of a lightness axis, in ascending order.
constexpr int first_chroma_axis(int axis) { return axis < 1 ? 1 : 0; }
constexpr int second_chroma_axis(int axis) { return axis < 2 ? 2 : 1; }

/// The only call of the host's device; what it does not write is 0.
void ask_device(top_surface_forward forward, void* user_data, const double* device,
                double* colour) noexcept;

/// Measures the nodes and builds the sheet, once.
///
/// @return  false without memory, which is reported
bool evaluate(top_surface_piece& piece);

/// Whether a node is there and a kept triangle uses it.
bool is_valid_node(const top_surface_piece& piece, int node);

/// Finds where the hues of a piece lie, once its width is above 0 for good.
///
/// @return  false when it has none or all, or cannot be measured, which is reported
bool find_hue_span(top_surface_piece& piece);

/// Whether a hue belongs to the span that find_hue_span() found.
bool has_hue(const top_surface_piece& piece, double phi);

/// The hue of a colour; 0 when undefined.
double hue_of(const top_surface_piece& piece, const double* colour, bool* is_defined);

}  // namespace movane
