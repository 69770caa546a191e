#include "Kernels/md_tetrab_kernel.h"

namespace movane {
namespace {

#include "Kernels/md_tetrab_kernel.inl"
#include "Kernels/md_tetrab_lanes.inl"

}  // namespace

const MdTetrabKernels md_tetrab_avx2 = {"avx2", interpolate};

}  // namespace movane
