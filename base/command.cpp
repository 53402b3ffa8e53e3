// SPDX-License-Identifier: MIT
#include "base/command.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

// A web server that does not wait for its programs may have them start with the signal ignored: then nobody could wait
// for a command, and each would seem to have failed.
void let_commands_be_awaited() {
    signal(SIGCHLD, SIG_DFL);
}

}  // namespace

// The router's commands are shell commands, with redirections and all: NOLINTBEGIN(cert-env33-c)

int run_command(const char *command) {
    let_commands_be_awaited();
    return system(command);
}

Pipe open_command(const char *command) {
    let_commands_be_awaited();
    return Pipe(popen(command, "r"));
}

// NOLINTEND(cert-env33-c)
