#include "Kernels/ibilin_kernel.h"

#include <immintrin.h>

namespace movane {
namespace {

struct Lanes {
    static constexpr int kLanes = 8;

    static __m128i all(std::uint16_t value) {
        return _mm_set1_epi16(static_cast<std::int16_t>(value));
    }
    static __m128i load(const void* at) { return _mm_loadu_si128(static_cast<const __m128i*>(at)); }
    static __m128i lower_halves(const std::uint32_t* at) {
        const __m128i lower = _mm_set1_epi32(0xFFFF);
        return _mm_packus_epi32(_mm_and_si128(load(at), lower), _mm_and_si128(load(at + 4), lower));
    }
    static __m128i upper_halves(const std::uint32_t* at) {
        return _mm_packus_epi32(_mm_srli_epi32(load(at), 16), _mm_srli_epi32(load(at + 4), 16));
    }
    static void store(__m128i values, std::uint16_t* at) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(at), values);
    }

    static __m128i mix(__m128i a, __m128i b, __m128i fractions) {
        const __m128i low = _mm_min_epu16(a, b), high = _mm_max_epu16(a, b);
        const __m128i rests   = _mm_sub_epi16(_mm_setzero_si128(), fractions);
        const __m128i weights = _mm_blendv_epi8(fractions, rests, _mm_cmpeq_epi16(high, a));
        return _mm_add_epi16(low, _mm_mulhi_epu16(_mm_sub_epi16(high, low), weights));
    }
};

#include "Kernels/ibilin_kernel.inl"

}  // namespace

const IbilinKernels ibilin_sse41 = {"sse41", mix_columns<std::uint8_t>, mix_columns<std::uint16_t>,
                                    mix_lines<std::uint8_t>, mix_lines<std::uint16_t>};

}  // namespace movane
