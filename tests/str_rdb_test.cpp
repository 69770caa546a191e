// Scanners of parameter texts by rows of lines, and searches of random texts against maps.

#include "movane/services.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

// A text in a block of its exact size, so that the sanitizer sees what is read beyond it.
struct Text {
    explicit Text(const std::string& text) : block(text.c_str(), text.c_str() + text.size() + 1) {
        str_search_rdb_cache_reset();
    }
    std::vector<char> block;
    char* pos = block.data();
    std::ptrdiff_t offset() const { return pos - block.data(); }
};

// Room for a name or a value and not a byte more; "(none)" until it is written.
struct Buffer {
    std::unique_ptr<char[]> block{new char[257]};
    Buffer() { std::strcpy(block.get(), "(none)"); }
    operator char*() { return block.get(); }
    std::string take() { return std::exchange(*this, Buffer()).block.get(); }
};

// --- scanning ------------------------------------------------------------------------------------

std::string topics_at(char* pos) {
    std::string topics;
    Buffer name;
    while (str_get_next_rdb_topic(&pos, name) == 0) topics += "[" + name.take() + "]";
    return topics + name.take() + *pos;
}

std::string items_at(char* pos) {
    std::string items;
    Buffer name, value;
    while (str_get_next_rdb_item(&pos, name, value) == 0)
        items += "<" + name.take() + "|" + value.take() + ">";
    return items;
}

TEST(ParameterText, IsScannedLineByLine) {
    const std::string more(300, 'x'), cut(256, 'x'), to_blank(255, 'w');
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {"", "", ""},
        {"]", "", ""},
        {"gamma", "", ""},
        {"[Paper]", "[Paper]", ""},
        {" \t[ Paper \t] x = 1 [y]", "[ Paper]", ""},
        {"[a=b", "[a=b]", ""},
        {"[]", "[]", ""},
        {"[" + more, "[" + cut + "]", ""},
        {"a=b", "", "<a|b>"},
        {" \ta \t=\t 2 2 \t", "", "< \ta|2 2>"},
        {"a = b = c", "", "<a|b = c>"},
        {"a[0] = [b]", "", "<a[0]|[b]>"},
        {"=", "", "<|>"},
        {more + "=" + more, "", "<" + cut + "|" + cut + ">"},
        {to_blank + " x=" + to_blank + " x", "", "<" + to_blank + "|" + to_blank + ">"}};
    for (const std::string end : {"\n", "\r\n", "\r"}) {
        for (const auto& [line, topic, item] : rows) {
            SCOPED_TRACE(testing::PrintToString(line + end));
            const bool is_topic = !topic.empty();
            Text text(line + end + "z=1" + end + "[Z" + end + "y=2");
            EXPECT_EQ(topics_at(text.pos), topic + "[Z]" + '\0');
            EXPECT_EQ(str_get_nr_of_rdb_topics(&text.pos), is_topic + 1);
            EXPECT_EQ(items_at(text.pos), is_topic ? "" : item + "<z|1>");
            Buffer name, value;
            EXPECT_EQ(str_search_rdb_item(&text.pos, "z", value), is_topic ? -1 : 0);
            EXPECT_EQ(value.take(), is_topic ? "(none)" : "1");
            EXPECT_EQ(str_search_rdb_item(&text.pos, "y", value), -1);
            EXPECT_EQ(str_get_rdb_item(&text.pos, "z", value), -1);
            EXPECT_EQ(str_get_rdb_item_name(&text.pos, name), item.empty() ? -1 : 0);
            const std::string found = name.take();
            if (str_get_rdb_item(&text.pos, found.c_str(), value) != 0)
                str_go_to_next_line(&text.pos);
            EXPECT_EQ("<" + found + "|" + value.take() + ">",
                      item.empty() ? "<(none)|(none)>" : item);
            EXPECT_EQ(items_at(text.pos), "<z|1>");
        }
    }
}

TEST(ParameterText, GoesFromWordToWordInALine) {
    Text text("  one\ttwo \t three\r\nfour");
    for (const char reached : {'o', 't', 't', '\r', '\r'})
        EXPECT_EQ(str_go_to_next_word(&text.pos), reached);
    str_go_to_next_line(&text.pos);
    EXPECT_STREQ(text.pos, "four");
    EXPECT_EQ(str_go_to_next_word(&text.pos), '\0');
}

// --- searching -----------------------------------------------------------------------------------

std::string search(Text& text, const std::string& topic, const std::string& item) {
    Buffer value;
    const int found = str_search_rdb(&text.pos, topic.c_str(), item.c_str(), value);
    EXPECT_EQ(text.offset(), 0);
    return found ? value.take() : "no " + value.take();
}

TEST(ParameterText, ContinuedSearchDecidesAmongEqualTopics) {
    Text text("[A]\nx=1\n[B]\nx=2\n[a]\nx=3\n[C]\nx=4\n[]\nx=5\n[b]\nx=6\n");
    // From B on the next A is the second one. After a failure nothing is remembered, and an empty
    // name is not continued from. Behind the end the search ends at a topic named as the last one.
    const std::pair<const char*, const char*> rows[] = {
        {"A", "1"}, {"A", "1"}, {"B", "2"}, {"A", "3"},         {"none", "no (none)"},
        {"A", "1"}, {"C", "4"}, {"B", "6"}, {"C", "no (none)"}, {"", "5"},
        {"b", "2"}};
    for (const auto& [topic, value] : rows) EXPECT_EQ(search(text, topic, "x"), value) << topic;
}

TEST(ParameterText, ForgetsWhenAsked) {
    Text text("[A]\n[B]\nx=1\n[C]\n");
    EXPECT_EQ(search(text, "b", "x"), "1");
    EXPECT_EQ(str_search_rdb_topic(&text.pos, "b"), 1);
    text.pos[3] = '\0';
    EXPECT_EQ(str_search_rdb_cache_reset(), 0);
    EXPECT_EQ(search(text, "b", "x"), "no (none)");
    EXPECT_EQ(str_search_rdb_topic(&text.pos, "c"), 0);
}

TEST(ParameterText, SearchesDoNotDependOnSearchesBefore) {
    std::vector<std::string> topics = {"", "one", "two", "three", "four", "one two"};
    std::mt19937 random(63);
    const auto in_any_case = [&](std::string name) {
        for (char& c : name) c = static_cast<char>(random() % 2 ? std::toupper(c) : c);
        return name;
    };
    for (int round = 0; round < 300; ++round) {
        std::string bytes[2];  // each topic has one item, whose value says which
        for (const int t : {0, 1}) {
            std::shuffle(topics.begin(), topics.end(), random);
            for (std::size_t i = random() % topics.size(); i > 0; --i)
                bytes[t] += "[" + in_any_case(topics[i]) + "]\n" + "xy"[random() % 2] + " = " +
                            topics[i] + "01"[t] + "\n";
        }
        Text texts[] = {Text(bytes[0]), Text(bytes[1])};
        for (int step = 0; step < 40; ++step) {
            const auto t            = random() % 2;
            const std::string topic = topics[random() % topics.size()].substr(0, 3 + random() % 12);
            const std::string value = topic + "01"[t];
            const bool occurs       = bytes[t].find("= " + value + "\n") != value.npos,
                       has_x        = bytes[t].find("x = " + value + "\n") != value.npos;
            EXPECT_EQ(search(texts[t], in_any_case(topic), "x"), has_x ? value : "no (none)");
            EXPECT_EQ(str_search_rdb_topic(&texts[t].pos, in_any_case(topic).c_str()), occurs);
        }
    }
}

}  // namespace
