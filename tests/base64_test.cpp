// Base64 groups: rows of RFC 4648, and every group against shifting bits one by one.

#include "movane/services.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

const std::string kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string encoded(const std::string& in, int n) {
    unsigned char bytes[3] = {}, out[5] = {0, 0, 0, 0, '#'};
    for (std::size_t i = 0; i < in.size(); ++i) bytes[i] = static_cast<unsigned char>(in[i]);
    EXPECT_EQ(encodeToBase64(bytes, out, n), 4);
    EXPECT_EQ(out[4], '#');
    return {out, out + 4};
}

std::string decoded(const std::string& in) {
    unsigned char characters[4], out[4] = {0, 0, 0, '#'};
    for (std::size_t i = 0; i < 4; ++i) characters[i] = static_cast<unsigned char>(in[i]);
    EXPECT_EQ(decodeFromBase64(characters, out), 3);
    EXPECT_EQ(out[3], '#');
    return {out, out + 3};
}

TEST(Base64, EncodesAndPads) {
    EXPECT_EQ(encoded("M", 1), "TQ==");
    EXPECT_EQ(encoded("Ma", 2), "TWE=");
    EXPECT_EQ(encoded("Man", 3), "TWFu");
    EXPECT_EQ(encoded("f", 1), "Zg==");
    EXPECT_EQ(encoded("fo", 2), "Zm8=");
    EXPECT_EQ(encoded("\xFB\xEF\xFF", 3), "++//");
    EXPECT_EQ(encoded("M\xFF", 1), "Tf==");  // the high bits of the byte beyond
    EXPECT_EQ(encoded("Ma\xFF", 2), "TWH=");
}

TEST(Base64, DecodesWhatIsOutsideTheAlphabetAsTheLastCharacter) {
    EXPECT_EQ(decoded("TWFu"), "Man");
    EXPECT_EQ(decoded("TQ=="), "M\x0F\xFF");
    for (int c = 0; c < 256; ++c) {
        const char character = static_cast<char>(c);
        const bool is_known  = kAlphabet.find(character) != kAlphabet.npos;
        const std::string in = {character, 'A', 'A', character};
        EXPECT_EQ(decoded(in), decoded(is_known ? in : "/AA/")) << c;
    }
}

TEST(Base64, AgreesWithBitsOneByOne) {
    std::mt19937 random(62);
    for (int round = 0; round < 5000; ++round) {
        std::string bytes, expected;
        for (int i = 0; i < 3; ++i) bytes += static_cast<char>(random());
        unsigned value = 0;
        for (int bit = 0; bit < 24; ++bit) {
            const auto byte = static_cast<unsigned char>(bytes[static_cast<std::size_t>(bit / 8)]);
            value           = value * 2 + (byte >> (7 - bit % 8) & 1);
            if (bit % 6 == 5) expected += kAlphabet[value % 64];
        }
        EXPECT_EQ(encoded(bytes, 3), expected);
        EXPECT_EQ(decoded(expected), bytes);
    }
}

}  // namespace
