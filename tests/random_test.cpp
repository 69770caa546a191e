// Both generators against the sequences that define them.

#include "movane/numerics.h"

#include "reference/random_reference.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

namespace {

using movane_tests::scaled_reference;
using movane_tests::subtractive_reference;

constexpr int kModulus = 2147483647;

struct Kill {
    void operator()(int* state) const { EXPECT_EQ(random_kill(state), 0); }
};
using State = std::unique_ptr<int, Kill>;

TEST(Random, ReducesItsSeed) {
    struct Row {
        int seed, state;
    };
    for (const Row& row : {Row{0, 1}, Row{kModulus, 1}, Row{5, 5}, Row{-5, -5}, Row{-kModulus, 1},
                           Row{INT_MIN, -1}, Row{kModulus - 1, kModulus - 1}}) {
        EXPECT_EQ(*State(random_new(row.seed)), row.state) << row.seed;
    }
    EXPECT_EQ(random_kill(nullptr), 0);
}

TEST(Random, FollowsTheMinimalStandardGenerator) {
    std::vector<int> seeds{1, -1, 2, 127773, -127773, kModulus - 1, 1 - kModulus};
    std::mt19937 random(1);
    for (int i = 0; i < 200; ++i) seeds.push_back(static_cast<int>(random()));
    for (const int seed : seeds) {
        const State state(random_new(seed));
        // A negative state stands for its complement.
        const std::int64_t start = *state < 0 ? std::int64_t{*state} + kModulus : *state;
        std::minstd_rand0 standard(static_cast<std::uint32_t>(start));
        for (int i = 0; i < 1000; ++i) {
            const auto expected = static_cast<int>(standard());
            const float value   = static_cast<float>(std::ldexp(expected, -31));
            ASSERT_EQ(random_val(state.get()), value) << seed;
            ASSERT_EQ(*state, expected) << seed;
        }
    }
}

TEST(Random, StartsWithTheMultiplierAndCanRoundUpToOne) {
    EXPECT_EQ(random_val(State(random_new(0)).get()), 16807 * 0x1p-31F);
    const State state(random_new(739806647));
    EXPECT_EQ(random_val(state.get()), 1.0F);
    EXPECT_EQ(*state, kModulus - 1);
}

std::uint64_t magnitude(long seed) {
    return seed < 0 ? 0 - static_cast<std::uint64_t>(seed) : static_cast<std::uint64_t>(seed);
}

TEST(Ran3, FollowsTheSubtractiveRecurrence) {
    std::vector<long> seeds{0, 1, 161803398, 161803399, 1000000000, 1161803398, LONG_MAX, LONG_MIN};
    std::mt19937_64 random(1);
    for (int i = 0; i < 50; ++i) seeds.push_back(static_cast<long>(random()));
    for (const long seed : seeds) {
        TRan3 generator(seed), mirrored(seed == LONG_MIN ? seed : -seed);
        for (const std::int64_t m : subtractive_reference(magnitude(seed), 500)) {
            const float value = generator.Generate();
            ASSERT_EQ(value, scaled_reference(m)) << seed << ' ' << m;
            ASSERT_EQ(mirrored.Generate(), value) << seed;
        }
    }
}

TEST(Ran3, StaysBelowOne) {
    constexpr long kSeed = 475964447;  // its third number is the greatest there is
    ASSERT_EQ(subtractive_reference(kSeed, 3).back(), TRan3::MBIG - 1);
    TRan3 generator(kSeed);
    generator.Generate();
    generator.Generate();
    EXPECT_EQ(generator.Generate(), std::nextafter(1.0F, 0.0F));
}

TEST(Ran3, CopiesContinueOnTheirOwn) {
    TRan3 original(7);
    for (int i = 0; i < 70; ++i) original.Generate();
    const TRan3 constructed(original);
    TRan3 assigned(1);
    EXPECT_EQ(&(assigned = constructed), &assigned);
    std::vector<float> first, second;
    for (int i = 0; i < 100; ++i) first.push_back(original.Generate());
    for (int i = 0; i < 100; ++i) second.push_back(assigned.Generate());
    EXPECT_EQ(first, second);
}

}  // namespace
