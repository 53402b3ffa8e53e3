// SPDX-License-Identifier: MIT
#include "base/own_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "base/resource.h"

namespace {

constexpr char kOfEverybody[] = "/tmp/";
constexpr int kAlways = O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
constexpr mode_t kForOwner = 0600;

// The folder of this name in another; -1: there is none that may be gone into.
int open_folder(int parent, const char *name) {
    Descriptor folder(openat(parent, name, O_RDONLY | O_DIRECTORY | kAlways));
    struct stat status;
    if (!folder || fstat(folder.get(), &status) != 0) {
        return -1;
    }
    if (!is_trusted(status)) {
        errno = EACCES;
        return -1;
    }
    return folder.release();
}

// Goes through a folder's folders one by one to a file.
int open_from(int folder, const char *path, int flags) {
    const char *const slash = strchr(path, '/');
    if (slash == nullptr) {
        return openat(folder, path, flags | kAlways, kForOwner);
    }
    char name[128];
    const size_t length = static_cast<size_t>(slash - path);
    if (length >= sizeof name) {
        errno = ENAMETOOLONG;
        return -1;
    }
    memcpy(name, path, length);
    name[length] = '\0';
    const Descriptor next(open_folder(folder, name));
    return next ? open_from(next.get(), slash + 1, flags) : -1;
}

}  // namespace

bool is_trusted(const struct stat &status) {
    return status.st_uid == 0 || status.st_uid == geteuid();
}

bool is_of_everybody(const char *path) {
    return strncmp(path, kOfEverybody, strlen(kOfEverybody)) == 0;
}

int open_without_links(const char *path, int flags) {
    const size_t length = strlen(kOfEverybody);
    if (!is_of_everybody(path) || strchr(path + length, '/') == nullptr) {
        return open(path, flags | kAlways, kForOwner);
    }
    const Descriptor folder(open(kOfEverybody, O_RDONLY | O_DIRECTORY | O_CLOEXEC));  // may be a link of the firmware's
    return folder ? open_from(folder.get(), path + length, flags) : -1;
}

int open_own_file(const char *path, int flags) {
    Descriptor file(open_without_links(path, flags));
    struct stat status;
    if (!file || fstat(file.get(), &status) != 0) {
        return -1;
    }
    if (!S_ISREG(status.st_mode) || !is_trusted(status) || status.st_nlink > 1) {
        errno = EEXIST;
        return -1;
    }
    return file.release();
}
