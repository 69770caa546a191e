// Lock files: the process that creates the file holds the lock.
//
// The holder also locks the open file and keeps it empty and read-only, so that a file left behind
// by one who died is known by not being locked. Only who has locked a file removes it, and only
// while the path still names it: two processes that clear away the same file, or one that was
// overtaken between creating and locking, notice that and hold nothing.

#include "movane/services.h"

#include "Engine/utf8_files.h"
#include "Platform/files.h"
#include "Support/memory.h"

#include <cstring>

namespace files = movane::files;
using files::Descriptor;

namespace {

constexpr std::size_t kPathSize = 256;  // bytes, terminator included

struct LockFile {
    char path[kPathSize];
    files::File file;
};

// Read-only from the first moment on, lest a holder who dies leaves a file that looks foreign.
files::File create(const char* path) {
    return open_utf8(path, open_create | open_exclusive | open_truncate | open_temporary,
                     permit_read_only);
}

bool is_leftover(const files::Status& status) {
    return status.is_plain_file && status.size == 0 && status.is_read_only;
}

// Removes a file that this process has locked, unless another has taken its place.
void remove_locked(files::File file, const char* path) {
    if (!files::is_named(file, path)) return;
    files::set_read_only(file, false);  // read-only files cannot be removed everywhere
    files::remove(file, path);
}

void clear_leftover(const char* path) {
    const Descriptor file(
        files::open(path, files::kRead | files::kNoFollow | files::kAlone | files::kRemovable));
    files::Status status;
    if (file && files::status(file.get(), status) && is_leftover(status) && files::lock(file.get()))
        remove_locked(file.get(), path);
}

}  // namespace

void* flock_get(const char* path) {
    if (std::strlen(path) >= kPathSize) return nullptr;
    Descriptor file(create(path));
    if (!file) {
        clear_leftover(path);
        file = Descriptor(create(path));
    }
    if (!file || !files::lock(file.get()) || !files::is_named(file.get(), path)) return nullptr;

    auto lock = movane::create<LockFile>();
    if (!lock) {
        remove_locked(file.get(), path);
        return nullptr;
    }
    files::set_read_only(file.get(), true);
    std::strcpy(lock->path, path);
    lock->file = file.release();
    return lock.release();
}

int flock_free(void* lock) {
    const movane::Owned<LockFile> held(static_cast<LockFile*>(lock));
    if (!held) return 0;
    remove_locked(held->file, held->path);
    files::close(held->file);
    return 0;
}
