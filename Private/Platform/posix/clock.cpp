#include "Platform/clock.h"

#include <cerrno>
#include <ctime>

#include <time.h>

namespace movane::clock {
namespace {

constexpr std::int64_t kMillisecondsPerSecond     = 1000;
constexpr std::int64_t kNanosecondsPerMillisecond = 1000000;

std::int64_t read_ms(clockid_t id) noexcept {
    timespec now = {};
    ::clock_gettime(id, &now);
    return std::int64_t{now.tv_sec} * kMillisecondsPerSecond +
           now.tv_nsec / kNanosecondsPerMillisecond;
}

}  // namespace

std::int64_t monotonic_ms() noexcept { return read_ms(CLOCK_MONOTONIC); }

std::int64_t processor_ms() noexcept { return read_ms(CLOCK_PROCESS_CPUTIME_ID); }

void sleep_ms(std::uint32_t milliseconds) noexcept {
    timespec left = {};
    left.tv_sec   = static_cast<std::time_t>(milliseconds / kMillisecondsPerSecond);
    left.tv_nsec =
        static_cast<long>(milliseconds % kMillisecondsPerSecond * kNanosecondsPerMillisecond);
    while (::nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

Date local_date() noexcept {
    const std::time_t now = std::time(nullptr);
    std::tm broken        = {};
    ::localtime_r(&now, &broken);
    return {.year   = broken.tm_year + 1900,
            .month  = broken.tm_mon + 1,
            .day    = broken.tm_mday,
            .hour   = broken.tm_hour,
            .minute = broken.tm_min,
            .second = broken.tm_sec};
}

}  // namespace movane::clock
