// The region quadtree: what it asks and answers, against a reference and against the region.

#include "movane/gamut.h"

#include "support/quadtree_region.h"

#include <gtest/gtest.h>

#include <climits>
#include <functional>

namespace {

using namespace movane_tests;

TEST(Quadtree, AsksAndAnswersLikeTheReference) {
    const std::function<bool(int, int)> regions[] = {
        [](int, int) { return true; },
        [](int, int) { return false; },
        [](int x, int y) { return 3 * x + 5 * y > 40; },
        [](int x, int y) { return x * x + y * y < 200; },
        [](int x, int y) { return (x ^ y) % 5 == 0; },
        [](int x, int y) {
            return (static_cast<unsigned>(x) * 2654435761U ^ static_cast<unsigned>(y) * 40503U) %
                       7 <
                   3;
        },
    };
    for (const auto& region : regions) {
        for (const int size : {1, 2, 3, 4, 7, 8, 13, 16, 31, 32, 50, 64}) {
            for (const int fails_at : {INT_MAX, 10, 57}) {
                Region ours{region, fails_at}, theirs{region, fails_at};
                const TQuadTree tree(-20, 21, size, &ours, Region::classify, &ours, Region::note);
                const reference::Quadtree expected(-20, 21, size, std::ref(theirs));
                SCOPED_TRACE(size);
                ASSERT_EQ(ours.asked, expected.asked);
                ASSERT_EQ(ours.told, expected.told);
                EXPECT_EQ(tree.ErrNo(), expected.error);
                EXPECT_EQ(tree.ErrNo(), std::ssize(ours.asked) < fails_at ? 0 : 3);
                int wrong = 0;
                for (int x = -23; x <= -20 + size + 3; ++x)
                    for (int y = 21 - size - 3; y <= 24; ++y)
                        wrong += tree.IsInside(x, y) != expected.is_inside(x, y);
                EXPECT_EQ(wrong, 0);
            }
        }
    }
}

// Half planes, and discs around the middle, reach the boundary of every square that they cross.
TEST(Quadtree, KnowsARegionFromFewSamples) {
    std::vector<std::function<bool(int, int)>> regions;
    for (int k = 0; k < 12; ++k)
        regions.push_back([k](int x, int y) {
            return (k % 5 - 2) * (x - 128) + (k % 7 - 3) * (y - 120) > k * 18 - 100;
        });
    for (const int radius : {10, 60, 127, 150}) {
        regions.push_back([radius](int x, int y) {
            return (x - 128) * (x - 128) + (y - 128) * (y - 128) <= radius * radius;
        });
    }
    for (const auto& region : regions) {
        Region host{region, INT_MAX};
        const TQuadTree tree(0, 256, 256, &host, Region::classify, nullptr, nullptr);
        int wrong = 0;
        for (int x = 0; x <= 256; ++x)
            for (int y = 0; y <= 256; ++y) wrong += tree.IsInside(x, y) != region(x, y);
        EXPECT_EQ(wrong, 0);
        EXPECT_LT(host.asked.size(), 257U * 257U / 5);
        EXPECT_EQ(tree.IsInside(-1, 5) + tree.IsInside(5, 257) + tree.IsInside(INT_MIN, INT_MAX),
                  0);
    }
}

TEST(Quadtree, EndsForEverySizeAndPlace) {
    for (const int size : {0, -1, -2, -64, INT_MIN, 8}) {
        for (const int at : {INT_MAX, INT_MIN, 0}) {
            Region host{[](int x, int) { return x % 2 == 0; }, INT_MAX};
            const TQuadTree tree(at, at, size, &host, Region::classify, nullptr, nullptr);
            tree.IsInside(at, at);
            EXPECT_LT(host.asked.size(), 200U);
        }
    }
}

}  // namespace
