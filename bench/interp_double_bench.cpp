// Linear interpolators beside GSL: values per second, from tables of several sizes whose points
// are evenly spaced or not, at random places or along a ramp.
//
// GSL searches by bisection; its accelerator first looks at the segment found last.

#include "movane/interpolation.h"

#include <benchmark/benchmark.h>
#include <gsl/gsl_interp.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int kSamples = 4096;

struct Case {
    std::vector<double> x, y, in, out;
    lin_interp_double* curve;
    gsl_interp* peer;
    gsl_interp_accel* accelerator;

    Case(int points, bool is_even, bool is_ramp)
        : out(kSamples), curve(lin_interp_double_new(points, nullptr)) {
        std::mt19937 random(1);
        std::uniform_real_distribution<double> uniform(0, 1);
        for (int i = 0; i < points; ++i) {
            x.push_back(i == 0            ? 0
                        : i == points - 1 ? 1
                        : is_even         ? i / (points - 1.0)
                                          : uniform(random) * uniform(random));
            y.push_back(uniform(random));
        }
        std::sort(x.begin(), x.end());
        for (std::size_t i = 0; i < x.size(); ++i) lin_interp_double_insert(curve, x[i], y[i]);
        for (int i = 0; i < kSamples; ++i)
            in.push_back(is_ramp ? i / (kSamples - 1.0) : uniform(random));
        peer = gsl_interp_alloc(gsl_interp_linear, x.size());
        gsl_interp_init(peer, x.data(), y.data(), x.size());
        accelerator = gsl_interp_accel_alloc();
    }
    Case(const Case&)            = delete;
    Case& operator=(const Case&) = delete;
    ~Case() {
        lin_interp_double_kill(curve);
        gsl_interp_free(peer);
        gsl_interp_accel_free(accelerator);
    }
};

template <class Interpolate>
void measure(benchmark::State& state, Case* c, Interpolate interpolate) {
    for (auto _ : state) {
        for (std::size_t i = 0; i < kSamples; ++i) interpolate(c->in[i], &c->out[i]);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kSamples);
}

void by_movane(benchmark::State& state, Case* c) {
    measure(state, c, [&](double x, double* y) { lin_interp_double_inter(c->curve, x, y); });
}

void by_gsl(benchmark::State& state, Case* c, bool is_accelerated) {
    gsl_interp_accel* const accelerator = is_accelerated ? c->accelerator : nullptr;
    measure(state, c, [&](double x, double* y) {
        *y = gsl_interp_eval(c->peer, c->x.data(), c->y.data(), x, accelerator);
    });
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::unique_ptr<Case>> cases;
    for (const int points : {5, 33, 256, 4096}) {
        for (const bool is_even : {true, false}) {
            for (const bool is_ramp : {false, true}) {
                cases.push_back(std::make_unique<Case>(points, is_even, is_ramp));
                Case* const c          = cases.back().get();
                const std::string name = "curve of " + std::to_string(points) +
                                         (is_even ? ", even" : ", uneven") +
                                         (is_ramp ? ", ramp" : ", random");
                benchmark::RegisterBenchmark((name + "/movane").c_str(), by_movane, c);
                benchmark::RegisterBenchmark((name + "/gsl").c_str(), by_gsl, c, false);
                benchmark::RegisterBenchmark((name + "/gsl-accel").c_str(), by_gsl, c, true);
            }
        }
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
