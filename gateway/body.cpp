#include "gateway/body.h"

#include <climits>
#include <cstdio>
#include <cstdlib>

#include "base/input.h"

Intake read_body(const char *content_length, OwnedText &body) {
    // The size is an int on every machine, as on the device, where a long is no wider: a length beyond it has no size,
    // and so no body.
    const long length = strtol(content_length, nullptr, 10);
    if (length < 1 || length >= INT_MAX) {
        return Intake::kAbsent;
    }
    const int size = static_cast<int>(length) + 1;  // +1 for the terminator
    body.reset(static_cast<char *>(calloc(static_cast<size_t>(size), 1)));
    if (!body) {
        return Intake::kOutOfMemory;
    }
    read_text(stdin, body.get(), size);
    return Intake::kDone;
}
