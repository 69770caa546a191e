// Waits, elapsed times and a printable date on the runtime's clocks.

#include "movane/services.h"

#include "Engine/runtime.h"
#include "Platform/clock.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace {

constexpr unsigned int kPollMilliseconds      = 10;
constexpr unsigned int kMillisecondsPerSecond = 1000;
constexpr unsigned int kMicrosecondsPerMilli  = 1000;
constexpr std::size_t kDateSize               = 256;
constexpr std::size_t kPartSize               = 64;  // of date and time, so that all parts fit
constexpr const char* kWeekdays[]             = {"Monday", "Tuesday",  "Wednesday", "Thursday",
                                                 "Friday", "Saturday", "Sunday"};

// process-wide: the text of time_get_date().
constinit char date_text[kDateSize] = "";

}  // namespace

// --- waiting -------------------------------------------------------------------------------

void waitsec(unsigned int seconds) {
    const std::int64_t start = std::time(nullptr);
    while (std::time(nullptr) - start < seconds) movane::clock::sleep_ms(kPollMilliseconds);
}

int waitmsec(unsigned int ms) {
    movane::clock::sleep_ms(ms);
    return 0;
}

// --- elapsed time --------------------------------------------------------------------------

int get_system_time(system_time* t) {
    const long long now = elapsed();
    t->seconds          = static_cast<unsigned int>(now / kMillisecondsPerSecond);
    t->microseconds =
        static_cast<unsigned int>(now % kMillisecondsPerSecond * kMicrosecondsPerMilli);
    return 0;
}

int get_diff_system_time(int* ms, unsigned int seconds, unsigned int microseconds) {
    system_time now;
    get_system_time(&now);
    const int fraction =
        static_cast<int>(now.microseconds - microseconds) / static_cast<int>(kMicrosecondsPerMilli);
    *ms = static_cast<int>((now.seconds - seconds) * kMillisecondsPerSecond +
                           static_cast<unsigned int>(fraction));
    return 0;
}

long long time_get_time(void) { return cputime(); }

long long time_get_elapsed_time(void) { return elapsed(); }

// --- date ----------------------------------------------------------------------------------

char* time_get_date(void) {
    cdl_date now;
    char date[kPartSize], time_of_day[kPartSize];
    dattim(&now);
    cvtdta(&now, date);
    cvttma(&now, time_of_day);
    std::replace(time_of_day, time_of_day + std::strlen(time_of_day), ':', '-');
    std::snprintf(date_text, sizeof date_text, "%s %s at %s", kWeekdays[dayweek(&now) - 1], date,
                  time_of_day);
    return date_text;
}
