// SPDX-License-Identifier: MIT
// Measures app.scgi beside app.cgi, request by request in turn: the time until the whole reply and its end are there,
// and the memory of the processes that wait.
//
//   bench_resident [--runs N] [--json] ROOT
//
// ROOT is a router's root as bench/in_root lays it out. Standard output: the table, or one JSON object. Exit status: 0
// the aims are reached, 1 one is not, 2 it could not be measured.
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/measure.h"

namespace {

constexpr char kProgram[] = "/web/app/app.cgi";
constexpr char kResident[] = "/web/app/app.scgi";
constexpr char kSocket[] = "/tmp/app.scgi";
constexpr int kWaiting = 4;

constexpr double kTimeAim = 0.35;     // times the started process
constexpr unsigned kMemoryAim = 300;  // KiB that are a waiting process's alone, and written to
constexpr unsigned kPause = 3000;     // microseconds, in which the place of a process that ended is taken

// Requests that need no command, and ask the system daemon, who is not there, for nothing. {n} is another number each
// time.
struct Kind {
    const char *name;
    const char *body;
    const char *expected;  // in the reply
};
constexpr char kDone[] = "\"error\":\t0";
constexpr Kind kKinds[] = {
    {"get app",         R"({"action":"get","app":{}})",                                kDone           },
    {"set dutInfo",     R"({"action":"set","dutInfo":{"name":"name {n}"}})",           kDone           },
    {"get wifi",        R"({"action":"get","wifi":{}})",                               kDone           },
    {"get wanInfo",     R"({"action":"get","wanInfo":{}})",                            kDone           },
    {"get wifiAdvance", R"({"action":"get","wifiAdvance":{}})",                        kDone           },
    {"three objects",   R"({"action":"get","mesh":{},"timeZone":{},"opMode":{}})",     kDone           },
    {"login",           R"({"action":"login","info":{"user":"admin","pwd":"admin"}})", "login success" },
    {"no object",       R"({"action":"get","nothing":{"n":{n}}})",                     "\"error\":\t-1"},
};

using Clock = std::chrono::steady_clock;

double microseconds_since(Clock::time_point start) {
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

std::string fill(std::string body, unsigned run) {
    const size_t at = body.find("{n}");
    return at == std::string::npos ? body : body.replace(at, 3, std::to_string(1000 + run % 9000));
}

std::string netstring(const std::string &body) {
    std::string head;
    const auto add = [&head](const char *name, const std::string &value) {
        head.append(name).push_back('\0');
        head.append(value).push_back('\0');
    };
    add("CONTENT_LENGTH", std::to_string(body.size()));
    add("SCGI", "1");
    add("REQUEST_METHOD", "POST");
    add("REQUEST_URI", "/app/app.cgi");
    add("REMOTE_ADDR", "127.0.0.1");
    return std::to_string(head.size()) + ":" + head + "," + body;
}

// The reply of the resident program and the microseconds until its end was there.
std::string ask(const std::string &request, double &took) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    snprintf(address.sun_path, sizeof address.sun_path, "%s", kSocket);
    const auto start = Clock::now();
    const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    std::string reply;
    ssize_t count = -1;
    if (connect(connection, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 &&
        write(connection, request.data(), request.size()) == static_cast<ssize_t>(request.size())) {
        char bytes[65536];
        while ((count = read(connection, bytes, sizeof bytes)) > 0) {
            reply.append(bytes, static_cast<size_t>(count));
        }
    }
    took = microseconds_since(start);
    close(connection);
    if (count < 0) {
        throw std::runtime_error(std::string(kSocket) + ": " + strerror(errno));
    }
    return reply;
}

pid_t start_resident() {
    const std::string waiting = "--waiting=" + std::to_string(kWaiting);
    const std::string socket = std::string("--socket=") + kSocket;
    const pid_t process = fork();
    if (process == 0) {
        setenv("PATH", "/bin", 1);
        execl(kResident, kResident, socket.c_str(), waiting.c_str(), nullptr);
        _exit(127);
    }
    for (int tries = 0; tries < 1000 && access(kSocket, F_OK) != 0; ++tries) {
        usleep(kPause);
    }
    usleep(100 * kPause);
    return process;
}

unsigned memory_figure(const std::string &process, const std::string &key) {
    std::ifstream file("/proc/" + process + "/smaps_rollup");
    for (std::string word; file >> word;) {
        unsigned figure = 0;
        if (word == key && file >> figure) {
            return figure;
        }
    }
    return 0;
}

struct Memory {
    unsigned own;       // written to, and nobody else's
    unsigned resident;  // pages that are shared with others included
};

// The processes that wait, and at the end their keeper.
std::vector<Memory> memory_of(pid_t keeper) {
    const std::string name = std::to_string(keeper);
    std::ifstream children("/proc/" + name + "/task/" + name + "/children");
    std::vector<Memory> found;
    std::vector<std::string> processes;
    for (std::string process; children >> process;) {
        processes.push_back(process);
    }
    processes.push_back(name);
    for (const std::string &process : processes) {
        found.push_back({memory_figure(process, "Private_Dirty:"), memory_figure(process, "Rss:")});
    }
    return found;
}

struct Row {
    const char *name;
    double cgi;
    double resident;
    double ratio;  // the median of neighbours' ratios
};

// The reply without its header lines.
std::string body_of(const std::string &reply) {
    const size_t end = reply.find("\r\n\r\n");
    return end == std::string::npos ? "" : reply.substr(end + 4);
}

Row measure(const Kind &kind, unsigned runs) {
    std::vector<double> cgi;
    std::vector<double> resident;
    std::vector<double> ratios;
    for (unsigned run = 0; run < runs; ++run) {
        const std::string body = fill(kind.body, run);
        Request request = {
            {kProgram                },
            { "PATH=/bin", "REMOTE_ADDR=127.0.0.1"},
            body
        };
        request.environment.push_back("CONTENT_LENGTH=" + std::to_string(body.size()));
        const Outcome outcome = run_once(request);
        double took = 0;
        const std::string reply = body_of(ask(netstring(body), took));
        // Session ids follow the clock, so that two logins may differ.
        if (reply.find(kind.expected) == std::string::npos ||
            (reply != outcome.reply && strcmp(kind.name, "login") != 0)) {
            throw std::runtime_error(std::string(kind.name) + ": not the reply that was expected:\n" + outcome.reply +
                                     reply);
        }
        cgi.push_back(outcome.microseconds);
        resident.push_back(took);
        ratios.push_back(took / outcome.microseconds);
        usleep(kPause);
    }
    return {kind.name, median(cgi), median(resident), median(ratios)};
}

std::string load_average() {
    std::ifstream file("/proc/loadavg");
    std::string load;
    file >> load;
    return load;
}

int measure_all(const char *root, unsigned runs, bool json) {
    if (chroot(root) != 0 || chdir("/") != 0) {
        throw std::runtime_error(std::string("can't change the root to ") + root + ": " + strerror(errno));
    }
    const std::string load = load_average();
    pin_to_one_core();
    const pid_t keeper = start_resident();
    std::vector<Row> rows;
    for (const Kind &kind : kKinds) {
        measure(kind, 5);
        rows.push_back(measure(kind, runs));
    }
    usleep(100 * kPause);
    const std::vector<Memory> memory = memory_of(keeper);
    kill(keeper, SIGTERM);
    waitpid(keeper, nullptr, 0);
    if (memory.size() != kWaiting + 1) {
        throw std::runtime_error(std::to_string(memory.size() - 1) + " processes wait");
    }
    unsigned most_own = 0;
    unsigned most_resident = 0;
    for (int i = 0; i < kWaiting; ++i) {
        most_own = std::max(most_own, memory[static_cast<size_t>(i)].own);
        most_resident = std::max(most_resident, memory[static_cast<size_t>(i)].resident);
    }
    bool reached = most_own > 0 && most_own <= kMemoryAim;
    for (const Row &row : rows) {
        reached = reached && row.ratio <= kTimeAim;
    }
    if (json) {
        printf("{\"load_before\": %s, \"load_after\": %s, \"runs\": %u, \"requests\": [", load.c_str(),
               load_average().c_str(), runs);
        const char *separator = "";
        for (const Row &row : rows) {
            printf("%s\n  {\"name\": \"%s\", \"cgi_us\": %.1f, \"resident_us\": %.1f, \"ratio\": %.3f}", separator,
                   row.name, row.cgi, row.resident, row.ratio);
            separator = ",";
        }
        printf("],\n \"waiting_dirty_kib\": %u, \"waiting_resident_kib\": %u, \"keeper_dirty_kib\": %u}\n", most_own,
               most_resident, memory[kWaiting].own);
        return reached ? 0 : 1;
    }
    printf("%u runs of each in turn on one core; load %s before, %s after\n\n", runs, load.c_str(),
           load_average().c_str());
    printf("%-15s | %11s | %12s | %5s (aim %.2f)\n", "request", "app.cgi, us", "app.scgi, us", "ratio", kTimeAim);
    for (const Row &row : rows) {
        printf("%-15s | %11.0f | %12.0f | %5.3f%s\n", row.name, row.cgi, row.resident, row.ratio,
               row.ratio > kTimeAim ? " OVER" : "");
    }
    printf(
        "\nKiB of a waiting process's own, written to: at most %u (aim %u%s); resident %u. Of the keeper's own: %u\n",
        most_own, kMemoryAim, most_own > kMemoryAim ? ", OVER" : "", most_resident, memory[kWaiting].own);
    return reached ? 0 : 1;
}

}  // namespace

int main(int argc, char **argv) {
    const char *root = nullptr;
    unsigned long runs = 500;
    bool json = false;
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "--json") == 0) {
            json = true;
        } else if (strcmp(argv[i], "--runs") == 0 && i + 1 < argc) {
            runs = strtoul(argv[++i], nullptr, 10);
        } else {
            root = argv[i];
        }
    }
    if (root == nullptr || runs < 1) {
        fprintf(stderr, "usage: %s [--runs N] [--json] ROOT\n", argv[0]);
        return 2;
    }
    try {
        return measure_all(root, static_cast<unsigned>(runs), json);
    } catch (const std::exception &error) {
        fprintf(stderr, "bench: %s\n", error.what());
        return 2;
    }
}
