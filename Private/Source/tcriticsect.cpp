// Critical sections: a lock between processes, made of the exclusive opening of a file.
//
// Some systems grant an exclusive opening themselves; on others the open file is locked. Both are
// asked for, so that the two are one here.

#include "movane/foundation.h"

#include "Platform/clock.h"
#include "Platform/files.h"
#include "Support/memory.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace {

namespace clock = movane::clock;
namespace files = movane::files;

std::int64_t whole_seconds() { return clock::monotonic_ms() / 1000; }

files::File open_exclusively(const char* path) {
    files::Descriptor file(files::open(path, files::kWrite | files::kCreate | files::kAlone));
    return file && files::lock(file.get()) ? file.release() : files::kNone;
}

}  // namespace

TCriticSect::TCriticSect(const char* path, int retry_ms)
    : path_(), retry_ms_(retry_ms), lock_file_(files::kNone) {
    const std::size_t length = std::strlen(path);
    if (length >= sizeof path_) throw std::out_of_range("Lock path too long");
    std::memcpy(path_, path, length);
}

TCriticSect::~TCriticSect() { Leave(); }

TCriticSect::TCriticSect(const TCriticSect& other)            = default;
TCriticSect& TCriticSect::operator=(const TCriticSect& other) = default;

void* TCriticSect::operator new(size_t bytes) noexcept { return movane::allocate(1, bytes); }
void TCriticSect::operator delete(void* section) noexcept { movane::release(section); }

int TCriticSect::Enter(double timeout_seconds) {
    const std::int64_t start = whole_seconds();
    for (;;) {
        const files::File file = open_exclusively(path_);
        if (file != files::kNone) {
            Leave();  // of a file that someone has replaced
            lock_file_ = file;
            return 0;
        }
        // Negated, so that a timeout that is not a number ends at once.
        const auto elapsed = static_cast<double>(whole_seconds() - start);
        if (!(elapsed <= timeout_seconds)) return 1;
        clock::sleep_ms(static_cast<std::uint32_t>(std::max(retry_ms_, 1)));
    }
}

void TCriticSect::Leave() {
    if (lock_file_ == files::kNone) return;
    files::close(lock_file_);
    lock_file_ = files::kNone;
}
