// Serial ports on a real line.

#include "movane/services.h"

#include "support/messages.h"
#include "support/serial_line.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

using namespace movane_tests;

rs232_port* open(const std::string& path) { return initrs232(path.c_str(), 17, 48, 0, 0, 0); }

std::string refusal_of(const std::string& path) {
    return message_of([&] { EXPECT_EQ(open(path), nullptr); });
}

// Waits a little for what travels by itself.
template <class Condition>
bool soon(Condition condition) {
    for (int i = 0; i < 1000 && !condition(); ++i) waitmsec(1);
    return condition();
}

class SerialPort : public ::testing::Test {
protected:
    void SetUp() override {
        if (!line.absence().empty()) GTEST_SKIP() << line.absence();
    }
    SerialLine line;
    unsigned char byte = 0;
};

TEST_F(SerialPort, CarriesEveryByteBothWays) {
    std::string all_bytes, received;
    for (int i = 0; i < 256; ++i) all_bytes += static_cast<char>(i);
    EXPECT_EQ(rs232_set_xonxoff(1), 0);
    rs232_port* port = open(line.port());
    EXPECT_EQ(rs232_set_xonxoff(0), 1);
    ASSERT_TRUE(port);

    EXPECT_EQ(outstringrs232(port, all_bytes.data(), 256), 0);
    EXPECT_EQ(outbrs232(port, 'a' + 0x100), 0);
    EXPECT_EQ(line.receive(257), all_bytes + "a");
    EXPECT_TRUE(soon([&] { return outrs232rdy(port) == 1; }));

    EXPECT_EQ(inrs232rdy(port), 0);
    line.send(all_bytes);
    EXPECT_TRUE(soon([&] { return inrs232rdy(port) == 256; }));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(message_of([&] {
                  while (inbrs232(port, &byte) == 1) received += static_cast<char>(byte);
              }),
              "");
    EXPECT_EQ(received, all_bytes);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(450));
    EXPECT_EQ(closers232(port), 0);
}

TEST_F(SerialPort, HasOneHolder) {
    if (!SerialLine::is_pseudo_terminal) GTEST_SKIP() << "Wine shares ports";
    for (int round = 0; round < 2; ++round) {
        rs232_port* port = open(line.port());
        EXPECT_EQ(refusal_of(line.port()), "Cannot open serial port " + line.port());
        EXPECT_EQ(closers232(port), 0);
        EXPECT_EQ(closers232(port), -1);
    }
}

TEST_F(SerialPort, IsHeldByXoff) {
    if (!SerialLine::is_pseudo_terminal) GTEST_SKIP() << "drivers differ in what they tell";
    rs232_port* port = open(line.port());
    line.send("\x13");
    EXPECT_TRUE(soon([&] { return outrs232rdy(port) == 0; }));
    EXPECT_EQ(outcome_of([&] { return outbrs232(port, 'a'); }), "-1 Cannot write to comm port.");
    line.send("\x11");
    EXPECT_TRUE(soon([&] { return outrs232rdy(port) == 1; }));
    EXPECT_EQ(inrs232rdy(port), 0);  // neither counts as input
    EXPECT_EQ(outbrs232(port, 'b'), 0);
    EXPECT_EQ(line.receive(1), "b");
    EXPECT_EQ(closers232(port), 0);
}

TEST_F(SerialPort, ComesBackWhenTheDeviceDoes) {
    if (!SerialLine::is_pseudo_terminal) GTEST_SKIP() << "the near end stays";
    const TemporaryDirectory directory;
    const std::string path = directory / "port";
    std::filesystem::create_symlink(line.port(), path_of(path));
    rs232_port* port = open(path);
    line.hang_up();
    EXPECT_EQ(outcome_of([&] { return inbrs232(port, &byte); }), "-1 Cannot read from comm port.");
    EXPECT_EQ(outcome_of([&] { return outrs232rdy(port); }), "-1 Cannot open serial port " + path);

    SerialLine next;
    std::filesystem::remove(path_of(path));
    std::filesystem::create_symlink(next.port(), path_of(path));
    EXPECT_EQ(outstringrs232(port, "back", 4), 0);
    EXPECT_EQ(next.receive(4), "back");
    next.hang_up();
    EXPECT_EQ(outcome_of([&] { return outbrs232(port, 0); }), "-1 Cannot write to comm port.");
    EXPECT_EQ(closers232(port), 0);
}

TEST(SerialPortPath, MustNameASerialPort) {
    const TemporaryDirectory directory;
    const std::string file = directory / "file";
    write_file(file, "text");
    EXPECT_EQ(refusal_of(file), "Cannot disable events on port");
    EXPECT_EQ(read_file(file), "text");
    for (const std::string& path : {directory / "none", directory / "", std::string(6000, 'x')})
        EXPECT_EQ(refusal_of(path),
                  ("Cannot open serial port " + path).substr(0, 511 - sizeof "ERROR : " + 1));
}

}  // namespace
