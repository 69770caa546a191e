// Downhill simplex: every point at which it calls the function, bit for bit, and its two ways to
// end.

#include "movane/numerics.h"

#include "reference/dhsm_reference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <utility>
#include <vector>

namespace {

using movane_tests::Coordinates;
using movane_tests::Scalar;
using movane_tests::SimplexReference;
using movane_tests::SimplexRun;

struct Kill {
    void operator()(dhsm* h) const { EXPECT_EQ(dhsm_kill(h), 0); }
};
using Minimiser = std::unique_ptr<dhsm, Kill>;

// What a solve hands through: the function, and where it was called.
struct Host {
    Scalar f;
    std::size_t n = 0;
    std::vector<Coordinates> visited{};
    int measures       = 0;
    double measured    = 1;
    int measures_above = INT_MAX;  // how often the host's measure is 1 before it is `measured`
};

int mark2, mark3;  // stand for the host's other two values

double call(void* host, void* u2, void* u3, const double* point) {
    EXPECT_EQ(u2, &mark2);
    EXPECT_EQ(u3, &mark3);
    auto& state = *static_cast<Host*>(host);
    state.visited.emplace_back(point, point + state.n);
    return state.f(state.visited.back());
}

double measure(dhsm* h, void* host, void* u2, void* u3, int highest, int lowest) {
    EXPECT_EQ(u2, &mark2);
    EXPECT_EQ(u3, &mark3);
    const auto [least, most] = std::minmax_element(h->values, h->values + h->n + 1);
    EXPECT_EQ(h->values[lowest], *least);
    EXPECT_EQ(h->values[highest], *most);
    auto& state = *static_cast<Host*>(host);
    return state.measures++ < state.measures_above ? 1 : state.measured;
}

Minimiser minimiser(std::size_t n, dhsm_convergence convergence = nullptr) {
    return Minimiser(dhsm_new(call, convergence, static_cast<int>(n)));
}

SimplexRun solve(dhsm* h, Host& host, Coordinates x, double tol, int maxiter) {
    host.n = x.size();
    SimplexRun run{};
    run.result = dhsm_solve(h, &host, &mark2, &mark3, tol, x.data(), maxiter, &run.least);
    run.x      = x;
    return run;
}

std::vector<std::uint64_t> bits(const std::vector<Coordinates>& visited, const SimplexRun& run) {
    std::vector<std::uint64_t> all{static_cast<std::uint64_t>(run.result)};
    const auto append = [&](const Coordinates& x) {
        for (const double c : x) all.push_back(std::bit_cast<std::uint64_t>(c));
    };
    append({run.least});
    append(run.x);
    for (const Coordinates& x : visited) append(x);
    return all;
}

double bowl(const Coordinates& x) {
    double sum = 0;
    for (std::size_t j = 0; j < x.size(); ++j) {
        const double d = x[j] - 0.5 * static_cast<double>(j);
        sum += static_cast<double>(j + 1) * d * d;
    }
    return sum;
}

double rosenbrock(const Coordinates& x) {
    double sum = 0;
    for (std::size_t j = 0; j + 1 < x.size(); ++j) {
        const double a = x[j + 1] - x[j] * x[j], b = 1 - x[j];
        sum += 100 * a * a + b * b;
    }
    return sum;
}

double stairs(const Coordinates& x) {  // plateaus: ties of every kind
    double sum = 0;
    for (const double c : x) sum += std::fabs(c);
    return std::floor(2 * sum);
}

double ripples(const Coordinates& x) { return bowl(x) + 3 * std::sin(9 * x[0]); }

double flat(const Coordinates&) { return -2; }

std::vector<Coordinates> around(const Coordinates& x, const Coordinates& steps) {
    std::vector<Coordinates> simplex(x.size() + 1, x);
    for (std::size_t j = 0; j < x.size(); ++j) simplex[j + 1][j] += steps[j];
    return simplex;
}

TEST(Dhsm, LooksWhereTheReferenceLooks) {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> coordinate(-4, 4);
    int converged = 0, gave_up = 0;
    for (const auto f : {bowl, rosenbrock, stairs, ripples, flat}) {
        for (int round = 0; round < 60; ++round) {
            const std::size_t n = 1 + random() % 5;
            Coordinates x(n), steps(n);
            for (double& c : x) c = coordinate(random);
            for (double& c : steps) c = coordinate(random);
            if (round % 3 == 0) std::fill(x.begin(), x.end(), std::floor(x[0]));
            const double tol  = std::vector<double>{0, 0.3, 1e-3, 1e-11}[random() % 4];
            const int maxiter = std::vector<int>{0, -1, 1, 20}[random() % 4];

            const Minimiser h = minimiser(n);
            if (round % 2 == 0) {
                dhsm_init(h.get(), nullptr, nullptr, nullptr, nullptr, steps.data(), x.data());
            } else {
                const auto [least, most] = std::minmax_element(x.begin(), x.end());
                const double step        = (*most - *least) * 0.1;
                steps.assign(n, step == 0 ? 0.1 : step);
            }
            Host host{f};
            const SimplexRun run = solve(h.get(), host, x, tol, maxiter);

            std::vector<Coordinates> visited;
            SimplexReference reference(around(x, steps), [&](const Coordinates& point) {
                visited.push_back(point);
                return f(point);
            });
            const SimplexRun expected = reference.run(tol, maxiter);
            ASSERT_EQ(bits(host.visited, run), bits(visited, expected))
                << n << " variables, round " << round;
            (run.result == 0 ? converged : gave_up) += 1;
        }
    }
    EXPECT_GT(converged, 50);
    EXPECT_GT(gave_up, 50);
}

TEST(Dhsm, FindsTheMinimumOfABowl) {
    const Minimiser h = minimiser(2);
    Host host{
        [](const Coordinates& x) { return (x[0] - 1) * (x[0] - 1) + (x[1] + 2) * (x[1] + 2); }};
    const SimplexRun run = solve(h.get(), host, {0, 0}, 1e-10, 0);
    EXPECT_EQ(run.result, 0);
    EXPECT_NEAR(run.x[0], 1, 1e-7);  // where the values stop to differ
    EXPECT_NEAR(run.x[1], -2, 1e-7);
    EXPECT_EQ(run.least, host.f(run.x));
    // All coordinates of the start point are equal: a step of 0.1, and the last vertex first.
    host.visited.resize(3);
    EXPECT_EQ(host.visited, (std::vector<Coordinates>{{0, 0.1}, {0.1, 0}, {0, 0}}));
}

TEST(Dhsm, PlacesTheStartingSimplexWithinUpperBounds) {
    const double x = 10, step = 2, lower = 5;
    struct Row {
        int has_lower, has_upper;
        double upper, expected;
    };
    for (const Row& row : {Row{0, 0, 11, 12}, Row{1, 0, 11, 12}, Row{1, 1, 12, 12},
                           Row{1, 1, 11.5, 9.5}, Row{0, 1, 11.5, 6}, Row{1, 1, 9, 9.5}}) {
        const Minimiser h = minimiser(1);
        EXPECT_EQ(dhsm_init(h.get(), &row.has_lower, &row.has_upper, &lower, &row.upper, &step, &x),
                  0);
        EXPECT_EQ(h->vertices[0], x);
        EXPECT_EQ(h->vertices[1], row.expected);
        EXPECT_EQ(h->initialised, 1);
        // Without either array of flags there are no bounds.
        dhsm_init(h.get(), nullptr, &row.has_upper, &lower, &row.upper, &step, &x);
        EXPECT_EQ(h->vertices[1], 12);
        dhsm_init(h.get(), &row.has_lower, nullptr, &lower, &row.upper, &step, &x);
        EXPECT_EQ(h->vertices[1], 12);
    }
}

TEST(Dhsm, UsesAStartingSimplexOnce) {
    const Minimiser h        = minimiser(2, measure);
    const Coordinates start  = {7, 8}, steps{1, 2};
    const auto first_visited = [&](int measures_above) {
        Host host{bowl};
        host.measured       = 0;
        host.measures_above = measures_above;
        solve(h.get(), host, {-3, -3}, 1, -1);
        EXPECT_EQ(h->initialised, 0);
        return host.visited.front();
    };
    for (const int measures_above : {0, INT_MAX}) {  // converges, gives up
        dhsm_init(h.get(), nullptr, nullptr, nullptr, nullptr, steps.data(), start.data());
        EXPECT_EQ(first_visited(measures_above), (Coordinates{7, 10}));
        EXPECT_EQ(first_visited(measures_above), (Coordinates{-3, -2.9}));
    }
}

TEST(Dhsm, EndsByMeasureOrByLimit) {
    struct Row {
        double tol, measured;
        int measures_above, maxiter, result, measures;
    };
    for (const Row& row : {
             Row{1e-3, 0, 0, 5, 0, 1},
             Row{1e-3, 0, 6, 5, 0, 7},  // the last measure goes before the limit
             Row{1e-3, 0, 7, 5, -1, 7}, Row{1e-3, 1e-3, 0, 5, -1, 7},  // not below the tolerance
             Row{0, 0.99e-7, 0, 5, 0, 1},                              // 1e-7 by default
             Row{0, 1e-7, 0, 5, -1, 7},                                //
             Row{1, 0, INT_MAX, 1, -1, 3},                             // two steps
             Row{1, 0, INT_MAX, -1, -1, 1},                            // none
             Row{1, 0, INT_MAX, 0, -1, 1002},                          // 1000 by default
         }) {
        const Minimiser h = minimiser(3, measure);
        Host host{rosenbrock};
        host.measured        = row.measured;
        host.measures_above  = row.measures_above;
        const SimplexRun run = solve(h.get(), host, {-1, 2, 1}, row.tol, row.maxiter);
        EXPECT_EQ(run.result, row.result);
        EXPECT_EQ(host.measures, row.measures);

        double best = host.f(host.visited.front());
        for (const Coordinates& x : host.visited) best = std::min(best, host.f(x));
        EXPECT_EQ(run.least, best);
        EXPECT_EQ(host.f(run.x), best);
    }
}

TEST(Dhsm, TellsACollapsedSimplexFromAMinimum) {
    // No step ever leaves the line x1 == start.
    const auto result_from = [](double start) {
        const Minimiser h       = minimiser(2);
        const Coordinates steps = {0.1, 0}, x{0, start};
        Host host{
            [](const Coordinates& p) { return (p[0] - 1) * (p[0] - 1) + (p[1] + 2) * (p[1] + 2); }};
        dhsm_init(h.get(), nullptr, nullptr, nullptr, nullptr, steps.data(), x.data());
        return solve(h.get(), host, x, 1e-6, 200).result;
    };
    EXPECT_EQ(result_from(-1), -1);  // a look outward, at -1.005, finds lower ground
    EXPECT_EQ(result_from(-2), 0);
}

TEST(Dhsm, TakesASpreadEqualToTheToleranceAsConverged) {
    const double start = 0.25, step = 0.5;
    for (const auto& [tol, visited] : std::vector<std::pair<double, std::size_t>>{
             {0.5, 3}, {0.49, 5}, {0.25, 5}}) {  // the simplex, one step, and a probe
        const Minimiser h = minimiser(1);
        Host host{[](const Coordinates& x) { return std::fabs(x[0] - 0.25); }};
        dhsm_init(h.get(), nullptr, nullptr, nullptr, nullptr, &step, &start);
        EXPECT_EQ(solve(h.get(), host, {0}, tol, 100).result, 0);
        EXPECT_EQ(host.visited.size(), visited) << tol;
    }
}

TEST(Dhsm, ProbesEachCoordinateOutward) {
    const Coordinates x = {0, 3, -2, 1e-21}, steps(4, 0.0);
    const Minimiser h   = minimiser(4);
    Host host{flat};
    dhsm_init(h.get(), nullptr, nullptr, nullptr, nullptr, steps.data(), x.data());
    EXPECT_EQ(solve(h.get(), host, x, 1, 1).result, 0);

    std::vector<Coordinates> expected(9, x);
    expected[5][0] += 0.005 * 3;
    expected[6][1] += 0.005 * 3;
    expected[7][2] -= 0.005 * 2;
    expected[8][3] += 0.005 * 3;
    EXPECT_EQ(host.visited, expected);
}

TEST(Dhsm, IgnoresProbesThatAreHardlyLower) {
    struct Row {
        double value, depth;
        int result;
    };
    const double tol = 1e-3, start = 2, step = 0;
    for (const Row& row : {Row{1, 0.9e-12, 0}, Row{1, 1.1e-12, -1}, Row{-1, 0.9e-12, 0},
                           Row{0, 0.9e-15, 0}, Row{0, 1.1e-15, -1}}) {
        const Minimiser h = minimiser(1);
        Host host{[&](const Coordinates& x) {
            return x[0] == start ? row.value : row.value - row.depth;
        }};
        dhsm_init(h.get(), nullptr, nullptr, nullptr, nullptr, &step, &start);
        EXPECT_EQ(solve(h.get(), host, {start}, tol, 5).result, row.result) << row.depth;
    }
}

TEST(Dhsm, RefusesWhatCannotBe) {
    for (const int n : {0, -1, INT_MIN}) EXPECT_EQ(dhsm_new(call, nullptr, n), nullptr);
    EXPECT_EQ(dhsm_kill(nullptr), 0);
}

}  // namespace
