// The cipher: exact bytes, and back again for any key.

#include "movane/services.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

Bytes encrypted(const Bytes& plain, unsigned key, unsigned short c1, unsigned short c2) {
    Bytes cipher(plain.size());
    CipherEncrypt(plain.data(), static_cast<unsigned>(plain.size()), cipher.data(), key, c1, c2);
    return cipher;
}

TEST(Cipher, GivesTheseBytes) {
    EXPECT_EQ(encrypted({'M', 'O', 'V', 'A', 'N', 'E', ' ', 'c'}, 12345, 52845, 22719),
              (Bytes{0x7d, 0xc5, 0x72, 0xb9, 0x9e, 0xa7, 0x42, 0x91}));
    // The low half of the key alone counts, and products beyond 31 bits wrap.
    EXPECT_EQ(encrypted(Bytes(8), 0x1ABCDEF, USHRT_MAX, USHRT_MAX),
              (Bytes{0xcd, 0x31, 0xce, 0x30, 0xcf, 0x30, 0xcf, 0x2f}));
}

TEST(Cipher, IsUndoneInPlace) {
    std::mt19937 random(62);
    for (int round = 0; round < 500; ++round) {
        Bytes plain(random() % 100);
        for (unsigned char& byte : plain) byte = static_cast<unsigned char>(random());
        const auto key = static_cast<unsigned>(random());
        const auto c1  = static_cast<unsigned short>(random()),
                   c2  = static_cast<unsigned short>(random());
        Bytes bytes    = plain;
        CipherEncrypt(bytes.data(), static_cast<unsigned>(plain.size()), bytes.data(), key, c1, c2);
        EXPECT_EQ(bytes, encrypted(plain, key, c1, c2));
        for (const int length : {0, INT_MIN, static_cast<int>(plain.size())})
            CipherDecrypt(bytes.data(), length, bytes.data(), key, c1, c2);
        EXPECT_EQ(bytes, plain);
    }
}

}  // namespace
