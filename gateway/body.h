// SPDX-License-Identifier: MIT
// Intake of the request body.
#ifndef GATEWAY_BODY_H
#define GATEWAY_BODY_H

#include "base/resource.h"

// Reads the body from standard input. `content_length` is its length as the web server gives it, a decimal number; the
// text is cut there. `body` stays empty when the length leaves no room for one. False: out of memory.
bool read_body(const char *content_length, OwnedText &body);

#endif
