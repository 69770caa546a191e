// Byte simplex interpolation, sample by sample: the definition, for any table and any streams.
//
// `Dims` is the number of dimensions from 1 to 4, or 0 for any number.

#include "Kernels/md_tetra_sort.inl"

inline bool is_identity(const std::uint8_t* lut) {
    unsigned difference = 0;
    for (int v = 0; v < 256; ++v) difference |= static_cast<unsigned>(lut[v] ^ v);
    return difference == 0;
}

template <int Dims>
constexpr int kAxes = Dims ? Dims : kTetraMaxDims;

/// A point of the input space: the corners of its simplex, in bytes from the start of the data,
/// and what each counts.
template <int Dims>
struct Simplex {
    std::ptrdiff_t corners[kAxes<Dims> + 1];
    std::uint8_t weights[kAxes<Dims> + 1];
};

/// @param base       offset of the lowest corner of the cell
/// @param positions  position in the cell along each axis; sorted on return
template <int Dims>
void find_simplex(const MdTetrabView& table, std::ptrdiff_t base, std::uint8_t* positions,
                  Simplex<Dims>& simplex) {
    const int dims = Dims ? Dims : table.dims;
    int axes[kAxes<Dims>];
    sort_axes<Dims>(dims, positions, axes);

    // Each step from the lowest to the highest corner goes along the axis that is next in order.
    std::uint8_t above = table.top_weight;
    for (int k = 0; k < dims; ++k) {
        simplex.weights[k] = static_cast<std::uint8_t>(above - positions[k]);
        above              = positions[k];
    }
    simplex.weights[dims] = above;

    simplex.corners[0] = base;
    if constexpr (Dims == 2) {
        simplex.corners[1] = base + table.opposite[axes[0]];
    } else if constexpr (Dims == 3) {
        simplex.corners[1] = base + table.strides[axes[0]];
        simplex.corners[2] = base + table.opposite[axes[2]];
    } else if constexpr (Dims == 4) {
        simplex.corners[1] = base + table.strides[axes[0]];
        simplex.corners[2] = simplex.corners[1] + table.strides[axes[1]];
        simplex.corners[3] = base + table.opposite[axes[3]];
    } else if constexpr (Dims == 0) {
        for (int k = 1; k < dims; ++k)
            simplex.corners[k] = simplex.corners[k - 1] + table.strides[axes[k - 1]];
    }
    simplex.corners[dims] = base + table.diagonal;
}

template <int Dims>
std::uint8_t value_in(const MdTetrabView& table, const Simplex<Dims>& simplex, int channel) {
    const int dims  = Dims ? Dims : table.dims;
    unsigned sum    = 0;
    const auto* row = table.data + channel;
    for (int k = 0; k <= dims; ++k)
        sum += table.product_rows[row[simplex.corners[k]]][simplex.weights[k]];
    return table.output_luts[channel][sum & 255];
}

/// @param in  one stream per dimension, read at `in_offset`
template <int Dims>
void locate(const MdTetrabView& table, const std::uint8_t* const* in, std::ptrdiff_t in_offset,
            Simplex<Dims>& simplex) {
    const int dims      = Dims ? Dims : table.dims;
    std::ptrdiff_t base = 0;
    std::uint8_t positions[kAxes<Dims>];
    for (int d = 0; d < dims; ++d) {
        const std::uint8_t code = table.input_luts[d][in[d][in_offset]];
        base += table.cell_tables[d][code];
        positions[d] = table.weight_table[code];
    }
    find_simplex(table, base, positions, simplex);
}

inline bool repeats_previous(const MdTetrabLine& line, int dims, std::ptrdiff_t in_offset) {
    for (int d = 0; d < dims; ++d) {
        const std::uint8_t* code = line.in[d] + in_offset;
        if (*code != *(code - line.in_stride)) return false;
    }
    return true;
}

template <int Dims>
void interpolate_samples(const MdTetrabView& table, const MdTetrabLine& line) {
    const int dims = Dims ? Dims : table.dims;
    for (int i = 0; i < line.count; ++i) {
        if (line.mask && line.mask[i] < line.first_passing) continue;

        const std::ptrdiff_t in_offset  = static_cast<std::ptrdiff_t>(i) * line.in_stride;
        const std::ptrdiff_t out_offset = static_cast<std::ptrdiff_t>(i) * line.out_stride;
        const bool repeats              = i > 0 && repeats_previous(line, dims, in_offset);
        Simplex<Dims> simplex;
        if (!repeats) locate(table, line.in, in_offset, simplex);

        // Where channels overlap, their order shows: four dimensions write the last one first.
        for (int step = 0; step < table.outputs; ++step) {
            const int channel = Dims == 4 ? table.outputs - 1 - step : step;
            if (!line.out[channel]) continue;
            std::uint8_t* out = line.out[channel] + out_offset;
            *out = repeats ? *(out - line.out_stride) : value_in(table, simplex, channel);
        }
    }
}
