// SPDX-License-Identifier: MIT
// The debug log on the router's console.
//
// A file that logs defines `kModule`, the name of its module in the log lines: "app" for the request gateway and most
// objects; the others have names of their own, such as "applogin" for login.
#ifndef BASE_DEBUG_LOG_H
#define BASE_DEBUG_LOG_H

// The debug switch. Set once at start by the entry; 0 until then, and 0 means that nothing is logged.
extern int app_debug;

// Writes "module:function:line:" and the message, which brings its own line feeds. The console is opened for each line
// and closed again: whoever reads it may come and go while the router runs, and a line is out before the next step
// begins.
void write_debug_line(const char *module, const char *function, int line, const char *format, ...)
    __attribute__((format(printf, 4, 5)));

#define DebugLog(...) DebugLogOf(__func__, __VA_ARGS__)

// The same for code that does not stand in the function that the line names.
#define DebugLogOf(function, ...)                                       \
    do {                                                                \
        if (app_debug != 0) {                                           \
            write_debug_line(kModule, function, __LINE__, __VA_ARGS__); \
        }                                                               \
    } while (false)

#endif
