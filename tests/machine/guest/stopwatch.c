// SPDX-License-Identifier: MIT
// How long a request takes from its beginning until its reply and its end are there:
//
//   stopwatch start COUNT BODY PROGRAM [ARGUMENT...]   the program, started as a web server starts it
//   stopwatch http COUNT BODY PORT                     asked of the web server at that port
//   stopwatch scgi COUNT BODY SOCKET                   asked of what listens at the socket
//   stopwatch nothing COUNT BODY                       a process that is started and ends, with the same pipes
//
// BODY is a file. Prints the median, the shortest and the longest time in nanoseconds, the bytes of the reply and, for a program,
// the most memory that it had, in KiB. A reply that tells no success is an error.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "tests/machine/guest/guest.h"

#define PHONE "192.168.1.20"  // which needs a session
enum { kWarmUp = 3, kMost = 1000 };

static char body[4096], length[16], reply[65536];
static size_t body_size, reply_size;

static long long now(void) {
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * 1000000000LL + time.tv_nsec;
}

static int read_reply(int from) {
    ssize_t size;
    reply_size = 0;
    while ((size = read(from, reply + reply_size, sizeof reply - 1 - reply_size)) > 0) reply_size += (size_t)size;
    reply[reply_size] = '\0';
    return size == 0;
}

static int start(char **words) {
    int request[2], answer[2], status;
    if (pipe2(request, O_CLOEXEC) != 0 || pipe2(answer, O_CLOEXEC) != 0) return 0;
    pid_t child = vfork();
    if (child == 0) {
        dup2(request[0], STDIN_FILENO);
        dup2(answer[1], STDOUT_FILENO);
        if (!words) _exit(0);
        execv(words[0], words);
        _exit(127);
    }
    close(request[0]);
    close(answer[1]);
    int done = child > 0 && (!words || write_all(request[1], body, body_size));
    close(request[1]);
    done = read_reply(answer[0]) && done;
    close(answer[0]);
    return waitpid(child, &status, 0) == child && status == 0 && done;
}

static int ask(int server, const void *address, socklen_t size, const char *head, size_t head_size) {
    int done = server >= 0 && connect(server, address, size) == 0 && write_all(server, head, head_size) &&
               write_all(server, body, body_size) && read_reply(server);
    close(server);
    return done;
}

static int ask_http(const char *port) {
    char head[128];
    struct sockaddr_in web = {.sin_family = AF_INET, .sin_port = htons((uint16_t)atoi(port)), .sin_addr.s_addr = inet_addr("192.168.1.1")};
    int size = sprintf(head, "POST /app/app.cgi HTTP/1.0\r\nContent-Length: %s\r\n\r\n", length);
    return ask(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), &web, sizeof web, head, (size_t)size);
}

static int ask_scgi(const char *path) {
    char variables[128], head[160];
    struct sockaddr_un place = {.sun_family = AF_UNIX};
    strncpy(place.sun_path, path, sizeof place.sun_path - 1);
    int size = sprintf(variables, "CONTENT_LENGTH%c%s%cSCGI%c1%cREMOTE_ADDR%c%s%c", 0, length, 0, 0, 0, 0, PHONE, 0);
    int before = sprintf(head, "%d:", size);
    memcpy(head + before, variables, (size_t)size);
    head[before + size] = ',';
    return ask(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0), &place, sizeof place, head, (size_t)(before + size + 1));
}

static int serve(char **words) {
    if (strcmp(words[0], "start") == 0) return start(words + 3);
    if (strcmp(words[0], "http") == 0) return ask_http(words[3]);
    if (strcmp(words[0], "scgi") == 0) return ask_scgi(words[3]);
    return strcmp(words[0], "nothing") == 0 && start(NULL);
}

static int by_size(const void *left, const void *right) {
    long long a = *(const long long *)left, b = *(const long long *)right;
    return (a > b) - (a < b);
}

// cJSON has a tab behind the colon, others have none.
static int tells_success(void) { return strstr(reply, "\"error\":\t0") || strstr(reply, "\"error\":0"); }

int measure(int count, char **words) {
    static long long times[kMost];
    int rounds = count >= 3 ? atoi(words[1]) : 0, file = count >= 3 ? open(words[2], O_RDONLY | O_CLOEXEC) : -1;
    if (rounds < 1 || rounds > kMost || file < 0 || (count < 4 && strcmp(words[0], "nothing") != 0)) return 2;
    ssize_t size = read(file, body, sizeof body);
    body_size = size > 0 ? (size_t)size : 0;
    sprintf(length, "%zu", body_size);
    setenv("CONTENT_LENGTH", length, 1);
    setenv("REMOTE_ADDR", PHONE, 1);
    for (int i = -kWarmUp; i < rounds; ++i) {
        long long before = now();
        int done = serve(words);
        long long after = now();
        if (!done || (strcmp(words[0], "nothing") != 0 && !tells_success())) {
            printf("failed: %s\n", reply);
            return 1;
        }
        if (i >= 0) times[i] = after - before;
    }
    struct rusage used;
    getrusage(RUSAGE_CHILDREN, &used);
    qsort(times, (size_t)rounds, sizeof *times, by_size);
    printf("%lld %lld %lld %zu %ld\n", times[rounds / 2], times[0], times[rounds - 1], reply_size, used.ru_maxrss);
    return 0;
}
