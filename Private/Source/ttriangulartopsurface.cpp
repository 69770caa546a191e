// The top surface of a device's gamut: its life cycle and the enumeration of its pieces.
//
// A surface owns plain copies of what the host gave and three lists. All else is built on first use
// from these, by each copy for itself: the same pieces give the same tables.

#include "movane/gamut.h"
#include "movane/interpolation.h"

#include "Source/prim_comb.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <cstddef>
#include <memory>

namespace {

using movane::kErrorMemory;
using movane::piece_at;
using movane::size;
using Piece = top_surface_piece;

constexpr movane::Reporter report{"MOVANE/Private/Source/ttriangulartopsurface"};

constexpr int kErrorParameters = 2;
constexpr int kFewestSamples   = 2;
constexpr double kFirstMarker  = -2.0;  // of a further variable channel; the next ones lie below

// A missing list is copied as one. False without memory.
template <class Element>
bool copy_into(TList*& to, TList* from) {
    if (!from) return true;
    to = movane::copy_list<Element>(from).release();
    return to != nullptr;
}

}  // namespace

// --- life cycle ----------------------------------------------------------------------------------

void* TTriangularTopSurface::operator new(size_t bytes) noexcept {
    return movane::allocate(1, bytes);
}
void TTriangularTopSurface::operator delete(void* surface) noexcept { movane::release(surface); }

void TTriangularTopSurface::Clear() {
    errNo = axis = chromaA = chromaB = nrChannels = nrPhiSteps = nrTetaSteps = 0;
    combCursor = triangleCursor = maskedCursor = 0;
    VTMax = PosPhiMin = PosDeltaPhi = 0;
    gridValues                      = nullptr;
    nrGridValues                    = nullptr;
    userData                        = nullptr;
    forward                         = nullptr;
    sortedPrimaries = umbrella = darkeningPrimaries = nullptr;
    tetaMaxTable = VTMinTable = edgeChromaTable = nullptr;
    VTMaxGrid = TetarGrid = nullptr;
}

void TTriangularTopSurface::Release() {
    for (int k = 0; gridValues && k < nrChannels; ++k) movane::release(gridValues[k]);
    movane::release(gridValues);
    movane::release(nrGridValues);
    for (const TList* const list : {sortedPrimaries, umbrella, darkeningPrimaries}) delete list;
    for (auto* const table : {tetaMaxTable, VTMinTable, edgeChromaTable})
        lin_interp_double_kill(table);
    for (auto* const table : {VTMaxGrid, TetarGrid}) md_tetrad_kill(table);
    Clear();
}

// Returns the error number.
int TTriangularTopSurface::TakeSamples(const double* const* values, const int* counts) {
    gridValues   = movane::make_zeroed_block<double*>(size(nrChannels)).release();
    nrGridValues = movane::make_block<int>(size(nrChannels)).release();
    if (!gridValues || !nrGridValues) {
        report("Not enough memory");
        return kErrorMemory;
    }
    std::copy_n(counts, nrChannels, nrGridValues);
    for (int k = 0; k < nrChannels; ++k) {
        if (counts[k] < kFewestSamples) {
            report("Invalid Parameters");
            return kErrorParameters;
        }
        gridValues[k] = movane::copy_values(values[k], counts[k]).release();
        if (!gridValues[k]) {
            report("No Memory");
            return kErrorMemory;
        }
    }
    return 0;
}

TTriangularTopSurface::TTriangularTopSurface(int channels, const double** values, const int* counts,
                                             void* user_data, int lightness_axis,
                                             int (*device)(void*, const double*, double*),
                                             int phi_steps, int teta_steps) {
    Clear();
    if (channels < 1 || !user_data || !device || lightness_axis < 0 || lightness_axis > 2 ||
        phi_steps != teta_steps) {
        report("Invalid Parameters, nrphisteps and nrtetasteps still need to be the same");
        errNo = kErrorParameters;
        return;
    }
    nrPhiSteps  = phi_steps;
    nrTetaSteps = teta_steps;
    axis        = lightness_axis;
    chromaA     = movane::first_chroma_axis(axis);
    chromaB     = movane::second_chroma_axis(axis);
    userData    = user_data;
    forward     = device;
    nrChannels  = channels;

    errNo = TakeSamples(values, counts);
    if (errNo == 0 && MakeSortedPrimList() != 0) errNo = kErrorMemory;
    if (errNo != 0) {
        const int error = errNo;
        Release();
        errNo = error;
        return;
    }
    DetermineTopUmbrella();
    FindDarkeningPrimaries();
}

TTriangularTopSurface::~TTriangularTopSurface() { Release(); }

int TTriangularTopSurface::CopyFrom(const TTriangularTopSurface& other) {
    errNo          = other.errNo;
    axis           = other.axis;
    chromaA        = other.chromaA;
    chromaB        = other.chromaB;
    nrChannels     = other.nrChannels;
    userData       = other.userData;
    forward        = other.forward;
    nrPhiSteps     = other.nrPhiSteps;
    nrTetaSteps    = other.nrTetaSteps;
    combCursor     = other.combCursor;
    triangleCursor = other.triangleCursor;
    maskedCursor   = other.maskedCursor;
    if (!other.gridValues) return 0;

    bool is_done = TakeSamples(other.gridValues, other.nrGridValues) == 0;
    if (is_done) {
        is_done = copy_into<TPrimary>(sortedPrimaries, other.sortedPrimaries) &&
                  copy_into<TPrimComb>(umbrella, other.umbrella) &&
                  copy_into<TPrimary>(darkeningPrimaries, other.darkeningPrimaries);
        if (!is_done) report("No Memory");
    }
    if (is_done) return 0;
    Release();
    errNo = kErrorMemory;
    return -1;
}

TTriangularTopSurface::TTriangularTopSurface(const TTriangularTopSurface& other) {
    Clear();
    CopyFrom(other);
}

TTriangularTopSurface& TTriangularTopSurface::operator=(const TTriangularTopSurface& other) {
    if (this == &other) return *this;
    Release();
    CopyFrom(other);
    return *this;
}

int TTriangularTopSurface::ErrNo() { return errNo; }

// --- enumeration ---------------------------------------------------------------------------------

int TTriangularTopSurface::GetNrDifferentPrimCombs() { return umbrella ? umbrella->Count() : 0; }

int TTriangularTopSurface::GetNrVarCoordPrimComb(int index) {
    const TPrimComb* const comb = piece_at(umbrella, index);
    if (!comb) return -1;
    const auto& further = Piece::of(*comb).further;
    return 2 + (further ? further->Count() : 0);
}

int TTriangularTopSurface::GetPrimComb(int index, double* device) {
    const TPrimComb* const comb = piece_at(umbrella, index);
    if (!comb) return -1;
    const Piece& piece = Piece::of(*comb);
    std::copy_n(piece.device.get(), piece.nr_device, device);
    double marker = kFirstMarker;
    for (TElement* e = piece.further ? piece.further->First() : nullptr; e; e = e->Next()) {
        const int channel = static_cast<const TPrimary*>(e)->channel;
        if (channel <= 0) break;  // channel 0 is never marked: hosts rely on it
        device[channel] = marker;
        marker -= 1.0;
    }
    return 0;
}

int TTriangularTopSurface::ScanDifferentPrimCombs(int restart, double* device) {
    if (restart != 0) combCursor = 0;
    if (GetPrimComb(combCursor, device) == 0) return -1;
    ++combCursor;
    return 0;
}
