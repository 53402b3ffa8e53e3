// SPDX-License-Identifier: MIT
#include "resident/pool.h"

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>

#include "resident/listener.h"
#include "resident/server.h"
#include "resident/tell.h"

namespace {

// A process, or room for one. In memory that all processes share: each says itself that it has got a request.
struct Place {
    std::atomic<pid_t> process;  // 0: none
    std::atomic<bool> serves;
};

// Signals that the keeper waits for, and never takes otherwise.
constexpr int kFewWait = SIGUSR1;
constexpr int kSignals[] = {SIGCHLD, kFewWait, SIGTERM, SIGINT};

// "killall" and Ctrl-C reach the processes, too, of which none is to lose a request: the keeper alone ends them.
// Commands that they run begin with the usual again, which they would not after SIG_IGN.
void leave_it_to_keeper(int /*signal*/) {}

void outlive_stop_signals() {
    struct sigaction action = {};
    action.sa_handler = leave_it_to_keeper;
    action.sa_flags = SA_RESTART;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
}

constexpr timespec kPause = {1, 0};  // before a next attempt, when processes cannot be had or do not live

class Pool {
  public:
    Pool(int listener, const Options &options) : listener_(listener), options_(options), keeper_(getpid()) {}

    bool prepare() {
        const size_t size = sizeof(Place) * static_cast<size_t>(options_.most);
        void *memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) {
            tell_error("there is no memory");
            return false;
        }
        places_ = static_cast<Place *>(memory);
        sigemptyset(&awaited_);
        for (const int number : kSignals) {
            sigaddset(&awaited_, number);
        }
        return sigprocmask(SIG_BLOCK, &awaited_, &usual_) == 0;
    }

    int keep() {
        while (!is_done()) {
            fill();
            const int number = pauses_ ? sigtimedwait(&awaited_, nullptr, &kPause) : sigwaitinfo(&awaited_, nullptr);
            pauses_ = pauses_ && number >= 0;
            if (number == SIGCHLD) {
                reap();
            } else if (number == SIGTERM || number == SIGINT) {
                if (stops_) {
                    break;  // asked once more: whoever still serves is left to itself
                }
                stops_ = true;
                stop_listening(listener_, options_);
            }
        }
        return options_.requests != 0 ? last_status_ : 0;
    }

  private:
    // The places by what is in them.
    struct Count {
        int waiting = 0;
        int all = 0;
    };

    Count count() const {
        Count count;
        for (int i = 0; i < options_.most; ++i) {
            const bool there = places_[i].process != 0;
            count.all += there ? 1 : 0;
            count.waiting += there && !places_[i].serves ? 1 : 0;
        }
        return count;
    }

    bool is_done() const {
        const bool no_more = is_drained_ || (options_.requests != 0 && served_ >= options_.requests);
        return no_more && count().all == 0;
    }

    // How many more may be started, so that no request is begun beyond --requests.
    bool may_start(const Count &count) const {
        const bool wanted = options_.requests == 0 || served_ + count.all < options_.requests;
        return wanted && !is_drained_ && !pauses_ && count.all < options_.most && count.waiting < options_.waiting;
    }

    void fill() {
        while (may_start(count())) {
            start();
        }
    }

    void start() {
        Place *place = places_;
        while (place->process != 0) {
            ++place;
        }
        place->serves = false;
        const pid_t process = fork();
        if (process == 0) {
            live(*place);
        }
        if (process < 0) {
            tell_error("there is no further process");
            pauses_ = true;
            return;
        }
        place->process = process;
    }

    // The whole life of a process.
    [[noreturn]] void live(Place &place) {
        // Waiting for nobody is no use, but a request that is being served is, whoever has started its process.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != keeper_) {
            _exit(0);
        }
        outlive_stop_signals();
        sigprocmask(SIG_SETMASK, &usual_, nullptr);
        get_ready(options_);
        const int connection = await_request(listener_);
        if (connection < 0) {
            exit(0);
        }
        prctl(PR_SET_PDEATHSIG, 0);
        place.process = getpid();  // the keeper may not have come to it yet
        place.serves = true;
        // The next is made when this one has ended, which costs no request time, unless many come at once.
        const Count now = count();
        if (now.waiting * 2 < options_.waiting && now.all < options_.most) {
            kill(keeper_, kFewWait);
        }
        close(listener_);
        exit(serve_request(connection, options_));
    }

    void reap() {
        int status = 0;
        pid_t process;
        while ((process = waitpid(-1, &status, WNOHANG)) > 0) {
            for (int i = 0; i < options_.most; ++i) {
                if (places_[i].process == process) {
                    places_[i].process = 0;
                    end_of(process, places_[i].serves, status);
                }
            }
        }
    }

    void end_of(pid_t process, bool served, int status) {
        constexpr int kSignalled = 128;
        if (WIFSIGNALED(status)) {
            tell("process %d was ended by signal %d while it %s", process, WTERMSIG(status),
                 served ? "served a request" : "waited");
        }
        if (served) {
            ++served_;
            last_status_ = WIFSIGNALED(status) ? kSignalled + WTERMSIG(status) : WEXITSTATUS(status);
        } else if (stops_) {
            is_drained_ = true;  // accept() fails for the first that finds no request left
        } else {
            pauses_ = true;
        }
    }

    int listener_;
    const Options &options_;
    pid_t keeper_;
    Place *places_ = nullptr;
    sigset_t awaited_ = {};
    sigset_t usual_ = {};
    bool stops_ = false;
    bool is_drained_ = false;
    bool pauses_ = false;
    int served_ = 0;
    int last_status_ = 0;
};

}  // namespace

int keep_processes(int listener, const Options &options) {
    Pool pool(listener, options);
    return pool.prepare() ? pool.keep() : 1;
}
