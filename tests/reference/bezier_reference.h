// Bezier curves the slow and obvious way: de Casteljau and dense scans in long double.
#pragma once

#include "movane/numerics.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <vector>

namespace movane_tests {

struct KillBezier {
    void operator()(Bezier* b) const { bezier_kill(b); }
};
using Curve = std::unique_ptr<Bezier, KillBezier>;

struct Vertex {
    double x, y;
    bool operator==(const Vertex&) const = default;
};

struct Polygon {
    std::vector<double> x, y;

    explicit Polygon(int degree)
        : x(static_cast<std::size_t>(degree) + 1), y(static_cast<std::size_t>(degree) + 1) {}
    Polygon(std::vector<double> all_x, std::vector<double> all_y)
        : x(std::move(all_x)), y(std::move(all_y)) {}
    bool operator==(const Polygon&) const = default;

    int degree() const { return static_cast<int>(x.size()) - 1; }
};

inline Polygon random_polygon(int degree, std::mt19937& random) {
    std::uniform_real_distribution<double> coordinate(-100, 100);
    Polygon p(degree);
    for (double& x : p.x) x = coordinate(random);
    for (double& y : p.y) y = coordinate(random);
    return p;
}

inline Curve curve_of(const Polygon& p) {
    Curve b(bezier_new(p.degree(), 0, 0, 0, 0));
    bezier_set_control_poly(b.get(), p.x.data(), p.y.data());
    return b;
}

/// The control polygon of a curve of known degree.
inline Polygon polygon_of(Bezier* b, int degree) {
    Polygon p(degree);
    bezier_get_control_poly(b, p.x.data(), p.y.data());
    return p;
}

/// One coordinate at t.
inline double de_casteljau(const std::vector<double>& p, double t) {
    long double level[5] = {};
    std::copy(p.begin(), p.end(), level);
    for (std::size_t points = p.size(); points > 1; --points)
        for (std::size_t i = 0; i + 1 < points; ++i)
            level[i] = (1 - static_cast<long double>(t)) * level[i] + t * level[i + 1];
    return static_cast<double>(level[0]);
}

/// The zeros of f in [low, high] that a dense scan sees as changes of sign, ascending.
inline std::vector<double> zeros(const std::function<double(double)>& f, double low, double high) {
    constexpr int kIntervals = 1000;
    std::vector<double> found;
    for (int i = 0; i < kIntervals; ++i) {
        double a            = low + (high - low) * i / kIntervals,
               b            = low + (high - low) * (i + 1) / kIntervals;
        const bool negative = f(a) < 0;
        if (negative == (f(b) < 0)) continue;
        for (int halving = 0; halving < 60; ++halving) {
            const double middle                   = 0.5 * (a + b);
            ((f(middle) < 0) == negative ? a : b) = middle;
        }
        found.push_back(a);
    }
    return found;
}

}  // namespace movane_tests
