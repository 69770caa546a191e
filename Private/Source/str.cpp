// String helpers: comparison without case, normalisation, bounded copies, on byte strings.
//
// Folding is done here, byte by byte, and not by the C library, whose answer would depend on
// the locale.

#include "movane/foundation.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace {

constexpr int kCaseDistance = 'a' - 'A';

// Characters compare as signed on every platform; plain char is unsigned on some.
signed char upper(char c) {
    const auto s = static_cast<signed char>(c);
    return s >= 'a' && s <= 'z' ? static_cast<signed char>(s - kCaseDistance) : s;
}

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + kCaseDistance) : c; }

bool is_white(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

std::string_view without_outer_white(std::string_view text) {
    while (!text.empty() && is_white(text.front())) text.remove_prefix(1);
    while (!text.empty() && is_white(text.back())) text.remove_suffix(1);
    return text;
}

// `text` may lie in `dst`.
void write(char* dst, std::string_view text) {
    std::memmove(dst, text.data(), text.size());
    dst[text.size()] = '\0';
}

template <class Equal>
char* find(const char* s, const char* sub, Equal equal) {
    if (*s == '\0') return nullptr;
    const std::string_view text(s);
    const std::string_view wanted(sub);
    const auto found = std::search(text.begin(), text.end(), wanted.begin(), wanted.end(), equal);
    if (found == text.end()) return nullptr;
    return const_cast<char*>(s) + (found - text.begin());
}

}  // namespace

// --- comparison ----------------------------------------------------------------------------

int strcmp_ci(const char* a, const char* b) {
    while (*a && upper(*a) == upper(*b)) ++a, ++b;
    // The end is smaller than any character, also those that compare as negative.
    if (!*a || !*b) return (*a != '\0') - (*b != '\0');
    return (upper(*a) > upper(*b)) - (upper(*a) < upper(*b));
}

int strncmp_ci(const char* a, const char* b, int n) {
    for (int i = 0; i < n; ++i) {
        if (upper(a[i]) != upper(b[i])) return 1;
        if (a[i] == '\0') return 0;
    }
    return 0;
}

int str_ins(const void* element, const void* key) {
    return strcmp_ci(static_cast<const char*>(element), static_cast<const char*>(key)) >= 0;
}

int chr_eq_ci(char a, char b) { return upper(a) == upper(b); }

char* str_str(const char* s, const char* sub) {
    return find(s, sub, [](char a, char b) { return a == b; });
}

char* strstr_ci(const char* s, const char* sub) {
    return find(s, sub, [](char a, char b) { return upper(a) == upper(b); });
}

// --- normalisation -------------------------------------------------------------------------

void normstr_wc(char* s) { normstr_wc_cp(s, s); }

void normstr(char* s) { normstr_cp(s, s); }

void normstr_wc_cp(const char* src, char* dst) { write(dst, without_outer_white(src)); }

void normstr_cp(const char* src, char* dst) {
    normstr_wc_cp(src, dst);
    for (; *dst; ++dst) *dst = lower(*dst);
}

int str_remove_multiple_blanks(char* s) {
    const auto both_blank = [](char a, char b) { return a == ' ' && b == ' '; };
    *std::unique(s, s + std::strlen(s), both_blank) = '\0';
    return 0;
}

// --- copying and splitting -------------------------------------------------------------------

int strncpy_w0(char* dst, const char* src, int n) {
    int i = 0;
    for (; i < n && src[i]; ++i) dst[i] = src[i];
    dst[i] = '\0';
    return 0;
}

int strsplit(const char* text, char separator, char* left, char* right) {
    if (!text || !left || !right || separator == '\0') return 1;
    const char* border = std::strchr(text, separator);
    if (!border) return 1;
    // The left half first: it ends at the separator at the latest, so that it may replace the text.
    write(left, without_outer_white({text, static_cast<std::size_t>(border - text)}));
    normstr_wc_cp(border + 1, right);
    return 0;
}
