#include "Kernels/izat_kernel.h"

#include <immintrin.h>

namespace movane {
namespace {

struct Lanes {
    static constexpr int kColumns = 4;
    static constexpr int kPlaces  = 8;

    static __m128i load(const std::int16_t* at) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
    }
    static __m128i load_half(const std::int16_t* at) {
        return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(at));
    }
    static __m128i with_upper(__m128i lower, __m128i upper) {
        return _mm_add_epi32(lower, _mm_slli_epi32(upper, 16));
    }

    static __m128i sums_of_long_rows(const std::int16_t* samples, const ColumnTable& table, int x) {
        __m128i sums[4];
        for (int j = 0; j < 4; ++j) {
            const std::int16_t* const in = samples + table.places[x + j];
            const std::ptrdiff_t row     = std::ptrdiff_t{x + j} * table.taps;
            __m128i lower = _mm_setzero_si128(), upper = lower;
            for (int k = 0; k < table.taps; k += kLongRow)
                lower =
                    _mm_add_epi32(lower, _mm_madd_epi16(load(in + k), load(table.lower + row + k)));
            for (int k = 0; table.upper && k < table.taps; k += kLongRow)
                upper =
                    _mm_add_epi32(upper, _mm_madd_epi16(load(in + k), load(table.upper + row + k)));
            sums[j] = with_upper(lower, upper);
        }
        return _mm_hadd_epi32(_mm_hadd_epi32(sums[0], sums[1]), _mm_hadd_epi32(sums[2], sums[3]));
    }

    static __m128i sums_of_two_short_rows(const std::int16_t* samples, const ColumnTable& table,
                                          int x) {
        const std::ptrdiff_t row = std::ptrdiff_t{x} * kShortRow;
        const __m128i in         = _mm_unpacklo_epi64(load_half(samples + table.places[x]),
                                                      load_half(samples + table.places[x + 1]));
        const __m128i lower      = _mm_madd_epi16(in, load(table.lower + row));
        if (!table.upper) return lower;
        return with_upper(lower, _mm_madd_epi16(in, load(table.upper + row)));
    }
    static __m128i sums_of_short_rows(const std::int16_t* samples, const ColumnTable& table,
                                      int x) {
        return _mm_hadd_epi32(sums_of_two_short_rows(samples, table, x),
                              sums_of_two_short_rows(samples, table, x + 2));
    }

    static __m128i all(std::uint32_t value) { return _mm_set1_epi32(static_cast<int>(value)); }
    static __m128i load_sums(const std::uint32_t* at) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
    }
    static __m128i add(__m128i a, __m128i b) { return _mm_add_epi32(a, b); }
    static void store_upper_halves(__m128i sums, std::int16_t* out) {
        const __m128i halves = _mm_srai_epi32(sums, 16);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_packs_epi32(halves, halves));
    }

    struct Places {
        __m128i left, right;
    };
    static Places zero_places() { return {_mm_setzero_si128(), _mm_setzero_si128()}; }
    static void add_products(Places& sums, const LinePair& pair, int x) {
        const __m128i first = load(pair.first + x), second = load(pair.second + x);
        const __m128i weights = all(pair.weights);
        sums.left =
            _mm_add_epi32(sums.left, _mm_madd_epi16(_mm_unpacklo_epi16(first, second), weights));
        sums.right =
            _mm_add_epi32(sums.right, _mm_madd_epi16(_mm_unpackhi_epi16(first, second), weights));
    }
    static void raise(Places& sums, std::uint32_t bias) {
        const __m128i biases = all(bias);
        sums.left            = _mm_add_epi32(_mm_slli_epi32(sums.left, 16), biases);
        sums.right           = _mm_add_epi32(_mm_slli_epi32(sums.right, 16), biases);
    }
    static void store_upper_halves(const Places& sums, std::uint16_t* out) {
        const __m128i halves =
            _mm_packs_epi32(_mm_srai_epi32(sums.left, 16), _mm_srai_epi32(sums.right, 16));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), halves);
    }
};

#include "Kernels/izat_kernel.inl"

}  // namespace

const IzatKernels izat_sse41 = {"sse41", scale_line<std::uint8_t>, scale_line<std::uint16_t>,
                                blend_lines<std::uint8_t>, blend_lines<std::uint16_t>};

}  // namespace movane
