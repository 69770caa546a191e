// The pattern of a file search: path of a directory, a separator and "*".
#pragma once

#include <string_view>

namespace movane {

constexpr int kLongestPath = 4096;  // bytes of a path inside the library, terminator included

/// The directory of a pattern with the separator behind it.
class DirectoryOfPattern {
public:
    explicit DirectoryOfPattern(std::string_view pattern) noexcept {
        std::string_view directory = pattern.substr(0, pattern.find_last_of("\\/") + 1);
        if (directory.empty()) directory = ".\\";
        const bool fits                                           = directory.size() < sizeof text_;
        text_[fits ? directory.copy(text_, directory.size()) : 0] = '\0';
    }

    const char* get() const noexcept { return text_; }

private:
    char text_[kLongestPath];
};

}  // namespace movane
