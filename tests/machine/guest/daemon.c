// SPDX-License-Identifier: MIT
// The system daemon as far as others see of it: it takes each record from the queue and notes it. It restarts nothing, since there
// is nothing to restart here.
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <unistd.h>

#include "platform/system_queue.h"
#include "tests/machine/guest/guest.h"

struct envelope {
    long type;
    unsigned char payload[kSysMsgPayload];
};

int play_daemon(void) {
    int queue = msgget(ftok(SYSTEM_QUEUE_PATH, kSystemQueueProject), IPC_CREAT | kSystemQueueMode);
    int notes = open(RECORDS, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    static struct envelope envelope;
    static char line[32 + 2 * sizeof envelope.payload];
    while (queue >= 0 && notes >= 0) {
        ssize_t size = msgrcv(queue, &envelope, sizeof envelope.payload, 0, 0);
        if (size < 0 && errno == EINTR) continue;
        if (size < 0) break;
        int length = sprintf(line, "%ld ", envelope.type);
        for (ssize_t i = 0; i < size; ++i) length += sprintf(line + length, "%02x", envelope.payload[i]);
        line[length++] = '\n';
        if (!write_all(notes, line, (size_t)length)) break;
    }
    perror("system_daemon");
    return 1;
}
