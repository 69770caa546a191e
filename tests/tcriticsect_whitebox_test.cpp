// Critical sections between processes.

#include "movane/foundation.h"

#include "Platform/clock.h"
#include "Platform/process.h"
#include "support/helper_program.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace {

using namespace movane_tests;

namespace process = movane::process;

process::Child start_contender(const char* role, const std::string& path) {
    const std::string program     = beside_this_program("lock_contender");
    const char* const arguments[] = {program.c_str(), role, path.c_str()};
    return process::start(arguments);
}

TEST(TCriticSectBetweenProcesses, IsNeverHeldTwiceAndSurvivesAKilledHolder) {
    constexpr double kAtOnce = -1.0;  // a timeout that has passed before the first try
    const TemporaryDirectory directory;
    const std::string path = directory / "lock", mark = path + ".held";

    const process::Child holder = start_contender("hold-section", path);
    ASSERT_NE(holder, 0);
    for (int tries = 0; !exists(mark) && tries < 10000; ++tries) movane::clock::sleep_ms(2);
    TCriticSect section(path.c_str(), 1);
    EXPECT_EQ(section.Enter(kAtOnce), 1);

    std::vector<process::Child> contenders;
    for (int i = 0; i < 8; ++i) contenders.push_back(start_contender("contend-section", path));
    const auto start_s = movane::clock::monotonic_ms() / 1000;
    EXPECT_EQ(section.Enter(0.0), 1);  // tries into the next second
    EXPECT_GE(movane::clock::monotonic_ms() / 1000 - start_s, 1);
    std::filesystem::remove(mark);
    process::kill(holder);
    EXPECT_NE(process::wait(holder), 0);
    for (const process::Child contender : contenders) EXPECT_EQ(process::wait(contender), 0);
    EXPECT_EQ(section.Enter(kAtOnce), 0);
}

}  // namespace
