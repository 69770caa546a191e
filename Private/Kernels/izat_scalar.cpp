#include "Kernels/izat_kernel.h"

namespace movane {
namespace {

// One sum at a time: the meaning of each operation.
struct Lanes {
    static constexpr int kColumns = 1;
    static constexpr int kPlaces  = 1;

    static std::uint32_t product(std::int16_t sample, std::int16_t weight) {
        return static_cast<std::uint32_t>(sample * weight);
    }

    static std::uint32_t sums_of_long_rows(const std::int16_t* samples, const ColumnTable& table,
                                           int x) {
        const std::ptrdiff_t row = std::ptrdiff_t{x} * table.taps;
        samples += table.places[x];
        std::uint32_t upper = 0, lower = 0;
        for (int k = 0; k < table.taps; ++k) lower += product(samples[k], table.lower[row + k]);
        for (int k = 0; table.upper && k < table.taps; ++k)
            upper += product(samples[k], table.upper[row + k]);
        return (upper << 16) + lower;
    }
    static std::uint32_t sums_of_short_rows(const std::int16_t* samples, const ColumnTable& table,
                                            int x) {
        return sums_of_long_rows(samples, table, x);
    }
    static std::uint32_t all(std::uint32_t value) { return value; }
    static std::uint32_t load_sums(const std::uint32_t* at) { return *at; }
    static std::uint32_t add(std::uint32_t a, std::uint32_t b) { return a + b; }
    static void store_upper_halves(std::uint32_t sum, std::int16_t* out) {
        *out = static_cast<std::int16_t>(sum >> 16);
    }

    static std::uint32_t zero_places() { return 0; }
    static void add_products(std::uint32_t& sum, const LinePair& pair, int x) {
        sum += product(pair.first[x], static_cast<std::int16_t>(pair.weights & 0xFFFF)) +
               product(pair.second[x], static_cast<std::int16_t>(pair.weights >> 16));
    }
    static void raise(std::uint32_t& sum, std::uint32_t bias) { sum = (sum << 16) + bias; }
    static void store_upper_halves(std::uint32_t sum, std::uint16_t* out) {
        *out = static_cast<std::uint16_t>(sum >> 16);
    }
};

#include "Kernels/izat_kernel.inl"

}  // namespace

const IzatKernels izat_scalar = {"scalar", scale_line<std::uint8_t>, scale_line<std::uint16_t>,
                                 blend_lines<std::uint8_t>, blend_lines<std::uint16_t>};

}  // namespace movane
