// Serial ports on a device that does as the test says: every step, code and message. Then what
// the system's own answers make of a control block.

#include "movane/services.h"

#include "Source/rscom_gen.h"
#include "support/allocation_failures.h"
#include "support/messages.h"
#include "support/serial_line.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace serial = movane::serial;
using movane::SerialParameters;
using movane_tests::message_of;

constexpr SerialParameters kUsual = {13, 48, 0, 0, 0};

// --- the scripted device -------------------------------------------------------------------------

struct Script {
    std::string steps;    // those done so far, such as "open events "
    std::string refused;  // the one that fails
    serial::Control control{};
    serial::Timeouts timeouts{};
    serial::Status status{};
    int queue_in = 0, queue_out = 0;
    int at_once = 100;  // bytes that a read or write transfers; 0: the time is over
    std::string input, output;
} script;

bool does(const char* step) {
    script.steps += step + std::string(" ");
    return script.refused != step;
}

constexpr serial::Operations kScripted = {
    .open = [](const char*) noexcept { return does("open") ? std::intptr_t{7} : serial::kClosed; },
    .disable_events = [](serial::Port&) noexcept { return does("events"); },
    .set_queues =
        [](serial::Port&, int in, int out) noexcept {
            script.queue_in  = in;
            script.queue_out = out;
            return does("queues");
        },
    .read_control = [](serial::Port&, serial::Control&) noexcept { return does("control?"); },
    .write_control =
        [](serial::Port&, const serial::Control& control) noexcept {
            script.control = control;
            return does("control");
        },
    .set_timeouts =
        [](serial::Port&, const serial::Timeouts& timeouts) noexcept {
            script.timeouts = timeouts;
            return does("timeouts");
        },
    .read_status =
        [](serial::Port&, serial::Status& status) noexcept {
            status = script.status;
            return does("status");
        },
    .read =
        [](serial::Port&, void* data, int size) noexcept {
            if (!does("read")) return -1;
            const std::size_t count = script.input.copy(
                static_cast<char*>(data), static_cast<std::size_t>(std::min(size, script.at_once)));
            script.input.erase(0, count);
            return static_cast<int>(count);
        },
    .write =
        [](serial::Port&, const void* data, int size) noexcept {
            if (!does("write")) return -1;
            const int count = std::min(size, script.at_once);
            script.output.append(static_cast<const char*>(data), static_cast<std::size_t>(count));
            return count;
        },
    .close =
        [](serial::Port& port) noexcept {
            does("close");
            port.handle = serial::kClosed;
        },
};

rs232_port* open(const SerialParameters& parameters = kUsual) {
    script.steps = "";
    return movane::open_serial_port(kScripted, "dev", parameters);
}

struct ScriptedPort : ::testing::Test {
    ScriptedPort() { script = {}; }
};

// --- opening
// ---------------------------------------------------------------------------------------

TEST_F(ScriptedPort, ReportsEachRefusedStepAndIsLeftClosed) {
    const struct {
        const char *step, *message, *steps;
    } rows[] = {
        {"open", "Cannot open serial port dev", "open "},
        {"events", "Cannot disable events on port", "open events close "},
        {"queues", "Cannot setup serial port buffers", "open events queues close "},
        {"control?", "Cannot read device-control block for a serial port",
         "open events queues control? close "},
        {"control", "Cannot setup device-control block for a seril port",
         "open events queues control? control close "},
        {"timeouts", "Cannot setup serial port time-outs",
         "open events queues control? control timeouts close "},
    };
    for (const auto& row : rows) {
        script.refused = row.step;
        EXPECT_EQ(message_of([] { EXPECT_EQ(open(), nullptr); }), row.message);
        EXPECT_EQ(script.steps, row.steps);
    }
    script.refused   = "";
    rs232_port* port = open();
    EXPECT_EQ(script.steps, "open events queues control? control timeouts ");
    EXPECT_TRUE(script.queue_in == 4096 && script.queue_out == 4096);
    EXPECT_TRUE(script.timeouts.read_interval_ms == 1000 && script.timeouts.read_total_ms == 500 &&
                script.timeouts.write_total_ms == 1000);
    EXPECT_EQ(closers232(port), 0);
    EXPECT_EQ(script.steps, "open events queues control? control timeouts close ");
}

TEST_F(ScriptedPort, TranslatesCodes) {
    const int bauds[] = {50,   75,   110,  134,  150,   200,   300,   600,   1200,
                         1800, 2400, 4800, 9600, 19200, 38400, 57600, 115200};
    int speed         = 1;
    for (const int expected : bauds) {
        rs232_port* port = open({speed++, 48, 0, 0, 0});
        EXPECT_EQ(script.control.bauds, expected);
        closers232(port);
    }
    const struct {
        SerialParameters parameters;
        int xonxoff, data_bits, stop_bits;
        bool even_parity;
    } rows[] = {
        {{13, 48, 0, 0, 0}, 0, 8, 1, false},
        {{13, 32, 1, 512, 0}, 1, 7, 1, true},
        {{13, 16, 0, 511, 64}, 0, 6, 2, false},
        {{13, 0, -1, 512, 64}, -1, 5, 2, true},
    };
    for (const auto& row : rows) {
        const int previous = rs232_set_xonxoff(row.xonxoff);
        rs232_port* port   = open(row.parameters);
        EXPECT_EQ(rs232_set_xonxoff(previous), row.xonxoff);
        const serial::Control& c = script.control;
        EXPECT_EQ(c.data_bits, row.data_bits);
        EXPECT_EQ(c.stop_bits, row.stop_bits);
        EXPECT_EQ(c.has_even_parity, row.even_parity);
        EXPECT_EQ(c.paces_output, row.xonxoff == 0);
        EXPECT_EQ(c.paces_input, row.xonxoff == 0);
        EXPECT_TRUE(c.xon == 0x11 && c.xoff == 0x13);
        closers232(port);
    }
}

TEST_F(ScriptedPort, RefusesUnknownCodes) {
    const struct {
        SerialParameters parameters;
        const char* message;
    } rows[] = {
        {{18, 48, 0, 0, 0}, "Invalid serial line speed: 18 bauds"},
        {{0, 8, 0, 0, 1}, "Invalid serial line speed: 0 bauds"},
        {{-1, 48, 0, 0, 0}, "Invalid serial line speed: -1 bauds"},
        {{13, 8, 0, 0, 1}, "Invalid serial line bits per pixel: 8"},
        {{13, 64, 0, 0, 0}, "Invalid serial line bits per pixel: 64"},
        {{13, 0, 1, 1, 1}, "Invalid serial line number of stop bits: 1"},
        {{13, 0, 1, 0, 64}, "Invalid serial line parity constant: 0"},
        {{1, 0, 2, 511, 0}, "Invalid serial line parity constant: 511"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(message_of([&] { EXPECT_EQ(open(row.parameters), nullptr); }), row.message);
        EXPECT_EQ(script.steps, "open events queues control? close ");
    }
}

TEST_F(ScriptedPort, LeavesNothingWithoutMemory) {
    movane_tests::check_every_allocation_failure("initrs232", "initrs232: Insufficient resources",
                                                 [] {
                                                     rs232_port* port   = open();
                                                     const bool is_open = port != nullptr;
                                                     EXPECT_EQ(closers232(port), is_open ? 0 : -1);
                                                     return is_open;
                                                 });
}

// --- using
// -----------------------------------------------------------------------------------------

TEST_F(ScriptedPort, WritesInAsManyStepsAsTheDeviceWants) {
    rs232_port* port = open();
    script.at_once   = 3;
    EXPECT_EQ(outstringrs232(port, "abcdefgh", 8), 0);
    EXPECT_EQ(outbrs232(port, 0x17a), 0);
    EXPECT_EQ(outstringrs232(port, "no", 0), 0);
    EXPECT_EQ(outstringrs232(port, "no", -1), 0);
    EXPECT_EQ(script.output, "abcdefghz");

    // Time-outs: told for output only, and the port stays open.
    script.at_once = 0;
    script.steps   = "";
    EXPECT_EQ(message_of([&] { EXPECT_EQ(outbrs232(port, 'a'), -1); }),
              "Cannot write to comm port.");
    unsigned char byte = 'x';
    EXPECT_EQ(message_of([&] { EXPECT_EQ(inbrs232(port, &byte), 0); }), "");
    EXPECT_EQ(script.steps, "status write status read ");
    script.at_once = 1;
    script.input   = "\xff";
    EXPECT_EQ(inbrs232(port, &byte), 1);
    EXPECT_EQ(byte, 0xff);
    closers232(port);
}

TEST_F(ScriptedPort, TellsItsQueues) {
    rs232_port* port = open();
    const struct {
        serial::Status status;
        int ready;
    } rows[] = {{{0, 0, false}, 1}, {{5, 1, false}, 0}, {{0, 0, true}, 0}, {{4096, 2, true}, 0}};
    for (const auto& row : rows) {
        script.status = row.status;
        EXPECT_EQ(outrs232rdy(port), row.ready);
        EXPECT_EQ(inrs232rdy(port), row.status.waiting_in);
    }
    closers232(port);
}

int call(int which, rs232_port* port) {
    unsigned char byte;
    switch (which) {
        case 0:
            return outbrs232(port, 'a');
        case 1:
            return outstringrs232(port, "a", 1);
        case 2:
            return outrs232rdy(port);
        case 3:
            return inbrs232(port, &byte);
        case 4:
            return inrs232rdy(port);
        default:
            return closers232(port);
    }
}
constexpr int kUses = 5;

TEST_F(ScriptedPort, OpensAgainAfterAFailure) {
    const std::string opening = "open events queues control? control timeouts ";
    rs232_port* port          = open({17, 32, 1, 512, 64});
    script.input              = "abc";
    for (int use = 0; use < kUses; ++use) {
        for (const char* step : {"status", use < 2 ? "write" : use == 3 ? "read" : "status"}) {
            SCOPED_TRACE(::testing::Message() << use << " with refused " << step);
            script.refused = step;
            EXPECT_EQ(message_of([&] { EXPECT_EQ(call(use, port), -1); }),
                      use < 3 ? "Cannot write to comm port." : "Cannot read from comm port.");
            EXPECT_TRUE(script.steps.ends_with(step + std::string(" close ")));

            script.refused = "events";
            EXPECT_EQ(message_of([&] { EXPECT_EQ(call(use, port), -1); }),
                      "Cannot disable events on port");

            script.refused = "";
            script.steps   = "";
            script.control = {};
            EXPECT_GE(call(use, port), 0);
            EXPECT_EQ(script.steps.find(opening + "status "), 0u);
            EXPECT_TRUE(script.control.bauds == 115200 && script.control.data_bits == 7);
        }
    }
    script.refused = "status";
    message_of([&] { call(0, port); });
    script.steps = "";
    EXPECT_EQ(closers232(port), 0);  // a closed one is not opened for that
    EXPECT_EQ(script.steps, "");
}

TEST_F(ScriptedPort, RefusesInvalidHandlesWithoutReadingThem) {
    rs232_port* freed = open();
    rs232_port* other = open();
    closers232(freed);
    const char foreign  = 0;
    auto* const invalid = reinterpret_cast<rs232_port*>(const_cast<char*>(&foreign));
    script.steps        = "";
    for (rs232_port* port : {freed, invalid, static_cast<rs232_port*>(nullptr)}) {
        for (int which = 0; which <= kUses; ++which)
            EXPECT_EQ(message_of([&] { EXPECT_EQ(call(which, port), -1); }), "");
    }
    EXPECT_EQ(script.steps, "");
    EXPECT_EQ(call(0, other), 0);
    closers232(other);
}

TEST(SerialPorts, ServeSeveralThreads) {
    static constexpr serial::Operations kSilent = {
        [](const char*) noexcept { return std::intptr_t{1}; },
        [](serial::Port&) noexcept { return true; },
        [](serial::Port&, int, int) noexcept { return true; },
        [](serial::Port&, serial::Control&) noexcept { return true; },
        [](serial::Port&, const serial::Control&) noexcept { return true; },
        [](serial::Port&, const serial::Timeouts&) noexcept { return true; },
        [](serial::Port&, serial::Status& status) noexcept {
            status = {1, 0, false};
            return true;
        },
        [](serial::Port&, void*, int) noexcept { return 0; },
        [](serial::Port&, const void*, int size) noexcept { return size; },
        [](serial::Port&) noexcept {}};
    const auto work = [] {
        for (int round = 0; round < 200; ++round) {
            rs232_port* handles[5];
            for (rs232_port*& port : handles)
                port = movane::open_serial_port(kSilent, "dev", kUsual);
            for (const int i : {2, 0, 4, 1, 3}) {
                EXPECT_EQ(inrs232rdy(handles[i]), 1);
                EXPECT_EQ(closers232(handles[i]), 0);
            }
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back(work);
    for (std::thread& thread : threads) thread.join();
}

// --- the system's answers
// --------------------------------------------------------------------------

TEST(SerialControl, IsReadBackAsWritten) {
    const movane_tests::SerialLine line;
    if (!line.absence().empty()) GTEST_SKIP() << line.absence();
    serial::Port port{serial::open(line.port().c_str()), {}};
    ASSERT_NE(port.handle, serial::kClosed);
    EXPECT_TRUE(serial::disable_events(port));
    EXPECT_TRUE(serial::set_queues(port, 4096, 4096));

    int row = 0;
    for (const int bauds : {50, 75, 110, 134, 150, 200, 300, 600, 1200, 1800, 2400, 4800, 9600,
                            19200, 38400, 57600, 115200}) {
        const bool paces_output = row % 2 == 0, paces_input = row % 3 == 0;
        // Pseudo-terminals know 8 bits without parity only, and are content when asked for others.
        const int data_bits         = ++row % 5 == 0 ? 7 : 8;
        const serial::Control asked = {bauds,        data_bits,   1 + row % 2, data_bits == 7,
                                       paces_output, paces_input, 0x11,        0x13};
        EXPECT_TRUE(serial::write_control(port, asked));
        serial::Control found{};
        EXPECT_TRUE(serial::read_control(port, found));
        EXPECT_EQ(found.bauds, bauds);
        EXPECT_EQ(found.stop_bits, asked.stop_bits) << bauds;
        EXPECT_EQ(found.paces_output, paces_output) << bauds;
        EXPECT_EQ(found.paces_input, paces_input) << bauds;
        EXPECT_TRUE(found.xon == 0x11 && found.xoff == 0x13);
    }
    const serial::Control too_fast = {12345678, 8, 1, false, false, false, 0x11, 0x13};
    if (movane_tests::SerialLine::is_pseudo_terminal) {
        EXPECT_FALSE(serial::write_control(port, too_fast));
    }
    serial::close(port);
    EXPECT_EQ(port.handle, serial::kClosed);
}

}  // namespace
