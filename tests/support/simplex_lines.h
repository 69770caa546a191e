// Random tables and lines for the byte simplex tables. All streams of a line lie in one arena of
// bytes, so that comparing arenas also finds what was written where nothing should be.
#pragma once

#include "movane/interpolation.h"
#include "reference/simplex.h"
#include "support/handle.h"

#include <limits>
#include <random>
#include <utility>
#include <vector>

namespace movane_tests {

using ByteTable = Handle<md_tetrab_table, md_tetrab_table*>;

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
    TablePair pair{{md_tetrab_new_special(grid.dims, grid.outputs, grid.grid, w_lo, w_hi, grid.pad),
                    md_tetrab_kill},
                   {grid, w_lo, w_hi, {}, {}, {}}};
    int size                  = 0;
    std::uint8_t* const bytes = md_tetrab_dataptr(pair.table, &size);
    for (int i = 0; i < size; ++i) bytes[i] = random.byte();
    pair.expected.data.assign(bytes, bytes + size);

    const bool has_luts  = random.one_in(2);
    const auto make_luts = [&](std::vector<reference::Lut>& luts, int count) {
        std::vector<unsigned char*> given(count);
        luts.assign(count, reference::identity());
        for (int i = 0; i < count; ++i) {
            if (!has_luts || random.one_in(2)) continue;  // null is the identity
            for (std::uint8_t& value : luts[i]) value = random.byte();
            given[i] = luts[i].data();
        }
        return given;
    };
    std::vector<unsigned char*> inputs  = make_luts(pair.expected.input_luts, grid.dims),
                                outputs = make_luts(pair.expected.output_luts, grid.outputs);
    md_tetrab_LUT(pair.table, inputs.data(), outputs.data());
    return pair;
}

/// Mostly of the common kind: the full range and one layer more than grid points.
inline TablePair random_table(Random& random, int dims) {
    reference::Grid grid;
    do {
        grid = {dims, random.one_in(4) ? random(9, 20) : random(1, 8),
                dims == 1 ? random(2, 300) : random.among({2, 3, 5, 9, 14, 17, 27, 33, 53}),
                random.among({1, 1, 1, 0, 2})};
    } while (grid.size() > 200000);
    const int w_hi = random.one_in(5) ? random(1, 255) : 255;
    const int w_lo = random.one_in(10) ? random(0, w_hi - 1) : 0;
    return random_table(random, grid, w_lo, w_hi);
}

/// Streams in an arena: interleaved or planar, or anywhere, which mostly overlaps.
class Line {
public:
    Line(Random& random, const reference::Grid& grid)
        : count(random.one_in(3) ? random(0, 3) : random(4, 400)), end_(random(0, 7)) {
        const bool is_strewn = random.one_in(4);
        in_stride_           = lay_out(random, is_strewn, grid.dims, in_at_);
        out_stride_          = lay_out(random, is_strewn, grid.outputs, out_at_);
        if (random.one_in(2))
            mask_at_ = is_strewn || random.one_in(4) ? random(end_ / 3, end_ / 2) : end_;
        threshold_ = random.among({-1.0, 0.0, 127.0, 127.5, 254.5, 255.0, 1e300,
                                   std::numeric_limits<double>::quiet_NaN()});
        if (grid.outputs > 1 && random.one_in(8)) out_at_[1] = out_at_[0];
        for (int& at : out_at_)
            if (random.one_in(12)) at = -1;
        fill(random);
    }

    /// Calls interpolate(in, in_stride, out, out_stride, count, mask, threshold) on a copy of the
    /// arena.
    ///
    /// @return  the arena, and where in it the pointers of both sides stand then, -1 for null
    template <class Interpolate>
    auto run(Interpolate interpolate) const {
        std::vector<std::uint8_t> bytes = arena_;
        const auto pointer_to = [&](int at) { return at < 0 ? nullptr : bytes.data() + at; };
        std::vector<unsigned char*> in, out;
        for (const int at : in_at_) in.push_back(pointer_to(at));
        for (const int at : out_at_) out.push_back(pointer_to(at));
        interpolate(in.data(), in_stride_, out.data(), out_stride_, count, pointer_to(mask_at_),
                    threshold_);
        in.insert(in.end(), out.begin(), out.end());
        std::vector<std::ptrdiff_t> places;
        for (const auto* const stream : in) places.push_back(stream ? stream - bytes.data() : -1);
        return std::pair(bytes, places);
    }

    const int count;

private:
    // Returns the stride.
    int lay_out(Random& random, bool is_strewn, int channels, std::vector<int>& at) {
        if (is_strewn) {
            end_ = 4400;
            for (int c = 0; c < channels; ++c) at.push_back(random(2000, 2300));
            return random(-5, 5);
        }
        const bool is_interleaved = random.one_in(2), is_backwards = random.one_in(6);
        const int stride = random.among({0, 0, 1, 2}) + (is_interleaved ? channels : 1);
        const int pitch  = is_interleaved ? 1 : count * stride + random(0, 3);
        const int first  = end_ + (is_backwards ? stride * count : 0);
        for (int c = 0; c < channels; ++c) at.push_back(first + c * pitch);
        end_ += channels * pitch + (count + 1) * stride;
        return is_backwards ? -stride : stride;
    }

    // Noise, or a few colours, so that samples repeat and weights are equal. In the mask long
    // stretches of one kind beside noise: whole blocks pass, whole blocks are skipped.
    void fill(Random& random) {
        const bool is_noise          = random.one_in(3);
        const std::uint8_t colours[] = {random.byte(), random.among<std::uint8_t>({0, 255}),
                                        random.among<std::uint8_t>({0, 255, random.byte()})};
        for (int i = 0; i < end_ + count + 64; ++i)
            arena_.push_back(is_noise ? random.byte() : random.among(colours));
        if (mask_at_ < 0 || random.one_in(4)) return;
        for (int i = 0, byte = 0; i < count; ++i) {
            if (i % 64 == 0 || random.one_in(150)) byte = random.among({0, 255, 127, 128});
            arena_[static_cast<std::size_t>(mask_at_ + i)] = static_cast<std::uint8_t>(byte);
        }
    }

    int end_, in_stride_, out_stride_, mask_at_ = -1;
    double threshold_;
    std::vector<int> in_at_, out_at_;
    std::vector<std::uint8_t> arena_;
};

}  // namespace movane_tests
