// SPDX-License-Identifier: MIT
#include "resident/tell.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

// One call a line, so that the lines of processes that run side by side do not mix.
__attribute__((format(printf, 1, 0))) void write_line(const char *format, va_list arguments, const char *reason) {
    char message[512];
    vsnprintf(message, sizeof message, format, arguments);
    fprintf(stderr, reason != nullptr ? "app.scgi: %s: %s\n" : "app.scgi: %s\n", message, reason);
}

}  // namespace

void tell(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    write_line(format, arguments, nullptr);
    va_end(arguments);
}

void tell_error(const char *format, ...) {
    const int error = errno;
    va_list arguments;
    va_start(arguments, format);
    write_line(format, arguments, strerror(error));
    va_end(arguments);
}
