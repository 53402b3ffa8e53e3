// SPDX-License-Identifier: MIT
#include "base/report.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

// One call a line, so that the lines of requests that run side by side do not mix.

void report(const char *message) {
    fprintf(stderr, "app.cgi: %s\n", message);
}

void report_error(const char *message) {
    fprintf(stderr, "app.cgi: %s: %s\n", message, strerror(errno));
}
