// Bilinear resampling, line by line.
//
// Each input line that an output line needs is brought to the output width when it is fed; per
// channel the last two of them are kept. An output line is a mix of these two as soon as the lower
// one of its input lines has come.

#include "movane/imaging.h"

#include "Kernels/ibilin_variants.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <utility>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/ibilin"};

constexpr int kMaxChannels = 4;
constexpr int kMaxWidth    = std::numeric_limits<int>::max() - 1024;  // kernels count in blocks
constexpr double kOne16_16 = 65536.0;

// Where an output stands between two inputs.
struct Position {
    std::int32_t from, to;   // numbers of the inputs
    std::uint16_t fraction;  // weight of the latter, in units of 1/65536
};

}  // namespace

// Invariants: without a successful start out_height is 0, and nothing else is looked at. Lines and
// the tables of columns have `pitch` entries; where a fraction is 0, right is left.
struct ibilin_filter {
    int tag;
    int channels;
    int in_height, in_width, out_height, out_width;
    int in_step, out_step;
    ibilin_line_done line_done;
    int lines_in[kMaxChannels];
    int lines_out[kMaxChannels];
    movane::Block<std::uint16_t> store;
    std::uint16_t *previous[kMaxChannels], *current[kMaxChannels];
    movane::Block<std::int32_t> left, right;  // in samples
    movane::Block<std::uint16_t> fractions;
    movane::Block<Position> rows;
    void* out_line[kMaxChannels];

    std::size_t pitch() const {
        constexpr std::size_t kBlock = movane::kIbilinBlock;
        return (static_cast<std::size_t>(out_width) + kBlock - 1) / kBlock * kBlock;
    }
};

namespace {

// --- the tables of an image ------------------------------------------------------------------

Position position_of(int i, int inputs, int outputs) {
    const double p = static_cast<double>(i) * inputs / outputs;
    const int from = static_cast<int>(p);
    return {from, std::min(from + 1, inputs - 1),
            static_cast<std::uint16_t>((p - from) * kOne16_16)};
}

bool make_columns(ibilin_filter& f) {
    const std::int64_t end = std::int64_t{f.in_width} * f.in_step;
    if (std::abs(end) > std::numeric_limits<std::int32_t>::max() || f.out_width > kMaxWidth)
        return false;
    f.left      = movane::make_zeroed_block<std::int32_t>(f.pitch());
    f.right     = movane::make_zeroed_block<std::int32_t>(f.pitch());
    f.fractions = movane::make_zeroed_block<std::uint16_t>(f.pitch());
    if (!f.left || !f.right || !f.fractions) return false;
    for (int x = 0; x < f.out_width; ++x) {
        const Position p = position_of(x, f.in_width, f.out_width);
        f.left[x]        = p.from * f.in_step;
        f.right[x]       = (p.fraction != 0 ? p.to : p.from) * f.in_step;
        f.fractions[x]   = p.fraction;
    }
    return true;
}

bool make_rows(ibilin_filter& f) {
    f.rows = movane::make_block<Position>(static_cast<std::size_t>(f.out_height));
    if (!f.rows) return false;
    for (int y = 0; y < f.out_height; ++y) f.rows[y] = position_of(y, f.in_height, f.out_height);
    return true;
}

bool make_lines(ibilin_filter& f) {
    const auto lines = static_cast<std::size_t>(2 * f.channels);
    f.store          = movane::make_zeroed_block<std::uint16_t>(lines, f.pitch());
    if (!f.store) return false;
    std::uint16_t* line = f.store.get();
    for (int ch = 0; ch < f.channels; ++ch) {
        f.previous[ch] = std::exchange(line, line + f.pitch());
        f.current[ch]  = std::exchange(line, line + f.pitch());
    }
    return true;
}

// Returns what failed; null for success.
const char* prepare(ibilin_filter& f, int channels, int in_height, int in_width, int out_height,
                    int out_width) {
    f.out_height = 0;
    if (in_height < 1 || in_width < 1 || out_height < 1 || out_width < 1 || channels < 1 ||
        channels > kMaxChannels)
        return "ibilin_start: illegal dest image";

    f.channels   = channels;
    f.in_height  = in_height;
    f.in_width   = in_width;
    f.out_height = out_height;
    f.out_width  = out_width;
    std::fill_n(f.lines_in, channels, 0);
    std::fill_n(f.lines_out, channels, 0);
    if (make_columns(f) && make_rows(f) && make_lines(f)) return nullptr;
    f.out_height = 0;
    return "ibilin_start: unsufficient resources";
}

// --- one line of one channel -----------------------------------------------------------------

void announce(const ibilin_filter& f, int channel) noexcept {
    if (f.line_done) f.line_done(channel);
}

template <class Sample>
void take_line(ibilin_filter& f, const Sample* in, int channel) {
    std::swap(f.previous[channel], f.current[channel]);
    const movane::MixColumns<Sample> columns{.in        = in,
                                             .left      = f.left.get(),
                                             .right     = f.right.get(),
                                             .fractions = f.fractions.get(),
                                             .out       = f.current[channel],
                                             .count     = f.out_width};
    if constexpr (sizeof(Sample) == 1) {
        movane::ibilin_kernels().mix_columns_8(columns);
    } else {
        movane::ibilin_kernels().mix_columns_16(columns);
    }
    const bool is_first = f.lines_in[channel] == 0;
    if (is_first) std::copy_n(f.current[channel], f.out_width, f.previous[channel]);
}

template <class Sample>
void write_line(const ibilin_filter& f, int channel, std::uint16_t fraction) {
    const movane::MixLines<Sample> lines{
        .upper    = f.previous[channel],
        .lower    = fraction != 0 ? f.current[channel] : f.previous[channel],
        .fraction = fraction,
        .out      = static_cast<Sample*>(f.out_line[channel]),
        .out_step = f.out_step,
        .count    = f.out_width};
    if constexpr (sizeof(Sample) == 1) {
        movane::ibilin_kernels().mix_lines_8(lines);
    } else {
        movane::ibilin_kernels().mix_lines_16(lines);
    }
}

template <class Sample>
void feed_channel(ibilin_filter& f, const Sample* in, Sample** out, int channel) {
    const int line = f.lines_in[channel], y = f.lines_out[channel];
    if (y < f.out_height && (f.rows[y].from == line || f.rows[y].to == line))
        take_line(f, in, channel);
    f.out_line[channel] = *out;
    if (channel == f.channels - 1) {
        for (int j = y; j < f.out_height && f.rows[j].to <= line; ++j) {
            for (int ch = 0; ch < f.channels; ++ch) {
                write_line<Sample>(f, ch, f.rows[j].fraction);
                announce(f, ch);
                ++f.lines_out[ch];
            }
        }
    }
    ++f.lines_in[channel];
}

template <class Sample, int kChannels>
void feed(ibilin_filter* f, Sample* const (&in)[kChannels], Sample** const (&out)[kChannels]) {
    for (int ch = 0; ch < kChannels; ++ch) feed_channel(*f, in[ch], out[ch], ch);
}

}  // namespace

// --- life cycle --------------------------------------------------------------------------------

ibilin_filter* ibilin_new(int tag) {
    auto f = movane::create<ibilin_filter>();
    if (!f) {
        report("ibilin_new:unable to create ibilin");
        return nullptr;
    }
    f->tag = tag;
    return f.release();
}

int ibilin_kill(ibilin_filter* f) {
    movane::destroy(f);
    return 0;
}

int ibilin_start(ibilin_filter* f, int channels, int in_height, int in_width, int out_height,
                 int out_width, ibilin_line_done line_done, int in_step, int out_step) {
    f->line_done = line_done;
    f->in_step   = in_step;
    f->out_step  = out_step;
    if (const char* const failure =
            prepare(*f, channels, in_height, in_width, out_height, out_width)) {
        report(failure);
        return 0;
    }
    return 1;
}

// --- lines -------------------------------------------------------------------------------------

void ibilin_mono(ibilin_filter* f, unsigned short* in, unsigned short** out) {
    feed<unsigned short, 1>(f, {in}, {out});
}

void ibilin_rgb(ibilin_filter* f, unsigned short* in0, unsigned short* in1, unsigned short* in2,
                unsigned short** out0, unsigned short** out1, unsigned short** out2) {
    feed<unsigned short, 3>(f, {in0, in1, in2}, {out0, out1, out2});
}

void ibilin_cmyk(ibilin_filter* f, unsigned short* in0, unsigned short* in1, unsigned short* in2,
                 unsigned short* in3, unsigned short** out0, unsigned short** out1,
                 unsigned short** out2, unsigned short** out3) {
    feed<unsigned short, 4>(f, {in0, in1, in2, in3}, {out0, out1, out2, out3});
}

void ibilin_mono_b(ibilin_filter* f, unsigned char* in, unsigned char** out) {
    feed<unsigned char, 1>(f, {in}, {out});
}

void ibilin_rgb_b(ibilin_filter* f, unsigned char* in0, unsigned char* in1, unsigned char* in2,
                  unsigned char** out0, unsigned char** out1, unsigned char** out2) {
    feed<unsigned char, 3>(f, {in0, in1, in2}, {out0, out1, out2});
}

void ibilin_cmyk_b(ibilin_filter* f, unsigned char* in0, unsigned char* in1, unsigned char* in2,
                   unsigned char* in3, unsigned char** out0, unsigned char** out1,
                   unsigned char** out2, unsigned char** out3) {
    feed<unsigned char, 4>(f, {in0, in1, in2, in3}, {out0, out1, out2, out3});
}
