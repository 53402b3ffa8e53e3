// SPDX-License-Identifier: MIT
// The one ordered log of what a request did, shared by the doubles of the libraries and of the shell.
//
// A line is appended with one write, so that lines of several processes never mix. The runner reads the log when the
// program has ended (tests/runner/sandbox.py). Its lines are events of virtual_router/vocabulary/events.conf.
#ifndef TESTS_RUNNER_DOUBLES_EVENTS_H
#define TESTS_RUNNER_DOUBLES_EVENTS_H

#include <fcntl.h>
#include <unistd.h>

#include "virtual_router/vocabulary/event.h"

constexpr const char *kEventLog = "/.runner/events";

// Ends the line and appends it. The program cannot go on unseen: it is aborted if the log is lost.
inline void append_event(EventLine &line) {
    line.end();
    const int log = open(kEventLog, O_WRONLY | O_APPEND | O_CLOEXEC);
    if (log < 0 || write(log, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
        __builtin_trap();
    }
    close(log);
}

#endif
