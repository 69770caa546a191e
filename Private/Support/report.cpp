#include "Support/report.h"

#include <cstdarg>
#include <cstdio>

namespace movane {
namespace {

constexpr int kErrorNumber = 1;
constexpr int kOutOfMemory = 12;  // the system's code

}  // namespace

Formatted::Formatted(const char* format, ...) {
    std::va_list values;
    va_start(values, format);
    std::vsnprintf(text_, sizeof text_, format, values);
    va_end(values);
}

void Reporter::no_resources(int kind, int line) const {
    const Formatted message("nr: %d, kind: %d, sys: %d, file: %s, line: %d, info: %s", kErrorNumber,
                            kind, kOutOfMemory, module_, line, "No resources available");
    error_mess_fl(message, module_, line);
}

}  // namespace movane
