#include "Kernels/izat_variants.h"

namespace movane {
namespace {

constexpr Variant<IzatKernels> kBestFirst[] = {
#ifndef MOVANE_SCALAR_ONLY
    {Cpu::avx2, &izat_avx2},
    {Cpu::sse41, &izat_sse41},
#endif
    {Cpu::baseline, &izat_scalar},
};

}  // namespace

// process-wide: the variant in use
constinit Dispatch<IzatKernels> izat_kernels{kBestFirst};

}  // namespace movane
