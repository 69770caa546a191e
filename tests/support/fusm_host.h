// A host of unsharp masking.
#pragma once

#include "movane/imaging.h"
#include "reference/fusm_reference.h"
#include "support/handle.h"
#include "support/scanline_host.h"

#include <random>

namespace movane_tests {

inline int mixed_lines;

/// Mixes the channels as FusmImage::source() does.
template <class Sample, int kComps, int kChannels>
int mix_channels(void* in, int in_step, void* out, int out_step, int width) {
    auto** const comps    = static_cast<Sample**>(in);
    auto** const channels = static_cast<Sample**>(out);
    ++mixed_lines;
    for (int ch = 0; ch < kChannels; ++ch)
        for (int x = 0; x < width; ++x)
            channels[ch][x * out_step] = static_cast<Sample>(
                mixed_channel(comps[0][x * in_step], comps[kComps - 1][x * in_step], ch));
    return -1;
}

template <class Sample>
fusm_comps mixer(const FusmImage<Sample>& i) {
    if (!i.has_callback) return nullptr;
    if (i.comps == 1)
        return i.channels == 1 ? mix_channels<Sample, 1, 1> : mix_channels<Sample, 1, 10>;
    return i.channels == 1 ? mix_channels<Sample, 3, 1> : mix_channels<Sample, 3, 10>;
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

/// Sends an image through a filter. Input and limit lines live no longer than they must.
template <class Sample>
std::vector<Delivery<Sample>> sharpen_image(usm_filter* f, const FusmImage<Sample>& image,
                                            int in_step, int limit_step, int out_step) {
    const int comps = std::max(image.comps, 1), kept = 2 * image.half() + 2;
    InputLines<Sample> limits({1, image.width, limit_step}, kept);
    mixed_lines           = 0;
    const auto deliveries = send_lines<Sample>(
        image, {comps, image.width, in_step}, {comps, image.width, out_step}, kept, Output::moves,
        [&] {
            EXPECT_EQ(
                fusm_start(f, image.height, image.width, line_done, in_step, limit_step, out_step),
                1);
        },
        [&](Sample** in, Sample** out, int y) {
            Sample* const line  = *limits.line(y, [&](int, int x) { return image.limit(y, x); });
            Sample* const limit = image.has_limit(y) ? line : nullptr;
            if constexpr (sizeof(Sample) == 1) {
                EXPECT_EQ(fusm_b_do(f, in, out, limit), y + 1);
            } else {
                EXPECT_EQ(fusm_do(f, in, out, limit), y + 1);
            }
        });
    EXPECT_EQ(mixed_lines,
              image.has_callback && image.width > 0 ? std::min(image.fed, image.height) : 0);
    return deliveries;
}

/// A filter and an image of any kind; a filter like that of `like`, if it is given.
template <class Sample>
FusmImage<Sample> random_image(std::mt19937& random, const FusmImage<Sample>* like = nullptr) {
    const auto pick = [&](auto... choices) {
        const double all[] = {static_cast<double>(choices)...};
        return all[random() % std::size(all)];
    };
    const auto pick_int = [&](auto... choices) { return static_cast<int>(pick(choices...)); };
    constexpr int kMax  = Sample(-1);
    FusmImage<Sample> image{};
    if (like) {
        image = *like;
        image.strength.clear();
        image.noise.clear();
        image.curves.clear();
    } else {
        image.radius       = pick_int(0, 1, 2);
        image.maxval       = pick_int(kMax, kMax, 100, 1, 1000, 40000);
        image.comps        = pick_int(0, 1, 1, 3, 3, 4);
        image.has_callback = (image.comps == 1 || image.comps == 3) && pick(0, 1) != 0;
        image.channels =
            image.has_callback ? pick_int(1, 10) : pick_int(image.comps, (image.comps + 1) / 2);
        for (int comp = 0; comp < image.comps; ++comp)
            image.channel_of.push_back(static_cast<int>(random() % image.channels));
    }
    image.brightest  = pick_int(kMax, std::min(kMax, image.maxval));
    image.has_limits = pick(0, 1) != 0;
    image.width =
        pick_int(random() % 8, random() % 80, random() % 80, random() % 80, 508 + random() % 16);
    image.height = pick_int(random() % 8, random() % 20);
    image.fed    = image.height * 2 / 3 + static_cast<int>(random() % 10);
    image.seed   = static_cast<unsigned>(random());
    for (int comp = 0; comp < image.comps; ++comp) {
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

/// A few random images of one random filter, also abandoned ones and ones with lines too many.
template <class Sample>
void expect_sharpened_like_reference(std::mt19937& random) {
    const auto step  = [&] { return 1 + static_cast<int>(random() % 5); };
    const auto first = random_image<Sample>(random);
    const Handle f(fusm_new(first.radius, first.maxval, first.comps, first.channels,
                            first.channel_of.data(), mixer(first)),
                   fusm_kill);
    ASSERT_NE(f, nullptr);
    for (int round = 0; round < 3; ++round) {
        const auto image  = random_image(random, &first);
        const int in_step = random() % 2 ? std::max(image.comps, 1) : step(), limit_step = step(),
                  out_step = step();
        set_up(f, image);
        ASSERT_TRUE(sharpen_image(f, image, in_step, limit_step, out_step) == fusm_reference(image))
            << image.width << " x " << image.height << ", radius " << image.radius << ", "
            << image.comps << " components, " << image.channels << " channels, steps " << in_step
            << " " << limit_step << " " << out_step << ", maxval " << image.maxval;
    }
}

}  // namespace movane_tests
