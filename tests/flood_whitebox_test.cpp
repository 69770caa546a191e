// The flood fill short of memory, and how much it takes.

#include "movane/imaging.h"

#include "reference/flood_reference.h"
#include "support/allocation_failures.h"
#include "support/handle.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>

namespace {

using namespace movane_tests;
using movane::testing::live_blocks;

// What is lost stays unfilled; nothing else is filled, and nothing twice.
TEST(FloodWithoutMemory, AFillLosesShadowsOnly) {
    const Handle f(flood_new(FloodRaster::inside, FloodRaster::fill), flood_kill);
    std::mt19937 random(1);
    for (int round = 0; round < 20; ++round) {
        FloodRaster raster{0, 0, 25, 25};
        for (char& pixel : raster.pixels) pixel = random() % 100 < 65;
        *raster.at(12, 12) = 1;
        FloodRaster whole  = raster;
        fill_plainly(whole, 12, 12);
        int passes = 0;
        check_every_allocation_failure("flood_do", "", [&] {
            FloodRaster filled = raster;
            EXPECT_EQ(flood_do(f, &filled, 12, 12), 1);
            EXPECT_EQ(filled.strays, 0);
            for (std::size_t i = 0; i < filled.pixels.size(); ++i)
                EXPECT_TRUE(filled.pixels[i] == whole.pixels[i] || filled.pixels[i] == 1);
            const std::string posted = MessageCapture::take();
            const bool is_whole      = posted.empty();
            EXPECT_TRUE(!is_whole || filled.pixels == whole.pixels);
            if (passes++ < 2) {
                EXPECT_EQ(posted, "flood_do: new_shdw failed");
            } else if (!is_whole && posted != "remove_overlap: algorithm failure") {
                EXPECT_EQ(posted, "new_shdw: malloc failure");
            }
            if (is_whole) passes = 0;
            return is_whole;
        });
    }
}

// Labyrinths: a great many shadows are open, or lines are taken up again and again.
TEST(FloodMemory, IsBoundedByTheOpenShadows) {
    constexpr int kSize = 500;
    std::mt19937 random(1);
    const std::function<bool(int x, int y)> labyrinths[] = {
        [](int x, int y) { return x % 2 == 0 || y == (x % 4 == 1 ? 0 : kSize - 1); },
        [&](int, int y) { return random() % 1000 < 620 || y == 0; }, [](int x, int y) {  // a spiral
            const int ring = std::min({x, y, kSize - 1 - x, kSize - 1 - y});
            return ring % 2 == 0 ? x != ring || y != ring + 1 || ring == 0
                                 : x == ring && y == ring + 1;
        }};
    const auto fill = [](void* user, int x1, int x2, int y) {
        EXPECT_LT(live_blocks(), 4 * kSize);
        FloodRaster::fill(user, x1, x2, y);
    };
    const Handle f(flood_new(FloodRaster::inside, fill), flood_kill);
    for (const auto& is_inside : labyrinths) {
        FloodRaster raster{0, 0, kSize, kSize, false};
        for (int y = 0; y < kSize; ++y)
            for (int x = 0; x < kSize; ++x) *raster.at(x, y) = is_inside(x, y);
        *raster.at(0, 0)  = 1;
        FloodRaster plain = raster;
        fill_plainly(plain, 0, 0);
        flood_do(f, &raster, 0, 0);
        EXPECT_EQ(raster.strays, 0);
        EXPECT_TRUE(raster.pixels == plain.pixels);
        EXPECT_GT(std::ranges::count(raster.pixels, 2), kSize * kSize / 3);
    }
}

}  // namespace
