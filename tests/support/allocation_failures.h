// One loop that proves every allocation-failure path of a call. For white-box tests.
#pragma once

#include "Support/memory.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace movane_tests {

/// Refuses the 1st, 2nd, 3rd ... allocation of an attempt until it gets through: once as a
/// passing shortage (that one allocation) and once as a lasting one (all from there on).
///
/// After every round the attempt must have left no block behind, have succeeded exactly when
/// nothing was refused, and have posted the given message exactly when it failed.
///
/// @param attempt  makes the call, releases what it made and returns whether it succeeded
/// @param message  what a failure posts; "" when each attempt checks its own message
template <class Attempt>
void check_every_allocation_failure(const char* call, const std::string& message, Attempt attempt) {
    using movane::testing::Shortage;
    constexpr int kGiveUp = 10000;
    const MessageCapture capture;

    for (const Shortage shortage : {Shortage::passing, Shortage::lasting}) {
        for (int passes = 0;; ++passes) {
            SCOPED_TRACE(::testing::Message()
                         << call << ", " << passes << " allocations pass, "
                         << (shortage == Shortage::passing ? "one is refused" : "no more follow"));
            const long live_before = movane::testing::live_blocks();
            movane::testing::refuse_allocations_after(passes, shortage);
            const bool succeeded     = attempt();
            const int refusals       = movane::testing::end_refusals();
            const std::string posted = MessageCapture::take();

            EXPECT_EQ(movane::testing::live_blocks(), live_before);
            EXPECT_EQ(succeeded, refusals == 0);
            if (!message.empty()) {
                EXPECT_EQ(posted, succeeded ? "" : message);
            }
            if (refusals == 0) break;
            ASSERT_LT(passes, kGiveUp);
        }
    }
}

/// The same for a call whose allocations have different messages, here in the order in which they
/// are made.
template <class Attempt>
void check_every_allocation_failure(const char* call, const std::vector<std::string>& messages,
                                    Attempt attempt) {
    std::size_t refusals = 0;
    check_every_allocation_failure(call, "", [&] {
        const bool succeeded = attempt();
        EXPECT_EQ(MessageCapture::take(), succeeded ? "" : messages.at(refusals));
        refusals = succeeded ? 0 : refusals + 1;
        EXPECT_LT(refusals, messages.size() + 1);
        return succeeded;
    });
}

/// Releases what a call made, and tells whether it made anything.
template <class Record, class Result>
bool made(Record* record, Result (*kill)(Record*)) {
    kill(record);
    return record != nullptr;
}

}  // namespace movane_tests
