// The polar umbrella: how far the top surface reaches at each hue, and how high it is.
//
// Five steps, each on first need and on the shoulders of those before: the lightest point, the hues
// that the pieces cover, the edge over the hue, the height over hue and angle, the angle over hue
// and height. A step that fails leaves nothing, so that the next call tries again.

#include "movane/gamut.h"
#include "movane/interpolation.h"

#include "Source/piece_search.h"
#include "Source/prim_comb.h"
#include "Support/report.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>

namespace {

using movane::first_piece;
using movane::kTwoPi;
using movane::next_piece;
using Piece = top_surface_piece;

constexpr movane::Reporter report{"MOVANE/Private/Source/ttriangulartopsurface"};

constexpr double kPi          = 3.1415926535;
constexpr double kHalfPi      = 1.57079632675;
constexpr double kTetaCeiling = 1.57078632675;  // below kPi / 2, so that its tangent is finite
constexpr double kAngleMargin = 1e-5;
constexpr double kSpanStart   = 0.9;  // a factor, not a margin
constexpr double kSpanWidth   = 1.1;

int compare_starts(void* element, void* added) {
    const auto& there = *static_cast<const TDumEl*>(static_cast<TElement*>(element));
    const auto& here  = *static_cast<const TDumEl*>(static_cast<TElement*>(added));
    return there.start > here.start ? 1 : there.start < here.start ? -1 : 0;
}

// Order of the tables' abscissae: ascending.
int compare_abscissae(const void* element, const void* key) {
    return *static_cast<const double*>(key) < *static_cast<const double*>(element) ? 1 : 0;
}

// Whole turns of an angle; angles that no int can count have none.
double turns(double quotient) {
    return std::fabs(quotient) <= INT32_MAX ? std::trunc(quotient) : 0;
}

double look_up(const lin_interp_double* table, double phir) {
    double y = 0;
    lin_interp_double_inextp(table, phir, &y);
    return y;
}

}  // namespace

// --- the lightest point, and the hues ------------------------------------------------------------

int TTriangularTopSurface::DetermineVTMax() {
    if (VTMax > 0) return 0;
    bool is_first  = true;
    double largest = 0;
    for (TPrimComb* comb = first_piece(umbrella); comb; comb = next_piece(comb)) {
        Piece& piece = Piece::of(*comb);
        if (!movane::evaluate(piece)) return -1;
        if (piece.has_no_colour()) continue;
        largest  = is_first ? piece.largest_lightness : std::max(largest, piece.largest_lightness);
        is_first = false;
    }
    VTMax = largest;
    return 0;
}

int TTriangularTopSurface::DeterminePosPhiMinPosDeltaPhi() {
    if (PosDeltaPhi > 0) return 0;
    const std::unique_ptr<TList> spans(new TList(compare_starts));
    if (!spans) {
        report("No More Memory");
        return -1;
    }
    int index = 0;
    for (TPrimComb* comb = first_piece(umbrella); comb; comb = next_piece(comb), ++index) {
        const Piece& piece  = Piece::of(*comb);
        const bool is_found = movane::find_hue_span(Piece::of(*comb));
        TDumEl* const span  = is_found ? new TDumEl(piece.hue_start, piece.hue_width, index)
                                       : new TDumEl(-1.0, -1.0, index);
        if (!span) {
            report("No more memory");
            return -1;
        }
        spans->Add(span);
    }
    PosPhiMin = PosDeltaPhi = 0;
    bool is_first           = true;
    for (TElement* e = spans->First(); e; e = e->Next()) {
        const TDumEl& span = *static_cast<const TDumEl*>(e);
        if (span.start < 0) continue;
        if (is_first || span.start < PosPhiMin) PosPhiMin = span.start;
        if (span.start + span.width > PosPhiMin + PosDeltaPhi)
            PosDeltaPhi = span.start + span.width - PosPhiMin;
        is_first = false;
    }
    if (!(PosDeltaPhi > 0)) return -1;
    if (PosDeltaPhi >= kTwoPi) {
        PosDeltaPhi = kTwoPi;
        PosPhiMin   = 0;
    } else {
        PosPhiMin   = kSpanStart * PosPhiMin;
        PosDeltaPhi = std::min(kSpanWidth * PosDeltaPhi, kTwoPi);
    }
    return 0;
}

int TTriangularTopSurface::PhiToPhir(double phi, double* phir) {
    if (DeterminePosPhiMinPosDeltaPhi() != 0) return -1;
    if (phi < 0) {
        phi += 2 * turns(phi / -kTwoPi + 1.0) * kPi;
    } else if (phi > kTwoPi) {
        phi -= 2 * turns(phi / kTwoPi) * kPi;
    }
    *phir = (phi - PosPhiMin) / PosDeltaPhi;
    return 0;
}

int TTriangularTopSurface::PhirToPhi(double phir, double* phi) {
    if (DeterminePosPhiMinPosDeltaPhi() != 0) return -1;
    *phi = PosDeltaPhi * phir + PosPhiMin;
    if (*phi > kTwoPi) *phi -= 2 * turns(*phi / kTwoPi) * kPi;
    return 0;
}

// --- the edge over the hue -----------------------------------------------------------------------

void TTriangularTopSurface::KillEdgeTables() {
    for (auto* const table : {&tetaMaxTable, &VTMinTable, &edgeChromaTable}) {
        lin_interp_double_kill(*table);
        *table = nullptr;
    }
}

int TTriangularTopSurface::MakePhirTetaMaxAndVTMin() {
    for (auto* const table : {&tetaMaxTable, &VTMinTable, &edgeChromaTable}) {
        *table = lin_interp_double_new(nrPhiSteps, compare_abscissae);
        if (!*table) return -1;
    }
    for (int i = 0; i < nrPhiSteps; ++i) {
        const double phir = i / (nrPhiSteps - 1.0);
        double phi = 0, teta_max = 0, vt_min = VTMax;
        if (PhirToPhi(phir, &phi) != 0) return -1;
        for (TPrimComb* comb = first_piece(umbrella); comb; comb = next_piece(comb)) {
            double teta = 0, lightness = 0;
            if (!movane::edge_at(Piece::of(*comb), phi, &teta, &lightness) || teta <= teta_max)
                continue;
            teta_max = teta;
            vt_min   = lightness;
        }
        teta_max = std::min(1.1 * teta_max, kTetaCeiling);
        vt_min   = vt_min + 0.1 * (VTMax - vt_min);
        if (lin_interp_double_insert(tetaMaxTable, phir, teta_max) != 0 ||
            lin_interp_double_insert(VTMinTable, phir, vt_min) != 0 ||
            lin_interp_double_insert(edgeChromaTable, phir, std::tan(teta_max) * vt_min) != 0)
            return -1;
    }
    return RecalcTetarForOutDarkGamPrims();
}

int TTriangularTopSurface::DeterminePhirTetaMaxAndVTMin() {
    if (edgeChromaTable) return 0;
    if (nrPhiSteps < 2 || DetermineVTMax() != 0 || DeterminePosPhiMinPosDeltaPhi() != 0) return -1;
    if (MakePhirTetaMaxAndVTMin() == 0) return 0;
    KillEdgeTables();
    return -1;
}

// A primary that spans no piece may yet reach out farther from the lightness axis than the edge.
int TTriangularTopSurface::RecalcTetarForOutDarkGamPrims() {
    for (TElement* e = sortedPrimaries->First(); e; e = e->Next()) {
        const TPrimary& primary = *static_cast<const TPrimary*>(e);
        TPrimComb* comb         = first_piece(umbrella);
        while (comb && !Piece::of(*comb).varies(primary.channel)) comb = next_piece(comb);
        if (comb) continue;

        const double a = primary.colour[chromaA], b = primary.colour[chromaB];
        const double teta = movane::angle_of(primary.colour[axis], std::sqrt(a * a + b * b));
        const double phi  = movane::angle_of(a, b);
        double phir       = 0;
        if (PhiToPhir(phi, &phir) != 0) return -1;
        const double teta_max = look_up(tetaMaxTable, phir);
        if (!(teta > teta_max)) continue;
        const double reach  = std::max(0.0, 0.1 * (kHalfPi - teta)) + (teta - teta_max);
        const double d_teta = std::min(reach, kHalfPi - teta_max - kAngleMargin);
        if (d_teta > 0 && RecalcTetarDTeta(phir, d_teta) != 0) return -1;
    }
    return 0;
}

int TTriangularTopSurface::RecalcTetarDTeta(double phir, double dTeta) {
    for (int i = 0; i < nrPhiSteps; ++i) {
        double x = 0, teta_max = 0, vt_min = 0;
        if (lin_interp_double_getp(tetaMaxTable, i, &x, &teta_max) != 0 ||
            lin_interp_double_getp(VTMinTable, i, &x, &vt_min) != 0)
            return -1;
        double d = std::fabs(x - phir);
        if (x > phir + 0.5 || x < phir - 0.5) d = 1 - d;
        teta_max = std::min(teta_max + (1 - 2 * d) * dTeta, kTetaCeiling);
        if (lin_interp_double_changep(tetaMaxTable, i, x, teta_max) != 0 ||
            lin_interp_double_changep(edgeChromaTable, i, x, std::tan(teta_max) * vt_min) != 0)
            return -1;
    }
    return 0;
}

// --- the grids -----------------------------------------------------------------------------------

int TTriangularTopSurface::DeterminePhirTetarVTMax() {
    if (VTMaxGrid) return 0;
    if (DeterminePhirTetaMaxAndVTMin() != 0) return -1;
    VTMaxGrid = md_tetrad_new(2, 1, nrPhiSteps, 0.0, 1.0);
    if (!VTMaxGrid) {
        report("Not enough memory");
        return -1;
    }
    int index[2] = {0, 0};
    do {
        double at[2], phi = 0, height = 0;
        double* const vertex = md_tetrad_vertex_get(VTMaxGrid, index, at);
        PhirToPhi(at[0], &phi);
        const double teta = at[1] * look_up(tetaMaxTable, at[0]);
        TPrimComb* comb   = first_piece(umbrella);
        while (comb && !movane::height_at(Piece::of(*comb), phi, teta, &height))
            comb = next_piece(comb);
        if (comb) {
            *vertex = height;
        } else {
            report("Check code, has to be an error somewhere!");
        }
    } while (md_tetrad_scan_vertex(VTMaxGrid, index) != 0);
    return 0;
}

int TTriangularTopSurface::FillPhirVTrTetar() {
    int index[2] = {0, 0};
    do {
        double at[2], phi = 0, teta = 0;
        double* const vertex = md_tetrad_vertex_get(TetarGrid, index, at);
        PhirToPhi(at[0], &phi);
        const double teta_max = look_up(tetaMaxTable, at[0]);
        const double vt       = VTMax - (VTMax - look_up(VTMinTable, at[0])) * at[1];
        TPrimComb* comb       = first_piece(umbrella);
        while (comb && !movane::teta_at(Piece::of(*comb), phi, vt, &teta)) comb = next_piece(comb);
        if (!comb) {
            report("Check code, has to be an error somewhere!");
            return -1;
        }
        *vertex = teta_max > 0 ? teta / teta_max : teta > 0 ? 1 : 0;
    } while (md_tetrad_scan_vertex(TetarGrid, index) != 0);
    return 0;
}

int TTriangularTopSurface::DeterminePhirVTrTetar() {
    if (TetarGrid) return 0;
    if (DeterminePhirTetaMaxAndVTMin() != 0) return -1;
    TetarGrid = md_tetrad_new(2, 1, nrPhiSteps, 0.0, 1.0);
    if (!TetarGrid) {
        report("Not enough memory");
        return -1;
    }
    if (FillPhirVTrTetar() == 0) return 0;
    TetarGrid = md_tetrad_kill(TetarGrid);
    return -1;
}
