#pragma once

#include "Kernels/dispatch.h"
#include "Kernels/izat_kernel.h"

namespace movane {

extern Dispatch<IzatKernels> izat_kernels;

}  // namespace movane
