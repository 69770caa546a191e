// The arithmetic of bilinear resampling: samples mixed two and two, side by side in a line, and
// then one above the other.
//
// The mix of a and b is (a * (65536 - fraction) + b * fraction) >> 16. Since the fraction counts in
// units of 1/65536, that is also low + ((high - low) * weight >> 16), where low and high are the
// lesser and the greater of a and b, and weight is the one that belongs to high: 16-bit arithmetic
// throughout. It holds for fractions from 1 to 65535; with fraction 0 let b be a.
#pragma once

#include <cstddef>
#include <cstdint>

namespace movane {

// Tables and lines are filled up to a multiple of it.
constexpr int kIbilinBlock = 16;

template <class Sample>
struct MixColumns {
    const Sample* in;
    const std::int32_t *left, *right;  // per output: the places of a and b, in samples
    const std::uint16_t* fractions;    // per output
    std::uint16_t* out;
    int count;  // outputs
};

template <class Sample>
struct MixLines {
    const std::uint16_t *upper, *lower;
    std::uint16_t fraction;
    Sample* out;
    std::ptrdiff_t out_step;  // samples
    int count;                // outputs
};

struct IbilinKernels {
    const char* name;
    void (*mix_columns_8)(const MixColumns<std::uint8_t>&);
    void (*mix_columns_16)(const MixColumns<std::uint16_t>&);
    void (*mix_lines_8)(const MixLines<std::uint8_t>&);
    void (*mix_lines_16)(const MixLines<std::uint16_t>&);
};

extern const IbilinKernels ibilin_scalar, ibilin_sse41, ibilin_avx2;

}  // namespace movane
