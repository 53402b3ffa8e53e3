// SPDX-License-Identifier: MIT
// A double of the kernel's network interfaces: the requests for an address, a netmask or a hardware address are
// answered from the case, whatever interfaces the machine has. So are those of the Wi-Fi driver (wireless.cpp). All
// other requests go to the kernel.
//
// An interface NAME is a file /sys/class/net/NAME of up to three words, "ADDRESS NETMASK MAC"; "-" is one that the
// interface does not have. Without the file there is no such interface.
//
// So is kill(): no process of the machine gets a signal. One that is sent is an event; it succeeds where /proc/NUMBER
// is there, as it does with signal 0, which is none.
//
// And CLOCK_BOOTTIME is the time of day, as of a kernel that was started in 1970: a case says with %TIME(-90)% what was
// 90 seconds ago, however short the machine has been up.
//
// Where a case has a file /.kernel/old, the kernel is one of 2.6.30: it has neither that clock nor filters, nor
// getrandom() and close_range(). Where it has /.kernel/no_chance, that has nothing to give, as early after a start: who
// asks, waits.
//
// The root's loader puts it before all other libraries, so that it replaces the C library's ioctl().
#include <arpa/inet.h>
#include <dlfcn.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "tests/runner/doubles/events.h"
#include "tests/runner/doubles/wireless.h"

namespace {

struct Interface {
    char address[64];
    char netmask[64];
    char mac[64];
};

bool find_interface(const char *name, Interface *found) {
    char path[64];
    snprintf(path, sizeof(path), "/sys/class/net/%.*s", IFNAMSIZ, name);
    FILE *file = fopen(path, "re");
    if (file == nullptr) {
        return false;
    }
    if (fscanf(file, "%63s %63s %63s", found->address, found->netmask, found->mac) < 0) {
        found->address[0] = '\0';
    }
    fclose(file);
    return true;
}

int fail(int error) {
    errno = error;
    return -1;
}

int give_address(const char *text, sockaddr *out) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    if (inet_pton(AF_INET, text, &address.sin_addr) != 1) {
        return fail(EADDRNOTAVAIL);
    }
    memcpy(out, &address, sizeof(address));
    return 0;
}

int give_mac(const char *text, sockaddr *out) {
    unsigned mac[6] = {};
    if (sscanf(text, "%2x:%2x:%2x:%2x:%2x:%2x", &mac[0], &mac[1], &mac[2], &mac[3], &mac[4], &mac[5]) != 6) {
        return fail(EADDRNOTAVAIL);
    }
    out->sa_family = 1;  // Ethernet
    for (int i = 0; i < 6; ++i) {
        out->sa_data[i] = static_cast<char>(mac[i]);
    }
    return 0;
}

// Removes the file that the case names, if it names one: what is read behind the signal finds it gone.
void remove_at_signal() {
    char path[256];
    FILE *file = fopen("/.runner/at_signal", "re");
    if (file != nullptr && fscanf(file, "%255s", path) == 1) {
        unlink(path);
    }
    if (file != nullptr) {
        fclose(file);
    }
}

bool is_kernel_old() {
    return access("/.kernel/old", F_OK) == 0;
}

// As sigabbrev_np() names them, which not every C library has.
const char *name_of_signal(int signal) {
    constexpr struct {
        int number;
        const char *name;
    } kNames[] = {
        {SIGHUP,  "HUP" },
        {SIGUSR1, "USR1"},
        {SIGUSR2, "USR2"},
        {SIGTERM, "TERM"},
        {SIGKILL, "KILL"},
    };
    for (const auto &known : kNames) {
        if (known.number == signal) {
            return known.name;
        }
    }
    return "another";
}

// How the C library declares a request.
#ifdef __GLIBC__
using Request = unsigned long;
#else
using Request = int;
#endif

}  // namespace

extern "C" int kill(pid_t process, int signal) noexcept {
    if (process <= 0 || signal == SIGKILL) {  // what the program has started itself
        return static_cast<int>(syscall(SYS_kill, process, signal));
    }
    if (signal != 0) {
        char line[128];
        EventLine event(line);
        event.begin(Event::kSignal);
        event.number(process);
        event.word(name_of_signal(signal));
        append_event(event);
        remove_at_signal();
    }
    char path[32];
    snprintf(path, sizeof(path), "/proc/%d", process);
    return access(path, F_OK) == 0 ? 0 : fail(ESRCH);
}

// Others have a call of another name where a time is longer than a word, and no hardened build is tried there.
#ifdef __GLIBC__
extern "C" int clock_gettime(clockid_t clock, timespec *out) noexcept {
    if (clock == CLOCK_BOOTTIME && is_kernel_old()) {
        return fail(EINVAL);
    }
    // Of an old one the other clock is as old: what is tried is that a session begins and is known again.
    const bool of_start = clock == CLOCK_BOOTTIME || (clock == CLOCK_MONOTONIC && is_kernel_old());
    return static_cast<int>(syscall(SYS_clock_gettime, of_start ? CLOCK_REALTIME : clock, out));
}
#endif

extern "C" long syscall(long number, ...) noexcept {
    va_list arguments;
    va_start(arguments, number);
    long with[6];
    for (long &argument : with) {
        argument = va_arg(arguments, long);
    }
    va_end(arguments);
#ifdef SYS_close_range
    constexpr long kCloseRange = SYS_close_range;
#else
    constexpr long kCloseRange = -1;
#endif
    constexpr long kNotWaiting = 1;  // GRND_NONBLOCK, which older headers lack
    const bool is_new = number == SYS_getrandom || number == kCloseRange;
    if (is_new && is_kernel_old()) {
        return fail(ENOSYS);
    }
    while (number == SYS_getrandom && access("/.kernel/no_chance", F_OK) == 0) {
        if ((with[2] & kNotWaiting) != 0) {
            return fail(EAGAIN);
        }
        usleep(1000);
    }
    const auto next = reinterpret_cast<long (*)(long, ...)>(dlsym(RTLD_NEXT, "syscall"));
    return next(number, with[0], with[1], with[2], with[3], with[4], with[5]);
}

extern "C" int prctl(int option, ...) noexcept {
    if ((option == PR_SET_SECCOMP || option == PR_SET_NO_NEW_PRIVS) && is_kernel_old()) {
        return fail(EINVAL);
    }
    va_list arguments;
    va_start(arguments, option);
    long with[4];
    for (long &argument : with) {
        argument = va_arg(arguments, long);
    }
    va_end(arguments);
    return static_cast<int>(syscall(SYS_prctl, option, with[0], with[1], with[2], with[3]));
}

extern "C" int ioctl(int file, Request declared, ...) {
    const auto request = static_cast<unsigned>(declared);
    va_list arguments;
    va_start(arguments, declared);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);
    if (is_wireless_request(request)) {
        return answer_wireless_request(request, argument);
    }
    if (request != SIOCGIFADDR && request != SIOCGIFNETMASK && request != SIOCGIFHWADDR) {
        return static_cast<int>(syscall(SYS_ioctl, file, request, argument));
    }
    auto *wanted = static_cast<ifreq *>(argument);
    Interface found = {};
    if (!find_interface(wanted->ifr_name, &found)) {
        return fail(ENODEV);
    }
    switch (request) {
        case SIOCGIFADDR:
            return give_address(found.address, &wanted->ifr_addr);
        case SIOCGIFNETMASK:
            return give_address(found.netmask, &wanted->ifr_netmask);
        default:
            return give_mac(found.mac, &wanted->ifr_hwaddr);
    }
}
