// SPDX-License-Identifier: MIT
// Runs a program once the way a web server does, and measures it: its time, its instructions, its child processes.
//
// Every function here throws std::runtime_error, with a message for the user, when the machine refuses.
#ifndef BENCH_MEASURE_H
#define BENCH_MEASURE_H

#include <cstdint>
#include <string>
#include <vector>

// One request to one program.
struct Request {
    std::vector<std::string> command;      // the program's path and its arguments
    std::vector<std::string> environment;  // "NAME=value"
    std::string body;                      // at most 64 KiB, what a pipe holds
};

struct Outcome {
    double microseconds;      // from before the process is made until it is reaped
    double cpu_microseconds;  // of the process and its children: what others do on the core does not count
    int exit_status;          // 0 to 255; 128 and the signal's number if one ended it
    std::string reply;
};

// Keeps this process, and so those that it starts, on one core. Returns the core's number.
int pin_to_one_core();

Outcome run_once(const Request &request);

// The instructions that the program's own process executes, start-up included; its children's are not counted. The same
// from run to run but for a few that depend on addresses and on the time.
uint64_t count_instructions(const Request &request);

// What the kernel sees of a request. Sizes are in KiB.
struct Trace {
    // The command lines of all programs that the request's process and its descendants execute, itself left out, in the
    // order of their start.
    std::vector<std::string> commands;
    // Of the request's own process, from its first instruction on.
    unsigned system_calls;
    unsigned most_resident;  // the most memory that it had at a time, shared pages of libraries included
    // The most that was its alone and written to, as far as seen at its system calls. Files are not meant, though a
    // root in memory has the kernel call their pages dirty.
    unsigned most_dirty;
};

Trace trace(const Request &request);

// By how many KiB the memory of two traces may differ for nothing: where a container forbids to fix addresses, the
// stack begins anywhere in a page.
unsigned memory_slack();

#endif
