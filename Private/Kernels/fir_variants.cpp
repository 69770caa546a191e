#include "Kernels/fir_variants.h"

namespace movane {
namespace {

constexpr Variant<FirKernels> kBestFirst[] = {
#ifndef MOVANE_SCALAR_ONLY
    {Cpu::avx2, &fir_avx2},
    {Cpu::sse41, &fir_sse41},
#endif
    {Cpu::baseline, &fir_scalar},
};

}  // namespace

// process-wide: the variant in use
constinit Dispatch<FirKernels> fir_kernels{kBestFirst};

}  // namespace movane
