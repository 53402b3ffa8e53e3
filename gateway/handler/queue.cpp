// SPDX-License-Identifier: MIT
// Where there is no room, the daemon is waited for.
#include "gateway/handler/queue.h"

#include <sys/ipc.h>
#include <sys/msg.h>

bool put_into_queue(int queue, const void *entry, size_t size) {
    return msgsnd(queue, entry, size, 0) == 0;
}
