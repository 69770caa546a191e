// Serial ports on a device that does as the test says: every step, code and message. Then what
// the system's own answers make of a control block.

#include "movane/services.h"

#include "Source/rscom_gen.h"
#include "support/allocation_failures.h"
#include "support/serial_line.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

namespace {

namespace serial = movane::serial;
using namespace movane_tests;
using movane::SerialParameters;

// --- the scripted device -------------------------------------------------------------------------

struct Script {
    std::string steps;    // those done so far, such as "open events "
    std::string refused;  // the one that fails
    serial::Control control{};
    serial::Timeouts timeouts{};
    serial::Status status{};
    int queues  = 0;
    int at_once = 100;  // bytes that a read or write transfers; 0: the time is over
    std::string input, output;
};
thread_local Script script;

bool does(const char* step) {
    script.steps += step + std::string(" ");
    return script.refused != step;
}

template <class Value>
bool keeps(Value& place, const Value& value, const char* step) {
    place = value;
    return does(step);
}

constexpr serial::Operations kScripted = {
    .open = [](const char*) noexcept { return does("open") ? std::intptr_t{7} : serial::kClosed; },
    .disable_events = [](serial::Port&) noexcept { return does("events"); },
    .set_queues     = [](serial::Port&, int in,
                     int out) noexcept { return keeps(script.queues, in + out, "queues"); },
    .read_control   = [](serial::Port&, serial::Control&) noexcept { return does("control?"); },
    .write_control =
        [](serial::Port&, const serial::Control& control) noexcept {
            return keeps(script.control, control, "control");
        },
    .set_timeouts =
        [](serial::Port&, const serial::Timeouts& timeouts) noexcept {
            return keeps(script.timeouts, timeouts, "timeouts");
        },
    .read_status =
        [](serial::Port&, serial::Status& status) noexcept {
            return keeps(status, script.status, "status");
        },
    .read =
        [](serial::Port&, void* data, int size) noexcept {
            const auto count = script.input.copy(
                static_cast<char*>(data), static_cast<std::size_t>(std::min(size, script.at_once)));
            script.input.erase(0, count);
            return does("read") ? static_cast<int>(count) : -1;
        },
    .write =
        [](serial::Port&, const void* data, int size) noexcept {
            const int count = std::min(size, script.at_once);
            script.output.append(static_cast<const char*>(data), static_cast<std::size_t>(count));
            return does("write") ? count : -1;
        },
    .close =
        [](serial::Port& port) noexcept {
            does("close");
            port.handle = serial::kClosed;
        },
};

const std::string kOpening = "open events queues control? control timeouts ";

rs232_port* open(const SerialParameters& parameters = {13, 48, 0, 0, 0}) {
    script.steps = "";
    return movane::open_serial_port(kScripted, "dev", parameters);
}

struct ScriptedPort : ::testing::Test {
    ScriptedPort() { script = {}; }
};

// --- opening -------------------------------------------------------------------------------------

TEST_F(ScriptedPort, ReportsEachRefusedStepAndIsLeftClosed) {
    const struct {
        std::string step, message;
    } rows[] = {
        {"open", "Cannot open serial port dev"},
        {"events", "Cannot disable events on port"},
        {"queues", "Cannot setup serial port buffers"},
        {"control?", "Cannot read device-control block for a serial port"},
        {"control", "Cannot setup device-control block for a seril port"},
        {"timeouts", "Cannot setup serial port time-outs"},
    };
    std::string steps;
    for (const auto& row : rows) {
        steps += row.step + " ";
        script.refused = row.step;
        EXPECT_EQ(message_of([] { EXPECT_EQ(open(), nullptr); }), row.message);
        EXPECT_EQ(script.steps, row.step == "open" ? steps : steps + "close ");
    }
    script.refused   = "";
    rs232_port* port = open();
    EXPECT_EQ(script.queues, 2 * 4096);
    EXPECT_TRUE(script.timeouts.read_interval_ms == 1000 && script.timeouts.read_total_ms == 500 &&
                script.timeouts.write_total_ms == 1000);
    EXPECT_EQ(closers232(port), 0);
    EXPECT_EQ(script.steps, steps + "close ");
}

// What a port is set to, such as "9600 8n1 paced", or why it is not opened.
std::string setting_of(const SerialParameters& parameters) {
    std::string text = message_of([&] { closers232(open(parameters)); });
    EXPECT_EQ(script.steps, (text.empty() ? kOpening : "open events queues control? ") + "close ");
    if (!text.empty()) return text;
    const serial::Control& c = script.control;
    EXPECT_TRUE(c.xon == 0x11 && c.xoff == 0x13 && c.paces_output == c.paces_input);
    return std::to_string(c.bauds) + " " + std::to_string(c.data_bits) +
           (c.has_even_parity ? "e" : "n") + std::to_string(c.stop_bits) +
           (c.paces_output ? " paced" : "");
}

TEST_F(ScriptedPort, TranslatesCodes) {
    int speed = 0;
    for (const char* bauds : {"50", "75", "110", "134", "150", "200", "300", "600", "1200", "1800",
                              "2400", "4800", "9600", "19200", "38400", "57600", "115200"})
        EXPECT_EQ(setting_of({++speed, 48, 0, 0, 0}), bauds + std::string(" 8n1 paced"));
    const struct {
        SerialParameters parameters;
        int xonxoff;
        const char* setting;
    } rows[] = {{{13, 32, 1, 512, 0}, 1, "9600 7e1"},
                {{13, 16, 0, 511, 64}, 0, "9600 6n2 paced"},
                {{13, 0, -1, 512, 64}, -1, "9600 5e2"},
                {{18, 48, 0, 0, 0}, 0, "Invalid serial line speed: 18 bauds"},
                {{0, 8, 0, 0, 1}, 0, "Invalid serial line speed: 0 bauds"},
                {{-1, 48, 0, 0, 0}, 0, "Invalid serial line speed: -1 bauds"},
                {{13, 8, 0, 0, 1}, 0, "Invalid serial line bits per pixel: 8"},
                {{13, 64, 0, 0, 0}, 0, "Invalid serial line bits per pixel: 64"},
                {{13, 0, 1, 1, 1}, 0, "Invalid serial line number of stop bits: 1"},
                {{13, 0, 1, 0, 64}, 0, "Invalid serial line parity constant: 0"},
                {{1, 0, 2, 511, 0}, 0, "Invalid serial line parity constant: 511"}};
    for (const auto& row : rows) {
        EXPECT_EQ(rs232_set_xonxoff(row.xonxoff), 0);
        EXPECT_EQ(setting_of(row.parameters), row.setting);
        EXPECT_EQ(rs232_set_xonxoff(0), row.xonxoff);
    }
}

TEST_F(ScriptedPort, LeavesNothingWithoutMemory) {
    check_every_allocation_failure("initrs232", "initrs232: Insufficient resources",
                                   [] { return closers232(open()) == 0; });
}

// --- using ---------------------------------------------------------------------------------------

TEST_F(ScriptedPort, WritesInAsManyStepsAsTheDeviceWants) {
    rs232_port* port = open();
    script.at_once   = 3;
    EXPECT_EQ(outstringrs232(port, "abcdefgh", 8), 0);
    EXPECT_EQ(outbrs232(port, 0x17a), 0);
    EXPECT_EQ(outstringrs232(port, "no", 0) + outstringrs232(port, "no", -1), 0);
    EXPECT_EQ(script.output, "abcdefghz");

    // Time-outs: told for output only, and the port stays open.
    unsigned char byte = 'x';
    script.at_once     = 0;
    script.steps       = "";
    EXPECT_EQ(outcome_of([&] { return outbrs232(port, 'a'); }), "-1 Cannot write to comm port.");
    EXPECT_EQ(outcome_of([&] { return inbrs232(port, &byte); }), "0");
    EXPECT_EQ(script.steps, "status write status read ");
    script.at_once = 1;
    script.input   = "\xff";
    EXPECT_EQ(inbrs232(port, &byte), 1);
    EXPECT_EQ(byte, 0xff);

    const std::pair<serial::Status, int> queues[] = {
        {{0, 0, false}, 1}, {{5, 1, false}, 0}, {{4096, 0, true}, 0}};
    for (const auto& [status, is_ready] : queues) {
        script.status = status;
        EXPECT_EQ(outrs232rdy(port), is_ready);
        EXPECT_EQ(inrs232rdy(port), status.waiting_in);
    }
    closers232(port);
}

constexpr struct {
    int (*call)(rs232_port*);
    const char *last_step, *message;
} kUses[] = {{[](rs232_port* port) { return outbrs232(port, 'a'); }, "write",
              "-1 Cannot write to comm port."},
             {[](rs232_port* port) { return outstringrs232(port, "a", 1); }, "write",
              "-1 Cannot write to comm port."},
             {outrs232rdy, "status", "-1 Cannot write to comm port."},
             {[](rs232_port* port) {
                  unsigned char byte;
                  return inbrs232(port, &byte);
              },
              "read", "-1 Cannot read from comm port."},
             {inrs232rdy, "status", "-1 Cannot read from comm port."}};

TEST_F(ScriptedPort, OpensAgainAfterAFailure) {
    rs232_port* port = open({17, 32, 1, 512, 64});
    for (const auto& use : kUses) {
        for (const std::string step : {"status", use.last_step}) {
            const auto outcome = [&](const std::string& refused) {
                script.refused = refused;
                return outcome_of([&] { return use.call(port); });
            };
            EXPECT_EQ(outcome(step), use.message);
            EXPECT_TRUE(script.steps.ends_with(step + " close "));
            EXPECT_EQ(outcome("events"), "-1 Cannot disable events on port");
            script.steps   = "";
            script.control = {};
            EXPECT_NE(outcome("")[0], '-');
            EXPECT_EQ(script.steps.find(kOpening + "status "), 0u);
            EXPECT_TRUE(script.control.bauds == 115200 && script.control.data_bits == 7);
        }
    }
    script.refused = "status";
    message_of([&] { inrs232rdy(port); });
    script.steps = "";
    EXPECT_EQ(closers232(port), 0);  // a closed one is not opened for that
    EXPECT_EQ(script.steps, "");
}

TEST_F(ScriptedPort, RefusesInvalidHandlesWithoutReadingThem) {
    rs232_port* freed = open();
    rs232_port* other = open();
    closers232(freed);
    script.steps = "";
    char foreign = 0;
    for (rs232_port* port :
         {freed, reinterpret_cast<rs232_port*>(&foreign), static_cast<rs232_port*>(nullptr)}) {
        for (const auto& use : kUses) EXPECT_EQ(outcome_of([&] { return use.call(port); }), "-1");
        EXPECT_EQ(outcome_of([&] { return closers232(port); }), "-1");
    }
    EXPECT_EQ(script.steps, "");
    EXPECT_EQ(inrs232rdy(other), 0);
    closers232(other);
}

TEST_F(ScriptedPort, ServesSeveralThreads) {
    const auto work = [] {
        script.status.waiting_in = 1;
        for (int round = 0; round < 200; ++round) {
            rs232_port* ports[5];
            for (rs232_port*& port : ports) port = open();
            for (const int i : {2, 0, 4, 1, 3}) {
                EXPECT_EQ(inrs232rdy(ports[i]), 1);
                EXPECT_EQ(closers232(ports[i]), 0);
            }
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back(work);
    for (std::thread& thread : threads) thread.join();
}

// --- the system's answers ------------------------------------------------------------------------

TEST(SerialControl, IsReadBackAsWritten) {
    const SerialLine line;
    if (!line.absence().empty()) GTEST_SKIP() << line.absence();
    serial::Port port{serial::open(line.port().c_str()), {}};
    EXPECT_TRUE(serial::disable_events(port) && serial::set_queues(port, 4096, 4096));

    int row = 0;
    for (const int bauds : {50, 75, 110, 134, 150, 200, 300, 600, 1200, 1800, 2400, 4800, 9600,
                            19200, 38400, 57600, 115200}) {
        // Pseudo-terminals know 8 bits without parity only, and are content when asked for others.
        const int data_bits         = ++row % 5 == 0 ? 7 : 8;
        const serial::Control asked = {bauds,        data_bits,    1 + row % 2, data_bits == 7,
                                       row % 2 == 0, row % 3 == 0, 0x11,        0x13};
        serial::Control found{};
        EXPECT_TRUE(serial::write_control(port, asked) && serial::read_control(port, found));
        const auto compared = [](const serial::Control& c) {
            return std::tuple(c.bauds, c.stop_bits, c.paces_output, c.paces_input, c.xon, c.xoff);
        };
        EXPECT_EQ(compared(found), compared(asked));
    }
    if (SerialLine::is_pseudo_terminal) {
        EXPECT_FALSE(
            serial::write_control(port, {12345678, 8, 1, false, false, false, 0x11, 0x13}));
    }
    serial::close(port);
    EXPECT_EQ(port.handle, serial::kClosed);
}

}  // namespace
