// Waits and clocks by their lower bounds, which hold on a busy machine, and the date's form.

#include "movane/services.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <string>

namespace {

TEST(Time, WaitsAsLongAsAskedWithoutWork) {
    // Some systems wait in ticks of up to 16 ms, and a part of one less than asked.
    constexpr int kTick    = 16;
    const long long before = time_get_elapsed_time(), used = time_get_time();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(waitmsec(0) + waitmsec(200), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200 - kTick));
    EXPECT_GE(time_get_elapsed_time() - before, 200 - kTick - 1);
    EXPECT_LT(time_get_time() - used, 100);
    while (time_get_time() - used < 20) {  // passes while there is work
    }
    const std::time_t second = std::time(nullptr);
    waitsec(0);
    waitsec(1);
    EXPECT_GE(std::time(nullptr) - second, 1);
}

TEST(Time, ReadsOneClockInTwoForms) {
    const long long before = time_get_elapsed_time();
    system_time t;
    EXPECT_EQ(get_system_time(&t), 0);
    const long long ms = t.seconds * 1000LL + t.microseconds / 1000;
    EXPECT_TRUE(before <= ms && ms <= time_get_elapsed_time());
    EXPECT_TRUE(t.microseconds < 1000000 && t.microseconds % 1000 == 0);
    EXPECT_NEAR(static_cast<double>(t.seconds), static_cast<double>(std::time(nullptr)), 600.0);

    // To moments that were and, the last, to come; fractions of both signs.
    for (const int earlier_ms : {0, 1, 250, 999, 1000, 61001, -100000}) {
        const long long then = ms - earlier_ms;
        int difference       = 0;
        EXPECT_EQ(get_diff_system_time(&difference, static_cast<unsigned>(then / 1000),
                                       static_cast<unsigned>(then % 1000 * 1000)),
                  0);
        EXPECT_TRUE(difference >= earlier_ms && difference < earlier_ms + 30000) << earlier_ms;
    }
}

TEST(Time, WritesTheDateInEnglish) {
    // Against the C library, in its own locale; once more when the second has just changed.
    char expected[64] = "";
    std::string text;
    for (int attempt = 0; attempt < 5 && (attempt == 0 || text != expected); ++attempt) {
        const std::time_t now = std::time(nullptr);
        std::strftime(expected, sizeof expected, "%A %d-%b-%Y at %H-%M-%S", std::localtime(&now));
        text = time_get_date();
    }
    EXPECT_EQ(text, expected);
}

}  // namespace
