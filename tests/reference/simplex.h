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
        std::size_t number = 0;
        for (const int coordinate : point)
            number = number * static_cast<std::size_t>(grid + pad) +
                     static_cast<std::size_t>(coordinate);
        return number * static_cast<std::size_t>(outputs);
    }
};

/// Axes in descending order of weight. Up to four are sorted by fixed exchanges, more by a stable
/// sort; the difference shows among equal weights.
template <class Weight>
std::vector<std::size_t> sorted_axes(const std::vector<Weight>& weights) {
    using Pairs                 = std::vector<std::pair<std::size_t, std::size_t>>;
    const Pairs exchanges_of[5] = {{},
                                   {},
                                   {{0, 1}},
                                   {{1, 2}, {0, 1}, {1, 2}},
                                   {{0, 1}, {2, 3}, {0, 2}, {2, 3}, {1, 2}, {2, 3}}};
    std::vector<std::size_t> axes(weights.size());
    std::iota(axes.begin(), axes.end(), std::size_t{0});
    if (axes.size() <= 4) {
        for (const auto& [first, second] : exchanges_of[axes.size()])
            if (weights[axes[first]] < weights[axes[second]]) std::swap(axes[first], axes[second]);
    } else {
        std::stable_sort(axes.begin(), axes.end(),
                         [&](std::size_t a, std::size_t b) { return weights[a] > weights[b]; });
    }
    return axes;
}

/// The corners of a sample's simplex from the lowest to the highest, each with its weight.
template <class Weight>
std::vector<std::pair<Coordinates, Weight>> simplex(const Coordinates& cell,
                                                    const std::vector<Weight>& weights,
                                                    Weight whole) {
    std::vector<std::pair<Coordinates, Weight>> corners;
    Coordinates corner = cell;
    Weight above       = whole;
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

struct ByteTable {
    Grid grid;
    int w_lo, w_hi;
    std::vector<std::uint8_t> data;
    std::vector<Lut> input_luts, output_luts;

    std::uint8_t product(int value, int weight) const {
        if (value < w_lo || value > w_hi || weight < w_lo || weight > w_hi) return 255;
        const double x = static_cast<double>(weight - w_lo) * (value - w_lo) / (w_hi - w_lo);
        return static_cast<std::uint8_t>(x + w_lo + 0.5);
    }

    std::vector<std::uint8_t> at(const std::vector<std::uint8_t>& codes) const {
        Coordinates cell;
        std::vector<std::uint8_t> weights;
        for (std::size_t d = 0; d < codes.size(); ++d) {
            const int code = input_luts[d][codes[d]];
            const double x = code / (255.0 / (grid.grid - 1));
            const bool top = code == 255;
            cell.push_back(top ? grid.grid - 1 : static_cast<int>(x));
            const double part = top ? 0.0 : x - cell.back();
            weights.push_back(static_cast<std::uint8_t>(part * (w_hi - w_lo) + w_lo));
        }
        return of(simplex(cell, weights, static_cast<std::uint8_t>(w_hi)));
    }

    std::vector<std::uint8_t> of(
        const std::vector<std::pair<Coordinates, std::uint8_t>>& corners) const {
        std::vector<std::uint8_t> outputs;
        for (std::size_t c = 0; c < output_luts.size(); ++c) {
            int sum = 0;
            for (const auto& [corner, weight] : corners) {
                const std::size_t at = grid.position(corner) + c;
                sum += product(at < data.size() ? data[at] : w_lo, weight);
            }
            outputs.push_back(output_luts[c][static_cast<std::size_t>(sum % 256)]);
        }
        return outputs;
    }

    void interpolate(unsigned char** in, int in_stride, unsigned char** out, int out_stride,
                     int count, const unsigned char* mask, double threshold) const {
        for (int i = 0; i < count; ++i) {
            if (!mask || !(mask[i] <= threshold)) sample(in, in_stride, out, out_stride, i);
            for (int c = 0; c < grid.outputs; ++c)
                if (out[c]) out[c] += out_stride;
        }
    }

    void sample(unsigned char** in, int in_stride, unsigned char** out, int out_stride,
                int i) const {
        bool repeats = i > 0;
        std::vector<std::uint8_t> codes;
        for (int d = 0; d < grid.dims; ++d) {
            codes.push_back(in[d][i * in_stride]);
            repeats = repeats && codes.back() == in[d][(i - 1) * in_stride];
        }
        std::vector<std::uint8_t> values;
        if (!repeats) values = at(codes);

        std::vector<int> order(static_cast<std::size_t>(grid.outputs));
        std::iota(order.begin(), order.end(), 0);
        if (grid.dims == 4) std::reverse(order.begin(), order.end());
        for (const int c : order)
            if (out[c])
                *out[c] = repeats ? out[c][-out_stride] : values[static_cast<std::size_t>(c)];
    }
};

// --- doubles ---------------------------------------------------------------------------------

struct DoubleTable {
    Grid grid;
    double lo, hi;
    std::vector<double> data;

    std::vector<double> at(const std::vector<double>& inputs) const {
        const double step = (hi - lo) / (grid.grid - 1);
        Coordinates cell;
        std::vector<double> fractions;
        for (const double input : inputs) {
            const double x = input == hi ? grid.grid - 1 : (input - lo) / step;
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
