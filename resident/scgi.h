// SPDX-License-Identifier: MIT
// The head of an SCGI request: a netstring, "LENGTH:BLOCK,", whose block holds names and values, each ended by a zero
// byte. The body follows the comma. The peer is the web server, and still nothing that it sends is taken on trust.
#ifndef RESIDENT_SCGI_H
#define RESIDENT_SCGI_H

#include <cstddef>

// The longest block that is taken: web servers limit the header lines of a request to 8 or 32 KiB.
constexpr size_t kMostHead = 65535;

// What is used of a head. The texts lie in the block; nullptr: the head does not tell it.
struct ScgiHead {
    const char *content_length = nullptr;
    const char *remote_address = nullptr;
};

// Takes `head` from a block. nullptr, or what is wrong with the block: a text of its own.
const char *parse_head(const char *block, size_t length, ScgiHead &head);

// Reads a head from a connection, byte for byte and not beyond its comma, and takes `head` from it. Its texts live
// until the next call. nullptr, or what is wrong; kNothingSent where the connection ended before the first byte.
const char *read_head(int connection, ScgiHead &head);

extern const char kNothingSent[];

#endif
