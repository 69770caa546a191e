// The kernel of the byte simplex tables that suits this processor.
#pragma once

#include "Kernels/dispatch.h"
#include "Kernels/md_tetrab_kernel.h"

namespace movane {

extern const MdTetrabKernels md_tetrab_scalar;

/// All variants but the scalar one take samples side by side and need the common kind of tables
/// and lines; see kLaneOutputs.
Dispatch<MdTetrabKernels>& md_tetrab_kernels() noexcept;

}  // namespace movane
