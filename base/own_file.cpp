// SPDX-License-Identifier: MIT
#include "base/own_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "base/resource.h"

int open_own_file(const char *path, int flags) {
    constexpr mode_t kForOwner = 0600;
    Descriptor file(open(path, flags | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, kForOwner));
    struct stat status;
    if (!file || fstat(file.get(), &status) != 0) {
        return -1;
    }
    const bool trusted = status.st_uid == 0 || status.st_uid == geteuid();
    if (!S_ISREG(status.st_mode) || !trusted || status.st_nlink > 1) {
        errno = EEXIST;
        return -1;
    }
    return file.release();
}
