// SPDX-License-Identifier: MIT
// Where there is no room, the daemon is waited for two seconds: one that has not read until then is dead, and would
// keep the request for ever.
#include "gateway/handler/queue.h"

#include <sys/ipc.h>
#include <sys/msg.h>

#include <cerrno>
#include <ctime>

namespace {

constexpr long kPause = 10'000'000;  // nanoseconds between two tries
constexpr int kMostTries = 200;

}  // namespace

bool put_into_queue(int queue, const void *entry, size_t size) {
    for (int tries = 0; msgsnd(queue, entry, size, IPC_NOWAIT) != 0; ++tries) {
        if ((errno != EAGAIN && errno != EINTR) || tries == kMostTries) {
            return false;
        }
        const timespec pause = {0, kPause};
        nanosleep(&pause, nullptr);
    }
    return true;
}
