// Normalised coordinates below the top surface, and the device coordinates of its points.
//
// A conversion is two lookups and some trigonometry per point. What has no value (the angle of the
// lightness axis itself, the share of an edge that is not there) is 0 or 1 by rule: no result is
// NaN.

#include "movane/gamut.h"
#include "movane/interpolation.h"

#include "Source/prim_comb.h"
#include "Support/report.h"

#include <algorithm>
#include <cmath>

namespace {

using Piece = top_surface_piece;

constexpr movane::Reporter report{"MOVANE/Private/Source/ttriangulartopsurface"};

double finite_or_0(double x) { return std::isfinite(x) ? x : 0.0; }

double look_up(const lin_interp_double* table, double phir) {
    double y = 0;
    lin_interp_double_inextp(table, phir, &y);
    return y;
}

// The table is not read outside its range.
double look_up(const md_tetrad_table* table, double phir, double y) {
    double in[2]      = {std::clamp(phir, 0.0, 1.0), std::clamp(y, 0.0, 1.0)};
    double value      = 0;
    double *inputs[2] = {in, in + 1}, *output = &value;
    md_tetrad_interp(table, inputs, 1, &output, 1, 1);
    return value;
}

// A colour as its distance from the lightness axis and its angles.
struct Polar {
    double lightness, chroma, phi, teta;
    bool has_teta;

    Polar(const double* colour, int axis, int chroma_a, int chroma_b) {
        const double a = finite_or_0(colour[chroma_a]), b = finite_or_0(colour[chroma_b]);
        lightness = finite_or_0(colour[axis]);
        chroma    = std::sqrt(a * a + b * b);
        phi       = movane::angle_of(a, b);
        teta      = movane::angle_of(lightness, chroma, &has_teta);
    }
};

// Clips to 1; what is clipped makes the excess negative.
double clip_share(double share, double* excess) {
    if (!(share > 1)) return share;
    *excess += 1 - share;
    return 1;
}

double share_of(double part, double whole) {
    return whole > 0 ? part / whole : part > 0 ? 1.0 : 0.0;
}

// The height of a straight line from the lightest point to the edge, at the angle teta. Where the
// edge lies on the lightness axis there is no line: the lightest point's.
double straight_height(double teta, double teta_max, double vt_max, double vt_min) {
    if (!(teta_max > 0)) return vt_max;
    const double h      = std::tan(teta) * (vt_max - vt_min);
    const double height = vt_max / (h / (std::tan(teta_max) * vt_min) + 1);
    return std::isfinite(height) ? height : vt_max;
}

void write_colour(double* colour, int axis, int chroma_a, int chroma_b, double lightness,
                  double teta, double phi) {
    const double chroma = std::tan(teta) * lightness;
    colour[axis]        = finite_or_0(lightness);
    colour[chroma_a]    = finite_or_0(std::cos(phi) * chroma);
    colour[chroma_b]    = finite_or_0(std::sin(phi) * chroma);
}

void write_norm(double* norm, double tetar, double phir, double vtr) {
    norm[0] = tetar;
    norm[1] = phir;
    norm[2] = vtr;
}

double clip_hue(double phir, double* excess) {
    if (phir < 0) {
        *excess += phir;
        return 0;
    }
    return clip_share(phir, excess);
}

}  // namespace

// --- the straight surface ------------------------------------------------------------------------

int TTriangularTopSurface::DetermineNormCoord(const double* colour, double* norm, double* excess,
                                              int n) {
    if (DeterminePhirTetaMaxAndVTMin() != 0) return -1;
    for (int i = 0; i < n; ++i, colour += 3, norm += 3) {
        const Polar p(colour, axis, chromaA, chromaB);
        excess[i]   = 0;
        double phir = 0;
        PhiToPhir(p.phi, &phir);
        phir                  = clip_hue(phir, excess + i);
        const double teta_max = look_up(tetaMaxTable, phir);
        const double tetar    = clip_share(share_of(p.teta, teta_max), excess + i);
        const double height =
            straight_height(tetar * teta_max, teta_max, VTMax, look_up(VTMinTable, phir));
        write_norm(norm, tetar, phir, finite_or_0(std::min(p.lightness / height, 1.0)));
    }
    return 0;
}

int TTriangularTopSurface::DetermineXYZ(const double* norm, double* colour, double* excess, int n) {
    if (DeterminePhirTetaMaxAndVTMin() != 0) return -1;
    for (int i = 0; i < n; ++i, colour += 3, norm += 3) {
        const double tetar = finite_or_0(norm[0]), phir = finite_or_0(norm[1]),
                     vtr      = finite_or_0(norm[2]);
        excess[i]             = 0;
        const double teta_max = look_up(tetaMaxTable, phir);
        const double teta     = tetar * teta_max;
        double phi            = 0;
        PhirToPhi(phir, &phi);
        const double height = straight_height(teta, teta_max, VTMax, look_up(VTMinTable, phir));
        write_colour(colour, axis, chromaA, chromaB, height * vtr, teta, phi);
    }
    return 0;
}

// --- the tabulated surface -----------------------------------------------------------------------

int TTriangularTopSurface::DetermineNormCoordMinGam(const double* colour, double* norm,
                                                    double* excess, int n) {
    if (DeterminePhirTetarVTMax() != 0 || DeterminePhirVTrTetar() != 0) return -1;
    for (int i = 0; i < n; ++i, colour += 3, norm += 3) {
        const Polar p(colour, axis, chromaA, chromaB);
        excess[i]   = 0;
        double phir = 0;
        PhiToPhir(p.phi, &phir);
        phir                  = clip_hue(phir, excess + i);
        const double teta_max = look_up(tetaMaxTable, phir);
        if (!p.has_teta) phir = 0;
        double tetar        = clip_share(share_of(p.teta, teta_max), excess + i);
        const double height = look_up(VTMaxGrid, phir, tetar);
        if (height <= p.lightness) {
            excess[i] += p.lightness - height;
            tetar = look_up(TetarGrid, phir, tetar);
            write_norm(norm, tetar, phir, 1);
        } else {
            write_norm(norm, tetar, phir, finite_or_0(p.lightness / height));
        }
    }
    return 0;
}

int TTriangularTopSurface::DetermineXYZMinGam(const double* norm, double* colour, double* excess,
                                              int n) {
    if (DeterminePhirTetarVTMax() != 0) return -1;
    for (int i = 0; i < n; ++i, colour += 3, norm += 3) {
        const double tetar = finite_or_0(norm[0]), phir = finite_or_0(norm[1]),
                     vtr      = finite_or_0(norm[2]);
        excess[i]             = 0;
        const double teta_max = look_up(tetaMaxTable, phir);
        const double height   = look_up(VTMaxGrid, phir, tetar);
        double phi            = 0;
        PhirToPhi(phir, &phi);
        write_colour(colour, axis, chromaA, chromaB, height * vtr, tetar * teta_max, phi);
    }
    return 0;
}

int TTriangularTopSurface::UmbrellaEdge(double phi, double* tetaMax, double* VTMin) {
    if (DeterminePhirTetaMaxAndVTMin() != 0) return -1;
    double phir = 0;
    PhiToPhir(finite_or_0(phi), &phir);
    phir     = std::clamp(phir, 0.0, 1.0);
    *tetaMax = look_up(tetaMaxTable, phir);
    *VTMin   = look_up(VTMinTable, phir);
    return 0;
}

// --- device coordinates --------------------------------------------------------------------------

namespace {

bool is_sampled(const Piece& piece, int channel, double value) {
    const bool is_first          = channel == piece.first->channel;
    const double* samples        = is_first ? piece.samples0.get() : piece.samples1.get();
    const int count              = is_first ? piece.nr0 : piece.nr1;
    const auto [lowest, highest] = std::minmax_element(samples, samples + count);
    return count > 0 && value >= *lowest && value <= *highest;
}

}  // namespace

int TTriangularTopSurface::GetDevCoord(int index, const double* params, double* device) {
    if (GetPrimComb(index, device) != 0) {
        report("No such umbrella surface");
        return -1;
    }
    const Piece& piece  = Piece::of(*movane::piece_at(umbrella, index));
    bool are_both_there = true;
    for (int k = 0; k < nrChannels; ++k) {
        if (!(device[k] < 0)) continue;
        device[k] = *params++;
        if (piece.varies(k) && !is_sampled(piece, k, device[k])) are_both_there = false;
    }
    return are_both_there ? 0 : -1;
}
