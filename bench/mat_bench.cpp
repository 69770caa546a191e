// Matrices beside Eigen's PartialPivLU: solve and inverse of the sizes the library is made for.
//
// Every round takes the next of many systems, so that no side learns the way of its pivots by
// heart, and decomposes it anew. Both keep their matrices between rounds, and neither is told the
// size at compile time. Eigen runs on its own column-major layout and on row-major matrices, the
// layout that hosts hand over.

#include "movane/numerics.h"

#include <benchmark/benchmark.h>

#include <Eigen/LU>

#include <cstdint>
#include <random>
#include <vector>

namespace {

using ColumnMajor = Eigen::MatrixXd;
using RowMajor    = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

constexpr std::size_t kSystems = 256;

class Systems {
public:
    explicit Systems(std::int64_t size) : n(static_cast<int>(size)) {
        std::mt19937 random(1);
        std::uniform_real_distribution<double> uniform(-1.0, 1.0);
        for (std::size_t i = 0; i < kSystems; ++i) {
            rows_.push_back(RowMajor::NullaryExpr(n, n, [&] { return uniform(random); }));
            rights_.push_back(Eigen::VectorXd::NullaryExpr(n, [&] { return uniform(random); }));
        }
    }

    void next() { current_ = (current_ + 1) % kSystems; }
    const RowMajor& rows() const { return rows_[current_]; }
    const Eigen::VectorXd& right() const { return rights_[current_]; }

    template <class Matrix>
    std::vector<Matrix> all() const {
        return {rows_.begin(), rows_.end()};
    }
    std::size_t current() const { return current_; }

    const int n;

private:
    std::vector<RowMajor> rows_;
    std::vector<Eigen::VectorXd> rights_;
    std::size_t current_ = 0;
};

void solve_movane(benchmark::State& state) {
    Systems systems(state.range(0));
    movane_mat* a = mat_new(nullptr, systems.n);
    Eigen::VectorXd x(systems.n);
    int status = 0;
    for (auto _ : state) {
        systems.next();
        mat_set_mat(a, systems.rows().data());
        x = systems.right();
        mat_solve_set(a, x.data(), &status);
        benchmark::DoNotOptimize(x.data());
        benchmark::ClobberMemory();
    }
    mat_kill(a);
}

template <class Matrix>
void solve_eigen(benchmark::State& state) {
    Systems systems(state.range(0));
    const std::vector<Matrix> sources = systems.all<Matrix>();
    Eigen::PartialPivLU<Matrix> lu(systems.n);
    Eigen::VectorXd x(systems.n);
    for (auto _ : state) {
        systems.next();
        lu.compute(sources[systems.current()]);
        x = lu.solve(systems.right());
        benchmark::DoNotOptimize(x.data());
        benchmark::ClobberMemory();
    }
}

void inverse_movane(benchmark::State& state) {
    Systems systems(state.range(0));
    movane_mat* a       = mat_new(nullptr, systems.n);
    movane_mat* inverse = nullptr;
    int status          = 0;
    for (auto _ : state) {
        systems.next();
        mat_set_mat(a, systems.rows().data());
        inverse = mat_invert(a, &status);
        benchmark::DoNotOptimize(mat_get_row(inverse, 0));
        benchmark::ClobberMemory();
    }
    mat_kill(inverse);
    mat_kill(a);
}

template <class Matrix>
void inverse_eigen(benchmark::State& state) {
    Systems systems(state.range(0));
    const std::vector<Matrix> sources = systems.all<Matrix>();
    Eigen::PartialPivLU<Matrix> lu(systems.n);
    Matrix inverse(systems.n, systems.n);
    for (auto _ : state) {
        systems.next();
        lu.compute(sources[systems.current()]);
        inverse = lu.inverse();
        benchmark::DoNotOptimize(inverse.data());
        benchmark::ClobberMemory();
    }
}

void sizes(benchmark::internal::Benchmark* rows) {
    for (const int n : {3, 4, 6, 8, 12, 16, 32, 64}) rows->Arg(n);
}

BENCHMARK(solve_movane)->Name("solve/movane")->Apply(sizes);
BENCHMARK(solve_eigen<ColumnMajor>)->Name("solve/eigen by columns")->Apply(sizes);
BENCHMARK(solve_eigen<RowMajor>)->Name("solve/eigen by rows")->Apply(sizes);
BENCHMARK(inverse_movane)->Name("inverse/movane")->Apply(sizes);
BENCHMARK(inverse_eigen<ColumnMajor>)->Name("inverse/eigen by columns")->Apply(sizes);
BENCHMARK(inverse_eigen<RowMajor>)->Name("inverse/eigen by rows")->Apply(sizes);

}  // namespace

BENCHMARK_MAIN();
