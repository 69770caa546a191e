#include "Kernels/md_tetrab_variants.h"

namespace movane {
namespace {

constexpr Variant<MdTetrabKernels> kBestFirst[] = {
#ifndef MOVANE_SCALAR_ONLY
    {Cpu::avx2, &md_tetrab_avx2},
    {Cpu::sse41, &md_tetrab_sse41},
#endif
    {Cpu::baseline, &md_tetrab_scalar},
};

}  // namespace

// process-wide: the variant in use
constinit Dispatch<MdTetrabKernels> md_tetrab_kernels{kBestFirst};

}  // namespace movane
