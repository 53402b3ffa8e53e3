// SPDX-License-Identifier: MIT
// The way from the PC into the virtual router's network.
//
//   portal listen PORT... -- COMMAND [ARGUMENT...]
//       Opens a listening socket on 127.0.0.1 for each PORT, the first as descriptor 3, and becomes COMMAND. The
//       sockets belong to the network in which this ran, wherever COMMAND goes afterwards.
//   portal forward DESCRIPTOR ADDRESS:PORT
//       Carries each connection that arrives at the listening DESCRIPTOR to a TCP server of the network it now is in,
//       so that the server sees the address of this side of that network.
//   portal forward DESCRIPTOR /SOCKET CLIENT-ADDRESS SERVER-ADDRESS
//       Carries them to a Unix socket and announces each with a PROXY protocol line, as if it came from CLIENT-ADDRESS.
//   portal forward DESCRIPTOR @FILE
//       Carries each connection to where the file's words, which are one of the above, say when it arrives.
//
// Exit status: 2 for a wrong call, 1 for a port or a socket that cannot be used, else COMMAND's.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

constexpr int kFirstDescriptor = 3;
constexpr int kBacklog = 128;
constexpr std::chrono::seconds kServerPatience{5};  // how long a server that is just starting is waited for
constexpr int kLingerMs = 2000;                     // how long a client may take to notice that the server has closed

bool parse_port(const std::string &text, in_port_t &port) {
    char *end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (end == text.c_str() || *end != '\0' || value < 1 || value > 65535) {
        return false;
    }
    port = static_cast<in_port_t>(value);
    return true;
}

sockaddr_in tcp_address(const std::string &host, in_port_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    if (inet_pton(AF_INET, host.c_str(), &address.sin_addr) != 1) {
        std::fprintf(stderr, "portal: %s is no IPv4 address\n", host.c_str());
        std::exit(2);
    }
    return address;
}

int listen_and_become(const std::vector<std::string> &ports, char **command) {
    for (const std::string &text : ports) {
        in_port_t port = 0;
        if (!parse_port(text, port)) {
            std::fprintf(stderr, "portal: %s is no port number\n", text.c_str());
            return 2;
        }
        const sockaddr_in address = tcp_address("127.0.0.1", port);
        const int listener = socket(AF_INET, SOCK_STREAM, 0);
        const int on = 1;
        setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        if (bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
            listen(listener, kBacklog) != 0) {
            std::fprintf(stderr, "Port %s of 127.0.0.1 cannot be used: %s\n", text.c_str(), std::strerror(errno));
            return 1;
        }
        // The descriptors are promised by number, so that every script on the way knows them.
        const int wanted = kFirstDescriptor + static_cast<int>(&text - ports.data());
        if (listener != wanted) {
            if (dup2(listener, wanted) < 0) {
                std::perror("portal: dup2");
                return 1;
            }
            close(listener);
        }
    }
    execvp(command[0], command);
    std::fprintf(stderr, "portal: %s: %s\n", command[0], std::strerror(errno));
    return 1;
}

// Where connections are carried to.
struct Target {
    sockaddr_storage address{};
    socklen_t length = 0;
    std::string client;  // not empty: announce this client with a PROXY line
    std::string server;
};

int connect_patiently(const Target &target) {
    const auto deadline = std::chrono::steady_clock::now() + kServerPatience;
    for (;;) {
        const int server = socket(target.address.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (server < 0 || connect(server, reinterpret_cast<const sockaddr *>(&target.address), target.length) == 0) {
            return server;
        }
        close(server);
        if (std::chrono::steady_clock::now() >= deadline) {
            return -1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

// One direction of a connection.
struct Flow {
    int from;
    int to;
    bool ended = false;     // `from` gives no more
    bool lost = false;      // `to` takes no more; what comes is dropped
    std::size_t begin = 0;  // what was read and not yet passed on: buffer[begin, end)
    std::size_t end = 0;
    std::vector<char> buffer = std::vector<char>(65536);

    bool wants_input() const { return !ended && begin == end; }
    bool wants_output() const { return begin != end; }

    // True: something came.
    bool read_some() {
        const ssize_t got = recv(from, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (got > 0) {
            begin = 0;
            end = lost ? 0 : static_cast<std::size_t>(got);
        } else if (got == 0 || (errno != EAGAIN && errno != EINTR)) {
            ended = true;
        }
        return got > 0;
    }
    void write_some() {
        const ssize_t put = send(to, buffer.data() + begin, end - begin, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (put >= 0) {
            begin += static_cast<std::size_t>(put);
        } else if (errno != EAGAIN && errno != EINTR) {
            lost = true;
            begin = end;
        }
    }
};

// Passes bytes both ways until the server has closed and the client has been told. The server, for its part, is told of
// a client's end only between two requests: it would kill the program that is at work on one. After the reply it closes
// a silent connection by itself.
void carry(int client, int server) {
    Flow requests{client, server};
    Flow replies{server, client};
    bool at_work = false;  // the server got something and has not begun to answer
    while (!replies.ended || replies.wants_output() || !requests.ended) {
        pollfd fds[2] = {
            {client, 0, 0},
            {server, 0, 0}
        };
        fds[0].events =
            static_cast<short>((requests.wants_input() ? POLLIN : 0) | (replies.wants_output() ? POLLOUT : 0));
        fds[1].events =
            static_cast<short>((replies.wants_input() ? POLLIN : 0) | (requests.wants_output() ? POLLOUT : 0));
        for (pollfd &fd : fds) {
            if (fd.events == 0) {
                fd.fd = -1;  // else a hang-up that nobody waits for would be reported for ever
            }
        }
        const int ready = poll(fds, 2, replies.ended ? kLingerMs : -1);
        if (ready == 0 || (ready < 0 && errno != EINTR)) {
            return;
        }
        if (ready < 0) {
            continue;
        }
        if (fds[0].revents != 0) {
            if (replies.wants_output()) {
                replies.write_some();
            }
            if (requests.wants_input()) {
                requests.read_some();
                if (requests.ended && !at_work) {
                    shutdown(server, SHUT_WR);
                }
            }
        }
        if (requests.wants_output()) {
            at_work = true;
            requests.write_some();
        }
        if (fds[1].revents != 0 && replies.wants_input() && replies.read_some()) {
            at_work = false;
        }
        if (replies.wants_output()) {
            replies.write_some();
        } else if (replies.ended) {
            shutdown(client, SHUT_WR);
        }
    }
}

void serve(int client, in_port_t client_port, Target target) {
    const int on = 1;
    setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    const int server = connect_patiently(target);
    if (server < 0 && target.length > 0) {
        std::fprintf(stderr, "portal: the router's web server does not answer: %s\n", std::strerror(errno));
    } else if (server >= 0) {
        setsockopt(server, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        if (!target.client.empty()) {
            const std::string line =
                "PROXY TCP4 " + target.client + " " + target.server + " " + std::to_string(client_port) + " 80\r\n";
            send(server, line.data(), line.size(), MSG_NOSIGNAL);
        }
        carry(client, server);
        close(server);
    }
    close(client);
}

// A Unix socket's address holds 107 characters and folders may lie deep: the way to it is gone first.
bool unix_address(const std::string &path, Target &target) {
    const std::size_t slash = path.rfind('/');
    const std::string name = path.substr(slash + 1);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (name.size() >= sizeof address.sun_path || chdir(path.substr(0, slash + 1).c_str()) != 0) {
        std::perror(("portal: " + path).c_str());
        return false;
    }
    std::memcpy(address.sun_path, name.c_str(), name.size() + 1);
    std::memcpy(&target.address, &address, sizeof address);
    target.length = sizeof address;
    return true;
}

// Understands "ADDRESS:PORT" and "/SOCKET CLIENT-ADDRESS SERVER-ADDRESS". False: the words are neither, or the socket
// cannot be reached.
bool parse_target(const std::vector<std::string> &words, Target &target) {
    if (words.size() == 3 && words[0][0] == '/') {
        target.client = words[1];
        target.server = words[2];
        return unix_address(words[0], target);
    }
    const std::size_t colon = words.size() == 1 ? words[0].find(':') : std::string::npos;
    in_port_t port = 0;
    if (colon == std::string::npos || !parse_port(words[0].substr(colon + 1), port)) {
        return false;
    }
    const sockaddr_in address = tcp_address(words[0].substr(0, colon), port);
    std::memcpy(&target.address, &address, sizeof address);
    target.length = sizeof address;
    return true;
}

std::vector<std::string> read_words(const std::string &path) {
    std::ifstream file(path);
    return {std::istream_iterator<std::string>(file), {}};
}

// Carries connections for ever to the target that `target_now` gives for each.
template <typename TargetNow>
int forward(int listener, const TargetNow &target_now) {
    for (;;) {
        // The client's port is asked for now: it may hang up at any moment.
        sockaddr_in peer{};
        socklen_t length = sizeof peer;
        const int client = accept4(listener, reinterpret_cast<sockaddr *>(&peer), &length, SOCK_CLOEXEC);
        if (client >= 0) {
            std::thread(serve, client, ntohs(peer.sin_port), target_now()).detach();
        } else if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));  // connections that end make room
        } else if (errno != EINTR && errno != ECONNABORTED) {
            std::perror("portal: accept");
            return 1;
        }
    }
}

int usage() {
    std::fputs(
        "usage: portal listen PORT... -- COMMAND [ARGUMENT...]\n"
        "       portal forward DESCRIPTOR ADDRESS:PORT\n"
        "       portal forward DESCRIPTOR /SOCKET CLIENT-ADDRESS SERVER-ADDRESS\n"
        "       portal forward DESCRIPTOR @FILE\n",
        stderr);
    return 2;
}

}  // namespace

int main(int argc, char **argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.size() >= 4 && words[0] == "listen") {
        std::size_t dashes = 1;
        while (dashes < words.size() && words[dashes] != "--") {
            ++dashes;
        }
        if (dashes == 1 || dashes + 1 >= words.size()) {
            return usage();
        }
        return listen_and_become({words.begin() + 1, words.begin() + static_cast<std::ptrdiff_t>(dashes)},
                                 argv + 1 + dashes + 1);
    }
    if (words.size() >= 3 && words[0] == "forward") {
        const int listener = std::atoi(words[1].c_str());
        if (words.size() == 3 && words[2][0] == '@') {
            return forward(listener, [path = words[2].substr(1)] {
                Target now;
                if (!parse_target(read_words(path), now)) {
                    std::fputs("portal: nobody on this side knows an address of the router\n", stderr);
                }
                return now;
            });
        }
        Target target;
        if (parse_target({words.begin() + 2, words.end()}, target)) {
            return forward(listener, [&] { return target; });
        }
    }
    return usage();
}
