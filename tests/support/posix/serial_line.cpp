// A pseudo-terminal pair: the slave is the near end.
#include "support/serial_line.h"

#include <cstdlib>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace movane_tests {
namespace {

constexpr int kWhile_ms = 2000;

}  // namespace

const bool SerialLine::is_pseudo_terminal = true;

SerialLine::SerialLine() {
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    far_             = master;
    const char* slave =
        master >= 0 && ::grantpt(master) == 0 && ::unlockpt(master) == 0 ? ::ptsname(master) : "";
    if (slave && ::access(slave, R_OK | W_OK) == 0)
        port_ = slave;
    else
        absence_ = "no pseudo-terminals here";
}

void SerialLine::send(const std::string& bytes) {
    if (::write(static_cast<int>(far_), bytes.data(), bytes.size()) !=
        static_cast<ssize_t>(bytes.size()))
        std::abort();
}

std::string SerialLine::receive(std::size_t count) {
    std::string bytes(count, '\0');
    std::size_t received = 0;
    pollfd question      = {static_cast<int>(far_), POLLIN, 0};
    while (received<count&& ::poll(&question, 1, kWhile_ms)> 0) {
        const ssize_t size =
            ::read(static_cast<int>(far_), bytes.data() + received, count - received);
        if (size <= 0) break;
        received += static_cast<std::size_t>(size);
    }
    bytes.resize(received);
    return bytes;
}

void SerialLine::hang_up() {
    if (far_ >= 0) ::close(static_cast<int>(std::exchange(far_, -1)));
}

}  // namespace movane_tests
