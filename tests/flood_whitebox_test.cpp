// The flood fill short of memory, and how much it takes.

#include "movane/imaging.h"

#include "reference/flood_reference.h"
#include "support/allocation_failures.h"
#include "support/handle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>

namespace {

using namespace movane_tests;

TEST(FloodWithoutMemory, CreationReportsAndLeavesNothing) {
    check_every_allocation_failure("flood_new", "flood_new: malloc failure", [] {
        return made(flood_new(FloodRaster::inside, FloodRaster::fill), flood_kill);
    });
}

// What is lost stays unfilled; nothing else is filled, and nothing twice.
TEST(FloodWithoutMemory, AFillLosesShadowsOnly) {
    const Handle f(flood_new(FloodRaster::inside, FloodRaster::fill), flood_kill);
    const MessageCapture capture;
    std::mt19937 random(1);
    for (int round = 0; round < 20; ++round) {
        FloodRaster raster(0, 0, 25, 25);
        for (char& pixel : raster.pixels) pixel = random() % 100 < 65 ? 1 : 0;
        *raster.at(12, 12) = 1;
        FloodRaster whole  = raster;
        fill_plainly(whole, 12, 12);
        for (const auto shortage :
             {movane::testing::Shortage::passing, movane::testing::Shortage::lasting}) {
            for (int passes = 0, refusals = 1; refusals != 0; ++passes) {
                FloodRaster filled = raster;
                const long live    = movane::testing::live_blocks();
                movane::testing::refuse_allocations_after(passes, shortage);
                EXPECT_EQ(flood_do(f, &filled, 12, 12), 1);
                refusals = movane::testing::end_refusals();
                EXPECT_EQ(movane::testing::live_blocks(), live);
                EXPECT_EQ(filled.strays, 0);
                for (std::size_t i = 0; i < filled.pixels.size(); ++i)
                    EXPECT_TRUE(filled.pixels[i] == whole.pixels[i] ||
                                (filled.pixels[i] == 1 && refusals != 0));
                const std::string posted = MessageCapture::take();
                if (passes < 2) {
                    EXPECT_EQ(posted, "flood_do: new_shdw failed");
                } else if (refusals == 0) {
                    EXPECT_EQ(posted, "");
                } else {
                    EXPECT_TRUE(posted == "new_shdw: malloc failure" ||
                                posted == "remove_overlap: algorithm failure")
                        << posted;
                }
            }
        }
    }
}

// Labyrinths: a great many shadows are open, or lines are taken up again and again.
TEST(FloodMemory, IsBoundedByTheOpenShadows) {
    constexpr int kSize = 800;
    struct Case {
        const char* name;
        std::function<bool(int x, int y)> is_inside;
    };
    std::mt19937 random(1);
    const Case cases[] = {
        {"lattice", [](int x, int y) { return x % 2 == 0 || y % 2 == 0; }},
        {"comb, open below", [](int x, int y) { return x % 2 == 0 || y == kSize - 1; }},
        {"two combs, one in the other",
         [](int x, int y) { return x % 2 == 0 || y == (x % 4 == 1 ? 0 : kSize - 1); }},
        {"noise", [&](int, int y) { return random() % 1000 < 620 || y == 0; }},
        {"spiral",
         [](int x, int y) {
             const int ring = std::min({x, y, kSize - 1 - x, kSize - 1 - y});
             return ring % 2 == 0 ? x != ring || y != ring + 1 || ring == 0
                                  : x == ring && y == ring + 1;
         }},
    };
    const Handle f(flood_new(FloodRaster::inside,
                             [](void* user, int x1, int x2, int y) {
                                 static long peak;
                                 peak = std::max(peak, movane::testing::live_blocks());
                                 EXPECT_LT(peak, 4 * kSize);
                                 FloodRaster::fill(user, x1, x2, y);
                             }),
                   flood_kill);
    for (const Case& c : cases) {
        FloodRaster raster(0, 0, kSize, kSize);
        raster.keeps_calls = false;
        for (int y = 0; y < kSize; ++y)
            for (int x = 0; x < kSize; ++x) *raster.at(x, y) = c.is_inside(x, y) ? 1 : 0;
        *raster.at(0, 0)  = 1;
        FloodRaster plain = raster;
        fill_plainly(plain, 0, 0);
        flood_do(f, &raster, 0, 0);
        EXPECT_EQ(raster.strays, 0) << c.name;
        EXPECT_TRUE(raster.pixels == plain.pixels) << c.name;
        EXPECT_GT(std::ranges::count(raster.pixels, 2), kSize * kSize / 3) << c.name;
    }
}

}  // namespace
