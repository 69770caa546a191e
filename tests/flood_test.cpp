// The flood fill against a fill pixel by pixel, and against the order of spans it promises.

#include "movane/imaging.h"

#include "reference/flood_reference.h"
#include "support/handle.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>
#include <string_view>

namespace {

using namespace movane_tests;

void expect_filled(flood* f, FloodRaster& raster, int x, int y) {
    const MessageCapture capture;
    FloodRaster plain = raster, model = raster;
    fill_plainly(plain, x, y);
    FloodModel(model).run(x, y);
    ASSERT_EQ(flood_do(f, &raster, x, y), 1);
    ASSERT_EQ(raster.strays, 0);
    ASSERT_TRUE(raster.pixels == plain.pixels);
    ASSERT_TRUE(raster.calls == model.calls);
    ASSERT_EQ(MessageCapture::take(), "");
}

TEST(Flood, FillsTheConnectedRegionOnceInTheOrderOfSpans) {
    const Handle f(flood_new(FloodRaster::inside, FloodRaster::fill), flood_kill);
    std::mt19937 random(1);
    const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    for (int round = 0; round < 20000; ++round) {
        const int size = round % 100 == 0 ? 60 : 12, density = below(101);
        FloodRaster raster{below(200) - 100, below(200) - 100, 1 + below(size), 1 + below(size)};
        for (char& pixel : raster.pixels) pixel = below(100) < density;
        // Walls and corridors, which noise has not.
        for (int wall = below(4); wall > 0; --wall) {
            const bool is_along = below(2), value = below(2);
            const int start = below(is_along ? raster.height : raster.width),
                      step  = is_along ? 1 : raster.width;
            for (int i = 0; i < (is_along ? raster.width : raster.height); ++i)
                raster.pixels[start * (is_along ? raster.width : 1) + i * step] = value;
        }
        const int x = raster.left + below(raster.width), y = raster.top + below(raster.height);
        ASSERT_NO_FATAL_FAILURE(expect_filled(f, raster, x, y)) << "round " << round;
    }
}

// A shadow from above lies in a gap of a line that is scanned from below: what remains of the
// shadow cast upwards must not begin in the gap. One in a million of random rasters does this.
TEST(Flood, KeepsRemaindersOfShadowsWithinThem) {
    const std::string_view lines =
        "#.##.#..####.###.#"
        ".##.####..####.###"
        "#############.#..#"
        "#.....#..##.###.##"
        ".#.#.###..########"
        "###...####.#####.#"
        "###############.##"
        "#########.#####.#.";
    FloodRaster raster{0, 0, 18, 8};
    std::ranges::transform(lines, raster.pixels.begin(), [](char c) { return c == '#'; });
    const Handle f(flood_new(FloodRaster::inside, FloodRaster::fill), flood_kill);
    expect_filled(f, raster, 15, 1);
}

TEST(Flood, StopsAtTheEndsOfInt) {
    const Handle f(flood_new(FloodRaster::inside, FloodRaster::fill), flood_kill);
    for (const int left : {INT_MIN, INT_MAX - 3}) {
        for (const int top : {INT_MIN, INT_MAX - 3}) {
            FloodRaster raster{left, top, 4, 4};
            raster.pixels.assign(raster.pixels.size(), 1);
            flood_do(f, &raster, left + 1, top + 2);
            EXPECT_EQ(raster.strays, 0);
            EXPECT_EQ(std::ranges::count(raster.pixels, 2), 16);
        }
    }
}

}  // namespace
