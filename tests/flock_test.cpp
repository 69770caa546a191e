// Lock files seen from one process.

#include "movane/services.h"

#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

using namespace movane_tests;
using std::filesystem::perms;

TEST(Flock, ExcludesUntilItIsFreed) {
    const TemporaryDirectory directory;
    const std::string path = directory / "Grün.lock", other_path = directory / "other";
    for (int round = 0; round < 2; ++round) {
        void* lock  = flock_get(path.c_str());
        void* other = flock_get(other_path.c_str());
        EXPECT_TRUE(lock && other);
        EXPECT_EQ(flock_get(path.c_str()), nullptr);
        EXPECT_EQ(flock_free(other), 0);
        EXPECT_FALSE(exists(other_path));
        EXPECT_EQ(std::filesystem::status(path_of(path)).permissions() & perms::owner_write,
                  perms::none);
        EXPECT_EQ(flock_free(lock), 0);
        EXPECT_FALSE(exists(path));
    }
    EXPECT_EQ(flock_free(nullptr), 0);
}

TEST(Flock, RefusesPathsThatItCannotLock) {
    const TemporaryDirectory directory;
    // Levels that lead nowhere make a path of any length.
    std::string levels = directory / "";
    while (levels.size() < 250) levels += "./";
    levels.resize(251, '/');
    for (const std::string& path :
         {directory / "none/lock", directory / "", std::string(), levels + "/lock"})
        EXPECT_EQ(flock_get(path.c_str()), nullptr) << path;
    void* lock = flock_get((levels + "lock").c_str());
    EXPECT_TRUE(lock);
    flock_free(lock);
}

TEST(Flock, TakesOverOnlyWhatADeadHolderLeft) {
    const TemporaryDirectory directory;
    const std::string path                            = directory / "lock";
    const std::tuple<const char*, perms, bool> rows[] = {{"text", perms::owner_read, false},
                                                         {"", perms::owner_all, false},
                                                         {"", perms::owner_read, true}};
    for (const auto& [text, permissions, is_leftover] : rows) {
        write_file(path, text);
        std::filesystem::permissions(path_of(path), permissions);
        void* lock = flock_get(path.c_str());
        EXPECT_EQ(lock != nullptr, is_leftover);
        EXPECT_EQ(read_file(path), text);
        flock_free(lock);
        EXPECT_EQ(exists(path), !is_leftover);
        if (exists(path)) std::filesystem::permissions(path_of(path), perms::owner_all);
    }
}

}  // namespace
