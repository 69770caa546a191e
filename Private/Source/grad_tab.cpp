// Gradation table: a tone curve and its inverse, kept as relative pairs in a record file.
//
// The curves hold values of the range, the file holds them relative to it; the two meet only when
// a table is opened and when a point is added.

#include "movane/interpolation.h"

#include "movane/services.h"

#include "Support/memory.h"

#include <cstddef>
#include <cstdio>

namespace {

constexpr int kGrowthStep      = 25;   // of the curves
constexpr std::size_t kLongest = 330;  // characters of a double without decimals

}  // namespace

struct grad_tab {
    file_double* file;
    lin_interp_double* forward;
    lin_interp_double* inverse;
    double max;
    double min;

    ~grad_tab() {
        file_double_kill(file);
        lin_interp_double_kill(forward);
        lin_interp_double_kill(inverse);
    }
    double scaled(double relative) const { return (max - min) * relative + min; }
    double relative(double value) const { return (value - min) / (max - min); }
};

namespace {

bool read_points(grad_tab& t) {
    double pair[2];
    for (int state = 0; grad_tab_list(&t, &state, pair) != 0;) {
        if (lin_interp_double_insert(t.forward, pair[0], pair[1]) != 0) return false;
    }
    return true;
}

int map(const lin_interp_double* curve, const double* in, int in_stride, double* out,
        int out_stride, int count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        if (lin_interp_double_inter(curve, in[i * in_stride], &out[i * out_stride]) != 0) return -1;
    }
    return 0;
}

}  // namespace

// --- life cycle --------------------------------------------------------------------------------

grad_tab* grad_tab_new(const char* file, int mode, double max, double min) {
    auto t = movane::create<grad_tab>();
    if (!t) return nullptr;
    t->max  = max;
    t->min  = min;
    t->file = file_double_new(file, 2, mode);
    if (t->file) t->forward = lin_interp_double_new(kGrowthStep, nullptr);
    if (!t->forward || (mode == 0 && !read_points(*t))) return nullptr;
    t->inverse = lin_interp_double_invert(t->forward, nullptr);
    return t->inverse ? t.release() : nullptr;
}

int grad_tab_kill(grad_tab* t) {
    movane::destroy(t);
    return 0;
}

int grad_tab_save(grad_tab* t) { return t ? file_double_save(t->file) : -1; }

// --- points ------------------------------------------------------------------------------------

int grad_tab_add_point(grad_tab* t, const double point[2]) {
    if (t->max == t->min) return -1;
    if (lin_interp_double_insert(t->forward, point[0], point[1]) != 0) return -1;
    const double pair[2] = {t->relative(point[0]), t->relative(point[1])};
    char name[kLongest];
    std::snprintf(name, sizeof name, "p%1.0lf", (1 - pair[0]) * 100);
    return file_double_add_item(t->file, name, pair);
}

int grad_tab_list(grad_tab* t, int* state, double pair[2]) {
    double relative[2];
    if (!file_double_list(t->file, state, relative)) return 0;
    for (int i = 0; i < 2; ++i) pair[i] = t->scaled(relative[i]);
    return 1;
}

// --- mapping -----------------------------------------------------------------------------------

int grad_tab_do(const grad_tab* t, const double* in, int in_stride, double* out, int out_stride,
                int count) {
    return map(t->forward, in, in_stride, out, out_stride, count);
}

int grad_tab_do_inv(const grad_tab* t, const double* in, int in_stride, double* out, int out_stride,
                    int count) {
    return map(t->inverse, in, in_stride, out, out_stride, count);
}
