// SPDX-License-Identifier: MIT
// Reading IPv4 addresses.
#ifndef BASE_IPV4_H
#define BASE_IPV4_H

#include <netinet/in.h>

// Takes an address as inet_aton() does, which knows more forms than four numbers, and whatever stands behind a blank.
// False: it is none, and `out` keeps what it held. All C libraries agree here, unlike about what stands behind a blank
// and about numbers beyond 32 bits, of which some take the largest one for any.
bool parse_ipv4(const char *text, in_addr &out);

#endif
