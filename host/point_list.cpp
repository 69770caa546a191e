#include "point_list.h"

#include "failure.h"
#include "file.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>

namespace host {
namespace {

constexpr std::size_t kLargestFile    = 16 << 20;  // bytes
constexpr std::size_t kLongestLine    = 1000;      // bytes
constexpr std::size_t kMostPoints     = 100'000;
constexpr std::size_t kLongestName    = 60;    // characters
constexpr double kLargestNumber       = 1e30;  // squares and cubes of it are still numbers
constexpr const char* kSeparators     = ",;";
constexpr const char* kBlanks         = " \t\r";
constexpr std::string_view kByteOrder = "\xef\xbb\xbf";  // mark of some editors

void skip_blanks(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
}

// Takes blanks and at most one other separator; false when there is none of either.
bool take_separator(std::string_view& text) {
    const std::size_t before = text.size();
    skip_blanks(text);
    if (text.find_first_of(kSeparators) == 0) {
        text.remove_prefix(1);
        skip_blanks(text);
    }
    return text.size() < before;
}

bool parse_pair(std::string_view text, Point& point) {
    if (!take_number(text, point.x) || !take_separator(text) || !take_number(text, point.y))
        return false;
    skip_blanks(text);
    return text.empty();
}

bool is_header(std::string_view text) {
    const auto first = static_cast<unsigned char>(text.front());
    return std::isalpha(first) || first == '"' || first == '\'' || first >= 0x80;
}

std::string name_from(std::string_view field) {
    std::string name;
    for (const char c : field.substr(0, kLongestName))
        if (c != '"' && c != '\'') name += c >= 0x20 && c < 0x7f ? c : '?';
    return name;
}

// The names of a header of two columns; another header names nothing.
void take_names(std::string_view header, PointList& list) {
    header         = header.substr(0, header.find_last_not_of(kBlanks) + 1);
    const auto end = header.find_first_of(kSeparators) != header.npos
                         ? header.find_first_of(kSeparators)
                         : header.find_first_of(kBlanks);
    if (end == header.npos) return;
    std::string_view rest = header.substr(end);
    take_separator(rest);
    if (rest.empty() || rest.find_first_of(kSeparators) != rest.npos) return;
    list.x_name = name_from(header.substr(0, end));
    list.y_name = name_from(rest);
}

}  // namespace

bool take_number(std::string_view& text, double& number) {
    const bool has_plus       = text.starts_with('+') && !text.starts_with("+-");
    const char* const end     = text.data() + text.size();
    const auto [behind, code] = std::from_chars(text.data() + has_plus, end, number);
    if (code != std::errc() || !(std::fabs(number) <= kLargestNumber)) return false;
    text.remove_prefix(static_cast<std::size_t>(behind - text.data()));
    return true;
}

PointList read_points(const std::string& path) {
    const std::vector<unsigned char> bytes = read_input(path, kLargestFile);
    std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (text.starts_with(kByteOrder)) text.remove_prefix(kByteOrder.size());

    PointList list;
    bool may_be_header = true;
    for (int number = 1; !text.empty(); ++number) {
        const auto refuse = [&](const char* problem, const char* remedy) {
            throw Failure(path, "line " + std::to_string(number) + " " + problem, remedy);
        };
        const std::size_t length = std::min(text.find('\n'), text.size());
        std::string_view line    = text.substr(0, length);
        text.remove_prefix(std::min(length + 1, text.size()));
        if (length > kLongestLine) refuse("is too long", "give one pair of numbers per line");

        line = line.substr(0, line.find('#'));
        skip_blanks(line);
        if (line.empty()) continue;
        Point point;
        if (parse_pair(line, point)) {
            if (list.points.size() == kMostPoints)
                refuse("is one point too many", "leave at most 100000");
            list.points.push_back(point);
        } else if (may_be_header && is_header(line)) {
            take_names(line, list);
        } else {
            refuse("is not a pair of numbers",
                   "write x and y with a blank, tab, comma or semicolon between them");
        }
        may_be_header = false;
    }
    if (list.points.size() < 2)
        throw Failure(path, list.points.empty() ? "holds no points" : "holds one point only",
                      "a curve needs two at least");
    return list;
}

}  // namespace host
