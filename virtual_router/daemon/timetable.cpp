// SPDX-License-Identifier: MIT
#include "virtual_router/daemon/timetable.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

constexpr char kFolder[] = "/var/run/at";
constexpr char kOutside[] = "/outside";  // what is written there comes from around the router
constexpr char kClockPath[] = "/outside/clock";
constexpr char kCablePath[] = "/outside/wan-cable";
constexpr char kCableSeenPath[] = "/var/run/wan-cable";  // what the WAN was brought up for last; none: plugged in
constexpr int kLongestWait = 60000;                      // in milliseconds
constexpr double kRateUnit = 1000;

struct Timed {
    const char *command;
    bool by_time_of_day;  // what it does depends on the time at which it runs
};

// In the order in which they run when they are due at the same time.
constexpr Timed kTimed[] = {
    {"reboot",    false},
    {"firewall",  true },
    {"schreboot", true },
};

std::string content_of(const std::string &path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string path_of(const Timed &timed) {
    return std::string(kFolder) + "/" + timed.command;
}

// When it is due, in seconds since the epoch; 0: never.
time_t due_time(const Timed &timed) {
    return std::strtoll(content_of(path_of(timed)).c_str(), nullptr, 10);
}

bool is_pulled(const char *path) {
    return content_of(path) == "down\n";
}

// How many seconds pass in the router for each of the PC's.
double clock_rate() {
    long long pc = 0;
    long long router = 0;
    long long uptime = 0;
    long long rate = 0;
    const bool told =
        std::sscanf(content_of(kClockPath).c_str(), "%lld %lld %lld %lld", &pc, &router, &uptime, &rate) == 4;
    return told ? static_cast<double>(rate) / kRateUnit : 1;
}

// The milliseconds of the PC until the first is due, or until another look does no harm.
int wait_time() {
    time_t first = 0;
    for (const Timed &timed : kTimed) {
        const time_t due = due_time(timed);
        first = due != 0 && (first == 0 || due < first) ? due : first;
    }
    const double rate = clock_rate();
    if (first == 0 || rate <= 0) {
        return kLongestWait;
    }
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    const double left = static_cast<double>(first - now.tv_sec) * 1000 - static_cast<double>(now.tv_nsec) / 1000000;
    return static_cast<int>(std::clamp(left / rate + 1, 0.0, static_cast<double>(kLongestWait)));
}

std::string clock_text(time_t seconds) {
    char text[40];
    tm parts = {};
    return {text, std::strftime(text, sizeof text, "%A, %H:%M:%S", gmtime_r(&seconds, &parts))};
}

}  // namespace

[[noreturn]] void keep_timetable(
    const std::function<void(const std::string &why, const std::vector<std::string> &command)> &run) {
    std::error_code error;
    std::filesystem::create_directories(kFolder, error);
    const int changes = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    for (const char *folder : {kFolder, kOutside}) {
        inotify_add_watch(changes, folder, IN_MOVED_TO | IN_CLOSE_WRITE);
    }
    std::string clock = content_of(kClockPath);
    for (;;) {
        pollfd waits = {changes, POLLIN, 0};
        poll(&waits, 1, wait_time());
        char events[4096];
        while (read(changes, events, sizeof events) > 0) {
        }
        const std::string new_clock = content_of(kClockPath);
        const bool set = clock != new_clock;
        clock = new_clock;
        for (const Timed &timed : kTimed) {
            const time_t due = due_time(timed);
            if (due != 0 && due <= time(nullptr)) {
                std::filesystem::remove(path_of(timed), error);
                run("it is " + clock_text(due), {timed.command});
            } else if (set && timed.by_time_of_day) {
                run("the clock is set", {timed.command});
            }
        }
        const bool pulled = is_pulled(kCablePath);
        if (pulled != is_pulled(kCableSeenPath)) {
            std::ofstream(kCableSeenPath) << (pulled ? "down\n" : "up\n");
            run(std::string("the WAN's cable is ") + (pulled ? "pulled" : "plugged in"), {"initwan", "start"});
        }
    }
}
