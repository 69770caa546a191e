// The arithmetic of unsharp masking: the high-pass of one line, and the correction of one line by
// it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace movane {

constexpr int kFusmMaxRows        = 5;
constexpr int kFusmMaxInterleaved = 4;

/// Sums of 8-bit samples and corrections up to here fit 16 bits; larger corrections do what this
/// does as long as maxval is not larger.
constexpr int kFusmNarrow = 32000;

/// The high-pass of a sample: sums of 16 samples of 8 bits, or of 16 bits, in magnitude.
template <class Sample>
struct FusmResponse;
template <>
struct FusmResponse<std::uint8_t> {
    using Type = std::int16_t;
};
template <>
struct FusmResponse<std::uint16_t> {
    using Type = std::int32_t;
};

template <class Sample>
struct FusmWindow {
    const Sample*
        rows[kFusmMaxRows];  // 3 for radius 0, else 5, at the sample under the first output
    std::ptrdiff_t step;     // samples between neighbouring pixels
    int channels;            // 1, or all of `step` interleaved ones, kFusmMaxInterleaved at most
    typename FusmResponse<Sample>::Type* out;
    std::ptrdiff_t count;  // outputs; they lie side by side
};

template <class Sample>
struct FusmLine {
    const Sample* in;
    std::ptrdiff_t in_step;  // samples, like all steps
    const typename FusmResponse<Sample>::Type* response;
    std::ptrdiff_t response_step;
    const Sample* limit;  // null for maxval
    std::ptrdiff_t limit_step;
    Sample* out;
    std::ptrdiff_t out_step;
    std::ptrdiff_t count;
    const std::uint16_t* gains;   // maxval + 1 corrections
    const std::uint16_t* levels;  // maxval + 1 factors in units of 1/256; null for none
    int maxval;
};

struct FusmKernels {
    const char* name;
    void (*high_pass_8[3])(const FusmWindow<std::uint8_t>&);  // by radius
    void (*high_pass_16[3])(const FusmWindow<std::uint16_t>&);
    void (*correct_8)(const FusmLine<std::uint8_t>&);
    void (*correct_16)(const FusmLine<std::uint16_t>&);
};

extern const FusmKernels fusm_scalar, fusm_avx2;

}  // namespace movane
