#include "Kernels/ibilin_variants.h"

namespace movane {
namespace {

constexpr Variant<IbilinKernels> kBestFirst[] = {
#ifndef MOVANE_SCALAR_ONLY
    {Cpu::avx2, &ibilin_avx2},
    {Cpu::sse41, &ibilin_sse41},
#endif
    {Cpu::baseline, &ibilin_scalar},
};

}  // namespace

// process-wide: the variant in use
constinit Dispatch<IbilinKernels> ibilin_kernels{kBestFirst};

}  // namespace movane
