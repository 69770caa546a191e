// A piece of the top surface: its tables, its measured colours and its hues.
//
// A piece is made cheaply, from what the umbrella says of it, and measured on first use: many are
// refused before. Everything derived from the measured colours is computed once, in one walk.

#include "Source/prim_comb.h"

#include "movane/numerics.h"

#include "Support/report.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

namespace {

using movane::copy_list;
using movane::copy_values;
using movane::kErrorMemory;
using movane::kTwoPi;
using movane::size;
using Piece = top_surface_piece;

constexpr movane::Reporter report{"MOVANE/Private/Source/ttriangulartopsurface"};

constexpr int kMostSamples       = 100000;
constexpr int kMostNodes         = INT32_MAX / 16;  // entries of six per node are counted by int
constexpr int kErrorData         = 2;
constexpr int kErrorInitialised  = 3;
constexpr unsigned char kDiscard = 5;
constexpr double kQuadrantEnds[] = {1.57079632675, 3.1415926535, 4.71238898025};
constexpr double kHueSlack       = 1e-9;  // of a full turn

std::unique_ptr<TPrimary> copy_of(const TPrimary* primary) {
    return std::unique_ptr<TPrimary>(primary ? new TPrimary(*primary) : nullptr);
}

// --- making --------------------------------------------------------------------------------------

// With every table but the samples zeroed; null when there is no memory.
movane::Owned<Piece> make_piece(const TPrimary* first, const TPrimary* second, int nr0, int nr1,
                                const double* device, int nr_device) {
    auto piece = movane::create<Piece>();
    if (!piece || std::int64_t{nr0} * nr1 > kMostNodes) return nullptr;
    piece->first     = copy_of(first);
    piece->second    = copy_of(second);
    piece->nr0       = nr0;
    piece->nr1       = nr1;
    piece->nr_device = nr_device;
    piece->device    = copy_values(device, nr_device);
    const auto nodes = size(piece->nodes());

    piece->colours            = movane::make_zeroed_block<double>(nodes, 3);
    piece->values             = movane::make_block<double>(nodes);
    piece->discards           = movane::make_zeroed_block<unsigned char>(nodes, 2);
    piece->first_derivatives  = movane::make_zeroed_block<double>(nodes, 6);
    piece->second_derivatives = movane::make_zeroed_block<double>(nodes, 6);
    piece->masked.reset(new TList);
    if (!piece->first || !piece->second || !piece->device || !piece->colours || !piece->values ||
        !piece->discards || !piece->first_derivatives || !piece->second_derivatives ||
        !piece->masked)
        return nullptr;
    std::fill_n(piece->values.get(), nodes, -1.0);
    std::fill_n(piece->extremes, std::size(piece->extremes), -1);
    piece->axis        = first->axis;
    piece->chroma_a    = movane::first_chroma_axis(piece->axis);
    piece->chroma_b    = movane::second_chroma_axis(piece->axis);
    piece->node_cursor = -1;
    return piece;
}

movane::Owned<Piece> clone(const Piece& from) {
    auto piece = make_piece(from.first.get(), from.second.get(), from.nr0, from.nr1,
                            from.device.get(), from.nr_device);
    if (!piece) return nullptr;
    const auto nodes = size(from.nodes());
    piece->samples0  = copy_values(from.samples0.get(), from.nr0);
    piece->samples1  = copy_values(from.samples1.get(), from.nr1);
    piece->masked    = copy_list<TMaskedTriangle>(from.masked.get());
    if (from.further) piece->further = copy_list<TPrimary>(from.further.get());
    if (!piece->samples0 || !piece->samples1 || !piece->masked || !piece->further != !from.further)
        return nullptr;
    std::copy_n(from.colours.get(), 3 * nodes, piece->colours.get());
    std::copy_n(from.values.get(), nodes, piece->values.get());
    std::copy_n(from.discards.get(), 2 * nodes, piece->discards.get());
    std::copy_n(from.first_derivatives.get(), 6 * nodes, piece->first_derivatives.get());
    std::copy_n(from.second_derivatives.get(), 6 * nodes, piece->second_derivatives.get());
    std::copy_n(from.extremes, std::size(from.extremes), piece->extremes);
    std::copy_n(from.quadrants, std::size(from.quadrants), piece->quadrants);
    piece->user_data         = from.user_data;
    piece->forward           = from.forward;
    piece->tag               = from.tag;
    piece->is_measured       = from.is_measured;
    piece->largest_lightness = from.largest_lightness;
    piece->largest_chroma    = from.largest_chroma;
    piece->smallest_chroma   = from.smallest_chroma;
    piece->hue_start         = from.hue_start;
    piece->hue_width         = from.hue_width;
    piece->node_cursor       = from.node_cursor;
    piece->masked_element    = from.masked_element;
    piece->masked_entry      = from.masked_entry;
    return piece;
}

// --- measuring -----------------------------------------------------------------------------------

bool measure_colours(Piece& p) {
    const auto device = copy_values(p.device.get(), p.nr_device);
    if (!device) return false;
    for (int i = 0; i < p.nr1; ++i) {
        for (int j = 0; j < p.nr0; ++j) {
            device[size(p.first->channel)]  = p.samples0[size(j)];
            device[size(p.second->channel)] = p.samples1[size(i)];
            movane::ask_device(p.forward, p.user_data, device.get(), p.colour(i * p.nr0 + j));
        }
    }
    return true;
}

void record_hue(movane::HueQuadrant (&quadrants)[4], double phi) {
    const auto end = std::upper_bound(std::begin(kQuadrantEnds), std::end(kQuadrantEnds), phi);
    movane::HueQuadrant& quadrant = quadrants[end - std::begin(kQuadrantEnds)];
    if (phi < quadrant.smallest || !quadrant.is_used) quadrant.smallest = phi;
    if (phi > quadrant.largest) quadrant.largest = phi;
    quadrant.is_used = true;
}

void replace_extremes(Piece& p, int node) {
    const auto at   = [&](int extreme) { return p.chroma(p.colour(p.extremes[extreme])); };
    const auto here = p.chroma(p.colour(node));
    using namespace movane;
    if (here.a > at(kLargestA).a) {
        p.extremes[kLargestA] = node;
    } else if (here.a < at(kSmallestA).a) {
        p.extremes[kSmallestA] = node;
    }
    if (here.b > at(kLargestB).b) {
        p.extremes[kLargestB] = node;
    } else if (here.b < at(kSmallestB).b) {
        p.extremes[kSmallestB] = node;
    }
}

void find_extremes(Piece& p) {
    double largest = 0, smallest = 0;  // squared chroma
    for (int node = 0; node < p.nodes(); ++node) {
        if (p.sheet->is_missing[size(node)]) continue;
        const double* const colour = p.colour(node);
        const auto [a, b]          = p.chroma(colour);
        const double chroma        = a * a + b * b;
        if (p.has_no_colour()) {
            std::fill_n(p.extremes, std::size(p.extremes), node);
            p.largest_lightness = colour[p.axis];
            largest = smallest = chroma;
        } else {
            replace_extremes(p, node);
            p.largest_lightness = std::max(p.largest_lightness, colour[p.axis]);
            largest             = std::max(largest, chroma);
            smallest            = std::min(smallest, chroma);
        }
        bool is_defined  = false;
        const double phi = movane::angle_of(a, b, &is_defined);
        if (is_defined) record_hue(p.quadrants, phi);
    }
    p.largest_chroma  = std::sqrt(largest);
    p.smallest_chroma = std::sqrt(smallest);
}

// --- discarding ----------------------------------------------------------------------------------

void discard_around(Piece& p, int node) {
    const int row = node / p.nr0, column = node % p.nr0;
    unsigned char* const record = p.discards.get() + 2 * static_cast<std::ptrdiff_t>(node);
    const std::ptrdiff_t below  = 2 * static_cast<std::ptrdiff_t>(p.nr0);
    record[0]                   = kDiscard;
    if (column > 0 && row + 1 < p.nr1) record[-2] = record[-1] = kDiscard;
    if (row > 0 && column > 0) record[-below - 1] = kDiscard;
    if (row > 0 && column + 1 < p.nr0) record[-below] = record[-below + 1] = kDiscard;
}

// A split piece ends where the one begins that it was split from: there its triangles are flat.
void discard_saturated_edge(Piece& p) {
    if (p.nodes() == 0) return;
    if (p.tag == p.first->channel)
        for (int i = 0; i < p.nr1; ++i) discard_around(p, i * p.nr0 + p.nr0 - 1);
    if (p.tag == p.second->channel)
        for (int j = 0; j < p.nr0; ++j) discard_around(p, (p.nr1 - 1) * p.nr0 + j);
}

bool build_sheet(Piece& p) {
    p.sheet = movane::make_sheet(p.nr0, p.nr1, p.colours.get(), {p.chroma_a, p.chroma_b, p.axis},
                                 p.discards.get());
    return p.sheet != nullptr;
}

// --- hues ----------------------------------------------------------------------------------------

void set_hues(Piece& p, int from, int to, double turns) {
    p.hue_start = p.quadrants[from].smallest;
    p.hue_width = p.quadrants[to].largest + turns * kTwoPi - p.hue_start;
}

void set_hues_of_three(Piece& p) {
    const auto& used = p.quadrants;
    if (!used[1].is_used) return set_hues(p, 2, 0, 1);
    if (!used[2].is_used) return set_hues(p, 3, 1, 1);
    // Without quadrant 3, too: its largest hue is 0 then, and the width negative. Hosts know pieces
    // of these hues as ones that never answer.
    set_hues(p, 1, 3, 0);
}

}  // namespace

namespace movane {

void ask_device(top_surface_forward forward, void* user_data, const double* device,
                double* colour) noexcept {
    colour[0] = colour[1] = colour[2] = 0;
    forward(user_data, device, colour);
}

bool evaluate(top_surface_piece& p) {
    if (p.sheet) return true;
    if ((!p.is_measured && !measure_colours(p)) || !build_sheet(p)) {
        report("No Memory");
        return false;
    }
    if (!p.is_measured) find_extremes(p);
    p.is_measured = true;
    return true;
}

bool is_valid_node(const top_surface_piece& p, int node) {
    if (p.sheet->is_missing[size(node)]) return false;
    const int row = node / p.nr0, column = node % p.nr0;
    const bool has_left = column > 0, has_right = column + 1 < p.nr0;
    const bool has_lower = row > 0, has_upper = row + 1 < p.nr1;
    const auto is_kept = [&](int cell, int half) {
        return p.discards[2 * size(cell) + size(half)] == 0;
    };
    return (has_right && has_upper && is_kept(node, 0)) ||
           (has_left && has_upper && (is_kept(node - 1, 0) || is_kept(node - 1, 1))) ||
           (has_left && has_lower && is_kept(node - p.nr0 - 1, 1)) ||
           (has_right && has_lower && (is_kept(node - p.nr0, 0) || is_kept(node - p.nr0, 1)));
}

bool find_hue_span(top_surface_piece& p) {
    if (!evaluate(p)) return false;
    if (p.hue_width > 0) return true;
    const auto& quadrants = p.quadrants;
    const auto used =
        std::count_if(quadrants, quadrants + 4, [](const HueQuadrant& q) { return q.is_used; });
    if (used == 0 || used == 4) {
        report("Such a small or big gamut is just not possible");
        return false;
    }
    if (used == 3) {
        set_hues_of_three(p);
    } else if (used == 2 && quadrants[3].is_used && quadrants[0].is_used) {
        set_hues(p, 3, 0, 1);
    } else {
        int lowest = 0, highest = 3;
        while (!quadrants[lowest].is_used) ++lowest;
        while (!quadrants[highest].is_used) --highest;
        set_hues(p, lowest, highest, 0);
    }
    return true;
}

bool has_hue(const top_surface_piece& p, double phi) {
    const double u = (p.hue_start - phi) / kTwoPi;
    const double w = (p.hue_start + p.hue_width - phi) / kTwoPi;
    if (!(w >= u)) return false;
    const double turns = std::round((u + w) / 2);
    return turns >= u - kHueSlack && turns <= w + kHueSlack;
}

double angle_of(double x, double y, bool* is_defined) {
    int error          = 0;
    const double angle = real_atan2PI(x, y, &error);
    if (is_defined) *is_defined = error == 0;
    return error == 0 ? angle : 0.0;
}

Block<double> copy_values(const double* values, int count) {
    auto copy = make_block<double>(size(count));
    if (copy) std::copy_n(values, count, copy.get());
    return copy;
}

}  // namespace movane

// --- life cycle ----------------------------------------------------------------------------------

TPrimComb::TPrimComb(const TPrimary* first, const TPrimary* second, const double* samples0,
                     const double* samples1, int nr0, int nr1, const double* device, int nrDevice,
                     void* userData, top_surface_forward forward, int tag)
    : errNo(0), piece(nullptr) {
    if (!userData || !forward) {
        report("Bad Initialisation of PrimComb");
        errNo = kErrorInitialised;
        return;
    }
    if (nr0 < 0 || nr0 > kMostSamples || nr1 < 0 || nr1 > kMostSamples) {
        report("TPrimCoord: Invalid data");
        errNo = kErrorData;
        return;
    }
    auto made = make_piece(first, second, nr0, nr1, device, nrDevice);
    if (made) {
        made->samples0 = copy_values(samples0, nr0);
        made->samples1 = copy_values(samples1, nr1);
    }
    if (!made || !made->samples0 || !made->samples1) {
        report("No Memory");
        errNo = kErrorMemory;
        return;
    }
    made->user_data = userData;
    made->forward   = forward;
    made->tag       = tag;
    discard_saturated_edge(*made);
    piece = made.release();
}

TPrimComb::~TPrimComb() { movane::destroy(piece); }

TPrimComb::TPrimComb(const TPrimComb& other) : TElement(), errNo(other.errNo), piece(nullptr) {
    if (!other.piece) return;
    piece = clone(*other.piece).release();
    if (piece) return;
    report("No Memory");
    errNo = kErrorMemory;
}

TPrimComb& TPrimComb::operator=(const TPrimComb& other) {
    TPrimComb copy(other);
    std::swap(errNo, copy.errNo);
    std::swap(piece, copy.piece);
    return *this;
}

int TPrimComb::ErrNo() const { return errNo; }
