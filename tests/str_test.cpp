// The string helpers: comparison tables, and normalisation against what it must leave.

#include "movane/foundation.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Comparison {
    const char* a;
    const char* b;
    int expected;
};

TEST(Str, ComparesWithoutCaseAsSignedCharacters) {
    const Comparison rows[] = {
        {"abc", "ABD", -1},
        {"ab", "abc", -1},
        {"ABC", "ab", 1},
        {"aBc", "AbC", 0},
        {"", "", 0},
        {"", "a", -1},
        {"a", "", 1},
        {"a_", "aB", 1},  // "_" lies between the cases:
                          // letters are folded upwards
        {"ab", "ab\xe4", -1},
        {"", "\xe4", -1},
        {"\xe4", "a", -1},    // above 127: negative, hence below every letter
        {"\xe4", "\xc4", 1},  // and never folded
        {"z{", "Z[", 1},      // neighbours of the letters are not folded either
        {"`", "@", 1},
    };
    for (const Comparison& row : rows) {
        EXPECT_EQ(strcmp_ci(row.a, row.b), row.expected) << row.a << " " << row.b;
        EXPECT_EQ(str_ins(row.a, row.b), row.expected >= 0) << row.a << " " << row.b;
        EXPECT_EQ(chr_eq_ci(row.a[0], row.b[0]), strncmp_ci(row.a, row.b, 1) == 0);
    }
}

TEST(Str, ComparesBeginnings) {
    EXPECT_EQ(strncmp_ci("abcX", "ABCy", 3), 0);
    EXPECT_EQ(strncmp_ci("abcX", "ABCy", 4), 1);
    EXPECT_EQ(strncmp_ci("x", "y", 0), 0);
    EXPECT_EQ(strncmp_ci("x", "y", -1), 0);
    EXPECT_EQ(strncmp_ci("ab\0x", "AB\0y", 4), 0);  // stops at the terminator
    EXPECT_EQ(strncmp_ci("ab", "abc", 3), 1);
}

TEST(Str, FindsTheFirstOccurrence) {
    const char text[] = "one Two two";
    EXPECT_EQ(str_str(text, "two"), text + 8);
    EXPECT_EQ(strstr_ci(text, "two"), text + 4);
    EXPECT_EQ(str_str(text, "three"), nullptr);
    EXPECT_EQ(strstr_ci(text, "two two two"), nullptr);
    EXPECT_EQ(str_str(text, ""), text);
    EXPECT_EQ(strstr_ci(text, ""), text);
    EXPECT_EQ(str_str("", ""), nullptr);
    EXPECT_EQ(strstr_ci("", "x"), nullptr);
}

TEST(Str, NormalisesInPlaceAndIntoACopy) {
    struct Row {
        const char *text, *stripped, *lowered;
    };
    const Row rows[] = {
        {" \t\r\n Ab  C\t \n", "Ab  C", "ab  c"},
        {" \t\r\n", "", ""},
        {"", "", ""},
        {"X", "X", "x"},
        {"\vX ", "\vX", "\vx"},
        {"\xc4Z", "\xc4Z", "\xc4z"},
    };
    for (const Row& row : rows) {
        char stripped[32], lowered[32];
        normstr_wc_cp(row.text, stripped);
        normstr_cp(row.text, lowered);
        EXPECT_STREQ(stripped, row.stripped);
        EXPECT_STREQ(lowered, row.lowered);

        std::string in_place = row.text;
        normstr_wc(in_place.data());
        EXPECT_STREQ(in_place.c_str(), row.stripped);
        in_place = row.text;
        normstr(in_place.data());
        EXPECT_STREQ(in_place.c_str(), row.lowered);
    }

    std::string blanks = "  a   b\t\t c ";
    EXPECT_EQ(str_remove_multiple_blanks(blanks.data()), 0);
    EXPECT_STREQ(blanks.c_str(), " a b\t\t c ");
}

TEST(Str, CopiesAtMostNCharactersAndTerminates) {
    struct Row {
        int n;
        const char* expected;
    };
    for (const Row& row : {Row{2, "ab"}, Row{3, "abc"}, Row{9, "abc"}, Row{0, ""}, Row{-1, ""}}) {
        char copy[16] = "~~~~~~~~~~~~~~~";
        EXPECT_EQ(strncpy_w0(copy, "abc", row.n), 0);
        EXPECT_STREQ(copy, row.expected);
        EXPECT_EQ(copy[std::string(row.expected).size() + 1], '~') << "wrote past the terminator";
    }
}

TEST(Str, SplitsAtTheFirstSeparator) {
    char left[32] = "kept", right[32] = "kept";
    for (const int result : {strsplit("a b", '=', left, right), strsplit(nullptr, '=', left, right),
                             strsplit("a=b", '=', nullptr, right),
                             strsplit("a=b", '=', left, nullptr), strsplit("a", 0, left, right)}) {
        EXPECT_EQ(result, 1);
        EXPECT_STREQ(left, "kept");
        EXPECT_STREQ(right, "kept");
    }
    EXPECT_EQ(strsplit(" name\t= a = b\r\n", '=', left, right), 0);
    EXPECT_STREQ(left, "name");
    EXPECT_STREQ(right, "a = b");

    char text[] = "  key : value";
    EXPECT_EQ(strsplit(text, ':', text, right), 0);  // either half may replace the text
    EXPECT_STREQ(text, "key");
    EXPECT_STREQ(right, "value");
    char other[] = "  key : value";
    EXPECT_EQ(strsplit(other, ':', left, other), 0);
    EXPECT_STREQ(left, "key");
    EXPECT_STREQ(other, "value");
}

}  // namespace
