// SPDX-License-Identifier: MIT
// Files are read, and what would keep the reader waiting is not: no pipe, no device. /tmp is everybody's: there only a
// file of the endpoint's own user or of root is read, and no link is followed.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "base/input.h"
#include "base/shortage.h"

namespace {

constexpr char kOfEverybody[] = "/tmp/";

bool is_trusted(const struct stat &status) {
    return status.st_uid == 0 || status.st_uid == geteuid();
}

}  // namespace

int open_input(const char *path) {
    const bool of_everybody = strncmp(path, kOfEverybody, strlen(kOfEverybody)) == 0;
    Descriptor file(open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | (of_everybody ? O_NOFOLLOW : 0)));
    struct stat status;
    if (!file || fstat(file.get(), &status) != 0) {
        return -1;
    }
    const bool readable = S_ISREG(status.st_mode) || S_ISDIR(status.st_mode);  // of a folder nothing comes
    if (!readable || (of_everybody && !is_trusted(status))) {
        errno = EACCES;
        return -1;
    }
    return file.release();
}

File open_file(const char *path) {
    Descriptor input(open_input(path));
    File file(input ? fdopen(input.get(), "r") : nullptr);
    if (file) {
        input.release();
    } else {
        note_shortage_if(errno);
    }
    return file;
}
