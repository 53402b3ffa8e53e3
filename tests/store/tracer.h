// SPDX-License-Identifier: MIT
// Runs a process system call by system call, to kill it between any two of them or to write down what it wrote.
#ifndef TESTS_STORE_TRACER_H
#define TESTS_STORE_TRACER_H

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

// In the process: asks to be traced, and stops. Tracing begins when this returns. False: it is not allowed here.
bool stop_for_tracer();

// One stop of the process: at the entry of a system call or at its end.
struct SystemCall {
    bool entry;
    unsigned long number;
    unsigned long arguments[6];
    long result;  // at the end
};

// Lets the process run to its end, and shows `look` each stop; if that returns false the process is killed there.
// Returns its status as in Outcome.
int trace(pid_t process, const std::function<bool(const SystemCall &)> &look);

// Reads the memory of a traced process, up to where it ends.
std::string read_memory(pid_t process, unsigned long address, size_t size);

#endif
