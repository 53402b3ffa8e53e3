// SPDX-License-Identifier: MIT
#include "login/md5.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/shortage.h"

namespace {

constexpr size_t kBlockSize = 64;
constexpr size_t kDigestSize = 16;
constexpr size_t kLengthSize = 8;  // the message's length in bits ends the last block

struct Md5State {
    uint32_t word[4] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
};

// The integer part of 2^32 times abs(sin(i + 1)).
constexpr uint32_t kSine[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391,
};

// One round: how its 16 steps rotate, and which word of the block step i takes, (step * i + first) modulo 16.
struct Round {
    uint8_t rotate[4];
    uint8_t step;
    uint8_t first;
};
constexpr Round kRounds[4] = {
    {{7, 12, 17, 22}, 1, 0},
    {{5, 9, 14, 20},  5, 1},
    {{4, 11, 16, 23}, 3, 5},
    {{6, 10, 15, 21}, 7, 0},
};

uint32_t mix(size_t round, uint32_t x, uint32_t y, uint32_t z) {
    switch (round) {
        case 0:
            return (x & y) | (~x & z);
        case 1:
            return (x & z) | (y & ~z);
        case 2:
            return x ^ y ^ z;
        default:
            return y ^ (x | ~z);
    }
}

uint32_t rotate_left(uint32_t value, uint32_t count) {
    return (value << count) | (value >> (32 - count));
}

// MD5 is little-endian on every machine.
uint32_t load_word(const uint8_t *bytes) {
    return static_cast<uint32_t>(bytes[0]) | static_cast<uint32_t>(bytes[1]) << 8 |
           static_cast<uint32_t>(bytes[2]) << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}

void store_word(uint32_t word, uint8_t *bytes) {
    for (uint32_t i = 0; i < 4; ++i) {
        bytes[i] = static_cast<uint8_t>(word >> (8 * i));
    }
}

void digest_block(Md5State &state, const uint8_t *block) {
    uint32_t a = state.word[0];
    uint32_t b = state.word[1];
    uint32_t c = state.word[2];
    uint32_t d = state.word[3];
    for (size_t i = 0; i < 64; ++i) {
        const Round &round = kRounds[i / 16];
        const uint32_t word = load_word(block + 4 * ((round.step * i + round.first) % 16));
        const uint32_t sum = a + mix(i / 16, b, c, d) + kSine[i] + word;
        a = d;
        d = c;
        c = b;
        b += rotate_left(sum, round.rotate[i % 4]);
    }
    state.word[0] += a;
    state.word[1] += b;
    state.word[2] += c;
    state.word[3] += d;
}

void digest_text(const char *text, uint8_t (&digest)[kDigestSize]) {
    const size_t length = strlen(text);
    const uint8_t *bytes = reinterpret_cast<const uint8_t *>(text);
    Md5State state;
    size_t done = 0;
    for (; length - done >= kBlockSize; done += kBlockSize) {
        digest_block(state, bytes + done);
    }
    // The rest, a one bit, zeros, and the length in bits: in one more block, or two when the length does not fit.
    uint8_t tail[2 * kBlockSize] = {};
    const size_t rest = length - done;
    memcpy(tail, bytes + done, rest);
    tail[rest] = 0x80;
    const size_t tail_size = rest + 1 + kLengthSize <= kBlockSize ? kBlockSize : 2 * kBlockSize;
    const uint64_t bits = static_cast<uint64_t>(length) * 8;
    store_word(static_cast<uint32_t>(bits), tail + tail_size - kLengthSize);
    store_word(static_cast<uint32_t>(bits >> 32), tail + tail_size - kLengthSize / 2);
    for (size_t at = 0; at < tail_size; at += kBlockSize) {
        digest_block(state, tail + at);
    }
    for (size_t i = 0; i < 4; ++i) {
        store_word(state.word[i], digest + 4 * i);
    }
}

}  // namespace

char *MD5_encryption(const char *text) {
    if (text == nullptr) {
        perror("app: argument of MD5_encryption is NULL.");
        return nullptr;
    }
    uint8_t digest[kDigestSize];
    digest_text(text, digest);
    constexpr size_t kHexSize = 2 * kDigestSize + 1;
    char *hex = static_cast<char *>(calloc(kHexSize, 1));
    if (hex == nullptr) {
        note_shortage();
        perror("app: malloc encryption out of memory in function MD5_encryption.");
        return nullptr;
    }
    constexpr char kDigits[] = "0123456789abcdef";
    for (size_t i = 0; i < kDigestSize; ++i) {
        hex[2 * i] = kDigits[digest[i] >> 4];
        hex[2 * i + 1] = kDigits[digest[i] & 15];
    }
    return hex;
}
