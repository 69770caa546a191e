// A host of unsharp masking that keeps what it is given.
#pragma once

#include "movane/imaging.h"
#include "reference/fusm_reference.h"
#include "support/fir_host.h"
#include "support/handle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>
#include <vector>

namespace movane_tests {

inline int feed_line(usm_filter* f, unsigned char** in, unsigned char** out, unsigned char* limit) {
    return fusm_b_do(f, in, out, limit);
}
inline int feed_line(usm_filter* f, unsigned short** in, unsigned short** out,
                     unsigned short* limit) {
    return fusm_do(f, in, out, limit);
}

/// Mixes the channels as FusmImage::source() does.
template <class Sample, int kComps, int kChannels>
int mix_channels(void* in, int in_step, void* out, int out_step, int width) {
    auto** const comps    = static_cast<Sample**>(in);
    auto** const channels = static_cast<Sample**>(out);
    for (int ch = 0; ch < kChannels; ++ch)
        for (int x = 0; x < width; ++x)
            channels[ch][x * out_step] = static_cast<Sample>(
                mixed_channel(comps[0][x * in_step], comps[kComps - 1][x * in_step], ch));
    return -1;
}

template <class Sample>
fusm_comps mixer(int comps, int channels) {
    if (comps == 1) return channels == 1 ? mix_channels<Sample, 1, 1> : mix_channels<Sample, 1, 10>;
    return channels == 1 ? mix_channels<Sample, 3, 1> : mix_channels<Sample, 3, 10>;
}

template <class Sample>
Handle<usm_filter, int> make_filter(const FusmImage<Sample>& image) {
    return {
        fusm_new(image.radius, image.maxval, image.comps, image.channels, image.channel_of.data(),
                 image.has_callback ? mixer<Sample>(image.comps, image.channels) : nullptr),
        fusm_kill};
}

template <class Sample>
void set_up(usm_filter* f, const FusmImage<Sample>& image) {
    fusm_stren_set(f, image.strength.data());
    fusm_noise_red_set(f, image.noise.data());
    for (int comp = 0; comp < image.comps; ++comp) {
        std::vector<double> levels, factors;
        for (const auto& [level, factor] : image.curves[comp]) {
            levels.insert(levels.begin(), level);  // in descending order
            factors.insert(factors.begin(), factor);
        }
        EXPECT_EQ(fusm_level_red_set(f, comp, static_cast<int>(levels.size()), levels.data(),
                                     factors.data()),
                  1);
    }
}

/// Sends an image through a filter. Input and limit lines have no sample too many and live no
/// longer than they must; output goes to two buffers in turn, of which all that the filter does not
/// have to write must keep its value.
template <class Sample>
std::vector<Delivery<Sample>> sharpen_image(usm_filter* f, const FusmImage<Sample>& image,
                                            int in_step, int limit_step, int out_step) {
    constexpr Sample kFill = 0x5A;
    const int comps        = std::max(image.comps, 1);
    const FirLayout in{comps, image.width, in_step}, out{comps, image.width, out_step},
        limits{1, image.width, limit_step};
    std::vector<Sample> buffers(2 * out.samples() + 70, kFill);
    std::vector<Sample*> targets, sources(comps);
    for (int comp = 0; comp < comps; ++comp) targets.push_back(&buffers[out.start(comp)]);
    std::vector<Delivery<Sample>> deliveries;
    int call     = 0;
    on_line_done = [&](int comp) {
        std::vector<Sample> line;
        for (int x = 0; x < image.width; ++x)
            line.push_back(std::exchange(targets[comp][x * out_step], kFill));
        deliveries.push_back({call, comp, line});
        const bool is_first = targets[comp] < &buffers[out.samples()];
        targets[comp] += is_first ? out.samples() : -out.samples();
    };
    EXPECT_EQ(fusm_start(
                  f, image.height, image.width, [](int comp) { on_line_done(comp); }, in_step,
                  limit_step, out_step),
              1);
    std::vector<std::vector<Sample>> lines, limit_lines;
    for (; call < image.fed; ++call) {
        lines.emplace_back(in.samples());
        limit_lines.emplace_back(limits.samples());
        for (int comp = 0; comp < comps; ++comp) {
            sources[comp] = &lines[call][in.start(comp)];
            for (int x = 0; x < image.width; ++x) sources[comp][x * in_step] = image(comp, call, x);
        }
        for (int x = 0; x < image.width; ++x)
            limit_lines[call][x * limit_step] = image.limit(call, x);
        EXPECT_EQ(feed_line(f, sources.data(), targets.data(),
                            image.has_limit(call) ? limit_lines[call].data() : nullptr),
                  call + 1);
        const int kept = 2 * image.half() + 1;
        if (call < kept) continue;
        std::vector<Sample>().swap(lines[call - kept]);
        std::vector<Sample>().swap(limit_lines[call - kept]);
    }
    EXPECT_EQ(std::count(buffers.begin(), buffers.end(), kFill), std::ssize(buffers))
        << "stray writes";
    return deliveries;
}

/// A filter and an image of any kind.
template <class Sample>
FusmImage<Sample> random_image(std::mt19937& random) {
    const auto pick = [&](auto... choices) {
        const double all[] = {static_cast<double>(choices)...};
        return all[random() % std::size(all)];
    };
    const auto pick_int = [&](auto... choices) { return static_cast<int>(pick(choices...)); };
    constexpr int kMax  = Sample(-1);
    FusmImage<Sample> image{};
    image.radius       = pick_int(0, 1, 2);
    image.maxval       = pick_int(kMax, kMax, 100, 1, 1000, 40000);
    image.comps        = pick_int(0, 1, 1, 3, 3, 4);
    image.has_callback = (image.comps == 1 || image.comps == 3) && pick(0, 1) != 0;
    image.channels =
        image.has_callback ? pick_int(1, 10) : pick_int(image.comps, (image.comps + 1) / 2);
    image.brightest  = pick_int(kMax, std::min(kMax, image.maxval));
    image.has_limits = pick(0, 1) != 0;
    image.width =
        pick_int(random() % 8, random() % 8, random() % 80, random() % 80, 500 + random() % 100);
    image.height = pick_int(random() % 8, random() % 20);
    image.seed   = static_cast<unsigned>(random());
    for (int comp = 0; comp < image.comps; ++comp) {
        image.channel_of.push_back(static_cast<int>(random() % image.channels));
        image.strength.push_back(pick(0, 0.3, 1, 1.7, 5, -1, 1e9, INFINITY, NAN));
        image.noise.push_back(pick(0, 0, 0.1, 0.01, 0.9, 1.5, -0.5, 1e300, NAN, 1.5 / kMax));
        image.curves.emplace_back();
        if (pick(0, 1) != 0) continue;
        const int gap = (kMax + 1) / 8, offset = pick_int(0, -3, 17);
        for (int k = 0; k <= pick_int(1, 5); ++k)
            image.curves[comp].emplace_back(k * gap + offset,
                                            (static_cast<int>(random() % 2000) - 300) / 256.0);
    }
    return image;
}

}  // namespace movane_tests
