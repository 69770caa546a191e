// Both generators against the sequences that define them.

#include "movane/numerics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace {

constexpr int kModulus = 2147483647;

TEST(Random, FollowsTheMinimalStandardGenerator) {
    // The state after 739806647 is the highest, which rounds up to 1; the next seed and its
    // negative need both steps of the reduction.
    std::vector<int> seeds{0,         1,       -5,        kModulus - 1, kModulus,
                           -kModulus, INT_MIN, 739806647, 917666898,    -917666898};
    std::mt19937 random(1);
    for (int i = 0; i < 200; ++i) seeds.push_back(static_cast<int>(random()));
    for (const int seed : seeds) {
        int* const state = random_new(seed);
        // A negative state stands for its complement.
        const int start = seed % kModulus;
        EXPECT_EQ(*state, start == 0 ? 1 : start);
        std::minstd_rand0 standard(static_cast<unsigned>(start < 0 ? start + kModulus : start));
        for (int i = 0; i < 1000; ++i) {
            const auto expected = static_cast<int>(standard());
            ASSERT_EQ(random_val(state), static_cast<float>(std::ldexp(expected, -31))) << seed;
            ASSERT_EQ(*state, expected) << seed;
        }
        EXPECT_EQ(random_kill(state), 0);
    }
    EXPECT_EQ(random_kill(nullptr), 0);
}

// x(n) = x(n-55) - x(n-24) modulo 10^9, with no ring and no indices. The first 55 terms are one
// more difference sequence, v(i+1) = v(i-1) - v(i) from v(0) = |161803398 - |seed|| and v(1) = 1,
// scattered so that term 21 * i modulo 55 is v(i); the next 220 terms are warm-up.
std::vector<std::int64_t> subtractive(std::int64_t seed, std::size_t count) {
    constexpr std::int64_t kBase = 1000000000;
    const auto minus = [](std::int64_t a, std::int64_t b) { return (a - b + kBase) % kBase; };
    const std::uint64_t magnitude = seed < 0 ? 0 - static_cast<std::uint64_t>(seed) : seed;
    const std::uint64_t distance =
        magnitude < 161803398 ? 161803398 - magnitude : magnitude - 161803398;
    std::vector<std::int64_t> v{static_cast<std::int64_t>(distance % kBase), 1}, x(55);
    while (v.size() < 55) v.push_back(minus(v[v.size() - 2], v[v.size() - 1]));
    for (std::size_t i = 0; i < 55; ++i) x[(21 * i + 54) % 55] = v[i];
    while (x.size() < 275 + count) x.push_back(minus(x[x.size() - 55], x[x.size() - 24]));
    return {x.begin() + 275, x.end()};
}

TEST(Ran3, FollowsTheSubtractiveRecurrence) {
    // The third number of 475964447 is the greatest there is.
    std::vector<long> seeds{0, 161803398, 161803399, -475964447, 1161803398, LONG_MAX, LONG_MIN};
    std::mt19937_64 random(1);
    for (int i = 0; i < 50; ++i) seeds.push_back(static_cast<long>(random()));
    for (const long seed : seeds) {
        TRan3 generator(seed), assigned(7);
        for (const std::int64_t m : subtractive(seed, 500)) {
            const TRan3 copy(generator);
            assigned = copy;
            // The product of two floats is exact in double; 1 becomes the float below.
            const double product = static_cast<double>(static_cast<float>(m)) * 1e-9F;
            const float value = std::min(static_cast<float>(product), std::nextafter(1.0F, 0.0F));
            ASSERT_EQ(generator.Generate(), value) << seed << ' ' << m;
            ASSERT_EQ(assigned.Generate(), value) << seed << ' ' << m;
        }
    }
}

}  // namespace
