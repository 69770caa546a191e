#include "Kernels/fusm_kernel.h"

namespace movane {
namespace {

#include "Kernels/fusm_kernel.inl"

}  // namespace

const FusmKernels fusm_scalar = kernels("scalar");

}  // namespace movane
