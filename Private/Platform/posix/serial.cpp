#include "Platform/serial.h"

#include "Platform/clock.h"
#include "Platform/files.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>

namespace movane::serial {
namespace {

struct Speed {
    int bauds;
    speed_t code;
};

constexpr Speed kSpeeds[] = {{50, B50},        {75, B75},       {110, B110},     {134, B134},
                             {150, B150},      {200, B200},     {300, B300},     {600, B600},
                             {1200, B1200},    {1800, B1800},   {2400, B2400},   {4800, B4800},
                             {9600, B9600},    {19200, B19200}, {38400, B38400}, {57600, B57600},
                             {115200, B115200}};

constexpr tcflag_t kDataBits[] = {CS5, CS6, CS7, CS8};
constexpr int kFewestDataBits  = 5;

int descriptor_of(const Port& port) noexcept { return static_cast<int>(port.handle); }

void set(tcflag_t& flags, tcflag_t flag, bool on) noexcept {
    flags = on ? flags | flag : flags & ~flag;
}

enum class Wait { ready, time_out, failed };

// Waits until the port takes or has bytes; a signal does not cut the wait short.
Wait wait_for(const Port& port, short event, int timeout_ms) noexcept {
    const std::int64_t deadline = clock::monotonic_ms() + timeout_ms;
    for (std::int64_t left = timeout_ms; left >= 0; left = deadline - clock::monotonic_ms()) {
        pollfd question   = {descriptor_of(port), event, 0};
        const int answers = ::poll(&question, 1, static_cast<int>(left));
        if (answers > 0) return question.revents & event ? Wait::ready : Wait::failed;
        if (answers == 0) break;
        if (errno != EINTR) return Wait::failed;
    }
    return Wait::time_out;
}

// Bytes of a call that never waits; one that has lost its race for them counts as timed out.
int transferred(ssize_t bytes) noexcept {
    if (bytes >= 0) return static_cast<int>(bytes);
    return errno == EAGAIN || errno == EINTR ? 0 : -1;
}

}  // namespace

// The lock keeps out who locks as well, whoever it is; the exclusive mode keeps out all but the
// superuser. What is no terminal refuses the latter, which the next step finds out.
std::intptr_t open(const char* path) noexcept {
    files::Descriptor file(files::open(path, files::kRead | files::kWrite | files::kNoWait));
    if (!file || !files::lock(file.get())) return kClosed;
    ::ioctl(file.get(), TIOCEXCL);
    return file.release();
}

// A terminal reports none.
bool disable_events(Port& port) noexcept { return ::isatty(descriptor_of(port)) == 1; }

// The system's queues have a size of their own, about 4096 bytes.
bool set_queues(Port&, int, int) noexcept { return true; }

bool read_control(Port& port, Control& control) noexcept {
    termios block;
    if (::tcgetattr(descriptor_of(port), &block) != 0) return false;
    const auto* const speed = std::ranges::find(kSpeeds, ::cfgetospeed(&block), &Speed::code);
    const auto* const bits  = std::ranges::find(kDataBits, block.c_cflag & CSIZE);
    control                 = {.bauds           = speed != std::end(kSpeeds) ? speed->bauds : 0,
                               .data_bits       = kFewestDataBits + static_cast<int>(bits - kDataBits),
                               .stop_bits       = block.c_cflag & CSTOPB ? 2 : 1,
                               .has_even_parity = (block.c_cflag & (PARENB | PARODD)) == PARENB,
                               .paces_output    = (block.c_iflag & IXON) != 0,
                               .paces_input     = (block.c_iflag & IXOFF) != 0,
                               .xon             = block.c_cc[VSTART],
                               .xoff            = block.c_cc[VSTOP]};
    return true;
}

bool write_control(Port& port, const Control& control) noexcept {
    const auto* const speed = std::ranges::find(kSpeeds, control.bauds, &Speed::bauds);
    termios block;
    if (speed == std::end(kSpeeds) || ::tcgetattr(descriptor_of(port), &block) != 0) return false;

    ::cfmakeraw(&block);
    block.c_cflag &= ~tcflag_t{CSIZE | PARODD};
    block.c_cflag |= kDataBits[control.data_bits - kFewestDataBits] | CREAD | CLOCAL;
    set(block.c_cflag, CSTOPB, control.stop_bits == 2);
    set(block.c_cflag, PARENB, control.has_even_parity);
    set(block.c_iflag, INPCK, control.has_even_parity);
    set(block.c_iflag, IXON, control.paces_output);
    set(block.c_iflag, IXOFF, control.paces_input);
    set(block.c_iflag, IXANY, false);  // only XON itself ends the hold
    block.c_cc[VSTART] = control.xon;
    block.c_cc[VSTOP]  = control.xoff;
    block.c_cc[VMIN]   = 1;
    block.c_cc[VTIME]  = 0;
    ::cfsetospeed(&block, speed->code);
    ::cfsetispeed(&block, speed->code);

    // The call succeeds as soon as the device can do a part of this. Pseudo-terminals have no data
    // bits and no parity, which does them no harm; a speed that is not kept makes a line useless.
    Control kept;
    return ::tcsetattr(descriptor_of(port), TCSANOW, &block) == 0 && read_control(port, kept) &&
           kept.bauds == control.bauds;
}

bool set_timeouts(Port& port, const Timeouts& timeouts) noexcept {
    port.timeouts = timeouts;
    return true;
}

// Whether output is held is not told in itself. A held terminal takes no bytes; a device whose
// queue takes some all the same shows them as waiting.
bool read_status(Port& port, Status& status) noexcept {
    status = {};
    if (::ioctl(descriptor_of(port), FIONREAD, &status.waiting_in) != 0 ||
        ::ioctl(descriptor_of(port), TIOCOUTQ, &status.waiting_out) != 0)
        return false;
    const Wait room = wait_for(port, POLLOUT, 0);
    status.is_held  = room == Wait::time_out;
    return room != Wait::failed;
}

// Whatever has come is enough, so the interval between bytes never runs out.
int read(Port& port, void* data, int size) noexcept {
    const Wait bytes = wait_for(port, POLLIN, port.timeouts.read_total_ms);
    if (bytes != Wait::ready) return bytes == Wait::failed ? -1 : 0;
    const ssize_t count = ::read(descriptor_of(port), data, static_cast<std::size_t>(size));
    return count == 0 ? -1 : transferred(count);  // an end there is only of a line that is gone
}

int write(Port& port, const void* data, int size) noexcept {
    const Wait room = wait_for(port, POLLOUT, port.timeouts.write_total_ms);
    if (room != Wait::ready) return room == Wait::failed ? -1 : 0;
    return transferred(::write(descriptor_of(port), data, static_cast<std::size_t>(size)));
}

// The exclusive mode is the device's, not the descriptor's, and would outlive this one.
void close(Port& port) noexcept {
    ::ioctl(descriptor_of(port), TIOCNXCL);
    files::close(static_cast<int>(std::exchange(port.handle, kClosed)));
}

}  // namespace movane::serial
