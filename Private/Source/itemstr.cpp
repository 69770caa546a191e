// Item strings: vectors of numbers as texts, about four significant digits each.
//
// The decimal sign is the point whatever the locale, and so the C library's own conversions,
// whose formats these are, cannot be used.

#include "movane/services.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <system_error>

namespace {

constexpr int kDigits              = 4;
constexpr std::size_t kLongestText = 320;  // characters of a number: the largest has 309 digits

using namespace std::literals;

std::from_chars_result read(std::string_view text, int& value) {
    return std::from_chars(text.data(), text.data() + text.size(), value);
}

// What a number beyond the range of doubles becomes: infinity or 0, as the place of its first digit
// tells.
//
// @param places  what one digit counts in the exponent: 1 in decimal numbers, 4 in hexadecimal ones
double beyond_range(std::string_view number, std::string_view exponent_marks, int places) {
    const std::size_t mark        = std::min(number.find_first_of(exponent_marks), number.size());
    const std::string_view digits = number.substr(0, mark);
    std::string_view tail         = number.substr(std::min(mark + 1, number.size()));
    if (tail.starts_with('+')) tail.remove_prefix(1);
    std::int64_t exponent = 0;
    const auto result     = std::from_chars(tail.data(), tail.data() + tail.size(), exponent);
    if (result.ec == std::errc::result_out_of_range) return tail.starts_with('-') ? 0.0 : HUGE_VAL;

    const auto point = static_cast<std::int64_t>(std::min(digits.find('.'), digits.size()));
    const auto first = static_cast<std::int64_t>(digits.find_first_not_of("0."));
    return (point - first) * places + exponent > 0 ? HUGE_VAL : 0.0;
}

// Decimal, "inf", "nan", or hexadecimal behind "0x".
std::from_chars_result read(std::string_view text, double& value) {
    const char* const end     = text.data() + text.size();
    const bool is_negative    = text.starts_with('-');
    std::string_view absolute = text.substr(is_negative ? 1 : 0);
    const bool is_hexadecimal = absolute.starts_with("0x") || absolute.starts_with("0X");
    if (is_hexadecimal) absolute.remove_prefix(2);
    const auto starts = is_hexadecimal ? "0123456789abcdefABCDEF."sv : "0123456789.iInN"sv;
    if (absolute.empty() || starts.find(absolute[0]) == starts.npos)
        return {text.data(), std::errc::invalid_argument};

    auto result =
        std::from_chars(absolute.data(), end, value,
                        is_hexadecimal ? std::chars_format::hex : std::chars_format::general);
    if (result.ec == std::errc::result_out_of_range) {
        const std::string_view number(absolute.data(), result.ptr);
        value  = is_hexadecimal ? beyond_range(number, "pP", 4) : beyond_range(number, "eE", 1);
        result = {result.ptr, std::errc()};
    }
    if (is_negative) value = -value;
    return result;
}

template <class Number>
int read_all(const char* text, int n, Number* values) {
    const char* const end = text + std::strlen(text);
    char* pos             = const_cast<char*>(text);  // str_go_to_next_word() only moves it
    for (int i = 0; i < n; ++i) {
        pos += std::strspn(pos, " \t\r\n\v\f");
        const char* number = pos + (*pos == '+' && pos[1] != '-');
        if (read({number, end}, values[i]).ec != std::errc()) return -1;
        str_go_to_next_word(&pos);
    }
    return 0;
}

}  // namespace

int str_double_from_itemstr(const char* text, int n, double* values) {
    return read_all(text, n, values);
}

int str_int_from_itemstr(const char* text, int n, int* values) { return read_all(text, n, values); }

int str_itemstr_from_double(const double* values, int n, char* text) {
    char* end = text;
    *end      = '\0';
    for (int i = 0; i < n; ++i) {
        if (!std::isfinite(values[i])) {
            *text = '\0';
            return -1;
        }
        int width, precision;
        vd_fmt_d(values[i], kDigits, &width, &precision);

        char digits[kLongestText];
        const char* const digits_end = std::to_chars(digits, digits + kLongestText, values[i],
                                                     std::chars_format::fixed, precision)
                                           .ptr;
        const auto length = digits_end - digits;
        end               = std::fill_n(end, 1 + std::max<std::ptrdiff_t>(width - length, 0), ' ');
        end               = std::copy_n(digits, length, end);
        *end++            = ' ';
        *end              = '\0';
    }
    return 0;
}

int vd_fmt_d(double value, int digits, int* width, int* precision) {
    const double magnitude = std::fabs(value);
    const bool has_more    = magnitude > 1.0 && std::isfinite(magnitude);
    *width                 = has_more ? static_cast<int>(std::log10(magnitude)) + 1 : 1;
    *precision             = digits > *width ? digits - *width : 0;
    return 0;
}
