// Random lines for the byte simplex tables: all streams lie in one arena of bytes, so that
// comparing arenas also finds what was written where nothing should be.
#pragma once

#include "movane/interpolation.h"
#include "reference/simplex.h"

#include <limits>
#include <memory>
#include <random>
#include <vector>

namespace movane_tests {

struct KillTable {
    void operator()(md_tetrab_table* table) const { md_tetrab_kill(table); }
};
using ByteTable = std::unique_ptr<md_tetrab_table, KillTable>;

class Random {
public:
    explicit Random(unsigned seed) : engine_(seed) {}
    /// From low to high, both included.
    int operator()(int low, int high) {
        return low + static_cast<int>(engine_() % static_cast<unsigned>(high - low + 1));
    }
    bool one_in(int n) { return (*this)(1, n) == 1; }
    template <class T, std::size_t N>
    T among(const T (&choices)[N]) {
        return choices[(*this)(0, static_cast<int>(N) - 1)];
    }
    std::uint8_t byte() { return static_cast<std::uint8_t>(engine_()); }

private:
    std::mt19937 engine_;
};

/// A table with random values and LUTs, and the same table for the reference.
struct TablePair {
    ByteTable table;
    reference::ByteTable expected;
};

inline TablePair random_table(Random& random, const reference::Grid& grid, int w_lo, int w_hi) {
    TablePair pair{
        ByteTable(md_tetrab_new_special(grid.dims, grid.outputs, grid.grid, w_lo, w_hi, grid.pad)),
        {grid, w_lo, w_hi, {}, {}, {}}};
    int size                  = 0;
    std::uint8_t* const bytes = md_tetrab_dataptr(pair.table.get(), &size);
    for (int i = 0; i < size; ++i) bytes[i] = random.byte();
    pair.expected.data.assign(bytes, bytes + size);

    const bool has_luts = random.one_in(2);
    const auto add_lut  = [&](std::vector<reference::Lut>& luts, std::uint8_t* own) {
        if (has_luts && random.one_in(2))
            for (int v = 0; v < 256; ++v) own[v] = random.byte();
        std::copy_n(own, 256, luts.emplace_back().begin());
    };
    for (int d = 0; d < grid.dims; ++d)
        add_lut(pair.expected.input_luts, md_tetrab_ilutptr(pair.table.get(), d));
    for (int c = 0; c < grid.outputs; ++c)
        add_lut(pair.expected.output_luts, md_tetrab_olutptr(pair.table.get(), c));
    return pair;
}

/// Mostly of the common kind: the full range and one layer more than grid points.
inline TablePair random_table(Random& random, int dims) {
    constexpr int kGrids[] = {2, 3, 5, 9, 14, 17, 27, 33, 53, 256};
    reference::Grid grid;
    do {
        grid = {dims, random.one_in(4) ? random(9, 20) : random(1, 8), random.among(kGrids),
                random.among({1, 1, 1, 0, 2})};
    } while (grid.size() > 200000);
    const int w_hi = random.one_in(5) ? random(1, 255) : 255;
    const int w_lo = random.one_in(10) ? random(0, w_hi - 1) : 0;
    return random_table(random, grid, w_lo, w_hi);
}

/// Streams in an arena: interleaved, planar or apart, or anywhere, which mostly overlaps.
class Line {
public:
    Line(Random& random, const reference::Grid& grid) {
        count   = random.one_in(3) ? random(0, 3) : random(4, 400);
        int end = random(0, 7);
        if (random.one_in(4)) {
            const auto anywhere = [&] { return random(2000, 2300); };
            in_stride           = random(-5, 5);
            out_stride          = random(-5, 5);
            for (int d = 0; d < grid.dims; ++d) in_at.push_back(anywhere());
            for (int c = 0; c < grid.outputs; ++c) out_at.push_back(anywhere());
            if (random.one_in(2)) mask_at = anywhere();
            end = 4300;
        } else {
            in_stride  = lay_out(random, grid.dims, in_at, end);
            out_stride = lay_out(random, grid.outputs, out_at, end);
            if (random.one_in(2)) {
                mask_at = random.one_in(4) ? random(0, end) : end;
                end += count;
            }
        }
        if (grid.outputs > 1 && random.one_in(8)) out_at[1] = out_at[0];
        fill(random, end + 64);
        for (int& at : out_at)
            if (random.one_in(12)) at = -1;
        threshold = thresholds[static_cast<std::size_t>(random(0, 7))];
    }

    /// Calls interpolate(in, in_stride, out, out_stride, count, mask, threshold) on a copy of the
    /// arena.
    ///
    /// @return  the arena; behind it, how far each output has advanced
    template <class Interpolate>
    std::vector<std::uint8_t> run(Interpolate interpolate) const {
        std::vector<std::uint8_t> bytes = arena;
        std::vector<unsigned char*> in, out;
        for (const int at : in_at) in.push_back(bytes.data() + at);
        for (const int at : out_at) out.push_back(at < 0 ? nullptr : bytes.data() + at);
        unsigned char* mask = mask_at < 0 ? nullptr : bytes.data() + mask_at;
        interpolate(in.data(), in_stride, out.data(), out_stride, count, mask, threshold);

        std::vector<std::uint8_t> result = bytes;
        for (std::size_t c = 0; c < out.size(); ++c) {
            const bool advanced = out_at[c] < 0 ? !out[c]
                                                : out[c] == bytes.data() + out_at[c] +
                                                                std::ptrdiff_t{count} * out_stride;
            result.push_back(advanced);
        }
        for (std::size_t d = 0; d < in.size(); ++d)
            result.push_back(in[d] == bytes.data() + in_at[d]);
        return result;
    }

    int count, in_stride, out_stride;
    double threshold;
    std::vector<int> in_at, out_at;
    int mask_at = -1;
    std::vector<std::uint8_t> arena;

private:
    static constexpr double thresholds[8] = {
        -1.0, 0.0, 127.0, 127.5, 254.5, 255.0, 1e300, std::numeric_limits<double>::quiet_NaN()};

    int lay_out(Random& random, int channels, std::vector<int>& at, int& end) const {
        const bool interleaved = random.one_in(2);
        const int gap          = random.among({0, 0, 1, 2});
        const int stride       = interleaved ? channels + gap : 1 + gap;
        const int size         = count * stride + random(0, 3);
        const bool backwards   = random.one_in(6);
        for (int c = 0; c < channels; ++c) {
            at.push_back(end + (interleaved ? c : 0) + (backwards ? stride * (count - 1) : 0));
            if (!interleaved) end += size;
        }
        if (interleaved) end += size;
        if (count == 0) at.assign(at.size(), end);
        return backwards ? -stride : stride;
    }

    // Noise, or a few colours, so that samples repeat and weights are equal. In the mask long
    // stretches of one kind beside noise: whole blocks pass, whole blocks are skipped.
    void fill(Random& random, int size) {
        const int palette = random.among({2, 3, 256});
        std::uint8_t colours[3];
        for (std::uint8_t& colour : colours)
            colour = random.among<std::uint8_t>({0, 255, random.byte()});
        for (int i = 0; i < size; ++i)
            arena.push_back(palette == 256 ? random.byte() : colours[random(0, palette - 1)]);

        if (mask_at < 0 || random.one_in(4)) return;
        for (int i = 0; i < count;) {
            const std::uint8_t byte = random.among<std::uint8_t>({0, 255, 127, 128});
            for (int stretch = random(1, 150); stretch > 0 && i < count; --stretch)
                arena[static_cast<std::size_t>(mask_at + i++)] = byte;
        }
    }
};

}  // namespace movane_tests
