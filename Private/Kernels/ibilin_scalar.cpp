#include "Kernels/ibilin_kernel.h"

namespace movane {
namespace {

// One sample at a time: the meaning of each operation.
struct Lanes {
    static constexpr int kLanes = 1;

    static std::uint16_t all(std::uint16_t value) { return value; }
    static std::uint16_t load(const std::uint16_t* at) { return *at; }
    static std::uint16_t lower_halves(const std::uint32_t* at) {
        return static_cast<std::uint16_t>(*at);
    }
    static std::uint16_t upper_halves(const std::uint32_t* at) {
        return static_cast<std::uint16_t>(*at >> 16);
    }
    static void store(std::uint16_t value, std::uint16_t* at) { *at = value; }

    static std::uint16_t mix(std::uint16_t a, std::uint16_t b, std::uint16_t fraction) {
        const std::uint32_t low = a < b ? a : b, high = a < b ? b : a;
        const std::uint32_t rest   = 65536 - std::uint32_t{fraction};
        const std::uint32_t weight = a < b ? fraction : rest;
        return static_cast<std::uint16_t>(low + ((high - low) * weight >> 16));
    }
};

#include "Kernels/ibilin_kernel.inl"

}  // namespace

const IbilinKernels ibilin_scalar = {"scalar", mix_columns<std::uint8_t>,
                                     mix_columns<std::uint16_t>, mix_lines<std::uint8_t>,
                                     mix_lines<std::uint16_t>};

}  // namespace movane
