// SPDX-License-Identifier: MIT
#include "base/input.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace {

// read() that a signal does not end.
ssize_t read_some(int file, char *bytes, size_t size) {
    ssize_t count;
    do {
        count = read(file, bytes, size);
    } while (count < 0 && errno == EINTR);
    return count;
}

}  // namespace

bool file_exists(const char *path) {
    return access(path, F_OK) == 0;
}

bool read_line(FILE *file, Out line) {
    line.text[0] = '\0';
    return fgets(line.text, static_cast<int>(line.size), file) != nullptr;
}

bool read_first_line(const char *path, Out line) {
    line.text[0] = '\0';
    const File file = open_file(path);
    if (!file) {
        return false;
    }
    read_line(file.get(), line);
    return true;
}

void read_text(int file, char *text, int size, size_t most) {
    int length = 0;
    int room = size - 1;  // of the line, for the bytes that are left out, too
    int taken = 0;        // of the line
    bool cut = false;     // the line's zero byte was met
    char bytes[4096];
    while (room > 0) {
        const ssize_t count = read_some(file, bytes, std::min(sizeof bytes, most));
        if (count <= 0) {
            return;
        }
        most -= static_cast<size_t>(count);
        for (ssize_t i = 0; i < count && room > 0; ++i) {
            const char byte = bytes[i];
            if (byte == '\0' && taken == 0) {
                return;
            }
            cut = cut || byte == '\0';
            if (!cut) {
                text[length++] = byte;
            }
            if (++taken == room || byte == '\n') {
                room = size - 1 - length;
                taken = 0;
                cut = false;
            }
        }
    }
}

bool read_beginning(const char *path, Out text) {
    text.text[0] = '\0';
    const Descriptor file(open_input(path));
    if (!file) {
        return false;
    }
    read_beginning(file.get(), text);  // what can't be read is empty
    return true;
}

bool read_beginning(int file, Out text) {
    char *at = text.text;
    const char *const last = text.text + text.size - 1;
    ssize_t count = 0;
    while (at < last && (count = read_some(file, at, static_cast<size_t>(last - at))) > 0) {
        at += count;
    }
    *at = '\0';
    return count >= 0;
}
