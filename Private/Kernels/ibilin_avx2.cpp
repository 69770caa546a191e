#include "Kernels/ibilin_kernel.h"

#include <immintrin.h>

namespace movane {
namespace {

struct Lanes {
    static constexpr int kLanes = 16;

    static __m256i all(std::uint16_t value) {
        return _mm256_set1_epi16(static_cast<std::int16_t>(value));
    }
    static __m256i load(const void* at) {
        return _mm256_loadu_si256(static_cast<const __m256i*>(at));
    }
    static __m256i in_order(__m256i packed) {
        return _mm256_permute4x64_epi64(packed, 0b11'01'10'00);
    }
    static __m256i lower_halves(const std::uint32_t* at) {
        const __m256i lower = _mm256_set1_epi32(0xFFFF);
        return in_order(_mm256_packus_epi32(_mm256_and_si256(load(at), lower),
                                            _mm256_and_si256(load(at + 8), lower)));
    }
    static __m256i upper_halves(const std::uint32_t* at) {
        return in_order(_mm256_packus_epi32(_mm256_srli_epi32(load(at), 16),
                                            _mm256_srli_epi32(load(at + 8), 16)));
    }
    static void store(__m256i values, std::uint16_t* at) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(at), values);
    }

    static __m256i mix(__m256i a, __m256i b, __m256i fractions) {
        const __m256i low = _mm256_min_epu16(a, b), high = _mm256_max_epu16(a, b);
        const __m256i rests   = _mm256_sub_epi16(_mm256_setzero_si256(), fractions);
        const __m256i weights = _mm256_blendv_epi8(fractions, rests, _mm256_cmpeq_epi16(high, a));
        return _mm256_add_epi16(low, _mm256_mulhi_epu16(_mm256_sub_epi16(high, low), weights));
    }
};

#include "Kernels/ibilin_kernel.inl"

}  // namespace

const IbilinKernels ibilin_avx2 = {"avx2", mix_columns<std::uint8_t>, mix_columns<std::uint16_t>,
                                   mix_lines<std::uint8_t>, mix_lines<std::uint16_t>};

}  // namespace movane
