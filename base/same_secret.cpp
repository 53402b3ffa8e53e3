// SPDX-License-Identifier: MIT
#include "base/same_secret.h"

#include <cstddef>
#include <cstring>

bool same_secret(const char *secret, const char *given) {
    const size_t known = strlen(secret);
    const size_t length = strlen(given);
    volatile unsigned difference = known == length ? 0 : 1;  // volatile: looked at after the last byte, not before
    size_t at = 0;
    for (size_t i = 0; i < length; ++i) {
        difference = difference | static_cast<unsigned>(secret[at] ^ given[i]);
        at = at < known ? at + 1 : 0;  // a longer text is compared as long
    }
    return difference == 0;
}
