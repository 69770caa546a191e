#include "Engine/utf8_files.h"

#include "Engine/directory_pattern.h"
#include "Platform/files.h"
#include "Platform/serial.h"

#include <cstring>
#include <string_view>

namespace files = movane::files;

// --- files -----------------------------------------------------------------------------------

std::FILE* fopen_utf8(const char* path, const char* mode) {
    unsigned how = 0;
    switch (mode[0]) {
        case 'r':
            how = files::kRead;
            break;
        case 'w':
            how = files::kWrite | files::kCreate | files::kTruncate;
            break;
        case 'a':
            how = files::kWrite | files::kCreate | files::kAppend;
            break;
        default:
            return nullptr;
    }
    if (std::strchr(mode, '+')) how |= files::kRead | files::kWrite;
    if (!std::strchr(mode, 'b')) how |= files::kText;

    files::Descriptor file(files::open(path, how));
    if (!file) return nullptr;
    std::FILE* stream = files::stream(file.get(), mode);
    if (stream) file.release();
    return stream;
}

int open_utf8(const char* path, int flags, int permission) {
    unsigned how        = flags & open_write_only ? files::kWrite : files::kRead;
    const auto add_when = [&](bool is_wanted, unsigned added) {
        if (is_wanted) how |= added;
    };
    add_when(flags & open_append, files::kAppend);
    add_when(flags & open_temporary, files::kTemporary | files::kRemovable);
    add_when(flags & open_create, files::kCreate);
    add_when(flags & open_truncate, files::kTruncate);
    add_when(flags & open_exclusive, files::kExclusive);
    add_when(!(flags & open_binary), files::kText);
    add_when(!(permission & permit_write), files::kReadOnly);
    return files::open(path, how);
}

int stat32_utf8(const char* path, stat_utf8* result) {
    files::Status status;
    if (!files::status(path, status)) return -1;
    *result = {status.size, status.is_directory};
    return 0;
}

std::intptr_t CreateFile_utf8(const char* path, unsigned access, unsigned sharing,
                              const void* security, unsigned creation, unsigned attributes) {
    if (sharing != 0 || security) return files::kNone;
    if (access == (access_read | access_write) && creation == open_existing &&
        attributes == attribute_normal)
        return movane::serial::open(path);
    if (access == access_write && creation == open_always && attributes == flag_no_buffering)
        return files::open_alone(path);
    return files::kNone;
}

int CopyFile_utf8(const char* path, const char* new_path, int keep_existing) {
    if (keep_existing && GetFileAttributes_utf8(new_path) != attributes_of_none) return 0;
    return files::copy(path, new_path);
}

// --- directories -------------------------------------------------------------------------------

int mkdir_utf8(const char* path) { return files::make_directory(path) ? 0 : -1; }

int rmdir_utf8(const char* path) { return files::remove_directory(path) ? 0 : -1; }

unsigned GetFileAttributes_utf8(const char* path) {
    const bool is_link   = files::is_link(path);
    files::Status status = {};
    if (!files::status(path, status) && !is_link) return attributes_of_none;
    return (status.is_read_only ? unsigned{attribute_read_only} : 0) |
           (status.is_directory ? unsigned{attribute_directory} : 0) |
           (is_link ? unsigned{attribute_link} : 0);
}

void* FindFirstFile_utf8(const char* pattern, find_data_utf8* found) {
    const movane::DirectoryOfPattern directory(pattern);
    *found = {attribute_directory, "."};
    return files::list(directory.get()).release();
}

int FindNextFile_utf8(void* search, find_data_utf8* found) {
    files::Entry entry;
    if (!files::next(*static_cast<files::Listing*>(search), entry)) return 0;
    found->attributes = (entry.is_directory ? unsigned{attribute_directory} : 0) |
                        (entry.is_link ? unsigned{attribute_link} : 0);
    const std::string_view name(entry.name);
    found->name[name.copy(found->name, sizeof found->name - 1)] = '\0';
    return 1;
}

void FindClose_utf8(void* search) {
    const files::Directory ended(static_cast<files::Listing*>(search));
}
