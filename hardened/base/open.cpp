// SPDX-License-Identifier: MIT
// Files are read, and what would keep the reader waiting is not: no pipe, no device. Where files come and go while the
// router runs, in /tmp and /var, no link is followed and no file read that has a second name; elsewhere the firmware
// has laid them, and /etc/resolv.conf is often one. /tmp is everybody's: there only a file of the endpoint's own user
// or of root is read. What is everybody's goes by its name.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "base/input.h"
#include "base/own_file.h"
#include "base/shortage.h"

namespace {

constexpr char kOfPrograms[] = "/var/";

}  // namespace

int open_input(const char *path) {
    const bool of_everybody = is_of_everybody(path);
    const bool of_programs = of_everybody || strncmp(path, kOfPrograms, strlen(kOfPrograms)) == 0;
    constexpr int kFlags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    Descriptor file(of_programs ? open_without_links(path, O_RDONLY) : open(path, kFlags));
    struct stat status;
    if (!file || fstat(file.get(), &status) != 0) {
        return -1;
    }
    const bool is_file = S_ISREG(status.st_mode);
    const bool readable = is_file || S_ISDIR(status.st_mode);              // of a folder nothing comes
    const bool elsewhere = of_programs && is_file && status.st_nlink > 1;  // it may be another's by its other name
    if (!readable || elsewhere || (of_everybody && !is_trusted(status))) {
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

// A link may be there: what it leads to is not looked at, since a file takes the link's own place.
bool can_write(const char *path) {
    const Descriptor file(open_without_links(path, O_WRONLY));
    return file || errno == ENOENT || errno == ELOOP;
}
