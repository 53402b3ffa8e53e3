// SPDX-License-Identifier: MIT
// The router's shell commands.
#ifndef BASE_COMMAND_H
#define BASE_COMMAND_H

#include "base/resource.h"

// Runs `command` through the shell and waits for it. The exit status as system() gives it, 0 for success.
int run_command(const char *command);

// Starts `command` through the shell, its standard output to be read from the pipe. Empty: no pipe or no shell.
Pipe open_command(const char *command);

#endif
