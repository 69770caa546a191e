#include "Kernels/md_tetrab_kernel.h"

namespace movane {
namespace {

#include "Kernels/md_tetrab_kernel.inl"
#include "Kernels/md_tetrab_lanes.inl"

void interpolate(const MdTetrabView& table, const MdTetrabLine& line) {
    return table.dims == 3 ? interpolate_blocks<3>(table, line)
                           : interpolate_blocks<4>(table, line);
}

}  // namespace

extern const MdTetrabKernels md_tetrab_sse41;
const MdTetrabKernels md_tetrab_sse41 = {"sse41", interpolate};

}  // namespace movane
