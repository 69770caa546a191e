// The umbrella of the top surface: which pairs of primaries form it.
//
// Every pair of primaries spans a piece. A piece stays when it lies above those that it overlaps.
// A primary below a piece cannot lighten anything: it is darkening, and takes its own pieces along.
// Where a further primary reaches out beyond a piece's far corner the piece is split, which adds
// the saturated rim.

#include "movane/gamut.h"

#include "Source/piece_overlap.h"
#include "Source/piece_search.h"
#include "Source/prim_comb.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <cstddef>
#include <memory>

namespace {

using movane::Answer;
using movane::Block;
using movane::first_piece;
using movane::next_piece;
using movane::size;
using Piece = top_surface_piece;

constexpr movane::Reporter report{"MOVANE/Private/Source/ttriangulartopsurface"};

constexpr double kAbsent = 1.0;  // no colorant
constexpr double kFull   = 0.0;
constexpr double kVaries = -1.0;  // a device value of a pair

Block<double> make_device(int channels) {
    auto device = movane::make_block<double>(size(channels));
    if (device) std::fill_n(device.get(), channels, kAbsent);
    return device;
}

// Lightest first; what is equally light keeps the order of adding.
int compare_primaries(void* element, void* added) {
    const auto& there = *static_cast<const TPrimary*>(static_cast<TElement*>(element));
    const auto& here  = *static_cast<const TPrimary*>(static_cast<TElement*>(added));
    return here.colour[here.axis] > there.colour[there.axis] ? 1 : -1;
}

TPrimary* primary_at(TList* list, int position) {
    return static_cast<TPrimary*>(list->Get(position));
}

std::ptrdiff_t full_channels(const Piece& piece) {
    return std::count(piece.device.get(), piece.device.get() + piece.nr_device, kFull);
}

// --- splitting -----------------------------------------------------------------------------------

double square_chroma(movane::ChromaPoint p) { return p.a * p.a + p.b * p.b; }

// Whether the mix of all of a piece and a further primary lies outside it, no less saturated than
// its far corner, at one of its hues. False without memory, which is reported.
bool reaches_out(Piece& piece, const TPrimary& primary) {
    const auto device = movane::make_block<double>(size(piece.nr_device));
    if (!device) {
        report("No memory");
        return false;
    }
    std::replace_copy(piece.device.get(), piece.device.get() + piece.nr_device, device.get(),
                      kVaries, kFull);
    double corner[3], extended[3];
    movane::ask_device(piece.forward, piece.user_data, device.get(), corner);
    device[size(primary.channel)] = kFull;
    movane::ask_device(piece.forward, piece.user_data, device.get(), extended);

    const auto at    = piece.chroma(extended);
    const double phi = movane::angle_of(at.a, at.b);
    if (movane::find_hue_span(piece) && !movane::has_hue(piece, phi)) return false;
    double lightness = 0;
    return movane::project(piece, at, &lightness) == Answer::none &&
           square_chroma(at) >= square_chroma(piece.chroma(corner));
}

// The part between one primary of a piece and the further one, the other primary in full. It is
// sampled like the piece. Null, or with an error, without memory.
std::unique_ptr<TPrimComb> split_off(const Piece& piece, const TPrimary& kept,
                                     const TPrimary& replaced, const TPrimary& further) {
    const auto device = movane::copy_values(piece.device.get(), piece.nr_device);
    if (!device) return nullptr;
    device[size(replaced.channel)] = kFull;
    device[size(further.channel)]  = kVaries;
    return std::unique_ptr<TPrimComb>(new TPrimComb(
        &kept, &further, piece.samples0.get(), piece.samples1.get(), piece.nr0, piece.nr1,
        device.get(), piece.nr_device, piece.user_data, piece.forward, further.channel));
}

}  // namespace

// --- primaries -----------------------------------------------------------------------------------

int TTriangularTopSurface::MakeSortedPrimList() {
    if (sortedPrimaries) return 0;
    std::unique_ptr<TList> list(new TList(compare_primaries));
    const auto device = make_device(nrChannels);
    bool has_memory   = list && device;
    for (int k = 0; has_memory && k < nrChannels; ++k) {
        double colour[3];
        device[size(k)] = kFull;
        movane::ask_device(forward, userData, device.get(), colour);
        device[size(k)]         = kAbsent;
        TPrimary* const primary = new TPrimary(colour, k, axis);
        list->Add(primary);
        has_memory = primary != nullptr;
    }
    if (!has_memory) {
        report("No Memory");
        errNo = movane::kErrorMemory;
        return -1;
    }
    sortedPrimaries = list.release();
    return 0;
}

TPrimary* TTriangularTopSurface::PrimaryOfChannel(int channel) {
    TElement* e = sortedPrimaries->First();
    while (e && static_cast<TPrimary*>(e)->channel != channel) e = e->Next();
    return static_cast<TPrimary*>(e);
}

// --- the umbrella --------------------------------------------------------------------------------

int TTriangularTopSurface::DetermineTopUmbrella() {
    if (MakeSortedPrimList() != 0) return -1;
    if (!umbrella) umbrella = new TList;
    if (!umbrella) {
        report("No Memory");
        return -1;
    }
    if (DetermineNonSaturatedUmbrellaParts() != 0) return -1;
    return DetermineSaturatedUmbrellaParts();
}

int TTriangularTopSurface::DetermineNonSaturatedUmbrellaParts() {
    const auto device = make_device(nrChannels), base = make_device(nrChannels);
    if (!device || !base) {
        report("No Memory");
        return -1;
    }
    int in_play = nrChannels;
    for (int i = 0; i + 1 < nrChannels; ++i) {
        const TPrimary& first = *primary_at(sortedPrimaries, i);
        for (int j = i + 1; j < nrChannels && !first.darkening; ++j) {
            const TPrimary& second = *primary_at(sortedPrimaries, j);
            if (second.darkening) continue;
            const int a = first.channel, b = second.channel;
            for (int k = 0, taken = 0; k < nrChannels; ++k) {
                device[size(k)] = k == a || k == b                 ? kVaries
                                  : PrimaryOfChannel(k)->darkening ? kAbsent
                                                                   : base[size(taken++)];
            }
            std::unique_ptr<TPrimComb> comb(
                new TPrimComb(&first, &second, gridValues[a], gridValues[b], nrGridValues[a],
                              nrGridValues[b], device.get(), nrChannels, userData, forward, -1));
            if (!comb) {
                report("No Memory");
                return -1;
            }
            if (comb->ErrNo() != 0 || AddToUmbrella(comb.get()) < 1) continue;
            static_cast<void>(comb.release());  // the umbrella's now
            if (ThrowOutRedundantPrimaries(device.get(), base.get(), a, b, &in_play) != 0)
                return -1;
        }
    }
    return 0;
}

int TTriangularTopSurface::AddToUmbrella(TPrimComb* comb) {
    if (!umbrella || !comb || comb->ErrNo() != 0) return -1;
    Piece& fresh = Piece::of(*comb);
    for (TPrimComb* old = first_piece(umbrella); old; old = next_piece(old)) {
        Piece& there     = Piece::of(*old);
        const int result = movane::compare_pieces(there, fresh);
        if (result < 0) return result;
        if (result == movane::kApart) continue;
        if (result != movane::kAbove || full_channels(there) < full_channels(fresh)) return 0;
        umbrella->Subtract(old);
        umbrella->Add(comb);
        delete old;
        return 1;
    }
    umbrella->Add(comb);
    return 1;
}

int TTriangularTopSurface::ThrowOutRedundantPrimaries(double* device, double* base, int channelA,
                                                      int channelB, int* counter) {
    for (TElement* e = sortedPrimaries->Last(); e; e = e->Previous()) {
        TPrimary& primary = *static_cast<TPrimary*>(e);
        if (primary.darkening) continue;
        const TPrimComb* above = nullptr;
        if (PointUnderNeathTopUmbrella(primary.colour, &above) < 0) return -1;
        if (!above || Piece::of(*above).varies(primary.channel)) continue;

        // Its own channel is counted, too, so that the entry behind its own is removed.
        int entry = 0;
        for (int k = 0; k <= primary.channel; ++k)
            if (!PrimaryOfChannel(k)->darkening && k != channelA && k != channelB) ++entry;
        if (entry < nrChannels) std::copy(base + entry + 1, base + nrChannels, base + entry);

        primary.darkening       = 1;
        device[primary.channel] = kAbsent;
        --*counter;
        for (TElement *piece = umbrella->Last(), *previous = nullptr; piece; piece = previous) {
            previous = piece->Previous();
            if (!Piece::of(*static_cast<TPrimComb*>(piece)).varies(primary.channel)) continue;
            umbrella->Subtract(piece);
            delete piece;
        }
    }
    return 0;
}

// --- the saturated rim ---------------------------------------------------------------------------

int TTriangularTopSurface::SplitPiece(TPrimary* primary, TPrimComb* comb, TList* parts) {
    Piece& piece     = Piece::of(*comb);
    double lightness = 0;
    if (piece.varies(primary->channel) ||
        movane::project(piece, piece.chroma(primary->colour), &lightness) != Answer::none ||
        !reaches_out(piece, *primary))
        return 0;
    auto one   = split_off(piece, *piece.first, *piece.second, *primary);
    auto other = split_off(piece, *piece.second, *piece.first, *primary);
    if (!one || !other || one->ErrNo() != 0 || other->ErrNo() != 0) {
        report("no Memory");
        return -1;
    }
    for (auto* const part : {&one, &other}) {
        movane::evaluate(Piece::of(**part));
        parts->Add(part->release());
    }
    return 0;
}

int TTriangularTopSurface::DetermineSaturatedUmbrellaParts() {
    std::unique_ptr<TList> parts(new TList);
    if (!parts) {
        report("No Memory");
        return -1;
    }
    for (TElement* e = sortedPrimaries->First(); e; e = e->Next()) {
        TPrimary* const primary = static_cast<TPrimary*>(e);
        if (primary->darkening) continue;
        for (TPrimComb* comb = first_piece(umbrella); comb; comb = next_piece(comb))
            SplitPiece(primary, comb, parts.get());
    }
    for (TElement* e = parts->First(); e; e = e->Next()) {
        std::unique_ptr<TPrimComb> part(new TPrimComb(*static_cast<const TPrimComb*>(e)));
        if (!part) {
            report("no Memory");
        } else if (AddToUmbrella(part.get()) >= 1) {
            static_cast<void>(part.release());  // the umbrella's now
        }
    }
    return 0;
}

// --- darkening primaries -------------------------------------------------------------------------

int TTriangularTopSurface::FindDarkeningPrimaries() {
    const auto device = make_device(nrChannels);
    if (!device) {
        report("Out of memory");
        return -1;
    }
    TElement* const lightest = sortedPrimaries ? sortedPrimaries->First() : nullptr;
    bool has_any             = false;
    for (TElement* e = lightest; e; e = e->Next()) {
        const TPrimary& primary = *static_cast<const TPrimary*>(e);
        if (!primary.darkening) continue;
        if (!darkeningPrimaries) darkeningPrimaries = new TList(compare_primaries);
        TPrimary* const copy = darkeningPrimaries ? new TPrimary(primary) : nullptr;
        if (!copy) {
            report("No more memory");
            return -1;
        }
        darkeningPrimaries->Add(copy);
        has_any = true;
    }
    if (!has_any) {
        report(
            "Not yet supported, for every part of the umbrella we need to find darkening inks "
            "first");
        return 0;
    }
    const TPrimary& darkest = *static_cast<const TPrimary*>(darkeningPrimaries->Last());
    for (TPrimComb* comb = first_piece(umbrella); comb; comb = next_piece(comb)) {
        Piece& piece = Piece::of(*comb);
        if (!piece.further) piece.further.reset(new TList);
        TPrimary* const copy = piece.further ? new TPrimary(darkest) : nullptr;
        if (!copy) {
            report("No more memory");
            return -1;
        }
        piece.further->Add(copy);
    }
    return 0;
}

// --- what lies below -----------------------------------------------------------------------------

int TTriangularTopSurface::PointUnderNeathTopUmbrella(const double* colour,
                                                      const TPrimComb** piece) {
    *piece = nullptr;
    for (TPrimComb* comb = first_piece(umbrella); comb; comb = next_piece(comb)) {
        Piece& there        = Piece::of(*comb);
        double height       = 0;
        const Answer answer = movane::project(there, there.chroma(colour), &height);
        if (answer == Answer::failed) return -1;
        if (answer == Answer::found && height > colour[axis] + movane::kLevel) {
            *piece = comb;
            return 1;
        }
    }
    return 0;
}

int TTriangularTopSurface::PrimaryUnderneathTopUmbrella(TPrimary* primary) {
    const TPrimComb* above = nullptr;
    if (PointUnderNeathTopUmbrella(primary->colour, &above) < 1) return 0;
    return Piece::of(*above).varies(primary->channel) ? 0 : 1;
}
