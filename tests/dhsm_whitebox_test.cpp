// The downhill simplex without memory.

#include "movane/numerics.h"

#include "support/allocation_failures.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace {

double zero(void*, void*, void*, const double*) { return 0; }

// The message with its line, which is the module's own affair, taken out.
std::string without_line(const std::string& message) {
    const std::string label  = "line: ";
    const std::size_t digits = message.find(label) + label.size();
    const std::size_t end    = message.find_first_not_of("0123456789", digits);
    return end > digits ? message.substr(0, digits) + "%d" + message.substr(end) : message;
}

constexpr char kNoResources[] =
    "nr: 1, kind: 0, sys: 12, file: MOVANE/Private/Source/dhsm, line: %d, "
    "info: No resources available";

TEST(DhsmWithoutMemory, ReportsAndLeavesNothing) {
    movane_tests::check_every_allocation_failure("dhsm_new", "", [] {
        dhsm* h = dhsm_new(zero, nullptr, 3);
        if (!h) {
            EXPECT_EQ(without_line(movane_tests::MessageCapture::take()), kNoResources);
        }
        dhsm_kill(h);
        return h != nullptr;
    });
}

TEST(DhsmWithoutMemory, RefusesASimplexThatNoAddressSpaceHolds) {
    const long before = movane::testing::live_blocks();
    const auto posted =
        movane_tests::message_of([] { EXPECT_EQ(dhsm_new(zero, nullptr, INT_MAX), nullptr); });
    EXPECT_EQ(without_line(posted), kNoResources);
    EXPECT_EQ(movane::testing::live_blocks(), before);
}

}  // namespace
