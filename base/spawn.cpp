// SPDX-License-Identifier: MIT
#include "base/spawn.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "base/input.h"
#include "base/resource.h"
#include "base/shortage.h"

namespace {

constexpr unsigned kLongest = 10;  // seconds

constexpr const char *kFolders[] = {"/bin/", "/sbin/", "/usr/bin/", "/usr/sbin/"};

// Where a program's standard output and standard error go.
struct Outlets {
    int output = -1;  // a descriptor; -1: nowhere
    bool errors = false;
    bool quiet = false;  // errors go nowhere
};

bool find_program(const char *name, Out path) {
    for (const char *folder : kFolders) {
        if (join(path, {folder, name}) && access(path.text, X_OK) == 0) {
            return true;
        }
    }
    return false;
}

// The program that is waited for, and the pipe from which it is read. The handler of the alarm knows them.
volatile pid_t g_running = -1;
volatile int g_pipe = -1;
volatile int g_nothing = -1;  // /dev/null

// Ends a program that takes too long. Who reads from it sees the end, even where something that the program has started
// and that was not ended with it holds the pipe.
void end_program(int /*signal*/) {
    const int error = errno;
    kill(-g_running, SIGKILL);
    kill(g_running, SIGKILL);  // who has left its group, too
    if (g_pipe >= 0) {
        dup2(g_nothing, g_pipe);
    }
    errno = error;
}

// Limits the time of a program that runs, for as long as this lives.
class Limit {
  public:
    Limit(pid_t program, int pipe) {
        g_running = program;
        g_pipe = pipe;
        struct sigaction action = {};
        action.sa_handler = end_program;
        sigaction(SIGALRM, &action, &before_);
        sigset_t alarms;
        sigemptyset(&alarms);
        sigaddset(&alarms, SIGALRM);
        sigprocmask(SIG_UNBLOCK, &alarms, nullptr);
        alarm(kLongest);
    }
    Limit(const Limit &) = delete;
    Limit &operator=(const Limit &) = delete;
    ~Limit() {
        alarm(0);
        sigaction(SIGALRM, &before_, nullptr);
    }

  private:
    struct sigaction before_ = {};
};

// What posix_spawn() is to do in the process before the program begins. Each step may want for memory; without one of
// them the program would write into the reply, so that it is not started then.
class Preparation {
  public:
    explicit Preparation(const Outlets &outlets) {
        note(posix_spawn_file_actions_init(&files_));
        note(posix_spawnattr_init(&attributes_));
        note(posix_spawn_file_actions_addopen(&files_, STDIN_FILENO, "/dev/null", O_RDONLY, 0));
        note(outlets.output < 0 ? posix_spawn_file_actions_addopen(&files_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0)
                                : posix_spawn_file_actions_adddup2(&files_, outlets.output, STDOUT_FILENO));
        if (outlets.errors || outlets.quiet) {
            note(posix_spawn_file_actions_adddup2(&files_, STDOUT_FILENO, STDERR_FILENO));
        }
        sigset_t none;
        sigset_t ignored_here;
        sigemptyset(&none);
        sigemptyset(&ignored_here);
        sigaddset(&ignored_here, SIGPIPE);
        note(posix_spawnattr_setsigmask(&attributes_, &none));
        note(posix_spawnattr_setsigdefault(&attributes_, &ignored_here));
        note(posix_spawnattr_setpgroup(&attributes_, 0));
        note(posix_spawnattr_setflags(&attributes_,
                                      POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP));
    }
    Preparation(const Preparation &) = delete;
    Preparation &operator=(const Preparation &) = delete;
    ~Preparation() {
        posix_spawnattr_destroy(&attributes_);
        posix_spawn_file_actions_destroy(&files_);
    }

    // The process; -1: it can't be started.
    pid_t start(const char *path, Words words) {
        pid_t process = -1;
        if (error_ == 0) {
            static char kPath[] = "PATH=/bin:/sbin:/usr/bin:/usr/sbin";
            char *environment[] = {kPath, nullptr};
            // The words are not written to, whatever the interface's type says.
            note(posix_spawn(&process, path, &files_, &attributes_, const_cast<char *const *>(words), environment));
        }
        note_shortage_if(error_);
        return error_ == 0 ? process : -1;
    }

  private:
    posix_spawn_file_actions_t files_ = {};
    posix_spawnattr_t attributes_ = {};
    int error_ = 0;

    void note(int error) { error_ = error_ == 0 ? error : error_; }
};

// What the web server has left open, such as another client's connection, is no program's. Kernels before 5.11 are
// asked file by file: once, since whatever the endpoint opens itself is kept from programs when it is opened.
void keep_files_from_programs() {
    static bool are_kept = false;
    if (are_kept) {
        return;
    }
    are_kept = true;
    constexpr unsigned kFirst = STDERR_FILENO + 1;
#ifdef SYS_close_range
    constexpr unsigned kWhenProgramBegins = 1U << 2;  // CLOSE_RANGE_CLOEXEC, which older headers lack
    if (syscall(SYS_close_range, kFirst, ~0U, kWhenProgramBegins) == 0) {
        return;
    }
#endif
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    constexpr rlim_t kMost = 1 << 16;  // where there is no limit
    for (rlim_t file = kFirst; file < std::min(limit.rlim_cur, kMost); ++file) {
        fcntl(static_cast<int>(file), F_SETFD, FD_CLOEXEC);
    }
}

// The process; -1: it can't be started. Each has a group of its own, with which it is ended.
pid_t start(Words words, const Outlets &outlets) {
    char path[64];
    if (!find_program(words[0], path)) {
        return -1;
    }
    // A web server may have its programs start with the signal ignored, and nobody could wait for one.
    signal(SIGCHLD, SIG_DFL);
    keep_files_from_programs();
    return Preparation(outlets).start(path, words);
}

// The exit status; -1: it was killed.
int wait_for(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0) {
        if (errno != EINTR) {
            return -1;
        }
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

int run_program(Words words) {
    const pid_t process = start(words, Outlets{});
    if (process < 0) {
        return -1;
    }
    const Limit limit(process, -1);
    return wait_for(process);
}

bool read_program(Words words, Errors errors, Out output) {
    memset(output.text, 0, output.size);
    int ends[2];
    const Descriptor nothing(open("/dev/null", O_RDONLY | O_CLOEXEC));
    if (!nothing || pipe2(ends, O_CLOEXEC) != 0) {
        return false;
    }
    pid_t process;
    {
        const Descriptor input(ends[1]);
        process = start(words, Outlets{input.get(), errors == Errors::kRead, false});
    }
    Descriptor source(ends[0]);
    if (process < 0) {
        return false;
    }
    g_nothing = nothing.get();
    const Limit limit(process, source.get());
    read_text(source.get(), output.text, static_cast<int>(output.size));
    close(source.release());
    wait_for(process);
    return true;
}

void start_program(Words words) {
    start(words, Outlets{-1, false, true});
}
