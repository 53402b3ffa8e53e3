// SPDX-License-Identifier: MIT
// The system daemon's queue.
#ifndef GATEWAY_HANDLER_QUEUE_H
#define GATEWAY_HANDLER_QUEUE_H

#include <cstddef>

// Puts an entry into the queue: a long, the type, and `size` bytes behind it. False: it is not in it; errno says why.
bool put_into_queue(int queue, const void *entry, size_t size);

#endif
