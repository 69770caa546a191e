// The CLUT class beside the float pipeline of a colour management library: points per second.
//
// Both interpolate in the same 17 or 33 grid points. The peer takes and gives floats, one call a
// point; ours takes and gives doubles, by the line and point by point.

#include "movane/interpolation.h"

#include <benchmark/benchmark.h>
#include <lcms2.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int kPoints = 4096;

struct Free {
    void operator()(cmsPipeline* pipeline) const { cmsPipelineFree(pipeline); }
};

struct Case {
    int dims, channels;
    CLUT table;
    std::unique_ptr<cmsPipeline, Free> peer;
    std::vector<double> in, out;
    std::vector<float> in_floats, out_floats;

    Case(int dims_, int channels_, bool is_noise)
        : dims(dims_), channels(channels_), table(make_table()), out(size(channels)) {
        std::mt19937 random(1);
        std::uniform_real_distribution<double> uniform(0, 1);
        for (int i = 0; i < kPoints; ++i) {
            for (int d = 0; d < dims; ++d) {
                const double soft =
                    0.5 + 0.45 * std::sin(i * 0.013 * (d + 1)) + 0.04 * uniform(random);
                in.push_back(is_noise ? uniform(random) : soft);
            }
        }
        in_floats.assign(in.begin(), in.end());
        out_floats.resize(out.size());

        cmsPipeline* const pipeline = cmsPipelineAlloc(nullptr, static_cast<cmsUInt32Number>(dims),
                                                       static_cast<cmsUInt32Number>(channels));
        cmsPipelineInsertStage(
            pipeline, cmsAT_END,
            cmsStageAllocCLutFloat(nullptr, static_cast<cmsUInt32Number>(grid_points()),
                                   static_cast<cmsUInt32Number>(dims),
                                   static_cast<cmsUInt32Number>(channels), &table[0]));
        peer.reset(pipeline);
        check_peer();
    }

    static std::size_t size(int per_point) { return static_cast<std::size_t>(kPoints * per_point); }
    int grid_points() const { return dims == 3 ? 33 : 17; }

    CLUT make_table() const {
        std::mt19937 random(2);
        std::uniform_real_distribution<float> uniform(0, 1);
        std::vector<unsigned char> points(static_cast<std::size_t>(dims),
                                          static_cast<unsigned char>(grid_points()));
        std::size_t values = static_cast<std::size_t>(channels);
        for (const int n : points) values *= static_cast<std::size_t>(n);
        std::vector<float> data(values);
        for (float& value : data) value = uniform(random);
        return CLUT(static_cast<unsigned char>(dims), points.data(),
                    static_cast<unsigned char>(channels), 0, data.data());
    }

    // On grid points both must give the same values: the tables are the same.
    void check_peer() {
        std::vector<float> coordinates(static_cast<std::size_t>(dims), 0.25F), theirs(4);
        coordinates.back() = 0.75F;
        std::vector<double> point(coordinates.begin(), coordinates.end()), ours(4);
        cmsPipelineEvalFloat(coordinates.data(), theirs.data(), peer.get());
        table.Interpolate(ours.data(), point.data());
        for (std::size_t c = 0; c < static_cast<std::size_t>(channels); ++c)
            if (std::fabs(ours[c] - theirs[c]) > 1e-4) std::abort();
    }
};

template <class Run>
void measure(benchmark::State& state, Run run) {
    for (auto _ : state) {
        run();
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}

void by_line(benchmark::State& state, Case* c) {
    measure(state, [&] { c->table.InterpolateLine(c->out.data(), c->in.data(), kPoints); });
}

void by_point(benchmark::State& state, Case* c) {
    measure(state, [&] {
        for (int i = 0; i < kPoints; ++i)
            c->table.Interpolate(&c->out[static_cast<std::size_t>(i * c->channels)],
                                 &c->in[static_cast<std::size_t>(i * c->dims)]);
    });
}

void by_peer(benchmark::State& state, Case* c) {
    measure(state, [&] {
        for (int i = 0; i < kPoints; ++i)
            cmsPipelineEvalFloat(&c->in_floats[static_cast<std::size_t>(i * c->dims)],
                                 &c->out_floats[static_cast<std::size_t>(i * c->channels)],
                                 c->peer.get());
    });
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::unique_ptr<Case>> cases;
    for (const int dims : {3, 4}) {
        for (const int channels : {3, 4}) {
            for (const bool is_noise : {false, true}) {
                cases.push_back(std::make_unique<Case>(dims, channels, is_noise));
                Case* const c          = cases.back().get();
                const std::string name = "clut " + std::to_string(dims) + " to " +
                                         std::to_string(channels) +
                                         (is_noise ? ", noise" : ", soft");
                benchmark::RegisterBenchmark((name + ", lines/movane").c_str(), by_line, c);
                benchmark::RegisterBenchmark((name + ", lines/lcms2").c_str(), by_peer, c);
                benchmark::RegisterBenchmark((name + ", points/movane").c_str(), by_point, c);
                benchmark::RegisterBenchmark((name + ", points/lcms2").c_str(), by_peer, c);
            }
        }
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
