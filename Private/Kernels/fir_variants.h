#pragma once

#include "Kernels/dispatch.h"
#include "Kernels/fir_kernel.h"

namespace movane {

extern Dispatch<FirKernels> fir_kernels;

}  // namespace movane
