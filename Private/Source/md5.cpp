// The MD5 message digest (RFC 1321), of memory and of files.

#include "movane/services.h"

#include "Engine/runtime.h"
#include "Engine/utf8_files.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

constexpr std::size_t kBlockSize    = 64;
constexpr std::size_t kLengthOffset = 56;     // of the bit count in the last block
constexpr std::size_t kChunkSize    = 16384;  // bytes of a file read at a time

// floor(2^32 * |sin(i + 1)|)
constexpr std::uint32_t kSines[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

constexpr int kShifts[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

std::uint32_t load(const unsigned char* bytes) {
    return std::uint32_t{bytes[0]} | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 |
           std::uint32_t{bytes[3]} << 24;
}

void store(std::uint32_t word, unsigned char* bytes) {
    for (int i = 0; i < 4; ++i) bytes[i] = static_cast<unsigned char>(word >> 8 * i);
}

void digest_block(unsigned int state[4], const unsigned char* block) {
    std::uint32_t words[16];
    for (int i = 0; i < 16; ++i) words[i] = load(block + 4 * i);

    std::uint32_t a = state[0], b = state[1], c = state[2], d = state[3];
    const auto round = [&](int number, int factor, int offset, auto mix) {
        for (int i = 0; i < 16; ++i) {
            const std::uint32_t sum =
                a + mix(b, c, d) + words[(factor * i + offset) % 16] + kSines[16 * number + i];
            a = d;
            d = c;
            c = b;
            b += std::rotl(sum, kShifts[number][i % 4]);
        }
    };
    using Word = std::uint32_t;
    round(0, 1, 0, [](Word x, Word y, Word z) { return (x & y) | (~x & z); });
    round(1, 5, 1, [](Word x, Word y, Word z) { return (x & z) | (y & ~z); });
    round(2, 3, 5, [](Word x, Word y, Word z) { return x ^ y ^ z; });
    round(3, 7, 0, [](Word x, Word y, Word z) { return y ^ (x | ~z); });
    state[0] += a;
    state[1] += b;
    state[2] += c;
    state[3] += d;
}

// Bytes that wait in the block.
std::size_t filled_bytes(const MD5_CTX& context) { return context.bits / 8 % kBlockSize; }

bool digest_file(std::FILE* file, long long size, MD5_CTX* context) {
    unsigned char chunk[kChunkSize];
    while (size > 0) {
        const auto wanted = static_cast<std::size_t>(std::min<long long>(size, sizeof chunk));
        if (std::fread(chunk, 1, wanted, file) != wanted) return false;
        MD5Update(context, chunk, static_cast<unsigned int>(wanted));
        size -= static_cast<long long>(wanted);
    }
    return true;
}

}  // namespace

void MD5Init(MD5_CTX* context) {
    *context = {.state = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476}, .bits = 0, .block = {}};
}

void MD5Update(MD5_CTX* context, const unsigned char* data, unsigned int length) {
    std::size_t filled = filled_bytes(*context);
    context->bits += 8ULL * length;
    while (length > 0) {
        const std::size_t taken = std::min<std::size_t>(length, kBlockSize - filled);
        std::memcpy(context->block + filled, data, taken);
        data += taken;
        length -= static_cast<unsigned int>(taken);
        filled += taken;
        if (filled < kBlockSize) return;
        digest_block(context->state, context->block);
        filled = 0;
    }
}

void MD5Final(unsigned char digest[16], MD5_CTX* context) {
    constexpr unsigned char kPadding[kBlockSize] = {0x80};

    unsigned char length[8];
    store(static_cast<std::uint32_t>(context->bits), length);
    store(static_cast<std::uint32_t>(context->bits >> 32), length + 4);

    const std::size_t filled = filled_bytes(*context);
    const std::size_t end    = filled < kLengthOffset ? kLengthOffset : kLengthOffset + kBlockSize;
    MD5Update(context, kPadding, static_cast<unsigned int>(end - filled));
    MD5Update(context, length, sizeof length);
    for (int i = 0; i < 4; ++i) store(context->state[i], digest + 4 * i);
}

int MD5_check_file(const char* path, char* hex) {
    stat_utf8 found;
    if (stat32_utf8(path, &found) != 0 || found.is_directory) return 1;
    std::FILE* const file = fopen_utf8(path, "rb");
    if (!file) return 1;
    MD5_CTX context;
    MD5Init(&context);
    const bool is_complete = digest_file(file, found.size, &context);
    fclosx(file);
    if (!is_complete) return 1;

    unsigned char digest[16];
    MD5Final(digest, &context);
    constexpr char kHexDigits[] = "0123456789ABCDEF";
    for (const unsigned char byte : digest) {
        *hex++ = kHexDigits[byte >> 4];
        *hex++ = kHexDigits[byte & 15];
    }
    *hex = '\0';
    return 0;
}
