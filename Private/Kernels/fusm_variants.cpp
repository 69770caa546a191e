#include "Kernels/fusm_variants.h"

namespace movane {
namespace {

constexpr Variant<FusmKernels> kBestFirst[] = {
#ifndef MOVANE_SCALAR_ONLY
    {Cpu::avx2, &fusm_avx2},
#endif
    {Cpu::baseline, &fusm_scalar},
};

}  // namespace

// process-wide: the variant in use
constinit Dispatch<FusmKernels> fusm_kernels{kBestFirst};

}  // namespace movane
