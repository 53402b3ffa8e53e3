// SPDX-License-Identifier: MIT
#include "base/boot_clock.h"

#include <cstring>
#include <ctime>

#include "base/input.h"

long long seconds_since_start() {
    timespec passed = {};
    // The first goes on while the device sleeps, and kernels before 2.6.39 do not have it.
    if (clock_gettime(CLOCK_BOOTTIME, &passed) != 0) {
        clock_gettime(CLOCK_MONOTONIC, &passed);
    }
    return passed.tv_sec;
}

void name_start(Out name) {
    read_beginning("/proc/sys/kernel/random/boot_id", name);
    char *const end = name.text + strcspn(name.text, "\n");
    *end = '\0';
}
