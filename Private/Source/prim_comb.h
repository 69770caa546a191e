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
    [[nodiscard]] double* colour(int node) const { return colours.get() + 3 * movane::size(node); }
    [[nodiscard]] bool has_no_colour() const { return extremes[movane::kLargestA] < 0; }
    [[nodiscard]] movane::ChromaPoint chroma(const double* from) const {
        return {from[chroma_a], from[chroma_b]};
    }
    [[nodiscard]] bool varies(int channel) const {
        return channel == first->channel || channel == second->channel;
    }
};

namespace movane {

constexpr int kErrorMemory = 1;            // error number of pieces and surfaces
constexpr double kTwoPi    = 6.283185307;  // all angles of the surface are counted with this one
constexpr double kLevel    = 1e-5;         // difference of lightnesses that count as equal

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

/// Finds where the hues of a piece lie; not again once the width is above 0.
///
/// @return  false when it has none or all, or cannot be measured, which is reported
bool find_hue_span(top_surface_piece& piece);

/// Whether a hue belongs to the span that find_hue_span() found.
bool has_hue(const top_surface_piece& piece, double phi);

/// The angle of (x, y) from the x axis: a hue of chromatic coordinates, or how far lightness and
/// chroma lie from the lightness axis. 0 when undefined.
double angle_of(double x, double y, bool* is_defined = nullptr);

/// The pieces of an umbrella, which may be missing, in their order; null at the end.
inline TPrimComb* first_piece(TList* umbrella) {
    return umbrella ? static_cast<TPrimComb*>(umbrella->First()) : nullptr;
}
inline TPrimComb* next_piece(TPrimComb* comb) { return static_cast<TPrimComb*>(comb->Next()); }

/// Null when there is no such piece.
inline TPrimComb* piece_at(TList* umbrella, int index) {
    return umbrella && index >= 0 ? static_cast<TPrimComb*>(umbrella->Get(index)) : nullptr;
}

/// Null without memory.
Block<double> copy_values(const double* values, int count);

inline bool is_whole(const TElement&) { return true; }
inline bool is_whole(const TPrimComb& comb) { return comb.ErrNo() == 0; }

/// Copies a list of which each element is an Element, in its order; null without memory.
template <class Element>
std::unique_ptr<TList> copy_list(TList* list) {
    std::unique_ptr<TList> copy(new TList);
    for (TElement* e = list->First(); copy && e; e = e->Next()) {
        Element* const element = new Element(*static_cast<const Element*>(e));
        copy->Add(element);
        if (!element || !is_whole(*element)) return nullptr;
    }
    return copy;
}

}  // namespace movane
