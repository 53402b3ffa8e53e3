#include "base/command.h"

#include <cstdio>
#include <cstdlib>

// The router's commands are shell commands, with redirections and all: NOLINTBEGIN(cert-env33-c)

int run_command(const char *command) {
    return system(command);
}

Pipe open_command(const char *command) {
    return Pipe(popen(command, "r"));
}

// NOLINTEND(cert-env33-c)
