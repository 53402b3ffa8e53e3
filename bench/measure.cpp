// SPDX-License-Identifier: MIT
#include "bench/measure.h"

#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <sys/personality.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {

constexpr char kCallgrindOutput[] = "/tmp/callgrind.out";

void require(bool condition, const std::string &what) {
    if (!condition) {
        throw std::runtime_error(what + ": " + strerror(errno));
    }
}

// Owns a file descriptor.
class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor() { reset(); }
    int get() const { return number_; }
    void reset() {
        if (number_ >= 0) {
            close(number_);
        }
        number_ = -1;
    }

  private:
    int number_;
};

struct Pipe {
    Pipe() : Pipe(make()) {}
    Descriptor read_end;
    Descriptor write_end;

  private:
    struct Ends {
        int number[2];
    };
    static Ends make() {
        Ends ends = {};
        require(pipe2(ends.number, O_CLOEXEC) == 0, "pipe");
        return ends;
    }
    explicit Pipe(Ends ends) : read_end(ends.number[0]), write_end(ends.number[1]) {}
};

// The texts as exec wants them. They must outlive the result.
std::vector<char *> pointers_to(const std::vector<std::string> &texts) {
    std::vector<char *> pointers;
    for (const std::string &text : texts) {
        pointers.push_back(const_cast<char *>(text.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::string read_all(int file) {
    std::string text;
    char part[4096];
    for (ssize_t count = 0; (count = read(file, part, sizeof part)) != 0;) {
        require(count > 0, "reading a reply");
        text.append(part, static_cast<size_t>(count));
    }
    return text;
}

double microseconds(const timeval &time) {
    return 1e6 * static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec);
}

int exit_status(int wait_status) {
    return WIFEXITED(wait_status) ? WEXITSTATUS(wait_status) : 128 + WTERMSIG(wait_status);
}

void give_body(Pipe &stdin_pipe, const std::string &body) {
    const ssize_t written = write(stdin_pipe.write_end.get(), body.data(), body.size());
    require(written == static_cast<ssize_t>(body.size()), "writing a body");
    stdin_pipe.write_end.reset();
}

// The command line of a process as one text.
std::string command_line(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/cmdline");
    std::stringstream text;
    text << file.rdbuf();
    std::string line = text.str();
    while (!line.empty() && line.back() == '\0') {
        line.pop_back();
    }
    std::replace(line.begin(), line.end(), '\0', ' ');
    return line;
}

// A figure of a process in KiB, as a file of its folder in /proc tells it; 0 where there is none.
unsigned memory_figure(pid_t process, const char *name, const char *key) {
    std::ifstream file("/proc/" + std::to_string(process) + "/" + name);
    for (std::string word; file >> word;) {
        unsigned figure = 0;
        if (word == key && file >> figure) {
            return figure;
        }
    }
    return 0;
}

// Whether a process that has stopped at a system call is about to enter it.
bool is_entry(pid_t process) {
    __ptrace_syscall_info info = {};
    return ptrace(PTRACE_GET_SYSCALL_INFO, process, sizeof info, &info) > 0 && info.op == PTRACE_SYSCALL_INFO_ENTRY;
}

[[noreturn]] void become_traced(const Request &request, const Pipe &stdin_pipe) {
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    const auto arguments = pointers_to(request.command);
    const auto environment = pointers_to(request.environment);
    // Addresses are the same each time, and so is how the stack lies in its pages.
    personality(ADDR_NO_RANDOMIZE);
    if (dup2(stdin_pipe.read_end.get(), STDIN_FILENO) >= 0 && dup2(nowhere, STDOUT_FILENO) >= 0 &&
        dup2(nowhere, STDERR_FILENO) >= 0 && ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0) {
        kill(getpid(), SIGSTOP);  // until the tracer has said what it wants to be told
        execve(arguments[0], arguments.data(), environment.data());
    }
    _exit(127);
}

}  // namespace

int pin_to_one_core() {
    cpu_set_t allowed;
    require(sched_getaffinity(0, sizeof allowed, &allowed) == 0, "sched_getaffinity");
    int core = CPU_SETSIZE - 1;  // the last one: the first ones take the interrupts
    while (core > 0 && !CPU_ISSET(static_cast<size_t>(core), &allowed)) {
        --core;
    }
    CPU_ZERO(&allowed);
    CPU_SET(static_cast<size_t>(core), &allowed);
    require(sched_setaffinity(0, sizeof allowed, &allowed) == 0, "sched_setaffinity");
    return core;
}

Outcome run_once(const Request &request) {
    const auto arguments = pointers_to(request.command);
    const auto environment = pointers_to(request.environment);
    Pipe body;
    Pipe reply;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, body.read_end.get(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, reply.write_end.get(), STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);

    Outcome outcome = {};
    const auto start = std::chrono::steady_clock::now();
    pid_t process = -1;
    errno = posix_spawn(&process, arguments[0], &actions, nullptr, arguments.data(), environment.data());
    require(errno == 0, request.command[0]);
    give_body(body, request.body);
    reply.write_end.reset();
    outcome.reply = read_all(reply.read_end.get());
    int status = 0;
    rusage usage = {};
    require(wait4(process, &status, 0, &usage) == process, "wait4");
    outcome.microseconds = std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();

    posix_spawn_file_actions_destroy(&actions);
    outcome.cpu_microseconds = microseconds(usage.ru_utime) + microseconds(usage.ru_stime);
    outcome.exit_status = exit_status(status);
    return outcome;
}

uint64_t count_instructions(const Request &request) {
    unlink(kCallgrindOutput);
    Request watched = request;
    watched.command = {"/usr/bin/valgrind.bin", "--tool=callgrind", "--trace-children=no",
                       std::string("--callgrind-out-file=") + kCallgrindOutput};
    watched.command.insert(watched.command.end(), request.command.begin(), request.command.end());
    run_once(watched);
    std::ifstream output(kCallgrindOutput);
    for (std::string word; output >> word;) {
        uint64_t count = 0;
        if (word == "totals:" && output >> count && count > 0) {
            return count;
        }
    }
    throw std::runtime_error("callgrind counted nothing for " + request.command[0]);
}

unsigned memory_slack() {
    constexpr unsigned long kAsk = 0xffffffff;
    const auto usual = static_cast<unsigned long>(personality(kAsk));
    const bool can_fix = personality(usual | ADDR_NO_RANDOMIZE) != -1;
    personality(usual);
    return can_fix ? 0 : 8;
}

Trace trace(const Request &request) {
    Pipe body;
    const pid_t process = fork();
    require(process >= 0, "fork");
    if (process == 0) {
        become_traced(request, body);
    }
    int status = 0;
    require(waitpid(process, &status, 0) == process && WIFSTOPPED(status) &&
                ptrace(PTRACE_SETOPTIONS, process, nullptr,
                       PTRACE_O_EXITKILL | PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACEEXEC | PTRACE_O_TRACEFORK |
                           PTRACE_O_TRACEVFORK | PTRACE_O_TRACECLONE) == 0,
            "ptrace");
    give_body(body, request.body);

    Trace seen = {};
    bool is_running = false;  // the request's program, and not yet what starts it
    ptrace(PTRACE_SYSCALL, process, nullptr, nullptr);
    for (pid_t stopped = 0; (stopped = waitpid(-1, &status, __WALL)) > 0;) {
        if (!WIFSTOPPED(status)) {
            continue;
        }
        const int event = status >> 16;
        const bool is_call = WSTOPSIG(status) == (SIGTRAP | 0x80);
        if (event == PTRACE_EVENT_EXEC) {
            if (stopped == process) {
                is_running = true;
            } else {
                seen.commands.push_back(command_line(stopped));
            }
        }
        if (is_call && is_running && is_entry(stopped)) {
            ++seen.system_calls;
            seen.most_dirty = std::max(seen.most_dirty, memory_figure(stopped, "smaps_rollup", "Anonymous:"));
            seen.most_resident = std::max(seen.most_resident, memory_figure(stopped, "status", "VmHWM:"));
        }
        // A new process begins with a stop signal that is ptrace's own; other signals are for the program.
        const int signal = event == 0 && !is_call && WSTOPSIG(status) != SIGSTOP ? WSTOPSIG(status) : 0;
        ptrace(stopped == process ? PTRACE_SYSCALL : PTRACE_CONT, stopped, nullptr, signal);
    }
    require(errno == ECHILD, "waitpid");
    require(is_running && seen.most_dirty > 0, "tracing " + request.command[0]);
    return seen;
}
