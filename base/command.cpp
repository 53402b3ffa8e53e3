#include "base/command.h"

#include <cstdio>
#include <cstdlib>

// The commands are the platform's own interface and are described as shell commands: NOLINTBEGIN(cert-env33-c)

int run_command(const char *command) {
    return system(command);
}

Pipe open_command(const char *command) {
    return Pipe(popen(command, "r"));
}

// NOLINTEND(cert-env33-c)
