// SPDX-License-Identifier: MIT
// app.scgi: the endpoint without a start for each request.

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include "resident/listener.h"
#include "resident/options.h"
#include "resident/pool.h"
#include "resident/tell.h"
#include "resident/user_ids.h"

namespace {

constexpr int kCannotRun = 1;

// Standard input and output are the connection's later; until then they lead nowhere.
bool detach_standard() {
    const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
    if (nowhere < 0 || dup2(nowhere, STDIN_FILENO) < 0 || dup2(nowhere, STDOUT_FILENO) < 0) {
        tell_error("/dev/null cannot be opened");
        return false;
    }
    return true;
}

bool limit_memory(int mib) {
    if (mib == 0) {
        return true;
    }
    const rlim_t bytes = static_cast<rlim_t>(mib) << 20;
    const rlimit limit = {bytes, bytes};
    if (setrlimit(RLIMIT_AS, &limit) != 0) {
        tell_error("memory cannot be limited");
        return false;
    }
    return true;
}

}  // namespace

int main(int argc, char **argv) {
    Options options;
    int status = 0;
    if (!parse_options(argc, argv, options, status)) {
        return status;
    }
    UserIds user;
    if (options.user != nullptr && !find_user_ids(options.user, user)) {
        return kCannotRun;
    }
    if (!detach_standard() || !limit_memory(options.memory_mib)) {
        return kCannotRun;
    }
    const int listener = listen_at(options);
    if (listener < 0 || (options.user != nullptr && !become(user))) {
        return kCannotRun;
    }
    return keep_processes(listener, options);
}
