// Random numbers beside std::minstd_rand, the power table beside powf.
//
// Every row fills the same buffer; the unit is a number. std::minstd_rand is the generator of
// random_val() with another multiplier. Its numbers are scaled in two ways: by 2^-31 as
// random_val() does, and by std::uniform_real_distribution, which is what its users write.

#include "movane/numerics.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <random>

namespace {

constexpr int kNumbers = 4096;

template <class Number, class Next>
void fill(benchmark::State& state, Next next) {
    std::array<Number, kNumbers> numbers{};
    for (auto _ : state) {
        for (Number& number : numbers) number = next();
        benchmark::DoNotOptimize(numbers.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kNumbers);
}

void random_movane(benchmark::State& state) {
    int* generator = random_new(1);
    fill<float>(state, [=] { return random_val(generator); });
    random_kill(generator);
}

void ran3_movane(benchmark::State& state) {
    TRan3 generator(1);
    fill<float>(state, [&] { return generator.Generate(); });
}

void minstd_scaled(benchmark::State& state) {
    std::minstd_rand generator(1);
    fill<float>(state, [&] { return static_cast<float>(static_cast<int>(generator()) * 0x1p-31); });
}

void minstd_uniform(benchmark::State& state) {
    std::minstd_rand generator(1);
    std::uniform_real_distribution<float> uniform;
    fill<float>(state, [&] { return uniform(generator); });
}

struct Pairs {
    Pairs() {
        std::mt19937 random(1);
        std::generate(x.begin(), x.end(), [&] { return static_cast<unsigned short>(random()); });
        std::generate(y.begin(), y.end(), [&] { return static_cast<unsigned short>(random()); });
    }
    std::array<unsigned short, kNumbers> x, y, out{};
};

void power_movane(benchmark::State& state) {
    Pairs pairs;
    TFastPow table(8, 8);
    for (auto _ : state) {
        table.MultiCalculate(kNumbers, pairs.x.data(), pairs.y.data(), pairs.out.data());
        benchmark::DoNotOptimize(pairs.out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kNumbers);
}

void power_powf(benchmark::State& state) {
    Pairs pairs;
    for (auto _ : state) {
        for (std::size_t i = 0; i < pairs.out.size(); ++i) {
            const float x = static_cast<float>(pairs.x[i]) / 65535.0F;
            const float y = static_cast<float>(pairs.y[i]) / 65535.0F;
            pairs.out[i]  = static_cast<unsigned short>(std::pow(x, y) * 65535.0F);
        }
        benchmark::DoNotOptimize(pairs.out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kNumbers);
}

}  // namespace

BENCHMARK(random_movane)->Name("random_val/movane");
BENCHMARK(minstd_scaled)->Name("random_val/std::minstd_rand");
BENCHMARK(minstd_uniform)->Name("random_val/std::uniform_real_distribution");
BENCHMARK(ran3_movane)->Name("TRan3/movane");
BENCHMARK(minstd_scaled)->Name("TRan3/std::minstd_rand");
BENCHMARK(power_movane)->Name("TFastPow/movane");
BENCHMARK(power_powf)->Name("TFastPow/powf");

BENCHMARK_MAIN();
