// Bilinear resampling, written against the lanes of the including file.

#include "Kernels/strip.inl"

constexpr int kStrip = 256;  // outputs
static_assert(kStrip % kIbilinBlock == 0 && kIbilinBlock % Lanes::kLanes == 0);

template <class Sample>
void mix_columns(const MixColumns<Sample>& columns) {
    alignas(64) std::uint32_t pairs[kStrip];  // a in the lower half, b in the upper
    for (int first = 0; first < columns.count; first += kStrip) {
        const int count = columns.count - first < kStrip ? columns.count - first : kStrip;
        const std::int32_t *const left = columns.left + first, *const right = columns.right + first;
        const int filled = (count + kIbilinBlock - 1) / kIbilinBlock * kIbilinBlock;
        for (int x = 0; x < filled; ++x)
            pairs[x] = columns.in[left[x]] | std::uint32_t{columns.in[right[x]]} << 16;
        for (int x = 0; x < count; x += Lanes::kLanes) {
            const auto fractions = Lanes::load(columns.fractions + first + x);
            Lanes::store(Lanes::mix(Lanes::lower_halves(pairs + x), Lanes::upper_halves(pairs + x),
                                    fractions),
                         columns.out + first + x);
        }
    }
}

template <class Sample>
void mix_lines(const MixLines<Sample>& lines) {
    alignas(64) std::uint16_t results[kStrip];
    const auto fraction = Lanes::all(lines.fraction);
    for (int first = 0; first < lines.count; first += kStrip) {
        const int count = lines.count - first < kStrip ? lines.count - first : kStrip;
        for (int x = 0; x < count; x += Lanes::kLanes)
            Lanes::store(Lanes::mix(Lanes::load(lines.upper + first + x),
                                    Lanes::load(lines.lower + first + x), fraction),
                         results + x);
        store_strip(results, count, lines.out + first * lines.out_step, lines.out_step);
    }
}
