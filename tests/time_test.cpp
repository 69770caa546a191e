// Waits and clocks by their lower bounds, which hold on a busy machine, and the date's form.

#include "movane/services.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <string>

namespace {

TEST(Time, WaitsAsLongAsAsked) {
    using namespace std::chrono;
    // Some systems wait in ticks of up to 16 ms, and a part of one less than asked.
    constexpr int kTick    = 16;
    const long long before = time_get_elapsed_time();
    const auto start       = steady_clock::now();
    waitsec(0);
    EXPECT_EQ(waitmsec(0) + waitmsec(60), 0);
    EXPECT_GE(steady_clock::now() - start, milliseconds(60 - kTick));
    EXPECT_GE(time_get_elapsed_time() - before, 60 - kTick - 1);

    const std::time_t second = std::time(nullptr);
    waitsec(1);
    EXPECT_GE(std::time(nullptr) - second, 1);
}

TEST(Time, CountsProcessorTimeOnly) {
    const long long before = time_get_time();
    waitmsec(50);
    EXPECT_LT(time_get_time() - before, 50);
    while (time_get_time() - before < 20) {
    }
}

TEST(Time, ReadsOneClockInTwoForms) {
    const long long before = time_get_elapsed_time();
    system_time t;
    EXPECT_EQ(get_system_time(&t), 0);
    const long long after = time_get_elapsed_time();
    EXPECT_LT(t.microseconds, 1000000u);
    EXPECT_EQ(t.microseconds % 1000, 0u);
    const long long ms = t.seconds * 1000LL + t.microseconds / 1000;
    EXPECT_TRUE(before <= ms && ms <= after);
    EXPECT_NEAR(static_cast<double>(t.seconds), static_cast<double>(std::time(nullptr)), 600.0);
}

TEST(Time, TakesDifferences) {
    // From values that lie a known time before a reading, fractions of both signs.
    for (const int earlier_ms : {0, 1, 250, 999, 1000, 61001}) {
        system_time t;
        get_system_time(&t);
        const long long then = t.seconds * 1000LL + t.microseconds / 1000 - earlier_ms;
        int ms               = 0;
        EXPECT_EQ(get_diff_system_time(&ms, static_cast<unsigned>(then / 1000),
                                       static_cast<unsigned>(then % 1000 * 1000)),
                  0);
        EXPECT_GE(ms, earlier_ms);
        EXPECT_LT(ms, earlier_ms + 30000);
    }
    system_time t;
    get_system_time(&t);
    int ms = 0;
    get_diff_system_time(&ms, t.seconds + 100, t.microseconds);  // a moment to come
    EXPECT_TRUE(ms >= -100000 && ms < -70000);
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
