#include "Engine/runtime.h"
#include "Platform/clock.h"

#include <chrono>
#include <cstdio>

namespace {

constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// What lies between the monotonic clock, which usually starts with the machine, and the time of
// day at the first reading.
long long start_ms() {
    using namespace std::chrono;
    const auto time_of_day = system_clock::now().time_since_epoch();
    return duration_cast<milliseconds>(time_of_day).count() - movane::clock::monotonic_ms();
}

}  // namespace

long long elapsed(void) {
    static const long long start = start_ms();
    return start + movane::clock::monotonic_ms();
}

long long cputime(void) { return movane::clock::processor_ms(); }

void dattim(cdl_date* now) {
    const movane::clock::Date date = movane::clock::local_date();
    *now = {date.year, date.month, date.day, date.hour, date.minute, date.second};
}

void cvtdta(const cdl_date* date, char* text) {
    std::snprintf(text, 12, "%02d-%s-%04d", date->day, kMonths[date->month - 1], date->year);
}

void cvttma(const cdl_date* date, char* text) {
    std::snprintf(text, 9, "%02d:%02d:%02d", date->hour, date->minute, date->second);
}

int dayweek(const cdl_date* date) {
    using namespace std::chrono;
    const year_month_day day{year{date->year}, month{static_cast<unsigned>(date->month)},
                             std::chrono::day{static_cast<unsigned>(date->day)}};
    return static_cast<int>(weekday{sys_days{day}}.iso_encoding());
}
