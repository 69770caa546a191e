// How tests put a scripted device in the place of the system's.
#pragma once

#include "movane/services.h"

#include "Platform/serial.h"

namespace movane {

/// The parameters of initrs232(), in its order.
struct SerialParameters {
    int speed, data_bits, parity_enable, parity_constant, stop_bits;
};

/// initrs232() on other operations; they are used until the port is closed.
rs232_port* open_serial_port(const serial::Operations& operations, const char* path,
                             const SerialParameters& parameters);

}  // namespace movane
