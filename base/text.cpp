// SPDX-License-Identifier: MIT
#include "base/text.h"

#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

bool put(Out out, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(out.text, out.size, format, arguments);
    va_end(arguments);
    return length >= 0 && static_cast<size_t>(length) < out.size;
}

bool join(Out out, std::initializer_list<const char *> parts) {
    out.text[0] = '\0';
    return append(out, parts);
}

bool append(Out out, std::initializer_list<const char *> parts) {
    char *at = out.text + strlen(out.text);
    const char *const last = out.text + out.size - 1;
    bool fits = true;
    for (const char *part : parts) {
        for (; *part != '\0' && at < last; ++part) {
            *at++ = *part;
        }
        fits = fits && *part == '\0';
    }
    *at = '\0';
    return fits;
}

Decimal::Decimal(long long value) : first_(text_ + sizeof text_ - 1) {
    *first_ = '\0';
    // Unsigned, because the smallest number has no counterpart.
    const auto bits = static_cast<unsigned long long>(value);
    const unsigned long long magnitude = value < 0 ? 0 - bits : bits;
    // In portions of 16 bits: a division of 64 bits at once is 2 KiB of library on the 32-bit processors of routers.
    uint32_t portions[] = {static_cast<uint32_t>(magnitude >> 48) & 0xffff,
                           static_cast<uint32_t>(magnitude >> 32) & 0xffff,
                           static_cast<uint32_t>(magnitude >> 16) & 0xffff, static_cast<uint32_t>(magnitude) & 0xffff};
    uint32_t left = 0;
    do {
        uint32_t digit = 0;
        left = 0;
        for (uint32_t &portion : portions) {
            const uint32_t number = digit << 16 | portion;
            portion = number / 10;
            digit = number % 10;
            left |= portion;
        }
        *--first_ = static_cast<char>('0' + digit);
    } while (left != 0);
    if (value < 0) {
        *--first_ = '-';
    }
}

Dotted::Dotted(in_addr address) {
    uint8_t octets[4];
    memcpy(octets, &address, sizeof octets);
    join(text_, {Decimal(octets[0]).c_str(), ".", Decimal(octets[1]).c_str(), ".", Decimal(octets[2]).c_str(), ".",
                 Decimal(octets[3]).c_str()});
}

int decimal_value(const char *text) {
    const long value = strtol(text, nullptr, 10);
    if (value > INT_MAX) {
        return INT_MAX;
    }
    return value < INT_MIN ? INT_MIN : static_cast<int>(value);
}

void str_to_lower(char *text) {
    for (; *text != '\0'; ++text) {
        if (*text >= 'A' && *text <= 'Z') {
            *text = static_cast<char>(*text + ('a' - 'A'));
        }
    }
}
