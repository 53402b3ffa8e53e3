// SPDX-License-Identifier: MIT
// The debug log is for who looks after the router, and shows all: it is off unless somebody turns it on.
#include "base/secret.h"

const char *secret(const char *text) {
    return text;
}

LoggedJson::LoggedJson(const char *text) : text_(text), shown_(text) {}

const char *LoggedJson::from(const char *place) {
    return text_ != nullptr ? place : nullptr;
}
