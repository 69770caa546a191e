// Ordered dither: fewer levels by a 4 x 4 pattern.
//
// Around an output level the remainder of an input level decides how many pixels of a cell go to
// the next one, and the Bayer matrix which. So the pixels of a cell hold at most two neighbouring
// levels, and a line is served from a table of the lower one and a bit per pixel: a sixteenth of
// the size, which stays in the cache for 16-bit levels.

#include "movane/imaging.h"

#include "Support/memory.h"
#include "Support/report.h"

#include <cstddef>
#include <cstdint>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/rdither"};

constexpr int kCellPixels         = 16;
constexpr int kBayer[kCellPixels] = {0, 8, 2, 10, 12, 4, 14, 6, 3, 11, 1, 9, 15, 7, 13, 5};
constexpr double kBayerUnit       = 0.0625;

constexpr unsigned int kMaxLevel = 65535;

int pixel_of_cell(int x, int y) { return (x & 3) * 4 + (y & 3); }

// The level of a pixel whose remainder, -0.5 to 0.5, is to pass the threshold.
int dithered(int nearest, double remainder, double threshold, int out_max) {
    if (threshold < remainder && nearest < out_max) return nearest + 1;
    if (remainder < -threshold && nearest > 0) return nearest - 1;
    return nearest;
}

}  // namespace

// Invariants: levels[level * 16 + pixel_of_cell(x, y)] is an output level; pairs[level] holds the
// lower level of the cell in bits 0 to 15, and in bit 16 + pixel whether the pixel is one above.
struct rdither {
    unsigned int in_max;
    unsigned int out_max;
    movane::Block<int> levels;
    movane::Block<std::uint32_t> pairs;
};

namespace {

void fill_tables(rdither& d) {
    const int out_max = static_cast<int>(d.out_max);
    for (unsigned int level = 0; level <= d.in_max; ++level) {
        const double value     = static_cast<double>(level) * d.out_max / d.in_max;
        const int nearest      = static_cast<int>(value + 0.5);
        const double remainder = value - nearest;

        int* const cell = &d.levels[std::size_t{level} * kCellPixels];
        int lowest      = nearest;
        for (int i = 0; i < kCellPixels; ++i) {
            cell[i] = dithered(nearest, remainder, kBayer[i] * kBayerUnit, out_max);
            if (cell[i] < lowest) lowest = cell[i];
        }
        auto pair = static_cast<std::uint32_t>(lowest);
        for (int i = 0; i < kCellPixels; ++i)
            pair |= static_cast<std::uint32_t>(cell[i] - lowest) << (16 + i);
        d.pairs[level] = pair;
    }
}

template <class Sample>
void dither_line(const rdither& d, const Sample* in, std::ptrdiff_t in_step, unsigned char* out,
                 std::ptrdiff_t out_step, int x0, int y, int count) {
    const std::uint32_t* const pairs = d.pairs.get();
    int bits[4];  // of the pixels at i, i + 1 ...
    for (unsigned int k = 0; k < 4; ++k)
        bits[k] = 16 + pixel_of_cell(static_cast<int>(static_cast<unsigned int>(x0) + k), y);
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint32_t pair = pairs[in[i * in_step]];
        out[i * out_step]        = static_cast<unsigned char>(pair + (pair >> bits[i & 3] & 1));
    }
}

}  // namespace

// --- life cycle --------------------------------------------------------------------------------

rdither* rdither_new(unsigned int in_max, unsigned int out_max) {
    if (in_max == 0 || in_max > kMaxLevel || out_max >= in_max) {
        report("rdither_new: param error");
        return nullptr;
    }
    auto d = movane::create<rdither>();
    if (!d) {
        report("rdither_new:unable to create rdither");
        return nullptr;
    }
    d->in_max  = in_max;
    d->out_max = out_max;
    d->levels  = movane::make_block<int>((std::size_t{in_max} + 1) * kCellPixels);
    d->pairs   = movane::make_block<std::uint32_t>(std::size_t{in_max} + 1);
    if (!d->levels || !d->pairs) {
        report("rdither_new: malloc failed");
        return nullptr;
    }
    fill_tables(*d);
    return d.release();
}

int rdither_kill(rdither* d) {
    movane::destroy(d);
    return 0;
}

// --- levels ------------------------------------------------------------------------------------

int rdither_val(rdither* d, int x, int y, int level) {
    return d->levels[static_cast<std::size_t>(level) * kCellPixels +
                     static_cast<std::size_t>(pixel_of_cell(x, y))];
}

void rdither_line(rdither* d, const unsigned short* in, int in_step, unsigned char* out,
                  int out_step, int x0, int y, int count) {
    dither_line(*d, in, in_step, out, out_step, x0, y, count);
}

void rdither_line_b(rdither* d, const unsigned char* in, int in_step, unsigned char* out,
                    int out_step, int x0, int y, int count) {
    dither_line(*d, in, in_step, out, out_step, x0, y, count);
}
