#pragma once

#include "Kernels/dispatch.h"
#include "Kernels/md_tetrab_kernel.h"

namespace movane {

extern Dispatch<MdTetrabKernels> md_tetrab_kernels;

}  // namespace movane
