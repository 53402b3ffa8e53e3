// SPDX-License-Identifier: MIT
#include "tests/firmware/check/report.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

struct Numbers {
    int checks;
    int faults;
    int notes;
};
Numbers *numbers;

const char *subject = "";

void say(const char *kind, const char *format, va_list arguments) {
    char text[1024];
    vsnprintf(text, sizeof text, format, arguments);
    printf("%-6s %s: %s\n", kind, subject, text);
    fflush(stdout);
}

}  // namespace

void begin() {
    void *memory = mmap(nullptr, sizeof *numbers, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        perror("firmware-check");
        exit(2);
    }
    numbers = static_cast<Numbers *>(memory);
}

bool expect(bool right, const char *format, ...) {
    __atomic_add_fetch(&numbers->checks, 1, __ATOMIC_SEQ_CST);
    if (!right) {
        __atomic_add_fetch(&numbers->faults, 1, __ATOMIC_SEQ_CST);
        va_list arguments;
        va_start(arguments, format);
        say("FAULT", format, arguments);
        va_end(arguments);
    }
    return right;
}

void note(const char *format, ...) {
    __atomic_add_fetch(&numbers->notes, 1, __ATOMIC_SEQ_CST);
    va_list arguments;
    va_start(arguments, format);
    say("note", format, arguments);
    va_end(arguments);
}

void check(const char *name, unsigned seconds, void (*run)()) {
    subject = name;
    fflush(stdout);
    const int faults = numbers->faults;
    const pid_t child = fork();
    if (child == 0) {
        setpgid(0, 0);  // what it starts ends with it
        alarm(seconds);
        run();
        fflush(stdout);
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    kill(-child, SIGKILL);
    if (WIFSIGNALED(status)) {
        const int by = WTERMSIG(status);
        expect(false, "%s",
               by == SIGALRM                   ? "does not end: something waits for ever"
               : by == SIGSEGV || by == SIGBUS ? "the library reads or writes beyond its buffer, or crashes"
                                               : strsignal(by));
    }
    if (numbers->faults == faults) {
        printf("%-6s %s\n", "ok", name);
    }
}

int finish() {
    printf("%d checks, %d faults, %d notes\n", numbers->checks, numbers->faults, numbers->notes);
    return numbers->faults != 0 || numbers->checks == 0 ? 1 : 0;
}
