// Histogram over a closed range of integers.
//
// Bin 0 takes what lies below the range, the last bin what lies above, so a value's bin is its
// distance from lo - 1, held to the bins there are.

#include "movane/imaging.h"

#include "Support/memory.h"
#include "Support/report.h"
#include "Support/rounding.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/hist"};

using Limits = std::numeric_limits<int>;

// Counts wrap at 32 bits.
int sum32(int a, int b) {
    return static_cast<int>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

int product32(std::int64_t a, int b) {
    return static_cast<int>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

}  // namespace

// Invariants: bins == hi - lo + 3, at least 1; bin i counts the values lo - 1 + i.
struct hist {
    movane::Block<int> counts;
    int lo;
    int hi;
    int bins;
    int total;  // what was fed, as adjusted by the host; the divisor of all statistics

    int count(std::int64_t value) const { return counts[static_cast<std::size_t>(value - lo + 1)]; }
};

// --- life cycle --------------------------------------------------------------------------------

hist* hist_new(int lo, int hi) {
    auto h = movane::create<hist>();
    if (!h) {
        report("hist_new: alloc self failed");
        return nullptr;
    }
    const std::int64_t bins = std::int64_t{hi} - lo + 3;
    if (bins >= 1 && bins <= Limits::max())
        h->counts = movane::make_zeroed_block<int>(static_cast<std::size_t>(bins));
    if (!h->counts) {
        report("hist_new: illegal bounds");  // sic: without memory, too
        return nullptr;
    }
    h->lo   = lo;
    h->hi   = hi;
    h->bins = static_cast<int>(bins);
    return h.release();
}

int hist_kill(hist* h) {
    movane::destroy(h);
    return 0;
}

// --- counting ----------------------------------------------------------------------------------

void hist_point(hist* h, const int* values, int n) {
    int* const counts   = h->counts.get();
    const auto lo       = static_cast<std::uint32_t>(h->lo);
    const auto in_range = static_cast<std::uint32_t>(std::max(h->bins - 2, 0));
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        // Below lo this wraps, so that one comparison tells what lies within.
        const std::uint32_t above_lo = static_cast<std::uint32_t>(values[i]) - lo;
        std::size_t bin              = std::size_t{above_lo} + 1;
        if (above_lo >= in_range) [[unlikely]]
            bin = values[i] < h->lo ? 0 : static_cast<std::size_t>(h->bins - 1);
        counts[bin] = sum32(counts[bin], 1);
    }
    h->total = sum32(h->total, n);
}

int* hist_get(hist* h, int* total) {
    *total = h->total;
    return h->counts.get();
}

int hist_set(hist* h, int total) {
    h->total = total;
    return total;
}

// --- statistics --------------------------------------------------------------------------------

void hist_med(hist* h, double* mean, double* sdev) {
    double sum = 0.0;
    for (std::int64_t v = h->lo; v <= h->hi; ++v) sum += product32(v, h->count(v));
    *mean = h->total != 0 ? sum / h->total : sum;

    double squares = 0.0;
    for (std::int64_t v = h->lo; v <= h->hi; ++v) {
        const double distance = static_cast<double>(v) - *mean;
        squares += distance * distance * h->count(v);
    }
    *sdev = h->total != 0 ? std::sqrt(squares / h->total) : squares;
}

int hist_percentile(hist* h, double percent) {
    const std::int64_t target =
        movane::truncated(h->total * percent / 100.0, Limits::min(), Limits::max());
    std::int64_t v = std::int64_t{h->lo} - 1;
    if (target < 1) return static_cast<int>(v);
    // Asking before stepping on, one ends behind the value that reached the target.
    for (std::int64_t reached = 0; v <= h->hi && reached < target; ++v) reached += h->count(v);
    return static_cast<int>(v);
}
