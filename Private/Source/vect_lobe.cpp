// Lobes: the hills of a sampled curve, and the stretching of the highest one.
//
// A lobe is recognised when the curve has both risen and fallen by more than the threshold in one
// step; its edges lie where the curve, followed away from the peak, rises by more than the
// threshold again. The search goes on behind the right edge until no further lobe is found.

#include "movane/gamut.h"

#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/vect_lobe"};

}  // namespace

// Invariants: samples holds n values. When is_found is not 0, 0 <= left <= peak <= right < n and
// the three values are the samples there.
struct vect_lobe {
    int n;
    int clip_max;
    int clip_min;
    double max;
    double min;
    int peak;
    int left;
    int right;
    int is_found;
    double peak_value;
    double left_value;
    double right_value;
    double threshold;
    movane::Block<double> samples;

    double height() const { return peak_value - std::max(left_value, right_value); }
};

namespace {

constexpr int kNone = -1;

// The first peak from `start` on: the sample before the step by which the curve has both risen
// and fallen enough.
int find_peak(const vect_lobe& lobe, int start) {
    const double* const y = lobe.samples.get();
    double rise = 0.0, fall = 0.0;
    for (int i = start + 1; i < lobe.n; ++i) {
        const double step = y[i] - y[i - 1];
        if (step > rise) {
            rise = step;
        } else if (step < fall) {
            fall = step;
        }
        if (fall < -lobe.threshold && rise > lobe.threshold) return i - 1;
    }
    return kNone;
}

int find_left_edge(const vect_lobe& lobe, int start, int peak) {
    const double* const y = lobe.samples.get();
    int edge              = peak;
    while (edge > start && !(y[edge - 1] > y[edge] + lobe.threshold)) --edge;
    return edge;
}

int find_right_edge(const vect_lobe& lobe, int peak) {
    const double* const y = lobe.samples.get();
    int edge              = peak;
    while (edge < lobe.n - 1 && !(y[edge + 1] > y[edge] + lobe.threshold)) ++edge;
    return edge;
}

void keep_if_higher(vect_lobe& lobe, int peak, int left, int right) {
    const double* const y = lobe.samples.get();
    const double height   = y[peak] - std::max(y[left], y[right]);
    if (lobe.is_found && !(height > lobe.height())) return;
    lobe.is_found    = 1;
    lobe.peak        = peak;
    lobe.left        = left;
    lobe.right       = right;
    lobe.peak_value  = y[peak];
    lobe.left_value  = y[left];
    lobe.right_value = y[right];
}

void find_highest(vect_lobe& lobe) {
    constexpr int kFewestSamples = 3;
    for (int start = 0; lobe.n - start >= kFewestSamples;) {
        const int peak = find_peak(lobe, start);
        if (peak == kNone) return;
        const int right = find_right_edge(lobe, peak);
        keep_if_higher(lobe, peak, find_left_edge(lobe, start, peak), right);
        start = right + 1;
    }
}

double clipped(const vect_lobe& lobe, double value) {
    if (lobe.clip_max && value > lobe.max) value = lobe.max;
    if (lobe.clip_min && value < lobe.min) value = lobe.min;
    return value;
}

}  // namespace

// --- life cycle ---------------------------------------------------------------------------------

vect_lobe* vect_lobe_new(const double* y, int n, int clip_max, int clip_min, double max, double min,
                         double threshold) {
    const auto count = static_cast<std::size_t>(std::max(n, 0));
    if (auto lobe = movane::create<vect_lobe>()) {
        lobe->n         = n;
        lobe->clip_max  = clip_max;
        lobe->clip_min  = clip_min;
        lobe->max       = max;
        lobe->min       = min;
        lobe->threshold = threshold;
        lobe->samples   = movane::make_block<double>(count);
        if (lobe->samples) {
            std::copy_n(y, count, lobe->samples.get());
            find_highest(*lobe);
            return lobe.release();
        }
    }
    report.no_resources(0);
    return nullptr;
}

vect_lobe* vect_lobe_kill(vect_lobe* lobe) {
    movane::destroy(lobe);
    return nullptr;
}

// --- operations ---------------------------------------------------------------------------------

int vect_lobe_stretch(const vect_lobe* lobe, double amount, double* out) {
    const int left = lobe->left, peak = lobe->peak, right = lobe->right;
    std::copy_n(lobe->samples.get(), std::max(lobe->n, 0), out);
    if (!lobe->is_found) return 0;

    if (left < peak) {
        for (int i = left; i <= peak; ++i)
            out[i] = clipped(*lobe, out[i] + (i - left) * amount / (peak - left));
    }
    for (int i = peak + 1; i < right; ++i)
        out[i] = clipped(*lobe, out[i] + (i - right) * amount / (peak - right));
    return 0;
}

int vect_lobe_stretch_rel(const vect_lobe* lobe, double factor, double* out) {
    return vect_lobe_stretch(lobe, factor * lobe->height(), out);
}
