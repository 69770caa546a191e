// Scanline FIR filter with a square kernel.
//
// The filter never copies input: each channel keeps a shift register of pointers to the last
// 2*radius+1 lines, oldest first. A line can be filtered once the register is full, so output
// runs `radius` lines behind input and the call that feeds the last line flushes what is left.

#include "movane/imaging.h"

#include "Kernels/fir_variants.h"
#include "Support/memory.h"
#include "Support/report.h"
#include "Support/rounding.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace {

using movane::FirLine;

constexpr movane::Reporter report{"MOVANE/Private/Source/fir"};

constexpr int kMaxRadius   = movane::kFirMaxRadius;
constexpr int kMaxLines    = movane::kFirMaxLines;
constexpr int kMaxChannels = 4;
constexpr double kOne16_16 = 65536.0;

}  // namespace

// Invariants: size == 2*radius+1; both tables hold size*size weights; of a channel's ring the
// newest entries are valid, as many as lines of the image have been fed.
struct fir_filter {
    int radius;
    int size;
    int max_value;
    int channels;
    int height;
    int width;
    movane::Block<double> kernel;
    movane::Block<std::int32_t> kernel_fixed;
    int line_count;  // complete line steps, those of the flush included
    int in_step;
    int out_step;
    unsigned short* rings16[kMaxChannels][kMaxLines];
    unsigned char* rings8[kMaxChannels][kMaxLines];
    fir_line_done line_done;

    int weights() const { return size * size; }
};

namespace {

// --- weights ---------------------------------------------------------------------------------

std::int32_t to_16_16(double weight) {
    using Limits = std::numeric_limits<std::int32_t>;
    return movane::truncated(weight * kOne16_16, Limits::min(), Limits::max());
}

void convert_kernel(fir_filter& f) {
    std::transform(&f.kernel[0], &f.kernel[0] + f.weights(), &f.kernel_fixed[0], to_16_16);
}

// --- one line of one channel -----------------------------------------------------------------

void filter(const FirLine<unsigned char>& line) { movane::fir_kernels().filter_8(line); }
void filter(const FirLine<unsigned short>& line) { movane::fir_kernels().filter_16(line); }

// Copies pixels [first, last) unfiltered.
template <class Sample>
void pass_through(const fir_filter& f, const Sample* in, Sample* out, int first, int last) {
    for (std::ptrdiff_t x = first; x < last; ++x) out[x * f.out_step] = in[x * f.in_step];
}

template <class Sample>
void write_filtered(const fir_filter& f, Sample* const* ring, Sample* out) {
    const int r     = f.radius;
    const int right = f.width - r;
    if (right <= r) return pass_through(f, ring[r], out, 0, f.width);

    pass_through(f, ring[r], out, 0, r);
    filter(FirLine<Sample>{.rows          = ring,
                           .weights_16_16 = f.kernel_fixed.get(),
                           .size          = f.size,
                           .in_step       = f.in_step,
                           .out_step      = f.out_step,
                           .out           = out + std::ptrdiff_t{r} * f.out_step,
                           .count         = right - r,
                           .max_value     = f.max_value});
    pass_through(f, ring[r], out, right, f.width);
}

void announce(const fir_filter& f, int channel) noexcept {
    if (f.line_done) f.line_done(channel);
}

// --- the protocol, written once for all sample types and channel counts ------------------------

template <class Sample>
Sample** ring_of(fir_filter& f, int channel) {
    if constexpr (std::is_same_v<Sample, unsigned char>) {
        return f.rings8[channel];
    } else {
        return f.rings16[channel];
    }
}

template <class Sample>
void step_channel(fir_filter& f, int channel, Sample* line, Sample** out) {
    Sample** const ring = ring_of<Sample>(f, channel);
    std::copy(ring + 1, ring + f.size, ring);
    ring[f.size - 1] = line;

    const int n = f.line_count;
    if (n < f.radius) {
        // The flush of an image lower than the radius comes here without a line.
        if (line) {
            pass_through(f, line, *out, 0, f.width);
            announce(f, channel);
        }
    } else if (n >= f.size - 1 && n < f.height) {
        write_filtered(f, ring, *out);
        announce(f, channel);
    } else if (n >= f.height && n - f.radius < f.height) {
        pass_through<Sample>(f, ring[f.radius], *out, 0, f.width);
        announce(f, channel);
    }
    if (channel == f.channels - 1) ++f.line_count;
}

template <class Sample, int kChannels>
void feed(fir_filter& f, Sample* const (&in)[kChannels], Sample** const (&out)[kChannels]) {
    for (int ch = 0; ch < kChannels; ++ch) step_channel(f, ch, in[ch], out[ch]);
    if (f.line_count != f.height) return;
    for (int k = 0; k < f.radius; ++k) {
        for (int ch = 0; ch < kChannels; ++ch) step_channel<Sample>(f, ch, nullptr, out[ch]);
    }
}

}  // namespace

// --- life cycle --------------------------------------------------------------------------------

fir_filter* fir_new(int radius, int max_value) {
    if (radius < 0 || radius > kMaxRadius) {
        report("fir_new: illegal radius");
        return nullptr;
    }
    if (auto f = movane::create<fir_filter>()) {
        f->radius       = radius;
        f->size         = 2 * radius + 1;
        f->max_value    = max_value;
        const auto area = static_cast<std::size_t>(f->weights());
        f->kernel       = movane::make_zeroed_block<double>(area);
        f->kernel_fixed = movane::make_block<std::int32_t>(area);
        if (f->kernel && f->kernel_fixed) {
            convert_kernel(*f);
            return f.release();
        }
    }
    report("fir_new: unable to malloc");
    return nullptr;
}

int fir_kill(fir_filter* f) {
    movane::destroy(f);
    return 0;
}

int fir_set_kernel(fir_filter* f, const double* weights) {
    if (!f || !weights) return 0;
    std::copy_n(weights, f->weights(), f->kernel.get());
    convert_kernel(*f);
    return 1;
}

fir_filter* fir_start(fir_filter* f, int channels, int height, int width, fir_line_done line_done,
                      int in_step, int out_step) {
    f->channels   = channels;
    f->height     = height;
    f->width      = width;
    f->line_done  = line_done;
    f->in_step    = in_step;
    f->out_step   = out_step;
    f->line_count = 0;
    return f;
}

// --- lines -------------------------------------------------------------------------------------

void fir_mono(fir_filter* f, unsigned short* in, unsigned short** out) {
    feed<unsigned short, 1>(*f, {in}, {out});
}

void fir_mono_b(fir_filter* f, unsigned char* in, unsigned char** out) {
    feed<unsigned char, 1>(*f, {in}, {out});
}

void fir_rgb(fir_filter* f, unsigned short* in0, unsigned short* in1, unsigned short* in2,
             unsigned short** out0, unsigned short** out1, unsigned short** out2) {
    feed<unsigned short, 3>(*f, {in0, in1, in2}, {out0, out1, out2});
}

void fir_rgb_b(fir_filter* f, unsigned char* in0, unsigned char* in1, unsigned char* in2,
               unsigned char** out0, unsigned char** out1, unsigned char** out2) {
    feed<unsigned char, 3>(*f, {in0, in1, in2}, {out0, out1, out2});
}

void fir_cmyk(fir_filter* f, unsigned short* in0, unsigned short* in1, unsigned short* in2,
              unsigned short* in3, unsigned short** out0, unsigned short** out1,
              unsigned short** out2, unsigned short** out3) {
    feed<unsigned short, 4>(*f, {in0, in1, in2, in3}, {out0, out1, out2, out3});
}

void fir_cmyk_b(fir_filter* f, unsigned char* in0, unsigned char* in1, unsigned char* in2,
                unsigned char* in3, unsigned char** out0, unsigned char** out1,
                unsigned char** out2, unsigned char** out3) {
    feed<unsigned char, 4>(*f, {in0, in1, in2, in3}, {out0, out1, out2, out3});
}
