// SPDX-License-Identifier: MIT
// Compares the hardened build with the default one, request by request, in a router's root as bench/in_root lays it
// out: instructions of the process, the programs that it starts, and the time until the reply is there.
//
//   bench_hardened [--runs N] ROOT
//
// Exit status: 0 the budget holds, 1 it is broken, 2 it could not be measured.
#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/personality.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "bench/home.h"
#include "bench/measure.h"
#include "platform/system_queue.h"

namespace {

constexpr char kDefault[] = "/web/app/app.cgi";
constexpr char kHardened[] = "/web/app/app-hardened.cgi";
constexpr char kPhone[] = "192.168.1.100";

constexpr double kBudget = 1.1;  // times the default build's instructions, for the rows that are judged
constexpr unsigned kBlock = 5;   // so many runs of one program, then as many of the other

struct Kind {
    const char *name;
    const char *body;  // {s} is the id of a session
    const char *expected;
    Home home;
    bool judged;  // its instructions are counted; of what starts programs the time tells more
};
constexpr Kind kKinds[] = {
    {"get app",               R"({"action":"get","sessionid":"{s}","app":{}})",              "\"error\":\t0", {0, false}, true },
    {"login",                 R"({"action":"login","info":{"user":"admin","pwd":"admin"}})", "login success", {0, false}, true },
    {"scan",                  R"({"action":"scan"})",                                        "scanRsp",       {0, false}, false},
    {"get dutInfo",           R"({"action":"get","sessionid":"{s}","dutInfo":{}})",          "\"error\":\t0", {0, false}, false},
    {"get sys",               R"({"action":"get","sessionid":"{s}","sys":{}})",              "\"error\":\t0", {0, false}, false},
    {"wanStatus",             R"({"action":"get","sessionid":"{s}","wanStatus":{}})",        "upTime",        {0, false}, false},
    {"ping",
     R"({"action":"get","sessionid":"{s}","netDig":{"ping":{"dst":"127.0.0.1"}}})",          "netDig",
     {0, false},
     false                                                                                                                     },
    {"logout",                R"({"action":"set","sessionid":"{s}","logout":1})",            "\"error\":\t0", {0, false}, false},
    {"lanStatus, 16 clients", R"({"action":"get","sessionid":"{s}","lanStatus":{}})",        "devlist",       {16, true}, false},
};

struct Figures {
    uint64_t instructions = 0;
    Trace seen = {};
    std::vector<double> times = {};
};

// Whoever else keeps the machine busy makes a run slower and none faster.
double least(const std::vector<double> &values) {
    return *std::min_element(values.begin(), values.end());
}

Request make_request(const char *program, std::string body, const Home &home) {
    Request request = {{program}, {}, std::move(body)};
    request.environment = {"PATH=/bin", std::string("REMOTE_ADDR=") + kPhone,
                           "CONTENT_LENGTH=" + std::to_string(request.body.size())};
    if (home.clients > 0) {
        request.environment.push_back(std::string("LD_PRELOAD=") + kHomeDriver);
    }
    return request;
}

// The instructions of the program's own process, start-up included, step by step: a process that has limited its memory
// and its system calls leaves no room for a tool that counts from within.
uint64_t step_through(const Request &request) {
    std::vector<char *> command;
    std::vector<char *> environment;
    for (const std::string &word : request.command) {
        command.push_back(const_cast<char *>(word.c_str()));
    }
    for (const std::string &entry : request.environment) {
        environment.push_back(const_cast<char *>(entry.c_str()));
    }
    command.push_back(nullptr);
    environment.push_back(nullptr);
    int body[2];
    if (pipe(body) != 0 || write(body[1], request.body.data(), request.body.size()) < 0) {
        throw std::runtime_error("no pipe");
    }
    close(body[1]);
    const pid_t process = fork();
    if (process == 0) {
        dup2(body[0], STDIN_FILENO);
        dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
        personality(ADDR_NO_RANDOMIZE);
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        execve(command[0], command.data(), environment.data());
        _exit(127);
    }
    close(body[0]);
    uint64_t steps = 0;
    int status = 0;
    while (waitpid(process, &status, 0) == process && !WIFEXITED(status) && !WIFSIGNALED(status)) {
        const int signal = WSTOPSIG(status) == SIGTRAP ? 0 : WSTOPSIG(status);
        ++steps;
        ptrace(PTRACE_SINGLESTEP, process, nullptr, signal);
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        throw std::runtime_error(request.command[0] + ": did not end as it should, with status " +
                                 std::to_string(status));
    }
    return steps;
}

// A session of the program's own.
std::string log_in(const char *program) {
    const Outcome outcome =
        run_once(make_request(program, R"({"action":"login","info":{"user":"admin","pwd":"admin"}})", {0, false}));
    const size_t at = outcome.reply.find("Us");
    if (at == std::string::npos) {
        throw std::runtime_error(std::string(program) + ": no login:\n" + outcome.reply);
    }
    return outcome.reply.substr(at, 34);
}

Request request_of(const Kind &kind, const char *program) {
    std::string body = kind.body;
    const size_t at = body.find("{s}");
    if (at != std::string::npos) {
        body.replace(at, 3, log_in(program));
    }
    return make_request(program, body, kind.home);
}

void run_block(const Kind &kind, const char *program, Figures &figures) {
    for (unsigned run = 0; run < kBlock; ++run) {
        const Outcome outcome = run_once(request_of(kind, program));
        if (outcome.reply.find(kind.expected) == std::string::npos) {
            throw std::runtime_error(std::string(kind.name) + ": not the reply that was expected:\n" + outcome.reply);
        }
        figures.times.push_back(outcome.microseconds);
    }
    // Nobody reads the system daemon's records here.
    msgctl(msgget(ftok(SYSTEM_QUEUE_PATH, kSystemQueueProject), 0), IPC_RMID, nullptr);
}

std::string load_average() {
    std::ifstream file("/proc/loadavg");
    std::string load;
    file >> load;
    return load;
}

int measure_all(const char *root, unsigned runs) {
    if (chroot(root) != 0 || chdir("/") != 0) {
        throw std::runtime_error(std::string("can't change the root to ") + root + ": " + strerror(errno));
    }
    const std::string load = load_average();
    pin_to_one_core();
    bool held = true;
    printf("%-22s | %8s | %8s | %7s | %8s | %s\n", "request", "programs", "hardened", "us", "hardened",
           "times as fast");
    for (const Kind &kind : kKinds) {
        move_into(kind.home);
        Figures of_default;
        Figures of_hardened;
        for (auto [program, figures] : {
                 std::pair{kDefault,  &of_default },
                 std::pair{kHardened, &of_hardened}
        }) {
            figures->instructions = kind.judged ? step_through(request_of(kind, program)) : 0;
            figures->seen = trace(request_of(kind, program));
        }
        for (unsigned run = 0; run < runs; run += kBlock) {
            run_block(kind, kDefault, of_default);
            run_block(kind, kHardened, of_hardened);
        }
        const double took = least(of_default.times);
        const double hardened_took = least(of_hardened.times);
        printf("%-22s | %8zu | %8zu | %7.0f | %8.0f | %5.2f", kind.name, of_default.seen.commands.size(),
               of_hardened.seen.commands.size(), took, hardened_took, took / hardened_took);
        if (kind.judged) {
            const double ratio =
                static_cast<double>(of_hardened.instructions) / static_cast<double>(of_default.instructions);
            held = held && ratio <= kBudget;
            printf(" | %llu and %llu instructions: %.3f%s", static_cast<unsigned long long>(of_default.instructions),
                   static_cast<unsigned long long>(of_hardened.instructions), ratio, ratio > kBudget ? " OVER" : "");
        }
        printf("\n");
    }
    printf("the least of %u runs of each in turn on one core; load %s before, %s after\n", runs, load.c_str(),
           load_average().c_str());
    return held ? 0 : 1;
}

}  // namespace

int main(int argc, char **argv) {
    const char *root = nullptr;
    unsigned long runs = 200;
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "--runs") == 0 && i + 1 < argc) {
            runs = strtoul(argv[++i], nullptr, 10);
        } else {
            root = argv[i];
        }
    }
    if (root == nullptr || runs < 1) {
        fprintf(stderr, "usage: %s [--runs N] ROOT\n", argv[0]);
        return 2;
    }
    try {
        return measure_all(root, static_cast<unsigned>(runs));
    } catch (const std::exception &error) {
        fprintf(stderr, "bench: %s\n", error.what());
        return 2;
    }
}
