// Bezier curves: points per second of uniform polylines and of least-squares fits.
//
// Scalar only. In a polyline each point is the sum of the one before and a difference; x and y
// already share the lanes of the baseline's SSE2. A fit spends its time in Newton steps whose
// number differs from point to point: four points side by side in AVX2, with masks, made 10
// points 1.25 times and 1000 points 1.7 times as fast, which is not worth a second text.

#include "movane/numerics.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

Bezier* arch() {
    Bezier* b = bezier_new(3, 0, 0, 1000, 200);
    bezier_set_controlp(b, 0, 150, 700);
    bezier_set_controlp(b, 1, 800, 900);
    return b;
}

void polyline(benchmark::State& state, double bound) {
    Bezier* b                = arch();
    std::int64_t points_made = 0;
    for (auto _ : state) {
        double* points;
        points_made += bezier_fvector(b, bound, &points) + 1;
        benchmark::DoNotOptimize(points);
        benchmark::ClobberMemory();
        std::free(points);
    }
    state.SetItemsProcessed(points_made);
    bezier_kill(b);
}

// Points along the arch as a tracer would find them, on pixels.
void fit(benchmark::State& state, int count) {
    Bezier* b = arch();
    std::mt19937 random(1);
    std::uniform_real_distribution<double> jitter(-0.3, 0.3);
    std::vector<double> x, y;
    for (int i = 0; i < count; ++i) {
        double px, py;
        const double at = i == 0 || i == count - 1 ? 0 : jitter(random);
        bezier_get(b, (i + at) / (count - 1), &px, &py);
        x.push_back(std::round(px));
        y.push_back(std::round(py));
    }
    double lse = 0, max_err = 0;
    for (auto _ : state) {
        bezier_fit(b, count, x.data(), y.data(), 0, 0, 0, 0, 0, 0, &lse, &max_err, 0);
        benchmark::DoNotOptimize(lse);
    }
    state.SetItemsProcessed(state.iterations() * count);
    state.counters["error"] = max_err;
    bezier_kill(b);
}

}  // namespace

int main(int argc, char** argv) {
    for (const double bound : {1.0, 0.01, 0.0001}) {
        const std::string name = "polyline within " + std::to_string(bound) + " pixels/scalar";
        benchmark::RegisterBenchmark(name.c_str(), polyline, bound);
    }
    for (const int count : {10, 100, 1000}) {
        const std::string name = "fit of " + std::to_string(count) + " points/scalar";
        benchmark::RegisterBenchmark(name.c_str(), fit, count);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
