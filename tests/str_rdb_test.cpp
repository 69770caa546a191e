// Scanners and searches of parameter texts: rows for the syntax, and random texts against a reader
// that splits the text into lines before it looks at anything.

#include "movane/services.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using Strings = std::vector<std::string>;

// A text in a block of its exact size, so that the sanitizer sees what is read beyond it.
class Text {
public:
    explicit Text(const std::string& text) : copy_(new char[text.size() + 1]), pos(copy_.get()) {
        std::memcpy(copy_.get(), text.c_str(), text.size() + 1);
        str_search_rdb_cache_reset();
    }
    std::ptrdiff_t offset() const { return pos - copy_.get(); }
    void rewind() { pos = copy_.get(); }

private:
    std::unique_ptr<char[]> copy_;

public:
    char* pos;
};

// Room for a name or a value and not a byte more; "(none)" when nothing is written.
struct Buffer {
    std::unique_ptr<char[]> block{new char[257]};
    Buffer() { std::strcpy(block.get(), "(none)"); }
    operator char*() { return block.get(); }
    std::string text() const { return block.get(); }
};

std::string search(Text& text, const std::string& topic, const std::string& item) {
    Buffer value;
    char* const before = text.pos;
    const int found    = str_search_rdb(&text.pos, topic.c_str(), item.c_str(), value);
    EXPECT_EQ(text.pos, before);
    EXPECT_EQ(found == 1, value.text() != "(none)");
    return value.text();
}

// --- the plain reader --------------------------------------------------------------------------

std::string trimmed(std::string s, bool at_begin, bool at_end) {
    const auto is_blank = [](char c) { return c == ' ' || c == '\t'; };
    while (at_begin && !s.empty() && is_blank(s.front())) s.erase(0, 1);
    while (at_end && !s.empty() && is_blank(s.back())) s.pop_back();
    return s;
}

std::string folded(std::string s) {
    for (char& c : s) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
    return s;
}

struct PlainItem {
    std::string name, value;
};
struct PlainTopic {
    std::string name;
    std::vector<PlainItem> items;
};

// The first topic stands for what lies before the first header.
std::vector<PlainTopic> plain_topics(const std::string& text) {
    std::vector<PlainTopic> topics(1);
    std::string line;
    for (std::size_t i = 0; i <= text.size(); ++i) {
        if (i < text.size() && text[i] != '\r' && text[i] != '\n') {
            line += text[i];
            continue;
        }
        const std::string visible = trimmed(line, true, false);
        if (!visible.empty() && visible[0] == '[') {
            const std::string name = visible.substr(1, visible.find(']') - 1);
            topics.push_back({trimmed(name.substr(0, 256), false, true), {}});
        } else if (const auto equals = line.find('='); equals != line.npos) {
            const std::string value = trimmed(line.substr(equals + 1), true, false);
            topics.back().items.push_back(
                {trimmed(line.substr(0, equals).substr(0, 256), false, true),
                 trimmed(value.substr(0, 256), false, true)});
        }
        line.clear();
    }
    return topics;
}

std::string plain_search(const PlainTopic& topic, const std::string& item) {
    for (const PlainItem& i : topic.items)
        if (i.name == item) return i.value;
    return "(none)";
}

std::string plain_search(const std::vector<PlainTopic>& topics, const std::string& topic,
                         const std::string& item) {
    for (std::size_t i = 1; i < topics.size(); ++i)
        if (folded(topics[i].name) == folded(topic)) return plain_search(topics[i], item);
    return "(none)";
}

// --- rows --------------------------------------------------------------------------------------

TEST(ParameterText, SplitsLinesIntoTopicsAndItems) {
    const struct {
        const char *line, *topic, *name, *value;  // null: not that
    } rows[] = {
        {"[Paper]", "Paper", nullptr, nullptr},
        {" \t[ Paper \t] x = 1 [y]", " Paper", nullptr, nullptr},
        {"[Paper", "Paper", nullptr, nullptr},
        {"[a=b", "a=b", nullptr, nullptr},
        {"[]", "", nullptr, nullptr},
        {"gamma = 2.2", nullptr, "gamma", "2.2"},
        {"gamma=2.2", nullptr, "gamma", "2.2"},
        {" \tgamma \t=\t 2 2 \t", nullptr, " \tgamma", "2 2"},
        {"a = b = c", nullptr, "a", "b = c"},
        {"a[0] = [b]", nullptr, "a[0]", "[b]"},
        {"a=", nullptr, "a", ""},
        {"=", nullptr, "", ""},
        {"gamma", nullptr, nullptr, nullptr},
        {"]", nullptr, nullptr, nullptr},
        {"", nullptr, nullptr, nullptr},
    };
    for (const char* line_end : {"\n", "\r\n", "\r", ""}) {
        for (const auto& row : rows) {
            const std::string line = row.line, next = *line_end ? "next=1" : "";
            SCOPED_TRACE(line + "|" + std::to_string(line_end[0]));
            Text text(line + line_end + next);
            const auto next_line = static_cast<std::ptrdiff_t>(line.size() + strlen(line_end));
            Buffer topic, name, value, direct;

            EXPECT_EQ(str_get_rdb_item_name(&text.pos, name), row.name ? 0 : -1);
            EXPECT_EQ(name.text(), row.name ? row.name : "(none)");
            EXPECT_EQ(str_get_rdb_item(&text.pos, "other", value), -1);
            EXPECT_EQ(text.offset(), 0);
            EXPECT_EQ(str_get_rdb_item(&text.pos, row.name ? row.name : "", direct),
                      row.name ? 0 : -1);
            EXPECT_EQ(direct.text(), row.value ? row.value : "(none)");
            EXPECT_EQ(text.offset(), row.name ? next_line : 0);

            text.rewind();
            EXPECT_EQ(str_get_nr_of_rdb_topics(&text.pos), row.topic ? 1 : 0);
            EXPECT_EQ(text.offset(), 0);
            EXPECT_EQ(str_get_next_rdb_topic(&text.pos, topic), row.topic ? 0 : -1);
            EXPECT_EQ(topic.text(), row.topic ? row.topic : "");
            if (row.topic) {
                EXPECT_EQ(text.offset(), next_line);
            } else {
                EXPECT_EQ(*text.pos, '\0');
            }

            text.rewind();
            str_go_to_next_line(&text.pos);
            EXPECT_EQ(text.offset(), next_line);
        }
    }
}

TEST(ParameterText, FindsItemsOfTopics) {
    Text text("[Paper]\ngamma = 2.2\n[Ink]\ngamma=1.8\ndensity =  1.4 \t\n");
    EXPECT_EQ(search(text, "paper", "gamma"), "2.2");
    EXPECT_EQ(search(text, "paper", "Gamma"), "(none)");
    EXPECT_EQ(search(text, "Paper", "density"), "(none)");
    EXPECT_EQ(search(text, "Ink", "gamma"), "1.8");
    EXPECT_EQ(search(text, "Paper", "gamma"), "2.2");
    EXPECT_EQ(search(text, "INK", "density"), "1.4");
    EXPECT_EQ(search(text, "ink ", "density"), "(none)");
    EXPECT_EQ(search(text, "Pape", "gamma"), "(none)");
    EXPECT_EQ(search(text, "", "gamma"), "(none)");

    EXPECT_EQ(str_search_rdb_topic(&text.pos, "iNK"), 1);
    EXPECT_EQ(str_search_rdb_topic(&text.pos, "paper"), 1);  // behind which the scan begins anew
    EXPECT_EQ(str_search_rdb_topic(&text.pos, "papers"), 0);
    EXPECT_EQ(text.offset(), 0);
}

TEST(ParameterText, ItemsEndWithTheirTopic) {
    Text text("a = 1\nno item\n\nb = 2\n [T]\nc = 3");
    Buffer name, value, untouched;
    EXPECT_EQ(str_search_rdb_item(&text.pos, "b", value), 0);
    EXPECT_EQ(value.text(), "2");
    EXPECT_EQ(str_search_rdb_item(&text.pos, "c", untouched), -1);
    EXPECT_EQ(text.offset(), 0);
    EXPECT_EQ(str_get_next_rdb_item(&text.pos, name, value), 0);
    EXPECT_EQ(text.offset(), 6);
    EXPECT_EQ(str_get_next_rdb_item(&text.pos, name, value), 0);
    EXPECT_EQ(name.text() + value.text(), "b2");
    EXPECT_EQ(text.offset(), 21);
    EXPECT_EQ(str_get_next_rdb_item(&text.pos, untouched, untouched), -1);
    EXPECT_EQ(text.offset(), 21);
    EXPECT_EQ(str_get_next_rdb_topic(&text.pos, name), 0);
    EXPECT_EQ(str_get_next_rdb_item(&text.pos, name, value), 0);
    EXPECT_EQ(name.text() + value.text(), "c3");
    EXPECT_EQ(str_get_next_rdb_item(&text.pos, untouched, untouched), -1);
    EXPECT_EQ(str_get_rdb_item_name(&text.pos, untouched), -1);
    EXPECT_EQ(str_get_rdb_item(&text.pos, "", untouched), -1);
    EXPECT_EQ(untouched.text(), "(none)");
}

TEST(ParameterText, GoesFromWordToWordInALine) {
    Text text("  one\ttwo \t three\r\nfour");
    EXPECT_EQ(str_go_to_next_word(&text.pos), 'o');
    EXPECT_EQ(str_go_to_next_word(&text.pos), 't');
    EXPECT_EQ(str_go_to_next_word(&text.pos), 't');
    EXPECT_EQ(text.offset(), 12);
    EXPECT_EQ(str_go_to_next_word(&text.pos), '\r');
    EXPECT_EQ(str_go_to_next_word(&text.pos), '\r');
    str_go_to_next_line(&text.pos);
    EXPECT_EQ(str_go_to_next_word(&text.pos), '\0');
    str_go_to_next_line(&text.pos);
    EXPECT_EQ(text.offset(), 23);
}

TEST(ParameterText, CutsLongNamesAndValues) {
    const std::string n(256, 'n'), v(256, 'v'), t(256, 'T');
    const std::string blank_at_256 = std::string(255, 'w') + " x";
    Text text("[" + t + "tail]\n" + n + "more = " + v + std::string(10000, 'v') + "\n" +
              blank_at_256 + " = " + blank_at_256 + "\n[" + std::string(100000, 'U'));
    EXPECT_EQ(search(text, t, n), v);
    EXPECT_EQ(search(text, t, n + "more"), "(none)");
    EXPECT_EQ(search(text, t, std::string(255, 'w')), std::string(255, 'w'));
    EXPECT_EQ(search(text, t + "tail", n), "(none)");
    Buffer topic, name, value;
    EXPECT_EQ(str_get_next_rdb_topic(&text.pos, topic), 0);
    EXPECT_EQ(topic.text(), t);
    EXPECT_EQ(str_get_rdb_item_name(&text.pos, name), 0);
    EXPECT_EQ(name.text(), n);
    EXPECT_EQ(str_get_next_rdb_item(&text.pos, name, value), 0);
    EXPECT_EQ(name.text() + value.text(), n + v);
    EXPECT_EQ(str_get_next_rdb_topic(&text.pos, topic), 0);
    EXPECT_EQ(topic.text(), std::string(256, 'U'));
}

TEST(ParameterText, ContinuedSearchDecidesAmongEqualTopics) {
    Text text("[A]\nx=1\n[B]\nx=2\n[a]\nx=3\n[C]\nx=4\n[]\nx=5\n[b]\nx=6\n");
    EXPECT_EQ(search(text, "A", "x"), "1");
    EXPECT_EQ(search(text, "A", "x"), "1");
    EXPECT_EQ(search(text, "B", "x"), "2");
    EXPECT_EQ(search(text, "A", "x"), "3");  // the next one from B on
    EXPECT_EQ(search(text, "none", "x"), "(none)");
    EXPECT_EQ(search(text, "A", "x"), "1");  // nothing is remembered after a failure
    EXPECT_EQ(search(text, "C", "x"), "4");
    EXPECT_EQ(search(text, "B", "x"), "6");
    EXPECT_EQ(search(text, "C", "x"), "(none)");  // the begin up to a topic named as the last one
    EXPECT_EQ(search(text, "", "x"), "5");
    EXPECT_EQ(search(text, "b", "x"), "2");  // an empty name is not continued from
    EXPECT_EQ(str_search_rdb_cache_reset(), 0);
    EXPECT_EQ(search(text, "a", "x"), "1");
}

TEST(ParameterText, ForgetsWhenAsked) {
    char text[32] = "[A]\n[B]\nx=1\n";
    char* pos     = text;
    char value[257];
    EXPECT_EQ(str_search_rdb(&pos, "b", "x", value), 1);
    EXPECT_EQ(str_search_rdb_topic(&pos, "b"), 1);
    std::memset(text, 0, sizeof text);
    std::strcpy(text, "[B]\n");
    str_search_rdb_cache_reset();
    EXPECT_EQ(str_search_rdb(&pos, "b", "x", value), 0);
    EXPECT_EQ(str_search_rdb_topic(&pos, "a"), 0);
}

// --- random texts ------------------------------------------------------------------------------

std::string random_text(std::mt19937& random) {
    static const std::string kCharacters = "[]==aAbB \t\r\n\n";
    std::string text;
    for (auto left = random() % 120; left > 0; --left)
        text += kCharacters[random() % kCharacters.size()];
    if (random() % 8 == 0) text.insert(random() % (text.size() + 1), 300, "a =["[random() % 4]);
    return text;
}

TEST(ParameterText, ReadsRandomTextsAsThePlainReaderDoes) {
    std::mt19937 random(62);
    for (int round = 0; round < 5000; ++round) {
        const std::string bytes = random_text(random);
        const auto topics       = plain_topics(bytes);
        SCOPED_TRACE(testing::PrintToString(bytes));
        Text text(bytes);
        EXPECT_EQ(str_get_nr_of_rdb_topics(&text.pos), static_cast<int>(topics.size()) - 1);
        for (std::size_t i = 0; i < topics.size(); ++i) {
            if (i > 0) {
                Buffer name;
                ASSERT_EQ(str_get_next_rdb_topic(&text.pos, name), 0);
                EXPECT_EQ(name.text(), topics[i].name);
            }
            for (const std::string item : {"a", "b", " a", ""}) {
                Buffer value;
                str_search_rdb_item(&text.pos, item.c_str(), value);
                EXPECT_EQ(value.text(), plain_search(topics[i], item));
            }
            for (const PlainItem& item : topics[i].items) {
                Buffer name, value;
                ASSERT_EQ(str_get_next_rdb_item(&text.pos, name, value), 0);
                EXPECT_EQ(name.text(), item.name);
                EXPECT_EQ(value.text(), item.value);
            }
            Buffer rest;
            EXPECT_EQ(str_get_next_rdb_item(&text.pos, rest, rest), -1);
        }
        Buffer end;
        EXPECT_EQ(str_get_next_rdb_topic(&text.pos, end), -1);
        EXPECT_EQ(end.text() + *text.pos, std::string(1, '\0'));
    }
}

TEST(ParameterText, SearchesDoNotDependOnSearchesBefore) {
    std::mt19937 random(63);
    for (int round = 0; round < 300; ++round) {
        std::vector<std::string> bytes;
        std::vector<std::unique_ptr<Text>> texts;
        for (int t = 0; t < 2; ++t) {
            Strings names = {"", "one", "Two", "THREE", "four", "five and a half"};
            std::shuffle(names.begin(), names.end(), random);
            names.resize(random() % names.size());
            bytes.emplace_back();
            for (const std::string& name : names) {
                bytes.back() += "[" + name + "]\n";
                for (const char* item : {"x", "y"})
                    if (random() % 2)
                        bytes.back() += item + (" = " + std::to_string(random())) + "\n";
            }
            texts.push_back(std::make_unique<Text>(bytes.back()));
        }
        for (int step = 0; step < 40; ++step) {
            const Strings asked      = {"",     "ONE",  "two", "three",          "Three",
                                        "Four", "five", "six", "five and a HALF"};
            const auto t             = random() % 2;
            const std::string& topic = asked[random() % asked.size()];
            const std::string item   = random() % 2 ? "x" : "y";
            const auto topics        = plain_topics(bytes[t]);
            EXPECT_EQ(search(*texts[t], topic, item), plain_search(topics, topic, item));
            bool occurs = false;
            for (std::size_t i = 1; i < topics.size(); ++i)
                occurs |= folded(topics[i].name) == folded(topic);
            EXPECT_EQ(str_search_rdb_topic(&texts[t]->pos, topic.c_str()), occurs);
        }
    }
}

}  // namespace
