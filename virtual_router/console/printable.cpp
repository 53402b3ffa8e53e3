// SPDX-License-Identifier: MIT
#include "virtual_router/console/printable.h"

#include <cstdint>
#include <cstdio>

namespace {

struct Utf8Form {
    unsigned char lead_mask;
    unsigned char lead;
    std::size_t length;
    uint32_t smallest;  // a smaller character has a shorter form
};
constexpr Utf8Form kUtf8Forms[] = {
    {0xe0, 0xc0, 2, 0xa0   }, // U+0080 to U+009F are control characters
    {0xf0, 0xe0, 3, 0x800  },
    {0xf8, 0xf0, 4, 0x10000},
};

// The length in bytes of the printable character that `text` begins with; 0 if it begins with none.
std::size_t printable_length(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    if (first < 0x80) {
        return first >= 0x20 && first != 0x7f ? 1 : 0;
    }
    for (const Utf8Form &form : kUtf8Forms) {
        if ((first & form.lead_mask) != form.lead || text.size() < form.length) {
            continue;
        }
        uint32_t character = first & static_cast<uint32_t>(~form.lead_mask & 0xff);
        for (std::size_t i = 1; i < form.length; ++i) {
            const auto next = static_cast<unsigned char>(text[i]);
            if ((next & 0xc0) != 0x80) {
                return 0;
            }
            character = character << 6 | (next & 0x3f);
        }
        const bool surrogate = character >= 0xd800 && character <= 0xdfff;
        return character >= form.smallest && character <= 0x10ffff && !surrogate ? form.length : 0;
    }
    return 0;
}

}  // namespace

std::string printable(std::string_view text, std::string_view quoted) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        std::size_t length = printable_length(text);
        if (length == 0) {
            char code[8];
            std::snprintf(code, sizeof code, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(text[0])));
            out += code;
            length = 1;
        } else {
            if (quoted.find(text[0]) != std::string_view::npos) {
                out += '\\';
            }
            out.append(text.substr(0, length));
        }
        text.remove_prefix(length);
    }
    return out;
}
