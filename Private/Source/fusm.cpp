// Unsharp masking of scanlines.
//
// Two rings of pointers hold the last 3 or 5 lines: those of the image with their limits, and those
// in which the high-pass looks. They are the same lines unless the host computes the latter, which
// then live in buffers of the filter. Once the rings are full the centre line is corrected, so
// output runs behind input, and the call that feeds the last line passes the rest on.
//
// Where the channels of a line are interleaved and all of them are looked at, their high-passes are
// taken in one go: in the line as it lies in memory a neighbour is `step` samples away.

#include "movane/imaging.h"

#include "Kernels/fusm_variants.h"
#include "Support/memory.h"
#include "Support/report.h"
#include "Support/rounding.h"
#include "movane/interpolation.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>

namespace {

using movane::FusmLine;
using movane::FusmWindow;

constexpr movane::Reporter report{"MOVANE/Private/Source/fusm"};

constexpr int kMaxRadius     = 2;
constexpr int kMaxRows       = movane::kFusmMaxRows;
constexpr int kMaxComps      = movane::kFusmMaxInterleaved;  // and so many channels of lines
constexpr int kMaxChannels   = 10;
constexpr int kMaxGain       = 65535;
constexpr double kLevelUnits = 256.0;  // per factor of 1

template <class Sample>
using Response = typename movane::FusmResponse<Sample>::Type;

struct KillInterpolator {
    void operator()(lin_interp_double* i) const noexcept { lin_interp_double_kill(i); }
};
using Interpolator = std::unique_ptr<lin_interp_double, KillInterpolator>;

// A line of either sample type; the line function in use knows which.
struct InputRow {
    void* lines[kMaxComps];
    void* limit;
};
struct SourceRow {
    void* lines[kMaxChannels];
};

}  // namespace

// Invariants: half is 1 for radius 0, else 2; rows == 2 * half + 1; gains hold nr_comp tables of
// maxval + 1; of the rings the newest rows are valid, as many as lines of the image have been fed,
// the others are null. Without is_started there are no buffers.
struct usm_filter {
    int radius;
    int half;
    int rows;
    int maxval;
    int nr_comp;
    int nr_channels;
    int height;
    int width;
    double strength[kMaxComps];
    double noise_red[kMaxComps];
    Interpolator level_interp[kMaxComps];
    movane::Block<std::uint16_t> level_tables[kMaxComps];
    movane::Block<std::uint16_t> gains;
    bool is_started;
    int line_count;
    int in_step;
    int limit_step;
    int out_step;
    InputRow input[kMaxRows];
    SourceRow source[kMaxRows];
    movane::Block<unsigned char> responses;     // nr_channels lines, of 32 bits per sample at most
    movane::Block<unsigned char> source_lines;  // rows * nr_channels lines of 16 bits at most
    int is_used[kMaxChannels];
    int channel_of[kMaxComps];
    fusm_comps comps;
    fusm_line_done line_done;

    std::size_t levels() const { return static_cast<std::size_t>(maxval) + 1; }
    std::uint16_t* gain_table(int comp) {
        return &gains[static_cast<std::size_t>(comp) * levels()];
    }
};

namespace {

// --- tables ------------------------------------------------------------------------------------

std::uint16_t rounded(double value) {
    return static_cast<std::uint16_t>(movane::truncated(value + 0.5, 0, kMaxGain));
}

double gain_per_response(double strength, int radius) {
    if (radius == 0) return strength;
    return radius == 1 ? strength / 3.0 : strength * 0.25;
}

void make_gains(usm_filter& f) {
    for (int comp = 0; comp < f.nr_comp; ++comp) {
        std::uint16_t* const table = f.gain_table(comp);
        const double s             = gain_per_response(f.strength[comp], f.radius);
        const int n =
            movane::truncated(f.maxval * f.noise_red[comp], 0, std::numeric_limits<int>::max());
        const int h = n / 2;
        // An index of 64 bits passes the largest maxval.
        std::int64_t v = 0;
        for (; v < h && v <= f.maxval; ++v) table[v] = 0;
        for (; v < n && v <= f.maxval; ++v) {
            const auto value = static_cast<double>(v), above = static_cast<double>(v - h);
            table[v] = rounded(value * s * above / h);
        }
        for (; v <= f.maxval; ++v) table[v] = rounded(static_cast<double>(v) * s);
        table[0] = 0;  // whatever the strength
    }
}

// --- the high-pass of the centre line ------------------------------------------------------------

void high_pass(int radius, const FusmWindow<unsigned char>& window) {
    movane::fusm_kernels().high_pass_8[radius](window);
}
void high_pass(int radius, const FusmWindow<unsigned short>& window) {
    movane::fusm_kernels().high_pass_16[radius](window);
}
void correct(const FusmLine<unsigned char>& line) { movane::fusm_kernels().correct_8(line); }
void correct(const FusmLine<unsigned short>& line) { movane::fusm_kernels().correct_16(line); }

template <class Sample>
Sample* source_line(const usm_filter& f, int row, int channel) {
    return static_cast<Sample*>(f.source[row].lines[channel]);
}

// Whether each line of the rings holds all channels side by side and nothing else.
template <class Sample>
bool is_interleaved(const usm_filter& f) {
    if (f.comps || f.nr_channels < 2 || f.in_step != f.nr_channels) return false;
    for (int row = 0; row < f.rows; ++row) {
        for (int ch = 1; ch < f.nr_channels; ++ch) {
            if (source_line<Sample>(f, row, ch) != source_line<Sample>(f, row, 0) + ch)
                return false;
        }
    }
    return true;
}

// Responses to `width` samples of `channels` interleaved channels, the first of which is given; 0
// at the border.
template <class Sample>
void respond(const usm_filter& f, int channel, int channels, Response<Sample>* out) {
    const std::ptrdiff_t step   = f.comps ? 1 : f.in_step;
    const std::ptrdiff_t border = std::ptrdiff_t{std::min(f.half, f.width)} * channels,
                         end    = std::ptrdiff_t{f.width} * channels;
    if (f.width > 2 * f.half) {
        FusmWindow<Sample> window{.rows     = {},
                                  .step     = step,
                                  .channels = channels,
                                  .out      = out + border,
                                  .count    = end - 2 * border};
        for (int row = 0; row < f.rows; ++row)
            window.rows[row] = source_line<Sample>(f, row, channel) + f.half * step;
        high_pass(f.radius, window);
    }
    std::fill(out, out + border, Response<Sample>{0});
    std::fill(out + end - border, out + end, Response<Sample>{0});
}

// --- one line of one component -------------------------------------------------------------------

void announce(const usm_filter& f, int comp) noexcept {
    if (f.line_done) f.line_done(comp);
}

template <class Sample>
void pass_through(const usm_filter& f, const InputRow& row, Sample** out) {
    for (int comp = 0; comp < f.nr_comp; ++comp) {
        const Sample* const in = static_cast<const Sample*>(row.lines[comp]);
        if (!in) continue;
        Sample* const line = out[comp];
        for (std::ptrdiff_t x = 0; x < f.width; ++x) line[x * f.out_step] = in[x * f.in_step];
        announce(f, comp);
    }
}

template <class Sample>
void sharpen(usm_filter& f, Sample** out) {
    auto* const responses      = reinterpret_cast<Response<Sample>*>(f.responses.get());
    const std::ptrdiff_t width = f.width;
    const bool together        = is_interleaved<Sample>(f);
    if (together) {
        respond<Sample>(f, 0, f.nr_channels, responses);
    } else {
        for (int ch = 0; ch < f.nr_channels; ++ch) {
            if (f.is_used[ch]) respond<Sample>(f, ch, 1, responses + ch * width);
        }
    }

    const InputRow& centre = f.input[f.half];
    for (int comp = 0; comp < f.nr_comp; ++comp) {
        const std::ptrdiff_t channel = f.channel_of[comp];
        correct(FusmLine<Sample>{.in            = static_cast<const Sample*>(centre.lines[comp]),
                                 .in_step       = f.in_step,
                                 .response      = responses + channel * (together ? 1 : width),
                                 .response_step = together ? f.nr_channels : 1,
                                 .limit         = static_cast<const Sample*>(centre.limit),
                                 .limit_step    = f.limit_step,
                                 .out           = out[comp],
                                 .out_step      = f.out_step,
                                 .count         = f.width,
                                 .gains         = f.gain_table(comp),
                                 .levels        = f.level_tables[comp].get(),
                                 .maxval        = f.maxval});
        announce(f, comp);
    }
}

// --- the protocol --------------------------------------------------------------------------------

template <class Sample>
void compute_channels(const usm_filter& f, Sample** in, Sample** channels) noexcept {
    f.comps(in, f.in_step, channels, 1, f.width);
}

template <class Sample>
void take_line(usm_filter& f, Sample** in, Sample* limit) {
    std::rotate(f.input, f.input + 1, f.input + f.rows);
    std::rotate(f.source, f.source + 1, f.source + f.rows);
    InputRow& row     = f.input[f.rows - 1];
    SourceRow& source = f.source[f.rows - 1];
    std::copy_n(in, f.nr_comp, row.lines);
    row.limit = limit;
    if (!f.comps) {
        std::copy_n(in, f.nr_channels, source.lines);
    } else if (f.width > 0) {
        Sample* channels[kMaxChannels] = {};
        for (int ch = 0; ch < f.nr_channels; ++ch)
            channels[ch] = static_cast<Sample*>(source.lines[ch]);
        compute_channels(f, in, channels);
    }
}

template <class Sample>
int feed(usm_filter& f, Sample** in, Sample** out, Sample* limit) {
    if (!f.is_started) return 0;
    const int n = f.line_count++;
    if (n >= f.height) return f.line_count;
    take_line(f, in, limit);
    if (n < f.half) {
        pass_through(f, f.input[f.rows - 1], out);
    } else if (n >= f.rows - 1) {
        sharpen(f, out);
    }
    if (f.line_count == f.height) {
        for (int row = f.half + 1; row < f.rows; ++row) pass_through(f, f.input[row], out);
    }
    return f.line_count;
}

bool are_legal(int nr_comp, int nr_channels, const int* comp_channels, bool has_callback) {
    if (nr_comp < 0 || nr_comp > kMaxComps || nr_channels < 0 || nr_channels > kMaxChannels)
        return false;
    if (!has_callback && nr_channels > nr_comp) return false;
    return std::all_of(comp_channels, comp_channels + nr_comp,
                       [&](int channel) { return channel >= 0 && channel < nr_channels; });
}

// Divides the buffer for a host's channels, if there is one, into lines.
void clear_rings(usm_filter& f, std::size_t line_bytes) {
    std::fill(f.input, f.input + kMaxRows, InputRow{});
    std::fill(f.source, f.source + kMaxRows, SourceRow{});
    if (!f.comps) return;
    unsigned char* line = f.source_lines.get();
    for (int row = 0; row < f.rows; ++row) {
        for (int ch = 0; ch < f.nr_channels; ++ch, line += line_bytes)
            f.source[row].lines[ch] = line;
    }
}

// Null when there is no memory, or the points make no function of the level.
movane::Block<std::uint16_t> make_level_table(const Interpolator& curve, int n, const double* level,
                                              const double* factor, int maxval) {
    if (!curve) return nullptr;
    for (int i = 0; i < n; ++i) {
        if (lin_interp_double_insert(curve.get(), level[i], factor[i]) != 0) return nullptr;
    }
    auto table = movane::make_block<std::uint16_t>(static_cast<std::size_t>(maxval) + 1);
    for (std::int64_t v = 0; table && v <= maxval; ++v) {
        double at = 0.0;
        if (lin_interp_double_inter(curve.get(), static_cast<double>(v), &at) != 0) return nullptr;
        table[static_cast<std::size_t>(v)] = rounded(at * kLevelUnits);
    }
    return table;
}

}  // namespace

// --- life cycle ----------------------------------------------------------------------------------

usm_filter* fusm_new(int radius, int maxval, int nr_comp, int nr_channels, const int* comp_channels,
                     fusm_comps comps) {
    if (radius < 0 || radius > kMaxRadius) {
        report("usm_new: illegal radius");
        return nullptr;
    }
    if (!are_legal(nr_comp, nr_channels, comp_channels, comps != nullptr)) {
        report("usm_new: illegal nr comp");
        return nullptr;
    }
    auto f = movane::create<usm_filter>();
    if (!f) {
        report("usm_new: unable to malloc");
        return nullptr;
    }
    f->radius      = radius;
    f->half        = radius == 0 ? 1 : 2;
    f->rows        = 2 * f->half + 1;
    f->maxval      = maxval;
    f->nr_comp     = nr_comp;
    f->nr_channels = nr_channels;
    f->comps       = comps;
    for (int comp = 0; comp < nr_comp; ++comp) {
        f->strength[comp]               = 1.0;
        f->channel_of[comp]             = comp_channels[comp];
        f->is_used[f->channel_of[comp]] = 1;
    }
    if (maxval >= 1)
        f->gains = movane::make_zeroed_block<std::uint16_t>(static_cast<std::size_t>(nr_comp),
                                                            f->levels());
    if (!f->gains) {
        report("usm_new: unable to alloc usmval");
        return nullptr;
    }
    make_gains(*f);
    return f.release();
}

int fusm_kill(usm_filter* f) {
    movane::destroy(f);
    return 0;
}

int fusm_start(usm_filter* f, int height, int width, fusm_line_done line_done, int in_step,
               int limit_step, int out_step) {
    f->is_started = false;
    f->source_lines.reset();
    f->responses.reset();
    const auto samples  = static_cast<std::size_t>(std::max(width, 0));
    const auto channels = static_cast<std::size_t>(f->nr_channels);
    // The counts of lines are small; with the samples of one the door multiplies.
    if (f->comps) {
        f->source_lines = movane::make_zeroed_block<unsigned char>(
            static_cast<std::size_t>(f->rows) * channels * sizeof(std::uint16_t), samples);
        if (!f->source_lines) {
            report("fusm_start: malloc comps_buf failed");
            return 0;
        }
    }
    f->responses =
        movane::make_zeroed_block<unsigned char>(channels * sizeof(std::int32_t), samples);
    if (!f->responses) {
        report("fusm_start: malloc HPFc_buf failed");
        return 0;
    }
    clear_rings(*f, samples * sizeof(std::uint16_t));
    f->height     = height;
    f->width      = std::max(width, 0);
    f->line_done  = line_done;
    f->in_step    = in_step;
    f->limit_step = limit_step;
    f->out_step   = out_step;
    f->line_count = 0;
    f->is_started = true;
    return 1;
}

// --- lines ---------------------------------------------------------------------------------------

int fusm_do(usm_filter* f, unsigned short** in, unsigned short** out, unsigned short* limit) {
    return feed(*f, in, out, limit);
}

int fusm_b_do(usm_filter* f, unsigned char** in, unsigned char** out, unsigned char* limit) {
    return feed(*f, in, out, limit);
}

// --- settings ------------------------------------------------------------------------------------

void fusm_stren_set(usm_filter* f, const double* strength) {
    std::copy_n(strength, f->nr_comp, f->strength);
    make_gains(*f);
}

void fusm_noise_red_set(usm_filter* f, const double* noise_red) {
    std::copy_n(noise_red, f->nr_comp, f->noise_red);
    make_gains(*f);
}

double* fusm_stren_get(usm_filter* f) { return f->strength; }

double* fusm_noise_red_get(usm_filter* f) { return f->noise_red; }

int fusm_level_red_set(usm_filter* f, int comp, int n, const double* level, const double* factor) {
    f->level_tables[comp].reset();
    f->level_interp[comp].reset();
    if (n == 0) return 1;
    Interpolator curve(lin_interp_double_new(std::max(n, 1), nullptr));
    f->level_tables[comp] = make_level_table(curve, n, level, factor, f->maxval);
    if (!f->level_tables[comp]) {
        report("fusm_level_red_set: unable to create lin interp");
        return 0;
    }
    f->level_interp[comp] = std::move(curve);
    return 1;
}
