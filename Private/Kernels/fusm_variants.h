#pragma once

#include "Kernels/dispatch.h"
#include "Kernels/fusm_kernel.h"

namespace movane {

extern Dispatch<FusmKernels> fusm_kernels;

}  // namespace movane
