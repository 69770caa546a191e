#include "Kernels/resample_variants.h"

namespace movane {
namespace {

constexpr Variant<ResampleKernels> kBestFirst[] = {
#ifndef MOVANE_SCALAR_ONLY
    {Cpu::avx2, &resample_avx2},
    {Cpu::sse41, &resample_sse41},
#endif
    {Cpu::baseline, &resample_scalar},
};

}  // namespace

// process-wide: the variant in use
constinit Dispatch<ResampleKernels> resample_kernels{kBestFirst};

}  // namespace movane
