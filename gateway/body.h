// SPDX-License-Identifier: MIT
// Intake of the request body.
#ifndef GATEWAY_BODY_H
#define GATEWAY_BODY_H

#include "base/resource.h"

// What ends standard input behind a body: that there is no more, or the body's length, where more would be waited for.
enum class BodyEnd { kEndOfFile, kLength };

// Reads the body from standard input. `content_length` is its length as the web server gives it, a decimal number; the
// text is cut there. `body` stays empty when the length leaves no room for one. False: out of memory.
bool read_body(const char *content_length, BodyEnd end, OwnedText &body);

#endif
