#pragma once

#include "Kernels/dispatch.h"
#include "Kernels/ibilin_kernel.h"

namespace movane {

extern Dispatch<IbilinKernels> ibilin_kernels;

}  // namespace movane
