// The FIR filter without memory, and every variant of its kernel against the reference.

#include "movane/imaging.h"

#include "Kernels/fir_variants.h"
#include "support/allocation_failures.h"
#include "support/fir_host.h"
#include "support/handle.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace movane_tests;

TEST(FirWithoutMemory, CreationReportsAndLeavesNothing) {
    check_every_allocation_failure("fir_new", "fir_new: unable to malloc",
                                   [] { return made(fir_new(3, 255), fir_kill); });
}

template <class Sample>
void expect_variants_to_agree(std::mt19937& random, int count) {
    const auto pick = [&](const auto&... choices) {
        const double all[] = {static_cast<double>(choices)...};
        return all[random() % std::size(all)];
    };
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const int radius           = static_cast<int>(random() % (movane::kFirMaxRadius + 1));
    const int size = 2 * radius + 1, shift = static_cast<int>(pick(0, 16, 20));
    std::vector<double> weights(size * size);
    for (double& weight : weights) {  // in units of 1/65536
        weight = static_cast<std::int32_t>(random()) >> shift;
        if (random() % 4 == 0)
            weight = pick(0, -1, 0x7FFF, 0x8000, -0x8000, -0x8001, 0x7FFF'8000, INT_MAX, INT_MIN,
                          2147483648.0, -2147483649.0, 0.9, -0.9, -1.99999, 1e300, -1e300,
                          kInfinity, -kInfinity, std::nan(""));
        weight /= 65536;
    }
    const int in_step  = static_cast<int>(pick(1, 2, 3, 4, 5)),
              out_step = static_cast<int>(pick(1, 2, 3, 4, 5)),
              max_value =
                  static_cast<int>(pick(255, 65535, 40000, 100, -1, -40000, 0, INT_MAX, INT_MIN));
    const auto seed = static_cast<unsigned>(random());
    const FirImage<Sample> image{1,      count + 2 * radius, size,   size, seed,
                                 radius, max_value,          weights};
    const auto expected = fir_reference(image);
    const Handle f(fir_new(radius, max_value), fir_kill);
    fir_set_kernel(f, weights.data());
    for (const auto& variant : movane::fir_kernels.variants()) {
        if (!movane::cpu_offers(variant.needs)) continue;
        movane::fir_kernels.use(variant.kernels);
        EXPECT_TRUE(filter_image<1>(f, image, in_step, out_step) == expected)
            << variant.kernels->name << ": " << count << " outputs of " << 8 * sizeof(Sample)
            << " bits, radius " << radius << ", steps " << in_step << " and " << out_step;
    }
    movane::fir_kernels.use(nullptr);
}

TEST(FirKernel, EveryVariantGivesWhatTheReferenceDoes) {
    std::mt19937 random(1);
    for (int i = 0; i < 400; ++i) {
        // Up to three of the widest blocks and one; and around one and two strips.
        const int count =
            i % 16 ? i % 194 : 256 * (1 + i / 16 % 2) + static_cast<int>(random() % 7) - 3;
        expect_variants_to_agree<std::uint8_t>(random, count);
        expect_variants_to_agree<std::uint16_t>(random, count);
    }
}

}  // namespace
