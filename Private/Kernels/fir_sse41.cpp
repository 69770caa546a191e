#include "Kernels/fir_kernel.h"

#include <immintrin.h>

namespace movane {
namespace {

struct Lanes {
    using Sums                  = __m128i;
    static constexpr int kLanes = 4;

    static Sums all(std::uint32_t value) { return _mm_set1_epi32(static_cast<int>(value)); }

    static Sums add_products(Sums sums, const std::int16_t* pairs, std::uint32_t weights) {
        const __m128i samples = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pairs));
        return _mm_add_epi32(sums, _mm_madd_epi16(samples, all(weights)));
    }

    static Sums raise(Sums sums, std::uint32_t bias) {
        return _mm_add_epi32(_mm_slli_epi32(sums, 16), all(bias));
    }

    static void store_clamped(Sums even, Sums odd, std::int16_t low, std::int16_t high,
                              std::uint16_t* out) {
        const __m128i halves = _mm_blend_epi16(_mm_srli_epi32(even, 16), odd, 0xAA);
        const __m128i raised = _mm_max_epi16(halves, _mm_set1_epi16(low));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out),
                         _mm_min_epi16(raised, _mm_set1_epi16(high)));
    }
};

#include "Kernels/fir_kernel.inl"

}  // namespace

const FirKernels fir_sse41 = {"sse41", filter_line<std::uint8_t>, filter_line<std::uint16_t>};

}  // namespace movane
