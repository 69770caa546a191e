// Record files of doubles: exact bytes, damaged and hostile files, disks that refuse, and random
// operations against a list of names and texts.

#include "movane/services.h"

#include "support/messages.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using movane_tests::exists;
using movane_tests::message_of;
using movane_tests::MessageCapture;
using movane_tests::path_of;
using movane_tests::read_file;
using movane_tests::TemporaryDirectory;
using movane_tests::write_file;

using Record = std::pair<std::string, std::vector<double>>;

class Records {
public:
    Records(const std::string& path, int nr_values, int create)
        : handle_(file_double_new(path.c_str(), nr_values, create)),
          nr_values_(static_cast<std::size_t>(nr_values)) {}
    ~Records() { EXPECT_EQ(file_double_kill(handle_), nullptr); }
    Records(const Records&)            = delete;
    Records& operator=(const Records&) = delete;

    explicit operator bool() const { return handle_ != nullptr; }
    int add(const std::string& name, const std::vector<double>& values) {
        return file_double_add_item(handle_, name.c_str(), values.data());
    }
    int save() { return file_double_save(handle_); }
    std::string next(int state, std::vector<double>* values = nullptr) {
        std::vector<double> read(nr_values_);
        const char* name = file_double_list(handle_, &state, read.data());
        EXPECT_EQ(state, 1);
        if (values) *values = read;
        return name ? name : "(end)";
    }
    std::vector<Record> all() {
        std::vector<Record> records;
        std::vector<double> values;
        int state = 2;
        for (std::string name; (name = next(state, &values)) != "(end)"; state = 1)
            records.emplace_back(name, values);
        return records;
    }

private:
    file_double* handle_;
    std::size_t nr_values_;
};

TEST(FileDouble, WritesAParameterText) {
    const TemporaryDirectory directory;
    const std::string path = directory / "Grün.par";
    Records records(path, 2, 1);
    ASSERT_TRUE(records);
    EXPECT_EQ(records.add("p50", {0.5, 123.456}), 0);
    EXPECT_EQ(records.add("weiß 1", {-1, 12345.6}), 0);
    EXPECT_EQ(records.add("p50", {0.25, 0}), 0);
    EXPECT_FALSE(exists(path));
    EXPECT_EQ(records.save(), 0);
    EXPECT_EQ(read_file(path),
              "[patches]\np50 = 0.500  123.5\nweiß 1 = -1.000  12346\np50 = 0.250  0.000\n");
    EXPECT_FALSE(exists(path + ".tmp0"));

    Records again(path, 2, 0);
    ASSERT_TRUE(again);
    EXPECT_EQ(
        again.all(),
        (std::vector<Record>{{"p50", {0.5, 123.5}}, {"weiß 1", {-1, 12346}}, {"p50", {0.25, 0}}}));
}

TEST(FileDouble, ListsFromTheStateOn) {
    const TemporaryDirectory directory;
    Records records(directory / "r", 1, 1);
    EXPECT_EQ(records.next(0), "(end)");
    for (const char* name : {"a", "_Internal_", "b", "c"}) EXPECT_EQ(records.add(name, {1}), 0);
    EXPECT_EQ(records.next(1), "a");  // nothing was listed yet
    EXPECT_EQ(records.next(1), "b");
    EXPECT_EQ(records.next(7), "a");
    EXPECT_EQ(records.next(0), "a");
    EXPECT_EQ(records.next(2), "a");
    EXPECT_EQ(records.next(1), "b");
    EXPECT_EQ(records.next(1), "c");
    EXPECT_EQ(records.next(1), "(end)");
    EXPECT_EQ(records.next(1), "(end)");
    EXPECT_EQ(records.add("d", {1}), 0);
    EXPECT_EQ(records.next(1), "d");
    EXPECT_EQ(records.next(1), "(end)");
}

TEST(FileDouble, KeepsWhatIsNotItsOwn) {
    const TemporaryDirectory directory;
    const std::string path = directory / "r";
    const struct {
        const char *before, *after;
    } rows[] = {
        {"", "[patches]\nn = 1.000\n"},
        {"[Patches]", "[Patches]\nn = 1.000\n"},
        {"a\r\n[ink]\r\nn = 7", "a\r\n[ink]\r\nn = 7\n[patches]\nn = 1.000\n"},
        {"[patches] x\rb=2\r\r[ink]\rn = 7\r", "[patches] x\rb=2\r\rn = 1.000\n[ink]\rn = 7\r"},
        {"[patches]\n[patches]\n", "[patches]\nn = 1.000\n[patches]\n"},
        {"[patches]\nb = 2\n \t", "[patches]\nb = 2\nn = 1.000\n \t"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.before);
        write_file(path, row.before);
        Records records(path, 1, 0);
        ASSERT_TRUE(records);
        std::vector<Record> expected = records.all();
        expected.push_back({"n", {1}});
        EXPECT_EQ(records.add("n", {1}), 0);
        EXPECT_EQ(records.all(), expected);
        EXPECT_EQ(records.save(), 0);
        EXPECT_EQ(read_file(path), row.after);
    }
    Records anew(path, 1, 1);
    EXPECT_EQ(anew.all(), std::vector<Record>());
    EXPECT_EQ(anew.save(), 0);
    EXPECT_EQ(read_file(path), "[patches]\n");
}

TEST(FileDouble, SkipsWhatIsDamaged) {
    const TemporaryDirectory directory;
    const std::string path     = directory / "r";
    constexpr char kDamaged[]  = "file_double_list: damaged line skipped";
    constexpr char kBadValue[] = "Error bad item string for double conversions";
    const struct {
        std::string line, message;
    } rows[] = {
        {"no item", kDamaged},
        {"]", kDamaged},
        {std::string("a\0b = 1 2", 9), kDamaged},
        {std::string("[a\0 = 1 2", 9), kDamaged},
        {"a = 1", kBadValue},
        {"a = 1 x", kBadValue},
        {"a =", kBadValue},
        {"a = " + std::string(255, ' ') + "1 2" + std::string(300, '3'), ""},
        {"a = " + std::string(256, '1') + " 2", kBadValue},
        {" \t ", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        write_file(path, "[patches]\nfirst = 1 2\n" + row.line + "\nlast = 3 4\n");
        Records records(path, 2, 0);
        ASSERT_TRUE(records);
        std::vector<Record> listed;
        EXPECT_EQ(message_of([&] { listed = records.all(); }), row.message);
        ASSERT_GE(listed.size(), 2u);
        EXPECT_EQ(listed.front(), (Record{"first", {1, 2}}));
        EXPECT_EQ(listed.back(), (Record{"last", {3, 4}}));
        EXPECT_EQ(listed.size(), row.message.empty() && row.line[0] == 'a' ? 3u : 2u);
    }
}

TEST(FileDouble, RefusesNamesThatCouldNotBeReadBack) {
    const TemporaryDirectory directory;
    Records records(directory / "r", 1, 1);
    for (const std::string& name :
         {std::string(), std::string("a=b"), std::string("a\nb"), std::string("a\r"),
          std::string("[a"), std::string(" a"), std::string("\t[a"), std::string("a "),
          std::string("a\t"), std::string(257, 'a')}) {
        EXPECT_EQ(message_of([&] { EXPECT_EQ(records.add(name, {1}), -1); }),
                  "file_double_add_item: illegal name")
            << name;
    }
    EXPECT_EQ(records.all(), std::vector<Record>());
    const std::string longest(256, 'a');
    EXPECT_EQ(records.add(longest, {1}) + records.add("a [b] c", {2}), 0);
    EXPECT_EQ(records.all(), (std::vector<Record>{{longest, {1}}, {"a [b] c", {2}}}));
}

TEST(FileDouble, RefusesValuesThatCouldNotBeReadBack) {
    const TemporaryDirectory directory;
    constexpr char kTooMany[] = "file_double_add_item: too many values";
    const struct {
        int nr_values;
        double value;
        std::string message;
    } rows[] = {
        {0, 1, ""},
        {36, 99999, ""},
        {37, 0.5, kTooMany},
        {43, 1234, ""},
        {44, 1234, kTooMany},
        {100000, 1, kTooMany},
        {1, 1e254, ""},
        {1, -1e255, ""},
        {1, 1e300, kTooMany},
        {2, std::nan(""), "Error bad formatted item string from doubles, ier -1 "},
        {2, -INFINITY, "Error bad formatted item string from doubles, ier -1 "},
    };
    for (const auto& row : rows) {
        Records records(directory / "r", row.nr_values, 1);
        const std::vector<double> values(static_cast<std::size_t>(row.nr_values), row.value);
        int result = 0;
        EXPECT_EQ(message_of([&] { result = records.add("a", values); }), row.message);
        EXPECT_EQ(result, row.message.empty() ? 0 : -1);
        EXPECT_EQ(records.all().size(), row.message.empty() ? 1u : 0u) << row.nr_values;
    }
    file_double* negative = file_double_new((directory / "r").c_str(), -5, 1);
    EXPECT_EQ(file_double_add_item(negative, "a", nullptr), 0);
    int state = 0;
    EXPECT_STREQ(file_double_list(negative, &state, nullptr), "a");
    file_double_kill(negative);
}

TEST(FileDouble, TellsWhyItCannotOpen) {
    const TemporaryDirectory directory;
    const auto fails = [](const std::string& path, int create) {
        return message_of([&] { EXPECT_FALSE(Records(path, 1, create)); });
    };
    constexpr char kUnable[] = "file_double_new: Unable to open record file";
    EXPECT_EQ(fails(directory / "none", 0), kUnable);
    EXPECT_EQ(fails(directory / "", 0), kUnable);
    EXPECT_EQ(fails("", 0), kUnable);
    for (const int create : {0, 1})
        EXPECT_EQ(fails(std::string(128, 'a'), create), "file_double_new: path too long");
    EXPECT_EQ(message_of([] { EXPECT_TRUE(Records(std::string(127, 'a'), 1, 1)); }), "");
}

TEST(FileDouble, ReplacesTheFileOrLeavesIt) {
    const TemporaryDirectory directory;
    const std::string path = directory / "r", folder = directory / "d";
    constexpr char kUnable[] = "file_double_save: Unable to save record file";
    const auto save_fails    = [&](const std::string& there) {
        Records records(there, 1, 1);
        return message_of([&] { EXPECT_EQ(records.save(), -1); });
    };
    EXPECT_EQ(save_fails(directory / "none/r"), kUnable);
    std::filesystem::create_directory(path_of(folder));
    EXPECT_EQ(save_fails(folder), kUnable);

    write_file(path, "old");
    std::filesystem::permissions(path_of(path), std::filesystem::perms::owner_read);
    EXPECT_EQ(save_fails(path), kUnable);
    std::filesystem::permissions(path_of(path), std::filesystem::perms::owner_all);
    EXPECT_EQ(read_file(path), "old");

    // Names of temporary files that others left are passed over, as long as there are any.
    for (int i = 0; i < 99; ++i) write_file(path + ".tmp" + std::to_string(i), "theirs");
    EXPECT_EQ(Records(path, 1, 1).save(), 0);
    EXPECT_EQ(read_file(path), "[patches]\n");
    EXPECT_EQ(read_file(path + ".tmp0"), "theirs");
    EXPECT_FALSE(exists(path + ".tmp99"));
    write_file(path + ".tmp99", "theirs");
    EXPECT_EQ(save_fails(path), kUnable);
    EXPECT_EQ(file_double_kill(nullptr), nullptr);
}

TEST(FileDouble, FollowsAListOfRecords) {
    const TemporaryDirectory directory;
    const std::string path = directory / "r";
    std::mt19937 random(62);
    for (int round = 0; round < 8; ++round) {
        std::vector<Record> saved, model;
        write_file(path, "[x]\na = 1\n[patches]\n\n[y]\na = 2");
        auto records       = std::make_unique<Records>(path, 2, 0);
        std::size_t listed = 0;
        for (int step = 0; step < 100; ++step) {
            const auto choice = random() % 100;
            if (choice < 60) {
                const double x = static_cast<double>(random() % 10000) / 1000,
                             y = static_cast<double>(random() % 10000);
                const std::string name(1 + random() % 5, static_cast<char>('a' + random() % 3));
                model.push_back({name, {x, y}});
                EXPECT_EQ(records->add(name, {x, y}), 0);
            } else if (choice < 90) {
                const bool restarts = random() % 4 == 0;
                if (restarts) listed = 0;
                std::vector<double> values;
                const std::string name = records->next(restarts ? 2 : 1, &values);
                if (listed == model.size()) {
                    EXPECT_EQ(name, "(end)");
                } else {
                    EXPECT_EQ(Record(name, values), model[listed++]);
                }
            } else if (choice < 95) {
                EXPECT_EQ(records->save(), 0);
                saved = model;
            } else {
                records = std::make_unique<Records>(path, 2, 0);
                model   = saved;
                listed  = 0;
            }
        }
        EXPECT_EQ(records->all(), model);
    }
}

TEST(FileDouble, SurvivesAnyFile) {
    const TemporaryDirectory directory;
    const std::string path        = directory / "r";
    const std::string kCharacters = std::string("[]= \t\r\n0", 8) + '\0';
    std::mt19937 random(63);
    const MessageCapture capture;
    for (int round = 0; round < 300; ++round) {
        std::string bytes = random() % 2 ? "[patches]\n" : "";
        for (auto left = random() % 600; left > 0; --left)
            bytes += random() % 8 ? kCharacters[random() % kCharacters.size()]
                                  : static_cast<char>(random());
        write_file(path, bytes);
        Records records(path, 1, 0);
        ASSERT_TRUE(records);
        std::vector<Record> expected = records.all();
        expected.push_back({"n", {1}});
        EXPECT_EQ(records.add("n", {1}), 0);
        EXPECT_EQ(records.all(), expected) << testing::PrintToString(bytes);
    }
}

}  // namespace
