// SPDX-License-Identifier: MIT
#include "base/utf8.h"

#include <cstdint>

namespace {

// The characters that begin with a byte from `first` to `last`: how many bytes follow, and the range of the one next to
// it. The ranges leave out what can be said with fewer bytes, halves of surrogate pairs, and all beyond U+10FFFF. Bytes
// after that one are 80 to BF.
struct Lead {
    uint8_t first, last;
    uint8_t following;
    uint8_t next_min, next_max;
};

constexpr Lead kLeads[] = {
    {0x00, 0x7f, 0, 0,    0   },
    {0xc2, 0xdf, 1, 0x80, 0xbf},
    {0xe0, 0xe0, 2, 0xa0, 0xbf},
    {0xe1, 0xec, 2, 0x80, 0xbf},
    {0xed, 0xed, 2, 0x80, 0x9f},
    {0xee, 0xef, 2, 0x80, 0xbf},
    {0xf0, 0xf0, 3, 0x90, 0xbf},
    {0xf1, 0xf3, 3, 0x80, 0xbf},
    {0xf4, 0xf4, 3, 0x80, 0x8f},
};

// The length of the character that the text begins with; 0 when it is none.
int character_length(const char *text) {
    const auto byte = [text](int index) { return static_cast<uint8_t>(text[index]); };
    for (const Lead &lead : kLeads) {
        if (byte(0) < lead.first || byte(0) > lead.last) {
            continue;
        }
        if (lead.following > 0 && (byte(1) < lead.next_min || byte(1) > lead.next_max)) {
            return 0;
        }
        for (int i = 2; i <= lead.following; ++i) {
            if (byte(i) < 0x80 || byte(i) > 0xbf) {
                return 0;
            }
        }
        return 1 + lead.following;
    }
    return 0;
}

}  // namespace

char *make_valid_utf8(char *text) {
    for (char *at = text; *at != '\0';) {
        const int length = character_length(at);
        if (length == 0) {
            *at = '?';
        }
        at += length > 0 ? length : 1;
    }
    return text;
}
