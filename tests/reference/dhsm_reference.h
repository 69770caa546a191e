// Downhill simplex on a vector of vertices, the order of vertices found by sorting.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <vector>

namespace movane_tests {

using Coordinates = std::vector<double>;
using Scalar      = std::function<double(const Coordinates&)>;

struct SimplexRun {
    Coordinates x;
    double least;
    int result;
};

class SimplexReference {
public:
    SimplexReference(const std::vector<Coordinates>& points, Scalar f) : f_(std::move(f)) {
        for (auto p = points.rbegin(); p != points.rend(); ++p)
            simplex_.insert(simplex_.begin(), at(*p));
    }

    SimplexRun run(double tol, int maxiter) {
        if (tol == 0) tol = 1e-7;
        if (maxiter == 0) maxiter = 1000;
        int steps = 0;
        while (!(measure(tol) < tol)) {
            if (steps++ > maxiter) return {lowest().x, lowest().y, -1};
            step();
        }
        return {lowest().x, lowest().y, 0};
    }

private:
    struct Vertex {
        Coordinates x;
        double y;
    };

    Vertex at(const Coordinates& x) const { return {x, f_(x)}; }

    template <class Formula>
    static Coordinates combine(const Coordinates& a, const Coordinates& b, Formula formula) {
        Coordinates c(a.size());
        std::transform(a.begin(), a.end(), b.begin(), c.begin(), formula);
        return c;
    }

    // Among equals the first wins, except that vertex 1 goes before vertex 0.
    Vertex& extreme(bool upper) {
        std::vector<Vertex*> all;
        for (Vertex& v : simplex_) all.push_back(&v);
        std::swap(all[0], all[1]);
        std::stable_sort(all.begin(), all.end(), [&](const Vertex* a, const Vertex* b) {
            return upper ? a->y > b->y : a->y < b->y;
        });
        return *all[0];
    }
    Vertex& lowest() { return extreme(false); }

    double measure(double tol) {
        const Vertex& low = lowest();
        double largest = 0, extent = 0;
        for (const double c : low.x) largest = std::max(largest, std::fabs(c));
        for (std::size_t j = 0; j < low.x.size(); ++j) {
            Coordinates column;
            for (const Vertex& v : simplex_) column.push_back(v.x[j]);
            const auto [least, most] = std::minmax_element(column.begin(), column.end());
            extent                   = std::max(extent, *most - *least);
        }
        const double spread = extent / (largest < 1 ? 1 : largest);
        if (spread > tol) return spread;
        for (std::size_t j = 0; j < low.x.size(); ++j) {
            Coordinates probe = low.x;
            probe[j] += 0.005 * (std::fabs(probe[j]) < 1e-20 ? largest : probe[j]);
            if (f_(probe) < low.y - 1e-12 * (std::fabs(low.y) + tol)) return 2 * tol;
        }
        return spread == tol ? spread * 0.999999 : spread;
    }

    void step() {
        Vertex& low  = lowest();
        Vertex& high = extreme(true);
        Coordinates centre(low.x.size(), 0.0);
        double next = -std::numeric_limits<double>::infinity();
        for (const Vertex& v : simplex_) {
            if (&v == &high) continue;
            centre = combine(centre, v.x, std::plus<>());
            next   = std::max(next, v.y);
        }
        for (double& c : centre) c /= static_cast<double>(centre.size());

        const Vertex r =
            at(combine(centre, high.x, [](double c, double h) { return c + (c - h); }));
        if (r.y <= low.y) {
            const Vertex e =
                at(combine(centre, r.x, [](double c, double p) { return c + 2 * (p - c); }));
            high = e.y < r.y ? e : r;
            return;
        }
        if (r.y < high.y) high = r;
        if (r.y < next) return;
        const Vertex k =
            at(combine(centre, high.x, [](double c, double h) { return c + (h - c) * 0.5; }));
        if (k.y < high.y) {
            high = k;
            return;
        }
        for (Vertex& v : simplex_)
            if (&v != &low)
                v = at(combine(low.x, v.x, [](double l, double p) { return (l + p) * 0.5; }));
    }

    Scalar f_;
    std::vector<Vertex> simplex_;
};

}  // namespace movane_tests
