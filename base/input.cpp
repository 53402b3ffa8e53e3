#include "base/input.h"

#include <unistd.h>

#include <cstring>

bool file_exists(const char *path) {
    return access(path, F_OK) == 0;
}

bool read_line(FILE *file, Out line) {
    line.text[0] = '\0';
    return fgets(line.text, static_cast<int>(line.size), file) != nullptr;
}

void read_text(FILE *file, char *text, int size) {
    // With room for the terminator alone fgets would return an empty text for ever.
    int length = 0;
    while (length < size - 1 && fgets(text + length, size - length, file) != nullptr && text[length] != '\0') {
        length += static_cast<int>(strlen(text + length));
    }
}
