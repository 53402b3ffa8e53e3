// SPDX-License-Identifier: MIT
#include "base/boot_clock.h"

#include <cstring>
#include <ctime>

#include "base/input.h"

long long seconds_since_start() {
    timespec passed = {};
    clock_gettime(CLOCK_BOOTTIME, &passed);  // goes on while the device sleeps
    return passed.tv_sec;
}

void name_start(Out name) {
    read_beginning("/proc/sys/kernel/random/boot_id", name);
    char *const end = name.text + strcspn(name.text, "\n");
    *end = '\0';
}
