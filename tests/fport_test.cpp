// Path notation: a table of translations, and the cuts and joins.

#include "movane/services.h"

#include "support/messages.h"

#include <gtest/gtest.h>

#include <tuple>
#include <utility>

namespace {

using movane_tests::outcome_of;

std::string defined(const std::string& name, const std::string& translation) {
    return outcome_of([&] { return lognam_define(name.c_str(), translation.c_str()); });
}

// The result and the text, as "0 text"; whatever stands behind out_size stays untouched.
std::string translated(const std::string& path, int out_size) {
    std::string out(600, '#');
    const int result = fport(out.data(), out_size, path.c_str());
    const auto size  = static_cast<std::size_t>(out_size);
    EXPECT_EQ(out.find_first_not_of('#', size), out.npos);
    return std::to_string(result) + " " + out.substr(0, size).c_str();
}

TEST(Fport, TranslatesLogicalNames) {
    const std::string longest(255, 'x'), refused = "-1 lognam_define: illegal name or translation";
    EXPECT_EQ(defined("DATA", "old"), "0");
    EXPECT_EQ(defined("data", "d") + defined("slash", "e\\f\\") + defined("b", "\\\\"), "000");
    EXPECT_EQ(defined("EMPTY", "") + defined("long", longest), "00");
    EXPECT_EQ(defined("", "d"), refused);
    EXPECT_EQ(defined(longest + "x", "d"), refused);
    EXPECT_EQ(defined("n", longest + "x"), refused);
    EXPECT_EQ(defined("a:b", "d"), refused);

    // Brackets later on turn dots before them, too; what follows "\\" is taken for a drive.
    const std::pair<const char*, const char*> rows[] = {
        {"DATA:[curves.rgb]a.crv", "0 d\\curves\\rgb\\a.crv"},
        {"DATA:a.b[x.y]c.d", "0 d\\a\\b\\x\\y\\c.d"},
        {"DATA:[x]y[z].w]", "0 d\\x\\y[z].w]"},
        {"[x.y]z/漢", "-1 [x.y]z/漢"},
        {"data:a.txt", "0 d\\a.txt"},
        {"DATA:", "0 d\\"},
        {"DATA:[]", "0 d\\\\"},
        {"DATA:[x", "0 d\\x"},
        {"DATA:a]b.c", "0 d\\a]b.c"},
        {"Slash:[x]y", "0 e\\f\\x\\y"},
        {"b:x", "0 \\\\x"},
        {"empty:[x]y", "0 \\x\\y"},
        {"DATA:a:b", "0 d\\a:b"},
        {"DATA:\\a", "-1 DATA:\\a"},
        {"n:x", "-1 n:x"},
        {":x", "-1 :x"},
        {"", "-1 "}};
    for (const auto& [path, expected] : rows) EXPECT_EQ(translated(path, 300), expected);
    // One byte more than for the text is asked for; what is not translated is cut.
    const std::tuple<std::string, int, std::string> sizes[] = {
        {"DATA:a.txt", 9, "0 d\\a.txt"}, {"DATA:a.txt", 8, "-1 "},
        {"c:\\data", 4, "-1 c:\\"},      {"c:\\data", 1, "-1 "},
        {"c:\\data", 0, "-1 "},          {longest, 300, "-1 " + longest},
        {longest + "x", 300, "-1 "},     {"long:x", 300, "0 " + longest + "\\x"},
        {"long:x", 256, "-1 "}};
    for (const auto& [path, size, expected] : sizes) EXPECT_EQ(translated(path, size), expected);
    char text[20] = "DATA:[x]y";  // in place
    EXPECT_EQ(fport(text, sizeof text, text), 0);
    EXPECT_EQ(fport(text, sizeof text, text), -1);
    EXPECT_STREQ(text, "d\\x\\y");
    for (const char* name : {"DATA", "SLASH", "B", "Empty", "LONG", "never"})
        EXPECT_EQ(lognam_define(name, nullptr), 0);
    EXPECT_EQ(translated("DATA:a", 99), "-1 DATA:a");
}

TEST(Fport, CutsAndJoins) {
    const std::pair<const char*, const char*> paths[] = {
        {"dir\\name", "dir"},   {"dir/name", "dir/"}, {"dir\\name", "dir\\"},
        {"D:[a]name", "D:[a]"}, {"D:name", "D:"},     {"xname", ""}};
    for (const auto& [path, directory] : paths)
        EXPECT_STREQ(fport_StripPath(path, directory), "name");
    const std::tuple<std::string, int, const char*> names[] = {
        {"a.b.c", 0, "a.b"}, {".", 0, ""}, {"abc", -1, "abc"}};
    for (auto [name, result, expected] : names) {
        EXPECT_EQ(fport_StripExtension(name.data()), result);
        EXPECT_STREQ(name.c_str(), expected);
    }
    const auto joined = [](int size) {
        char out[11] = "##########";
        const std::string outcome =
            outcome_of([&] { return fport_MakeFullPath("direc", "abc", out, size); });
        return outcome + " " + out;
    };
    const std::string too_long = "-1 fport_MakeFullPah: string not long enough ";
    EXPECT_EQ(joined(10), "0 direc\\abc");
    EXPECT_EQ(joined(9), too_long);
    EXPECT_EQ(joined(1), too_long);
    EXPECT_EQ(joined(0), too_long + "##########");
    EXPECT_EQ(joined(-1), too_long + "##########");

    int was = 0;
    for (const int on : {5, -1, 0, 0}) EXPECT_EQ(fport_setres(on), std::exchange(was, on != 0));
}

}  // namespace
