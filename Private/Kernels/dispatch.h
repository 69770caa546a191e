// How a family finds the variant of its kernel that suits this processor.
//
// Each kernel consists of
//   <kernel>_kernel.h        the signature and the table type
//   <kernel>_kernel.inl      the definition: plain loops, no #ifdef; other .inl files hold what
//                            several kernels or the variants alone share
//   <kernel>_scalar.cpp      includes the definition and exports one table; likewise _sse41, _avx2
//   <kernel>_variants.h/cpp  the list of tables, best first, and the dispatch that chooses
//
// The per-CPU files include their own headers, <immintrin.h> and fixed-width integers only: a copy
// of a foreign inline function, compiled for a newer processor, could otherwise be linked into the
// baseline.
#pragma once

#include "Kernels/cpu.h"

#include <atomic>
#include <span>

namespace movane {

template <class Kernels>
struct Variant {
    Cpu needs;
    const Kernels* kernels;
};

template <class Kernels>
class Dispatch {
public:
    /// `best_first` ends with the scalar variant, which every processor can run.
    constexpr explicit Dispatch(std::span<const Variant<Kernels>> best_first)
        : best_first_(best_first) {}

    /// The variant in use; chosen on first use. Ask once per call of the host, not per pixel.
    const Kernels& operator()() noexcept {
        const Kernels* kernels = in_use_.load(std::memory_order_relaxed);
        if (!kernels) {
            kernels = best();
            in_use_.store(kernels, std::memory_order_relaxed);
        }
        return *kernels;
    }

    /// For tests and benchmarks: uses this variant from now on; null returns to the best.
    void use(const Kernels* kernels) noexcept { in_use_ = kernels; }

    /// For tests and benchmarks: every variant, best first, also those this processor lacks.
    std::span<const Variant<Kernels>> variants() const noexcept { return best_first_; }

private:
    const Kernels* best() const noexcept {
        for (const Variant<Kernels>& variant : best_first_) {
            if (cpu_offers(variant.needs)) return variant.kernels;
        }
        return best_first_.back().kernels;
    }

    std::span<const Variant<Kernels>> best_first_;
    std::atomic<const Kernels*> in_use_{nullptr};
};

}  // namespace movane
