// Base64 groups against shifted integers.

#include "movane/services.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

const std::string kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Runs a call on a text of at least its input's size; the byte behind its output stays as it is.
template <class Call>
std::string output_of(int size, std::string in, Call call) {
    std::string out(static_cast<std::size_t>(size) + 1, '#');
    const auto bytes = [](std::string& text) { return reinterpret_cast<unsigned char*>(&text[0]); };
    EXPECT_EQ(call(bytes(in), bytes(out)), size);
    EXPECT_EQ(out.back(), '#');
    out.pop_back();
    return out;
}

std::string decoded(const std::string& in) { return output_of(3, in, decodeFromBase64); }

TEST(Base64, GoesBothWays) {
    std::mt19937 random(62);
    for (int round = 0; round < 5000; ++round) {
        const auto value = random() & 0xFFFFFF;
        std::string bytes, characters;
        for (int shift = 16; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift);
        for (int shift = 18; shift >= 0; shift -= 6) characters += kAlphabet[value >> shift & 63];
        EXPECT_EQ(decoded(characters), bytes);
        // Padding replaces characters; those before it show bits of the bytes beyond.
        for (int n = 3; n > 0; --n) {
            const auto encode = [n](auto* in, auto* out) { return encodeToBase64(in, out, n); };
            EXPECT_EQ(output_of(4, bytes, encode), characters);
            characters[static_cast<std::size_t>(n)] = '=';
        }
    }
}

TEST(Base64, DecodesWhatIsOutsideTheAlphabetAsTheLastCharacter) {
    for (int c = 0; c < 256; ++c) {
        const char character = static_cast<char>(c);
        const bool is_known  = kAlphabet.find(character) != kAlphabet.npos;
        const std::string in = {character, 'A', character, character};
        EXPECT_EQ(decoded(in), decoded(is_known ? in : "/A//")) << c;
    }
}

}  // namespace
