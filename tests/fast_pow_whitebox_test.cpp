// The power table without memory: rows that do not exist answer 0.

#include "movane/numerics.h"

#include "support/allocation_failures.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// Anything to the power 0 is 1, so a row answers 65535 or does not exist.
std::vector<int> rows_of(TFastPow& table) {
    std::vector<int> rows;
    for (const int x : {0x0000, 0x4000, 0x8000, 0xC000})
        rows.push_back(table.Calculate(static_cast<unsigned short>(x), 0));
    return rows;
}

const std::vector<int> kComplete(4, 65535);

TEST(FastPowWithoutMemory, LeavesNothingBehind) {
    movane_tests::check_every_allocation_failure("TFastPow", "", [] {
        TFastPow table(2, 3);
        return rows_of(table) == kComplete;
    });
}

TEST(FastPowWithoutMemory, AnswersZeroForTheRowsConcerned) {
    for (int refused = 0; refused <= 4; ++refused) {
        movane::testing::refuse_allocations_after(refused, movane::testing::Shortage::passing);
        TFastPow table(2, 3);
        EXPECT_NE(movane::testing::end_refusals(), 0);

        std::vector<int> expected(4, refused == 0 ? 0 : 65535);  // 0: the row pointers
        if (refused > 0) expected[static_cast<std::size_t>(refused) - 1] = 0;
        EXPECT_EQ(rows_of(table), expected);
    }
}

}  // namespace
