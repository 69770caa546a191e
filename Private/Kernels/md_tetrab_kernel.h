// Byte simplex tables: what a kernel sees of a table and of a line of samples.
#pragma once

#include <cstddef>
#include <cstdint>

namespace movane {

/// No table that can be created has more dimensions: 2^30 is the last power of two within the
/// 32-bit sizes. Working values of a sample live in arrays of this length.
constexpr int kTetraMaxDims = 30;

/// Variants that take samples side by side serve tables of three or four dimensions with products
/// of the full range, at most this many outputs and offsets below this bound, and lines in which
/// no output overlaps another stream.
constexpr int kLaneOutputs          = 16;
constexpr std::int64_t kLaneOffsets = std::int64_t{1} << 24;

struct MdTetrabView {
    int dims;
    int outputs;
    std::uint8_t top_weight;                 // the weight that all corners share
    const std::int32_t* const* cell_tables;  // per dimension and code: offset of the cell, bytes
    const std::uint8_t* weight_table;        // per code: position in its cell
    const std::uint8_t* const* input_luts;
    const std::uint8_t* const* output_luts;
    const std::uint8_t* const* product_rows;  // [value][weight]
    const std::uint8_t* data;                 // three bytes behind any corner can be read
    const std::int32_t* strides;
    std::int32_t diagonal;
    const std::int32_t* opposite;
};

struct MdTetrabLine {
    const std::uint8_t* const* in;
    std::uint8_t* const* out;
    int in_stride;
    int out_stride;
    int count;
    const std::uint8_t* mask;
    int first_passing;  // lowest mask byte, 0 to 256, whose sample is interpolated
};

struct MdTetrabKernels {
    const char* name;
    void (*interpolate)(const MdTetrabView& table, const MdTetrabLine& line);
};

/// All variants but the scalar one take samples side by side and need the common kind of tables
/// and lines; see kLaneOutputs.
extern const MdTetrabKernels md_tetrab_scalar, md_tetrab_sse41, md_tetrab_avx2;

}  // namespace movane
