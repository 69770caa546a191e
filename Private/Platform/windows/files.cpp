#include "Platform/files.h"

#include "Platform/windows/utf16.h"
#include "Support/memory.h"

#include <algorithm>
#include <climits>
#include <string_view>

#include <fcntl.h>
#include <io.h>

namespace movane::files {
namespace {

constexpr std::size_t kLargestTransfer = INT_MAX;  // of one runtime call, bytes

HANDLE handle_of(File file) noexcept { return reinterpret_cast<HANDLE>(_get_osfhandle(file)); }

class Handle {
public:
    explicit Handle(HANDLE handle) noexcept : handle_(handle) {}
    ~Handle() {
        if (*this) CloseHandle(handle_);
    }
    Handle(const Handle&)            = delete;
    Handle& operator=(const Handle&) = delete;

    explicit operator bool() const noexcept { return handle_ != INVALID_HANDLE_VALUE; }
    HANDLE get() const noexcept { return handle_; }
    HANDLE release() noexcept { return std::exchange(handle_, INVALID_HANDLE_VALUE); }

private:
    HANDLE handle_;
};

// For questions about a file or a directory, also one that others hold open.
HANDLE open_for_questions(const char* path, DWORD flags) noexcept {
    return CreateFileW(Utf16(path).get(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                       nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | flags, nullptr);
}

bool information(HANDLE handle, BY_HANDLE_FILE_INFORMATION& found) noexcept {
    return GetFileInformationByHandle(handle, &found) != 0;
}

Status status_of(const BY_HANDLE_FILE_INFORMATION& found) noexcept {
    const bool is_directory = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    return {.size          = static_cast<std::int64_t>(std::uint64_t{found.nFileSizeHigh} << 32 |
                                              found.nFileSizeLow),
            .is_directory  = is_directory,
            .is_plain_file = !is_directory,
            .is_read_only  = (found.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0};
}

bool is_same(const BY_HANDLE_FILE_INFORMATION& a, const BY_HANDLE_FILE_INFORMATION& b) noexcept {
    return a.dwVolumeSerialNumber == b.dwVolumeSerialNumber &&
           a.nFileIndexHigh == b.nFileIndexHigh && a.nFileIndexLow == b.nFileIndexLow;
}

// Files are emptied once they are open: CREATE_ALWAYS does not go with kNoFollow.
DWORD disposition(unsigned how) noexcept {
    if (!(how & kCreate)) return OPEN_EXISTING;
    return how & kExclusive ? CREATE_NEW : OPEN_ALWAYS;
}

}  // namespace

// --- open files ----------------------------------------------------------------------------

File open(const char* path, unsigned how) noexcept {
    DWORD access = 0, attributes = FILE_ATTRIBUTE_NORMAL;
    DWORD sharing = FILE_SHARE_READ | FILE_SHARE_WRITE;
    int flags     = _O_NOINHERIT | (how & kText ? _O_TEXT : _O_BINARY);
    if (how & kRead || !(how & kWrite)) access |= GENERIC_READ;
    if (how & kWrite) access |= GENERIC_WRITE;
    if (how & kRemovable) access |= DELETE | FILE_WRITE_ATTRIBUTES;
    if (how & kAppend) flags |= _O_APPEND;
    if (how & kNoFollow) attributes |= FILE_FLAG_OPEN_REPARSE_POINT;
    if (how & kAlone) sharing = 0;
    // The system does not make a read-only file that it is to remove afterwards.
    if (how & kTemporary)
        attributes |= FILE_FLAG_DELETE_ON_CLOSE;
    else if (how & kReadOnly)
        attributes = (attributes & ~DWORD{FILE_ATTRIBUTE_NORMAL}) | FILE_ATTRIBUTE_READONLY;

    Handle handle(CreateFileW(Utf16(path).get(), access, sharing, nullptr, disposition(how),
                              attributes, nullptr));
    BY_HANDLE_FILE_INFORMATION found;
    if (!handle) return kNone;
    if (how & kNoFollow && (!information(handle.get(), found) ||
                            found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT))
        return kNone;
    if (how & kTruncate && GetFileType(handle.get()) == FILE_TYPE_DISK &&
        !SetEndOfFile(handle.get()))
        return kNone;

    const File file = _open_osfhandle(reinterpret_cast<std::intptr_t>(handle.get()), flags);
    if (file != kNone) handle.release();
    return file;
}

File duplicate(File file) noexcept {
    const File second = _dup(file);
    if (second != kNone) SetHandleInformation(handle_of(second), HANDLE_FLAG_INHERIT, 0);
    return second;
}

bool close(File file) noexcept { return _close(file) == 0; }

std::int64_t read(File file, void* data, std::size_t size) noexcept {
    return _read(file, data, static_cast<unsigned>(std::min(size, kLargestTransfer)));
}

std::int64_t write(File file, const void* data, std::size_t size) noexcept {
    return _write(file, data, static_cast<unsigned>(std::min(size, kLargestTransfer)));
}

bool flush(File file) noexcept { return _commit(file) == 0; }

std::int64_t seek(File file, std::int64_t offset, Origin origin) noexcept {
    return _lseeki64(file, offset, static_cast<int>(origin));
}

const std::int64_t kLargestRuntimeOffset = INT32_MAX;

bool lock(File file) noexcept {
    OVERLAPPED begin = {};
    return LockFileEx(handle_of(file), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0,
                      MAXDWORD, MAXDWORD, &begin) != 0;
}

std::intptr_t open_alone(const char* path) noexcept {
    return reinterpret_cast<std::intptr_t>(CreateFileW(Utf16(path).get(), GENERIC_WRITE, 0, nullptr,
                                                       OPEN_ALWAYS, FILE_FLAG_NO_BUFFERING,
                                                       nullptr));
}

void close_alone(std::intptr_t handle) noexcept { CloseHandle(reinterpret_cast<HANDLE>(handle)); }

bool set_read_only(File file, bool on) noexcept {
    FILE_BASIC_INFO basic = {};  // times of 0 are left as they are
    basic.FileAttributes  = on ? FILE_ATTRIBUTE_READONLY : FILE_ATTRIBUTE_NORMAL;
    return SetFileInformationByHandle(handle_of(file), FileBasicInfo, &basic, sizeof basic) != 0;
}

// --- streams of the C library -----------------------------------------------------------------

std::FILE* stream(File file, const char* mode) noexcept { return _fdopen(file, mode); }

File descriptor(std::FILE* stream) noexcept { return _fileno(stream); }

bool seek(std::FILE* stream, std::int64_t offset, Origin origin) noexcept {
    return _fseeki64(stream, offset, static_cast<int>(origin)) == 0;
}

std::int64_t tell(std::FILE* stream) noexcept { return _ftelli64(stream); }

// --- what a path names ------------------------------------------------------------------------

bool status(const char* path, Status& result) noexcept {
    const Handle handle(open_for_questions(path, 0));
    BY_HANDLE_FILE_INFORMATION found;
    if (!handle || !information(handle.get(), found)) return false;
    result = status_of(found);
    return true;
}

bool status(File file, Status& result) noexcept {
    BY_HANDLE_FILE_INFORMATION found;
    if (!information(handle_of(file), found)) return false;
    result = status_of(found);
    return true;
}

bool is_link(const char* path) noexcept {
    const DWORD attributes = GetFileAttributesW(Utf16(path).get());
    return attributes != INVALID_FILE_ATTRIBUTES && attributes & FILE_ATTRIBUTE_REPARSE_POINT;
}

bool is_same(const char* path, const char* other_path) noexcept {
    const Handle handle(open_for_questions(path, 0)),
        other_handle(open_for_questions(other_path, 0));
    BY_HANDLE_FILE_INFORMATION found, other;
    return handle && other_handle && information(handle.get(), found) &&
           information(other_handle.get(), other) && is_same(found, other);
}

bool is_named(File file, const char* path) noexcept {
    const Handle handle(open_for_questions(path, FILE_FLAG_OPEN_REPARSE_POINT));
    BY_HANDLE_FILE_INFORMATION open_file, named;
    return handle && information(handle_of(file), open_file) && information(handle.get(), named) &&
           is_same(open_file, named);
}

// --- changes of the tree ------------------------------------------------------------------------

bool remove(const char* path) noexcept { return DeleteFileW(Utf16(path).get()) != 0; }

bool remove(File file, const char*) noexcept {
    FILE_DISPOSITION_INFO disposition = {};
    disposition.DeleteFile            = TRUE;
    return SetFileInformationByHandle(handle_of(file), FileDispositionInfo, &disposition,
                                      sizeof disposition) != 0;
}

bool rename(const char* path, const char* new_path) noexcept {
    return MoveFileExW(Utf16(path).get(), Utf16(new_path).get(), MOVEFILE_REPLACE_EXISTING) != 0;
}

bool copy(const char* path, const char* new_path) noexcept {
    return !is_same(path, new_path) &&
           CopyFileW(Utf16(path).get(), Utf16(new_path).get(), FALSE) != 0;
}

bool make_directory(const char* path) noexcept {
    return CreateDirectoryW(Utf16(path).get(), nullptr) != 0;
}

bool remove_directory(const char* path) noexcept {
    return !is_link(path) && RemoveDirectoryW(Utf16(path).get()) != 0;
}

// --- listing ------------------------------------------------------------------------------------

struct Listing {
    HANDLE entries          = INVALID_HANDLE_VALUE;
    bool is_first           = true;  // the first entry is found by beginning
    WIN32_FIND_DATAW found  = {};
    char name[3 * MAX_PATH] = "";  // UTF-8 takes at most three bytes for a unit of UTF-16

    ~Listing() {
        if (entries != INVALID_HANDLE_VALUE) FindClose(entries);
    }
};

void EndListing::operator()(Listing* listing) const noexcept { destroy(listing); }

Directory list(const char* path) noexcept {
    Directory listing(create<Listing>().release());
    Utf16 pattern(path);
    if (!listing || !pattern.append(L"\\*")) return nullptr;
    listing->entries = FindFirstFileW(pattern.get(), &listing->found);
    return listing->entries != INVALID_HANDLE_VALUE ? std::move(listing) : nullptr;
}

bool next(Listing& listing, Entry& entry) noexcept {
    while (std::exchange(listing.is_first, false) ||
           FindNextFileW(listing.entries, &listing.found)) {
        const std::wstring_view name = listing.found.cFileName;
        if (name == L"." || name == L"..") continue;

        to_utf8(listing.found.cFileName, listing.name, sizeof listing.name);
        const DWORD attributes = listing.found.dwFileAttributes;
        entry                  = {.name         = listing.name,
                                  .is_directory = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0,
                                  .is_link      = (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0};
        return true;
    }
    return false;
}

}  // namespace movane::files
