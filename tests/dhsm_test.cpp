// Downhill simplex: every point at which it calls the function, bit for bit, and its two ways to
// end.

#include "movane/numerics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <memory>
#include <random>
#include <valarray>
#include <vector>

namespace {

using Point     = std::valarray<double>;
using Objective = double (*)(const Point&);

// Where a solve calls the function; then the best point, its value and the result.
struct Log {
    Objective f;
    std::size_t n;
    std::vector<double> numbers{};

    Point write(const Point& x) {
        numbers.insert(numbers.end(), std::begin(x), std::end(x));
        return x;
    }
};

std::vector<double> reference(Objective f, const Point& start, const Point& steps, double tol,
                              int maxiter) {
    Log log{f, start.size()};
    std::vector<Point> simplex(start.size() + 1, start);
    for (std::size_t j = 0; j < start.size(); ++j) simplex[j + 1][j] += steps[j];
    for (auto v = simplex.rbegin(); v != simplex.rend(); ++v) log.write(*v);
    // Among equals the first wins, except that vertex 1 goes before vertex 0.
    const auto extreme = [&](int sign) -> Point& {
        Point* best = &simplex[1];
        for (Point& v : simplex)
            if (sign * f(v) > sign * f(*best)) best = &v;
        return *best;
    };
    for (int count = 0;; ++count) {
        Point &low = extreme(-1), &high = extreme(1);
        const double largest = std::abs(low).max();
        double extent        = 0;
        for (const Point& v : simplex)
            for (const Point& w : simplex) extent = std::max(extent, Point(v - w).max());
        bool is_minimum = extent / std::max(largest, 1.0) <= tol;
        for (std::size_t j = 0; is_minimum && j < start.size(); ++j) {
            Point probe = low;
            probe[j] += 0.005 * (std::fabs(probe[j]) < 1e-20 ? largest : probe[j]);
            is_minimum = f(log.write(probe)) >= f(low) - 1e-12 * (std::fabs(f(low)) + tol);
        }
        if (is_minimum || count > maxiter) {
            log.write(low);
            log.write({f(low), is_minimum ? 0.0 : -1.0});
            return log.numbers;
        }
        Point centre(start.size());
        double next = -HUGE_VAL;
        for (const Point& v : simplex) {
            if (&v == &high) continue;
            centre += v;
            next = std::max(next, f(v));
        }
        centre /= static_cast<double>(start.size());
        const Point r = log.write(centre + (centre - high));
        if (f(r) <= f(low)) {
            const Point e = log.write(centre + 2.0 * (r - centre));
            high          = f(e) < f(r) ? e : r;
            continue;
        }
        if (f(r) < f(high)) high = r;
        if (f(r) < next) continue;
        const Point k = log.write(centre + (high - centre) * 0.5);
        if (f(k) < f(high)) {
            high = k;
            continue;
        }
        for (Point& v : simplex)
            if (&v != &low) v = log.write((low + v) * 0.5);
    }
}

int mark2, mark3;  // stand for the host's other two values

std::vector<double> solve(dhsm* h, Objective f, Point x, double tol, int maxiter) {
    Log log{f, x.size()};
    double least     = 0;
    const int result = dhsm_solve(h, &log, &mark2, &mark3, tol, &x[0], maxiter, &least);
    log.write(x);
    log.write({least, 1.0 * result});
    return log.numbers;
}

std::shared_ptr<dhsm> minimiser(std::size_t n, dhsm_convergence convergence = nullptr) {
    const auto call = [](void* u1, void* u2, void* u3, const double* point) {
        EXPECT_TRUE(u2 == &mark2 && u3 == &mark3);
        Log& log = *static_cast<Log*>(u1);
        return log.f(log.write(Point(point, log.n)));
    };
    return {dhsm_new(call, convergence, static_cast<int>(n)), dhsm_kill};
}

double bowl(const Point& x) { return ((x - 0.5) * (x - 0.5)).sum() + x[0] * x[0]; }

double banana(const Point& x) {
    const Point off = x.shift(1) - x * x;
    return (100.0 * off * off + (1.0 - x) * (1.0 - x)).sum();
}

TEST(Dhsm, LooksWhereTheReferenceLooks) {
    const Objective functions[] = {
        bowl,
        banana,
        [](const Point& x) { return std::floor(4 * bowl(x)) - 2; },  // plateaus
        [](const Point& x) { return bowl(x) + 3 * std::sin(9 * x[0]); },
        // Probes differ about as much as makes a difference.
        [](const Point& x) { return 2e-12 * std::sin(900 * x.sum()) - 1; },
    };
    std::mt19937 random(1);
    int gave_up = 0;
    for (int round = 0; round < 250; ++round) {
        const Objective f = functions[round % 5];
        Point x(1 + random() % 5), steps = x;
        for (Point* p : {&x, &steps})
            for (double& c : *p) c = static_cast<double>(random() % 33) / 4 - 4;
        if (round % 7 > 2) x *= round % 7 == 3 ? 1e-21 : 1.1;  // quarters meet the tolerances
        const double tol  = std::vector{1e-7, 4.0, 0.5, 0.3, 1e-3, 1e-11}[random() % 6];
        const int maxiter = std::vector{1000, -1, 1, 20}[random() % 4];
        const auto h      = minimiser(x.size());
        for (const bool is_set_up : {true, false}) {
            if (is_set_up) {
                dhsm_init(h.get(), nullptr, nullptr, nullptr, nullptr, &steps[0], &x[0]);
            } else {
                steps = x.max() == x.min() ? 0.1 : (x.max() - x.min()) * 0.1;
            }
            const auto log =
                solve(h.get(), f, x, tol == 1e-7 ? 0 : tol, maxiter == 1000 ? 0 : maxiter);
            ASSERT_EQ(log, reference(f, x, steps, tol, maxiter)) << "round " << round;
            gave_up += log.back() < 0;
        }
    }
    EXPECT_TRUE(gave_up > 50 && gave_up < 450) << gave_up;
}

TEST(Dhsm, PlacesTheStartingSimplexWithinUpperBounds) {
    const double x = 10, step = 2, lower = 5;
    const int no = 0, yes = 1;
    const auto h      = minimiser(1);
    const auto placed = [&](const int* has_lower, const int* has_upper, double upper) {
        EXPECT_EQ(dhsm_init(h.get(), has_lower, has_upper, &lower, &upper, &step, &x), 0);
        EXPECT_EQ(h->vertices[0], x);
        return h->vertices[1];
    };
    EXPECT_EQ(placed(&yes, &yes, 12), 12);
    EXPECT_EQ(placed(&yes, &yes, 11.5), 9.5);
    EXPECT_EQ(placed(&no, &yes, 11.5), 6);
    EXPECT_EQ(placed(&yes, &no, 11), 12);
    EXPECT_EQ(placed(nullptr, &yes, 11), 12);
    EXPECT_EQ(placed(&yes, nullptr, 11), 12);
}

int measures_above;  // how often the host's measure is 1 before it is
double measured;     // this

double measure(dhsm* h, void*, void* u2, void* u3, int highest, int lowest) {
    EXPECT_TRUE(u2 == &mark2 && u3 == &mark3);
    EXPECT_EQ(h->values[lowest], *std::min_element(h->values, h->values + h->n + 1));
    EXPECT_EQ(h->values[highest], *std::max_element(h->values, h->values + h->n + 1));
    return measures_above-- > 0 ? 1 : measured;
}

TEST(Dhsm, EndsByTheHostsMeasureOrByTheLimit) {
    const auto result = [&](int above, double then) {
        measures_above = above;
        measured       = then;
        return solve(minimiser(3, measure).get(), banana, {-1, 2, 1}, 1e-3, 5).back();
    };
    EXPECT_EQ(result(0, 0), 0);
    EXPECT_EQ(measures_above, -1);
    EXPECT_EQ(result(6, 0), 0);  // the last measure goes before the limit
    EXPECT_EQ(result(7, 0), -1);
    EXPECT_EQ(result(0, 1e-3), -1);  // not below the tolerance
    for (const int n : {0, -1, INT_MIN}) EXPECT_EQ(dhsm_new(nullptr, nullptr, n), nullptr);
    EXPECT_EQ(dhsm_kill(nullptr), 0);
}

}  // namespace
