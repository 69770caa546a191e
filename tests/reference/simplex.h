// Simplex interpolation as plainly as it can be said: one sample at a time, coordinates instead
// of offsets, products computed where they are needed.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <utility>
#include <vector>

namespace reference {

using Coordinates = std::vector<int>;

struct Grid {
    int dims, outputs, grid, pad;

    std::uint64_t size() const {
        std::uint64_t points = 1;
        for (int d = 0; d < dims; ++d) points *= static_cast<std::uint64_t>(grid + pad);
        return points * static_cast<std::uint64_t>(outputs);
    }
    std::size_t position(const Coordinates& point) const {
        int number = 0;
        for (const int coordinate : point) number = number * (grid + pad) + coordinate;
        return static_cast<std::size_t>(number * outputs);
    }
};

/// Axes in descending order of weight. Four are sorted by fixed exchanges, others by a stable
/// sort; the difference shows among equal weights.
template <class Weight>
std::vector<std::size_t> sorted_axes(const std::vector<Weight>& weights) {
    std::vector<std::size_t> axes(weights.size());
    std::iota(axes.begin(), axes.end(), std::size_t{0});
    const auto is_greater = [&](std::size_t a, std::size_t b) { return weights[a] > weights[b]; };
    if (axes.size() != 4) {
        std::stable_sort(axes.begin(), axes.end(), is_greater);
        return axes;
    }
    for (const auto& [a, b] : {std::pair{0u, 1u}, {2, 3}, {0, 2}, {2, 3}, {1, 2}, {2, 3}})
        if (is_greater(axes[b], axes[a])) std::swap(axes[a], axes[b]);
    return axes;
}

/// The corners of a sample's simplex from the lowest to the highest, each with its weight.
template <class Weight>
std::vector<std::pair<Coordinates, Weight>> simplex(Coordinates corner,
                                                    const std::vector<Weight>& weights,
                                                    Weight above) {
    std::vector<std::pair<Coordinates, Weight>> corners;
    for (const std::size_t axis : sorted_axes(weights)) {
        corners.emplace_back(corner, static_cast<Weight>(above - weights[axis]));
        above = weights[axis];
        ++corner[axis];
    }
    corners.emplace_back(corner, above);
    return corners;
}

// --- bytes -----------------------------------------------------------------------------------

using Lut = std::array<std::uint8_t, 256>;

inline Lut identity() {
    Lut lut;
    std::iota(lut.begin(), lut.end(), std::uint8_t{0});
    return lut;
}

struct ByteTable {
    Grid grid;
    int w_lo, w_hi;
    std::vector<std::uint8_t> data;
    std::vector<Lut> input_luts, output_luts;

    std::uint8_t product(int value, int weight) const {
        if (std::min(value, weight) < w_lo || std::max(value, weight) > w_hi) return 255;
        const double x = static_cast<double>(weight - w_lo) * (value - w_lo) / (w_hi - w_lo);
        return static_cast<std::uint8_t>(x + w_lo + 0.5);
    }

    /// The weight of a position in a cell, from 0 to 1.
    std::uint8_t weight(double part) const {
        return static_cast<std::uint8_t>(part * (w_hi - w_lo) + w_lo);
    }

    std::vector<std::uint8_t> at(const std::vector<std::uint8_t>& codes) const {
        Coordinates cell;
        std::vector<std::uint8_t> weights;
        for (std::size_t d = 0; d < codes.size(); ++d) {
            const int code = input_luts[d][codes[d]];
            const double x = code == 255 ? grid.grid - 1 : code / (255.0 / (grid.grid - 1));
            cell.push_back(static_cast<int>(x));
            weights.push_back(weight(x - cell.back()));
        }
        return in_cell(cell, weights);
    }

    std::vector<std::uint8_t> in_cell(const Coordinates& cell,
                                      const std::vector<std::uint8_t>& weights) const {
        std::vector<std::uint8_t> outputs;
        for (std::size_t c = 0; c < output_luts.size(); ++c) {
            unsigned sum = 0;
            for (const auto& [corner, part] :
                 simplex(cell, weights, static_cast<std::uint8_t>(w_hi))) {
                const std::size_t at = grid.position(corner) + c;
                sum += product(at < data.size() ? data[at] : w_lo, part);
            }
            outputs.push_back(output_luts[c][sum % 256]);
        }
        return outputs;
    }

    void interpolate(unsigned char** in, int in_stride, unsigned char** out, int out_stride,
                     int count, const unsigned char* mask, double threshold) const {
        for (int i = 0; i < count; ++i) {
            bool repeats = i > 0;
            std::vector<std::uint8_t> codes;
            for (int d = 0; d < grid.dims; ++d) {
                codes.push_back(in[d][i * in_stride]);
                repeats = repeats && codes.back() == in[d][(i - 1) * in_stride];
            }
            const bool is_skipped = mask && mask[i] <= threshold;
            std::vector<std::uint8_t> values;
            if (!repeats && !is_skipped) values = at(codes);
            for (int k = 0; k < grid.outputs; ++k) {
                const int c = grid.dims == 4 ? grid.outputs - 1 - k : k;
                if (!out[c]) continue;
                if (!is_skipped)
                    *out[c] = repeats ? out[c][-out_stride] : values[static_cast<std::size_t>(c)];
                out[c] += out_stride;
            }
        }
    }
};

// --- doubles ---------------------------------------------------------------------------------

struct DoubleTable {
    Grid grid;
    double lo, hi;
    std::vector<double> data;

    std::vector<double> at(const std::vector<double>& inputs) const {
        Coordinates cell;
        std::vector<double> fractions;
        for (const double input : inputs) {
            const double x =
                input == hi ? grid.grid - 1 : (input - lo) / ((hi - lo) / (grid.grid - 1));
            cell.push_back(static_cast<int>(x));
            fractions.push_back(x - cell.back());
        }
        auto corners = simplex(cell, fractions, 1.0);
        if (grid.dims == 2) std::swap(corners[0], corners[1]);  // the middle corner comes first

        std::vector<double> outputs;
        for (std::size_t c = 0; c < static_cast<std::size_t>(grid.outputs); ++c) {
            double sum = 0.0;
            for (const auto& [corner, weight] : corners)
                sum += data[grid.position(corner) + c] * weight;
            outputs.push_back(sum);
        }
        return outputs;
    }
};

}  // namespace reference
