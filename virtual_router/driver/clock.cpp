// SPDX-License-Identifier: MIT
// The router's clock, which can be set and hurried without the PC's.
//
// /outside/clock is one line of four whole numbers, put there by rename():
//
//   PC ROUTER UPTIME RATE   when the PC's clock showed PC, the router's showed ROUTER and it was up for UPTIME, all in
//                           nanoseconds; since then RATE / 1000 seconds have passed in it for each of the PC's
//
// Without the file, or with another content, the router has the PC's clock. The file is read at each call, so that a
// program that runs sees a change at once: two system calls more with it, one without. CLOCK_BOOTTIME tells how long
// the router is up. CLOCK_MONOTONIC and its like stay the PC's: by them programs wait.
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/sysinfo.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <ctime>

#include "virtual_router/driver/clock.h"
#include "virtual_router/driver/next.h"

namespace {

constexpr char kClockPath[] = "/outside/clock";
constexpr int64_t kSecond = 1000000000;
constexpr int64_t kRateUnit = 1000;

struct Clock {
    int64_t pc;
    int64_t router;
    int64_t uptime;
    int64_t rate;
};

int (*next_clock_gettime)(clockid_t, timespec *);
int (*next_sysinfo)(struct sysinfo *);

// Reads the line of the file. System calls of its own, because open() and errno belong to the program that asks.
bool read_clock(Clock &clock) {
    const int kept = errno;
    const auto file = static_cast<int>(syscall(SYS_openat, AT_FDCWD, kClockPath, O_RDONLY | O_CLOEXEC));
    char line[96] = "";
    if (file >= 0) {
        (void)!read(file, line, sizeof line - 1);
        close(file);
    }
    int64_t numbers[4] = {};
    char *at = line;
    bool good = file >= 0;
    for (int64_t &number : numbers) {
        char *end = at;
        number = strtoll(at, &end, 10);
        good = good && end != at;
        at = end;
    }
    clock = {numbers[0], numbers[1], numbers[2], numbers[3]};
    errno = kept;
    return good && *at == '\n';
}

// What has passed in the router since the line was written.
int64_t passed(const Clock &clock, int64_t pc) {
    return (pc - clock.pc) / kRateUnit * clock.rate;
}

int64_t router_now() {
    const int64_t pc = pc_now();
    Clock clock = {};
    return read_clock(clock) ? clock.router + passed(clock, pc) : pc;
}

// How long the router is up. False: as long as the PC.
bool read_uptime(int64_t &uptime) {
    Clock clock = {};
    if (!read_clock(clock)) {
        return false;
    }
    uptime = clock.uptime + passed(clock, pc_now());
    return true;
}

timespec as_timespec(int64_t nanoseconds) {
    return {nanoseconds / kSecond, nanoseconds % kSecond};
}

}  // namespace

int64_t pc_now() {
    timespec now = {};
    next("clock_gettime", next_clock_gettime)(CLOCK_REALTIME, &now);
    return now.tv_sec * kSecond + now.tv_nsec;
}

PLAYED int clock_gettime(clockid_t id, timespec *now) noexcept {
    int64_t uptime = 0;
    if (id == CLOCK_REALTIME || id == CLOCK_REALTIME_COARSE) {
        *now = as_timespec(router_now());
    } else if (id == CLOCK_BOOTTIME && read_uptime(uptime)) {
        *now = as_timespec(uptime);
    } else {
        return next("clock_gettime", next_clock_gettime)(id, now);
    }
    return 0;
}

PLAYED int gettimeofday(timeval *now, void *) noexcept {
    const int64_t nanoseconds = router_now();
    now->tv_sec = nanoseconds / kSecond;
    now->tv_usec = nanoseconds % kSecond / 1000;
    return 0;
}

PLAYED time_t time(time_t *now) noexcept {
    const time_t seconds = router_now() / kSecond;
    if (now != nullptr) {
        *now = seconds;
    }
    return seconds;
}

PLAYED int sysinfo(struct sysinfo *info) noexcept {
    const int result = next("sysinfo", next_sysinfo)(info);
    int64_t uptime = 0;
    if (result == 0 && read_uptime(uptime)) {
        info->uptime = uptime / kSecond;
    }
    return result;
}
