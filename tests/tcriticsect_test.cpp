// Critical sections within one process.

#include "movane/foundation.h"

#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>

namespace {

using namespace movane_tests;

constexpr double kAtOnce = -1.0;  // a timeout that has passed before the first try

TEST(TCriticSect, ExcludesAllOthersWhileHeld) {
    const TemporaryDirectory directory;
    const std::string path = directory / "lock";
    TCriticSect other(path.c_str(), -7);
    {
        TCriticSect holder(path.c_str(), 1);
        holder.Leave();  // not held: nothing happens
        EXPECT_FALSE(exists(path));
        EXPECT_EQ(holder.Enter(0.0), 0);
        EXPECT_EQ(other.Enter(0.0), 1);
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
    EXPECT_EQ(TCriticSect((directory / "other lock").c_str(), 1).Enter(kAtOnce), 0);
    EXPECT_EQ(TCriticSect((directory / "no such directory/lock").c_str(), 1).Enter(kAtOnce), 1);
}

TEST(TCriticSect, RefusesLongPaths) {
    EXPECT_NO_THROW(TCriticSect(std::string(255, 'x').c_str(), 1));
    for (const std::size_t length : {256, 755}) {
        try {
            const TCriticSect section(std::string(length, 'x').c_str(), 1);
            FAIL() << "accepted a path of " << length << " characters";
        } catch (const std::out_of_range& refusal) {
            EXPECT_STREQ(refusal.what(), "Lock path too long");
        }
    }
}

}  // namespace
