// Directories and copies, checked with the standard library's own view of the file system.

#include "movane/services.h"

#include "movane/foundation.h"

#include "support/messages.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <set>
#include <string>

namespace {

namespace fs = std::filesystem;
using movane_tests::exists;
using movane_tests::message_of;
using movane_tests::path_of;
using movane_tests::TemporaryDirectory;
using movane_tests::write_file;

class Rsys : public testing::Test {
protected:
    ~Rsys() override { lognam_define("DATA", nullptr); }

    // The temporary directory itself.
    std::string root() const { return directory / "."; }

    void define_data(const std::string& name) {
        ASSERT_EQ(lognam_define("DATA", (directory / name).c_str()), 0);
    }

    // Everything below a directory: contents of files, "/" for directories.
    std::map<std::string, std::string> tree(const std::string& name) const {
        std::map<std::string, std::string> found;
        const fs::path top = path_of(directory / name);
        for (const auto& entry : fs::recursive_directory_iterator(top)) {
            const std::u8string path = entry.path().lexically_relative(top).generic_u8string();
            const std::string text(path.begin(), path.end());
            found[text] = entry.is_directory()
                              ? "/"
                              : movane_tests::read_file(directory / (name + "/" + text));
        }
        return found;
    }

    void make_sample(const std::string& name) {
        fs::create_directories(path_of(directory / (name + "/Grün/deep/er")));
        fs::create_directory(path_of(directory / (name + "/empty")));
        write_file(directory / (name + "/a.txt"), "A");
        write_file(directory / (name + "/漢.crv"), std::string(40000, 'x') + '\0');
        write_file(directory / (name + "/Grün/deep/er/end"), "");
    }

    TemporaryDirectory directory;
};

TEST_F(Rsys, MakesDirectories) {
    const std::string path = directory / "Grün";
    EXPECT_EQ(rsys_direx(path.c_str()), 0);
    EXPECT_EQ(rsys_mkdir(path.c_str()), 0);
    EXPECT_EQ(rsys_direx(path.c_str()), 1);
    EXPECT_EQ(message_of([&] { EXPECT_EQ(rsys_mkdir(path.c_str()), -1); }),
              "rsys_mkdir : Unable to make directory " + path);

    define_data("Grün");
    EXPECT_EQ(rsys_mkdir("DATA:x"), 0);
    EXPECT_EQ(message_of([&] { EXPECT_EQ(rsys_mkdir("DATA:[no]y"), -1); }),
              "rsys_mkdir : Unable to make directory " + path + "\\no\\y");
    EXPECT_TRUE(fs::is_directory(path_of(directory / "Grün/x")));

    write_file(directory / "file", "");
    EXPECT_EQ(rsys_direx((directory / "file").c_str()), 0);
    for (const std::string& bad : {std::string(), std::string(256, 'x')}) {
        EXPECT_EQ(rsys_direx(bad.c_str()), 0);
        EXPECT_EQ(message_of([&] { EXPECT_EQ(rsys_mkdir(bad.c_str()), -1); }),
                  "rsys_mkdir : Unable to make directory ");
        EXPECT_EQ(message_of([&] { EXPECT_EQ(rsys_forcedir(bad.c_str()), -1); }),
                  "rsys_mkdir : Unable to make directory ");
    }
}

TEST_F(Rsys, ForcesAllLevels) {
    define_data("new");
    for (const std::string& path :
         {directory / "a/b\\c", directory / "a/b/d/", directory / "a//e\\\\f\\\\",
          std::string("DATA:[x.y]"), root()}) {
        EXPECT_EQ(message_of([&] { EXPECT_EQ(rsys_forcedir(path.c_str()), 0); }), "");
        EXPECT_EQ(rsys_direx(path.c_str()), 1) << path;
    }
    for (const char* made : {"a/b/c", "a/b/d", "a/e/f", "new/x/y"})
        EXPECT_TRUE(fs::is_directory(path_of(directory / made))) << made;

    write_file(directory / "file", "kept");
    EXPECT_EQ(message_of([&] { EXPECT_EQ(rsys_forcedir((directory / "file/x/y").c_str()), -1); }),
              "rsys_mkdir : Unable to make directory " + (directory / "file"));
}

TEST_F(Rsys, RemovesADirectoryOfFiles) {
    fs::create_directory(path_of(directory / "d"));
    for (const char* name : {"d/a", "d/Grün.txt", "d/.hidden"}) write_file(directory / name, "x");
    write_file(directory / "d2", "kept");  // begins like the directory
    define_data("d");
    EXPECT_EQ(rsys_rmdir("DATA:"), 0);
    EXPECT_FALSE(exists(directory / "d"));
    EXPECT_TRUE(exists(directory / "d2"));

    fs::create_directories(path_of(directory / "d/sub"));
    write_file(directory / "d/a", "");
    write_file(directory / "d/sub/b", "");
    EXPECT_EQ(message_of([&] { EXPECT_EQ(rsys_rmdir((directory / "d").c_str()), 0); }), "");
    EXPECT_FALSE(exists(directory / "d/a"));  // its files go, directories keep it
    EXPECT_TRUE(exists(directory / "d/sub/b"));

    const std::string file_system = fs::temp_directory_path().root_path().string();
    for (const std::string& refused : {std::string(), std::string(256, 'x'), file_system,
                                       std::string("c:"), std::string("/.."), std::string("\\/")}) {
        const std::string message = message_of([&] { EXPECT_EQ(rsys_rmdir(refused.c_str()), 0); });
        EXPECT_EQ(message.find("rsys_rmdir : Unable to remove directory "), 0u) << refused;
    }
}

TEST_F(Rsys, CopiesFiles) {
    write_file(directory / "a", std::string(100000, 'a') + '\0' + 'b');
    write_file(directory / "b", "to be replaced");
    define_data(".");
    EXPECT_EQ(rsys_copy("DATA:b", (directory / "a").c_str()), 0);
    EXPECT_EQ(movane_tests::read_file(directory / "b"), movane_tests::read_file(directory / "a"));

    // Nothing to copy is no failure.
    EXPECT_EQ(message_of([&] { EXPECT_EQ(rsys_copy("DATA:c", "DATA:missing"), 0); }), "");
    EXPECT_EQ(message_of([&] { EXPECT_EQ(rsys_copy("DATA:c", "DATA:[missing]*"), 0); }), "");
    EXPECT_FALSE(exists(directory / "c"));

    const auto refused = [&](const std::string& destination, const std::string& source) {
        return message_of([&] { EXPECT_EQ(rsys_copy(destination.c_str(), source.c_str()), -1); });
    };
    const std::string cannot = "rsys_copy : Unable to copy file ";
    fs::create_directory(path_of(directory / "d"));
    EXPECT_EQ(refused(directory / "a", directory / "a"), cannot + (directory / "a"));
    EXPECT_EQ(refused(directory / "c", directory / "d"), cannot + (directory / "d"));
    EXPECT_EQ(refused(directory / "no/c", directory / "a"), cannot + (directory / "a"));
    EXPECT_EQ(refused("", directory / "a"), cannot + (directory / "a"));
    EXPECT_EQ(refused(directory / "c", std::string(256, 'x')), cannot);
    EXPECT_EQ(refused(directory / "c", "src*"), "Invalid source directory !");
    EXPECT_EQ(movane_tests::read_file(directory / "a").size(), 100002u);
}

TEST_F(Rsys, CopiesTrees) {
    make_sample("from");
    const auto expected = tree("from");
    define_data(".");
    const struct {
        std::string destination, source;
    } rows[] = {{directory / "t1", directory / "from/*"},
                {directory / "t2", directory / "from\\no such*"},  // the pattern filters nothing
                {"DATA:t3", "DATA:[from]*.txt"},
                {"DATA:t3", "DATA:[from]*"}};  // once more, over what is there
    for (const auto& row : rows)
        EXPECT_EQ(message_of([&] {
                      EXPECT_EQ(rsys_copy(row.destination.c_str(), row.source.c_str()), 0);
                  }),
                  "");
    for (const char* copy : {"t1", "t2", "t3"}) EXPECT_EQ(tree(copy), expected) << copy;

    define_data("from");
    EXPECT_EQ(rsys_copy((directory / "t4").c_str(), "DATA:*"), 0);
    EXPECT_EQ(tree("t4"), expected);

    const auto refused = [&](const std::string& destination, const std::string& source) {
        return message_of([&] { EXPECT_EQ(rsys_copy(destination.c_str(), source.c_str()), -1); });
    };
    for (const char* inside : {"from", "from/new", "from/Grün/deep", "t1/../from/empty/x/y"})
        EXPECT_EQ(refused(directory / inside, directory / "from/*"),
                  "rsys_copy : destination lies in the source directory");
    EXPECT_EQ(tree("from"), expected);
    EXPECT_EQ(refused(directory / "no/t", directory / "from/*"),
              "rsys_copy : Unable to make directory " + (directory / "no/t"));

    // One entry that cannot be copied, for a directory stands in its place; the others are.
    fs::create_directories(path_of(directory / "t5/a.txt"));
    EXPECT_EQ(refused(directory / "t5", directory / "from/*"),
              "rsys_copy : Unable to copy file " + (directory / "from/") + "a.txt");
    EXPECT_EQ(tree("t5").size(), expected.size());
}

TEST_F(Rsys, FollowsNoLinksToDirectories) {
    make_sample("from");
    std::error_code refusal;
    fs::create_directory_symlink(path_of(directory / "from"), path_of(directory / "link"), refusal);
    if (refusal) GTEST_SKIP() << "no symbolic links here: " << refusal.message();
    fs::create_directory_symlink(path_of(directory / "from"), path_of(directory / "from/loop"));
    fs::create_symlink(path_of(directory / "from/a.txt"), path_of(directory / "from/b.txt"));

    EXPECT_EQ(rsys_copy((directory / "to").c_str(), (directory / "from/*").c_str()), 0);
    EXPECT_FALSE(exists(directory / "to/loop"));
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(path_of(directory / "to/b.txt"))));
    const std::string inside = directory / "link/to", all = directory / "from/*";
    EXPECT_EQ(message_of([&] { EXPECT_EQ(rsys_copy(inside.c_str(), all.c_str()), -1); }),
              "rsys_copy : destination lies in the source directory");

    for (const char* link : {"link", "link/", "link\\"}) {
        message_of([&] { EXPECT_EQ(rsys_rmdir((directory / link).c_str()), 0); });
        EXPECT_TRUE(exists(directory / "link"));
        EXPECT_TRUE(exists(directory / "from/a.txt"));
    }
    fs::create_directory(path_of(directory / "d"));
    fs::create_symlink(path_of(directory / "from/a.txt"), path_of(directory / "d/a"));
    EXPECT_EQ(rsys_rmdir((directory / "d").c_str()), 0);
    EXPECT_FALSE(exists(directory / "d"));
    EXPECT_TRUE(exists(directory / "from/a.txt"));
}

TEST_F(Rsys, ScansForDirectories) {
    make_sample("from");
    const std::string long_name(250, 'n');
    fs::create_directory(path_of(directory / ("from/" + long_name)));
    define_data("from");
    const auto scanned = [](const std::string& path, int result) {
        movane_list* list = list_new(1, 256, nullptr);
        EXPECT_EQ(rsys_scan_dir(path.c_str(), list), result);
        std::multiset<std::string> found;
        for (int i = 0; i < list_num(list); ++i)
            found.insert(static_cast<const char*>(list_get_element(list, i)));
        list_kill(list);
        return found;
    };
    const std::string too_long = "rsys_scan_dir : path too long !, directory not inserted in list";
    const std::string from     = directory / "from";
    std::multiset<std::string> found;
    EXPECT_EQ(message_of([&] { found = scanned("DATA:", 0); }), too_long);
    EXPECT_EQ(found, (std::multiset<std::string>{from + "\\Grün", from + "\\empty"}));
    EXPECT_EQ(message_of([&] { found = scanned(from, 0); }), too_long);
    EXPECT_EQ(found, (std::multiset<std::string>{from + "\\Grün", from + "\\empty"}));
    EXPECT_EQ(message_of([&] { found = scanned(from + "/empty", 0); }), "");
    EXPECT_TRUE(found.empty());
    for (const std::string& missing : {from + "/a.txt", from + "/no", std::string()})
        EXPECT_EQ(message_of([&] { found = scanned(missing, -1); }),
                  "rsys_scan_dir : Unable to scan directory " + missing);
}

}  // namespace
