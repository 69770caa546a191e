// Histogram and dither table without memory.

#include "movane/imaging.h"

#include "support/allocation_failures.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace movane_tests;
using Messages = std::vector<std::string>;

TEST(HistWithoutMemory, CreationReportsAndLeavesNothing) {
    check_every_allocation_failure(
        "hist_new", Messages{"hist_new: alloc self failed", "hist_new: illegal bounds"},
        [] { return made(hist_new(0, 255), hist_kill); });
}

TEST(RditherWithoutMemory, CreationReportsAndLeavesNothing) {
    check_every_allocation_failure(
        "rdither_new",
        Messages{"rdither_new:unable to create rdither", "rdither_new: malloc failed",
                 "rdither_new: malloc failed"},
        [] { return made(rdither_new(255, 3), rdither_kill); });
}

}  // namespace
