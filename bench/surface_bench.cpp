// The top surface of a press: what it costs to make one and its tables, and to convert colours.
//
// The device is a press by the Neugebauer equations, with dot gain; a slower one computes the same
// 10 times. How much of the time is the device's shows as device_share.

#include "movane/gamut.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstddef>
#include <ctime>
#include <random>
#include <vector>

namespace {

constexpr int kInks = 4;

// Paper (on the lightness axis, as the table of angles asks for), cyan, magenta, cyan + magenta,
// yellow ... as bits of an index; black takes most of it.
constexpr double kOverprints[8][3] = {{95, 0, 0},   {55, -37, -50}, {48, 74, -3}, {24, 22, -46},
                                      {89, -5, 93}, {50, -68, 33},  {47, 68, 48}, {23, 0, 0}};

struct Press {
    int rounds = 1;  // of the same computation
    long calls = 0;

    static void mix(const double* device, double* colour) {
        double area[kInks];
        for (int k = 0; k < kInks; ++k) area[k] = std::pow(1 - device[k], 0.8);
        colour[0] = colour[1] = colour[2] = 0;
        for (int p = 0; p < 8; ++p) {
            double weight = 1;
            for (int k = 0; k < 3; ++k) weight *= (p >> k & 1) != 0 ? area[k] : 1 - area[k];
            const double light = 1 - 0.85 * area[3];
            for (int c = 0; c < 3; ++c) colour[c] += weight * light * kOverprints[p][c];
        }
    }

    static int forward(void* user_data, const double* device, double* colour) {
        Press& press = *static_cast<Press*>(user_data);
        ++press.calls;
        for (int i = 0; i < press.rounds; ++i) {
            mix(device, colour);
            benchmark::ClobberMemory();
        }
        return 0;
    }
};

struct Grid {
    explicit Grid(int count) : values(static_cast<std::size_t>(count)) {
        for (int i = 0; i < count; ++i)
            values[static_cast<std::size_t>(i)] = static_cast<double>(i) / (count - 1);
        for (int k = 0; k < kInks; ++k) {
            pointers[k] = values.data();
            counts[k]   = count;
        }
    }

    TTriangularTopSurface surface(Press& press, int steps) {
        return {kInks, pointers, counts, &press, 0, Press::forward, steps, steps};
    }

    std::vector<double> values;
    const double* pointers[kInks];
    int counts[kInks];
};

std::vector<double> colours(int count) {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> uniform(-40, 40);
    std::vector<double> triples;
    for (int i = 0; i < count; ++i)
        triples.insert(triples.end(), {45 + uniform(random), uniform(random), uniform(random)});
    return triples;
}

double processor_seconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

double seconds_per_call(int rounds) {
    constexpr int kCalls = 200000;
    double device[kInks] = {0.1, 0.7, 0.4, 1}, colour[3];
    Press press{rounds};
    const double start = processor_seconds();
    for (int i = 0; i < kCalls; ++i) {
        device[0] = i % 16 / 16.0;
        Press::forward(&press, device, colour);
        benchmark::DoNotOptimize(colour);
    }
    return (processor_seconds() - start) / kCalls;
}

void construct(benchmark::State& state) {
    error_set(0);
    Grid grid(static_cast<int>(state.range(0)));
    Press press{static_cast<int>(state.range(1))};
    const double start = processor_seconds();
    for (auto _ : state) {
        auto surface = grid.surface(press, 20);
        benchmark::DoNotOptimize(surface.GetNrDifferentPrimCombs());
    }
    state.SetItemsProcessed(state.iterations());
    state.counters["device_calls"] =
        benchmark::Counter(static_cast<double>(press.calls), benchmark::Counter::kAvgIterations);
    const double spent = processor_seconds() - start;
    state.counters["device_share"] =
        static_cast<double>(press.calls) * seconds_per_call(press.rounds) / spent;
}

void tabulate(benchmark::State& state) {
    error_set(0);
    Grid grid(9);
    const int steps = static_cast<int>(state.range(0));
    Press press;
    const double axis[] = {50, 0, 0};
    double norm[3], excess = 0;
    for (auto _ : state) {
        auto surface = grid.surface(press, steps);
        benchmark::DoNotOptimize(surface.DetermineNormCoordMinGam(axis, norm, &excess, 1));
    }
    state.SetItemsProcessed(state.iterations());
}

template <bool kIsMinGam>
void convert(benchmark::State& state) {
    error_set(0);
    constexpr int kColours = 4096;
    Grid grid(9);
    Press press;
    auto surface  = grid.surface(press, 20);
    const auto in = colours(kColours);
    std::vector<double> norm(in.size()), excess(kColours);
    for (auto _ : state) {
        const int result =
            kIsMinGam
                ? surface.DetermineNormCoordMinGam(in.data(), norm.data(), excess.data(), kColours)
                : surface.DetermineNormCoord(in.data(), norm.data(), excess.data(), kColours);
        if (result != 0) state.SkipWithError("no surface");
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kColours);
}

BENCHMARK(construct)->Name("construct/movane")->ArgsProduct({{5, 9, 17, 33}, {1, 10}});
BENCHMARK(tabulate)->Name("tables/movane")->Arg(10)->Arg(20)->Arg(40);
BENCHMARK(convert<false>)->Name("convert/movane");
BENCHMARK(convert<true>)->Name("convert-tabulated/movane");

}  // namespace
