// SPDX-License-Identifier: MIT
// A router's root for tests of the store: a folder with a definition file, in which processes run as on the router.
//
// The libraries use literal paths and are linked as shipped. So a test's process forks and changes its root; the
// libraries are in its memory by then, and the folder needs no copy of anything.
#ifndef TESTS_STORE_ROUTER_H
#define TESTS_STORE_ROUTER_H

#include <sys/types.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

// Ends the process as failed if the condition does not hold. For processes in the router's root, where no test
// framework is at work.
#define REQUIRE(condition)                                                            \
    do {                                                                              \
        if (!(condition)) {                                                           \
            fprintf(stderr, "%s:%d: not true: %s\n", __FILE__, __LINE__, #condition); \
            _exit(1);                                                                 \
        }                                                                             \
    } while (false)

struct Outcome {
    int status;          // exit status, or 128 + the signal's number
    std::string output;  // what went to standard output and standard error
};

class Router {
  public:
    // Makes the root with this definition file. Nothing is started.
    explicit Router(const std::string &definitions);
    Router(const Router &) = delete;
    Router &operator=(const Router &) = delete;
    ~Router();

    std::string path(const std::string &inside) const { return root_ + inside; }

    // Runs the `flash` command on the root.
    Outcome flash(const std::vector<std::string> &words) const;

    // Starts a process in the root that runs `work` and ends with 0 when that returns.
    pid_t start(const std::function<void()> &work) const;

    // start(), and waits. Returns the status as in Outcome.
    int run(const std::function<void()> &work) const;

  private:
    std::string root_;
};

// Waits for a process. Returns the status as in Outcome.
int wait_for(pid_t process);

std::string read_file(const std::string &path);
void write_file(const std::string &path, const std::string &content);

constexpr char kCommitted[] = "/flash/mib/committed.mdb";
constexpr char kWorking[] = "/var/mib/working.mdb";
constexpr char kSettings[] = "/flash/mib/settings.mdb";
constexpr char kFlash[] = "/flash/mib";
constexpr char kNew[] = "/flash/mib/new.mdb";

// Numbers that are the same in every run.
class Random {
  public:
    explicit Random(uint64_t start) : state_(start) {}
    size_t below(size_t limit);

  private:
    uint64_t state_;
};

#endif
