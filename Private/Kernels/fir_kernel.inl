// The FIR filter of one line, written against the lanes of the including file.
//
// An output is the sum of sample * weight modulo 2^32, so products may be split and added in any
// order. Samples are brought to 16 bits with sign: 8-bit samples as they are, 16-bit samples less
// 32768, for which 32768 * (sum of the weights) is added at the end. Weights are split into
// signed halves, weight = upper * 65536 + lower. That leaves products of 16 by 16 bits, which
// processors add up in pairs: one step multiplies two neighbouring samples by two weights, for
// outputs at even and at odd places in turn.
//
// The lines are brought into a tile, a strip of outputs at a time, where samples of any step lie
// side by side. A tap is a pair of weights and the place of its samples in the tile; pairs of zero
// are left out, and so for most kernels is nearly every upper half.

#include "Kernels/strip.inl"

constexpr int kStrip     = 256;          // outputs per tile
constexpr int kTileWidth = kStrip + 32;  // and the margin of the kernel
constexpr int kMaxTaps   = kFirMaxLines * (kFirMaxLines + 1) / 2;

// Outputs per block: as many sums of either parity as the processor's registers hold.
constexpr int kSumsPerBlock = sizeof(void*) == 8 ? 4 : 2;
constexpr int kBlock        = 2 * kSumsPerBlock * Lanes::kLanes;
static_assert(kStrip % kBlock == 0 && kTileWidth > kStrip + kFirMaxLines);

template <class Sample>
constexpr int kMiddle = sizeof(Sample) == 1 ? 0 : 32768;

struct Tap {
    int place;
    std::uint32_t weights;  // that of the left sample in the lower half
};

struct Taps {
    Tap tap[kMaxTaps];
    int count = 0;

    void add(int place, std::uint32_t weights) {
        tap[count] = {place, weights};
        count += weights != 0 ? 1 : 0;
    }
};

// Returns the sum of the weights.
std::uint32_t split_weights(const std::int32_t* weights, int size, Taps& upper, Taps& lower) {
    std::uint32_t sum = 0;
    for (int i = 0; i < size; ++i, weights += size) {
        for (int j = 0; j < size; j += 2) {
            const auto left  = static_cast<std::uint32_t>(weights[j]);
            const auto right = j + 1 < size ? static_cast<std::uint32_t>(weights[j + 1]) : 0;
            const int place  = i * kTileWidth + j;
            // Half a unit makes up for the sign of the lower half.
            upper.add(place, (left + 0x8000) >> 16 | ((right + 0x8000) & 0xFFFF0000));
            lower.add(place, (left & 0xFFFF) | right << 16);
            sum += left + right;
        }
    }
    return sum;
}

template <class Sample>
void load_tile(const FirLine<Sample>& line, int first, int count, std::int16_t* tile) {
    for (int i = 0; i < line.size; ++i)
        gather<kMiddle<Sample>>(line.rows[i] + first * line.in_step, line.in_step, count,
                                tile + i * kTileWidth);
}

struct BlockSums {
    Lanes::Sums even[kSumsPerBlock], odd[kSumsPerBlock];

    void add(const Taps& taps, const std::int16_t* tile) {
        for (int t = 0; t < taps.count; ++t) {
            const std::int16_t* samples = tile + taps.tap[t].place;
            for (int k = 0; k < kSumsPerBlock; ++k) {
                const std::int16_t* pairs = samples + k * 2 * Lanes::kLanes;
                even[k] = Lanes::add_products(even[k], pairs, taps.tap[t].weights);
                odd[k]  = Lanes::add_products(odd[k], pairs + 1, taps.tap[t].weights);
            }
        }
    }
};

template <class Sample>
void filter_line(const FirLine<Sample>& line) {
    Taps upper, lower;
    const std::uint32_t weight_sum = split_weights(line.weights_16_16, line.size, upper, lower);
    const std::uint32_t bias       = weight_sum * kMiddle<Sample>;

    // The upper half of a positive sum is at most 32767; a negative cap is below every sum.
    const int cap   = line.max_value;
    const auto high = static_cast<std::int16_t>(cap < 32767 ? cap : 32767);
    const auto low  = cap < 0 ? high : std::int16_t{0};

    alignas(64) std::int16_t tile[kFirMaxLines * kTileWidth];
    alignas(64) std::uint16_t results[kStrip];
    // The last block of a strip may be filled in part only; its other outputs are not stored.
    for (int i = 0; i < line.size * kTileWidth; ++i) tile[i] = 0;
    for (int first = 0; first < line.count; first += kStrip) {
        const int count = line.count - first < kStrip ? line.count - first : kStrip;
        load_tile(line, first, count + line.size - 1, tile);
        for (int x = 0; x < count; x += kBlock) {
            BlockSums sums;
            for (int k = 0; k < kSumsPerBlock; ++k) sums.even[k] = sums.odd[k] = Lanes::all(0);
            sums.add(upper, tile + x);
            for (int k = 0; k < kSumsPerBlock; ++k) {
                sums.even[k] = Lanes::raise(sums.even[k], bias);
                sums.odd[k]  = Lanes::raise(sums.odd[k], bias);
            }
            sums.add(lower, tile + x);
            for (int k = 0; k < kSumsPerBlock; ++k)
                Lanes::store_clamped(sums.even[k], sums.odd[k], low, high,
                                     results + x + k * 2 * Lanes::kLanes);
        }
        store_strip(results, count, line.out + first * line.out_step, line.out_step);
    }
}
