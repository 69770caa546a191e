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

#include <set>
#include <string>

namespace {

namespace files = movane::files;
using files::Descriptor;
using movane_tests::check_every_allocation_failure;
using movane_tests::exists;
using movane_tests::MessageCapture;
using movane_tests::path_of;
using movane_tests::read_file;
using movane_tests::TemporaryDirectory;
using movane_tests::write_file;

TEST(Files, OpenAsAsked) {
    const TemporaryDirectory directory;
    const std::string path = directory / "漢";
    const auto opens       = [&](unsigned how) {
        return static_cast<bool>(Descriptor(files::open(path.c_str(), how)));
    };
    EXPECT_FALSE(opens(files::kRead));
    EXPECT_FALSE(opens(files::kWrite | files::kTruncate));
    EXPECT_TRUE(opens(files::kWrite | files::kCreate | files::kExclusive));
    EXPECT_FALSE(opens(files::kWrite | files::kCreate | files::kExclusive));
    write_file(path, "text");
    EXPECT_TRUE(opens(files::kRead | files::kNoFollow));
    EXPECT_TRUE(opens(files::kWrite | files::kCreate));
    EXPECT_EQ(read_file(path), "text");
    EXPECT_TRUE(opens(files::kWrite | files::kTruncate));
    EXPECT_EQ(read_file(path), "");

    Descriptor file(files::open(path.c_str(), files::kRead | files::kWrite));
    EXPECT_EQ(files::write(file.get(), "abc", 3), 3);
    EXPECT_EQ(files::seek(file.get(), -2, files::Origin::end), 1);
    char two[2];
    EXPECT_EQ(files::read(file.get(), two, 2), 2);
    EXPECT_EQ(std::string(two, 2), "bc");
    EXPECT_EQ(files::read(file.get(), two, 2), 0);
    EXPECT_EQ(files::seek(file.get(), -9, files::Origin::current), -1);
    EXPECT_TRUE(file.close());
    EXPECT_FALSE(file);
    EXPECT_EQ(files::open((directory / std::string(5000, 'x')).c_str(), files::kRead),
              files::kNone);
}

TEST(Files, GoBeyond32Bits) {
    const TemporaryDirectory directory;
    const std::string path      = directory / "large";
    constexpr std::int64_t kFar = (std::int64_t{1} << 32) + 5;  // sparse: takes no room
    write_file(path, "");
    streambufExt buffer(path.c_str(), streambufExt::mode_out | streambufExt::mode_binary);
    ASSERT_EQ(buffer.openfile(), 0);
    EXPECT_EQ(buffer.pubseekpos(kFar), kFar <= files::kLargestRuntimeOffset ? kFar : -1);

    // A write there may be refused for want of room, a position is not.
    std::FILE* stream = fopen_utf8(path.c_str(), "rb");
    EXPECT_TRUE(files::seek(stream, kFar, files::Origin::begin));
    EXPECT_EQ(files::tell(stream), kFar);
    EXPECT_EQ(fclosx(stream), 0);
}

TEST(Files, LockOpenFilesNotProcesses) {
    const TemporaryDirectory directory;
    const std::string path = directory / "lock";
    write_file(path, "");
    Descriptor first(files::open(path.c_str(), files::kRead | files::kWrite));
    const Descriptor second(files::open(path.c_str(), files::kRead | files::kWrite));
    Descriptor copy(files::duplicate(first.get()));
    EXPECT_TRUE(files::lock(first.get()));
    EXPECT_FALSE(files::lock(second.get()));
    EXPECT_TRUE(first.close());
    EXPECT_FALSE(files::lock(second.get()));  // held until the last descriptor goes
    EXPECT_TRUE(copy.close());
    EXPECT_TRUE(files::lock(second.get()));
}

TEST(Files, KnowWhatAPathNames) {
    const TemporaryDirectory directory;
    const std::string a = directory / "a", b = directory / "b", same_a = directory / "./a";
    write_file(a, "12345");
    files::Status status;
    ASSERT_TRUE(files::status(a.c_str(), status));
    EXPECT_TRUE(status.size == 5 && status.is_plain_file && !status.is_directory &&
                !status.is_read_only);
    stat_utf8 stated;
    EXPECT_EQ(stat32_utf8(a.c_str(), &stated), 0);
    EXPECT_TRUE(stated.size == 5 && !stated.is_directory);
    EXPECT_EQ(stat32_utf8((directory / "").c_str(), &stated), 0);
    EXPECT_TRUE(stated.is_directory);
    EXPECT_EQ(stat32_utf8(b.c_str(), &stated), -1);

    EXPECT_TRUE(files::is_same(a.c_str(), same_a.c_str()));
    EXPECT_FALSE(files::is_same(a.c_str(), b.c_str()));
    Descriptor open_file(files::open(a.c_str(), files::kRead | files::kRemovable));
    EXPECT_TRUE(files::is_named(open_file.get(), same_a.c_str()));
    write_file(b, "other");
    EXPECT_FALSE(files::is_named(open_file.get(), b.c_str()));

    EXPECT_TRUE(files::set_read_only(open_file.get(), true));
    EXPECT_EQ(GetFileAttributes_utf8(a.c_str()), attribute_read_only);
    EXPECT_TRUE(files::set_read_only(open_file.get(), false));
    open_file.close();
    EXPECT_TRUE(files::rename(a.c_str(), b.c_str()));
    EXPECT_EQ(read_file(b), "12345");
    EXPECT_EQ(GetFileAttributes_utf8(a.c_str()), attributes_of_none);

    EXPECT_EQ(CopyFile_utf8(b.c_str(), a.c_str(), 1), 1);
    EXPECT_EQ(CopyFile_utf8(b.c_str(), a.c_str(), 1), 0);
    EXPECT_EQ(mkdir_utf8(a.c_str()), -1);
    EXPECT_EQ(rmdir_utf8(a.c_str()), -1);
    EXPECT_EQ(fdelete(a.c_str()) + fdelete(b.c_str()), 0);
    EXPECT_EQ(fdelete(b.c_str()), -1);
}

TEST(Files, AreNotOpenedThroughLinksUnlessAskedTo) {
    const TemporaryDirectory directory;
    const std::string a = directory / "a", b = directory / "b";
    std::error_code refusal;
    std::filesystem::create_symlink(path_of(a), path_of(b), refusal);
    if (refusal) GTEST_SKIP() << "no symbolic links here: " << refusal.message();
    EXPECT_EQ(GetFileAttributes_utf8(b.c_str()), attribute_link);
    const unsigned how = files::kWrite | files::kCreate;
    EXPECT_EQ(files::open(b.c_str(), how | files::kNoFollow), files::kNone);
    EXPECT_EQ(files::open(b.c_str(), how | files::kExclusive), files::kNone);
    EXPECT_FALSE(exists(a));
    EXPECT_TRUE(Descriptor(files::open(b.c_str(), how)));
    EXPECT_TRUE(exists(a));
}

TEST(Files, ListDirectories) {
    const TemporaryDirectory directory;
    std::set<std::string> made, listed, searched;
    for (int i = 0; i < 100; ++i) {
        made.insert("Grün" + std::to_string(i));
        write_file(directory / ("Grün" + std::to_string(i)), "");
    }
    std::filesystem::create_directory(path_of(directory / "d"));
    const files::Directory listing = files::list((directory / "").c_str());
    ASSERT_TRUE(listing);
    files::Entry entry;
    while (files::next(*listing, entry)) {
        EXPECT_EQ(entry.is_directory, std::string(entry.name) == "d");
        EXPECT_TRUE(listed.insert(entry.name).second);
    }
    char path[256], little[8];
    void* search = fsinit((directory / "*").c_str());
    while (fsearch(search, path, sizeof path) == 0)
        searched.insert(path_of(path).filename().string());
    fsfree(search);
    EXPECT_EQ(searched, made);
    made.insert("d");
    EXPECT_EQ(listed, made);

    search = fsinit((directory / "*").c_str());
    EXPECT_EQ(fsearch(search, little, sizeof little), -1);  // no path fits
    fsfree(search);
    fsfree(nullptr);
    EXPECT_EQ(fsinit((directory / "none/*").c_str()), nullptr);
    EXPECT_EQ(files::list((directory / "Grün1").c_str()), nullptr);
    EXPECT_EQ(files::list(""), nullptr);
}

TEST(Processes, StartAndEnd) {
    const char* const missing[] = {"/no/such/program"};
    EXPECT_EQ(movane::process::start(missing), 0);

    // Blanks, quotation marks and backslashes leave the arguments apart.
    const std::string helper  = movane_tests::beside_this_program("lock_contender");
    const char* const three[] = {helper.c_str(), "", "a b\\", "\\\"c\\\\\" d\"\\\\"};
    EXPECT_EQ(movane::process::wait(movane::process::start(three)), 13);
}

TEST(Calendar, WritesDatesAndFindsWeekdays) {
    const struct {
        cdl_date date;
        const char *day, *time;
        int weekday;
    } rows[] = {
        {{2025, 2, 3, 14, 5, 9}, "03-Feb-2025", "14:05:09", 1},
        {{2000, 2, 29, 0, 0, 0}, "29-Feb-2000", "00:00:00", 2},
        {{1999, 12, 31, 23, 59, 60}, "31-Dec-1999", "23:59:60", 5},
        {{2100, 3, 1, 7, 8, 9}, "01-Mar-2100", "07:08:09", 1},
        {{2026, 11, 22, 1, 1, 1}, "22-Nov-2026", "01:01:01", 7},
    };
    for (const auto& row : rows) {
        char day[12], time[9];
        cvtdta(&row.date, day);
        cvttma(&row.date, time);
        EXPECT_STREQ(day, row.day);
        EXPECT_STREQ(time, row.time);
        EXPECT_EQ(dayweek(&row.date), row.weekday) << row.day;
    }
}

TEST(ServicesWithoutMemory, ReportAndLeaveNothing) {
    const TemporaryDirectory directory;
    std::filesystem::create_directories(path_of(directory / "from/sub"));
    write_file(directory / "from/sub/a", "x");
    const std::string from = directory / "from", to = directory / "to", plain = directory / "plain";

    check_every_allocation_failure("lognam_define",
                                   "lognam_define: Not enough resources to define name", [] {
                                       const bool is_defined = lognam_define("n", "d") == 0;
                                       lognam_define("n", nullptr);
                                       return is_defined;
                                   });
    const std::string file = from + "/sub/a";
    check_every_allocation_failure("fdifstream", "", [&] {
        const fdifstream in(file.c_str(), streambufExt::mode_binary);
        return in.is_open() && in.good();
    });
    streambufExt closed(file.c_str(), streambufExt::mode_in);
    check_every_allocation_failure("streambufExt", "", [&] {
        streambufExt copy(closed);
        return copy.openfile() == 0;
    });
    check_every_allocation_failure("rsys_scan_dir", "", [&] {
        movane_list* list = list_new(1, 256, nullptr);
        if (!list) return false;
        const bool is_listed = rsys_scan_dir(from.c_str(), list) == 0;
        if (!is_listed) {
            EXPECT_EQ(MessageCapture::take(), "rsys_scan_dir : Unable to scan directory " + from);
        }
        list_kill(list);
        return is_listed;
    });
    check_every_allocation_failure("rsys_copy", "", [&] {
        const bool is_copied = rsys_copy(to.c_str(), (from + "/*").c_str()) == 0;
        if (!is_copied) {
            EXPECT_EQ(MessageCapture::take().find("rsys_copy : Unable to copy file " + from), 0u);
        }
        return is_copied;
    });
    check_every_allocation_failure("rsys_rmdir", "", [&] {
        std::filesystem::create_directory(path_of(plain));
        write_file(plain + "/a", "x");
        rsys_rmdir(plain.c_str());
        return !exists(plain);
    });
}

}  // namespace
