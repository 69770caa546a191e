// MD5: texts of the test suite of RFC 1321, lengths around the blocks, and files.

#include "movane/services.h"

#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

// Digested in pieces of `piece` bytes.
std::string digest_of(const std::string& data, std::size_t piece) {
    MD5_CTX context;
    MD5Init(&context);
    for (std::size_t at = 0; at < data.size(); at += piece) {
        const std::string part = data.substr(at, piece);
        MD5Update(&context, reinterpret_cast<const unsigned char*>(part.data()),
                  static_cast<unsigned int>(part.size()));
    }
    unsigned char digest[16];
    MD5Final(digest, &context);
    return {digest, digest + 16};
}

std::string hex_of(const std::string& data) {
    char hex[33] = "";
    int length   = 0;
    for (const unsigned char c : digest_of(data, 64))
        length += std::sprintf(hex + length, "%02X", c);
    return hex;
}

TEST(Md5, DigestsEveryLengthInAnyPieces) {
    EXPECT_EQ(hex_of("abc"), "900150983CD24FB0D6963F7D28E17F72");
    EXPECT_EQ(hex_of("message digest"), "F96B697D7CB7938D525A2F31AAF161D0");
    std::string digests;
    for (int length = 0; length < 300; ++length) {
        std::string data;
        for (int i = 0; i < length; ++i) data += static_cast<char>(7 * length + i);
        const std::string digest = digest_of(data, 1000);
        digests += digest;
        for (const std::size_t piece : {1, 17, 63, 64, 65})
            ASSERT_EQ(digest_of(data, piece), digest) << length << ' ' << piece;
    }
    EXPECT_EQ(hex_of(digests), "62013C86FAD7C16561532885A846DE08");
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
        EXPECT_EQ(digest(path, 0), hex_of(bytes));
    }
    // The last one, where a system has it, claims to be larger than what can be read of it.
    for (const std::string& bad : {directory / "none", directory / "", std::string(),
                                   std::string("/sys/devices/system/cpu/online")})
        EXPECT_EQ(digest(bad, 1), "untouched");
}

}  // namespace
