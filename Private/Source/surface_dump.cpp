// Text dumps of the pieces of a top surface, and the node values that only they show.

#include "movane/gamut.h"

#include "Source/piece_search.h"
#include "Source/prim_comb.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>

namespace {

using movane::Answer;
using movane::first_piece;
using movane::next_piece;
using movane::piece_at;
using movane::size;
using Piece = top_surface_piece;

constexpr movane::Reporter report{"MOVANE/Private/Source/ttriangulartopsurface"};

// --- derivatives ---------------------------------------------------------------------------------

// The parabola through three points, or the line through two. Equal abscissae make it constant.
struct Parabola {
    double x0, x1, slope, bend;  // f(x0) + slope * (x - x0) + bend * (x - x0) * (x - x1)

    static Parabola through(const double* x, const double* f, int points) {
        Parabola p{x[0], x[1], 0, 0};
        if (x[1] == x[0] || (points > 2 && (x[2] == x[1] || x[2] == x[0]))) return p;
        p.slope = (f[1] - f[0]) / (x[1] - x[0]);
        if (points > 2) p.bend = ((f[2] - f[1]) / (x[2] - x[1]) - p.slope) / (x[2] - x[0]);
        return p;
    }

    [[nodiscard]] double first(double x) const { return slope + bend * (2 * x - x0 - x1); }
    [[nodiscard]] double second() const { return 2 * bend; }
};

// The derivatives along a run of nodes, `stride` apart, into three of six values per node.
void derive(Piece& p, int start, int stride, const double* samples, int count, int offset) {
    if (count < 2) return;
    const int points = std::min(count, 3);
    for (int i = 0; i < count; ++i) {
        const int from = std::clamp(i - 1, 0, count - points);
        for (int c = 0; c < 3; ++c) {
            double f[3];
            for (int k = 0; k < points; ++k) f[k] = p.colour(start + (from + k) * stride)[c];
            const auto parabola      = Parabola::through(samples + from, f, points);
            const auto at            = 6 * size(start + i * stride) + size(offset + c);
            p.first_derivatives[at]  = parabola.first(samples[i]);
            p.second_derivatives[at] = parabola.second();
        }
    }
}

void determine_derivatives(Piece& p) {
    for (int i = 0; i < p.nr1; ++i) derive(p, i * p.nr0, 1, p.samples0.get(), p.nr0, 0);
    for (int j = 0; j < p.nr0; ++j) derive(p, j, p.nr0, p.samples1.get(), p.nr1, 3);
}

// --- printing ------------------------------------------------------------------------------------

// Both samples of each node, and what print(node) adds; an empty line, twice, behind each row.
template <class Print>
void print_nodes(FILE* f, const Piece& p, Print print) {
    for (int i = 0; i < p.nr1; ++i) {
        for (int j = 0; j < p.nr0; ++j) {
            std::fprintf(f, "%lf %lf ", p.samples0[size(j)], p.samples1[size(i)]);
            print(i * p.nr0 + j);
            std::fprintf(f, "\n");
        }
        std::fprintf(f, "\n\n");
    }
}

int print_derivatives(FILE* f, Piece& p, const movane::Block<double>& derivatives) {
    if (!movane::evaluate(p)) return -1;
    determine_derivatives(p);
    print_nodes(f, p, [&](int node) {
        for (std::size_t k = 0; k < 6; ++k)
            std::fprintf(f, "%lf ", derivatives[6 * size(node) + k]);
    });
    return 0;
}

}  // namespace

int TTriangularTopSurface::DumpGrid(FILE* f, int index) {
    const TPrimComb* const comb = piece_at(umbrella, index);
    if (!comb) return 0;
    Piece& p = Piece::of(*comb);
    if (!movane::evaluate(p)) return -1;
    const auto device = movane::copy_values(p.device.get(), p.nr_device);
    if (!device) {
        report("No Memory");
        return -1;
    }
    int node = 0;
    for (int j = 0; j < p.nr0; ++j) {
        for (int i = 0; i < p.nr1; ++i, ++node) {
            const double* const colour      = p.colour(node);
            device[size(p.first->channel)]  = p.samples0[size(j)];
            device[size(p.second->channel)] = p.samples1[size(i)];
            std::fprintf(f, "%lf %lf %lf ", colour[0], colour[1], colour[2]);
            for (int k = 0; k < p.nr_device; ++k) std::fprintf(f, "%lf ", device[size(k)]);
            std::fprintf(f, "\n");
        }
    }
    return 0;
}

// How far each node lies above the highest other piece at its place.
int TTriangularTopSurface::DetermineNodeValues(TPrimComb* comb) {
    Piece& p = Piece::of(*comb);
    if (!movane::evaluate(p)) return -1;
    for (int node = 0; node < p.nodes(); ++node) {
        double& value = p.values[size(node)];
        value         = -1.0;
        if (p.sheet->is_missing[size(node)]) continue;
        bool is_found  = false;
        double highest = 0;
        for (TPrimComb* other = first_piece(umbrella); other; other = next_piece(other)) {
            if (other == comb) continue;
            double height = 0;
            const Answer answer =
                movane::project(Piece::of(*other), p.sheet->points[size(node)], &height);
            if (answer == Answer::failed) return -1;
            if (answer == Answer::none) continue;
            highest  = is_found ? std::max(highest, height) : height;
            is_found = true;
        }
        if (is_found) value = p.sheet->lightness[size(node)] - highest;
    }
    return 0;
}

int TTriangularTopSurface::DumpFP(FILE* f, int index) {
    TPrimComb* const comb = piece_at(umbrella, index);
    if (!comb) return 0;
    if (DetermineNodeValues(comb) != 0) return -1;
    const Piece& p = Piece::of(*comb);
    print_nodes(f, p, [&](int node) { std::fprintf(f, "%lf ", p.values[size(node)]); });
    return 0;
}

int TTriangularTopSurface::DumpFirstDer(FILE* f, int index) {
    const TPrimComb* const comb = piece_at(umbrella, index);
    if (!comb) return 0;
    Piece& p = Piece::of(*comb);
    return print_derivatives(f, p, p.first_derivatives);
}

int TTriangularTopSurface::DumpSecDer(FILE* f, int index) {
    const TPrimComb* const comb = piece_at(umbrella, index);
    if (!comb) return 0;
    Piece& p = Piece::of(*comb);
    return print_derivatives(f, p, p.second_derivatives);
}
