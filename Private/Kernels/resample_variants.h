#pragma once

#include "Kernels/dispatch.h"
#include "Kernels/resample_kernel.h"

namespace movane {

extern Dispatch<ResampleKernels> resample_kernels;

}  // namespace movane
