// The generators' state without memory.

#include "movane/numerics.h"

#include "support/allocation_failures.h"

#include <gtest/gtest.h>

namespace {

TEST(RandomWithoutMemory, ReportsAndLeavesNothing) {
    movane_tests::check_every_allocation_failure("random_new", "Random_new : allocation failed",
                                                 [] {
                                                     int* state = random_new(1);
                                                     random_kill(state);
                                                     return state != nullptr;
                                                 });
}

}  // namespace
