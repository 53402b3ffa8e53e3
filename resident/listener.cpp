// SPDX-License-Identifier: MIT
#include "resident/listener.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>

#include "base/resource.h"
#include "base/text.h"
#include "resident/tell.h"
#include "resident/user_ids.h"

namespace {

// Requests that wait for a process. Web servers take a full queue for a broken program, so it is long.
constexpr int kQueue = 1024;

int new_socket() {
    return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

// Whether somebody answers there.
bool is_served(const sockaddr_un &address) {
    const Descriptor probe(new_socket());
    return probe && connect(probe.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
}

// Removes what a killed program has left. Only a socket is removed: anything else at that path is somebody's.
bool clear_path(const sockaddr_un &address) {
    struct stat status;
    if (lstat(address.sun_path, &status) != 0) {
        return errno == ENOENT;
    }
    if (!S_ISSOCK(status.st_mode)) {
        errno = EEXIST;
        return false;
    }
    return unlink(address.sun_path) == 0;
}

// Gives the socket its owner and its rights. Until then nobody but root and its maker can connect.
bool hand_over(const char *path, const Options &options) {
    UserIds owner;
    if (options.socket_owner != nullptr) {
        if (!find_user_ids(options.socket_owner, owner)) {
            return false;
        }
        if (chown(path, owner.user, owner.group) != 0) {
            tell_error("%s cannot be given to %s", path, options.socket_owner);
            return false;
        }
    }
    if (chmod(path, static_cast<mode_t>(options.socket_mode)) != 0) {
        tell_error("%s cannot be given its rights", path);
        return false;
    }
    return true;
}

bool bind_and_listen(int listener, const sockaddr_un &address, const Options &options) {
    constexpr mode_t kForOwner = 0177;
    const mode_t usual = umask(kForOwner);
    const bool bound = bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    umask(usual);
    if (!bound) {
        tell_error("%s cannot be made", address.sun_path);
        return false;
    }
    if (!hand_over(address.sun_path, options)) {
        unlink(address.sun_path);
        return false;
    }
    if (listen(listener, kQueue) != 0) {
        tell_error("%s cannot be listened at", address.sun_path);
        return false;
    }
    return true;
}

}  // namespace

int listen_at(const Options &options) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    join(address.sun_path, {options.socket});
    if (is_served(address)) {
        tell("%s is served already", options.socket);
        return -1;
    }
    if (!clear_path(address)) {
        tell_error("%s is in the way", options.socket);
        return -1;
    }
    const int listener = new_socket();
    if (listener < 0) {
        tell_error("there is no socket");
        return -1;
    }
    if (!bind_and_listen(listener, address, options)) {
        close(listener);
        return -1;
    }
    return listener;
}

void stop_listening(int listener, const Options &options) {
    // In this order: once nobody answers there, another program may take the path.
    unlink(options.socket);
    shutdown(listener, SHUT_RD);
}
