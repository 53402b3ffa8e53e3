// SPDX-License-Identifier: MIT
// The bare program: what a kind of request must do, whoever writes app.cgi, and nothing else.
//
// Required is what somebody outside can tell (the store's calls, the files, the commands, the records for the system
// daemon, the reply's length) and what the protocol names: every program
//
//   - needs the same libraries and opens the store, as the floor does
//   - reads the body and parses it with cJSON, which says what a request is
//   - reads the session file and the mesh role, if the request is not open to everyone: who may ask depends on them
//   - reads each item that its reply or its checks depend on, once, and each entry of a table that it shows or searches
//   - runs the commands, writes the items, posts the records and commits, as described
//   - prints a reply of the same length in one write
//
// Not required, and so app.cgi's own: to look up keys, check and convert values, read an item again, build the reply's
// tree and print it, look for the debug switch, read status files, ask the kernel.
#ifndef BENCH_STEPS_H
#define BENCH_STEPS_H

// Does what the arguments of main() say, for this body. False: a step failed.
bool run_steps(int argc, char **argv, const char *body);

#endif
