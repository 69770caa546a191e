#include "Platform/clock.h"

#include <windows.h>

namespace movane::clock {
namespace {

constexpr std::int64_t kMillisecondsPerSecond = 1000;
constexpr std::int64_t kTicksPerMillisecond   = 10000;  // of a FILETIME

std::int64_t ticks(const FILETIME& time) noexcept {
    return static_cast<std::int64_t>(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
}

}  // namespace

std::int64_t monotonic_ms() noexcept {
    LARGE_INTEGER counts, counts_per_second;
    QueryPerformanceCounter(&counts);
    QueryPerformanceFrequency(&counts_per_second);
    const std::int64_t frequency = counts_per_second.QuadPart;
    return counts.QuadPart / frequency * kMillisecondsPerSecond +
           counts.QuadPart % frequency * kMillisecondsPerSecond / frequency;
}

std::int64_t processor_ms() noexcept {
    FILETIME start, end, kernel, user;
    if (!GetProcessTimes(GetCurrentProcess(), &start, &end, &kernel, &user)) return 0;
    return (ticks(kernel) + ticks(user)) / kTicksPerMillisecond;
}

void sleep_ms(std::uint32_t milliseconds) noexcept { Sleep(milliseconds); }

Date local_date() noexcept {
    SYSTEMTIME now;
    GetLocalTime(&now);
    return {.year   = now.wYear,
            .month  = now.wMonth,
            .day    = now.wDay,
            .hour   = now.wHour,
            .minute = now.wMinute,
            .second = now.wSecond};
}

}  // namespace movane::clock
