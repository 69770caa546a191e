// The FIR filter without memory, and every variant of its kernel against the scalar one.

#include "Kernels/fir_variants.h"
#include "movane/imaging.h"

#include "support/allocation_failures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using movane::FirKernels;
using movane::FirLine;

TEST(FirWithoutMemory, CreationReportsAndLeavesNothing) {
    movane_tests::check_every_allocation_failure("fir_new", "fir_new: unable to malloc", [] {
        fir_filter* f = fir_new(3, 255);
        fir_kill(f);
        return f != nullptr;
    });
}

void run(const FirKernels& kernels, const FirLine<std::uint8_t>& line) { kernels.filter_8(line); }
void run(const FirKernels& kernels, const FirLine<std::uint16_t>& line) { kernels.filter_16(line); }

// Lines of exactly the length that the kernel may read, each with a start of its own, so that a
// sanitizer sees the sample too many.
template <class Sample>
void compare_variants(int count, int size, std::ptrdiff_t in_step, std::ptrdiff_t out_step,
                      std::mt19937& random) {
    SCOPED_TRACE(::testing::Message()
                 << count << " outputs of " << 8 * sizeof(Sample) << " bits, size " << size
                 << ", steps " << in_step << " and " << out_step);
    const auto pick = [&](const auto&... choices) {
        const std::int64_t all[] = {static_cast<std::int64_t>(choices)...};
        return all[random() % std::size(all)];
    };
    const auto last = static_cast<std::size_t>(std::max(count + size - 2, 0) * in_step);
    std::vector<std::vector<Sample>> lines;
    std::vector<const Sample*> rows;
    const bool extreme = random() % 2 != 0;
    for (int i = 0; i < size; ++i) {
        const std::size_t start = random() % 5;
        lines.emplace_back(start + last + 1);
        for (Sample& sample : lines.back())
            sample = static_cast<Sample>(extreme ? pick(0, 127, 128, 32767, 32768, 65535)
                                                 : static_cast<std::int64_t>(random()));
        rows.push_back(lines.back().data() + start);
    }
    std::vector<std::int32_t> weights(static_cast<std::size_t>(size * size));
    const std::uint32_t mask = static_cast<std::uint32_t>(pick(0xFFFF'FFFF, 0xFFFF, 0xFFF));
    for (std::int32_t& w : weights)
        w = static_cast<std::int32_t>(
            random() % 4 == 0
                ? pick(0, -1, 0x7FFF, 0x8000, -0x8000, -0x8001, 0x7FFF'8000, INT32_MAX, INT32_MIN)
                : static_cast<std::int64_t>(random() & mask) - mask / 2);

    const auto written      = static_cast<std::size_t>(std::max(count - 1, 0) * out_step);
    const std::size_t start = random() % 5;
    const int max_value =
        static_cast<int>(pick(255, 65535, 100, -1, -40000, 0, INT32_MAX, INT32_MIN));

    std::vector<Sample> expected;
    const auto variants = movane::fir_kernels.variants();
    for (auto variant = variants.rbegin(); variant != variants.rend(); ++variant) {
        if (!movane::cpu_offers(variant->needs)) continue;
        std::vector<Sample> out(start + written + 1 + 70, Sample{0x5A});
        run(*variant->kernels, {.rows          = rows.data(),
                                .weights_16_16 = weights.data(),
                                .size          = size,
                                .in_step       = in_step,
                                .out_step      = out_step,
                                .out           = out.data() + start,
                                .count         = count,
                                .max_value     = max_value});
        if (expected.empty()) expected = out;
        EXPECT_TRUE(out == expected) << variant->kernels->name;
    }
}

TEST(FirKernel, VariantsAgreeBitForBit) {
    constexpr int kLongest = 3 * 64 + 1;  // outputs: three of the widest blocks and one
    std::mt19937 random(1);
    for (int count = 0; count <= kLongest; ++count) {
        for (const std::ptrdiff_t step : {1, 2, 3, 4}) {
            const int size     = 1 + 2 * static_cast<int>(random() % (movane::kFirMaxRadius + 1));
            const int around   = static_cast<int>(random() % 7) - 3 + (count % 2 + 1) * 256;
            const auto another = static_cast<std::ptrdiff_t>(random() % 5 + 1);
            compare_variants<std::uint8_t>(count, size, step, another, random);
            compare_variants<std::uint16_t>(count, size, step, another, random);
            if (count % 16 > 1) continue;
            compare_variants<std::uint8_t>(around, size, another, step, random);
            compare_variants<std::uint16_t>(around, size, another, step, random);
        }
    }
}

}  // namespace
