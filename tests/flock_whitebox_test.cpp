// Lock files between processes, and without memory.

#include "movane/services.h"

#include "Platform/clock.h"
#include "Platform/process.h"
#include "support/allocation_failures.h"
#include "support/helper_program.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

namespace process = movane::process;
using namespace movane_tests;

process::Child start_contender(const char* role, const std::string& path) {
    const std::string program     = beside_this_program("lock_contender");
    const char* const arguments[] = {program.c_str(), role, path.c_str()};
    return process::start(arguments);
}

TEST(FlockBetweenProcesses, NeverIsHeldTwiceAndSurvivesAKilledHolder) {
    const TemporaryDirectory directory;
    const std::string path = directory / "lock", mark = path + ".held";

    const process::Child holder = start_contender("hold", path);
    for (int tries = 0; !exists(mark) && tries < 10000; ++tries) movane::clock::sleep_ms(2);
    ASSERT_TRUE(exists(mark));
    EXPECT_EQ(flock_get(path.c_str()), nullptr);

    std::vector<process::Child> contenders;
    for (int i = 0; i < 8; ++i) contenders.push_back(start_contender("contend", path));
    movane::clock::sleep_ms(50);
    std::filesystem::remove(mark);
    process::kill(holder);
    EXPECT_NE(process::wait(holder), 0);
    for (const process::Child contender : contenders) EXPECT_EQ(process::wait(contender), 0);
    EXPECT_FALSE(exists(path));
}

TEST(FlockWithoutMemory, LeavesNoFile) {
    const TemporaryDirectory directory;
    const std::string path = directory / "lock";
    check_every_allocation_failure("flock_get", "", [&] {
        void* lock = flock_get(path.c_str());
        flock_free(lock);
        EXPECT_FALSE(exists(path));
        return lock != nullptr;
    });
}

}  // namespace
