// SPDX-License-Identifier: MIT
// Texts of hardware addresses. Requests give them as 12 hexadecimal digits, and lists of devices name them so, in upper
// case; other replies name them with colons, in lower case, which is not taken back as it is.
#ifndef BASE_MAC_TEXT_H
#define BASE_MAC_TEXT_H

#include <cstddef>
#include <cstdint>

constexpr size_t kMacBytes = 6;
constexpr size_t kMacDigits = 12;
constexpr size_t kMacColonSize = 18;  // "aa:bb:cc:dd:ee:ff" and the terminator

// Turns hexadecimal digits of either case into bytes, two by two. 1, or 0 at the first pair that is none; the bytes
// before it are then written already. Looks at 12 characters at most and does not tell a longer text from a right one.
int ParseMacHex(const char *text, uint8_t (&mac)[kMacBytes]);

// The rule of requests: exactly 12 characters, all hexadecimal digits. False, also for nullptr: `mac` is not to be
// used.
bool parse_mac_text(const char *text, uint8_t (&mac)[kMacBytes]);

// Takes an address from its bytes as scanf() reads them. False: one of them is no byte.
bool take_mac_bytes(const unsigned (&numbers)[kMacBytes], uint8_t (&mac)[kMacBytes]);

// Prints 12 digits in upper case.
void print_mac_digits(const uint8_t (&mac)[kMacBytes], char (&text)[kMacDigits + 1]);

// Prints the form of replies, in lower case with colons.
void print_mac_text(const uint8_t (&mac)[kMacBytes], char (&text)[kMacColonSize]);

#endif
