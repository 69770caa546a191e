// The ports COM9 and COM10, which whoever runs the tests joins by a null modem.
#include "support/serial_line.h"

#include <cstdlib>
#include <utility>

#include <windows.h>

namespace movane_tests {
namespace {

constexpr DWORD kWhile_ms = 2000;

HANDLE handle_of(std::intptr_t end) { return reinterpret_cast<HANDLE>(end); }

}  // namespace

const bool SerialLine::is_pseudo_terminal = false;

SerialLine::SerialLine() : port_("COM9") {
    const HANDLE com10 = CreateFileA("\\\\.\\COM10", GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                     OPEN_EXISTING, 0, nullptr);
    far_               = reinterpret_cast<std::intptr_t>(com10);
    DCB block          = {};
    block.DCBlength    = sizeof block;
    if (!GetCommState(com10, &block)) {
        absence_ = "no COM9 and COM10 joined by a null modem here";
        return;
    }
    block.BaudRate = 9600;
    block.ByteSize = 8;
    block.Parity   = NOPARITY;
    block.StopBits = ONESTOPBIT;
    block.fBinary  = TRUE;
    block.fOutX = block.fInX           = FALSE;
    COMMTIMEOUTS timeouts              = {};
    timeouts.ReadTotalTimeoutConstant  = kWhile_ms;
    timeouts.WriteTotalTimeoutConstant = kWhile_ms;
    if (!SetCommState(com10, &block) || !SetCommTimeouts(com10, &timeouts)) std::abort();
}

void SerialLine::send(const std::string& bytes) {
    DWORD sent = 0;
    WriteFile(handle_of(far_), bytes.data(), static_cast<DWORD>(bytes.size()), &sent, nullptr);
    if (sent != bytes.size()) std::abort();
}

std::string SerialLine::receive(std::size_t count) {
    std::string bytes(count, '\0');
    DWORD received = 0, size = 1;
    while (received < count && size > 0) {
        if (!ReadFile(handle_of(far_), bytes.data() + received,
                      static_cast<DWORD>(count - received), &size, nullptr))
            size = 0;
        received += size;
    }
    bytes.resize(received);
    return bytes;
}

void SerialLine::hang_up() {
    if (far_ != -1) CloseHandle(handle_of(std::exchange(far_, -1)));
}

}  // namespace movane_tests
