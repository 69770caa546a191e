// The downhill simplex beside GSL's nmsimplex2 and NLopt's Nelder-Mead.
//
// All three start from the same point with the same step and stop as soon as a value below the
// same target is found, so that neither their convergence tests nor their last digits differ.
// Creating and releasing the minimiser is part of each round; the unit is a solve. The counter
// `evaluations` is the number of calls of the function in one solve, `least` the value it ended
// with: a row whose `least` is above the target gave up.

#include "movane/numerics.h"

#include <benchmark/benchmark.h>
#include <gsl/gsl_multimin.h>
#include <nlopt.h>

#include <cstddef>
#include <limits>
#include <string>
#include <vector>

namespace {

constexpr double kTarget       = 1e-8;
constexpr double kStep         = 0.5;
constexpr int kMostEvaluations = 100000;

struct Problem {
    double (*f)(const double* x, int n);
    int n;
    int evaluations = 0;

    double operator()(const double* x) {
        ++evaluations;
        return f(x, n);
    }
};

double bowl(const double* x, int n) {
    double sum = 0;
    for (int j = 0; j < n; ++j) sum += (j + 1) * (x[j] - 1) * (x[j] - 1);
    return sum;
}

double rosenbrock(const double* x, int n) {
    double sum = 0;
    for (int j = 0; j + 1 < n; ++j) {
        const double a = x[j + 1] - x[j] * x[j], b = 1 - x[j];
        sum += 100 * a * a + b * b;
    }
    return sum;
}

std::vector<double> start_of(int n) {
    std::vector<double> x(static_cast<std::size_t>(n), 1.0);
    for (std::size_t j = 0; j < x.size(); j += 2) x[j] = -1.2;
    return x;
}

// Each of the three returns the value it found.

double movane_solve(Problem& problem) {
    const auto f = [](void* p, void*, void*, const double* x) {
        return (*static_cast<Problem*>(p))(x);
    };
    const auto below_target = [](dhsm* h, void*, void*, void*, int, int lowest) {
        return h->values[lowest] < kTarget ? 0.0 : 1.0;
    };
    std::vector<double> x = start_of(problem.n);
    const std::vector<double> steps(x.size(), kStep);
    double least = 0;
    dhsm* h      = dhsm_new(f, below_target, problem.n);
    dhsm_init(h, nullptr, nullptr, nullptr, nullptr, steps.data(), x.data());
    dhsm_solve(h, &problem, nullptr, nullptr, 0.5, x.data(), kMostEvaluations, &least);
    dhsm_kill(h);
    return least;
}

double gsl_solve(Problem& problem) {
    const auto n = static_cast<std::size_t>(problem.n);
    gsl_multimin_function f{
        [](const gsl_vector* v, void* p) { return (*static_cast<Problem*>(p))(v->data); }, n,
        &problem};
    gsl_vector* x                  = gsl_vector_alloc(n);
    gsl_vector* steps              = gsl_vector_alloc(n);
    const std::vector<double> from = start_of(problem.n);
    for (std::size_t j = 0; j < n; ++j) gsl_vector_set(x, j, from[j]);
    gsl_vector_set_all(steps, kStep);
    gsl_multimin_fminimizer* m =
        gsl_multimin_fminimizer_alloc(gsl_multimin_fminimizer_nmsimplex2, n);
    gsl_multimin_fminimizer_set(m, &f, x, steps);
    double least = std::numeric_limits<double>::infinity();
    while (!(least < kTarget) && problem.evaluations < kMostEvaluations) {
        if (gsl_multimin_fminimizer_iterate(m) != 0) break;
        least = m->fval;
    }
    gsl_multimin_fminimizer_free(m);
    gsl_vector_free(steps);
    gsl_vector_free(x);
    return least;
}

double nlopt_solve(Problem& problem) {
    std::vector<double> x = start_of(problem.n);
    double least          = 0;
    nlopt_opt m           = nlopt_create(NLOPT_LN_NELDERMEAD, static_cast<unsigned>(problem.n));
    nlopt_set_min_objective(
        m,
        [](unsigned, const double* point, double*, void* p) {
            return (*static_cast<Problem*>(p))(point);
        },
        &problem);
    nlopt_set_initial_step1(m, kStep);
    nlopt_set_stopval(m, kTarget);
    nlopt_set_maxeval(m, kMostEvaluations);
    nlopt_optimize(m, x.data(), &least);
    nlopt_destroy(m);
    return least;
}

void minimise(benchmark::State& state, double (*solve)(Problem&), Problem problem) {
    double least = 0;
    for (auto _ : state) {
        problem.evaluations = 0;
        least               = solve(problem);
    }
    state.SetItemsProcessed(state.iterations());
    state.counters["evaluations"] = problem.evaluations;
    state.counters["least"]       = least;
}

void add(const std::string& name, double (*f)(const double*, int), int n) {
    const std::string prefix = name + ", " + std::to_string(n) + " variables/";
    const Problem problem{f, n};
    benchmark::RegisterBenchmark((prefix + "movane").c_str(), minimise, movane_solve, problem);
    benchmark::RegisterBenchmark((prefix + "gsl").c_str(), minimise, gsl_solve, problem);
    benchmark::RegisterBenchmark((prefix + "nlopt").c_str(), minimise, nlopt_solve, problem);
}

}  // namespace

int main(int argc, char** argv) {
    for (const int n : {2, 3, 4}) add("rosenbrock", rosenbrock, n);
    for (const int n : {2, 3, 4, 6, 8}) add("bowl", bowl, n);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
