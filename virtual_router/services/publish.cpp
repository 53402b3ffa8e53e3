// SPDX-License-Identifier: MIT
#include "virtual_router/services/publish.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>

namespace {

constexpr mode_t kFileMode = 0644;

std::string pid_path(const Service &service) {
    return std::string("/var/run/") + service.name + ".pid";
}

// Copies what there is. False: not all of it.
bool copy_bytes(int from, int to) {
    static char bytes[1 << 16];
    ssize_t got = 0;
    while ((got = read(from, bytes, sizeof bytes)) > 0) {
        if (write(to, bytes, static_cast<size_t>(got)) != got) {
            return false;
        }
    }
    return got == 0;
}

// Whoever sent the signal looks at the file within a millisecond, so this takes as few steps as it can.
void hand_out(const Service &service) {
    const int from = open(service.source, O_RDONLY | O_CLOEXEC);
    if (from < 0) {
        return;
    }
    const std::string fresh = std::string(service.target) + ".new";
    const int to = open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kFileMode);
    bool done = to >= 0 && copy_bytes(from, to);
    close(from);
    if (to >= 0) {
        close(to);
    }
    done = done && rename(fresh.c_str(), service.target) == 0;
    if (!done) {
        std::perror(service.target);
    }
}

// Writes the process id into the file whose lock this service holds.
void write_pid(int file, pid_t pid) {
    const std::string text = std::to_string(pid) + '\n';
    if (ftruncate(file, 0) != 0 || write(file, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        std::perror("pid file");
    }
}

// Where the router's /proc is not the kernel's, a process that is to be found by name makes its own entry.
bool has_kernels_proc() {
    return access("/proc/self", F_OK) == 0;
}

std::string proc_entry(pid_t pid) {
    return "/proc/" + std::to_string(pid);
}

void make_proc_entry(const Service &service, pid_t pid) {
    const std::string folder = proc_entry(pid);
    std::error_code error;
    std::filesystem::create_directory(folder, error);
    FILE *file = fopen((folder + "/stat").c_str(), "we");
    if (file == nullptr) {
        std::perror(folder.c_str());
        return;
    }
    std::fprintf(file, "%d (%s) S", pid, service.name);
    constexpr int kOtherFields = 49;
    for (int i = 0; i < kOtherFields; ++i) {
        std::fputs(" 0", file);
    }
    std::fputc('\n', file);
    std::fclose(file);
}

void go_to_background() {
    setsid();
    const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        dup2(nothing, descriptor);
    }
}

void answer_signals(const Service &service, const sigset_t &signals) {
    for (;;) {
        const int signal = sigwaitinfo(&signals, nullptr);
        if (signal == SIGUSR1) {
            hand_out(service);
        } else if (signal > 0) {
            return;
        }
    }
}

}  // namespace

int serve(const Service &service, int argc, char **argv) {
    // First of all: the signal would end a process that does not expect it.
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGUSR1, SIGTERM, SIGINT, SIGHUP}) {
        sigaddset(&signals, signal);
    }
    sigprocmask(SIG_BLOCK, &signals, nullptr);

    const bool foreground = argc == 2 && std::strcmp(argv[1], "-f") == 0;
    if (argc != 1 && !foreground) {
        std::fprintf(stderr, "usage: %s [-f]\n", service.name);
        return 2;
    }
    // The lock belongs to the process in the background, too, and ends with it.
    const int pid_file = open(pid_path(service).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kFileMode);
    if (pid_file < 0 || flock(pid_file, LOCK_EX | LOCK_NB) != 0) {
        if (pid_file >= 0 && errno == EWOULDBLOCK) {
            std::printf("%s runs already\n", service.name);
            return 0;
        }
        std::perror(pid_path(service).c_str());
        return 1;
    }
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(service.target).parent_path(), error);
    hand_out(service);

    const pid_t child = foreground ? 0 : fork();
    if (child < 0) {
        std::perror(service.name);
        return 1;
    }
    if (child == 0 && !foreground) {
        go_to_background();
    }
    const pid_t pid = child == 0 ? getpid() : child;
    if (child > 0 || foreground) {
        write_pid(pid_file, pid);
        if (!has_kernels_proc()) {
            make_proc_entry(service, pid);
        }
    }
    if (child > 0) {
        std::printf("%s is started\n", service.name);
        return 0;
    }
    answer_signals(service, signals);
    if (!has_kernels_proc()) {
        std::filesystem::remove_all(proc_entry(pid), error);
    }
    // Emptied, not removed: whoever opens it now must meet the lock.
    return ftruncate(pid_file, 0) == 0 ? 0 : 1;
}
