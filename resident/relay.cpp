// SPDX-License-Identifier: MIT
// app-relay.cgi: asks app.scgi for web servers that know CGI and no SCGI. It is started for each request, as app.cgi
// is, but needs no libraries, no store and no memory to speak of, and ends as soon as the reply is there.

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "base/output.h"
#include "base/text.h"
#include "resident/options.h"

namespace {

constexpr int kNotServed = 255;

// The head of the request (resident/scgi.h). Web servers tell lengths and addresses of some ten characters.
class Head {
  public:
    void add(const char *name, const char *value) {
        append(name);
        append(value);
    }
    bool send(int connection) const {
        if (!fits_) {
            return false;
        }
        char length[sizeof text_] = {};
        join(length, {Decimal(static_cast<long long>(size_)).c_str(), ":"});
        return write_all(connection, length, strlen(length)) && write_all(connection, text_, size_) &&
               write_all(connection, ",", 1);
    }

  private:
    void append(const char *text) {
        const size_t length = strlen(text) + 1;
        fits_ = fits_ && length <= sizeof text_ - size_;
        if (fits_) {
            memcpy(text_ + size_, text, length);
            size_ += length;
        }
    }

    char text_[256] = {};
    size_t size_ = 0;
    bool fits_ = true;
};

int connect_to(const char *path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connection < 0 || !join(address.sun_path, {path}) ||
        connect(connection, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        return -1;
    }
    return connection;
}

// Copies until there is no more, or `most` bytes are copied. Returns how many were.
size_t copy(int from, int to, size_t most) {
    char bytes[4096];
    size_t done = 0;
    while (done < most) {
        const ssize_t count = read(from, bytes, std::min(sizeof bytes, most - done));
        if (count <= 0 || !write_all(to, bytes, static_cast<size_t>(count))) {
            break;
        }
        done += static_cast<size_t>(count);
    }
    return done;
}

bool give_up(const char *message) {
    write_all(STDERR_FILENO, message, strlen(message));
    return false;
}

bool relay() {
    Head head;
    const char *content_length = getenv("CONTENT_LENGTH");
    if (content_length != nullptr) {
        head.add("CONTENT_LENGTH", content_length);
    }
    head.add("SCGI", "1");
    if (const char *address = getenv("REMOTE_ADDR"); address != nullptr) {
        head.add("REMOTE_ADDR", address);
    }
    const char *path = getenv("APP_SCGI_SOCKET");
    const int connection = connect_to(path != nullptr ? path : kDefaultSocket);
    if (connection < 0) {
        return give_up("app-relay.cgi: app.scgi does not answer\n");
    }
    if (!head.send(connection)) {
        return give_up("app-relay.cgi: the request cannot be handed on\n");
    }
    if (content_length != nullptr) {
        copy(STDIN_FILENO, connection, strtoul(content_length, nullptr, 10));
    }
    shutdown(connection, SHUT_WR);
    return copy(connection, STDOUT_FILENO, SIZE_MAX) > 0;
}

}  // namespace

int main() {
    signal(SIGPIPE, SIG_IGN);  // a refused request is told by what comes back
    return relay() ? 0 : kNotServed;
}
