// The reporter's modes, its four prefixes, and what becomes of long lines.

#include "movane/foundation.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

void post(const std::string& message) {
    error_mess_fl(message.c_str(), "MOVANE/Private/Source/x", 1);
}

template <class Call>
std::string printed(Call call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

std::vector<std::string> fetched() {
    std::vector<std::string> lines;
    while (const char* line = error_get()) lines.emplace_back(line);
    return lines;
}

class Error : public testing::Test {
protected:
    ~Error() override {
        error_set(1);
        movane_warn_level(0);
        dbg_set(0);
    }
};
using Lines = std::vector<std::string>;

TEST_F(Error, PrintsAtOnceByDefault) {
    EXPECT_EQ(printed([] { post("f: %s went 'wrong' #"); }), "ERROR : f: %s went 'wrong' #\n");
    EXPECT_EQ(printed([] { error_mess_fl(nullptr, nullptr, 0); }), "ERROR : \n");
    EXPECT_EQ(error_get(), nullptr);
}

TEST_F(Error, KeepsOnlyTheLatestInMode3) {
    EXPECT_EQ(error_set(3), 1);
    EXPECT_EQ(printed([] { post("first"), post("second"); }), "");
    EXPECT_EQ(fetched(), Lines{"ERROR : second"});
    for (const int mode : {3, 0, 1}) {  // setting a mode forgets what is pending
        error_set(3);
        post("third");
        EXPECT_EQ(error_set(mode), 3);
        EXPECT_EQ(error_get(), nullptr);
    }
}

TEST_F(Error, CollectsSortedWithoutDuplicatesInMode2) {
    error_set(2);
    for (const char* message : {"b", "A", "a", "C"}) post(message);
    EXPECT_EQ(error_set(2), 2);  // choosing it again loses nothing
    EXPECT_EQ(fetched(), (Lines{"ERROR : C", "ERROR : b", "ERROR : A"}));

    for (int i = 0; i < 200; ++i) post(std::to_string(i % 120));  // beyond the first 50 slots
    EXPECT_EQ(fetched().size(), 120u);

    post("lost");
    error_set(1);
    error_set(2);
    EXPECT_EQ(error_get(), nullptr);
}

TEST_F(Error, PrintsAllPendingLines) {
    error_set(2);
    post("one"), post("two");
    EXPECT_EQ(printed(error_display_all_msgs), "ERROR : two\nERROR : one\n");
    EXPECT_EQ(error_get(), nullptr);
}

TEST_F(Error, DropsInOtherModes) {
    for (const int mode : {0, -1, 4}) {
        error_set(mode);
        EXPECT_EQ(printed([] { post("x"); }), "");
        EXPECT_EQ(error_get(), nullptr);
    }
}

TEST_F(Error, CutsLongLines) {
    const std::string message(600, 'x');
    const std::string line = "ERROR : " + message;
    EXPECT_EQ(printed([&] { post(message); }), line.substr(0, 511) + "\n");
    error_set(3);
    post(message);
    EXPECT_EQ(fetched(), Lines{line.substr(0, 511)});
    error_set(2);
    post(message);
    post(message.substr(0, 300) + "y");  // agrees as far as a slot reaches: the same line
    EXPECT_EQ(fetched(), Lines{line.substr(0, 255)});
}

TEST_F(Error, WarnsAboveItsThresholdAndRemarksWhenSwitchedOn) {
    error_set(3);  // has no say here
    EXPECT_EQ(printed([] { movane_warn(0, "w"); }), "");
    EXPECT_EQ(printed([] { movane_warn(1, "w"); }), "WARNING  : w\n");
    EXPECT_EQ(movane_warn_level(5), 0);
    EXPECT_EQ(printed([] { movane_warn(5, "w"), movane_warn(6, nullptr); }), "WARNING  : \n");
    EXPECT_EQ(movane_warn_level(-3), 5);
    EXPECT_EQ(printed([] { movane_warn(-2, "low"); }), "WARNING  : low\n");

    EXPECT_EQ(printed([] { dbg("d"); }), "");
    EXPECT_EQ(dbg_set(7), 0);
    EXPECT_EQ(printed([] { dbg("d"); }), "DEBUG : d\n");
    EXPECT_EQ(dbg_set(0), 7);
    EXPECT_EQ(error_get(), nullptr);
}

TEST(ErrorDeathTest, ExitsWithStatus1AndTheLineOnStandardError) {
    EXPECT_EXIT(error_exit("fatal"), testing::ExitedWithCode(1), "ERROR  : fatal\n");
}

}  // namespace
