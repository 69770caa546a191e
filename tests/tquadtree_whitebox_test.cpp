// The region quadtree with little memory: what is known is right, and the rest is outside.

#include "movane/gamut.h"

#include "support/allocation_failures.h"
#include "support/quadtree_region.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

using namespace movane_tests;
using movane::testing::Shortage;

TEST(QuadtreeWithoutMemory, MissesPartsOrAsksAgain) {
    const auto region = [](int x, int y) { return x + y < 30; };
    Region plentiful{region, INT_MAX};
    const TQuadTree complete(0, 32, 32, &plentiful, Region::classify, nullptr, nullptr);
    int missing = 0, asked_again = 0;
    for (const Shortage shortage : {Shortage::passing, Shortage::lasting}) {
        for (int passes = 0, refusals = 1; refusals > 0; passes += 3) {
            const long live = movane::testing::live_blocks();
            {
                Region host{region, INT_MAX};
                movane::testing::refuse_allocations_after(passes, shortage);
                const TQuadTree tree(0, 32, 32, &host, Region::classify, nullptr, nullptr);
                refusals = movane::testing::end_refusals();
                asked_again += host.asked.size() > plentiful.asked.size();
                bool is_complete = true;
                for (int x = 0; x <= 32; ++x) {
                    for (int y = 0; y <= 32; ++y) {
                        EXPECT_LE(tree.IsInside(x, y), complete.IsInside(x, y));
                        is_complete = is_complete && tree.IsInside(x, y) == complete.IsInside(x, y);
                    }
                }
                missing += !is_complete;
                EXPECT_EQ(tree.ErrNo(), 0);
            }
            EXPECT_EQ(movane::testing::live_blocks(), live);
        }
    }
    EXPECT_GT(missing, 0);
    EXPECT_GT(asked_again, 0);
}

}  // namespace
