// SPDX-License-Identifier: MIT
#include "gateway/limits.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

namespace {

constexpr int kLongestBody = 1 << 20;
#ifdef __SANITIZE_ADDRESS__
constexpr rlim_t kMemory = RLIM_INFINITY;  // its map of all addresses takes some
#else
constexpr rlim_t kMemory = 64 << 20;  // bytes of address space; the programs that it runs get no more
#endif
constexpr unsigned kLongestWait = 20;  // seconds, as app.scgi has it
constexpr rlim_t kSeconds = 20;        // of the processor's time; a request takes a thousandth of one

// What is limited to less already stays so. The limit is the hard one, too: nobody can raise it, or ignore the signal
// that comes before it.
template <typename Resource>
void limit(Resource resource, rlim_t most) {
    rlimit limits;
    if (getrlimit(resource, &limits) == 0 && limits.rlim_max > most) {
        limits.rlim_cur = std::min(limits.rlim_cur, most);
        limits.rlim_max = most;
        setrlimit(resource, &limits);
    }
}

// A client that sends no more holds a process, where the web server hands the body on as it comes; nothing was done for
// it yet.
void give_up(int /*signal*/) {
    constexpr char kLine[] = "app.cgi: a request did not come whole in time\n";
    constexpr int kNotServed = 255;
    static_cast<void>(!write(STDERR_FILENO, kLine, sizeof kLine - 1));
    _exit(kNotServed);
}

}  // namespace

int longest_body() {
    return kLongestBody;
}

BodyEnd end_of_body() {
    return BodyEnd::kLength;
}

void begin_waiting_for_request() {
    struct sigaction action = {};
    action.sa_handler = give_up;
    sigaction(SIGALRM, &action, nullptr);
    sigset_t alarms;  // which whoever has started the process may have kept from it
    sigemptyset(&alarms);
    sigaddset(&alarms, SIGALRM);
    sigprocmask(SIG_UNBLOCK, &alarms, nullptr);
    alarm(kLongestWait);
}

void end_waiting_for_request() {
    alarm(0);
    signal(SIGALRM, SIG_DFL);
}

void limit_process() {
    limit(RLIMIT_AS, kMemory);
    limit(RLIMIT_CPU, kSeconds);
    limit(RLIMIT_CORE, 0);  // in what a crash leaves behind are passwords
}
