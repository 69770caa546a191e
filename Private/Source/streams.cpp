// Buffered file streams: the standard streams over a descriptor.
//
// The read buffer holds one byte, so that the descriptor never runs ahead of the reader by more
// than that, and writing is not buffered: other users of the file see everything at once.

#include "movane/services.h"

#include "Engine/utf8_files.h"
#include "Platform/files.h"
#include "Support/memory.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

namespace files = movane::files;

const unsigned int streambufExt::FileBufSize;

namespace {

constexpr streambufExt::off_type kBadPosition = -1;
constexpr auto kLowest                        = std::numeric_limits<streambufExt::off_type>::min();

files::Origin origin_of(std::ios_base::seekdir way) {
    if (way == std::ios_base::beg) return files::Origin::begin;
    return way == std::ios_base::cur ? files::Origin::current : files::Origin::end;
}

char* copy_of(const char* name) {
    if (!name) return nullptr;
    const std::size_t size = std::strlen(name) + 1;
    void* const copy       = movane::allocate(size, 1);
    return copy ? static_cast<char*>(std::memcpy(copy, name, size)) : nullptr;
}

bool fits_runtime(std::int64_t offset) {
    return offset >= -files::kLargestRuntimeOffset - 1 && offset <= files::kLargestRuntimeOffset;
}

}  // namespace

// --- life cycle ----------------------------------------------------------------------------

streambufExt::streambufExt(const char* name, int mode)
    : descriptor_(files::kNone),
      mode_(mode),
      name_(copy_of(name)),
      buffer_(),
      position_(0),
      fill_(0) {}

streambufExt::streambufExt(const streambufExt& other)
    : std::streambuf(other),
      descriptor_(other.is_open() ? files::duplicate(other.descriptor_) : files::kNone),
      mode_(other.mode_),
      name_(copy_of(other.name_)),
      position_(other.position_),
      fill_(other.fill_) {
    std::copy_n(other.buffer_, FileBufSize, buffer_);
}

streambufExt& streambufExt::operator=(const streambufExt& other) {
    streambufExt copy(other);
    std::streambuf::operator=(copy);
    std::swap(descriptor_, copy.descriptor_);
    std::swap(name_, copy.name_);
    std::swap(buffer_, copy.buffer_);
    mode_     = copy.mode_;
    position_ = copy.position_;
    fill_     = copy.fill_;
    return *this;
}

streambufExt::~streambufExt() {
    closefile();
    movane::release(name_);
}

int streambufExt::openfile() {
    closefile();
    position_ = fill_ = 0;

    int flags = 0;
    if (!(mode_ & mode_in)) {
        if (!(mode_ & mode_out)) return -1;
        flags = open_write_only | open_create | (mode_ & mode_app ? open_append : open_truncate);
    }
    if (mode_ & mode_binary) flags |= open_binary;
    if (name_) descriptor_ = open_utf8(name_, flags, permit_write);
    return is_open() ? 0 : -1;
}

int streambufExt::closefile() {
    if (is_open()) files::close(descriptor_);
    descriptor_ = files::kNone;
    return 0;
}

bool streambufExt::is_open() const { return descriptor_ != files::kNone; }

long long streambufExt::out_waiting() const { return pptr() - pbase(); }

// --- reading -------------------------------------------------------------------------------

std::streamsize streambufExt::read_from_buf(char* destination, std::streamsize n) {
    std::streamsize left = std::max<std::streamsize>(n, 0);
    const auto available = [this] { return static_cast<std::streamsize>(fill_ - position_); };
    position_            = std::min(position_, fill_);
    while (left > available()) {
        destination = std::copy(buffer_ + position_, buffer_ + fill_, destination);
        left -= available();
        position_                = fill_;
        const std::int64_t bytes = files::read(descriptor_, buffer_, sizeof buffer_);
        if (bytes <= 0) return -1;
        fill_     = static_cast<unsigned int>(bytes);
        position_ = 0;
    }
    std::copy_n(buffer_ + position_, left, destination);
    position_ += static_cast<unsigned int>(left);
    return n;
}

streambufExt::int_type streambufExt::uflow() {
    char c;
    return read_from_buf(&c, 1) == 1 ? traits_type::to_int_type(c) : traits_type::eof();
}

streambufExt::int_type streambufExt::underflow() {
    const int_type c = uflow();
    if (c != traits_type::eof()) --position_;
    return c;
}

std::streamsize streambufExt::xsgetn(char* s, std::streamsize n) { return read_from_buf(s, n); }

// --- writing -------------------------------------------------------------------------------

streambufExt::int_type streambufExt::overflow(int_type c) {
    if (c == traits_type::eof()) return c;
    const char byte = traits_type::to_char_type(c);
    return files::write(descriptor_, &byte, 1) == 1 ? c : traits_type::eof();
}

std::streamsize streambufExt::xsputn(const char* s, std::streamsize n) {
    const std::int64_t written =
        files::write(descriptor_, s, static_cast<std::size_t>(std::max<std::streamsize>(n, 0)));
    return static_cast<std::streamsize>(written);
}

// --- seeking -------------------------------------------------------------------------------

streambufExt::pos_type streambufExt::seekoff(off_type offset, std::ios_base::seekdir way,
                                             std::ios_base::openmode) {
    if (!fits_runtime(offset)) return kBadPosition;
    if (way == std::ios_base::cur) {
        const off_type unread = fill_ - position_;
        if (offset >= -off_type{position_} && offset <= unread) {
            const std::int64_t read_to = files::seek(descriptor_, 0, files::Origin::current);
            if (read_to < 0) return kBadPosition;
            position_ = static_cast<unsigned int>(position_ + offset);
            return read_to - unread + offset;
        }
        // Backward out of the buffer the descriptor's lead over the reader is taken off. Forward
        // it is not: hosts rely on where such a seek has always led.
        if (offset < 0) offset = std::max(offset, kLowest + unread) - unread;
        if (!fits_runtime(offset)) return kBadPosition;
    }
    const std::int64_t reached = files::seek(descriptor_, offset, origin_of(way));
    if (reached < 0) return kBadPosition;
    position_ = fill_ = 0;
    return reached;
}

streambufExt::pos_type streambufExt::seekpos(pos_type position, std::ios_base::openmode which) {
    return seekoff(position, std::ios_base::beg, which);
}

// --- the streams ---------------------------------------------------------------------------

fdifstream::fdifstream(const char* name, int mode)
    : std::istream(nullptr), buffer_(name, mode | streambufExt::mode_in) {
    rdbuf(&buffer_);
    if (buffer_.openfile() != 0) setstate(std::ios_base::failbit);
}

fdifstream::~fdifstream() = default;

bool fdifstream::is_open() const { return buffer_.is_open(); }

int fdifstream::close() { return buffer_.closefile(); }

fdofstream::fdofstream(const char* name, int mode)
    : std::ostream(nullptr), buffer_(name, mode | streambufExt::mode_out) {
    rdbuf(&buffer_);
    if (buffer_.openfile() != 0) setstate(std::ios_base::failbit);
}

fdofstream::~fdofstream() = default;

bool fdofstream::is_open() const { return buffer_.is_open(); }

int fdofstream::close() { return buffer_.closefile(); }
