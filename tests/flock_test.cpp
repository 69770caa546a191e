// Lock files seen from one process.

#include "movane/services.h"

#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;
using movane_tests::exists;
using movane_tests::path_of;
using movane_tests::TemporaryDirectory;
using movane_tests::write_file;

void make_read_only(const std::string& path) {
    fs::permissions(path_of(path),
                    fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                    fs::perm_options::remove);
}

TEST(Flock, ExcludesUntilItIsFreed) {
    const TemporaryDirectory directory;
    const std::string path = directory / "Grün.lock", other_path = directory / "other";
    for (int round = 0; round < 3; ++round) {
        void* lock = flock_get(path.c_str());
        ASSERT_TRUE(lock);
        EXPECT_EQ(flock_get(path.c_str()), nullptr);
        void* other = flock_get(other_path.c_str());
        EXPECT_TRUE(other);
        EXPECT_EQ(flock_free(other), 0);
        EXPECT_FALSE(exists(other_path));
        EXPECT_TRUE(exists(path));
        EXPECT_EQ(fs::status(path_of(path)).permissions() & fs::perms::owner_write,
                  fs::perms::none);
        EXPECT_EQ(flock_free(lock), 0);
        EXPECT_FALSE(exists(path));
    }
    EXPECT_EQ(flock_free(nullptr), 0);
}

TEST(Flock, RefusesPathsThatItCannotLock) {
    const TemporaryDirectory directory;
    EXPECT_EQ(flock_get((directory / "none/lock").c_str()), nullptr);
    EXPECT_EQ(flock_get((directory / "").c_str()), nullptr);
    EXPECT_EQ(flock_get(""), nullptr);
    // Levels that lead nowhere make a path of any length.
    std::string levels = directory / "";
    while (levels.size() < 250) levels += "./";
    levels.resize(251, '/');
    void* lock = flock_get((levels + "lock").c_str());
    EXPECT_TRUE(lock);
    flock_free(lock);
    EXPECT_EQ(flock_get((levels + "/lock").c_str()), nullptr);
}

TEST(Flock, TakesOverOnlyWhatADeadHolderLeft) {
    const TemporaryDirectory directory;
    const std::string path = directory / "lock";
    write_file(path, "");
    make_read_only(path);
    void* lock = flock_get(path.c_str());
    ASSERT_TRUE(lock);
    EXPECT_EQ(flock_get(path.c_str()), nullptr);
    flock_free(lock);
    EXPECT_FALSE(exists(path));

    write_file(path, "");  // empty but writable
    EXPECT_EQ(flock_get(path.c_str()), nullptr);
    EXPECT_TRUE(exists(path));
    write_file(path, "text");
    make_read_only(path);
    EXPECT_EQ(flock_get(path.c_str()), nullptr);
    EXPECT_EQ(movane_tests::read_file(path), "text");
    fs::permissions(path_of(path), fs::perms::owner_write, fs::perm_options::add);
}

}  // namespace
