// SPDX-License-Identifier: MIT
#include "base/output.h"

#include <sys/uio.h>
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

bool write_both(int file, const char *first, size_t first_length, const char *second, size_t second_length) {
    const iovec both[] = {
        {const_cast<char *>(first),  first_length },
        {const_cast<char *>(second), second_length}
    };
    ssize_t written;
    do {
        written = writev(file, both, 2);
    } while (written < 0 && errno == EINTR);
    if (written < 0) {
        return false;
    }
    const size_t done = static_cast<size_t>(written);
    if (done < first_length) {
        return write_all(file, first + done, first_length - done) && write_all(file, second, second_length);
    }
    return write_all(file, second + (done - first_length), second_length - (done - first_length));
}
