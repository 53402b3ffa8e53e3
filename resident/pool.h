// SPDX-License-Identifier: MIT
// The processes that wait for requests and serve them: how many there are, and who takes the place of one that ends.
#ifndef RESIDENT_POOL_H
#define RESIDENT_POOL_H

#include "resident/options.h"

// Keeps processes until a signal ends it, and the requests that have come by then are served. Returns the exit status.
int keep_processes(int listener, const Options &options);

#endif
