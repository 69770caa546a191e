// Numbers as digits of a base, as hexadecimal texts, and as counts of combinations.

#include "movane/services.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

constexpr int kHexDigits = 32;  // of a value, most of them 0

// -1 for what is no digit.
int hex_value(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

// --- bases ---------------------------------------------------------------------------------

int numb_decimal_to_base(int value, int* digits, int n, int base) {
    auto rest = static_cast<std::uint32_t>(value);
    std::fill_n(digits, std::max(n, 0), 0);
    if (base < 2) return 0;
    for (int i = 0; i < n && rest != 0; ++i) {
        digits[i] = static_cast<int>(rest % static_cast<std::uint32_t>(base));
        rest /= static_cast<std::uint32_t>(base);
    }
    return 0;
}

int numb_base_to_decimal(const int* digits, int* value, int n, int base) {
    std::uint32_t sum = 0;
    for (int i = n - 1; i >= 0; --i)
        sum = sum * static_cast<std::uint32_t>(base) + static_cast<std::uint32_t>(digits[i]);
    *value = static_cast<int>(sum);
    return 0;
}

// --- combinations --------------------------------------------------------------------------

int numb_combination(int n, int k) {
    if (k > n || k < 0) return -1;
    std::uint32_t product = 1, factorial = 1;
    for (int i = 0; i < k && product != 0 && factorial != 0; ++i) {
        product *= static_cast<std::uint32_t>(n - i);
        factorial *= static_cast<std::uint32_t>(i + 1);
    }
    if (factorial == 0) return 0;
    // Signed, and never the one quotient that does not fit: beyond 1 factorials are even.
    return static_cast<int>(product) / static_cast<int>(factorial);
}

// --- hexadecimal texts -----------------------------------------------------------------------

int numb_hex_string_to_decimal(const char* text, int* value) {
    const std::size_t length = std::strlen(text);
    std::uint32_t sum        = 0;
    int digit                = -1;  // the latest valid one
    for (std::size_t i = 0; i < length; ++i) {
        const int next     = hex_value(text[i]);
        const bool is_last = i + 1 == length;
        if (next >= 0) digit = next;
        if (digit < 0 || (next < 0 && !is_last)) return -1;
        sum += static_cast<std::uint32_t>(digit);
        if (!is_last) sum *= 16;
    }
    if (length == 0) return -1;
    *value = static_cast<int>(sum);
    return 0;
}

int numb_hex_to_hex_string(const int* digits, int n, char* text) {
    char* end = text;
    *end      = '\0';
    for (int i = n - 1; i >= 0; --i) {
        const int digit = digits[i];
        if (digit >= 16) return -1;
        if (digit == 0 && end == text) continue;
        end += digit >= 10 ? std::sprintf(end, "%c", 'a' + digit - 10)
                           : std::sprintf(end, "%1d", digit);
    }
    return 0;
}

int numb_decimal_to_hex_string(int value, char* text) {
    int digits[kHexDigits];
    numb_decimal_to_base(value, digits, kHexDigits, 16);
    return numb_hex_to_hex_string(digits, kHexDigits, text);
}
