// SPDX-License-Identifier: MIT
#include "base/mac_text.h"

#include <cstring>

namespace {

// The digit's value; -1 for what is no hexadecimal digit.
int digit_value(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'a' && digit <= 'f') {
        return digit - 'a' + 10;
    }
    if (digit >= 'A' && digit <= 'F') {
        return digit - 'A' + 10;
    }
    return -1;
}

// Writes a byte as two of the 16 `digits`. Returns the place behind them. Lists of devices are full of addresses: with
// the formatter an address costs 2,000 instructions.
char *print_byte(uint8_t byte, const char *digits, char *text) {
    *text++ = digits[byte >> 4];
    *text++ = digits[byte & 0xf];
    return text;
}

}  // namespace

int ParseMacHex(const char *text, uint8_t (&mac)[kMacBytes]) {
    for (uint8_t &byte : mac) {
        const int high = digit_value(*text++);
        // The second digit of a pair is looked at after the first only: the text may end there.
        const int low = high >= 0 ? digit_value(*text++) : -1;
        if (low < 0) {
            return 0;
        }
        byte = static_cast<uint8_t>(high * 16 + low);
    }
    return 1;
}

bool parse_mac_text(const char *text, uint8_t (&mac)[kMacBytes]) {
    return text != nullptr && strlen(text) == kMacDigits && ParseMacHex(text, mac) == 1;
}

bool take_mac_bytes(const unsigned (&numbers)[kMacBytes], uint8_t (&mac)[kMacBytes]) {
    for (size_t i = 0; i < kMacBytes; ++i) {
        if (numbers[i] > UINT8_MAX) {
            return false;
        }
        mac[i] = static_cast<uint8_t>(numbers[i]);
    }
    return true;
}

void print_mac_digits(const uint8_t (&mac)[kMacBytes], char (&text)[kMacDigits + 1]) {
    char *at = text;
    for (const uint8_t byte : mac) {
        at = print_byte(byte, "0123456789ABCDEF", at);
    }
    *at = '\0';
}

void print_mac_text(const uint8_t (&mac)[kMacBytes], char (&text)[kMacColonSize]) {
    char *at = text;
    for (const uint8_t byte : mac) {
        at = print_byte(byte, "0123456789abcdef", at);
        *at++ = ':';
    }
    at[-1] = '\0';  // in the last colon's place
}
