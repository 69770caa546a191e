// Base64, one group at a time, in the standard alphabet (RFC 4648).

#include "movane/services.h"

#include <string_view>

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr unsigned kNoCharacter = 63;  // the value of what is not in the alphabet

unsigned char character(int value) {
    return static_cast<unsigned char>(kAlphabet[static_cast<unsigned>(value)]);
}

unsigned value_of(unsigned char c) {
    const std::size_t value = kAlphabet.find(static_cast<char>(c));
    return value == kAlphabet.npos ? kNoCharacter : static_cast<unsigned>(value);
}

}  // namespace

int encodeToBase64(const unsigned char* in, unsigned char* out, int n) {
    out[0] = character(in[0] >> 2);
    out[1] = character((in[0] & 3) << 4 | in[1] >> 4);
    out[2] = n >= 2 ? character((in[1] & 15) << 2 | in[2] >> 6) : '=';
    out[3] = n == 3 ? character(in[2] & 63) : '=';
    return 4;
}

int decodeFromBase64(const unsigned char* in, unsigned char* out) {
    const unsigned d0 = value_of(in[0]), d1 = value_of(in[1]), d2 = value_of(in[2]),
                   d3 = value_of(in[3]);
    out[0]            = static_cast<unsigned char>(d0 << 2 | d1 >> 4);
    out[1]            = static_cast<unsigned char>(d1 << 4 | d2 >> 2);
    out[2]            = static_cast<unsigned char>(d2 << 6 | d3);
    return 3;
}
