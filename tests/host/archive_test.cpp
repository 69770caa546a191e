// movane pack, unpack, list and md5: there and back, hostile archives, large files.

#include "support/program.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace {

using namespace host_tests;

class Archives : public ::testing::Test {
protected:
    // Entries of three bytes.
    void write_archive(const std::string& name, const std::vector<std::string>& entries) {
        std::string bytes = std::string("QZFP\0ver1.0\0", 12) + std::string(129, '\0');
        for (const std::string& entry : entries) bytes += entry + std::string("\0\3\0\0\0abc", 8);
        shop.write(name, bytes);
    }

    void write_sparse(const std::string& name, std::uintmax_t size) {
        shop.write(name, "begin");
        std::filesystem::resize_file(shop.path(name), size);
    }

    const Workshop shop;
};

TEST_F(Archives, ThereAndBack) {
    const std::string binary("\0\1\r\n\xff", 5), green = shop.path("d/gr\u00fcn");
    shop.write("d/e/binary", binary);
    shop.write("empty", "");
    shop.write("d/gr\u00fcn", "text");
    const Result packed =
        shop.run("movane pack a.qz ./d/e/../e/binary empty " + green + " -d 'of a job'");
    EXPECT_EQ(packed.exit_code, 0) << packed.err;
    EXPECT_EQ(packed.out + packed.err, "");
    EXPECT_EQ(shop.run("movane list a.qz").out,
              "         5  d/e/binary\n         0  empty\n         4  " + green.substr(1) + "\n");
    EXPECT_EQ(shop.run("movane list a.qz -d").out, "of a job\n");

    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(shop.run("movane unpack a.qz new/out").exit_code, 0);
        EXPECT_EQ(shop.read("new/out/d/e/binary"), binary);
        EXPECT_EQ(shop.read("new/out" + green), "text");
        EXPECT_EQ(std::filesystem::file_size(shop.path("new/out/empty")), 0u);
        shop.write("new/out/d/e/binary", "is replaced by the second round");
    }
}

TEST_F(Archives, ErrorsNameFileAndRemedy) {
    const std::string long_name = std::string(150, 'l') + "/" + std::string(100, 'm');
    for (const std::string name : {"file", "d/file", "aux.c", "a:b", "a\\b", long_name.c_str()})
        shop.write(name, "abc");
    shop.write("text", "no archive");
    write_archive("a.qz", {"x", "file", "d/y"});
    shop.write("cut.qz", shop.read("a.qz").substr(0, 149));       // in the data of x
    shop.write("cut-name.qz", shop.read("a.qz").substr(0, 152));  // in the name of file
    write_sparse("huge", std::uintmax_t{1} << 31);
    shop.write("blocked/d", "a file where a directory is to be");
    std::filesystem::create_directory(shop.path("blocked/file"));
    shop.write("blocked-too/d", "");

    shop.expect_failures(
        "movane ",
        {
            {"pack b.qz none", 1,
             "none: cannot be read: No such file or directory; check the name"},
            {"pack b.qz d", 1, "d: is not a file"},
            {"pack b.qz aux.c", 1, "aux.c: has a name that not every system can unpack; rename it"},
            {"pack b.qz a:b", 1, "a:b: has a name that not every system can unpack; rename it"},
            {"pack b.qz 'a\\b'", 1, "backslash"},
            {"pack b.qz " + long_name, 1, "199 bytes"},
            {"pack b.qz huge", 1, "huge: is too large, an entry takes 2147483647 bytes; split it"},
            {"pack none/b.qz file", 1, "none/b.qz: cannot be written"},
            {"pack d file", 1, "d: cannot be written"},
            {"pack file ./file", 2, "would overwrite"},
            {"pack b.qz file ./file", 2, "both would be stored as file"},
            {"pack b.qz", 2, "FILE"},
            {"pack b.qz file -d " + std::string(200, 'd'), 2, "199 bytes"},
            {"list none", 1, "none: cannot be read: No such file or directory; check the name"},
            {"list text", 1, "text: is not an archive"},
            {"unpack cut.qz out", 1, "cut.qz: is damaged or cut short"},
            {"list cut-name.qz", 1, "cut-name.qz: is damaged or cut short"},
            {"unpack a.qz file", 1, "file: is not a directory"},
            {"unpack a.qz blocked", 1, "blocked/file: cannot be written: it is not a"},
            {"unpack a.qz blocked-too", 1, "blocked-too/d/y: cannot be written"},
            {"md5 file none", 1, "none: cannot be read: No such file or directory; check the name"},
        });
}

TEST_F(Archives, NothingLeavesTheDirectory) {
    write_archive("bad.qz", {"../up", "/tmp/movane-abs", "sub/../../up", "..\\up", "new/../../up/x",
                             "c:x", "tty\x1b[2J", "nul", "good/file", ""});
    std::filesystem::create_directory(shop.path("out"));
    shop.expect_failures(
        "movane ", {{"unpack bad.qz out", 1, "bad.qz: 9 entries were refused, such as \"../up\""}});
    EXPECT_EQ(shop.read("out/good/file"), "abc");
    EXPECT_FALSE(std::filesystem::exists("/tmp/movane-abs"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(shop.path("out")), {}), 1);
    EXPECT_NE(shop.run("movane list bad.qz").out.find("         3  tty?[2J\n"), std::string::npos);
    write_archive("out/own", {"own"});
    shop.expect_failures("movane ", {{"unpack out/own out", 1, "is the archive itself"}});
}

TEST_F(Archives, LargeFilesPassThroughLittleMemory) {
    write_sparse("large", 150'000'000);
    const long small_peak =
        shop.run("movane list large").peak_kib;  // fails, having loaded everything
    for (const char* const command : {"pack a.qz large", "list a.qz", "unpack a.qz out"}) {
        SCOPED_TRACE(command);
        const Result result = shop.run(std::string("movane ") + command + " --progress");
        EXPECT_EQ(result.exit_code, 0) << result.err;
        EXPECT_NE(result.err.find("\r100 %  150.0 of 150.0 MB"), std::string::npos) << result.err;
        EXPECT_LT(result.peak_kib, small_peak + 20'000);
    }
    EXPECT_EQ(shop.run("cmp large out/large").exit_code, 0);
}

TEST_F(Archives, FullDiskLeavesNothingUnfinished) {
    shop.write("file", std::string(100'000, 'x'));
    shop.expect_failures("prlimit --fsize=",
                         {{"4096 movane pack b.qz file", 1, "b.qz: cannot be written"},
                          {"100 movane pack b.qz file", 1, "b.qz: cannot be written"}});
    ASSERT_EQ(shop.run("movane pack a.qz file").exit_code, 0);
    std::filesystem::create_directory(shop.path("out"));
    shop.expect_failures("prlimit --fsize=",
                         {{"4096 movane unpack a.qz out", 1, "out/file: cannot be written"}});
    EXPECT_TRUE(std::filesystem::is_empty(shop.path("out")));
}

TEST_F(Archives, DigestsAreThoseOfMd5sum) {
    shop.write("empty", "");
    shop.write("a b", "abc");
    shop.write("odd\nname\r\\", std::string(200'000, 'x') + '\0');
    const std::string files = " empty './a b' 'odd\nname\r\\'";
    const Result ours       = shop.run("movane md5" + files);
    EXPECT_EQ(ours.exit_code, 0);
    EXPECT_EQ(ours.out, shop.run("md5sum" + files).out);
    EXPECT_EQ(shop.run("movane md5 none empty").out, shop.run("md5sum empty").out);
    EXPECT_NE(ours.out.find("900150983cd24fb0d6963f7d28e17f72  ./a b\n"), std::string::npos);
}

}  // namespace
