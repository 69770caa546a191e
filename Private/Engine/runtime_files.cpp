#include "Engine/directory_pattern.h"
#include "Engine/runtime.h"
#include "Platform/files.h"
#include "Support/memory.h"

#include <cstdio>
#include <cstring>
#include <string_view>

namespace files = movane::files;
using movane::DirectoryOfPattern;

namespace {

struct FileSearch {
    files::Directory entries;
    DirectoryOfPattern directory{""};
};

}  // namespace

int ffspec(const char* pattern) {
    files::Status status;
    if (!std::strchr(pattern, '*')) return files::status(pattern, status) ? 0 : -1;
    const DirectoryOfPattern directory(pattern);
    return files::status(directory.get(), status) && status.is_directory ? 0 : -1;
}

void* fsinit(const char* pattern) {
    movane::Owned<FileSearch> search = movane::create<FileSearch>();
    if (!search) return nullptr;
    search->directory = DirectoryOfPattern(pattern);
    search->entries   = files::list(search->directory.get());
    return search->entries ? search.release() : nullptr;
}

int fsearch(void* search, char* path, int size) {
    const FileSearch& running = *static_cast<FileSearch*>(search);
    files::Entry entry;
    while (files::next(*running.entries, entry)) {
        if (entry.is_directory && !entry.is_link) continue;
        const int length = std::snprintf(path, static_cast<std::size_t>(size), "%s%s",
                                         running.directory.get(), entry.name);
        if (length < size) return 0;
    }
    return -1;
}

void fsfree(void* search) { movane::destroy(static_cast<FileSearch*>(search)); }

int fdelete(const char* path) { return files::remove(path) ? 0 : -1; }

int fclosx(std::FILE* file) { return std::fclose(file) == 0 ? 0 : -1; }
