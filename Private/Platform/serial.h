// What the library asks of serial ports. posix/serial.cpp and windows/serial.cpp answer, in the
// order of this page.
//
// A call that fails says so by its result only.
#pragma once

#include <cstddef>
#include <cstdint>

namespace movane::serial {

constexpr std::intptr_t kClosed = -1;

struct Timeouts {
    int read_interval_ms;  // between two bytes of one read
    int read_total_ms;     // for a read that gets nothing
    int write_total_ms;    // for a write
};

struct Port {
    std::intptr_t handle = kClosed;  // the system's
    Timeouts timeouts    = {};       // where the system does not keep them itself
};

/// What the line is set to.
struct Control {
    int bauds;
    int data_bits;  // 5 to 8
    int stop_bits;  // 1 or 2
    bool has_even_parity;
    bool paces_output, paces_input;  // with the characters below
    unsigned char xon, xoff;
};

struct Status {
    int waiting_in, waiting_out;  // bytes in the queues
    bool is_held;                 // output waits for an XON
};

/// Opens a device for reading and writing, shared with nobody. It never becomes the terminal that
/// controls the process, and no carrier is waited for.
///
/// @return  the system's handle; kClosed on failure
[[nodiscard]] std::intptr_t open(const char* path) noexcept;

/// Makes the port report no events; the first question that only a serial port answers.
bool disable_events(Port& port) noexcept;

bool set_queues(Port& port, int bytes_in, int bytes_out) noexcept;

bool read_control(Port& port, Control& control) noexcept;

/// Bytes pass as they are from then on. What Control does not name stays as it is.
bool write_control(Port& port, const Control& control) noexcept;

bool set_timeouts(Port& port, const Timeouts& timeouts) noexcept;

bool read_status(Port& port, Status& status) noexcept;

/// @return  bytes read, at least one; 0 when the time is over; -1 on failure
int read(Port& port, void* data, int size) noexcept;

/// @return  bytes written, which may be fewer than `size`; 0 when the time is over; -1 on failure
int write(Port& port, const void* data, int size) noexcept;

void close(Port& port) noexcept;

/// The questions as a table, so that others can answer them.
struct Operations {
    std::intptr_t (*open)(const char* path) noexcept;
    bool (*disable_events)(Port& port) noexcept;
    bool (*set_queues)(Port& port, int bytes_in, int bytes_out) noexcept;
    bool (*read_control)(Port& port, Control& control) noexcept;
    bool (*write_control)(Port& port, const Control& control) noexcept;
    bool (*set_timeouts)(Port& port, const Timeouts& timeouts) noexcept;
    bool (*read_status)(Port& port, Status& status) noexcept;
    int (*read)(Port& port, void* data, int size) noexcept;
    int (*write)(Port& port, const void* data, int size) noexcept;
    void (*close)(Port& port) noexcept;
};

}  // namespace movane::serial
