// MD5: the test suite of RFC 1321, lengths around the blocks, and files.

#include "movane/services.h"

#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace {

using movane_tests::TemporaryDirectory;
using movane_tests::write_file;
using Bytes = std::vector<unsigned char>;

Bytes bytes_of(const std::string& text) { return {text.begin(), text.end()}; }

// Digested in pieces of `piece` bytes.
Bytes digest_of(const Bytes& data, std::size_t piece) {
    MD5_CTX context;
    MD5Init(&context);
    for (std::size_t at = 0; at < data.size(); at += piece) {
        const std::size_t size = std::min(piece, data.size() - at);
        MD5Update(&context, data.data() + at, static_cast<unsigned int>(size));
    }
    Bytes digest(16);
    MD5Final(digest.data(), &context);
    return digest;
}

std::string hex_of(const Bytes& digest) {
    std::string hex;
    for (const unsigned char byte : digest) {
        hex += "0123456789abcdef"[byte >> 4];
        hex += "0123456789abcdef"[byte & 15];
    }
    return hex;
}

std::string hex_of(const std::string& text) {
    return hex_of(digest_of(bytes_of(text), text.size() + 1));
}

TEST(Md5, DigestsTheTestSuite) {
    EXPECT_EQ(hex_of(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(hex_of("a"), "0cc175b9c0f1b6a831c399e269772661");
    EXPECT_EQ(hex_of("abc"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(hex_of("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
    EXPECT_EQ(hex_of("abcdefghijklmnopqrstuvwxyz"), "c3fcd3d76192e4007dfb496cca67e13b");
    EXPECT_EQ(hex_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
              "d174ab98d277d9f5a5611c2c9f419d9f");
    EXPECT_EQ(hex_of("1234567890123456789012345678901234567890"
                     "1234567890123456789012345678901234567890"),
              "57edf4a22be3c955ac49da2e2107b67a");
}

TEST(Md5, PadsEveryLength) {
    EXPECT_EQ(hex_of(std::string(55, 'a')), "ef1772b6dff9a122358552954ad0df65");
    EXPECT_EQ(hex_of(std::string(56, 'a')), "3b0c8ac703f828b04c6c197006d17218");
    EXPECT_EQ(hex_of(std::string(64, 'a')), "014842d480b571495a4a0363793f7367");
    Bytes digests;
    for (int length = 0; length < 300; ++length) {
        Bytes data;
        for (int i = 0; i < length; ++i) data.push_back(static_cast<unsigned char>(7 * length + i));
        const Bytes digest = digest_of(data, 1000);
        digests.insert(digests.end(), digest.begin(), digest.end());
        for (const std::size_t piece : {1, 17, 63, 64, 65})
            ASSERT_EQ(digest_of(data, piece), digest) << length << ' ' << piece;
    }
    EXPECT_EQ(hex_of(digest_of(digests, 64)), "62013c86fad7c16561532885a846de08");
}

TEST(Md5, DigestsFiles) {
    const TemporaryDirectory directory;
    const struct {
        std::size_t size;
        const char* hex;
    } rows[] = {
        {0, "D41D8CD98F00B204E9800998ECF8427E"},     {16384, "4930D6F72F5BE1F448C20897C2354ECA"},
        {16385, "433CA3F6CEFA5D24CB0EF44F5899DBCC"}, {49152, "2DEFF64355A5BA4D398364FC23F2E4E0"},
        {40000, "8B0CD25367F3DA0DBDA8439E8D1749B1"},
    };
    for (const auto& row : rows) {
        std::string bytes;  // CR, LF and end-of-text characters among them
        for (std::size_t i = 0; i < row.size; ++i) bytes += static_cast<char>(i * i >> 3);
        const std::string path = directory / "prüfung";
        write_file(path, bytes);
        char hex[34] = "";
        hex[33]      = '#';
        EXPECT_EQ(MD5_check_file(path.c_str(), hex), 0);
        EXPECT_STREQ(hex, row.hex);
        EXPECT_EQ(hex[33], '#');
    }
}

TEST(Md5, LeavesTheResultWithoutAFile) {
    const TemporaryDirectory directory;
    char hex[33] = "untouched";
    EXPECT_EQ(MD5_check_file((directory / "none").c_str(), hex), 1);
    EXPECT_EQ(MD5_check_file((directory / "").c_str(), hex), 1);
    EXPECT_EQ(MD5_check_file("", hex), 1);
    EXPECT_STREQ(hex, "untouched");
}

// Such a file claims to be larger than what can be read of it.
TEST(Md5, RefusesFilesThatShrink) {
    const std::string path = "/sys/devices/system/cpu/online";
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "no file here ends before its size";
    char hex[33] = "untouched";
    EXPECT_EQ(MD5_check_file(path.c_str(), hex), 1);
    EXPECT_STREQ(hex, "untouched");
}

}  // namespace
