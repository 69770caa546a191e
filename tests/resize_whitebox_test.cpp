// The two resizers without memory, and every variant of their kernels against the references.

#include "movane/imaging.h"

#include "Kernels/ibilin_variants.h"
#include "Kernels/izat_variants.h"
#include "support/allocation_failures.h"
#include "support/resize_host.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using namespace movane_tests;

TEST(ResizersWithoutMemory, ReportAndLeaveNothing) {
    check_every_allocation_failure("izat_new", "izat_new:unable to create iza",
                                   [] { return made(izat_new(0), izat_kill); });
    check_every_allocation_failure("ibilin_new", "ibilin_new:unable to create ibilin",
                                   [] { return made(ibilin_new(0), ibilin_kill); });
    check_every_allocation_failure("izat_start", "", [] {
        const Handle z(izat_new(0), izat_kill);
        if (!z) return false;
        const int started = izat_start(z, 3, 9, 70, 5, 30, nullptr, 1, 1);
        EXPECT_EQ(MessageCapture::take(), started ? "" : "izat_start: insuf. mem");
        return started == 1;
    });
    check_every_allocation_failure("ibilin_start", "", [] {
        const Handle f(ibilin_new(0), ibilin_kill);
        if (!f) return false;
        const int started = ibilin_start(f, 3, 9, 70, 5, 30, nullptr, 1, 1);
        EXPECT_EQ(MessageCapture::take(), started ? "" : "ibilin_start: unsufficient resources");
        return started == 1;
    });
}

template <class Family, class Kernels>
void expect_variants_to_agree(Kernels& kernels) {
    std::mt19937 random(1);
    Family family;
    for (int i = 0; i < 60; ++i) {
        // All counts up to three of the widest blocks and one; and around strips.
        const int out_w = i < 50 ? 1 + i : 250 + i;
        const int in_w  = 1 + static_cast<int>(random() % (i % 3 ? 60 : 2000));
        const int in_h = 1 + i % 12, out_h = 1 + static_cast<int>(random() % 12);
        const ResizeImage image{1, in_h, in_w, out_h, out_w, 0, static_cast<unsigned>(random())};
        for (const auto& variant : kernels.variants()) {
            if (!movane::cpu_offers(variant.needs)) continue;
            SCOPED_TRACE(variant.kernels->name);
            kernels.use(variant.kernels);
            expect_like_reference<1, std::uint8_t>(family, image, 1 + i % 5, 1 + i % 3);
            expect_like_reference<1, std::uint16_t>(family, image, 1 + i % 5, 1 + i % 3);
        }
    }
    kernels.use(nullptr);
}

TEST(ResizeKernels, GiveWhatTheReferencesDoInEveryVariant) {
    expect_variants_to_agree<Zoom>(movane::izat_kernels);
    expect_variants_to_agree<Bilinear>(movane::ibilin_kernels);
}

}  // namespace
