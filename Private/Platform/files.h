// What the library asks of a file system. posix/files.cpp and windows/files.cpp answer, in the
// order of this page.
//
// Paths are UTF-8. Both "\" and "/" separate levels on every system; names that come back hold
// neither. Nothing opened here is inherited by a process that the host starts, and calls that a
// signal interrupts are repeated. A call that fails says so by its result only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <utility>

namespace movane::files {

/// A descriptor of the C runtime.
using File           = int;
constexpr File kNone = -1;

// --- open files ----------------------------------------------------------------------------

/// How to open a file; combined with "|". A file is a sequence of bytes unless kText is given.
enum Open : unsigned {
    kRead      = 1,
    kWrite     = 2,
    kAppend    = 4,     // every write goes to the end
    kCreate    = 8,     // a missing file is made
    kExclusive = 16,    // with kCreate: an existing one is a failure, a link to nowhere included
    kTruncate  = 32,    // an existing file is emptied
    kText      = 64,    // line ends are translated, where the system does that
    kNoFollow  = 128,   // a path that ends at a symbolic link is refused
    kReadOnly  = 256,   // a file that is made can only be opened for reading from then on
    kAlone     = 512,   // shared with no other open file, where the system offers that
    kRemovable = 1024,  // set_read_only() and remove(File, path) will be called
    kTemporary = 2048,  // removed with its last descriptor, where the system offers that
    kNoWait    = 4096   // neither opening nor reading waits for another end, where they would
};

/// Opens a file; a directory cannot be opened.
///
/// @return  a descriptor to close(); kNone on failure
[[nodiscard]] File open(const char* path, unsigned how) noexcept;

/// A second descriptor of the same open file: both share one position and one lock.
[[nodiscard]] File duplicate(File file) noexcept;

bool close(File file) noexcept;

/// Owns a descriptor.
class Descriptor {
public:
    explicit Descriptor(File file) noexcept : file_(file) {}
    ~Descriptor() { close(); }
    Descriptor(Descriptor&& other) noexcept : file_(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(file_, other.file_);
        return *this;
    }

    explicit operator bool() const noexcept { return file_ != kNone; }
    [[nodiscard]] File get() const noexcept { return file_; }
    File release() noexcept { return std::exchange(file_, kNone); }
    bool close() noexcept { return file_ == kNone || files::close(release()); }

private:
    File file_;
};

/// @return  bytes read, at most `size`; 0 at the end of the file; -1 on failure
[[nodiscard]] std::int64_t read(File file, void* data, std::size_t size) noexcept;

/// @return  bytes written, which may be fewer than `size`; -1 on failure
[[nodiscard]] std::int64_t write(File file, const void* data, std::size_t size) noexcept;

/// Writes all of it; false when that fails on the way.
inline bool write_all(File file, const void* data, std::size_t size) noexcept {
    for (const auto* next = static_cast<const char*>(data); size > 0;) {
        const std::int64_t written = write(file, next, size);
        if (written <= 0) return false;
        next += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

/// Waits until what was written is on the medium.
bool flush(File file) noexcept;

enum class Origin { begin = SEEK_SET, current = SEEK_CUR, end = SEEK_END };

/// @return  the new position in bytes from the begin; -1 on failure
std::int64_t seek(File file, std::int64_t offset, Origin origin) noexcept;

/// The largest offset that the C runtime's own seek call takes on this system.
extern const std::int64_t kLargestRuntimeOffset;

/// Takes an exclusive lock on the whole of an open file without waiting. The lock belongs to the
/// open file, not to the process, and ends with the last descriptor of it.
///
/// @return  false when another open of the file holds it
[[nodiscard]] bool lock(File file) noexcept;

/// Opens a file, which is made when it is missing, for as long as no other opening of this kind
/// shares it.
///
/// @return  a handle of the system for close_alone(); kNone on failure
[[nodiscard]] std::intptr_t open_alone(const char* path) noexcept;

void close_alone(std::intptr_t handle) noexcept;

/// Makes an open file read-only for later opens, or ends that.
bool set_read_only(File file, bool on) noexcept;

// --- streams of the C library -----------------------------------------------------------------

/// Makes a stream of a descriptor, which the stream's std::fclose() then closes.
///
/// @param mode  as of std::fopen(), fitting the way in which the file was opened
/// @return      null on failure; the descriptor is still the caller's then
[[nodiscard]] std::FILE* stream(File file, const char* mode) noexcept;

/// The descriptor under a stream, which keeps it.
[[nodiscard]] File descriptor(std::FILE* stream) noexcept;

bool seek(std::FILE* stream, std::int64_t offset, Origin origin) noexcept;

/// @return  position in bytes from the begin; -1 on failure
[[nodiscard]] std::int64_t tell(std::FILE* stream) noexcept;

// --- what a path names ------------------------------------------------------------------------

struct Status {
    std::int64_t size;  // bytes
    bool is_directory;
    bool is_plain_file;
    bool is_read_only;
};

/// Symbolic links are followed.
bool status(const char* path, Status& result) noexcept;
bool status(File file, Status& result) noexcept;

/// True for a symbolic link, also one that leads nowhere.
[[nodiscard]] bool is_link(const char* path) noexcept;

/// True when both paths exist and lead to one and the same file or directory.
[[nodiscard]] bool is_same(const char* path, const char* other_path) noexcept;

/// True when the path itself, not a link at its end, names the open file.
[[nodiscard]] bool is_named(File file, const char* path) noexcept;

// --- changes of the tree ------------------------------------------------------------------------

/// Removes a file, or a symbolic link itself.
bool remove(const char* path) noexcept;

/// Removes an open file that was opened with kRemovable, is not read-only, and is named by `path`.
bool remove(File file, const char* path) noexcept;

/// Gives a file a new name in the same file system; a file of that name is replaced.
bool rename(const char* path, const char* new_path) noexcept;

/// Copies the contents of a plain file; a file of the new name is replaced, a file is never
/// copied onto itself.
bool copy(const char* path, const char* new_path) noexcept;

bool make_directory(const char* path) noexcept;

/// Removes an empty directory, not a link to one.
bool remove_directory(const char* path) noexcept;

// --- listing ------------------------------------------------------------------------------------

struct Entry {
    const char* name;   // without the directory; valid until the next entry is asked for
    bool is_directory;  // also of a link that leads to a directory
    bool is_link;
};

/// A directory that is being listed.
struct Listing;

struct EndListing {
    void operator()(Listing* listing) const noexcept;
};
using Directory = std::unique_ptr<Listing, EndListing>;

/// Begins to list a directory: its entries in the order of the file system, without "." and "..".
///
/// @return  null when there is no such directory, or no memory
[[nodiscard]] Directory list(const char* path) noexcept;

/// @return  false at the end
bool next(Listing& listing, Entry& entry) noexcept;

}  // namespace movane::files
