// Byte simplex tables beside a colour management library: pixels per second of 8-bit images.
//
// Both interpolate in a grid of 33 points: ours in a table filled from the peer's own conversion,
// the peer in the one that it prepares itself. Images are converted line by line.

#include "movane/interpolation.h"

#include "Kernels/md_tetrab_variants.h"

#include <benchmark/benchmark.h>
#include <lcms2.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int kGridPoints = 33;

// --- images ----------------------------------------------------------------------------------

struct Image {
    int channels, width, height;
    int start = 0;  // unused bytes before the first pixel
    std::vector<unsigned char> bytes;

    Image(int channels_, int width_, int height_, int start_ = 0)
        : channels(channels_),
          width(width_),
          height(height_),
          start(start_),
          bytes(static_cast<std::size_t>(start_ + channels_ * width_ * height_)) {}

    unsigned char* line(int y) { return bytes.data() + start + y * width * channels; }

    template <class Sample>
    Image filled(Sample sample) && {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                for (int c = 0; c < channels; ++c)
                    line(y)[x * channels + c] =
                        static_cast<unsigned char>(std::clamp(sample(x, y, c), 0.0, 255.0));
        return std::move(*this);
    }
};

std::mt19937 generator(1);

double noise(double amplitude) {
    return std::uniform_real_distribution<double>(-amplitude, amplitude)(generator);
}

// Soft shapes of a few hundred pixels under the grain of a sensor.
double photo(int x, int y, int c) {
    return 128 + 60 * std::sin(x * 0.013 * (c + 1) + y * 0.02) +
           50 * std::cos(y * 0.017 * (c + 2) - x * 0.007) + noise(3);
}
double white_noise(int, int, int) { return 128 + noise(129); }
double flat(int x, int y, int c) { return 40 * (x / 97 % 3) + 30 * (y / 31 % 3) + 9 * c; }

// --- tables and the peer ---------------------------------------------------------------------

struct Close {
    void operator()(void* transform) const { cmsDeleteTransform(transform); }
};
using Transform = std::unique_ptr<void, Close>;

std::string press_profile() {
    for (const char* root : {"/usr/share", "/usr/local/share"}) {
        const std::string path = std::string(root) + "/color/icc/ghostscript/default_cmyk.icc";
        if (std::filesystem::exists(path)) return path;
    }
    std::fprintf(stderr, "no default_cmyk.icc; install the package libgs-common\n");
    std::exit(1);
}

Transform rgb_to_cmyk(cmsUInt32Number flags) {
    const cmsHPROFILE srgb  = cmsCreate_sRGBProfile();
    const cmsHPROFILE press = cmsOpenProfileFromFile(press_profile().c_str(), "r");
    Transform transform(
        cmsCreateTransform(srgb, TYPE_RGB_8, press, TYPE_CMYK_8, INTENT_PERCEPTUAL, flags));
    cmsCloseProfile(srgb);
    cmsCloseProfile(press);
    return transform;
}

// Three dimensions and four channels come from the profile, other shapes get a smooth filling.
md_tetrab_table* filled_table(int dims, int outputs) {
    md_tetrab_table* table = md_tetrab_new(dims, outputs, kGridPoints);
    const Transform exact  = rgb_to_cmyk(cmsFLAGS_NOOPTIMIZE);
    std::array<int, 4> index{};
    std::array<unsigned char, 4> codes{};
    do {
        unsigned char* values = md_tetrab_vertex_get(table, index.data(), codes.data());
        if (dims == 3 && outputs == 4) {
            cmsDoTransform(exact.get(), codes.data(), values, 1);
        } else {
            for (int c = 0; c < outputs; ++c)
                values[c] =
                    static_cast<unsigned char>(255 - codes[static_cast<std::size_t>(c % dims)]);
        }
    } while (md_tetrab_scan_vertex(table, index.data()));
    return table;
}

// --- benchmarks: case/variant and case/peer -----------------------------------------

void convert(benchmark::State& state, const md_tetrab_table* table, Image* in, Image* out,
             const movane::MdTetrabKernels* variant) {
    movane::md_tetrab_kernels.use(variant);
    for (auto _ : state) {
        for (int y = 0; y < in->height; ++y) {
            unsigned char *from = in->line(y), *to = out->line(y);
            unsigned char* ins[4]  = {from, from + 1, from + 2, from + 3};
            unsigned char* outs[4] = {to, to + 1, to + 2, to + 3};
            md_tetrab_interp(table, ins, in->channels, outs, out->channels, in->width, nullptr, 0);
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * in->width * in->height);
}

void convert_by_peer(benchmark::State& state, const void* transform, Image* in, Image* out) {
    for (auto _ : state) {
        for (int y = 0; y < in->height; ++y)
            cmsDoTransform(const_cast<void*>(transform), in->line(y), out->line(y),
                           static_cast<cmsUInt32Number>(in->width));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * in->width * in->height);
}

}  // namespace

int main(int argc, char** argv) {
    struct Case {
        std::string name;
        Image in, out;
    };
    std::vector<Case> cases;
    const auto add = [&](const std::string& name, Image in, int outputs) {
        Image out(outputs, in.width, in.height, in.start);
        cases.push_back({name, std::move(in), std::move(out)});
    };
    add("rgb to cmyk, photo", Image(3, 1024, 256).filled(photo), 4);
    add("rgb to cmyk, white noise", Image(3, 1024, 256).filled(white_noise), 4);
    add("rgb to cmyk, flat areas", Image(3, 1024, 256).filled(flat), 4);
    add("rgb to cmyk, photo, lines of 1021", Image(3, 1021, 256).filled(photo), 4);
    add("rgb to cmyk, photo, unaligned", Image(3, 1024, 256, 1).filled(photo), 4);
    add("rgb to rgb, photo", Image(3, 1024, 256).filled(photo), 3);
    add("cmyk to rgb, photo", Image(4, 1024, 256).filled(photo), 3);
    add("cmyk to cmyk, photo", Image(4, 1024, 256).filled(photo), 4);

    md_tetrab_table* tables[5][5] = {};
    const Transform peer          = rgb_to_cmyk(0);
    for (Case& c : cases) {
        md_tetrab_table*& table = tables[c.in.channels][c.out.channels];
        if (!table) table = filled_table(c.in.channels, c.out.channels);
        for (const auto& variant : movane::md_tetrab_kernels.variants()) {
            if (!movane::cpu_offers(variant.needs)) continue;
            benchmark::RegisterBenchmark((c.name + "/" + variant.kernels->name).c_str(), convert,
                                         table, &c.in, &c.out, variant.kernels);
        }
        if (c.in.channels == 3 && c.out.channels == 4) {
            benchmark::RegisterBenchmark((c.name + "/lcms2").c_str(), convert_by_peer, peer.get(),
                                         &c.in, &c.out);
        }
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    for (auto& row : tables)
        for (md_tetrab_table* table : row) md_tetrab_kill(table);
    return 0;
}
