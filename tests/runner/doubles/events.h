// The one ordered log of what a request did, shared by the doubles of the libraries and of the shell.
//
// A line is appended with one write, so that lines of several processes never mix. The runner reads the log when the
// program has ended (tests/runner/sandbox.py).
#ifndef TESTS_RUNNER_DOUBLES_EVENTS_H
#define TESTS_RUNNER_DOUBLES_EVENTS_H

#include <fcntl.h>
#include <unistd.h>

#include <cstddef>

constexpr const char *kEventLog = "/.runner/events";

// Appends `size` bytes, which end with a line feed. The program cannot go on unseen: it is aborted if the log is lost.
inline void append_event(const char *line, size_t size) {
    const int log = open(kEventLog, O_WRONLY | O_APPEND | O_CLOEXEC);
    if (log < 0 || write(log, line, size) != static_cast<ssize_t>(size)) {
        __builtin_trap();
    }
    close(log);
}

// Writes `size` bytes as hexadecimal digits to `out`, which has room for twice as many. Returns the end.
inline char *put_hex(char *out, const void *data, size_t size) {
    const auto *bytes = static_cast<const unsigned char *>(data);
    for (size_t i = 0; i < size; ++i) {
        *out++ = "0123456789abcdef"[bytes[i] >> 4];
        *out++ = "0123456789abcdef"[bytes[i] & 15];
    }
    return out;
}

#endif
