// SPDX-License-Identifier: MIT
// A web server that listens for IPv6 tells of IPv4's clients as well, with their addresses in IPv6's form:
// ::ffff:192.168.1.20. They are who they are.
#include "gateway/remote_address.h"

#include <arpa/inet.h>

#include <cstring>

#include "base/text.h"

const char *known_address(const char *told) {
    in6_addr address;
    if (inet_pton(AF_INET6, told, &address) != 1 || !IN6_IS_ADDR_V4MAPPED(&address)) {
        return told;
    }
    static char text[INET_ADDRSTRLEN];
    in_addr mapped;
    memcpy(&mapped, &address.s6_addr[12], sizeof mapped);
    join(text, {Dotted(mapped).c_str()});
    return text;
}
