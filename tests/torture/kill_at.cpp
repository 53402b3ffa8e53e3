// SPDX-License-Identifier: MIT
// Runs a program and kills it when it is about to make its N-th system call.
//
//   kill_at N FILE PROGRAM [ARGUMENT]...
//
// N is counted from 1, from the first call behind the program's own start; 0 kills never. FILE then says how many calls
// were made. The exit status is the program's, 137 when it was killed, 125 when this failed.
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr int kFailed = 125;
constexpr int kCallStop = SIGTRAP | 0x80;  // by PTRACE_O_TRACESYSGOOD

[[noreturn]] void give_up(const char *what) {
    perror(what);
    _exit(kFailed);
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 4) {
        give_up("usage");
    }
    const long last = strtol(argv[1], nullptr, 10);
    const pid_t program = fork();
    if (program < 0) {
        give_up("fork");
    }
    if (program == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
            give_up("ptrace");
        }
        execv(argv[3], argv + 3);
        give_up(argv[3]);
    }
    int status;
    if (waitpid(program, &status, 0) != program || !WIFSTOPPED(status) ||
        ptrace(PTRACE_SETOPTIONS, program, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL) != 0) {
        give_up("start");
    }
    long calls = 0;
    bool entering = true;
    int pending = 0;  // a signal on its way to the program
    while (true) {
        if (ptrace(PTRACE_SYSCALL, program, nullptr, pending) != 0 || waitpid(program, &status, 0) != program) {
            give_up("trace");
        }
        if (!WIFSTOPPED(status)) {
            break;
        }
        pending = 0;
        if (WSTOPSIG(status) != kCallStop) {
            pending = WSTOPSIG(status);
            continue;
        }
        if (entering && ++calls == last) {
            kill(program, SIGKILL);
        }
        entering = !entering;
    }
    FILE *file = fopen(argv[2], "w");
    if (file == nullptr || fprintf(file, "%ld\n", calls) < 0 || fclose(file) != 0) {
        give_up(argv[2]);
    }
    if (WIFEXITED(status)) {
        return WEXITSTATUS(status);
    }
    return 128 + WTERMSIG(status);
}
