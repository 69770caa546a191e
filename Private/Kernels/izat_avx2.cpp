#include "Kernels/izat_kernel.h"

#include <immintrin.h>

namespace movane {
namespace {

struct Lanes {
    static constexpr int kColumns = 8;
    static constexpr int kPlaces  = 16;

    static __m256i load(const std::int16_t* at) {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
    }
    static __m128i load_half(const std::int16_t* at) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
    }
    static __m256i load_halves(const std::int16_t* low, const std::int16_t* high) {
        return _mm256_inserti128_si256(_mm256_castsi128_si256(load_half(low)), load_half(high), 1);
    }
    static __m128i load_quarters(const std::int16_t* low, const std::int16_t* high) {
        return _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(low)),
                                  _mm_loadl_epi64(reinterpret_cast<const __m128i*>(high)));
    }
    static __m256i with_upper(__m256i lower, __m256i upper) {
        return _mm256_add_epi32(lower, _mm256_slli_epi32(upper, 16));
    }

    // Rows x+j and x+j+4 in the halves of a register, j from 0 to 3.
    static __m256i sums_of_long_rows(const std::int16_t* samples, const ColumnTable& table, int x) {
        __m256i sums[4];
        for (int j = 0; j < 4; ++j) {
            const std::int16_t* const low  = samples + table.places[x + j];
            const std::int16_t* const high = samples + table.places[x + j + 4];
            const std::ptrdiff_t low_row   = std::ptrdiff_t{x + j} * table.taps;
            const std::ptrdiff_t high_row  = std::ptrdiff_t{x + j + 4} * table.taps;
            __m256i lower = _mm256_setzero_si256(), upper = lower;
            for (int k = 0; k < table.taps; k += kLongRow) {
                const __m256i weights =
                    load_halves(table.lower + low_row + k, table.lower + high_row + k);
                lower = _mm256_add_epi32(
                    lower, _mm256_madd_epi16(load_halves(low + k, high + k), weights));
            }
            for (int k = 0; table.upper && k < table.taps; k += kLongRow) {
                const __m256i weights =
                    load_halves(table.upper + low_row + k, table.upper + high_row + k);
                upper = _mm256_add_epi32(
                    upper, _mm256_madd_epi16(load_halves(low + k, high + k), weights));
            }
            sums[j] = with_upper(lower, upper);
        }
        return _mm256_hadd_epi32(_mm256_hadd_epi32(sums[0], sums[1]),
                                 _mm256_hadd_epi32(sums[2], sums[3]));
    }

    static __m256i sums_of_four_short_rows(const std::int16_t* samples, const ColumnTable& table,
                                           int x) {
        const std::ptrdiff_t row   = std::ptrdiff_t{x} * kShortRow;
        const std::int32_t* places = table.places + x;
        const __m256i in           = _mm256_inserti128_si256(
                      _mm256_castsi128_si256(load_quarters(samples + places[0], samples + places[1])),
                      load_quarters(samples + places[2], samples + places[3]), 1);
        const __m256i lower = _mm256_madd_epi16(in, load(table.lower + row));
        if (!table.upper) return lower;
        return with_upper(lower, _mm256_madd_epi16(in, load(table.upper + row)));
    }
    static __m256i sums_of_short_rows(const std::int16_t* samples, const ColumnTable& table,
                                      int x) {
        const __m256i sums = _mm256_hadd_epi32(sums_of_four_short_rows(samples, table, x),
                                               sums_of_four_short_rows(samples, table, x + 4));
        return _mm256_permute4x64_epi64(sums, 0b11'01'10'00);
    }

    static __m256i all(std::uint32_t value) { return _mm256_set1_epi32(static_cast<int>(value)); }
    static __m256i load_sums(const std::uint32_t* at) {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
    }
    static __m256i add(__m256i a, __m256i b) { return _mm256_add_epi32(a, b); }
    static void store_upper_halves(__m256i sums, std::int16_t* out) {
        const __m256i halves = _mm256_srai_epi32(sums, 16);
        _mm_storeu_si128(
            reinterpret_cast<__m128i*>(out),
            _mm_packs_epi32(_mm256_castsi256_si128(halves), _mm256_extracti128_si256(halves, 1)));
    }

    // The unpacking below keeps to the halves of a register, and packing undoes it.
    struct Places {
        __m256i left, right;
    };
    static Places zero_places() { return {_mm256_setzero_si256(), _mm256_setzero_si256()}; }
    static void add_products(Places& sums, const LinePair& pair, int x) {
        const __m256i first = load(pair.first + x), second = load(pair.second + x);
        const __m256i weights = all(pair.weights);
        sums.left             = _mm256_add_epi32(
                        sums.left, _mm256_madd_epi16(_mm256_unpacklo_epi16(first, second), weights));
        sums.right = _mm256_add_epi32(
            sums.right, _mm256_madd_epi16(_mm256_unpackhi_epi16(first, second), weights));
    }
    static void raise(Places& sums, std::uint32_t bias) {
        const __m256i biases = all(bias);
        sums.left            = _mm256_add_epi32(_mm256_slli_epi32(sums.left, 16), biases);
        sums.right           = _mm256_add_epi32(_mm256_slli_epi32(sums.right, 16), biases);
    }
    static void store_upper_halves(const Places& sums, std::uint16_t* out) {
        const __m256i halves =
            _mm256_packs_epi32(_mm256_srai_epi32(sums.left, 16), _mm256_srai_epi32(sums.right, 16));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), halves);
    }
};

#include "Kernels/izat_kernel.inl"

}  // namespace

const IzatKernels izat_avx2 = {"avx2", scale_line<std::uint8_t>, scale_line<std::uint16_t>,
                               blend_lines<std::uint8_t>, blend_lines<std::uint16_t>};

}  // namespace movane
