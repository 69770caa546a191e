// What families build on but do not show: modes of opening, locks, listings, the calendar, and the
// families of this subsystem without memory.

#include "movane/services.h"

#include "movane/foundation.h"

#include "Engine/runtime.h"
#include "Engine/utf8_files.h"
#include "Platform/files.h"
#include "Platform/process.h"
#include "support/allocation_failures.h"
#include "support/helper_program.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <ctime>
#include <set>
#include <utility>

namespace {

namespace files = movane::files;
using files::Descriptor;
using namespace movane_tests;

struct Files : ::testing::Test {
    const TemporaryDirectory directory;
    const std::string a = directory / "漢", b = directory / "b";
};

Descriptor opened(const std::string& path, unsigned how) {
    return Descriptor(files::open(path.c_str(), how));
}

TEST_F(Files, OpenAsAsked) {
    using namespace files;
    // Whether it opens, what a write then does, and the bytes at last.
    const std::pair<unsigned, const char*> rows[] = {{kRead, "no"},
                                                     {kWrite | kTruncate, "no"},
                                                     {kWrite | kCreate | kExclusive, "3 abc"},
                                                     {kWrite | kCreate | kExclusive, "no"},
                                                     {kRead | kNoFollow, "-1 abc"},
                                                     {kWrite | kCreate | kAppend, "3 abcabc"},
                                                     {kWrite | kTruncate, "3 abc"}};
    for (const auto& [how, outcome] : rows) {
        Descriptor file  = opened(a, how);
        std::string told = file ? std::to_string(files::write(file.get(), "abc", 3)) : "no";
        if (file.close() && told != "no") told += " " + read_file(a);
        EXPECT_EQ(told, outcome) << how;
    }
    EXPECT_FALSE(opened(directory / std::string(5000, 'x'), kRead));
}

TEST_F(Files, GoBeyond32Bits) {
    constexpr std::int64_t kFar = (std::int64_t{1} << 32) + 5;
    write_file(a, "");
    streambufExt buffer(a.c_str(), streambufExt::mode_out | streambufExt::mode_binary);
    ASSERT_EQ(buffer.openfile(), 0);
    EXPECT_EQ(buffer.pubseekpos(kFar), kFar <= files::kLargestRuntimeOffset ? kFar : -1);
    std::FILE* stream = fopen_utf8(a.c_str(), "rb");
    EXPECT_TRUE(files::seek(stream, kFar, files::Origin::begin));
    EXPECT_EQ(files::tell(stream), kFar);
    EXPECT_EQ(fclosx(stream), 0);
}

TEST_F(Files, LockOpenFilesNotProcesses) {
    write_file(a, "");
    Descriptor first = opened(a, files::kRead | files::kWrite), copy(files::duplicate(first.get()));
    const Descriptor second = opened(a, files::kRead | files::kWrite);
    EXPECT_TRUE(files::lock(first.get()));
    EXPECT_TRUE(first.close());
    EXPECT_FALSE(files::lock(second.get()));  // held until the last descriptor goes
    EXPECT_TRUE(copy.close());
    EXPECT_TRUE(files::lock(second.get()));
}

TEST_F(Files, KnowWhatAPathNames) {
    write_file(a, "12345");
    stat_utf8 status;
    EXPECT_EQ(stat32_utf8(a.c_str(), &status), 0);
    EXPECT_TRUE(status.size == 5 && !status.is_directory);
    EXPECT_EQ(stat32_utf8(b.c_str(), &status), -1);
    EXPECT_EQ(GetFileAttributes_utf8(b.c_str()), attributes_of_none);
    for (const int copied : {1, 0}) EXPECT_EQ(CopyFile_utf8(a.c_str(), b.c_str(), 1), copied);
    {
        const Descriptor file = opened(a, files::kRead | files::kRemovable);
        EXPECT_TRUE(files::is_named(file.get(), (directory / "./漢").c_str()));
        EXPECT_FALSE(files::is_named(file.get(), b.c_str()));
        EXPECT_TRUE(files::set_read_only(file.get(), true));
        EXPECT_EQ(GetFileAttributes_utf8(a.c_str()), attribute_read_only);
        EXPECT_TRUE(files::set_read_only(file.get(), false));
    }
    EXPECT_EQ(mkdir_utf8(a.c_str()) + rmdir_utf8(a.c_str()), -2);
    EXPECT_EQ(fdelete(a.c_str()), 0);
    EXPECT_EQ(fdelete(a.c_str()), -1);
}

TEST_F(Files, AreNotOpenedThroughLinksUnlessAskedTo) {
    std::error_code refusal;
    std::filesystem::create_symlink(path_of(a), path_of(b), refusal);
    if (refusal) GTEST_SKIP() << "no symbolic links here: " << refusal.message();
    EXPECT_EQ(GetFileAttributes_utf8(b.c_str()), attribute_link);
    const unsigned how = files::kWrite | files::kCreate;
    EXPECT_FALSE(opened(b, how | files::kNoFollow) || opened(b, how | files::kExclusive) ||
                 exists(a));
    EXPECT_TRUE(opened(b, how) && exists(a));
    EXPECT_FALSE(files::is_named(opened(b, how).get(), b.c_str()));
}

TEST_F(Files, AreSearchedInDirectories) {
    std::set<std::string> made = {"b", "漢"}, found;
    for (int i = 0; i < 100; ++i) made.insert(std::to_string(i));
    for (const std::string& name : made) write_file(directory / name, "");
    std::filesystem::create_directory(path_of(directory / "d"));
    char path[256];
    for (const int size : {256, 8}) {  // where no path fits
        void* search = fsinit((directory / "*").c_str());
        while (fsearch(search, path, size) == 0) found.insert(path + (directory / "").size());
        fsfree(search);
        EXPECT_EQ(found, made);
    }
    fsfree(nullptr);
    EXPECT_EQ(fsinit((directory / "none/*").c_str()), nullptr);
}

TEST(Processes, StartAndEnd) {
    const char* const missing[] = {"/no/such/program"};
    EXPECT_EQ(movane::process::start(missing), 0);

    // Blanks, quotation marks and backslashes leave the arguments apart.
    const std::string helper  = beside_this_program("lock_contender");
    const char* const three[] = {helper.c_str(), "", "a b\\", "\\\"c\\\\\" d\"\\\\"};
    EXPECT_EQ(movane::process::wait(movane::process::start(three)), 13);
}

TEST(Calendar, WritesDatesAndFindsWeekdays) {
    // Against the C library, in its own locale: all days of some years, at all times.
    for (std::time_t seconds = 0; seconds < 900000000; seconds += 86400 + 3661) {
        const std::tm* t    = std::gmtime(&seconds);
        const cdl_date date = {t->tm_year + 1900, t->tm_mon + 1, t->tm_mday,
                               t->tm_hour,        t->tm_min,     t->tm_sec};
        char day[12], time[9], expected[32];
        cvtdta(&date, day);
        cvttma(&date, time);
        std::strftime(expected, sizeof expected, "%d-%b-%Y %H:%M:%S", t);
        ASSERT_EQ(day + std::string(" ") + time, expected);
        ASSERT_EQ(dayweek(&date) % 7, t->tm_wday) << expected;
    }
}

TEST(ServicesWithoutMemory, ReportAndLeaveNothing) {
    const TemporaryDirectory directory;
    const std::string from = directory / "from", to = directory / "to", plain = directory / "plain",
                      file = from + "/sub/a";
    make_tree(from, "sub/a=x");
    // Checks the message of a failed call itself where that names no single cause.
    const auto check = [](const char* call, const std::string& message, auto attempt) {
        check_every_allocation_failure(call, "", [&] {
            const bool succeeded = attempt();
            EXPECT_EQ(MessageCapture::take().substr(0, message.size()), succeeded ? "" : message);
            return succeeded;
        });
    };
    check("lognam_define", "lognam_define: Not enough resources to define name", [] {
        const bool is_defined = lognam_define("n", "d") == 0;
        lognam_define("n", nullptr);
        return is_defined;
    });
    check("fdifstream", "", [&] {
        const fdifstream in(file.c_str(), streambufExt::mode_binary);
        return in.is_open() && in.good();
    });
    streambufExt closed(file.c_str(), streambufExt::mode_in);
    check("streambufExt", "", [&] { return streambufExt(closed).openfile() == 0; });
    movane_list* const list = list_new(100, 256, nullptr);
    check("rsys_scan_dir", "rsys_scan_dir : Unable to scan directory " + from,
          [&] { return rsys_scan_dir(from.c_str(), list) == 0; });
    list_kill(list);
    check("rsys_copy", "rsys_copy : Unable to copy file " + from,
          [&] { return rsys_copy(to.c_str(), (from + "/*").c_str()) == 0; });
    check("rsys_rmdir", "", [&] {
        make_tree(plain, "a=x");
        rsys_rmdir(plain.c_str());
        return !exists(plain);
    });
}

}  // namespace
