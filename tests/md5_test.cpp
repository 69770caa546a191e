// MD5: texts of the test suite of RFC 1321, lengths around the blocks, and files.

#include "movane/services.h"

#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

// Digested in pieces of `piece` bytes.
std::string digest_of(const std::string& data, std::size_t piece = 64) {
    MD5_CTX context;
    MD5Init(&context);
    for (std::size_t at = 0; at < data.size(); at += piece) {
        const std::string part = data.substr(at, piece);
        MD5Update(&context, reinterpret_cast<const unsigned char*>(part.data()),
                  static_cast<unsigned int>(part.size()));
    }
    unsigned char digest[16];
    MD5Final(digest, &context);
    char hex[33] = "";
    for (int i = 0; i < 16; ++i) std::snprintf(hex + 2 * i, 3, "%02X", digest[i]);
    return hex;
}

TEST(Md5, DigestsEveryLengthInAnyPieces) {
    EXPECT_EQ(digest_of("abc"), "900150983CD24FB0D6963F7D28E17F72");
    EXPECT_EQ(digest_of("message digest"), "F96B697D7CB7938D525A2F31AAF161D0");
    std::string digests;
    for (int length = 0; length < 300; ++length) {
        std::string data;
        for (int i = 0; i < length; ++i) data += static_cast<char>(7 * length + i);
        digests += digest_of(data);
        for (const std::size_t piece : {1, 17, 63, 65, 1000})
            ASSERT_TRUE(digests.ends_with(digest_of(data, piece))) << length << ' ' << piece;
    }
    EXPECT_EQ(digest_of(digests), "1EE6F1793ECF7C24A3CE1CC52973E843");
}

TEST(Md5, DigestsFiles) {
    const movane_tests::TemporaryDirectory directory;
    const std::string path = directory / "prüfung";
    const auto digest      = [](const std::string& file, int result) {
        char hex[34] = "untouched";
        hex[33]      = '#';
        EXPECT_EQ(MD5_check_file(file.c_str(), hex), result);
        EXPECT_EQ(hex[33], '#');
        return std::string(hex);
    };
    for (const std::size_t size : {0, 16384, 16385, 40000}) {
        std::string bytes;  // CR, LF and end-of-text characters among them
        for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(i * i >> 3);
        movane_tests::write_file(path, bytes);
        EXPECT_EQ(digest(path, 0), digest_of(bytes));
    }
    // The last one, where a system has it, claims to be larger than what can be read of it.
    for (const std::string& bad : {directory / "none", directory / "", std::string(),
                                   std::string("/sys/devices/system/cpu/online")})
        EXPECT_EQ(digest(bad, 1), "untouched");
}

}  // namespace
