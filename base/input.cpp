#include "base/input.h"

#include <fcntl.h>
#include <unistd.h>

#include "base/resource.h"

bool file_exists(const char *path) {
    return access(path, F_OK) == 0;
}

bool read_line(FILE *file, Out line) {
    line.text[0] = '\0';
    return fgets(line.text, static_cast<int>(line.size), file) != nullptr;
}

void read_text(int file, char *text, int size) {
    int length = 0;
    int room = size - 1;  // of the line, for the bytes that are left out, too
    int taken = 0;        // of the line
    bool cut = false;     // the line's zero byte was met
    char bytes[4096];
    while (room > 0) {
        const ssize_t count = read(file, bytes, sizeof bytes);
        if (count <= 0) {
            return;
        }
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
    const Descriptor file(open(path, O_RDONLY));
    if (!file) {
        return false;
    }
    const ssize_t count = read(file.get(), text.text, text.size - 1);
    text.text[count > 0 ? count : 0] = '\0';
    return true;
}
