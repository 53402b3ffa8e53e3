// SPDX-License-Identifier: MIT
// Where there is no room, the daemon is waited for two seconds in all, however many records the request sends: one that
// has not read until then is dead, and would keep the request for ever.
#include "gateway/handler/queue.h"

#include <sys/ipc.h>
#include <sys/msg.h>

#include <cerrno>
#include <ctime>

namespace {

constexpr long long kNanoseconds = 1'000'000'000;
constexpr long long kPause = 10'000'000;  // between two tries

// What is left of the two seconds. The last pause may last longer than it is meant to.
long long g_patience = 2 * kNanoseconds - 5 * kPause;

// Looked at, since a pause lasts as long as the kernel's clock ticks, which may be twice what is asked for.
long long now() {
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return kNanoseconds * time.tv_sec + time.tv_nsec;
}

}  // namespace

bool put_into_queue(int queue, const void *entry, size_t size) {
    while (msgsnd(queue, entry, size, IPC_NOWAIT) != 0) {
        if ((errno != EAGAIN && errno != EINTR) || g_patience <= 0) {
            return false;
        }
        const long long begin = now();
        const timespec pause = {0, kPause};
        nanosleep(&pause, nullptr);
        g_patience -= now() - begin;
    }
    return true;
}
