#include "Platform/serial.h"

#include "Platform/windows/utf16.h"

#include <utility>

namespace movane::serial {
namespace {

HANDLE handle_of(const Port& port) noexcept { return reinterpret_cast<HANDLE>(port.handle); }

bool read_block(const Port& port, DCB& block) noexcept {
    block           = {};
    block.DCBlength = sizeof block;
    return GetCommState(handle_of(port), &block) != 0;
}

}  // namespace

// INVALID_HANDLE_VALUE is kClosed.
std::intptr_t open(const char* path) noexcept {
    return reinterpret_cast<std::intptr_t>(
        CreateFileW(Utf16(path).get(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                    FILE_ATTRIBUTE_NORMAL, nullptr));
}

bool disable_events(Port& port) noexcept { return SetCommMask(handle_of(port), 0) != 0; }

bool set_queues(Port& port, int bytes_in, int bytes_out) noexcept {
    return SetupComm(handle_of(port), static_cast<DWORD>(bytes_in),
                     static_cast<DWORD>(bytes_out)) != 0;
}

bool read_control(Port& port, Control& control) noexcept {
    DCB block;
    if (!read_block(port, block)) return false;
    control = {.bauds           = static_cast<int>(block.BaudRate),
               .data_bits       = block.ByteSize,
               .stop_bits       = block.StopBits == TWOSTOPBITS ? 2 : 1,
               .has_even_parity = block.Parity == EVENPARITY,
               .paces_output    = block.fOutX != 0,
               .paces_input     = block.fInX != 0,
               .xon             = static_cast<unsigned char>(block.XonChar),
               .xoff            = static_cast<unsigned char>(block.XoffChar)};
    return true;
}

bool write_control(Port& port, const Control& control) noexcept {
    DCB block;
    if (!read_block(port, block)) return false;
    block.fBinary  = TRUE;
    block.fNull    = FALSE;
    block.BaudRate = static_cast<DWORD>(control.bauds);
    block.ByteSize = static_cast<BYTE>(control.data_bits);
    block.StopBits = control.stop_bits == 2 ? TWOSTOPBITS : ONESTOPBIT;
    block.Parity   = control.has_even_parity ? EVENPARITY : NOPARITY;
    block.fParity  = control.has_even_parity;
    block.fOutX    = control.paces_output;
    block.fInX     = control.paces_input;
    block.XonChar  = static_cast<char>(control.xon);
    block.XoffChar = static_cast<char>(control.xoff);
    return SetCommState(handle_of(port), &block) != 0;
}

bool set_timeouts(Port& port, const Timeouts& timeouts) noexcept {
    COMMTIMEOUTS block              = {};
    block.ReadIntervalTimeout       = static_cast<DWORD>(timeouts.read_interval_ms);
    block.ReadTotalTimeoutConstant  = static_cast<DWORD>(timeouts.read_total_ms);
    block.WriteTotalTimeoutConstant = static_cast<DWORD>(timeouts.write_total_ms);
    return SetCommTimeouts(handle_of(port), &block) != 0;
}

// Also clears the errors of the line, which would make the system refuse reads and writes.
bool read_status(Port& port, Status& status) noexcept {
    DWORD errors;
    COMSTAT found;
    if (!ClearCommError(handle_of(port), &errors, &found)) return false;
    status = {.waiting_in  = static_cast<int>(found.cbInQue),
              .waiting_out = static_cast<int>(found.cbOutQue),
              .is_held     = found.fXoffHold != 0};
    return true;
}

int read(Port& port, void* data, int size) noexcept {
    DWORD count = 0;
    return ReadFile(handle_of(port), data, static_cast<DWORD>(size), &count, nullptr)
               ? static_cast<int>(count)
               : -1;
}

int write(Port& port, const void* data, int size) noexcept {
    DWORD count = 0;
    return WriteFile(handle_of(port), data, static_cast<DWORD>(size), &count, nullptr)
               ? static_cast<int>(count)
               : -1;
}

void close(Port& port) noexcept {
    CloseHandle(reinterpret_cast<HANDLE>(std::exchange(port.handle, kClosed)));
}

}  // namespace movane::serial
