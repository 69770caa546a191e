// Directories and copies, on paths in either notation.

#include "movane/services.h"

#include "movane/foundation.h"

#include "Engine/directory_pattern.h"
#include "Engine/runtime.h"
#include "Engine/utf8_files.h"
#include "Platform/files.h"
#include "Support/report.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/rsys"};

constexpr std::size_t kPathSize = 256;  // bytes of a host's path and of a list slot

constexpr std::string_view kSeparators = "\\/";

[[gnu::format(printf, 1, 0)]] int fail(const char* format, const char* path) {
    report(movane::Formatted(format, path));
    return -1;
}

// --- texts -----------------------------------------------------------------------------------

// A path that grows and shrinks by levels. What does not fit is told and changes nothing.
class Path {
public:
    explicit Path(std::string_view text) { append(text); }

    const char* get() const { return text_; }
    std::string_view view() const { return {text_, length_}; }

    bool append(std::string_view more) {
        if (length_ + more.size() >= sizeof text_) return false;
        length_ += more.copy(text_ + length_, more.size());
        text_[length_] = '\0';
        return true;
    }

    bool append_level(std::string_view name) {
        const std::size_t length = length_;
        const bool ends_level =
            length > 0 && kSeparators.find(text_[length - 1]) != kSeparators.npos;
        if ((ends_level || append("\\")) && append(name)) return true;
        cut(length);
        return false;
    }

    void cut(std::size_t length) {
        length_        = length;
        text_[length_] = '\0';
    }

private:
    char text_[movane::kLongestPath];
    std::size_t length_ = 0;
};

// A host's path in native notation; empty when it is too long, which no call accepts.
struct Translated {
    char text[kPathSize];
    bool is_logical;
    explicit Translated(const char* path) : is_logical(fport(text, sizeof text, path) == 0) {}
};

// Without the name behind the last separator: "a\b" and "a\b\" give "a".
std::string_view upper_level(std::string_view path) {
    path = path.substr(0, path.find_last_not_of(kSeparators) + 1);
    path = path.substr(0, path.find_last_of(kSeparators) + 1);
    return path.substr(0, std::max<std::size_t>(path.find_last_not_of(kSeparators) + 1, 1));
}

// --- directories -----------------------------------------------------------------------------

bool is_directory(const char* path) {
    const unsigned attributes = GetFileAttributes_utf8(path);
    return attributes != attributes_of_none && attributes & attribute_directory;
}

bool is_link(const char* path) {
    const unsigned attributes = GetFileAttributes_utf8(path);
    return attributes != attributes_of_none && attributes & attribute_link;
}

int make_directory(const char* path) {
    return mkdir_utf8(path) == 0 ? 0 : fail("rsys_mkdir : Unable to make directory %s", path);
}

// `path` is as before on return.
int make_levels(char* path) {
    if (is_directory(path)) return 0;
    const std::size_t upper = upper_level(path).size();
    if (upper > 0) {
        const char cut = std::exchange(path[upper], '\0');
        const int made = make_levels(path);
        path[upper]    = cut;
        if (made != 0) return -1;
    }
    // Another process may have been faster.
    return mkdir_utf8(path) == 0 || is_directory(path) ? 0 : make_directory(path);
}

// Walks up from the deepest level that exists, as the system sees it: links and ".." resolved.
bool lies_in(std::string_view path, const char* directory) {
    Path level(path);
    while (!is_directory(level.get())) {
        level.cut(upper_level(level.view()).size());
        if (level.view().empty()) level.append(".");
    }
    for (;;) {
        if (movane::files::is_same(level.get(), directory)) return true;
        const Path lower = level;
        if (!level.append_level("..") || movane::files::is_same(level.get(), lower.get()))
            return false;
    }
}

bool is_dot(const find_data_utf8& entry) {
    return std::strcmp(entry.name, ".") == 0 || std::strcmp(entry.name, "..") == 0;
}

// --- copying ---------------------------------------------------------------------------------

int copy_file(const char* destination, const char* source) {
    return CopyFile_utf8(source, destination, 0)
               ? 0
               : fail("rsys_copy : Unable to copy file %s", source);
}

// Copies what it can; one path for each side serves all levels.
class TreeCopy {
public:
    TreeCopy(std::string_view destination, std::string_view source)
        : to_(destination), from_(source) {}

    int run() {
        if (mkdir_utf8(to_.get()) != 0 && !is_directory(to_.get()))
            return fail("rsys_copy : Unable to make directory %s", to_.get());

        const std::size_t to_length = to_.view().size(), from_length = from_.view().size();
        from_.append_level("*");
        void* search = FindFirstFile_utf8(from_.get(), &entry_);
        from_.cut(from_length);
        if (!search) return fail("rsys_copy : Unable to copy file %s", from_.get());

        int result = 0;
        do {
            const bool is_tree = (entry_.attributes & attribute_directory) != 0;
            if (is_dot(entry_) || (is_tree && entry_.attributes & attribute_link)) continue;
            if (!from_.append_level(entry_.name) || !to_.append_level(entry_.name))
                result = fail("rsys_copy : Unable to copy file %s", from_.get());
            else if ((is_tree ? run() : copy_file(to_.get(), from_.get())) != 0)
                result = -1;
            from_.cut(from_length);
            to_.cut(to_length);
        } while (FindNextFile_utf8(search, &entry_));
        FindClose_utf8(search);
        return result;
    }

private:
    Path to_, from_;
    find_data_utf8 entry_;
};

// Where the directory of a source ends: in the notation of logical names at "]" or else at ":", in
// native paths at the last separator, or else at the colon of a drive.
std::size_t directory_end(std::string_view source, bool is_logical) {
    if (is_logical) return source.find_last_of(source.find(']') == source.npos ? ":" : "]");
    const std::size_t separator = source.find_last_of(kSeparators);
    return separator == source.npos ? source.find(':') : separator;
}

int copy_tree(const char* destination, const char* source, bool is_logical) {
    const std::string_view given(source);
    const std::size_t end = directory_end(given, is_logical);
    if (end == given.npos) {
        report("Invalid source directory !");
        return -1;
    }
    char directory[kPathSize];
    given.copy(directory, end + 1);
    directory[end + 1] = '\0';
    Path native(Translated(directory).text);
    if (native.view().ends_with(':')) native.append(".");  // of a drive
    if (!is_directory(native.get())) return 0;
    if (lies_in(destination, native.get())) {
        report("rsys_copy : destination lies in the source directory");
        return -1;
    }
    return TreeCopy(destination, native.view()).run();
}

}  // namespace

// --- directories -----------------------------------------------------------------------------

int rsys_mkdir(const char* path) { return make_directory(Translated(path).text); }

int rsys_direx(const char* path) { return is_directory(Translated(path).text) ? 1 : 0; }

int rsys_forcedir(const char* path) {
    Translated native(path);
    return make_levels(native.text);
}

int rsys_rmdir(const char* path) {
    Translated native(path);
    std::string_view text(native.text);
    // Separators at the end would lead through a link.
    text                     = text.substr(0, text.find_last_not_of(kSeparators) + 1);
    native.text[text.size()] = '\0';

    Path pattern(native.text);
    pattern.append_level("..");
    if (text.empty() || text.back() == ':' || is_link(native.text) ||
        movane::files::is_same(native.text, pattern.get())) {
        fail("rsys_rmdir : Unable to remove directory %s", native.text);
        return 0;
    }

    pattern.cut(text.size());
    pattern.append_level("*");
    if (void* search = fsinit(pattern.get())) {
        char file[movane::kLongestPath];
        while (fsearch(search, file, sizeof file) == 0) fdelete(file);
        fsfree(search);
    }
    rmdir_utf8(native.text);
    return 0;
}

// --- listing and copying -----------------------------------------------------------------------

int rsys_scan_dir(const char* path, void* list) {
    const Translated native(path);
    Path level(native.text);
    const std::size_t length = level.view().size();
    level.append_level("*");
    find_data_utf8 entry;
    void* search = length > 0 ? FindFirstFile_utf8(level.get(), &entry) : nullptr;
    if (!search) return fail("rsys_scan_dir : Unable to scan directory %s", native.text);

    int result = 0;
    do {
        if (is_dot(entry) || !(entry.attributes & attribute_directory)) continue;
        level.cut(length);
        level.append_level(entry.name);
        char slot[kPathSize] = "";
        if (level.view().size() >= sizeof slot) {
            report("rsys_scan_dir : path too long !, directory not inserted in list");
            continue;
        }
        level.view().copy(slot, sizeof slot);
        if (list_insert(static_cast<movane_list*>(list), slot) < 0) result = -1;
    } while (result == 0 && FindNextFile_utf8(search, &entry));
    FindClose_utf8(search);
    return result;
}

int rsys_copy(const char* destination, const char* source) {
    const Translated to(destination), from(source);
    const bool is_too_long = from.text[0] == '\0' && source[0] != '\0';
    if (!is_too_long && ffspec(from.text) != 0) return 0;
    if (is_too_long || to.text[0] == '\0')
        return fail("rsys_copy : Unable to copy file %s", from.text);
    return std::strchr(from.text, '*') ? copy_tree(to.text, source, from.is_logical)
                                       : copy_file(to.text, from.text);
}
