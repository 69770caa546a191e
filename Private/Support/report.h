// How a module posts its failures: one object per module that knows the module's source path.
#pragma once

#include "movane/foundation.h"

namespace movane {

/// A message that holds values, cut to what the reporter keeps:
/// report(Formatted("Cannot open %s", path)).
class Formatted {
public:
    [[gnu::format(printf, 2, 3)]] explicit Formatted(const char* format, ...);
    operator const char*() const { return text_; }

private:
    char text_[512];  // as long as the reporter's lines
};

class Reporter {
public:
    /// `module` is the path that the module reports, "MOVANE/Private/Source/" and its name.
    constexpr explicit Reporter(const char* module) : module_(module) {}

    /// Posts a message through the error reporter, with the line of the call.
    void operator()(const char* message, int line = __builtin_LINE()) const {
        error_mess_fl(message, module_, line);
    }

    /// Posts the structured message of a module that ran out of memory.
    ///
    /// @param kind  the family's own kind of failure
    void no_resources(int kind, int line = __builtin_LINE()) const;

private:
    const char* module_;
};

}  // namespace movane
