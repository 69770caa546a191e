#include "Kernels/fir_kernel.h"

#include <immintrin.h>

namespace movane {
namespace {

struct Lanes {
    using Sums                  = __m256i;
    static constexpr int kLanes = 8;

    static Sums all(std::uint32_t value) { return _mm256_set1_epi32(static_cast<int>(value)); }

    static Sums add_products(Sums sums, const std::int16_t* pairs, std::uint32_t weights) {
        const __m256i samples = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pairs));
        return _mm256_add_epi32(sums, _mm256_madd_epi16(samples, all(weights)));
    }

    static Sums raise(Sums sums, std::uint32_t bias) {
        return _mm256_add_epi32(_mm256_slli_epi32(sums, 16), all(bias));
    }

    static void store_clamped(Sums even, Sums odd, std::int16_t low, std::int16_t high,
                              std::uint16_t* out) {
        const __m256i halves = _mm256_blend_epi16(_mm256_srli_epi32(even, 16), odd, 0xAA);
        const __m256i raised = _mm256_max_epi16(halves, _mm256_set1_epi16(low));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out),
                            _mm256_min_epi16(raised, _mm256_set1_epi16(high)));
    }
};

#include "Kernels/fir_kernel.inl"

}  // namespace

const FirKernels fir_avx2 = {"avx2", filter_line<std::uint8_t>, filter_line<std::uint16_t>};

}  // namespace movane
