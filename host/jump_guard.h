// Calls into C libraries that report errors by never returning (libpng, libjpeg).
//
// Their error handlers must not return, and a C++ exception must not travel through their frames.
// So the handler keeps the message and jumps back to the guard, across C frames only; the caller
// then throws what it likes.
#pragma once

#include <csetjmp>
#include <cstdio>
#include <type_traits>

namespace host {

class JumpGuard {
public:
    /// Makes the calls, which must not create objects with destructors.
    ///
    /// @return  whether they all returned; if not, message() tells why
    template <class Calls>
    [[nodiscard]] bool run(Calls calls) {
        static_assert(std::is_trivially_destructible_v<Calls>);
        if (setjmp(target_) != 0) return false;
        calls();
        return true;
    }

    /// For the library's error handler, inside run().
    [[noreturn]] void jump(const char* message) {
        std::snprintf(message_, sizeof message_, "%s", message);
        std::longjmp(target_, 1);
    }

    const char* message() const { return message_; }

private:
    std::jmp_buf target_;
    char message_[256] = "";
};

}  // namespace host
