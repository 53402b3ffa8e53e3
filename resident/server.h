// SPDX-License-Identifier: MIT
// The life of a process that serves one request.
#ifndef RESIDENT_SERVER_H
#define RESIDENT_SERVER_H

#include "resident/options.h"

// Gets ready for a request. What is done here costs no request time.
void get_ready(const Options &options);

// Waits for a connection. Returns it, or -1: there will be none.
int await_request(int listener);

// Serves the request of a connection, which it takes. The reply's end is sent before the work behind the reply begins.
// Returns the exit status.
int serve_request(int connection, const Options &options);

#endif
