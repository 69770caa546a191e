// Convex hulls beside Qhull: points per second of construction.
//
// Points lie in a ball, where few are on the hull, or on its surface, where all are. It is so wide
// that our fixed tolerance does not matter, which the peer does not have. Both sides start from
// plain coordinates and release the hull again; the peer joins no faces of its own accord and
// prints nothing.

#include "movane/gamut.h"

#include "qhull_peer.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <map>
#include <random>
#include <utility>
#include <vector>

namespace {

enum Shape { ball, surface };

constexpr double kRadius = 10000;

const char* const kOptions = "Pp";

std::vector<double>& points(Shape shape, std::size_t count) {
    static std::map<std::pair<Shape, std::size_t>, std::vector<double>> made;
    std::vector<double>& all = made[{shape, count}];
    std::mt19937 random(1);
    std::normal_distribution<double> normal;
    std::uniform_real_distribution<double> uniform(0, 1);
    while (all.size() < 3 * count) {
        const double p[]    = {normal(random), normal(random), normal(random)};
        const double radius = shape == surface ? kRadius : kRadius * std::cbrt(uniform(random));
        const double scale  = radius / std::hypot(p[0], p[1], p[2]);
        for (const double x : p) all.push_back(x * scale);
    }
    return all;
}

void construct(TConvexHull& hull, const std::vector<double>& all) {
    for (std::size_t i = 0; i < all.size(); i += 3) hull.AddPoint(all[i], all[i + 1], all[i + 2]);
    if (hull.Construct() != 0) std::abort();
}

// The corners of the peer's hull are on ours, but for its tolerance: inside a little farther in,
// and outside a little farther out.
void check_peer(std::vector<double>& all) {
    TConvexHull hull;
    construct(hull, all);
    const QhullPeer peer(all, kOptions);
    for (const vertexT* v = peer.qh.vertex_list; v && v->next; v = v->next) {
        const double* const p = v->point;
        for (const double scale : {0.9, 1.2}) {
            const bool is_inside = hull.InsideHull(scale * p[0], scale * p[1], scale * p[2]) != 0;
            if (is_inside != (scale < 1)) std::abort();
        }
    }
}

void ours(benchmark::State& state, Shape shape) {
    std::vector<double>& all = points(shape, static_cast<std::size_t>(state.range(0)));
    check_peer(all);
    for (auto _ : state) {
        TConvexHull hull;
        construct(hull, all);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void theirs(benchmark::State& state, Shape shape) {
    std::vector<double>& all = points(shape, static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        const QhullPeer peer(all, kOptions);
        benchmark::DoNotOptimize(peer.qh.num_facets);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK_CAPTURE(ours, , ball)->Name("hull of a ball/movane")->Arg(100)->Arg(1000)->Arg(5000);
BENCHMARK_CAPTURE(theirs, , ball)->Name("hull of a ball/qhull")->Arg(100)->Arg(1000)->Arg(5000);
BENCHMARK_CAPTURE(ours, , surface)->Name("hull of a sphere/movane")->Arg(100)->Arg(1000)->Arg(5000);
BENCHMARK_CAPTURE(theirs, , surface)
    ->Name("hull of a sphere/qhull")
    ->Arg(100)
    ->Arg(1000)
    ->Arg(5000);

}  // namespace
