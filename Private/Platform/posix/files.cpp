// Offsets of 64 bits on 32-bit systems, too.
#define _FILE_OFFSET_BITS 64

#include "Platform/files.h"

#include "Support/memory.h"

#include <cerrno>
#include <climits>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace movane::files {
namespace {

constexpr mode_t kReadableByAll = 0444;
constexpr mode_t kWritableByAll = 0222;  // less what the process's umask takes away

constexpr std::size_t kChunkSize = 16384;  // bytes copied at a time

// A path as the system takes it.
class NativePath {
public:
    explicit NativePath(const char* path) noexcept {
        const std::size_t length = std::strlen(path);
        is_valid_                = length < sizeof text_;
        if (!is_valid_) return;
        std::memcpy(text_, path, length + 1);
        for (char& c : text_) {
            if (c == '\0') break;
            if (c == '\\') c = '/';
        }
    }

    // An over-long path becomes one that names nothing.
    const char* get() const noexcept { return is_valid_ ? text_ : ""; }

private:
    bool is_valid_;
    char text_[PATH_MAX];
};

template <class Call>
auto uninterrupted(Call call) noexcept {
    auto result = call();
    while (result == -1 && errno == EINTR) result = call();
    return result;
}

Status status_of(const struct stat& found) noexcept {
    return {.size          = found.st_size,
            .is_directory  = S_ISDIR(found.st_mode),
            .is_plain_file = S_ISREG(found.st_mode),
            .is_read_only  = (found.st_mode & kWritableByAll) == 0};
}

bool is_same(const struct stat& a, const struct stat& b) noexcept {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool copy_bytes(File source, File target) noexcept {
    char chunk[kChunkSize];
    for (;;) {
        const std::int64_t size = read(source, chunk, sizeof chunk);
        if (size <= 0) return size == 0;
        if (!write_all(target, chunk, static_cast<std::size_t>(size))) return false;
    }
}

}  // namespace

// --- open files ----------------------------------------------------------------------------

File open(const char* path, unsigned how) noexcept {
    int flags = O_CLOEXEC | O_NOCTTY;
    if (how & kWrite) flags |= how & kRead ? O_RDWR : O_WRONLY;
    if (how & kAppend) flags |= O_APPEND;
    if (how & kCreate) flags |= O_CREAT;
    if (how & kExclusive) flags |= O_EXCL;
    if (how & kTruncate) flags |= O_TRUNC;
    // What stands there is not trusted then: it may be a pipe that would wait for its other end.
    if (how & kNoFollow) flags |= O_NOFOLLOW | O_NONBLOCK;
    if (how & kNoWait) flags |= O_NONBLOCK;
    const mode_t mode = how & kReadOnly ? kReadableByAll : kReadableByAll | kWritableByAll;

    const NativePath native(path);
    Descriptor file(uninterrupted([&] { return ::open(native.get(), flags, mode); }));
    struct stat found;
    if (!file || ::fstat(file.get(), &found) != 0 || S_ISDIR(found.st_mode)) return kNone;
    return file.release();
}

File duplicate(File file) noexcept { return ::fcntl(file, F_DUPFD_CLOEXEC, 0); }

// Not repeated when interrupted: the descriptor is gone then, and may be another file's by now.
bool close(File file) noexcept { return ::close(file) == 0 || errno == EINTR; }

std::int64_t read(File file, void* data, std::size_t size) noexcept {
    return uninterrupted([&] { return ::read(file, data, size); });
}

std::int64_t write(File file, const void* data, std::size_t size) noexcept {
    return uninterrupted([&] { return ::write(file, data, size); });
}

bool flush(File file) noexcept {
    return uninterrupted([&] { return ::fsync(file); }) == 0;
}

std::int64_t seek(File file, std::int64_t offset, Origin origin) noexcept {
    return ::lseek(file, offset, static_cast<int>(origin));
}

const std::int64_t kLargestRuntimeOffset = INT64_MAX;

bool lock(File file) noexcept {
    return uninterrupted([&] { return ::flock(file, LOCK_EX | LOCK_NB); }) == 0;
}

std::intptr_t open_alone(const char* path) noexcept {
    Descriptor file(open(path, kWrite | kCreate));
    return file && lock(file.get()) ? file.release() : kNone;
}

void close_alone(std::intptr_t handle) noexcept { close(static_cast<File>(handle)); }

bool set_read_only(File file, bool on) noexcept {
    struct stat found;
    if (::fstat(file, &found) != 0) return false;
    const mode_t mode = found.st_mode & ALLPERMS & ~kWritableByAll;
    return ::fchmod(file, on ? mode : mode | S_IWUSR) == 0;
}

// --- streams of the C library -----------------------------------------------------------------

std::FILE* stream(File file, const char* mode) noexcept { return ::fdopen(file, mode); }

File descriptor(std::FILE* stream) noexcept { return ::fileno(stream); }

bool seek(std::FILE* stream, std::int64_t offset, Origin origin) noexcept {
    return ::fseeko(stream, offset, static_cast<int>(origin)) == 0;
}

std::int64_t tell(std::FILE* stream) noexcept { return ::ftello(stream); }

// --- what a path names ------------------------------------------------------------------------

bool status(const char* path, Status& result) noexcept {
    struct stat found;
    if (::stat(NativePath(path).get(), &found) != 0) return false;
    result = status_of(found);
    return true;
}

bool status(File file, Status& result) noexcept {
    struct stat found;
    if (::fstat(file, &found) != 0) return false;
    result = status_of(found);
    return true;
}

bool is_link(const char* path) noexcept {
    struct stat found;
    return ::lstat(NativePath(path).get(), &found) == 0 && S_ISLNK(found.st_mode);
}

bool is_same(const char* path, const char* other_path) noexcept {
    struct stat found, other;
    return ::stat(NativePath(path).get(), &found) == 0 &&
           ::stat(NativePath(other_path).get(), &other) == 0 && is_same(found, other);
}

bool is_named(File file, const char* path) noexcept {
    struct stat open_file, named;
    return ::fstat(file, &open_file) == 0 && ::lstat(NativePath(path).get(), &named) == 0 &&
           is_same(open_file, named);
}

// --- changes of the tree ------------------------------------------------------------------------

bool remove(const char* path) noexcept { return ::unlink(NativePath(path).get()) == 0; }

bool remove(File, const char* path) noexcept { return remove(path); }

bool rename(const char* path, const char* new_path) noexcept {
    return ::rename(NativePath(path).get(), NativePath(new_path).get()) == 0;
}

bool copy(const char* path, const char* new_path) noexcept {
    if (is_same(path, new_path)) return false;
    const Descriptor source(open(path, kRead | kNoWait));
    struct stat found;
    if (!source || ::fstat(source.get(), &found) != 0 || !S_ISREG(found.st_mode)) return false;

    const NativePath native(new_path);
    Descriptor target(uninterrupted([&] {
        return ::open(native.get(),
                      O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOCTTY | O_NONBLOCK,
                      found.st_mode & ACCESSPERMS);
    }));
    if (!target || ::fstat(target.get(), &found) != 0 || !S_ISREG(found.st_mode)) return false;
    const bool is_complete = copy_bytes(source.get(), target.get());
    if (target.close() && is_complete) return true;
    remove(new_path);
    return false;
}

bool make_directory(const char* path) noexcept {
    return ::mkdir(NativePath(path).get(), ACCESSPERMS) == 0;
}

bool remove_directory(const char* path) noexcept { return ::rmdir(NativePath(path).get()) == 0; }

// --- listing ------------------------------------------------------------------------------------

struct Listing {
    DIR* entries = nullptr;

    ~Listing() {
        if (entries) ::closedir(entries);
    }
};

void EndListing::operator()(Listing* listing) const noexcept { destroy(listing); }

Directory list(const char* path) noexcept {
    Directory listing(create<Listing>().release());
    if (listing) listing->entries = ::opendir(NativePath(path).get());
    return listing && listing->entries ? std::move(listing) : nullptr;
}

bool next(Listing& listing, Entry& entry) noexcept {
    while (const dirent* found = ::readdir(listing.entries)) {
        const char* name = found->d_name;
        if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0) continue;

        const int directory = ::dirfd(listing.entries);
        struct stat itself, target;
        if (::fstatat(directory, name, &itself, AT_SYMLINK_NOFOLLOW) != 0) continue;
        const bool leads_somewhere = ::fstatat(directory, name, &target, 0) == 0;
        entry                      = {.name         = name,
                                      .is_directory = leads_somewhere && S_ISDIR(target.st_mode),
                                      .is_link      = S_ISLNK(itself.st_mode)};
        return true;
    }
    return false;
}

}  // namespace movane::files
