// A real line to test serial ports on: posix/serial_line.cpp and windows/serial_line.cpp make it.
#pragma once

#include <cstdint>
#include <string>

namespace movane_tests {

/// Two ends joined by a line; the near one is a serial port, the far one is the test's.
class SerialLine {
public:
    SerialLine();
    ~SerialLine() { hang_up(); }
    SerialLine(const SerialLine&)            = delete;
    SerialLine& operator=(const SerialLine&) = delete;

    /// @return  why there is none; "" when there is
    [[nodiscard]] const std::string& absence() const { return absence_; }

    /// The path of the near end.
    [[nodiscard]] const std::string& port() const { return port_; }

    /// Sends from the far end.
    void send(const std::string& bytes);

    /// Receives at the far end; fewer bytes than `count` when no more come for a while.
    std::string receive(std::size_t count);

    /// Takes the far end away; that of a pseudo-terminal takes the near end along.
    void hang_up();

    /// Whether the line is a pseudo-terminal of the system. On others some answers are the
    /// driver's: whether a port is shared, which speeds it has, when it tells that output is held.
    static const bool is_pseudo_terminal;

private:
    std::string absence_, port_;
    std::intptr_t far_ = -1;
};

}  // namespace movane_tests
