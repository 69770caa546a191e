#include "Kernels/fusm_kernel.h"

namespace movane {
namespace {

#include "Kernels/fusm_kernel.inl"

}  // namespace

const FusmKernels fusm_sse41 = kernels("sse41");

}  // namespace movane
