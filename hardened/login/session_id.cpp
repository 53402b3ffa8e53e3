// SPDX-License-Identifier: MIT
// 128 bits of the kernel's random source, in the form that apps know.
#include "login/session_id.h"

#include <cstdint>

#include "base/random.h"
#include "base/report.h"

int gen_sessionid(const char * /*user*/, Out out) {
    uint8_t bytes[16];
    if (!read_random(bytes, sizeof bytes)) {
        report_error("no session id is made up");
        return -1;
    }
    char digits[2 * sizeof bytes + 1];
    for (size_t i = 0; i < sizeof bytes; ++i) {
        constexpr char kDigits[] = "0123456789abcdef";
        digits[2 * i] = kDigits[bytes[i] >> 4];
        digits[2 * i + 1] = kDigits[bytes[i] & 15];
    }
    digits[2 * sizeof bytes] = '\0';
    join(out, {"Us", digits});
    return 0;
}
