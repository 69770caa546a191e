// Tetrahedral volumes: points per second of construction, beside Qhull's Delaunay tetrahedra, and
// queries per second.
//
// Points lie anywhere in a cube. Both sides start from their own form of the points and release the
// tetrahedra again; ours also makes records of them and of the border, the peer prints nothing.

#include "movane/foundation.h"
#include "movane/gamut.h"

#include "qhull_peer.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <vector>

namespace {

constexpr double kHalfSide = 100;

const char* const kOptions = "d Qbb Qt Pp";

struct KillList {
    void operator()(movane_list* list) const { list_kill(list); }
};
struct KillVolume {
    void operator()(tetra_volume* v) const { tetra_volume_kill(v); }
};
using List   = std::unique_ptr<movane_list, KillList>;
using Volume = std::unique_ptr<tetra_volume, KillVolume>;

std::vector<double>& coordinates(std::size_t count) {
    static std::map<std::size_t, std::vector<double>> made;
    std::vector<double>& all = made[count];
    std::mt19937 random(1);
    std::uniform_real_distribution<double> any(-kHalfSide, kHalfSide);
    while (all.size() < 3 * count) all.push_back(any(random));
    return all;
}

List list_of(const std::vector<double>& all) {
    List list(list_new(static_cast<int>(all.size() / 3), sizeof(volume_point), nullptr));
    for (std::size_t i = 0; i < all.size(); i += 3) {
        const volume_point p{all[i], all[i + 1], all[i + 2], static_cast<double>(i / 3)};
        list_insert(list.get(), &p);
    }
    return list;
}

// The lower side of the lifted points' hull.
int tetrahedra_of(std::vector<double>& all) {
    const QhullPeer peer(all, kOptions);
    int count = 0;
    for (const facetT* f = peer.qh.facet_list; f && f->next; f = f->next)
        count += !f->upperdelaunay;
    return count;
}

void ours(benchmark::State& state) {
    std::vector<double>& all = coordinates(static_cast<std::size_t>(state.range(0)));
    const List points        = list_of(all);
    const Volume first(tetra_volume_new(points.get()));
    if (!first || first->nr_of_tetrahedrae != tetrahedra_of(all)) std::abort();
    for (auto _ : state) {
        const Volume v(tetra_volume_new(points.get()));
        benchmark::DoNotOptimize(v.get());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void theirs(benchmark::State& state) {
    std::vector<double>& all = coordinates(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        const QhullPeer peer(all, kOptions);
        benchmark::DoNotOptimize(peer.qh.num_facets);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class Query>
void ask(benchmark::State& state, Query query) {
    const List points = list_of(coordinates(static_cast<std::size_t>(state.range(0))));
    const Volume v(tetra_volume_new(points.get()));
    if (!v) std::abort();
    const std::vector<double>& queries = coordinates(1023);
    std::size_t i                      = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(query(v.get(), &queries[i]));
        i = (i + 3) % queries.size();
    }
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK(ours)->Name("tetrahedra of points/movane")->Arg(100)->Arg(1000);
BENCHMARK(theirs)->Name("tetrahedra of points/qhull")->Arg(100)->Arg(1000);
BENCHMARK_CAPTURE(ask, , tetra_volume_point_inside)->Name("inside/movane")->Arg(100)->Arg(1000);
BENCHMARK_CAPTURE(ask, ,
                  [](const tetra_volume* v, const double* q) {
                      volume_tetra* found = nullptr;
                      return tetra_volume_get_tetra(v, q, &found);
                  })
    ->Name("tetrahedron of a point/movane")
    ->Arg(100)
    ->Arg(1000);

}  // namespace
