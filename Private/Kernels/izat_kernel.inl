// Resizing, written against the lanes of the including file.
//
// All sums count modulo 2^32, so products may be split and added in any order. Processors multiply
// 16 by 16 bits and add neighbours: samples side by side in a line, or the same place in two lines.

#include "Kernels/strip.inl"

// --- a line of another width -----------------------------------------------------------------

// 16-bit samples count less 32768, so that they fit 16 bits with sign; the sum of the weights makes
// up for it.
template <class Sample>
constexpr int kMiddle = sizeof(Sample) == 1 ? 0 : 32768;

template <class Sample>
void scale_line(const ScaleLine<Sample>& line) {
    gather<kMiddle<Sample>>(line.in, line.in_step, line.in_count, line.samples);
    const ColumnTable& table = line.table;
    for (int x = 0; x < table.count; x += Lanes::kColumns) {
        auto sums = table.taps == kShortRow ? Lanes::sums_of_short_rows(line.samples, table, x)
                                            : Lanes::sums_of_long_rows(line.samples, table, x);
        if constexpr (kMiddle<Sample> != 0)
            sums = Lanes::add(sums, Lanes::load_sums(table.sums + x));
        Lanes::store_upper_halves(Lanes::add(sums, Lanes::all(line.bias)), line.out + x);
    }
}

// --- a line of several -----------------------------------------------------------------------

struct LinePairs {
    LinePair pair[(kIzatMaxLines + 1) / 2];
    int count = 0;

    void add(const std::int16_t* first, const std::int16_t* second, std::uint32_t weights) {
        pair[count] = {first, second, weights};
        count += weights != 0 ? 1 : 0;
    }
};

void split_weights(const std::int16_t* const* lines, const std::int32_t* weights, int count,
                   LinePairs& upper, LinePairs& lower) {
    for (int k = 0; k < count; k += 2) {
        const bool is_alone      = k + 1 == count;
        const auto* const second = lines[is_alone ? k : k + 1];
        const auto w0            = static_cast<std::uint32_t>(weights[k]);
        const auto w1            = is_alone ? 0 : static_cast<std::uint32_t>(weights[k + 1]);
        // Half a unit makes up for the sign of the lower half.
        upper.add(lines[k], second, (w0 + 0x8000) >> 16 | ((w1 + 0x8000) & 0xFFFF0000));
        lower.add(lines[k], second, (w0 & 0xFFFF) | w1 << 16);
    }
}

template <class Sample>
void blend_lines(const BlendLines<Sample>& blend) {
    constexpr int kStrip = 256;  // outputs
    static_assert(kStrip % kIzatBlock == 0 && kIzatBlock % Lanes::kPlaces == 0);
    LinePairs upper, lower;
    split_weights(blend.lines, blend.weights_16_16, blend.line_count, upper, lower);

    alignas(64) std::uint16_t results[kStrip];
    for (int first = 0; first < blend.count; first += kStrip) {
        const int count = blend.count - first < kStrip ? blend.count - first : kStrip;
        for (int x = 0; x < count; x += Lanes::kPlaces) {
            auto sums = Lanes::zero_places();
            for (int k = 0; k < upper.count; ++k)
                Lanes::add_products(sums, upper.pair[k], first + x);
            Lanes::raise(sums, blend.bias);
            for (int k = 0; k < lower.count; ++k)
                Lanes::add_products(sums, lower.pair[k], first + x);
            Lanes::store_upper_halves(sums, results + x);
        }
        store_strip(results, count, blend.out + first * blend.out_step, blend.out_step);
    }
}
