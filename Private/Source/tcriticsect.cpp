// Critical sections: a lock between processes, made of the exclusive opening of a file.

#include "movane/foundation.h"

#include "Engine/utf8_files.h"
#include "Platform/clock.h"
#include "Platform/files.h"
#include "Support/memory.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace {

namespace clock = movane::clock;
namespace files = movane::files;

std::int64_t whole_seconds() { return clock::monotonic_ms() / 1000; }

std::intptr_t open_exclusively(const char* path) {
    return CreateFile_utf8(path, access_write, 0, nullptr, open_always, flag_no_buffering);
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
        const std::intptr_t file = open_exclusively(path_);
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
    files::close_alone(lock_file_);
    lock_file_ = files::kNone;
}
