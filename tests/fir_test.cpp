// The FIR filter: every entry point against the whole-image reference.

#include "movane/imaging.h"

#include "support/fir_host.h"
#include "support/handle.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

namespace {

using namespace movane_tests;
using Filter = Handle<fir_filter, int>;

struct Case {
    const char* name;
    int radius, width, height, in_step, out_step;
};

constexpr Case kCases[] = {
    {"planar", 1, 37, 9, 1, 1},
    {"interleaved RGB", 2, 41, 12, 3, 3},
    {"interleaved CMYK", 3, 301, 14, 4, 4},
    {"from wide to narrow steps", 2, 30, 8, 7, 2},
    {"largest kernel", 10, 60, 24, 1, 4},
    {"radius 0", 0, 33, 5, 3, 3},
    {"one filtered column", 3, 7, 9, 1, 1},
    {"narrower than the kernel", 3, 6, 9, 3, 3},
    {"narrower than the radius", 3, 2, 9, 1, 1},
    {"no columns", 1, 0, 4, 1, 1},
    {"one filtered line", 2, 20, 5, 1, 1},
    {"twice the radius high", 3, 20, 6, 1, 1},
    {"lower than twice the radius", 4, 20, 6, 3, 3},
    {"as high as the radius", 4, 20, 4, 1, 1},
    {"lower than the radius", 4, 20, 2, 4, 4},
    {"no lines", 2, 20, 0, 1, 1},
    {"no lines, radius 0", 0, 20, 0, 1, 1},
};

template <class Sample, int kChannels>
void check(const Case& c) {
    SCOPED_TRACE(::testing::Message() << c.name << ", " << kChannels << " channels of "
                                      << 8 * sizeof(Sample) << " bits");
    constexpr int kMaxValue = sizeof(Sample) == 1 ? 200 : 30000;
    const int size          = 2 * c.radius + 1;
    const Filter f(fir_new(c.radius, kMaxValue), fir_kill);
    std::vector<double> weights(size * size);
    // An image that is abandoned, with the weights of a fresh filter, a complete one, and another.
    for (const unsigned seed : {0U, 1U, 2U}) {
        const int fed = seed == 0 ? c.height * 3 / 4 : c.height + 3;
        const FirImage<Sample> image{kChannels, c.width,  c.height,  fed,
                                     seed,      c.radius, kMaxValue, weights};
        EXPECT_TRUE(filter_image<kChannels>(f, image, c.in_step, c.out_step) ==
                    fir_reference(image));
        std::mt19937 random(seed);
        for (double& weight : weights)
            weight = (static_cast<int>(random() % 1000) - 300) * 0.005 / size;
        EXPECT_EQ(fir_set_kernel(f, weights.data()), 1);
    }
}

TEST(Fir, DeliversWhatTheWholeImageReferenceDoes) {
    for (const Case& c : kCases) {
        check<std::uint8_t, 1>(c);
        check<std::uint8_t, 3>(c);
        check<std::uint8_t, 4>(c);
        check<std::uint16_t, 1>(c);
        check<std::uint16_t, 3>(c);
        check<std::uint16_t, 4>(c);
    }
}

TEST(Fir, TakesRadius0To10AndNullWhereTheHeaderSaysSo) {
    const MessageCapture posted;
    for (const int radius : {-1, 11})
        expect_failed(Filter(fir_new(radius, 255), fir_kill), nullptr, "fir_new: illegal radius");

    const Filter f(fir_new(0, 255), fir_kill);
    const double weight = 0.5;
    EXPECT_EQ(fir_set_kernel(f, &weight), 1);
    EXPECT_EQ(fir_set_kernel(nullptr, &weight), 0);
    EXPECT_EQ(fir_set_kernel(f, nullptr), 0);
    EXPECT_EQ(fir_start(f, 1, 1, 3, nullptr, 1, 1), f);
    unsigned char in[] = {10, 20, 255}, line[3] = {}, *out = line;
    fir_mono_b(f, in, &out);
    EXPECT_EQ(std::vector<int>(line, line + 3), (std::vector<int>{5, 10, 127}));
}

}  // namespace
