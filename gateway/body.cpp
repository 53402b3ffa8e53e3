// SPDX-License-Identifier: MIT
#include "gateway/body.h"

#include <unistd.h>

#include <cstdint>
#include <cstdlib>

#include "base/input.h"
#include "base/shortage.h"
#include "gateway/limits.h"

bool read_body(const char *content_length, BodyEnd end, OwnedText &body) {
    const int length = decimal_value(content_length);
    if (length < 1 || length > longest_body()) {
        return true;
    }
    const int size = length + 1;  // +1 for the terminator
    body.reset(static_cast<char *>(calloc(static_cast<size_t>(size), 1)));
    if (!body) {
        note_shortage();
        return false;
    }
    // Bytes that the text leaves out count as well, so that without the limit a body with zero bytes asks for more.
    read_text(STDIN_FILENO, body.get(), size, end == BodyEnd::kLength ? static_cast<size_t>(length) : SIZE_MAX);
    return true;
}
