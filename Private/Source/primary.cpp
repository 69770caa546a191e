// The small elements of the top surface: a primary, a run of masked triangles, a hue span.
//
// Copies leave the links of the original alone: they are elements of no list yet.

#include "movane/gamut.h"

#include "Support/report.h"

#include <algorithm>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/ttriangulartopsurface"};

// The array grows once, to what it has to hold.
movane_dynar* copy_numbers(movane_dynar* numbers) {
    if (!numbers) return nullptr;
    const int count          = dynar_nr_items(numbers);
    movane_dynar* const copy = dynar_new(sizeof(int), count);
    if (!copy) {
        report("No Mem");
        return nullptr;
    }
    for (int i = 0; i < count; ++i)
        *static_cast<int*>(dynar_ptr(copy, i)) = *static_cast<const int*>(dynar_ptr(numbers, i));
    return copy;
}

}  // namespace

// --- primaries -----------------------------------------------------------------------------------

TPrimary::TPrimary(const double* colour_, int channel_, int axis_)
    : channel(channel_), darkening(0), axis(axis_) {
    std::copy_n(colour_, 3, colour);
}

TPrimary::~TPrimary() = default;

TPrimary::TPrimary(const TPrimary& other)
    : TElement(), channel(other.channel), darkening(other.darkening), axis(other.axis) {
    std::copy_n(other.colour, 3, colour);
}

TPrimary& TPrimary::operator=(const TPrimary& other) {
    std::copy_n(other.colour, 3, colour);
    channel   = other.channel;
    darkening = other.darkening;
    axis      = other.axis;
    return *this;
}

// --- masked triangles ----------------------------------------------------------------------------

TMaskedTriangle::TMaskedTriangle(int triangle) : id(triangle), cursor(0), more(nullptr) {}

TMaskedTriangle::~TMaskedTriangle() { dynar_kill(more); }

TMaskedTriangle::TMaskedTriangle(const TMaskedTriangle& other)
    : TElement(), id(other.id), cursor(0), more(copy_numbers(other.more)) {}

TMaskedTriangle& TMaskedTriangle::operator=(const TMaskedTriangle& other) {
    if (this == &other) return *this;
    dynar_kill(more);
    id     = other.id;
    cursor = 0;
    more   = copy_numbers(other.more);
    return *this;
}

// --- hue spans -----------------------------------------------------------------------------------

TDumEl::TDumEl(double start_, double width_, int index_)
    : start(start_), width(width_), index(index_) {}

TDumEl::~TDumEl() = default;

TDumEl::TDumEl(const TDumEl& other)
    : TElement(), start(other.start), width(other.width), index(other.index) {}

TDumEl& TDumEl::operator=(const TDumEl& other) {
    start = other.start;
    width = other.width;
    index = other.index;
    return *this;
}
