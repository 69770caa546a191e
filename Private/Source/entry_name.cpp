#include "Source/entry_name.h"

#include "movane/foundation.h"

#include <algorithm>

namespace movane {
namespace {

std::string_view without_trailing(std::string_view text, const char* characters) {
    return text.substr(0, text.find_last_not_of(characters) + 1);
}

bool is_equal_ci(std::string_view text, std::string_view other) {
    return text.size() == other.size() &&
           strncmp_ci(text.data(), other.data(), static_cast<int>(text.size())) == 0;
}

// Windows takes "aux", "aux.txt" and "aux .txt" for the device, in any directory.
bool is_device(std::string_view level) {
    const std::string_view stem = without_trailing(level.substr(0, level.find('.')), " ");
    for (const char* device : {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"})
        if (is_equal_ci(stem, device)) return true;

    const std::string_view kind   = stem.substr(0, 3);
    const std::string_view number = stem.substr(kind.size());
    if (!is_equal_ci(kind, "COM") && !is_equal_ci(kind, "LPT")) return false;
    if (number.size() == 1) return number[0] >= '0' && number[0] <= '9';
    return number == "\u00b9" || number == "\u00b2" || number == "\u00b3";
}

// Windows ignores dots and blanks at the end of a level, so ".. ." leads upward as well.
bool leads_upward(std::string_view level) {
    return level.starts_with("..") && without_trailing(level, " .").empty();
}

bool is_control(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }

}  // namespace

bool stays_inside(std::string_view name) {
    constexpr char separators[] = "/\\";
    if (name.empty() || name.find_first_of(separators) == 0) return false;
    if (name.find(':') != name.npos || std::any_of(name.begin(), name.end(), is_control))
        return false;
    for (;;) {
        const std::size_t end        = name.find_first_of(separators);
        const std::string_view level = name.substr(0, end);
        if (leads_upward(level) || is_device(level)) return false;
        if (end == name.npos) return true;
        name.remove_prefix(end + 1);
    }
}

}  // namespace movane
