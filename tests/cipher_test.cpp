// The cipher: exact bytes, and back again for any key.

#include "movane/services.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

Bytes encrypted(const Bytes& plain, unsigned key, unsigned short c1, unsigned short c2) {
    Bytes cipher(plain.size());
    CipherEncrypt(plain.data(), static_cast<unsigned>(plain.size()), cipher.data(), key, c1, c2);
    return cipher;
}

TEST(Cipher, GivesTheseBytes) {
    const std::string text = "MOVANE colour";
    EXPECT_EQ(
        encrypted({text.begin(), text.end()}, 12345, 52845, 22719),
        (Bytes{0x7d, 0xc5, 0x72, 0xb9, 0x9e, 0xa7, 0x42, 0x91, 0x8f, 0x4f, 0x87, 0xb0, 0xa3}));
    // The low half of the key alone counts, and products beyond 31 bits wrap.
    EXPECT_EQ(encrypted(Bytes(8), 0x1ABCDEF, USHRT_MAX, USHRT_MAX),
              (Bytes{0xcd, 0x31, 0xce, 0x30, 0xcf, 0x30, 0xcf, 0x2f}));
}

TEST(Cipher, IsUndoneWithTheSameKey) {
    std::mt19937 random(62);
    for (int round = 0; round < 500; ++round) {
        Bytes plain(random() % 100);
        for (unsigned char& byte : plain) byte = static_cast<unsigned char>(random());
        const auto key     = static_cast<unsigned>(random());
        const auto c1      = static_cast<unsigned short>(random()),
                   c2      = static_cast<unsigned short>(random());
        const int length   = static_cast<int>(plain.size());
        const Bytes cipher = encrypted(plain, key, c1, c2);

        Bytes back(plain.size());
        CipherDecrypt(cipher.data(), length, back.data(), key, c1, c2);
        EXPECT_EQ(back, plain);

        Bytes in_place = plain;
        CipherEncrypt(in_place.data(), static_cast<unsigned>(length), in_place.data(), key, c1, c2);
        EXPECT_EQ(in_place, cipher);
        CipherDecrypt(in_place.data(), length, in_place.data(), key, c1, c2);
        EXPECT_EQ(in_place, plain);
    }
}

TEST(Cipher, DoesNothingWithoutLength) {
    unsigned char in = 'i', out = 'o';
    CipherEncrypt(&in, 0, &out, 1, 2, 3);
    for (const int length : {0, -1, INT_MIN}) CipherDecrypt(&in, length, &out, 1, 2, 3);
    EXPECT_EQ(out, 'o');
}

}  // namespace
