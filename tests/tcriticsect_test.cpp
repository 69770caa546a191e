// Critical sections within one process.

#include "movane/foundation.h"

#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

using movane_tests::exists;
using movane_tests::TemporaryDirectory;

constexpr double kAtOnce = -1.0;  // a timeout that has passed before the first try

TEST(TCriticSect, ExcludesAllOthersWhileHeld) {
    const TemporaryDirectory directory;
    const std::string path = directory / "lock";
    TCriticSect other(path.c_str(), 1);
    {
        TCriticSect holder(path.c_str(), 1);
        holder.Leave();  // not held: nothing happens
        EXPECT_FALSE(exists(path));
        EXPECT_EQ(holder.Enter(kAtOnce), 0);
        EXPECT_EQ(other.Enter(kAtOnce), 1);
        EXPECT_EQ(holder.Enter(kAtOnce), 1);  // not a second time,
        EXPECT_EQ(other.Enter(kAtOnce), 1);   // which does not end the first
        holder.Leave();
        EXPECT_EQ(other.Enter(kAtOnce), 0);
        EXPECT_EQ(holder.Enter(kAtOnce), 1);
        other.Leave();
        EXPECT_EQ(holder.Enter(kAtOnce), 0);
        EXPECT_EQ(other.Enter(std::numeric_limits<double>::quiet_NaN()), 1);
    }
    EXPECT_TRUE(exists(path));
    EXPECT_EQ(other.Enter(kAtOnce), 0);
    TCriticSect elsewhere((directory / "other lock").c_str(), 1);
    EXPECT_EQ(elsewhere.Enter(kAtOnce), 0);
}

TEST(TCriticSect, TriesIntoTheNextSecond) {
    const TemporaryDirectory directory;
    const std::string path = directory / "lock";
    TCriticSect holder(path.c_str(), 1), other(path.c_str(), -7);
    EXPECT_EQ(holder.Enter(0.0), 0);
    EXPECT_EQ(other.Enter(0.0), 1);

    TCriticSect missing((directory / "no such directory/lock").c_str(), 1);
    EXPECT_EQ(missing.Enter(kAtOnce), 1);
}

TEST(TCriticSect, CopiesItsHold) {
    const TemporaryDirectory directory;
    const std::string path = directory / "lock";
    TCriticSect other(path.c_str(), 1);
    auto* const holder = new TCriticSect(path.c_str(), 1);
    EXPECT_EQ(holder->Enter(kAtOnce), 0);
    auto copy = std::make_unique<TCriticSect>(*holder);
    TCriticSect::operator delete(holder);  // its memory alone: the copy holds the lock
    EXPECT_EQ(other.Enter(kAtOnce), 1);
    copy->Leave();
    EXPECT_EQ(other.Enter(kAtOnce), 0);
    EXPECT_EQ(copy->Enter(kAtOnce), 1);
}

TEST(TCriticSect, RefusesLongPaths) {
    const std::string longest(255, 'x');
    EXPECT_NO_THROW(TCriticSect(longest.c_str(), 1));
    for (const std::size_t excess : {1, 500}) {
        try {
            const TCriticSect section((longest + std::string(excess, 'x')).c_str(), 1);
            FAIL() << "accepted a path of " << longest.size() + excess << " characters";
        } catch (const std::out_of_range& refusal) {
            EXPECT_STREQ(refusal.what(), "Lock path too long");
        }
    }
}

}  // namespace
