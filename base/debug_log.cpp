// SPDX-License-Identifier: MIT
#include "base/debug_log.h"

#include <cstdarg>
#include <cstdio>

#include "base/console.h"

int app_debug = 0;

void write_debug_line(const char *module, const char *function, int line, const char *format, ...) {
    const File console = open_console();
    if (!console) {
        return;
    }
    fprintf(console.get(), "%s:%s:%d:", module, function, line);
    va_list arguments;
    va_start(arguments, format);
    vfprintf(console.get(), format, arguments);
    va_end(arguments);
}
