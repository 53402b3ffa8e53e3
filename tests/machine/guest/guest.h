// SPDX-License-Identifier: MIT
// What runs in the machine beside the endpoint: one program, whose name tells what it is.
#ifndef TESTS_MACHINE_GUEST_H
#define TESTS_MACHINE_GUEST_H

#include <stddef.h>

#define RECORDS "/var/records"  // what the system daemon was told, a line each: the type, the payload in hexadecimal
#define WORKING "/tmp/apmib"    // the store's working copy, which is shared by mapping it
#define FACTORY "/tmp/apmib.factory"  // the same as it was after the start
#define COMMITTED "/etc/config/apmib"

int play_daemon(void);      // system_daemon: takes the records from the queue
int play_phone_here(void);  // loopback: hands connections to port 84 on to port 80, so that they come from 127.0.0.1
int play_flash(int count, char **words);  // flash get NAME, as a script reaches the store
int stage(void);                          // stage: lays out the store for a request, and tells what it holds
int measure(int count, char **words);     // stopwatch: how long a request takes

// Writes all of it. 0: it could not be.
int write_all(int file, const void *data, size_t size);

#endif
