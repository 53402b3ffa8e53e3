// SPDX-License-Identifier: MIT
#include "virtual_router/board/board.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace board {

namespace {

constexpr char kPath[] = "/dev/board";
constexpr char kDone[] = "done\n";

// Sends all of it. Returns 0 or an errno.
int send_all(int to, const char *bytes, size_t size) {
    while (size > 0) {
        const ssize_t sent = send(to, bytes, size, MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR) {
            return errno;
        }
        const size_t done = sent < 0 ? 0 : static_cast<size_t>(sent);
        bytes += done;
        size -= done;
    }
    return 0;
}

// Whether the answer is that it is done.
bool is_done(int from) {
    char answer[sizeof kDone] = {};
    size_t size = 0;
    while (size < strlen(kDone)) {
        const ssize_t got = recv(from, answer + size, strlen(kDone) - size, 0);
        if (got == 0 || (got < 0 && errno != EINTR)) {
            return false;
        }
        size += got < 0 ? 0 : static_cast<size_t>(got);
    }
    return strcmp(answer, kDone) == 0;
}

}  // namespace

int order(const char *words) {
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return errno;
    }
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    memcpy(address.sun_path, kPath, sizeof kPath);
    int error = connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 ? 0 : errno;
    if (error == ENOENT || error == ENOTDIR) {
        close(fd);
        return 0;
    }
    error = error != 0 ? error : send_all(fd, words, strlen(words));
    error = error != 0 ? error : send_all(fd, "\n", 1);
    if (error == 0 && !is_done(fd)) {
        error = EIO;
    }
    close(fd);
    return error;
}

}  // namespace board
