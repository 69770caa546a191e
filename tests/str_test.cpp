// The string helpers against the standard library, on random texts of awkward characters.

#include "movane/foundation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace {

std::string random_text(std::mt19937& random, const std::string& alphabet, unsigned longest) {
    std::string text(random() % (longest + 1), ' ');
    for (char& c : text) c = alphabet[random() % alphabet.size()];
    return text;
}

// Letters are folded upwards, and nothing else; characters above 127 are negative.
std::vector<signed char> folded(const std::string& text) {
    std::vector<signed char> all(text.begin(), text.end());
    for (signed char& c : all)
        if (c >= 'a' && c <= 'z') c = static_cast<signed char>(c - 'a' + 'A');
    return all;
}

TEST(Str, ComparesAndFindsWithoutCaseAsSignedCharacters) {
    std::mt19937 random(1);
    for (int i = 0; i < 20000; ++i) {
        // Behind the terminators they differ.
        const std::string a    = random_text(random, "aAzZ_`{@[\xe4\xc4", 3) + '\0' + "x";
        const std::string b    = random_text(random, "aAzZ_`{@[\xe4\xc4", 2) + '\0' + "y";
        const char *const text = a.c_str(), *const other = b.c_str();
        SCOPED_TRACE(std::string(text) + " and " + other);
        const auto left = folded(text), right = folded(other);
        const int order = (left > right) - (left < right);
        EXPECT_EQ(strcmp_ci(text, other), order);
        EXPECT_EQ(str_ins(text, other), order >= 0);
        EXPECT_EQ(chr_eq_ci(*text, *other), folded({*text}) == folded({*other}));
        for (int n = -1; n < 6; ++n) {
            const auto length = static_cast<std::size_t>(std::max(n, 0));
            const bool equal  = folded(std::string(text).substr(0, length)) ==
                               folded(std::string(other).substr(0, length));
            EXPECT_EQ(strncmp_ci(text, other, n), !equal) << n;
        }
        const auto place = std::string(text).find(other);
        const auto place_ci =
            std::search(left.begin(), left.end(), right.begin(), right.end()) - left.begin();
        const bool is_found    = *text && place != std::string::npos;
        const bool is_found_ci = *text && place_ci + right.size() <= left.size();
        EXPECT_EQ(str_str(text, other), is_found ? text + place : nullptr);
        EXPECT_EQ(strstr_ci(text, other), is_found_ci ? text + place_ci : nullptr);
    }
}

std::string stripped(const std::string& text) {
    const auto first = std::min(text.find_first_not_of(" \t\r\n"), text.size());
    return text.substr(first, text.find_last_not_of(" \t\r\n") + 1 - first);
}
std::string in_place(void (*normalise)(char*), std::string text) {
    normalise(text.data());
    return text.c_str();
}
std::string copied(void (*normalise)(const char*, char*), const std::string& text) {
    char copy[32];
    normalise(text.c_str(), copy);
    return copy;
}

TEST(Str, NormalisesCopiesAndSplits) {
    std::mt19937 random(2);
    for (int i = 0; i < 5000; ++i) {
        const std::string text = random_text(random, "   \t\r\n\vaAZ@[\xc4=", 8);
        SCOPED_TRACE(text);
        std::string lowered = stripped(text), collapsed = text, blanks = text;
        for (char& c : lowered)
            if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        while (collapsed.find("  ") != std::string::npos) collapsed.erase(collapsed.find("  "), 1);
        EXPECT_EQ(in_place(normstr_wc, text), stripped(text));
        EXPECT_EQ(copied(normstr_wc_cp, text), stripped(text));
        EXPECT_EQ(in_place(normstr, text), lowered);
        EXPECT_EQ(copied(normstr_cp, text), lowered);
        EXPECT_EQ(str_remove_multiple_blanks(blanks.data()), 0);
        EXPECT_STREQ(blanks.c_str(), collapsed.c_str());

        const int n      = static_cast<int>(random() % 10) - 1;
        std::string copy = std::string(16, '~'), prefix = text.substr(0, std::max(n, 0)) + '\0';
        EXPECT_EQ(strncpy_w0(copy.data(), text.c_str(), n), 0);
        EXPECT_EQ(copy, prefix + std::string(16 - prefix.size(), '~'));

        char left[32] = "kept", right[32] = "kept";
        const auto at = text.find('=');
        ASSERT_EQ(strsplit(text.c_str(), '=', left, right), at == std::string::npos);
        if (at == std::string::npos) continue;
        EXPECT_EQ(left, stripped(text.substr(0, at)));
        EXPECT_EQ(right, stripped(text.substr(at + 1)));
        std::string first = text, second = text;  // either half may replace the text
        strsplit(first.data(), '=', first.data(), right);
        strsplit(second.data(), '=', left, second.data());
        EXPECT_STREQ(first.c_str(), left);
        EXPECT_STREQ(second.c_str(), right);
    }
    char left[8] = "kept", right[8] = "kept";
    for (const int result : {strsplit("a b", '=', left, right), strsplit(nullptr, '=', left, right),
                             strsplit("a=b", '=', nullptr, right),
                             strsplit("a=b", '=', left, nullptr), strsplit("a", 0, left, right)})
        EXPECT_EQ(result, 1);
    EXPECT_STREQ(left, "kept");
    EXPECT_STREQ(right, "kept");
}

}  // namespace
