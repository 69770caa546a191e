// Serial ports on a device that does as the test says: every step, code and message. Then what
// the system's own answers make of a control block.

#include "movane/services.h"

#include "Source/rscom_gen.h"
#include "support/allocation_failures.h"
#include "support/serial_line.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <sstream>
#include <thread>
#include <vector>

namespace {

namespace serial = movane::serial;
using namespace movane_tests;
using serial::Control, serial::Port, serial::Status, serial::Timeouts;

// --- the scripted device -------------------------------------------------------------------------

struct Script {
    std::string steps   = {};  // those done so far, such as "open events "
    std::string refused = {};  // the one that fails
    std::string input   = {};
    int at_once         = 100;  // bytes that a write transfers; 0: the time is over
    Status status       = {};
};
thread_local Script script;

template <class... Details>
bool does(const char* step, const Details&... details) {
    std::ostringstream text;
    ((text << step) << ... << details) << ' ';
    script.steps += text.str();
    return script.refused != step;
}

std::string text_of(const Control& c) {
    std::ostringstream text;
    text << c.bauds << ',' << c.data_bits << (c.has_even_parity ? 'e' : 'n') << c.stop_bits;
    text << (c.paces_output ? "o" : "") << (c.paces_input ? "i" : "");
    return text.str() + (c.xon == 0x11 && c.xoff == 0x13 ? "" : " by strange characters");
}

constexpr serial::Operations kScripted = {
    [](const char*) noexcept { return does("open") ? std::intptr_t{7} : serial::kClosed; },
    [](Port&) noexcept { return does("events"); },
    [](Port&, int in, int out) noexcept { return does("queues", in, ',', out); },
    [](Port&, Control&) noexcept { return does("control?"); },
    [](Port&, const Control& control) noexcept { return does("control", text_of(control)); },
    [](Port&, const Timeouts& t) noexcept {
        return does("times", t.read_interval_ms, ',', t.read_total_ms, ',', t.write_total_ms);
    },
    [](Port&, Status& status) noexcept {
        status = script.status;
        return does("status");
    },
    [](Port&, void* data, int size) noexcept {
        return !does("read") ? -1
                             : static_cast<int>(script.input.copy(static_cast<char*>(data),
                                                                  static_cast<std::size_t>(size)));
    },
    [](Port&, const void* data, int size) noexcept {
        const int count = std::min(size, script.at_once);
        const std::string bytes(static_cast<const char*>(data), static_cast<std::size_t>(count));
        return does("write", bytes) ? count : -1;
    },
    [](Port& port) noexcept {
        does("close");
        port.handle = serial::kClosed;
    }};

const std::string kOpening =
    "open events queues4096,4096 control? control9600,8n1oi times1000,500,1000 ";

rs232_port* open(const movane::SerialParameters& parameters = {13, 48, 0, 0, 0}) {
    script.steps = "";
    return movane::open_serial_port(kScripted, "dev", parameters);
}

// Every use of a port; closing it is the last.
std::vector<std::function<int()>> uses_of(rs232_port* port) {
    static unsigned char byte;
    return {[=] { return outbrs232(port, 'a'); }, [=] { return outstringrs232(port, "a", 1); },
            [=] { return outrs232rdy(port); },    [=] { return inbrs232(port, &byte); },
            [=] { return inrs232rdy(port); },     [=] { return closers232(port); }};
}

struct ScriptedPort : ::testing::Test {
    ScriptedPort() { script = {}; }
};

// --- opening -------------------------------------------------------------------------------------

TEST_F(ScriptedPort, ReportsEachRefusedStepAndIsLeftClosed) {
    const std::pair<std::string, std::string> rows[] = {
        {"open", "Cannot open serial port dev"},
        {"events", "Cannot disable events on port"},
        {"queues", "Cannot setup serial port buffers"},
        {"control?", "Cannot read device-control block for a serial port"},
        {"control", "Cannot setup device-control block for a seril port"},
        {"times", "Cannot setup serial port time-outs"}};
    for (const auto& [step, message] : rows) {
        script.refused = step;
        EXPECT_EQ(message_of([] { EXPECT_EQ(open(), nullptr); }), message);
        EXPECT_TRUE(kOpening.starts_with(script.steps.substr(0, script.steps.rfind("close"))));
        EXPECT_EQ(script.steps.ends_with(" close "), step != "open");
    }
    script.refused = "";
    EXPECT_EQ(closers232(open()), 0);
    EXPECT_EQ(script.steps, kOpening + "close ");
    check_every_allocation_failure("initrs232", "initrs232: Insufficient resources",
                                   [] { return closers232(open()) == 0; });
}

TEST_F(ScriptedPort, TranslatesCodes) {
    // What a port is set to, or why it is not opened.
    const auto setting = [](const movane::SerialParameters& parameters) {
        const std::string message = message_of([&] { closers232(open(parameters)); });
        EXPECT_TRUE(script.steps.ends_with(message.empty() ? "times1000,500,1000 close "
                                                           : "control? close "));
        const auto begin = script.steps.rfind("control") + 7;
        return message.empty() ? script.steps.substr(begin, script.steps.find(' ', begin) - begin)
                               : message;
    };
    int speed = 0;
    for (const char* bauds : {"50", "75", "110", "134", "150", "200", "300", "600", "1200", "1800",
                              "2400", "4800", "9600", "19200", "38400", "57600", "115200"})
        EXPECT_EQ(setting({++speed, 48, 0, 0, 0}), bauds + std::string(",8n1oi"));
    EXPECT_EQ(setting({13, 16, 0, 511, 64}), "9600,6n2oi");
    EXPECT_EQ(rs232_set_xonxoff(-1), 0);
    EXPECT_EQ(setting({13, 32, 1, 512, 0}), "9600,7e1");
    EXPECT_EQ(rs232_set_xonxoff(0), -1);
    EXPECT_EQ(setting({13, 0, -1, 512, 64}), "9600,5e2oi");
    EXPECT_EQ(setting({18, 48, 0, 0, 0}), "Invalid serial line speed: 18 bauds");
    EXPECT_EQ(setting({0, 8, 0, 0, 1}), "Invalid serial line speed: 0 bauds");
    EXPECT_EQ(setting({13, 8, 0, 0, 1}), "Invalid serial line bits per pixel: 8");
    EXPECT_EQ(setting({13, 64, 0, 0, 0}), "Invalid serial line bits per pixel: 64");
    EXPECT_EQ(setting({13, 0, 1, 1, 1}), "Invalid serial line number of stop bits: 1");
    EXPECT_EQ(setting({1, 0, 2, 511, 0}), "Invalid serial line parity constant: 511");
}

// --- using ---------------------------------------------------------------------------------------

TEST_F(ScriptedPort, WritesInAsManyStepsAsTheDeviceWants) {
    rs232_port* port   = open();
    unsigned char byte = 'x';
    script             = {.input = "\xff", .at_once = 3};
    for (const int length : {8, 0, -1}) EXPECT_EQ(outstringrs232(port, "abcdefgh", length), 0);
    EXPECT_EQ(outbrs232(port, 0x17a), 0);
    EXPECT_EQ(inbrs232(port, &byte), 1);
    EXPECT_EQ(byte, 0xff);
    EXPECT_EQ(script.steps,
              "status writeabc writedef writegh status status status writez status read ");

    // Time-outs: told for output only, and the port stays open.
    script = {.at_once = 0};
    EXPECT_EQ(outcome_of([&] { return outbrs232(port, 'a'); }), "-1 Cannot write to comm port.");
    EXPECT_EQ(outcome_of([&] { return inbrs232(port, &byte); }), "0");
    EXPECT_EQ(script.steps, "status write status read ");

    const std::pair<Status, int> rows[] = {
        {{0, 0, false}, 1}, {{5, 1, false}, 0}, {{4096, 0, true}, 0}};
    for (const auto& [status, is_ready] : rows) {
        script.status = status;
        EXPECT_EQ(outrs232rdy(port), is_ready);
        EXPECT_EQ(inrs232rdy(port), status.waiting_in);
    }
    closers232(port);
}

TEST_F(ScriptedPort, OpensAgainAfterAFailure) {
    rs232_port* port               = open();
    const std::string last_steps[] = {"write", "write", "status", "read", "status"};
    for (std::size_t use = 0; use < 5; ++use) {
        for (const std::string& step : {std::string("status"), last_steps[use]}) {
            const auto outcome = [&](const std::string& refused) {
                script = {.refused = refused};
                return outcome_of(uses_of(port)[use]);
            };
            EXPECT_EQ(outcome(step),
                      use < 3 ? "-1 Cannot write to comm port." : "-1 Cannot read from comm port.");
            EXPECT_TRUE(script.steps.ends_with(" close "));
            EXPECT_EQ(outcome("events"), "-1 Cannot disable events on port");
            EXPECT_NE(outcome("")[0], '-');
            EXPECT_TRUE(script.steps.starts_with(kOpening + "status "));
        }
    }
    script = {.refused = "status"};
    message_of([&] { inrs232rdy(port); });
    script = {};
    EXPECT_EQ(closers232(port), 0);  // a closed one is not opened for that
    EXPECT_EQ(script.steps, "");
}

TEST_F(ScriptedPort, RefusesInvalidHandlesWithoutReadingThem) {
    rs232_port* freed = open();
    rs232_port* other = open();
    closers232(freed);
    script       = {};
    char foreign = 0;
    for (rs232_port* port :
         {freed, reinterpret_cast<rs232_port*>(&foreign), static_cast<rs232_port*>(nullptr)})
        for (const auto& use : uses_of(port)) EXPECT_EQ(outcome_of(use), "-1");
    EXPECT_EQ(script.steps, "");
    EXPECT_EQ(closers232(other), 0);
}

TEST_F(ScriptedPort, ServesSeveralThreads) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([] {
            for (int round = 0; round < 200; ++round) {
                rs232_port* ports[5];
                for (rs232_port*& port : ports) port = open();
                for (const int i : {2, 0, 4, 1, 3}) EXPECT_EQ(closers232(ports[i]), 0);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

// --- the system's answers ------------------------------------------------------------------------

TEST(SerialControl, IsReadBackAsWritten) {
    const SerialLine line;
    if (!line.absence().empty()) GTEST_SKIP() << line.absence();
    Port port{serial::open(line.port().c_str()), {}};
    EXPECT_TRUE(serial::disable_events(port) && serial::set_queues(port, 4096, 4096));
    int row = 0;
    for (const int bauds : {50, 75, 110, 134, 150, 200, 300, 600, 1200, 1800, 2400, 4800, 9600,
                            19200, 38400, 57600, 115200}) {
        // Pseudo-terminals know 8 bits without parity only, and are content when asked for others.
        const bool is_seven = ++row % 5 == 0;
        Control asked       = {bauds,        is_seven ? 7 : 8, 1 + row % 2, is_seven,
                               row % 2 == 0, row % 3 == 0,     0x11,        0x13},
                found{};
        EXPECT_TRUE(serial::write_control(port, asked) && serial::read_control(port, found));
        asked.data_bits       = found.data_bits;
        asked.has_even_parity = found.has_even_parity;
        EXPECT_EQ(text_of(found), text_of(asked));
    }
    const Control too_fast = {12345678, 8, 1, false, false, false, 0x11, 0x13};
    EXPECT_FALSE(SerialLine::is_pseudo_terminal && serial::write_control(port, too_fast));
    serial::close(port);
    EXPECT_EQ(port.handle, serial::kClosed);
}

}  // namespace
