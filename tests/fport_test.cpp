// Path notation: a table of translations, and the cuts and joins.

#include "movane/services.h"

#include "support/messages.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using movane_tests::message_of;

// The result and the text, as "0 text"; whatever stands behind out_size stays untouched.
std::string translated(const std::string& path, int out_size = 300) {
    std::string out(600, '#');
    const int result = fport(out.data(), out_size, path.c_str());
    EXPECT_EQ(out.find_first_not_of('#', static_cast<std::size_t>(out_size)), out.npos);
    return std::to_string(result) + " " + out.c_str();
}

TEST(Fport, TranslatesLogicalNames) {
    const std::string longest(255, 'x');
    ASSERT_EQ(lognam_define("DATA", "d"), 0);
    ASSERT_EQ(lognam_define("slash", "e\\f\\"), 0);
    ASSERT_EQ(lognam_define("b", "\\\\"), 0);
    ASSERT_EQ(lognam_define("EMPTY", ""), 0);
    ASSERT_EQ(lognam_define("long", longest.c_str()), 0);

    const struct {
        const char *path, *expected;
    } rows[] = {
        {"DATA:[curves.rgb]a.crv", "0 d\\curves\\rgb\\a.crv"},
        {"data:a.txt", "0 d\\a.txt"},
        {"DATA:", "0 d\\"},
        {"DATA:[]", "0 d\\\\"},
        {"DATA:[x", "0 d\\x"},
        {"DATA:[x]y[z].w]", "0 d\\x\\y[z].w]"},
        {"DATA:a.b[x.y]c.d", "0 d\\a\\b\\x\\y\\c.d"},  // brackets later on: dots before, too
        {"DATA:a]b.c", "0 d\\a]b.c"},
        {"Slash:[x]y", "0 e\\f\\x\\y"},
        {"b:x", "0 \\\\x"},
        {"empty:[x]y", "0 \\x\\y"},
        {"DATA:a:b", "0 d\\a:b"},
        {"DATA:\\a", "-1 DATA:\\a"},  // taken for a drive
        {"c:\\data\\a.txt", "-1 c:\\data\\a.txt"},
        {"c:a", "-1 c:a"},
        {"OTHER:[x]y", "-1 OTHER:[x]y"},
        {":x", "-1 :x"},
        {"[x.y]z", "-1 [x.y]z"},
        {"Grün/漢", "-1 Grün/漢"},
        {"", "-1 "},
    };
    for (const auto& row : rows) EXPECT_EQ(translated(row.path), row.expected) << row.path;

    // "d\a.txt" needs two bytes more than its characters; a path that is not translated is cut.
    EXPECT_EQ(translated("DATA:a.txt", 9), "0 d\\a.txt");
    EXPECT_EQ(translated("DATA:a.txt", 8), "-1 ");
    EXPECT_EQ(translated("c:\\data", 4), "-1 c:\\");
    EXPECT_EQ(translated("c:\\data", 1), "-1 ");
    char untouched = '#';
    EXPECT_EQ(fport(&untouched, 0, "x"), -1);
    EXPECT_EQ(untouched, '#');
    EXPECT_EQ(translated(longest), "-1 " + longest);
    EXPECT_EQ(translated(longest + "x"), "-1 ");
    EXPECT_EQ(translated("long:x"), "0 " + longest + "\\x");
    EXPECT_EQ(translated("long:x", 256), "-1 ");

    // Defined anew, and no more.
    EXPECT_EQ(lognam_define("data", "g"), 0);
    EXPECT_EQ(translated("DATA:a"), "0 g\\a");
    for (const char* name : {"DATA", "SLASH", "B", "Empty", "LONG", "never"})
        EXPECT_EQ(lognam_define(name, nullptr), 0);
    EXPECT_EQ(translated("DATA:a"), "-1 DATA:a");
}

TEST(Fport, RefusesNamesThatItCannotKeep) {
    const std::string too_long(256, 'x');
    for (const auto& [name, translation] :
         {std::pair{"", "d"}, {too_long.c_str(), "d"}, {"n", too_long.c_str()}}) {
        EXPECT_EQ(message_of([&] { EXPECT_EQ(lognam_define(name, translation), -1); }),
                  "lognam_define: illegal name or translation");
    }
    EXPECT_EQ(translated("n:x"), "-1 n:x");
}

TEST(Fport, KeepsItsSwitch) {
    EXPECT_EQ(fport_setres(5), 0);
    EXPECT_EQ(fport_setres(-1), 1);
    EXPECT_EQ(fport_setres(0), 1);
    EXPECT_EQ(fport_setres(0), 0);
}

TEST(Fport, CutsAndJoins) {
    EXPECT_STREQ(fport_StripPath("dir\\name", "dir"), "name");
    EXPECT_STREQ(fport_StripPath("dir/name", "dir/"), "name");
    EXPECT_STREQ(fport_StripPath("dir\\name", "dir\\"), "name");
    EXPECT_STREQ(fport_StripPath("D:[a]name", "D:[a]"), "name");
    EXPECT_STREQ(fport_StripPath("D:name", "D:"), "name");
    EXPECT_STREQ(fport_StripPath("xname", ""), "name");

    const struct {
        const char *name, *expected;
        int result;
    } rows[] = {
        {"a.b.c", "a.b", 0}, {"a.b\\c", "a", 0}, {".", "", 0}, {"abc", "abc", -1}, {"", "", -1}};
    for (const auto& row : rows) {
        char name[16];
        std::strcpy(name, row.name);
        EXPECT_EQ(fport_StripExtension(name), row.result) << row.name;
        EXPECT_STREQ(name, row.expected);
    }

    char out[11] = "##########";
    EXPECT_EQ(fport_MakeFullPath("direc", "abc", out, 10), 0);
    EXPECT_STREQ(out, "direc\\abc");
    for (const int size : {9, 0, -1}) {
        out[0] = '#';
        EXPECT_EQ(message_of([&] { EXPECT_EQ(fport_MakeFullPath("direc", "abc", out, size), -1); }),
                  "fport_MakeFullPah: string not long enough");
        EXPECT_EQ(out[0], size > 0 ? '\0' : '#');
    }
}

}  // namespace
