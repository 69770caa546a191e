// Paths and names on their way to the system, which takes UTF-16, and back.
#pragma once

#include <cwchar>
#include <string_view>

#include <windows.h>

namespace movane {

/// A UTF-8 text as the system takes it. One that is over-long or not UTF-8 becomes "", which
/// names nothing.
class Utf16 {
public:
    explicit Utf16(const char* text) noexcept {
        if (MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text, -1, units_, kUnits) == 0)
            units_[0] = L'\0';
    }

    const wchar_t* get() const noexcept { return units_; }
    wchar_t* get() noexcept { return units_; }

    /// @return  false when the text was or becomes over-long
    bool append(std::wstring_view more) noexcept {
        const std::size_t length = std::wcslen(units_);
        if (length == 0 || length + more.size() >= kUnits) return false;
        units_[more.copy(units_ + length, more.size()) + length] = L'\0';
        return true;
    }

private:
    static constexpr int kUnits = 4096;
    wchar_t units_[kUnits];
};

/// @param size  bytes of `text`; what does not fit gives ""
inline void to_utf8(const wchar_t* units, char* text, int size) noexcept {
    if (WideCharToMultiByte(CP_UTF8, 0, units, -1, text, size, nullptr, nullptr) == 0)
        text[0] = '\0';
}

}  // namespace movane
