// Archives: files one after another in one file.
//
// What an archive says is not trusted: names are read into bounded fields, sizes are held against
// what is left of the file before anything is allocated or created, and names that could lead out
// of the output directory are refused. Data pass through one small buffer.

#include "movane/services.h"

#include "movane/foundation.h"

#include "Engine/utf8_files.h"
#include "Platform/files.h"
#include "Source/entry_name.h"
#include "Support/memory.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>

namespace files = movane::files;

namespace {

enum Code {
    kNoError,
    kInvalidMode,
    kCannotOpen,
    kCannotCreate,
    kNotOpened,
    kNotAnArchive,
    kNoMemory,
    kCannotWrite,
    kCannotRead,
    kUndocumented
};

constexpr const char* kTexts[] = {"No error",
                                  "Invalid mode supplied",
                                  "Cannot open file",
                                  "Cannot create archive",
                                  "Archive not opened",
                                  "Not a FilePacker archive",
                                  "Not enough memory",
                                  "Cannot write output file",
                                  "Cannot read from file",
                                  "Undocumented error"};

constexpr int kNotOpen           = -1;  // the mode without an open archive
constexpr char kMagic[]          = "QZFP";
constexpr char kVersion[]        = "ver1.0";
constexpr char kReserved[128]    = {};
constexpr int kDescriptionOffset = sizeof kMagic + sizeof kVersion + sizeof kReserved;
constexpr char kEndMark[]        = "@END";

constexpr int kNameSize          = 200;    // bytes of an entry's name, terminator included
constexpr int kSlotSize          = 500;    // of the list of written names
constexpr int kSlots             = 50;     // at first, and at each growth
constexpr int kErrorTextSize     = 128;    // what GetError() fills at most
constexpr std::size_t kChunkSize = 65536;  // bytes of data on their way

struct CloseStream {
    void operator()(std::FILE* stream) const noexcept { movane_cdlclose_file(stream); }
};
using Stream = std::unique_ptr<std::FILE, CloseStream>;

// --- names -----------------------------------------------------------------------------------

template <std::size_t size>
void copy_cut(char (&field)[size], const char* text) {
    const std::string_view source(text ? text : "");
    field[source.copy(field, size - 1)] = '\0';
}

int differ(const void* name, const void* other) {
    return std::strcmp(static_cast<const char*>(name), static_cast<const char*>(other));
}

bool can_be_stored(const char* name) {
    return name && *name != '\0' && std::strlen(name) < kNameSize;
}

movane::Block<char> output_path(const char* directory, const char* name) {
    const std::size_t length = std::strlen(directory), name_size = std::strlen(name) + 1;
    auto path = movane::make_block<char>(length + 1 + name_size);
    if (!path) return path;
    std::memcpy(path.get(), directory, length);
    path[length] = '\\';
    std::replace_copy(name, name + name_size, path.get() + length + 1, '/', '\\');
    return path;
}

// --- bytes -----------------------------------------------------------------------------------

enum class Text { complete, longer, cut_by_end, unreadable };

// What was read is terminated in every case.
Text read_text(std::FILE* stream, char* text, int size) {
    for (int i = 0; i < size; ++i) {
        const int c = std::getc(stream);
        text[i]     = c == EOF ? '\0' : static_cast<char>(c);
        if (c == EOF) return std::feof(stream) ? Text::cut_by_end : Text::unreadable;
        if (c == '\0') return Text::complete;
    }
    text[size - 1] = '\0';
    return Text::longer;
}

bool skip_text(std::FILE* stream) {
    for (;;) {
        const int c = std::getc(stream);
        if (c == '\0' || c == EOF) return c == '\0';
    }
}

// A failed call leaves no mark on the stream: whether its end was reached is asked later.
bool write_bytes(std::FILE* stream, const char* data, std::size_t size) {
    if (std::fwrite(data, 1, size, stream) == size) return true;
    std::clearerr(stream);
    return false;
}

std::size_t next_chunk(long left) { return std::min(static_cast<std::size_t>(left), kChunkSize); }

void remove_partial(files::Descriptor& file, const char* path) {
    files::Status status;
    const bool is_plain = files::status(file.get(), status) && status.is_plain_file;
    file.close();
    if (is_plain) files::remove(path);
}

}  // namespace

// --- life cycle ------------------------------------------------------------------------------

FilePacker::FilePacker(const char* archive_name, int mode, const char* description)
    : stream_(nullptr),
      names_(nullptr),
      mode_(kNotOpen),
      entry_(nullptr),
      data_start_(0),
      next_sharer_(this) {
    ThrowError(kNoError, nullptr);
    copy_cut(description_, description);
    copy_cut(archive_name_, archive_name);

    const char* const path = archive_name ? archive_name : "";
    int failure            = 0;
    if (mode == mode_read) {
        failure = OpenForReading(path);
    } else if (mode == mode_write) {
        failure = OpenForWriting(path);
    } else {
        failure = ThrowError(kInvalidMode, nullptr);
    }
    if (failure) {
        Release();
    } else {
        mode_ = mode;
    }
}

int FilePacker::OpenForReading(const char* path) {
    stream_ = fopen_utf8(path, "rb");
    if (!stream_) return ThrowError(kCannotOpen, archive_name_);

    char magic[sizeof kMagic] = "";
    const bool is_archive     = std::fread(magic, 1, sizeof magic, stream_) == sizeof magic &&
                            std::memcmp(magic, kMagic, sizeof magic) == 0 &&
                            files::seek(stream_, kDescriptionOffset, files::Origin::begin);
    if (!is_archive) return ThrowError(kNotAnArchive, archive_name_);

    const Text end        = read_text(stream_, description_, sizeof description_);
    const bool is_whole   = end == Text::complete || (end == Text::longer && skip_text(stream_));
    const auto data_start = files::tell(stream_);
    if (!is_whole || data_start > std::numeric_limits<long>::max())
        return ThrowError(kNotAnArchive, archive_name_);
    data_start_ = static_cast<long>(data_start);
    return kNoError;
}

int FilePacker::OpenForWriting(const char* path) {
    names_ = list_new(kSlots, kSlotSize, nullptr);
    if (!names_) return ThrowError(kNoMemory, nullptr);
    stream_ = fopen_utf8(path, "wb");
    if (!stream_) return ThrowError(kCannotCreate, archive_name_);

    const bool is_written = write_bytes(stream_, kMagic, sizeof kMagic) &&
                            write_bytes(stream_, kVersion, sizeof kVersion) &&
                            write_bytes(stream_, kReserved, sizeof kReserved) &&
                            write_bytes(stream_, description_, std::strlen(description_) + 1);
    return is_written ? EndEntry() : ThrowError(kCannotWrite, archive_name_);
}

FilePacker::FilePacker(const FilePacker& other) { ShareWith(other); }

FilePacker& FilePacker::operator=(const FilePacker& other) {
    if (this == &other) return *this;
    Release();
    ShareWith(other);
    return *this;
}

FilePacker::~FilePacker() { Release(); }

void FilePacker::ShareWith(const FilePacker& other) {
    stream_ = other.stream_;
    names_  = other.names_;
    mode_   = other.mode_;
    code_   = other.code_;
    copy_cut(text_, other.text_);
    copy_cut(description_, other.description_);
    copy_cut(archive_name_, other.archive_name_);
    entry_             = other.entry_;
    data_start_        = other.data_start_;
    next_sharer_       = other.next_sharer_;
    other.next_sharer_ = this;
}

// Leaves the ring; the last one gives everything back.
void FilePacker::Release() {
    const FilePacker* before = this;
    while (before->next_sharer_ != this) before = before->next_sharer_;
    if (before == this) {
        movane_cdlclose_file(stream_);
        list_kill(names_);
        movane::release(entry_);
    }
    before->next_sharer_ = next_sharer_;
    next_sharer_         = this;
    stream_              = nullptr;
    names_               = nullptr;
    entry_               = nullptr;
}

// --- state -----------------------------------------------------------------------------------

int FilePacker::ThrowError(int code, const char* info) {
    const bool is_listed = code >= kNoError && code <= kUndocumented;
    std::snprintf(text_, sizeof text_, "%s%s%s", kTexts[is_listed ? code : kUndocumented],
                  info ? ": " : "", info ? info : "");
    code_ = code;
    return code;
}

int FilePacker::GetError(char* text) {
    if (text) std::snprintf(text, kErrorTextSize, "FilePacker error %d: %s", code_, text_);
    return code_;
}

int FilePacker::GetDescription(char* text) {
    std::strcpy(text, description_);
    return 0;
}

// --- writing ---------------------------------------------------------------------------------

int FilePacker::AddFile(const char* file_path, const char* entry_name) {
    if (mode_ != mode_write) return ThrowError(kInvalidMode, nullptr);
    const char* const name = entry_name ? entry_name : file_path;
    if (!can_be_stored(name)) return ThrowError(kCannotWrite, archive_name_);
    if (list_search_el(names_, name, differ) >= 0) return kNoError;

    if (!file_path) file_path = "";
    const Stream file(fopen_utf8(file_path, "rb"));
    if (!file) return ThrowError(kCannotOpen, file_path);
    const long long size = movane_cdlget_file_size(file.get());
    if (size < 0 || size > INT32_MAX) return ThrowError(kCannotRead, file_path);
    const auto chunk = movane::make_block<char>(kChunkSize);
    if (!chunk) return ThrowError(kNoMemory, nullptr);

    char stored_name[kNameSize];
    copy_cut(stored_name, name);
    ReplaceChar(stored_name, '/', '\\');
    long left = static_cast<long>(size);
    if (WriteEntryHeader(stored_name, name, left)) return code_;
    while (left > 0) {
        const std::size_t part = next_chunk(left);
        if (std::fread(chunk.get(), 1, part, file.get()) != part) {
            std::fflush(stream_);
            return ThrowError(kCannotRead, file_path);
        }
        if (!write_bytes(stream_, chunk.get(), part))
            return ThrowError(kCannotWrite, archive_name_);
        left -= static_cast<long>(part);
    }
    return EndEntry();
}

int FilePacker::AddFileAsBuffer(const char* data, long size, const char* entry_name) {
    if (mode_ != mode_write) return ThrowError(kInvalidMode, nullptr);
    if (!can_be_stored(entry_name) || size < 0 || size > INT32_MAX)
        return ThrowError(kCannotWrite, archive_name_);
    if (list_search_el(names_, entry_name, differ) >= 0) return kNoError;

    char stored_name[kNameSize];
    copy_cut(stored_name, entry_name);
    ReplaceChar(stored_name, '/', '\\');
    if (WriteEntryHeader(stored_name, stored_name, size)) return code_;
    if (!write_bytes(stream_, data, static_cast<std::size_t>(size)))
        return ThrowError(kCannotWrite, archive_name_);
    return EndEntry();
}

// Records the name first, so that an entry without room for its name is not begun.
int FilePacker::WriteEntryHeader(const char* stored_name, const char* recorded_name, long size) {
    char slot[kSlotSize] = "";
    copy_cut(slot, recorded_name);
    const int position = list_insert(names_, slot);
    if (position < 0) return ThrowError(kNoMemory, nullptr);
    if (WriteString(stored_name) == 0 && WriteLong(size) == 0) return kNoError;
    list_rem_element(names_, position);
    return code_;
}

int FilePacker::EndEntry() {
    return std::fflush(stream_) == 0 ? kNoError : ThrowError(kCannotWrite, archive_name_);
}

// --- reading ---------------------------------------------------------------------------------

int FilePacker::Unpack(const char* directory) {
    if (mode_ != mode_read) return ThrowError(kInvalidMode, nullptr);
    if (!files::seek(stream_, data_start_, files::Origin::begin))
        return ThrowError(kNotAnArchive, archive_name_);
    char name[kNameSize];
    int code;
    do {
        code = UnpackFile(directory, name);
    } while (code == kNoError);
    return code == kUndocumented ? ThrowError(kNoError, nullptr) : code;
}

int FilePacker::UnpackFile(const char* directory, char* entry_name) {
    if (mode_ != mode_read) return ThrowError(kInvalidMode, nullptr);
    char name[kNameSize];
    long size;
    if (ReadEntryName(name)) return code_;
    std::strcpy(entry_name, name);
    if (ReadEntrySize(&size)) return code_;

    const std::int64_t next_entry = files::tell(stream_) + size;
    const int code                = movane::stays_inside(name) ? Extract(directory, name, size)
                                                               : ThrowError(kNotAnArchive, archive_name_);
    if (code) files::seek(stream_, next_entry, files::Origin::begin);
    return code;
}

int FilePacker::Extract(const char* directory, const char* name, long size) {
    const auto path  = output_path(directory, name);
    const auto chunk = movane::make_block<char>(kChunkSize);
    if (!path || !chunk) return ThrowError(kNoMemory, nullptr);

    // Emptying the archive itself would lose all that is still to be read.
    if (files::is_named(files::descriptor(stream_), path.get()))
        return ThrowError(kCannotOpen, path.get());
    files::Descriptor file(files::open(
        path.get(), files::kWrite | files::kCreate | files::kTruncate | files::kNoFollow));
    if (!file) return ThrowError(kCannotOpen, path.get());
    for (long left = size; left > 0;) {
        const std::size_t part = next_chunk(left);
        if (std::fread(chunk.get(), 1, part, stream_) != part) {
            remove_partial(file, path.get());
            return ThrowError(kNotAnArchive, archive_name_);
        }
        if (!files::write_all(file.get(), chunk.get(), part))
            return ThrowError(kCannotWrite, path.get());
        left -= static_cast<long>(part);
    }
    return file.close() ? kNoError : ThrowError(kCannotWrite, path.get());
}

int FilePacker::UnpackFileAsBuffer(char** data, long* size, char* entry_name) {
    *data = nullptr;
    *size = 0;
    if (mode_ != mode_read) return ThrowError(kInvalidMode, nullptr);
    char name[kNameSize];
    if (ReadEntryName(name)) return code_;
    if (strncmp_ci(name, kEndMark, sizeof kEndMark - 1) == 0) return kUndocumented;
    std::strcpy(entry_name, name);
    if (ReadEntrySize(size)) return code_;

    const auto bytes              = static_cast<std::size_t>(*size);
    const std::int64_t next_entry = files::tell(stream_) + *size;
    movane::release(entry_);
    auto entry = movane::make_block<char>(bytes + 1);
    int code   = entry ? kNoError : ThrowError(kNoMemory, nullptr);
    if (entry && std::fread(entry.get(), 1, bytes, stream_) != bytes) {
        code = ThrowError(kNotAnArchive, archive_name_);
        entry.reset();
    }
    if (entry) {
        entry[bytes] = '\0';
    } else {
        files::seek(stream_, next_entry, files::Origin::begin);
    }
    entry_ = *data = entry.release();
    for (const FilePacker* sharer = next_sharer_; sharer != this; sharer = sharer->next_sharer_)
        sharer->entry_ = entry_;
    return code;
}

// A name that the file cuts off is no entry.
int FilePacker::ReadEntryName(char* name) {
    switch (read_text(stream_, name, kNameSize)) {
        case Text::complete:
            return kNoError;
        case Text::cut_by_end:
            return ThrowError(kUndocumented, nullptr);
        case Text::longer:
        case Text::unreadable:
            break;
    }
    return GiveUp();
}

int FilePacker::ReadEntrySize(long* size) {
    long found;
    if (ReadLong(&found)) return code_;
    const std::int64_t left = movane_cdlget_file_size(stream_) - files::tell(stream_);
    if (found < 0 || found > left) return GiveUp();
    *size = found;
    return kNoError;
}

// Where the next entry begins cannot be known.
int FilePacker::GiveUp() {
    files::seek(stream_, 0, files::Origin::end);
    return ThrowError(kNotAnArchive, archive_name_);
}

// --- raw access ------------------------------------------------------------------------------
// The mode is asked before the stream: some C runtimes write into the buffer of a stream that
// reads, and the reverse, and call it a success.

int FilePacker::ReadString(char* text) {
    if (!stream_) return ThrowError(kNotOpened, archive_name_);
    text[0] = '\0';
    const bool is_complete =
        mode_ == mode_read && read_text(stream_, text, kNameSize) == Text::complete;
    return is_complete ? kNoError : ThrowError(kNotAnArchive, archive_name_);
}

int FilePacker::WriteString(const char* text) {
    if (!stream_) return ThrowError(kNotOpened, archive_name_);
    const bool is_written =
        mode_ == mode_write && write_bytes(stream_, text, std::strlen(text) + 1);
    return is_written ? kNoError : ThrowError(kCannotWrite, archive_name_);
}

int FilePacker::ReadBinaryData(char* data, int size) {
    if (!stream_) return ThrowError(kNotOpened, archive_name_);
    const auto bytes   = static_cast<std::size_t>(std::max(size, 0));
    data[0]            = '\0';
    const bool is_read = mode_ == mode_read && std::fread(data, 1, bytes, stream_) == bytes;
    return is_read ? kNoError : ThrowError(kNotAnArchive, archive_name_);
}

int FilePacker::WriteBinaryData(const char* data, int size) {
    if (!stream_) return ThrowError(kNotOpened, archive_name_);
    const bool is_written = mode_ == mode_write &&
                            write_bytes(stream_, data, static_cast<std::size_t>(std::max(size, 0)));
    return is_written ? kNoError : ThrowError(kCannotWrite, archive_name_);
}

int FilePacker::ReadUpTo(char* buffer, int size, const char* delimiter) {
    if (!stream_) return ThrowError(kNotOpened, archive_name_);
    if (mode_ != mode_read) return ThrowError(kNotAnArchive, archive_name_);
    const std::size_t length = std::strlen(delimiter);
    if (buffer && size > 0) {
        const auto room = static_cast<std::size_t>(size);
        std::memset(buffer, 0, room);
        for (std::size_t stored = 0; stored < room;) {
            const int c = std::getc(stream_);
            if (c == EOF) return ThrowError(kNotAnArchive, archive_name_);
            buffer[stored++] = static_cast<char>(c);
            if (stored < length || std::memcmp(buffer + stored - length, delimiter, length) != 0)
                continue;
            std::getc(stream_);
            break;
        }
        return kNoError;
    }

    // The latest bytes, the newest last, and before them one that drops out next.
    const auto window = movane::make_zeroed_block<char>(length + 1);
    if (!window) return ThrowError(kNoMemory, nullptr);
    do {
        const int c = std::getc(stream_);
        if (c == EOF) return ThrowError(kNotAnArchive, archive_name_);
        std::memmove(window.get(), window.get() + 1, length);
        window[length] = static_cast<char>(c);
    } while (std::memcmp(window.get() + 1, delimiter, length) != 0);
    std::getc(stream_);
    return kNoError;
}

int FilePacker::ReadLong(long* value) {
    unsigned char bytes[4];
    if (ReadBinaryData(reinterpret_cast<char*>(bytes), sizeof bytes)) return code_;
    std::uint32_t bits = 0;
    for (int i = 3; i >= 0; --i) bits = bits << 8 | bytes[i];
    *value = static_cast<std::int32_t>(bits);
    return kNoError;
}

int FilePacker::WriteLong(long value) {
    char bytes[4];
    for (int i = 0; i < 4; ++i)
        bytes[i] = static_cast<char>(static_cast<unsigned long>(value) >> (8 * i) & 0xff);
    return WriteBinaryData(bytes, sizeof bytes);
}

int FilePacker::ReplaceChar(char* text, char replacement, char target) {
    std::replace(text, text + std::strlen(text), target, replacement);
    return 0;
}
