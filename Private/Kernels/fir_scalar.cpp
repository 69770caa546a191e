#include "Kernels/fir_kernel.h"

namespace movane {
namespace {

// One sum at a time: the meaning of each operation.
struct Lanes {
    using Sums                  = std::uint32_t;
    static constexpr int kLanes = 1;

    static Sums all(std::uint32_t value) { return value; }

    static Sums add_products(Sums sums, const std::int16_t* pairs, std::uint32_t weights) {
        const int left  = pairs[0] * static_cast<std::int16_t>(weights & 0xFFFF);
        const int right = pairs[1] * static_cast<std::int16_t>(weights >> 16);
        return sums + static_cast<std::uint32_t>(left) + static_cast<std::uint32_t>(right);
    }

    static Sums raise(Sums sums, std::uint32_t bias) { return (sums << 16) + bias; }

    static std::uint16_t clamped_upper_half(Sums sum, std::int16_t low, std::int16_t high) {
        const auto half   = static_cast<std::int16_t>(sum >> 16);
        const auto raised = half > low ? half : low;
        return static_cast<std::uint16_t>(raised < high ? raised : high);
    }
    static void store_clamped(Sums even, Sums odd, std::int16_t low, std::int16_t high,
                              std::uint16_t* out) {
        out[0] = clamped_upper_half(even, low, high);
        out[1] = clamped_upper_half(odd, low, high);
    }
};

#include "Kernels/fir_kernel.inl"

}  // namespace

const FirKernels fir_scalar = {"scalar", filter_line<std::uint8_t>, filter_line<std::uint16_t>};

}  // namespace movane
