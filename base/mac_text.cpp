#include "base/mac_text.h"

#include <cstring>

#include "base/text.h"

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
    return strlen(text) == kMacDigits && ParseMacHex(text, mac) == 1;
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
    put(text, "%02X%02X%02X%02X%02X%02X", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
}

void print_mac_text(const uint8_t (&mac)[kMacBytes], char (&text)[kMacColonSize]) {
    put(text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
}
