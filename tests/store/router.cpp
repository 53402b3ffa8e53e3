// SPDX-License-Identifier: MIT
#include "tests/store/router.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace {

// In memory where that is possible: a test starts the store some thousand times, and what a process has written is
// there for the next one whether or not it has reached a disk.
std::string make_root() {
    std::string pattern = access("/dev/shm", W_OK) == 0 ? "/dev/shm/store-test-XXXXXX" : "/tmp/store-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no folder for the router's root");
    }
    return pattern;
}

}  // namespace

Router::Router(const std::string &definitions) : root_(make_root()) {
    std::filesystem::create_directories(path("/etc"));
    std::filesystem::create_directories(path("/proc/net"));
    write_file(path("/etc/items.conf"), definitions);
}

Router::~Router() {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
}

Outcome Router::flash(const std::vector<std::string> &words) const {
    int ends[2];
    if (pipe(ends) != 0) {
        throw std::runtime_error("no pipe");
    }
    std::vector<std::string> arguments = {FLASH_PATH, "--root", root_};
    arguments.insert(arguments.end(), words.begin(), words.end());
    std::vector<char *> pointers;
    for (auto &argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    pid_t process = fork();
    if (process == 0) {
        dup2(ends[1], STDOUT_FILENO);
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        execv(pointers[0], pointers.data());
        _exit(127);
    }
    close(ends[1]);
    Outcome outcome;
    char buffer[4096];
    for (ssize_t count = 0; (count = read(ends[0], buffer, sizeof(buffer))) > 0;) {
        outcome.output.append(buffer, static_cast<size_t>(count));
    }
    close(ends[0]);
    outcome.status = wait_for(process);
    return outcome;
}

pid_t Router::start(const std::function<void()> &work) const {
    pid_t process = fork();
    if (process == 0) {
        REQUIRE(chroot(root_.c_str()) == 0 && chdir("/") == 0);
        work();
        _exit(0);
    }
    return process;
}

int Router::run(const std::function<void()> &work) const {
    return wait_for(start(work));
}

int wait_for(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

std::string read_file(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw std::runtime_error("can't read " + path);
    }
    return {std::istreambuf_iterator<char>(in), {}};
}

void write_file(const std::string &path, const std::string &content) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
    if (!out.flush()) {
        throw std::runtime_error("can't write " + path);
    }
}

size_t Random::below(size_t limit) {
    state_ = state_ * 6364136223846793005 + 1442695040888963407;
    return (state_ >> 33) % limit;
}
