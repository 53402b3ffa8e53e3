// SPDX-License-Identifier: MIT
#include "base/ipv4.h"

#include <arpa/inet.h>

#include <cerrno>
#include <cstring>

#ifdef __GLIBC__  // does all that is promised, without the 280 bytes that cost a device a page

bool parse_ipv4(const char *text, in_addr &out) {
    return inet_aton(text, &out) != 0;
}

#else

bool parse_ipv4(const char *text, in_addr &out) {
    char word[64] = {};  // longer than any form of an address
    const size_t length = strcspn(text, " \t\n\v\f\r");
    if (length >= sizeof word) {
        return false;
    }
    memcpy(word, text, length);
    in_addr found;
    errno = 0;
    if (inet_aton(word, &found) == 0 || errno == ERANGE) {
        return false;
    }
    out = found;
    return true;
}

#endif
