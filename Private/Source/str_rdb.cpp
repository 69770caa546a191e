// Parameter texts: a scanner of topics and items, and searches that remember where they were.
//
// Everything goes by lines. A line is a topic header, an item, or neither, and it tells by itself
// which of them; scanning positions are begins of lines.

#include "movane/services.h"

#include "movane/foundation.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <string_view>

namespace {

constexpr std::size_t kLongestCopy = 256;  // characters of a name or a value

struct Item {
    std::string_view name, value;
};

struct Search {
    const char* text;
    char* place;  // where the search of this text was successful; null when it was not
};

// process-wide: what the two searches remember.
constinit Search last_item_search;   // place: the header of the topic found
constinit Search last_topic_search;  // place: behind the header of the topic found

// --- lines -------------------------------------------------------------------------------------

std::string_view line_at(const char* pos) { return {pos, std::strcspn(pos, "\r\n")}; }

char* next_line(char* pos) {
    pos += std::strcspn(pos, "\r\n");
    if (pos[0] == '\r' && pos[1] == '\n') return pos + 2;
    return *pos ? pos + 1 : pos;
}

std::string_view without_leading_blanks(std::string_view text) {
    return text.substr(std::min(text.find_first_not_of(" \t"), text.size()));
}

// A name or a value as it is copied and compared.
std::string_view bounded(std::string_view text) {
    text = text.substr(0, kLongestCopy);
    return text.substr(0, text.find_last_not_of(" \t") + 1);
}

std::optional<std::string_view> topic_of(std::string_view line) {
    line = without_leading_blanks(line);
    if (!line.starts_with('[')) return {};
    line.remove_prefix(1);
    return bounded(line.substr(0, line.find(']')));
}

std::optional<Item> item_of(std::string_view line) {
    const std::size_t equals = line.find('=');
    if (equals == line.npos || topic_of(line)) return {};
    return Item{bounded(line.substr(0, equals)),
                bounded(without_leading_blanks(line.substr(equals + 1)))};
}

void copy(std::string_view text, char* out) { out[text.copy(out, text.size())] = '\0'; }

// --- topics and items --------------------------------------------------------------------------

bool is_same_topic(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return chr_eq_ci(x, y) != 0; });
}

// The next header whose name is wanted, from the line at `pos` on; null for none.
template <class IsWanted>
char* find_header(char* pos, IsWanted is_wanted) {
    for (; *pos; pos = next_line(pos)) {
        const auto topic = topic_of(line_at(pos));
        if (topic && is_wanted(*topic)) return pos;
    }
    return nullptr;
}

bool any_topic(std::string_view) { return true; }

// The next item, from the line at `pos` to the end of its topic; null for none.
template <class IsWanted>
char* find_item(char* pos, IsWanted is_wanted) {
    for (; *pos; pos = next_line(pos)) {
        const std::string_view line = line_at(pos);
        if (topic_of(line)) return nullptr;
        const auto item = item_of(line);
        if (item && is_wanted(item->name)) return pos;
    }
    return nullptr;
}

// Searches of a text usually follow the order of its topics: so does the scan, from the topic
// found last to the end, then from the begin to that topic.
char* find_topic(char* text, std::string_view topic) {
    const auto is_wanted  = [&](std::string_view name) { return is_same_topic(name, topic); };
    char* const last      = last_item_search.text == text ? last_item_search.place : nullptr;
    const auto last_topic = last ? topic_of(line_at(last)) : std::nullopt;
    if (!last_topic || last_topic->empty()) return find_header(text, is_wanted);

    if (is_wanted(*last_topic)) return last;
    if (char* header = find_header(next_line(last), is_wanted)) return header;
    char* const header = find_header(text, [&](std::string_view name) {
        return is_wanted(name) || is_same_topic(name, *last_topic);
    });
    return header && is_wanted(*topic_of(line_at(header))) ? header : nullptr;
}

}  // namespace

// --- moving ------------------------------------------------------------------------------------

void str_go_to_next_line(char** pos) { *pos = next_line(*pos); }

char str_go_to_next_word(char** pos) {
    *pos += std::strcspn(*pos, " \t\r\n");
    *pos += std::strspn(*pos, " \t");
    return **pos;
}

// --- scanning ----------------------------------------------------------------------------------

int str_get_next_rdb_topic(char** pos, char* name) {
    char* const header = find_header(*pos, any_topic);
    copy(header ? *topic_of(line_at(header)) : "", name);
    *pos = header ? next_line(header) : *pos + std::strlen(*pos);
    return header ? 0 : -1;
}

int str_get_nr_of_rdb_topics(char** pos) {
    int count = 0;
    for (char* p = *pos; (p = find_header(p, any_topic)); p = next_line(p)) ++count;
    return count;
}

int str_get_rdb_item(char** pos, const char* name, char* value) {
    const auto item = item_of(line_at(*pos));
    if (!item || item->name != name) return -1;
    copy(item->value, value);
    *pos = next_line(*pos);
    return 0;
}

int str_get_rdb_item_name(char** pos, char* name) {
    const auto item = item_of(line_at(*pos));
    if (!item) return -1;
    copy(item->name, name);
    return 0;
}

int str_get_next_rdb_item(char** pos, char* name, char* value) {
    char* const found = find_item(*pos, [](std::string_view) { return true; });
    if (!found) return -1;
    const auto item = item_of(line_at(found));
    copy(item->name, name);
    copy(item->value, value);
    *pos = next_line(found);
    return 0;
}

// --- searching ---------------------------------------------------------------------------------

int str_search_rdb_item(char** pos, const char* name, char* value) {
    char* const found = find_item(*pos, [=](std::string_view other) { return other == name; });
    if (!found) return -1;
    copy(item_of(line_at(found))->value, value);
    return 0;
}

int str_search_rdb_topic(char** pos, const char* topic) {
    const auto is_wanted = [=](std::string_view name) { return is_same_topic(name, topic); };
    char* const last     = last_topic_search.text == *pos ? last_topic_search.place : nullptr;
    char* header         = last ? find_header(last, is_wanted) : nullptr;
    if (!header) header = find_header(*pos, is_wanted);
    last_topic_search = {*pos, header ? next_line(header) : nullptr};
    return header != nullptr;
}

int str_search_rdb(char** text, const char* topic, const char* item, char* value) {
    char* const header = find_topic(*text, topic);
    last_item_search   = {*text, header};
    if (!header) return 0;
    char* pos = next_line(header);
    return str_search_rdb_item(&pos, item, value) == 0;
}

int str_search_rdb_cache_reset(void) {
    last_item_search  = {};
    last_topic_search = {};
    return 0;
}
