// SPDX-License-Identifier: MIT
#include "resident/server.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include "base/resource.h"
#include "gateway/handler/reply.h"
#include "gateway/request.h"
#include "resident/scgi.h"
#include "resident/tell.h"
#include "store/store.h"

namespace {

constexpr int kRefused = 1;

// Whoever sends no more holds a process; nothing was done for it yet, so that the process just ends.
void give_up(int /*signal*/) {
    constexpr char kLine[] = "app.scgi: a request did not come whole in time\n";
    static_cast<void>(!write(STDERR_FILENO, kLine, sizeof kLine - 1));
    _exit(kRefused);
}

// As a web server's program has it: the connection is standard input and output, and nothing else is handed to
// commands.
bool become_standard(int connection) {
    const bool done = dup2(connection, STDIN_FILENO) >= 0 && dup2(connection, STDOUT_FILENO) >= 0;
    close(connection);
    return done;
}

}  // namespace

void get_ready(const Options &options) {
    print_reply_headers();
    if (!options.open_late) {
        store_open_ahead();
    }
}

int await_request(int listener) {
    int connection;
    do {
        connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    } while (connection < 0 && (errno == EINTR || errno == ECONNABORTED));
    return connection;
}

int serve_request(int connection, const Options &options) {
    if (!become_standard(connection)) {
        tell_error("a request has no standard input");
        return kRefused;
    }
    signal(SIGALRM, give_up);
    alarm(static_cast<unsigned>(options.receive_seconds));
    ScgiHead head;
    if (const char *fault = read_head(STDIN_FILENO, head); fault != nullptr) {
        if (fault != kNothingSent) {
            tell("%s", fault);
        }
        return kRefused;
    }
    OwnedText body;
    if (!receive_request(head.content_length, BodyEnd::kLength, body)) {
        return kNotServed;
    }
    alarm(0);
    signal(SIGALRM, SIG_DFL);
    const int status = answer_request(std::move(body), head.remote_address);
    // The client has all of the reply now, and need not wait for a commit. Commands that still run hold the connection
    // open, too, so that it takes more than closing it here.
    shutdown(STDOUT_FILENO, SHUT_WR);
    return status != 0 ? status : finish_request();
}
