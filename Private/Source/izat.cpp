// Separable zoom, line by line.
//
// Every input line is brought to the output width at once and kept in a ring, per channel, of the
// lines that an output line may draw on. When the last input line that an output line needs has
// come, the output line is mixed from the newest lines of the ring.
//
// Both steps are sums of sample * weight in 16.16 fixed point, modulo 2^32, of which the upper half
// is kept. Since weights are not negative and their sum is at most 1.0, the lines in the ring fit
// 16 bits with sign: 0 to 255 for 8-bit samples; the upper half of a sum that may have wrapped, as
// a number with sign, for 16-bit samples.

#include "movane/imaging.h"

#include "Kernels/izat_variants.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/izat"};

constexpr int kMaxChannels   = 16;
constexpr int kMaxLines      = 1000 + 1;  // with the spare one of taps_of()
constexpr int kMaxWidth      = std::numeric_limits<int>::max() - 1024;  // kernels count in blocks
constexpr int kMaxColumnTaps = std::numeric_limits<int>::max() - movane::kLongRow;
constexpr std::int32_t k1_16_16 = 65536;
static_assert(kMaxLines <= movane::kIzatMaxLines);

// The weights of each output pixel as the kernel reads them, in rows of `row`; and room for the
// samples of an input line, behind which a row may reach with weights of 0.
struct Columns {
    int row;
    bool has_upper;  // weights that do not fit their lower halves
    movane::Block<std::int32_t> places;
    movane::Block<std::int16_t> lower, upper;
    movane::Block<std::uint32_t> sums;
    movane::Block<std::int16_t> samples;
};

}  // namespace

// Invariants: without a successful start out_h is 0, and nothing else is looked at. ring[c] holds
// `lines` lines of ring_store in the order of their age, the newest last; an output line y draws on
// y_count[y] <= lines lines and has its weights at y_weights[y * lines].
struct izat_zoom {
    int kind;
    int channels;
    int in_h, in_w, out_h, out_w;
    int in_step, out_step;
    bool with_user;
    void* user;
    izat_line_done line_done;
    izat_user_line_done user_line_done;
    int in_count[kMaxChannels];
    int out_count[kMaxChannels];
    movane::Block<std::int16_t> ring_store;
    std::int16_t* ring[kMaxChannels][kMaxLines];
    int lines;
    Columns columns;
    movane::Block<std::int32_t> y_lo, y_count, y_weights;
    void* out_line[kMaxChannels];

    std::size_t pitch() const {
        constexpr std::size_t kBlock = movane::kIzatBlock;
        return (static_cast<std::size_t>(out_w) + kBlock - 1) / kBlock * kBlock;
    }
};

namespace {

// --- the footprint ---------------------------------------------------------------------------

// The integral from a to b of a footprint centred at m with half-width r. It rises from 0 at m - r
// to 1 at m, and again from 0 to 1 at m + r: weights to the right of the centre grow with the
// distance, which is what this zoom is defined by.
double tent_overlap(double m, double r, double a, double b) {
    a = std::max(a, m - r);
    b = std::min(b, m + r);
    if (a < m && m < b) return tent_overlap(m, r, a, m) + tent_overlap(m, r, m, b);
    if (b <= m) return 0.5 * (b - a) * ((1 - (m - a) / r) + (1 - (m - b) / r));
    return 0.5 * (b - a) * ((a - m) / r + (b - m) / r);
}

struct Footprint {
    int first, count;  // of the input
};

// Sets the weights of output `i`, where r = length / outputs.
//
// @param overlaps  work space of as many doubles as there are weights
Footprint weigh(int i, double r, int length, int taps, std::int32_t* weights, double* overlaps) {
    const double m          = (i + 0.5) * r;
    const std::int64_t low  = static_cast<std::int64_t>((i - 0.5) * r);
    const std::int64_t high = static_cast<std::int64_t>((i + 1.5) * r);
    const int first         = static_cast<int>(std::max<std::int64_t>(low, 0));
    const int last          = static_cast<int>(std::min<std::int64_t>(high, length - 1));
    const int count         = std::min(last - first + 1, taps);
    if (count < 2) {
        weights[0] = k1_16_16;
        return {first, 1};
    }
    double sum = 0;
    for (int k = 0; k < count; ++k) {
        overlaps[k] = tent_overlap(m, r, first + k, first + k + 1.0);
        sum += overlaps[k];
    }
    for (int k = 0; k < count; ++k)
        weights[k] = sum != 0 ? static_cast<std::int32_t>(overlaps[k] * k1_16_16 / sum) : 0;
    return {first, count};
}

// --- the tables of an image ------------------------------------------------------------------

// A row has a tap more than a footprint covers: rounding may put its ends further apart.
std::int64_t taps_of(double r) { return static_cast<std::int64_t>(2 * r + 2) + 1; }

int row_of(int taps) {
    using namespace movane;
    return taps <= kShortRow ? kShortRow : (taps + kLongRow - 1) / kLongRow * kLongRow;
}

bool allocate_columns(izat_zoom& z, int taps) {
    Columns& c     = z.columns;
    c.row          = row_of(taps);
    c.has_upper    = false;
    const auto row = static_cast<std::size_t>(c.row);
    c.places       = movane::make_zeroed_block<std::int32_t>(z.pitch());
    c.lower        = movane::make_zeroed_block<std::int16_t>(z.pitch(), row);
    c.upper        = movane::make_zeroed_block<std::int16_t>(z.pitch(), row);
    c.sums         = movane::make_zeroed_block<std::uint32_t>(z.pitch());
    c.samples = movane::make_zeroed_block<std::int16_t>(static_cast<std::size_t>(z.in_w) + row);
    return c.places && c.lower && c.upper && c.sums && c.samples;
}

void set_column(Columns& c, int x, const Footprint& f, const std::int32_t* weights) {
    std::size_t at    = static_cast<std::size_t>(x) * static_cast<std::size_t>(c.row);
    std::uint32_t sum = 0;
    for (int k = 0; k < f.count; ++k, ++at) {
        const auto weight = static_cast<std::uint32_t>(weights[k]);
        c.lower[at]       = static_cast<std::int16_t>(weight);
        // Half a unit makes up for the sign of the lower half.
        c.upper[at] = static_cast<std::int16_t>((weight + 0x8000) >> 16);
        c.has_upper = c.has_upper || c.upper[at] != 0;
        sum += weight;
    }
    c.places[x] = f.first;
    c.sums[x]   = sum * 32768;
}

bool make_columns(izat_zoom& z) {
    const double r          = static_cast<double>(z.in_w) / z.out_w;
    const std::int64_t room = taps_of(r);
    if (room > kMaxColumnTaps || z.out_w > kMaxWidth) return false;
    const int taps      = static_cast<int>(room);
    const auto weights  = movane::make_block<std::int32_t>(static_cast<std::size_t>(taps));
    const auto overlaps = movane::make_block<double>(static_cast<std::size_t>(taps));
    if (!weights || !overlaps || !allocate_columns(z, taps)) return false;
    for (int x = 0; x < z.out_w; ++x) {
        const Footprint f = weigh(x, r, z.in_w, taps, weights.get(), overlaps.get());
        set_column(z.columns, x, f, weights.get());
    }
    return true;
}

bool make_rows(izat_zoom& z) {
    const auto height = static_cast<std::size_t>(z.out_h);
    const auto lines  = static_cast<std::size_t>(z.lines);
    const double r    = static_cast<double>(z.in_h) / z.out_h;
    double overlaps[kMaxLines];
    z.y_lo      = movane::make_block<std::int32_t>(height);
    z.y_count   = movane::make_block<std::int32_t>(height);
    z.y_weights = movane::make_zeroed_block<std::int32_t>(height, lines);
    if (!z.y_lo || !z.y_count || !z.y_weights) return false;
    for (std::size_t y = 0; y < height; ++y) {
        const Footprint f =
            weigh(static_cast<int>(y), r, z.in_h, z.lines, &z.y_weights[y * lines], overlaps);
        z.y_lo[y]    = f.first;
        z.y_count[y] = f.count;
    }
    return true;
}

bool make_ring(izat_zoom& z) {
    const auto lines = static_cast<std::size_t>(z.channels) * z.lines;
    z.ring_store     = movane::make_zeroed_block<std::int16_t>(lines, z.pitch());
    if (!z.ring_store) return false;
    std::int16_t* line = z.ring_store.get();
    for (int ch = 0; ch < z.channels; ++ch)
        for (int k = 0; k < z.lines; ++k, line += z.pitch()) z.ring[ch][k] = line;
    return true;
}

// Returns what failed; null for success.
const char* prepare(izat_zoom& z, int in_h, int in_w, int out_h, int out_w) {
    z.out_h = 0;
    if (in_h < 1 || in_w < 1 || out_h < 1 || out_w < 1 || z.channels < 1 ||
        z.channels > kMaxChannels)
        return "izat_start: illegal image";

    std::fill_n(z.in_count, z.channels, 0);
    std::fill_n(z.out_count, z.channels, 0);
    const std::int64_t lines = taps_of(static_cast<double>(in_h) / out_h);
    if (lines > kMaxLines) return "izat_start: max zoom factor exceeded";

    z.in_h  = in_h;
    z.in_w  = in_w;
    z.out_h = out_h;
    z.out_w = out_w;
    z.lines = static_cast<int>(lines);
    if (make_columns(z) && make_rows(z) && make_ring(z)) return nullptr;
    z.out_h = 0;
    return "izat_start: insuf. mem";
}

int start(izat_zoom& z, int channels, int in_h, int in_w, int out_h, int out_w, int in_step,
          int out_step) {
    z.channels = channels;
    z.in_step  = in_step;
    z.out_step = out_step;
    if (const char* const failure = prepare(z, in_h, in_w, out_h, out_w)) {
        report(failure);
        return 0;
    }
    return 1;
}

// --- one line of one channel -----------------------------------------------------------------

// 8-bit samples are rounded after each step, 16-bit samples truncated.
template <class Sample>
constexpr std::uint32_t kRounding = sizeof(Sample) == 1 ? 32768 : 0;

void announce(const izat_zoom& z, int channel) noexcept {
    if (z.with_user) {
        if (z.user_line_done) z.user_line_done(z.user, channel);
    } else if (z.line_done) {
        z.line_done(channel);
    }
}

void scale(const movane::ScaleLine<unsigned char>& line) { movane::izat_kernels().scale_8(line); }
void scale(const movane::ScaleLine<unsigned short>& line) { movane::izat_kernels().scale_16(line); }
void blend(const movane::BlendLines<unsigned char>& lines) {
    movane::izat_kernels().blend_8(lines);
}
void blend(const movane::BlendLines<unsigned short>& lines) {
    movane::izat_kernels().blend_16(lines);
}

template <class Sample>
void take_line(const izat_zoom& z, const Sample* in, std::int16_t* out) {
    const Columns& c = z.columns;
    scale(movane::ScaleLine<Sample>{.in       = in,
                                    .in_step  = z.in_step,
                                    .in_count = z.in_w,
                                    .samples  = c.samples.get(),
                                    .table    = {.places = c.places.get(),
                                                 .lower  = c.lower.get(),
                                                 .upper  = c.has_upper ? c.upper.get() : nullptr,
                                                 .sums   = c.sums.get(),
                                                 .taps   = c.row,
                                                 .count  = z.out_w},
                                    .bias     = kRounding<Sample>,
                                    .out      = out});
}

template <class Sample>
void write_line(const izat_zoom& z, int channel, int y) {
    const int count = z.y_count[y];
    blend(movane::BlendLines<Sample>{
        .lines         = z.ring[channel] + (z.lines - count),
        .weights_16_16 = &z.y_weights[static_cast<std::size_t>(y) * z.lines],
        .line_count    = count,
        .bias          = kRounding<Sample>,
        .out           = static_cast<Sample*>(z.out_line[channel]),
        .out_step      = z.out_step,
        .count         = z.out_w});
}

// Writes the lines for which the newest input line was the last one missing.
template <class Sample>
void write_ready_lines(izat_zoom& z) {
    const int last = z.channels - 1;
    for (int y = z.out_count[last]; y < z.out_h; ++y) {
        if (z.in_count[last] < z.y_lo[y] + z.y_count[y] - 1) return;
        for (int ch = 0; ch < z.channels; ++ch) {
            write_line<Sample>(z, ch, y);
            announce(z, ch);
            ++z.out_count[ch];
        }
    }
}

template <class Sample>
void feed_channel(izat_zoom& z, const Sample* in, Sample** out, int channel) {
    if (z.out_count[channel] < z.out_h) {
        std::int16_t** const ring = z.ring[channel];
        std::rotate(ring, ring + 1, ring + z.lines);
        take_line(z, in, ring[z.lines - 1]);
        z.out_line[channel] = *out;
        if (channel == z.channels - 1) write_ready_lines<Sample>(z);
    }
    ++z.in_count[channel];
}

template <class Sample, int kChannels>
void feed(izat_zoom* z, Sample* const (&in)[kChannels], Sample** const (&out)[kChannels]) {
    for (int ch = 0; ch < kChannels; ++ch) feed_channel(*z, in[ch], out[ch], ch);
}

}  // namespace

// --- life cycle --------------------------------------------------------------------------------

izat_zoom* izat_new(int kind) {
    auto z = movane::create<izat_zoom>();
    if (!z) {
        report("izat_new:unable to create iza");
        return nullptr;
    }
    z->kind = kind;
    return z.release();
}

int izat_kill(izat_zoom* z) {
    movane::destroy(z);
    return 0;
}

int izat_start(izat_zoom* z, int channels, int in_h, int in_w, int out_h, int out_w,
               izat_line_done line_done, int in_step, int out_step) {
    z->with_user = false;
    z->line_done = line_done;
    return start(*z, channels, in_h, in_w, out_h, out_w, in_step, out_step);
}

int izat_startwh(izat_zoom* z, int channels, int in_h, int in_w, int out_h, int out_w, void* user,
                 izat_user_line_done line_done, int in_step, int out_step) {
    z->with_user      = true;
    z->user           = user;
    z->user_line_done = line_done;
    return start(*z, channels, in_h, in_w, out_h, out_w, in_step, out_step);
}

// --- lines -------------------------------------------------------------------------------------

void izat_mono_do(izat_zoom* z, unsigned short* in, unsigned short** out, int channel) {
    feed_channel(*z, in, out, channel);
}

void izat_mono_b_do(izat_zoom* z, unsigned char* in, unsigned char** out, int channel) {
    feed_channel(*z, in, out, channel);
}

void izat_mono(izat_zoom* z, unsigned short* in, unsigned short** out) {
    feed<unsigned short, 1>(z, {in}, {out});
}

void izat_rgb(izat_zoom* z, unsigned short* in0, unsigned short* in1, unsigned short* in2,
              unsigned short** out0, unsigned short** out1, unsigned short** out2) {
    feed<unsigned short, 3>(z, {in0, in1, in2}, {out0, out1, out2});
}

void izat_cmyk(izat_zoom* z, unsigned short* in0, unsigned short* in1, unsigned short* in2,
               unsigned short* in3, unsigned short** out0, unsigned short** out1,
               unsigned short** out2, unsigned short** out3) {
    feed<unsigned short, 4>(z, {in0, in1, in2, in3}, {out0, out1, out2, out3});
}

void izat_mono_b(izat_zoom* z, unsigned char* in, unsigned char** out) {
    feed<unsigned char, 1>(z, {in}, {out});
}

void izat_rgb_b(izat_zoom* z, unsigned char* in0, unsigned char* in1, unsigned char* in2,
                unsigned char** out0, unsigned char** out1, unsigned char** out2) {
    feed<unsigned char, 3>(z, {in0, in1, in2}, {out0, out1, out2});
}

void izat_cmyk_b(izat_zoom* z, unsigned char* in0, unsigned char* in1, unsigned char* in2,
                 unsigned char* in3, unsigned char** out0, unsigned char** out1,
                 unsigned char** out2, unsigned char** out3) {
    feed<unsigned char, 4>(z, {in0, in1, in2, in3}, {out0, out1, out2, out3});
}
