// SPDX-License-Identifier: MIT
#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "tests/machine/guest/guest.h"

int write_all(int file, const void *data, size_t size) {
    for (const char *next = data; size > 0;) {
        ssize_t written = write(file, next, size);
        if (written < 0 && errno != EINTR) return 0;
        if (written > 0) next += written, size -= (size_t)written;
    }
    return 1;
}

int main(int count, char **words) {
    const char *slash = strrchr(words[0], '/'), *name = slash ? slash + 1 : words[0];
    if (strcmp(name, "system_daemon") == 0) return play_daemon();
    if (strcmp(name, "loopback") == 0) return play_phone_here();
    if (strcmp(name, "flash") == 0) return play_flash(count - 1, words + 1);
    if (strcmp(name, "stage") == 0) return stage();
    if (strcmp(name, "stopwatch") == 0) return measure(count - 1, words + 1);
    fprintf(stderr, "%s: nothing of that name\n", name);
    return 2;
}
