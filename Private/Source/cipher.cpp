// A stream cipher: a 16-bit register gives the key stream and is fed with the enciphered bytes.

#include "movane/services.h"

#include <cstdint>

namespace {

class Register {
public:
    Register(unsigned key, unsigned short c1, unsigned short c2)
        : value_(static_cast<std::uint16_t>(key)), c1_(c1), c2_(c2) {}

    unsigned char mask() const { return static_cast<unsigned char>(value_ >> 8); }

    void feed(unsigned char cipher) {
        const std::uint32_t sum = (cipher + std::uint32_t{value_}) & 0xFFFF;
        value_                  = static_cast<std::uint16_t>(sum * c1_ + c2_);
    }

private:
    std::uint16_t value_;
    std::uint32_t c1_, c2_;
};

}  // namespace

void CipherEncrypt(const unsigned char* plain, unsigned int length, unsigned char* cipher,
                   unsigned int key, unsigned short c1, unsigned short c2) {
    Register r(key, c1, c2);
    for (unsigned int i = 0; i < length; ++i) {
        cipher[i] = plain[i] ^ r.mask();
        r.feed(cipher[i]);
    }
}

void CipherDecrypt(const unsigned char* cipher, int length, unsigned char* plain, unsigned int key,
                   unsigned short c1, unsigned short c2) {
    Register r(key, c1, c2);
    for (int i = 0; i < length; ++i) {
        const unsigned char enciphered = cipher[i];  // `plain` may be `cipher`
        plain[i]                       = enciphered ^ r.mask();
        r.feed(enciphered);
    }
}
