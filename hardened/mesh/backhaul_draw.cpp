// SPDX-License-Identifier: MIT
// From the kernel's random source, each character by itself: the name tells nothing of the key.
#include "base/random.h"
#include "base/report.h"
#include "base/text.h"
#include "mesh/backhaul_credentials.h"

namespace {

BackhaulCredentials g_prepared;

// Draws a character; every one of the set is as likely as the others, so numbers beyond the last whole multiple of the
// set's size are drawn again. False: there is no chance.
bool draw_one(std::string_view characters, char &out) {
    const size_t usable = 256 / characters.size() * characters.size();
    uint8_t number;
    do {
        if (!read_random(&number, sizeof number)) {
            return false;
        }
    } while (number >= usable);
    out = characters[number % characters.size()];
    return true;
}

template <size_t Size>
bool draw(std::string_view characters, char (&out)[Size], size_t at) {
    for (size_t i = at; i < Size - 1; ++i) {
        if (!draw_one(characters, out[i])) {
            return false;
        }
    }
    out[Size - 1] = '\0';
    return true;
}

}  // namespace

bool prepare_backhaul_credentials() {
    join(g_prepared.ssid, {kBackhaulSsidMark, "-"});
    if (draw(kSsidCharacters, g_prepared.ssid, sizeof kBackhaulSsidMark) && draw(kKeyCharacters, g_prepared.key, 0)) {
        return true;
    }
    report_error("no backhaul credentials are made up");
    return false;
}

BackhaulCredentials draw_backhaul_credentials() {
    return g_prepared;
}
