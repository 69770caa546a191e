// The reporter's modes, its four prefixes, and what becomes of long lines.

#include "movane/foundation.h"

#include "support/printed.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace movane_tests;

using Lines = std::vector<std::string>;

void post(const std::string& message) {
    error_mess_fl(message.c_str(), "MOVANE/Private/Source/x", 1);
}

Lines fetched() {
    Lines lines;
    while (const char* line = error_get()) lines.emplace_back(line);
    return lines;
}

TEST(ErrorDeathTest, PrintsAndFlushesLineByLine) {
    const struct {
        std::string printed;
        int mode, level;  // of warnings; and the switch of remarks
        void (*call)();
    } rows[] = {
        {"ERROR : f: %s went 'wrong' #\n", 1, 0, [] { post("f: %s went 'wrong' #"); }},
        {"ERROR : \n", 1, 0, [] { error_mess_fl(nullptr, nullptr, 0); }},
        {"ERROR : " + std::string(503, 'x') + "\n", 1, 0, [] { post(std::string(600, 'x')); }},
        {"", 0, 0, [] { post("dropped"); }},
        {"WARNING  : w\n", 0, 0, [] { movane_warn(1, "w"); }},
        {"", 1, 5, [] { movane_warn(5, "w"); }},
        {"WARNING  : \n", 1, 5, [] { movane_warn(6, nullptr); }},
        {"WARNING  : low\n", 1, -3, [] { movane_warn(-2, "low"); }},
        {"", 1, 0, [] { dbg("d"); }},
        {"DEBUG : d\n", 3, 7, [] { dbg("d"); }},
    };
    for (const auto& row : rows) {
        expect_printed(row.printed, [&] {
            error_set(row.mode);
            movane_warn_level(row.level);
            dbg_set(row.level);
            row.call();
        });
    }
    expect_printed("ERROR : b\nERROR : a\n", [] {
        error_set(2);
        post("a");
        post("b");
        error_display_all_msgs();
    });
    EXPECT_EXIT(error_exit("fatal"), testing::ExitedWithCode(1), "^ERROR  : fatal\r?\n$");
}

TEST(Error, KeepsWhatItsModeSays) {
    const std::string much(600, 'x'), line = "ERROR : " + much;
    const struct {
        int mode;
        Lines posted, kept;
    } rows[] = {
        {3, {"first", "second"}, {"ERROR : second"}},
        {3, {much}, {line.substr(0, 511)}},
        {2, {"b", "A", "a", "C"}, {"ERROR : C", "ERROR : b", "ERROR : A"}},
        // Agrees as far as a slot reaches: the same line.
        {2, {much, much.substr(0, 300) + "y"}, {line.substr(0, 255)}},
        {4, {"dropped"}, {}},
    };
    for (const auto& row : rows) {
        error_set(row.mode);
        for (const std::string& message : row.posted) post(message);
        EXPECT_EQ(fetched(), row.kept) << "mode " << row.mode;
    }
    error_set(1);
}

TEST(Error, SettingsTellWhatWasBefore) {
    EXPECT_EQ(error_set(1), 1);
    for (const int mode : {3, 0, 1}) {  // each forgets what is pending
        error_set(3);
        post("lost");
        EXPECT_EQ(error_set(mode), 3);
        EXPECT_EQ(fetched(), Lines{});
    }
    error_set(2);
    post("kept");
    EXPECT_EQ(error_set(2), 2);
    EXPECT_EQ(fetched(), Lines{"ERROR : kept"});
    post("lost");
    for (const int mode : {1, 2, 1}) error_set(mode);
    EXPECT_EQ(fetched(), Lines{});

    EXPECT_EQ(movane_warn_level(5), 0);
    EXPECT_EQ(movane_warn_level(0), 5);
    EXPECT_EQ(dbg_set(7), 0);
    EXPECT_EQ(dbg_set(0), 7);
}

}  // namespace
