// Serial port: small code numbers in, a configured line out, and bytes over it.
//
// The system's part is reached through a table of operations that each port carries; the order of
// the steps, the codes and the messages are here. A port that the system refuses to serve any
// longer is closed and opened again by the next call, so that a device may come and go.

#include "movane/services.h"

#include "Engine/utf8_files.h"
#include "Source/rscom_gen.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <span>
#include <utility>

namespace serial = movane::serial;
using movane::Formatted;

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/rscom_gen"};

constexpr const char* kCannotRead  = "Cannot read from comm port.";
constexpr const char* kCannotWrite = "Cannot write to comm port.";

constexpr int kQueueSize             = 4096;  // bytes, each way
constexpr serial::Timeouts kTimeouts = {1000, 500, 1000};
constexpr int kParityConstant        = 512;
constexpr unsigned char kXon = 0x11, kXoff = 0x13;

struct Code {
    int code, value;
};

constexpr Code kBauds[]    = {{1, 50},     {2, 75},     {3, 110},   {4, 134},    {5, 150},
                              {6, 200},    {7, 300},    {8, 600},   {9, 1200},   {10, 1800},
                              {11, 2400},  {12, 4800},  {13, 9600}, {14, 19200}, {15, 38400},
                              {16, 57600}, {17, 115200}};
constexpr Code kDataBits[] = {{48, 8}, {32, 7}, {16, 6}, {0, 5}};
constexpr Code kStopBits[] = {{0, 1}, {64, 2}};

}  // namespace

// Invariant: while a host may use it, a port is in `ports` and `self` is its own address.
struct rs232_port {
    serial::Port device;  // closed, or configured as below
    int xonxoff_off;
    movane::SerialParameters parameters;
    movane::Block<char> path;
    const rs232_port* self;
    const serial::Operations* operations;
    rs232_port* next;
};

namespace {

// --- handles in use ----------------------------------------------------------------------------
// Handles are looked up by address before they are touched.

constinit std::atomic<int> xonxoff_off = 0;        // process-wide: of ports to come
constinit rs232_port* ports            = nullptr;  // process-wide: the ports in use, latest first
constinit std::atomic_flag ports_busy;             // process-wide: guards the chain

// Held for a few steps along the chain, in which nothing waits.
class PortsGuard {
public:
    PortsGuard() {
        while (ports_busy.test_and_set(std::memory_order_acquire)) {
        }
    }
    ~PortsGuard() { ports_busy.clear(std::memory_order_release); }
    PortsGuard(const PortsGuard&)            = delete;
    PortsGuard& operator=(const PortsGuard&) = delete;
};

// The link that leads to the port, or the end of the chain.
rs232_port** link_to(const rs232_port* port) {
    rs232_port** link = &ports;
    while (*link && *link != port) link = &(*link)->next;
    return link;
}

bool is_valid(const rs232_port* port) {
    const PortsGuard guard;
    return port && *link_to(port) && port->self == port;
}

// --- opening -----------------------------------------------------------------------------------

std::intptr_t open_device(const char* path) noexcept {
    return CreateFile_utf8(path, access_read | access_write, 0, nullptr, open_existing,
                           attribute_normal);
}

constexpr serial::Operations kSystem = {
    open_device,           serial::disable_events, serial::set_queues,  serial::read_control,
    serial::write_control, serial::set_timeouts,   serial::read_status, serial::read,
    serial::write,         serial::close};

bool look_up(std::span<const Code> codes, int code, int& value) {
    const auto found = std::ranges::find(codes, code, &Code::code);
    if (found == codes.end()) return false;
    value = found->value;
    return true;
}

bool fill(serial::Control& control, const rs232_port& port) {
    const movane::SerialParameters& p = port.parameters;
    if (!look_up(kBauds, p.speed, control.bauds))
        report(Formatted("Invalid serial line speed: %d bauds", p.speed));
    else if (!look_up(kDataBits, p.data_bits, control.data_bits))
        // sic: hosts match on this text
        report(Formatted("Invalid serial line bits per pixel: %d", p.data_bits));
    else if (!look_up(kStopBits, p.stop_bits, control.stop_bits))
        report(Formatted("Invalid serial line number of stop bits: %d", p.stop_bits));
    else if (p.parity_enable && p.parity_constant != kParityConstant)
        report(Formatted("Invalid serial line parity constant: %d", p.parity_constant));
    else {
        control.has_even_parity = p.parity_enable != 0;
        control.paces_output = control.paces_input = port.xonxoff_off == 0;
        control.xon                                = kXon;
        control.xoff                               = kXoff;
        return true;
    }
    return false;
}

bool apply(const serial::Control& control, rs232_port& port) {
    if (!port.operations->write_control(port.device, control))
        // sic: hosts match on this text
        report("Cannot setup device-control block for a seril port");
    else if (!port.operations->set_timeouts(port.device, kTimeouts))
        report("Cannot setup serial port time-outs");
    else
        return true;
    return false;
}

bool configure(rs232_port& port) {
    serial::Control control;
    if (!port.operations->disable_events(port.device))
        report("Cannot disable events on port");
    else if (!port.operations->set_queues(port.device, kQueueSize, kQueueSize))
        report("Cannot setup serial port buffers");
    else if (!port.operations->read_control(port.device, control))
        report("Cannot read device-control block for a serial port");
    else
        return fill(control, port) && apply(control, port);
    return false;
}

bool is_open(const rs232_port& port) { return port.device.handle != serial::kClosed; }

bool open(rs232_port& port) {
    port.device.handle = port.operations->open(port.path.get());
    if (!is_open(port)) {
        report(Formatted("Cannot open serial port %s", port.path.get()));
        return false;
    }
    if (configure(port)) return true;
    port.operations->close(port.device);
    return false;
}

// --- using -------------------------------------------------------------------------------------

int give_up(rs232_port& port, const char* message) {
    report(message);
    port.operations->close(port.device);
    return -1;
}

// Every use begins here: the handle is valid, the port open, and the state of its queues known.
//
// @param message  posted when the port does not tell that state
bool begin(rs232_port* port, const char* message, serial::Status& status) {
    if (!is_valid(port) || (!is_open(*port) && !open(*port))) return false;
    if (port->operations->read_status(port->device, status)) return true;
    give_up(*port, message);
    return false;
}

}  // namespace

// --- life cycle --------------------------------------------------------------------------------

rs232_port* movane::open_serial_port(const serial::Operations& operations, const char* path,
                                     const SerialParameters& parameters) {
    Owned<rs232_port> port = create<rs232_port>();
    if (port) port->path = make_block<char>(std::strlen(path) + 1);
    if (!port || !port->path) {
        report("initrs232: Insufficient resources");
        return nullptr;
    }
    port->xonxoff_off = xonxoff_off;
    port->parameters  = parameters;
    std::strcpy(port->path.get(), path);
    port->self       = port.get();
    port->operations = &operations;
    if (!open(*port)) return nullptr;

    const PortsGuard guard;
    port->next = std::exchange(ports, port.get());
    return port.release();
}

rs232_port* initrs232(const char* port, int speed, int data_bits, int parity_enable,
                      int parity_constant, int stop_bits) {
    return movane::open_serial_port(kSystem, port,
                                    {speed, data_bits, parity_enable, parity_constant, stop_bits});
}

int closers232(rs232_port* port) {
    if (!is_valid(port)) return -1;
    if (is_open(*port)) port->operations->close(port->device);
    {
        const PortsGuard guard;
        *link_to(port) = port->next;
    }
    movane::destroy(port);
    return 0;
}

int rs232_set_xonxoff(int off) { return xonxoff_off.exchange(off); }

// --- output and input ----------------------------------------------------------------------------

int outbrs232(rs232_port* port, int byte) {
    const char text = static_cast<char>(byte);
    return outstringrs232(port, &text, 1);
}

int outstringrs232(rs232_port* port, const char* text, int length) {
    serial::Status status;
    if (!begin(port, kCannotWrite, status)) return -1;
    while (length > 0) {
        const int count = port->operations->write(port->device, text, length);
        if (count < 0) return give_up(*port, kCannotWrite);
        if (count == 0) {
            report(kCannotWrite);
            return -1;
        }
        text += count;
        length -= count;
    }
    return 0;
}

int inbrs232(rs232_port* port, unsigned char* byte) {
    serial::Status status;
    if (!begin(port, kCannotRead, status)) return -1;
    const int count = port->operations->read(port->device, byte, 1);
    return count < 0 ? give_up(*port, kCannotRead) : count;
}

int outrs232rdy(rs232_port* port) {
    serial::Status status;
    if (!begin(port, kCannotWrite, status)) return -1;
    return status.waiting_out == 0 && !status.is_held ? 1 : 0;
}

int inrs232rdy(rs232_port* port) {
    serial::Status status;
    return begin(port, kCannotRead, status) ? status.waiting_in : -1;
}
