#include "Kernels/md_tetrab_kernel.h"

namespace movane {
namespace {

#include "Kernels/md_tetrab_kernel.inl"

void interpolate(const MdTetrabView& table, const MdTetrabLine& line) {
    switch (table.dims) {
        case 1:
            return interpolate_samples<1>(table, line);
        case 2:
            return interpolate_samples<2>(table, line);
        case 3:
            return interpolate_samples<3>(table, line);
        case 4:
            return interpolate_samples<4>(table, line);
        default:
            return interpolate_samples<0>(table, line);
    }
}

}  // namespace

const MdTetrabKernels md_tetrab_scalar = {"scalar", interpolate};

}  // namespace movane
