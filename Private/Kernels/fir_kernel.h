// The arithmetic of the FIR filter: one output line of one channel from the lines above, at and
// below it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace movane {

constexpr int kFirMaxRadius = 10;
constexpr int kFirMaxLines  = 2 * kFirMaxRadius + 1;

template <class Sample>
struct FirLine {
    const Sample* const* rows;          // `size` lines, at the first sample under the first output
    const std::int32_t* weights_16_16;  // size * size, row by row
    int size;                           // odd, at most kFirMaxLines
    std::ptrdiff_t in_step;             // samples
    std::ptrdiff_t out_step;            // samples
    Sample* out;                        // the first output
    int count;                          // outputs; each row has size - 1 more samples
    int max_value;
};

struct FirKernels {
    const char* name;
    void (*filter_8)(const FirLine<std::uint8_t>&);
    void (*filter_16)(const FirLine<std::uint16_t>&);
};

extern const FirKernels fir_scalar, fir_sse41, fir_avx2;

}  // namespace movane
