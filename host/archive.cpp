#include "archive.h"

#include "failure.h"
#include "file.h"

#include <regex.h>

#include <algorithm>
#include <filesystem>
#include <new>

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr int kNameSize         = 200;  // bytes of an entry's name, terminator included
constexpr int kHeaderSize       = 140;  // bytes before the description
constexpr long kChunkSize       = 65536;
constexpr int kNotAnArchiveCode = 5;

// An extended regular expression that ignores case.
class Pattern {
public:
    explicit Pattern(const char* text) {
        if (regcomp(&compiled_, text, REG_EXTENDED | REG_ICASE | REG_NOSUB) != 0)
            throw std::bad_alloc();
    }
    ~Pattern() { regfree(&compiled_); }
    Pattern(const Pattern&)            = delete;
    Pattern& operator=(const Pattern&) = delete;

    bool is_in(const std::string& text) const {
        return regexec(&compiled_, text.c_str(), 0, nullptr, 0) == 0;
    }

private:
    regex_t compiled_;
};

[[noreturn]] void refuse(const std::string& archive) {
    throw Failure(archive, "is damaged or cut short", "fetch it again");
}

// One entry of an archive that stands before it; false at the end.
bool read_entry(FilePacker& packer, const std::string& archive, ArchiveEntry& entry) {
    char name[kNameSize];
    const int code = packer.ReadString(name);
    if (code == kNotAnArchiveCode && name[0] == '\0') return false;
    char bytes[4];
    if (code != 0 || packer.ReadBinaryData(bytes, sizeof bytes) != 0) refuse(archive);
    unsigned size = 0;
    for (int i = 3; i >= 0; --i) size = size << 8 | static_cast<unsigned char>(bytes[i]);
    if (size > INT32_MAX) refuse(archive);
    entry = {name, static_cast<long>(size)};
    return true;
}

}  // namespace

long long ArchiveContent::size() const {
    long long sum = 0;
    for (const ArchiveEntry& entry : entries) sum += entry.size;
    return sum;
}

ArchiveContent read_content(const std::string& archive, const Talk& talk) {
    refuse_backslash(archive);
    open_input(archive);
    FilePacker packer(archive.c_str(), FilePacker::mode_read, nullptr);
    if (packer.GetError(nullptr) != 0)
        throw Failure(archive, "is not an archive of this program", "name another file");
    char description[kNameSize];
    packer.GetDescription(description);

    ArchiveContent content{description, {}};
    Progress progress(talk.shows_progress(), static_cast<long long>(fs::file_size(archive)),
                      kBytes);
    long long done = kHeaderSize;
    std::vector<char> chunk(kChunkSize);
    for (ArchiveEntry entry; read_entry(packer, archive, entry);) {
        for (long left = entry.size; left > 0;) {
            const long part = std::min(left, kChunkSize);
            if (packer.ReadBinaryData(chunk.data(), static_cast<int>(part)) != 0) refuse(archive);
            left -= part;
            progress.update(done += part);
        }
        content.entries.push_back(entry);
    }
    progress.update(static_cast<long long>(fs::file_size(archive)));
    return content;
}

std::string stored_name(const std::string& file) {
    const fs::path path = fs::path(file).lexically_normal().relative_path();
    fs::path name;
    for (const fs::path& level : path)
        if (level != "..") name /= level;
    return name.string();
}

bool can_be_unpacked(const std::string& name) {
    static const Pattern barred(
        "^$|^/|(^|/)\\.\\.[ .]*(/|$)|[:[:cntrl:]]"
        "|(^|/)(con|prn|aux|nul|conin\\$|conout\\$|(com|lpt)([0-9]|¹|²|³)) *(\\.[^/]*)?(/|$)");
    std::string path = name;
    std::replace(path.begin(), path.end(), '\\', '/');
    return !barred.is_in(path);
}

void refuse_backslash(const std::string& path) {
    if (path.find('\\') != path.npos)
        throw Failure(path, "has a backslash in its name, which separates levels in archives",
                      "rename it");
}

}  // namespace host
