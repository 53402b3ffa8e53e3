// SPDX-License-Identifier: MIT
// A request that comes from the router itself needs no session. Of those from outside of the machine none does; what is sent to
// port 84 is handed on to port 80 by this process, from 127.0.0.1.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include "tests/machine/guest/guest.h"

static struct sockaddr_in address(unsigned long host, unsigned port) {
    struct sockaddr_in place = {.sin_family = AF_INET, .sin_port = htons((uint16_t)port), .sin_addr.s_addr = htonl((uint32_t)host)};
    return place;
}

// Copies in both directions until the web server has said all.
static void join(int client, int server) {
    char data[4096];
    struct pollfd ends[] = {{.fd = client, .events = POLLIN}, {.fd = server, .events = POLLIN}};
    while (poll(ends, 2, -1) > 0) {
        if (ends[1].revents) {
            ssize_t size = read(server, data, sizeof data);
            if (size <= 0 || !write_all(client, data, (size_t)size)) return;
        }
        if (ends[0].revents) {
            ssize_t size = read(client, data, sizeof data);
            if (size > 0 && !write_all(server, data, (size_t)size)) return;
            if (size <= 0) {
                shutdown(server, SHUT_WR);
                ends[0].fd = -1;
            }
        }
    }
}

int play_phone_here(void) {
    struct sockaddr_in here = address(INADDR_ANY, 84), web = address(INADDR_LOOPBACK, 80);
    int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), on = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    signal(SIGCHLD, SIG_IGN);
    signal(SIGPIPE, SIG_IGN);
    if (bind(listener, (struct sockaddr *)&here, sizeof here) == 0 && listen(listener, 16) == 0) {
        for (;;) {
            int client = accept(listener, NULL, NULL);
            if (client >= 0 && fork() == 0) {
                int server = socket(AF_INET, SOCK_STREAM, 0);
                if (connect(server, (struct sockaddr *)&web, sizeof web) == 0) join(client, server);
                _exit(0);
            }
            close(client);
        }
    }
    perror("loopback");
    return 1;
}
