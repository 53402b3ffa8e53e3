// SPDX-License-Identifier: MIT
// Whatever the path leads to is read.
#include <fcntl.h>

#include <cerrno>

#include "base/input.h"
#include "base/shortage.h"

File open_file(const char *path) {
    File file(fopen(path, "r"));
    if (!file) {
        note_shortage_if(errno);
    }
    return file;
}

int open_input(const char *path) {
    return open(path, O_RDONLY);
}

bool can_write(const char *path) {
    const Descriptor file(open(path, O_WRONLY | O_NONBLOCK));
    return file || errno == ENOENT;
}
