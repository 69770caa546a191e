// What the library and its tests ask about processes. posix/process.cpp and windows/process.cpp
// answer.
#pragma once

#include <cstdint>
#include <span>

namespace movane::process {

/// A child that was started; 0 when there is none.
using Child = std::intptr_t;

/// Starts a program.
///
/// @param arguments  UTF-8; the first is the path of the program
/// @return           a child that the caller passes to wait(); 0 on failure
[[nodiscard]] Child start(std::span<const char* const> arguments) noexcept;

/// Waits until the child has ended and forgets it.
///
/// @return  its exit status; -1 when it did not end by itself
int wait(Child child) noexcept;

/// Ends the child at once, without any cleaning up on its side. wait() is still due.
void kill(Child child) noexcept;

}  // namespace movane::process
