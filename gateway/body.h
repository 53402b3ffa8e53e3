// Intake of the request body.
#ifndef GATEWAY_BODY_H
#define GATEWAY_BODY_H

#include "base/resource.h"

enum class Intake {
    kDone,    // the body is what was read, possibly nothing
    kAbsent,  // the length leaves no room for a body
    kOutOfMemory,
};

// Reads the body from standard input, cut at `content_length` bytes (a decimal number as the web server gives it).
// `body` is a terminated text when the result is kDone, else empty.
Intake read_body(const char *content_length, OwnedText &body);

#endif
