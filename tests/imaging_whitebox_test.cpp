// Imaging without memory, and every variant of its kernels against the references.

#include "movane/imaging.h"

#include "Kernels/fusm_variants.h"
#include "Kernels/ibilin_variants.h"
#include "Kernels/izat_variants.h"
#include "support/allocation_failures.h"
#include "support/fusm_host.h"
#include "support/resize_host.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace movane_tests;
using Messages = std::vector<std::string>;

constexpr int kChannels[] = {0};

Messages after(const char* first, std::size_t count, const char* others) {
    Messages messages(count, others);
    messages.insert(messages.begin(), first);
    return messages;
}

TEST(ImagingWithoutMemory, CreationReportsAndLeavesNothing) {
    check_every_allocation_failure(
        "hist_new", Messages{"hist_new: alloc self failed", "hist_new: illegal bounds"},
        [] { return made(hist_new(0, 255), hist_kill); });
    check_every_allocation_failure(
        "rdither_new",
        Messages{"rdither_new:unable to create rdither", "rdither_new: malloc failed",
                 "rdither_new: malloc failed"},
        [] { return made(rdither_new(255, 3), rdither_kill); });
    check_every_allocation_failure("flood_new", "flood_new: malloc failure",
                                   [] { return made(flood_new(nullptr, nullptr), flood_kill); });
    check_every_allocation_failure(
        "izat_start", after("izat_new:unable to create iza", 11, "izat_start: insuf. mem"), [] {
            const Handle z(izat_new(0), izat_kill);
            return z && izat_start(z, 3, 9, 70, 5, 30, nullptr, 1, 1) == 1;
        });
    check_every_allocation_failure(
        "ibilin_start",
        after("ibilin_new:unable to create ibilin", 5, "ibilin_start: unsufficient resources"), [] {
            const Handle f(ibilin_new(0), ibilin_kill);
            return f && ibilin_start(f, 3, 9, 70, 5, 30, nullptr, 1, 1) == 1;
        });
}

// Without a start that succeeded, lines have no effect.
TEST(ImagingWithoutMemory, UnsharpMaskingReportsAndIsHarmless) {
    unsigned char in_line[] = {1, 2, 3}, out_line[] = {9, 9, 9}, *in = in_line, *out = out_line;
    const auto count = [](void*, int, void*, int, int) {
        ADD_FAILURE();
        return 0;
    };
    const auto is_started = [&](usm_filter* f, int width) {
        const auto done = [](int) { ADD_FAILURE(); };
        if (fusm_start(f, 1, width, done, 1, 1, 1) == 1) return true;
        EXPECT_EQ(fusm_b_do(f, &in, &out, nullptr), 0);
        return false;
    };
    const std::string no_lines     = "fusm_start: malloc comps_buf failed",
                      no_responses = "fusm_start: malloc HPFc_buf failed";
    check_every_allocation_failure(
        "fusm_start",
        Messages{"usm_new: unable to malloc", "usm_new: unable to alloc usmval", no_lines,
                 no_responses, no_lines, no_responses},
        [&] {
            const Handle f(fusm_new(0, 255, 1, 1, kChannels, count), fusm_kill);
            EXPECT_TRUE(!f || fusm_b_do(f, &in, &out, nullptr) == 0);
            return f && is_started(f, 3) && is_started(f, 3);
        });
    if (sizeof(void*) == 4) {  // beyond the address space
        const MessageCapture posted;
        const Handle f(fusm_new(0, 255, 1, 1, kChannels, count), fusm_kill);
        expect_failed(is_started(f, 0x7FFFFFFF), false, no_lines);
    }
    EXPECT_EQ(out_line[0], 9);

    const double at[] = {0.0, 255.0};
    const Handle f(fusm_new(0, 255, 1, 1, kChannels, nullptr), fusm_kill);
    check_every_allocation_failure("fusm_level_red_set",
                                   "fusm_level_red_set: unable to create lin interp", [&] {
                                       const bool is_set = fusm_level_red_set(f, 0, 2, at, at) == 1;
                                       return is_set && fusm_level_red_set(f, 0, 0, at, at) == 1;
                                   });
}

template <class Kernels, class Check>
void check_every_variant(Kernels& kernels, Check check) {
    for (const auto& variant : kernels.variants()) {
        if (!movane::cpu_offers(variant.needs)) continue;
        SCOPED_TRACE(variant.kernels->name);
        kernels.use(variant.kernels);
        check();
    }
    kernels.use(nullptr);
}

TEST(ImagingKernels, GiveWhatTheReferencesDoInEveryVariant) {
    check_every_variant(movane::fusm_kernels, [] {
        std::mt19937 random(2);
        for (int i = 0; i < 25; ++i) {
            expect_sharpened_like_reference<std::uint8_t>(random);
            expect_sharpened_like_reference<std::uint16_t>(random);
        }
    });
    check_every_variant(movane::izat_kernels, [] {
        Zoom zoom;
        expect_random_images_like_reference(zoom);
    });
    check_every_variant(movane::ibilin_kernels, [] {
        Bilinear bilinear;
        expect_random_images_like_reference(bilinear);
    });
}

}  // namespace
