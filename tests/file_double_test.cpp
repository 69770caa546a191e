// Record files of doubles: exact bytes, damaged and hostile files, disks that refuse, and random
// operations against a list of texts.

#include "movane/services.h"

#include "support/messages.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using namespace movane_tests;

class FileDouble : public ::testing::Test {
protected:
    ~FileDouble() override { EXPECT_EQ(file_double_kill(records), nullptr); }

    bool open(const std::string& file, int nr_values, int create) {
        EXPECT_EQ(file_double_kill(records), nullptr);
        records = file_double_new(file.c_str(), nr_values, create);
        return records != nullptr;
    }
    int add(const std::string& name, const std::vector<double>& values) {
        return file_double_add_item(records, name.c_str(), values.data());
    }
    // The record listed next with its first two values, such as "name=1 0;"; "" at the end.
    std::string next(int state) {
        double values[100] = {};
        std::ostringstream record;
        if (const char* name = file_double_list(records, &state, values))
            record << name << '=' << values[0] << ' ' << values[1] << ';';
        EXPECT_EQ(state, 1);
        return record.str();
    }
    std::string all() {
        std::string record = next(2), list = record;
        while (!record.empty()) list += record = next(1);
        return list;
    }

    const TemporaryDirectory directory;
    const std::string path = directory / "Grün.par";
    file_double* records   = nullptr;
};

TEST_F(FileDouble, KeepsWhatIsNotItsOwn) {
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {"", "", "[patches]\nn = -1.000  12346\n"},
        {"[Patches]", "", "[Patches]\nn = -1.000  12346\n"},
        {"a\r\n[ink]\r\nn = 7", "", "a\r\n[ink]\r\nn = 7\n[patches]\nn = -1.000  12346\n"},
        {"[patches] x\rb=2 1\r\r[ink]\rn = 7\r", "b=2 1;",
         "[patches] x\rb=2 1\r\rn = -1.000  12346\n[ink]\rn = 7\r"},
        {"[patches]\n[patches]\n", "", "[patches]\nn = -1.000  12346\n[patches]\n"},
        {"[patches]\nweiß 1 = 0.500  123.5\n \t", "weiß 1=0.5 123.5;",
         "[patches]\nweiß 1 = 0.500  123.5\nn = -1.000  12346\n \t"}};
    for (const auto& [before, listed, after] : rows) {
        write_file(path, before);
        EXPECT_TRUE(open(path, 2, 0));
        EXPECT_EQ(all(), listed);
        EXPECT_EQ(add("n", {-1, 12345.6}), 0);
        EXPECT_EQ(all(), listed + "n=-1 12346;");
        EXPECT_EQ(read_file(path), before);
        EXPECT_EQ(file_double_save(records), 0);
        EXPECT_EQ(tree_of(directory / ""), "Grün.par=" + after + " ");
    }
}

TEST_F(FileDouble, SkipsWhatIsDamaged) {
    const std::string damaged   = "file_double_list: damaged line skipped",
                      bad_value = "Error bad item string for double conversions";
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {"no item", damaged, ""},
        {std::string("a\0b = 1 2", 9), damaged, ""},
        {std::string("[a\0 = 1 2", 9), damaged, ""},
        {"a = 1 x", bad_value, ""},
        {"a =", bad_value, ""},
        {"a = " + std::string(255, ' ') + "1 2 " + std::string(300, '3'), "", "a=1 2;"},
        {"a = " + std::string(256, '1') + " 2", bad_value, ""},
        {" \t ", "", ""}};
    for (const auto& [line, message, found] : rows) {
        write_file(path, "[patches]\nfirst = 1 2\n" + line + "\nlast = 3 4\n");
        EXPECT_TRUE(open(path, 2, 0));
        std::string listed;
        EXPECT_EQ(message_of([&] { listed = all(); }), message);
        EXPECT_EQ(listed, "first=1 2;" + found + "last=3 4;") << line;
    }
}

TEST_F(FileDouble, RefusesWhatCouldNotBeReadBack) {
    const std::string longest(256, 'a'),
        too_many       = "-1 file_double_add_item: too many values",
        infinite       = "-1 Error bad formatted item string from doubles, ier -1 ";
    const auto outcome = [&](const std::string& name, double value = 1) {
        return outcome_of([&] { return add(name, std::vector<double>(100, value)); });
    };
    const std::tuple<int, double, std::string> rows[] = {
        {0, 1, "0"},      {-5, 1, "0"},         {36, 99999, "0"},         {37, 0.5, too_many},
        {43, 1234, "0"},  {44, 1234, too_many}, {100000, 1, too_many},    {1, 1e254, "0"},
        {1, -1e255, "0"}, {1, 1e300, too_many}, {2, -INFINITY, infinite}, {2, NAN, infinite}};
    for (const auto& [nr_values, value, expected] : rows) {
        open(path, nr_values, 1);
        EXPECT_EQ(outcome("a", value), expected) << nr_values << ' ' << value;
        EXPECT_EQ(next(1).empty(), expected != "0");
    }
    open(path, 1, 1);
    for (const std::string& name :
         {longest + "a", std::string(), std::string("a=b"), std::string("a\nb"), std::string("a\r"),
          std::string("[a"), std::string("\ta"), std::string("a ")})
        EXPECT_EQ(outcome(name), "-1 file_double_add_item: illegal name") << name;
    for (const std::string& name : {longest, std::string("a [b] c")}) EXPECT_EQ(outcome(name), "0");
    EXPECT_EQ(all(), longest + "=1 0;a [b] c=1 0;");
}

TEST_F(FileDouble, ReplacesTheFileOrLeavesIt) {
    const auto opened = [&](const std::string& file, int create) {
        return message_of([&] { open(file, 1, create); });
    };
    const auto saved = [&](const std::string& file) {
        open(file, 1, 1);
        return outcome_of([&] { return file_double_save(records); });
    };
    const std::string cannot_open = "file_double_new: Unable to open record file",
                      cannot_save = "-1 file_double_save: Unable to save record file";
    for (const std::string& file : {directory / "none", directory / "", std::string()})
        EXPECT_EQ(opened(file, 0), cannot_open);
    for (const int create : {0, 1})
        EXPECT_EQ(opened(std::string(128, 'a'), create), "file_double_new: path too long");
    EXPECT_EQ(opened(std::string(127, 'a'), 1), "");

    write_file(path, "old");
    make_tree(directory / "folder", "./");
    std::filesystem::permissions(path_of(path), std::filesystem::perms::owner_read);
    for (const std::string& file : {directory / "none/r", directory / "folder", path})
        EXPECT_EQ(saved(file), cannot_save) << file;
    std::filesystem::permissions(path_of(path), std::filesystem::perms::owner_all);
    EXPECT_EQ(read_file(path), "old");

    // Names of temporary files that others left are passed over, as long as there are any.
    for (int i = 0; i < 99; ++i) write_file(path + ".tmp" + std::to_string(i), "theirs");
    EXPECT_EQ(saved(path), "0");
    EXPECT_EQ(read_file(path) + read_file(path + ".tmp0"), "[patches]\ntheirs");
    write_file(path + ".tmp99", "theirs");
    EXPECT_EQ(saved(path), cannot_save);
}

TEST_F(FileDouble, ListsFromTheStateOn) {
    open(path, 1, 1);
    EXPECT_EQ(next(0), "");
    for (const char* name : {"a", "_Internal_", "b"}) EXPECT_EQ(add(name, {1}), 0);
    // At first nothing was listed yet; then the end, which is not passed; other states restart.
    const std::pair<int, const char*> steps[] = {{1, "a=1 0;"}, {1, "b=1 0;"}, {1, ""},
                                                 {1, ""},       {7, "a=1 0;"}, {0, "a=1 0;"},
                                                 {2, "a=1 0;"}, {1, "b=1 0;"}, {1, ""}};
    for (const auto& [state, expected] : steps) EXPECT_EQ(next(state), expected);
    EXPECT_EQ(add("c", {1}), 0);
    EXPECT_EQ(next(1), "c=1 0;");
}

TEST_F(FileDouble, SurvivesAnyFile) {
    const std::string characters = std::string("[]= \t\r\n0", 8) + '\0';
    std::mt19937 random(63);
    const MessageCapture capture;
    for (int round = 0; round < 300; ++round) {
        std::string bytes = random() % 2 ? "[patches]\n" : "";
        for (auto left = random() % 600; left > 0; --left)
            bytes += random() % 8 ? characters[random() % characters.size()]
                                  : static_cast<char>(random());
        write_file(path, bytes);
        ASSERT_TRUE(open(path, 1, 0));
        const std::string listed = all();
        EXPECT_EQ(add("n", {1}), 0);
        EXPECT_EQ(all(), listed + "n=1 0;") << testing::PrintToString(bytes);
    }
}

}  // namespace
