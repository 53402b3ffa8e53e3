// SPDX-License-Identifier: MIT
#include "base/output.h"

#include <unistd.h>

#include <cerrno>

bool write_all(int file, const char *bytes, size_t length) {
    while (length > 0) {
        const ssize_t written = write(file, bytes, length);
        if (written > 0) {
            bytes += written;
            length -= static_cast<size_t>(written);
        } else if (written == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}
