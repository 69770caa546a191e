// Random numbers: the minimal standard generator and a subtractive lagged one.
//
// Both are integer sequences, scaled to 0..1 on the way out, so that every target yields the same
// numbers.

#include "movane/numerics.h"

#include "Support/memory.h"
#include "Support/report.h"

#include <cstdint>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/random"};

// s -> kMultiplier * s modulo kModulus.
constexpr int kModulus     = 2147483647;  // 2^31 - 1
constexpr int kModulusBits = 31;
constexpr int kMultiplier  = 16807;
constexpr double kScale    = 4.656612873077393e-10;  // 2^-31

constexpr int kLags         = 55;
constexpr int kPartnerAhead = 31;  // which is 24 back in a ring of 55
constexpr int kWarmUpRounds = 4;
constexpr int kSpread       = 21;  // seeds the ring in an order that is not the sequence's
constexpr float kBelowOne   = 0x1.fffffep-1F;

}  // namespace

// --- the minimal standard generator -----------------------------------------------------------

int* random_new(int seed) {
    auto state = movane::create<int>();
    if (!state) {
        report("Random_new : allocation failed");
        return nullptr;
    }
    *state = seed % kModulus;
    if (*state == 0) *state = 1;
    return state.release();
}

int random_kill(int* state) {
    movane::destroy(state);
    return 0;
}

float random_val(int* state) {
    // 2^31 is 1 modulo 2^31 - 1: the high bits of the product are added to the low ones.
    const std::int64_t product = std::int64_t{kMultiplier} * *state;
    std::int64_t next          = (product & kModulus) + (product >> kModulusBits);
    if (next > kModulus) next -= kModulus;
    if (next <= 0) next += kModulus;
    *state = static_cast<int>(next);
    return static_cast<float>(*state * kScale);
}

// --- the subtractive generator ----------------------------------------------------------------

const long TRan3::MBIG;
const long TRan3::MSEED;
const int TRan3::MZ;
const float TRan3::FAC = 1e-9F;

namespace {

int difference(int a, int b) {
    const int d = a - b;
    return d < TRan3::MZ ? d + static_cast<int>(TRan3::MBIG) : d;
}

// The least seed has no positive counterpart, hence unsigned.
int distance_to_origin(long seed) {
    constexpr unsigned long kOrigin = TRan3::MSEED;
    constexpr unsigned long kBase   = TRan3::MBIG;

    const unsigned long magnitude =
        seed < 0 ? 0UL - static_cast<unsigned long>(seed) : static_cast<unsigned long>(seed);
    const unsigned long distance = magnitude > kOrigin ? magnitude - kOrigin : kOrigin - magnitude;
    return static_cast<int>(distance % kBase);
}

}  // namespace

TRan3::TRan3(long seed) : lag_table{}, next_index(0), partner_index(kPartnerAhead) {
    int m = distance_to_origin(seed);
    int k = 1;

    lag_table[kLags] = m;
    for (int i = 1; i < kLags; ++i) {
        const int j  = kSpread * i % kLags;
        lag_table[j] = k;
        k            = difference(m, k);
        m            = lag_table[j];
    }
    for (int round = 0; round < kWarmUpRounds; ++round) {
        for (int i = 1; i <= kLags; ++i) {
            const int partner = 1 + (i + kPartnerAhead - 1) % kLags;
            lag_table[i]      = difference(lag_table[i], lag_table[partner]);
        }
    }
}

TRan3::TRan3(const TRan3& other)            = default;
TRan3& TRan3::operator=(const TRan3& other) = default;

float TRan3::Generate() {
    if (++next_index > kLags) next_index = 1;
    if (++partner_index > kLags) partner_index = 1;

    const int m           = difference(lag_table[next_index], lag_table[partner_index]);
    lag_table[next_index] = m;

    // The numbers closest to MBIG round up to 1, which is not part of the range.
    const float value = static_cast<float>(m) * FAC;
    return value < 1.0F ? value : kBelowOne;
}
