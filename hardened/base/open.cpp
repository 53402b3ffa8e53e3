// SPDX-License-Identifier: MIT
// Files are read, and what would keep the reader waiting is not: no pipe, no device. Where files come and go while the
// router runs, in /tmp and /var, no link is followed; elsewhere the firmware has laid them, and /etc/resolv.conf is
// often one. /tmp is everybody's: there only a file of the endpoint's own user or of root is read.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "base/input.h"
#include "base/shortage.h"

namespace {

constexpr char kOfEverybody[] = "/tmp/";
constexpr char kOfPrograms[] = "/var/";

bool is_below(const char *path, const char *folder) {
    return strncmp(path, folder, strlen(folder)) == 0;
}

bool is_trusted(const struct stat &status) {
    return status.st_uid == 0 || status.st_uid == geteuid();
}

}  // namespace

int open_input(const char *path) {
    const bool of_everybody = is_below(path, kOfEverybody);
    const int link = of_everybody || is_below(path, kOfPrograms) ? O_NOFOLLOW : 0;
    Descriptor file(open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | link));
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
