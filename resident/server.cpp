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

// What is no reply gets header lines where app.cgi gives it some; else the web server finds nothing, and says so
// itself.
#ifdef CGI_HEADERS
constexpr bool kTellsMissingReply = true;
#else
constexpr bool kTellsMissingReply = false;
#endif

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

int answer(const ScgiHead &head) {
    OwnedText body;
    const bool received = receive_request(head.content_length, BodyEnd::kLength, body);
    alarm(0);
    signal(SIGALRM, SIG_DFL);
    return received ? answer_request(std::move(body), head.remote_address) : kNotServed;
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
    const int status = answer(head);
    if constexpr (kTellsMissingReply) {
        print_missing_reply(status == 0);
    }
    // The client has all of the reply now, and need not wait for a commit. Commands that still run hold the connection
    // open, too, so that it takes more than closing it here.
    shutdown(STDOUT_FILENO, SHUT_WR);
    return status != 0 ? status : finish_request();
}
