#include "Kernels/fusm_kernel.h"

namespace movane {
namespace {

#include "Kernels/fusm_kernel.inl"

}  // namespace

const FusmKernels fusm_avx2 = kernels("avx2");

}  // namespace movane
