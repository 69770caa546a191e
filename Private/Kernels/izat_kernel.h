// The arithmetic of resizing, one direction after the other: a line brought to another width, and
// a line mixed from several.
//
// Between the two, samples are 16 bits with sign, and so is what the weights multiply: a weight in
// 16.16 fixed point is split into signed halves, weight = upper * 65536 + lower.
#pragma once

#include <cstddef>
#include <cstdint>

namespace movane {

// Tables and lines are filled up to a multiple of it.
constexpr int kIzatBlock = 16;

// Rows of weights have kShortRow taps, or a multiple of kLongRow.
constexpr int kShortRow = 4;
constexpr int kLongRow  = 8;

constexpr int kIzatMaxLines = 1001;

struct ColumnTable {
    const std::int32_t* places;  // per output: its first sample
    const std::int16_t* lower;   // a row per output
    const std::int16_t* upper;   // likewise; null when all are 0
    const std::uint32_t* sums;   // per output: 32768 * the sum of its weights
    int taps;
    int count;  // outputs
};

// Output x is the upper half of bias + the sum of sample * weight, modulo 2^32.
template <class Sample>
struct ScaleLine {
    const Sample* in;
    std::ptrdiff_t in_step;  // samples
    int in_count;
    std::int16_t* samples;  // work space: in_count and a row more
    ColumnTable table;
    std::uint32_t bias;
    std::int16_t* out;  // room for a multiple of kIzatBlock
};

// Output x is the lower bits of the upper half of bias + the sum of line[x] * weight, modulo 2^32.
template <class Sample>
struct BlendLines {
    const std::int16_t* const* lines;  // `line_count` of them, readable up to a full block
    const std::int32_t* weights_16_16;
    int line_count;  // at most kIzatMaxLines
    std::uint32_t bias;
    Sample* out;
    std::ptrdiff_t out_step;  // samples
    int count;                // outputs
};

// Two lines to be weighed at once.
struct LinePair {
    const std::int16_t *first, *second;
    std::uint32_t weights;  // halves of theirs, that of the first below
};

struct IzatKernels {
    const char* name;
    void (*scale_8)(const ScaleLine<std::uint8_t>&);
    void (*scale_16)(const ScaleLine<std::uint16_t>&);
    void (*blend_8)(const BlendLines<std::uint8_t>&);
    void (*blend_16)(const BlendLines<std::uint16_t>&);
};

extern const IzatKernels izat_scalar, izat_sse41, izat_avx2;

}  // namespace movane
