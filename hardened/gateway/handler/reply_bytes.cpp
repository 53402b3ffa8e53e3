// SPDX-License-Identifier: MIT
// JSON is UTF-8: a byte that is no part of it would make the whole reply unreadable for an app.
#include "gateway/handler/reply_bytes.h"

#include "base/utf8.h"

void finish_reply_bytes(char *text) {
    make_valid_utf8(text);
}
