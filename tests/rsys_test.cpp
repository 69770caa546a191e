// Directories and copies, checked with the standard library's own view of the file system.

#include "movane/services.h"

#include "movane/foundation.h"

#include "support/messages.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <set>

namespace {

namespace fs = std::filesystem;
using namespace movane_tests;

class Rsys : public testing::Test {
protected:
    Rsys() { lognam_define("DATA", data.c_str()); }
    ~Rsys() override { lognam_define("DATA", nullptr); }

    TemporaryDirectory directory;
    const std::string top = directory / ".", data = directory / "data";
};

std::string made(const std::string& path) {
    return outcome_of([&] { return rsys_mkdir(path.c_str()); });
}
std::string forced(const std::string& path) {
    return outcome_of([&] { return rsys_forcedir(path.c_str()); });
}
std::string removed(const std::string& path) {
    return outcome_of([&] { return rsys_rmdir(path.c_str()); });
}
std::string copied(const std::string& destination, const std::string& source) {
    return outcome_of([&] { return rsys_copy(destination.c_str(), source.c_str()); });
}

constexpr char kInside[] = "-1 rsys_copy : destination lies in the source directory";

TEST_F(Rsys, MakesDirectories) {
    const std::string cannot = "-1 rsys_mkdir : Unable to make directory ",
                      file   = directory / "file";
    make_tree(top, "file=kept");
    EXPECT_EQ(rsys_direx("DATA:") + rsys_direx(file.c_str()), 0);
    EXPECT_EQ(made(data), "0");
    EXPECT_EQ(made(data), cannot + data);
    EXPECT_EQ(made("DATA:[no]ü"), cannot + data + "\\no\\ü");
    EXPECT_EQ(made("DATA:ü"), "0");
    for (const std::string& bad : {std::string(), std::string(256, 'x')})
        EXPECT_EQ(made(bad) + forced(bad), cannot + cannot);
    for (const std::string& path : {directory / "a/b\\c", directory / "a/d/",
                                    directory / "a//e\\\\", std::string("DATA:[x.y]"), top}) {
        EXPECT_EQ(forced(path), "0");
        EXPECT_EQ(rsys_direx(path.c_str()), 1) << path;
    }
    EXPECT_EQ(forced(file + "/x/y"), cannot + file);
    EXPECT_EQ(tree_of(top), "a/ a/b/ a/b/c/ a/d/ a/e/ data/ data/x/ data/x/y/ data/ü/ file=kept ");
}

TEST_F(Rsys, RemovesADirectoryOfFiles) {
    make_tree(top, "data/a=x data/Grün.txt=x data/.hidden=x data2=kept d/sub/b=kept d/a=x");
    EXPECT_EQ(removed("DATA:"), "0");
    EXPECT_EQ(removed(directory / "d"), "0");  // its files go, directories keep it
    EXPECT_EQ(tree_of(top), "d/ d/sub/ d/sub/b=kept data2=kept ");
    for (const std::string& refused :
         {std::string(), std::string(256, 'x'), fs::temp_directory_path().root_path().string(),
          std::string("c:"), std::string("/.."), std::string("\\/")})
        EXPECT_TRUE(removed(refused).starts_with("0 rsys_rmdir : Unable to remove directory "))
            << refused;
}

TEST_F(Rsys, CopiesFiles) {
    const std::string text = std::string(100000, 'a') + '\0' + 'b', a = directory / "a",
                      c = directory / "c", cannot = "-1 rsys_copy : Unable to copy file ";
    make_tree(top, "data/b=replaced");
    write_file(a, text);
    EXPECT_EQ(copied("DATA:b", a), "0");
    // Nothing to copy is no failure.
    EXPECT_EQ(copied("DATA:c", "DATA:missing") + copied("DATA:c", "DATA:[missing]*"), "00");
    EXPECT_EQ(copied("DATA:c", "") + copied("", directory / "missing/*"), "00");
    for (const std::string& bad : {a, directory / "no/c", std::string()})
        EXPECT_EQ(copied(bad, a), cannot + a);
    EXPECT_EQ(copied(c, data), cannot + data);
    EXPECT_EQ(copied(c, std::string(256, 'x')), cannot);
    EXPECT_EQ(copied(c, "src*"), "-1 Invalid source directory !");
    EXPECT_EQ(tree_of(top), "a=" + text + " data/ data/b=" + text + " ");
}

TEST_F(Rsys, CopiesTrees) {
    const std::string sample =
        "Grün/ Grün/deep/ Grün/deep/end= a.txt=A empty/ 漢.crv=" + std::string(40000, 'x') + " ";
    make_tree(data, sample);
    lognam_define("UP", top.c_str());
    // The pattern filters nothing; the later copies go over what is there.
    for (const std::string& source :
         {data + "/*", data + "\\no such*", std::string("DATA:*"), std::string("UP:[data]*.txt"),
          std::string("UP:[data]Gr\u00fcn\\*"), data + "/]*", data + "/a:*"}) {
        EXPECT_EQ(copied("UP:t", source), "0");
        EXPECT_EQ(tree_of(directory / "t"), sample) << source;
    }
    lognam_define("UP", nullptr);
    for (const char* inside : {"data", "data/new", "data/Grün/deep", "t/../data/empty/x/y"})
        EXPECT_EQ(copied(directory / inside, data + "/*"), kInside);
    EXPECT_EQ(copied(directory / "no/t", data + "/*"),
              "-1 rsys_copy : Unable to make directory " + (directory / "no/t"));
    EXPECT_EQ(tree_of(data), sample);

    // One entry that cannot be copied, for a directory stands in its place; the others are.
    make_tree(directory / "u", "a.txt/");
    EXPECT_EQ(copied(directory / "u", data + "/*"),
              "-1 rsys_copy : Unable to copy file " + data + "/a.txt");
    EXPECT_EQ(tree_of(directory / "u").size(), sample.size() - 1);
}

TEST_F(Rsys, FollowsNoLinksToDirectories) {
    make_tree(top, "from/a.txt=A d/");
    const auto path = [&](const std::string& name) { return path_of(directory / name); };
    std::error_code refusal;
    fs::create_directory_symlink(path("from"), path("link"), refusal);
    if (refusal) GTEST_SKIP() << "no symbolic links here: " << refusal.message();
    fs::create_directory_symlink(path("from"), path("from/loop"));
    for (const char* link : {"from/b.txt", "d/a"})
        fs::create_symlink(path("from/a.txt"), path(link));

    EXPECT_EQ(copied(directory / "to", directory / "from/*"), "0");
    EXPECT_EQ(tree_of(directory / "to"), "a.txt=A b.txt=A ");
    EXPECT_FALSE(fs::is_symlink(path("to/b.txt")));
    EXPECT_EQ(copied(directory / "link/to", directory / "from/*"), kInside);
    for (const char* link : {"link", "link/", "link\\"}) EXPECT_NE(removed(directory / link), "0");
    EXPECT_EQ(removed(directory / "d"), "0");
    EXPECT_TRUE(exists(directory / "link") && exists(directory / "from/a.txt") &&
                !exists(directory / "d"));
}

TEST_F(Rsys, ScansForDirectories) {
    const std::string longest(255 - data.size() - 1, 'n');  // for a slot of 256 bytes
    make_tree(data, "a.txt=A empty/ " + longest + "/ " + longest + "n/");
    // The outcome, then the directories found.
    const auto scanned = [](const std::string& path) {
        movane_list* list           = list_new(1, 256, nullptr);
        std::set<std::string> found = {
            outcome_of([&] { return rsys_scan_dir(path.c_str(), list); })};
        for (int i = 0; i < list_num(list); ++i) {
            EXPECT_TRUE(found.insert(static_cast<const char*>(list_get_element(list, i))).second);
        }
        list_kill(list);
        return found;
    };
    using Found = std::set<std::string>;
    for (const std::string& path : {std::string("DATA:"), data})
        EXPECT_EQ(scanned(path),
                  (Found{"0 rsys_scan_dir : path too long !, directory not inserted in list",
                         data + "\\" + longest, data + "\\empty"}));
    EXPECT_EQ(scanned(data + "/empty"), Found{"0"});
    for (const std::string& missing : {data + "/a.txt", data + "/no", std::string()})
        EXPECT_EQ(scanned(missing),
                  Found{"-1 rsys_scan_dir : Unable to scan directory " + missing});
}

}  // namespace
