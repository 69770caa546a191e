// movane pack, unpack, list and md5: there and back, hostile archives, large files.

#include "support/program.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace host_tests;

using Words = std::vector<std::string>;

class Archives : public ::testing::Test {
protected:
    Result movane(Words words, long file_limit_bytes = -1) {
        words.insert(words.begin(), "movane");
        return shop.run(words, {}, file_limit_bytes);
    }

    void expect_failure(const Words& command, int exit_code, const Words& words,
                        long file_limit_bytes = -1) {
        SCOPED_TRACE(::testing::PrintToString(command));
        const auto before   = shop.files();
        const Result result = movane(command, file_limit_bytes);
        EXPECT_EQ(result.exit_code, exit_code);
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        for (const std::string& word : words)
            EXPECT_NE(result.err.find(word), std::string::npos) << word << " in " << result.err;
        EXPECT_EQ(shop.files(), before);
    }

    // Entries of three bytes.
    void write_archive(const std::string& name, const Words& entries) {
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
    const std::string binary("\0\1\r\n\xff", 5);
    shop.write("d/e/binary", binary);
    shop.write("empty", "");
    shop.write("d/gr\u00fcn", "text");
    const Result packed = movane(
        {"pack", "a.qz", "./d/e/../e/binary", "empty", shop.path("d/gr\u00fcn"), "-d", "of a job"});
    EXPECT_EQ(packed.exit_code, 0) << packed.err;
    EXPECT_EQ(packed.out + packed.err, "");

    const std::string absolute = shop.path("d/gr\u00fcn").substr(1);
    const Result listed        = movane({"list", "a.qz"});
    EXPECT_EQ(listed.out,
              "         5  d/e/binary\n         0  empty\n         4  " + absolute + "\n");
    EXPECT_EQ(movane({"list", "a.qz", "-d"}).out, "of a job\n");

    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(movane({"unpack", "a.qz", "new/out"}).exit_code, 0);
        EXPECT_EQ(shop.read("new/out/d/e/binary"), binary);
        EXPECT_EQ(shop.read("new/out/" + absolute), "text");
        EXPECT_EQ(std::filesystem::file_size(shop.path("new/out/empty")), 0u);
        shop.write("new/out/d/e/binary", "is replaced by the second round");
    }
}

TEST_F(Archives, ErrorsNameFileAndRemedy) {
    shop.write("file", "abc");
    shop.write("d/file", "def");
    shop.write("aux.c", "");
    shop.write("a:b", "");
    shop.write("text", "no archive");
    shop.write("a\\b", "");
    write_archive("a.qz", {"x", "file", "d/y"});
    shop.write("cut.qz", shop.read("a.qz").substr(0, 149));       // in the data of x
    shop.write("cut-name.qz", shop.read("a.qz").substr(0, 152));  // in the name of file
    const std::string long_name = std::string(150, 'l') + "/" + std::string(100, 'm');
    shop.write(long_name, "");
    write_sparse("huge", std::uintmax_t{1} << 31);

    expect_failure({"pack", "b.qz", "none"}, 1, {"none: ", "check the name"});
    expect_failure({"pack", "b.qz", "d"}, 1, {"d: is not a file"});
    expect_failure({"pack", "b.qz", "aux.c"}, 1, {"aux.c: ", "rename it"});
    expect_failure({"pack", "b.qz", "a:b"}, 1, {"a:b: ", "rename it"});
    expect_failure({"pack", "b.qz", "a\\b"}, 1, {"backslash"});
    expect_failure({"pack", "b.qz", long_name}, 1, {"199 bytes"});
    expect_failure({"pack", "b.qz", "huge"}, 1, {"huge: is too large", "split it"});
    expect_failure({"pack", "none/b.qz", "file"}, 1, {"none/b.qz: cannot be written"});
    expect_failure({"pack", "d", "file"}, 1, {"d: cannot be written"});
    expect_failure({"pack", "file", "./file"}, 2, {"would overwrite"});
    expect_failure({"pack", "b.qz", "file", "./file"}, 2, {"both would be stored as file"});
    expect_failure({"pack", "b.qz"}, 2, {"FILE"});
    expect_failure({"pack", "b.qz", "file", "-d", std::string(200, 'd')}, 2, {"199 bytes"});
    for (const char* command : {"unpack", "list"}) {
        const auto reading = [&](const char* archive) {
            Words words = {command, archive};
            if (words[0] == "unpack") words.push_back("out");
            return words;
        };
        expect_failure(reading("none"), 1, {"none: ", "check the name"});
        expect_failure(reading("text"), 1, {"text: is not an archive"});
        expect_failure(reading("cut.qz"), 1, {"cut.qz: is damaged or cut short"});
        expect_failure(reading("cut-name.qz"), 1, {"cut-name.qz: is damaged or cut short"});
    }
    expect_failure({"unpack", "a.qz", "file"}, 1, {"file: is not a directory"});
    shop.write("blocked/d", "a file where a directory is to be");
    std::filesystem::create_directory(shop.path("blocked/file"));
    expect_failure({"unpack", "a.qz", "blocked"}, 1,
                   {"blocked/file: cannot be written: it is not a"});
    std::filesystem::remove(shop.path("blocked/file"));
    expect_failure({"unpack", "a.qz", "blocked"}, 1, {"blocked/d/y: cannot be written"});
}

TEST_F(Archives, NothingLeavesTheDirectory) {
    write_archive("bad.qz", {"../up", "/tmp/movane-abs", "sub/../../up", "..\\up", "new/../../up/x",
                             "c:x", "tty\x1b[2J", "nul", "good/file", ""});
    const auto before   = shop.files();
    const Result result = movane({"unpack", "bad.qz", "out"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_NE(result.err.find("bad.qz: 9 entries were refused, such as \"../up\""),
              std::string::npos)
        << result.err;
    EXPECT_EQ(shop.read("out/good/file"), "abc");
    const auto after = shop.files();
    EXPECT_EQ(after.size(), before.size() + 1);
    EXPECT_FALSE(std::filesystem::exists("/tmp/movane-abs"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(shop.path("out")), {}), 1);
    EXPECT_NE(movane({"list", "bad.qz"}).out.find("         3  tty?[2J\n"), std::string::npos);

    std::filesystem::copy(shop.path("bad.qz"), shop.path("out/own"));
    write_archive("out/own", {"own"});
    expect_failure({"unpack", "out/own", "out"}, 1, {"is the archive itself"});
}

TEST_F(Archives, LargeFilesPassThroughLittleMemory) {
    constexpr std::uintmax_t kSize = 150'000'000;
    write_sparse("large", kSize);
    const long small_peak = movane({"list", "large"}).peak_kib;  // fails, having loaded everything
    for (const Words& command :
         {Words{"pack", "a.qz", "large"}, Words{"list", "a.qz"}, Words{"unpack", "a.qz", "out"}}) {
        SCOPED_TRACE(command[0]);
        Words words = command;
        words.push_back("--progress");
        const Result result = movane(words);
        EXPECT_EQ(result.exit_code, 0) << result.err;
        EXPECT_NE(result.err.find("\r100 %  150.0 of 150.0 MB"), std::string::npos) << result.err;
        EXPECT_LT(result.peak_kib, small_peak + 20'000);
    }
    EXPECT_EQ(std::filesystem::file_size(shop.path("out/large")), kSize);
    EXPECT_EQ(shop.run({"cmp", "large", "out/large"}).exit_code, 0);
}

TEST_F(Archives, FullDiskLeavesNothingUnfinished) {
    shop.write("file", std::string(100'000, 'x'));
    expect_failure({"pack", "a.qz", "file"}, 1, {"a.qz: cannot be written"}, 4096);
    expect_failure({"pack", "a.qz", "file"}, 1, {"a.qz: cannot be written"}, 100);
    ASSERT_EQ(movane({"pack", "a.qz", "file"}).exit_code, 0);
    std::filesystem::create_directory(shop.path("out"));
    expect_failure({"unpack", "a.qz", "out"}, 1, {"out/file: cannot be written"}, 4096);
    EXPECT_TRUE(std::filesystem::is_empty(shop.path("out")));
}

TEST_F(Archives, InterruptedLeavesNothingBehind) {
    write_sparse("large", 2'000'000'000);
    const auto before   = shop.files();
    const pid_t process = shop.start({"movane", "pack", "a.qz", "large"});
    for (int i = 0; shop.files() == before && i < 1000; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    kill(process, SIGINT);
    EXPECT_EQ(shop.wait(process).exit_code, 130);
    EXPECT_EQ(shop.files(), before);
}

TEST_F(Archives, DigestsAreThoseOfMd5sum) {
    shop.write("empty", "");
    shop.write("a b", "abc");
    shop.write("odd\nname\r\\", std::string(200'000, 'x') + '\0');
    Words command     = {"md5", "empty", "./a b", "odd\nname\r\\"};
    const Result ours = movane(command);
    EXPECT_EQ(ours.exit_code, 0);
    command[0] = "md5sum";
    EXPECT_EQ(ours.out, shop.run(command).out);
    EXPECT_NE(ours.out.find("900150983cd24fb0d6963f7d28e17f72  ./a b\n"), std::string::npos);
    expect_failure({"md5", "empty", "none"}, 1, {"none: ", "check the name"});
}

}  // namespace
