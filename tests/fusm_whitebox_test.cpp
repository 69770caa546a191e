// Unsharp masking without memory, and every variant of its kernels against the reference.

#include "movane/imaging.h"

#include "Kernels/fusm_variants.h"
#include "support/allocation_failures.h"
#include "support/fusm_host.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace movane_tests;
using Messages = std::vector<std::string>;

constexpr int kChannels[] = {0};

TEST(FusmWithoutMemory, CreationReportsAndLeavesNothing) {
    check_every_allocation_failure(
        "fusm_new", Messages{"usm_new: unable to malloc", "usm_new: unable to alloc usmval"},
        [] { return made(fusm_new(0, 255, 1, 1, kChannels, nullptr), fusm_kill); });
}

TEST(FusmWithoutMemory, AFailedStartLeavesLineCallsWithoutEffect) {
    static int calls;
    calls                   = 0;
    const auto count        = [](void*, int, void*, int, int) { return ++calls; };
    unsigned char in_line[] = {1, 2, 3}, out_line[] = {9, 9, 9}, *in = in_line, *out = out_line;
    const auto start = [&](int width) {
        usm_filter* const f = fusm_new(0, 255, 1, 1, kChannels, count);
        EXPECT_TRUE(f);
        fusm_b_do(f, &in, &out, nullptr);  // not started at all
        fusm_start(f, 1, 3, nullptr, 1, 1, 1);
        const bool started = fusm_start(
                                 f, 1, width, [](int) { ++calls; }, 1, 1, 1) == 1;
        if (!started) {
            EXPECT_EQ(fusm_b_do(f, &in, &out, nullptr), 0);
        }
        fusm_kill(f);
        return started;
    };
    const MessageCapture capture;
    // The filter, its gains and two buffers of the first start come before.
    for (const auto& [passes, message] : {std::pair{4, "fusm_start: malloc comps_buf failed"},
                                          {5, "fusm_start: malloc HPFc_buf failed"},
                                          {6, ""}}) {
        const long live = movane::testing::live_blocks();
        movane::testing::refuse_allocations_after(passes, movane::testing::Shortage::lasting);
        EXPECT_EQ(start(3), *message == '\0');
        movane::testing::end_refusals();
        EXPECT_EQ(MessageCapture::take(), message);
        EXPECT_EQ(movane::testing::live_blocks(), live);
    }
    if (sizeof(void*) == 4) {
        EXPECT_FALSE(start(0x7FFFFFFF));  // beyond the address space
        EXPECT_EQ(MessageCapture::take(), "fusm_start: malloc comps_buf failed");
    }
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(out_line[0], 9);
}

TEST(FusmWithoutMemory, ACurveReportsAndIsGone) {
    const double at[] = {0.0, 255.0};
    const Handle f(fusm_new(0, 255, 1, 1, kChannels, nullptr), fusm_kill);
    const long live = movane::testing::live_blocks();
    check_every_allocation_failure(
        "fusm_level_red_set", "fusm_level_red_set: unable to create lin interp", [&] {
            const bool is_set = fusm_level_red_set(f, 0, 2, at, at) == 1;
            if (!is_set) {
                EXPECT_EQ(movane::testing::live_blocks(), live);
            }
            EXPECT_EQ(is_set ? fusm_level_red_set(f, 0, 0, at, at) : 1, 1);
            return is_set;
        });
}

template <class Sample>
void expect_variants_to_agree(std::mt19937& random) {
    FusmImage<Sample> image = random_image<Sample>(random);
    image.height = image.fed = 7;
    image.width              = static_cast<int>(random() % 1100);
    const auto expected      = fusm_reference(image);
    const int in_step        = random() % 2 ? std::max(image.comps, 1) : 1,
              out_step       = 1 + static_cast<int>(random() % 3),
              limit_step     = 1 + static_cast<int>(random() % 2);
    for (const auto& variant : movane::fusm_kernels.variants()) {
        if (!movane::cpu_offers(variant.needs)) continue;
        movane::fusm_kernels.use(variant.kernels);
        const auto f = make_filter(image);
        set_up(f, image);
        EXPECT_TRUE(sharpen_image(f, image, in_step, limit_step, out_step) == expected)
            << variant.kernels->name << ": " << image.width << " samples of " << 8 * sizeof(Sample)
            << " bits, radius " << image.radius << ", steps " << in_step << " and " << out_step;
    }
    movane::fusm_kernels.use(nullptr);
}

TEST(FusmKernel, EveryVariantGivesWhatTheReferenceDoes) {
    std::mt19937 random(1);
    for (int i = 0; i < 60; ++i) {
        expect_variants_to_agree<std::uint8_t>(random);
        expect_variants_to_agree<std::uint16_t>(random);
    }
}

}  // namespace
