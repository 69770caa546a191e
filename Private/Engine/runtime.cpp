#include "Engine/runtime.h"

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr std::size_t kLineSize = 512;  // bytes of a formatted line, terminator included

// Appends to a line of fixed size and drops what does not fit.
class BoundedLine {
public:
    explicit BoundedLine(char* destination) : begin_(destination), end_(destination) {}

    void append(std::string_view text) {
        const std::size_t room = kLineSize - 1 - static_cast<std::size_t>(end_ - begin_);
        end_                   = std::copy_n(text.data(), std::min(text.size(), room), end_);
    }

    void terminate() { *end_ = '\0'; }

private:
    char* begin_;
    char* end_;
};

template <class Number, class... Style>
void append_number(BoundedLine& line, Number number, Style... style) {
    char digits[32];
    const auto written = std::to_chars(digits, digits + sizeof digits, number, style...);
    line.append({digits, static_cast<std::size_t>(written.ptr - digits)});
}

enum class Percent { literal, number };

void fill(char* destination, const char* format, Percent percent, std::va_list arguments) {
    constexpr int kSignificantDigits = 6;
    BoundedLine line(destination);
    for (const char* c = format; *c; ++c) {
        if (*c == '\'') {
            line.append(va_arg(arguments, const char*));
        } else if (*c == '#') {
            append_number(line, va_arg(arguments, int));
        } else if (*c == '%' && percent == Percent::number) {
            append_number(line, va_arg(arguments, double), std::chars_format::general,
                          kSignificantDigits);
        } else {
            line.append({c, 1});
        }
    }
    line.terminate();
}

}  // namespace

void fmtstr(char* destination, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    fill(destination, format, Percent::literal, arguments);
    va_end(arguments);
}

void typefl(const char* format, ...) {
    char line[kLineSize];
    std::va_list arguments;
    va_start(arguments, format);
    fill(line, format, Percent::number, arguments);
    va_end(arguments);
    std::fputs(line, stdout);
    std::fflush(stdout);
}

void errexit(const char* line) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s\n", line);
    std::exit(EXIT_FAILURE);
}
