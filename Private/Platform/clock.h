// What the library asks of clocks. posix/clock.cpp and windows/clock.cpp answer.
#pragma once

#include <cstdint>

namespace movane::clock {

/// Milliseconds since a fixed moment; never goes back.
[[nodiscard]] std::int64_t monotonic_ms() noexcept;

/// Milliseconds of processor time that this process has used.
[[nodiscard]] std::int64_t processor_ms() noexcept;

/// Waits that long, or a part of a clock tick less where the system counts in ticks.
void sleep_ms(std::uint32_t milliseconds) noexcept;

struct Date {
    int year;
    int month;  // from 1
    int day;    // from 1
    int hour, minute, second;
};

/// Now, in the time zone of the system.
[[nodiscard]] Date local_date() noexcept;

}  // namespace movane::clock
