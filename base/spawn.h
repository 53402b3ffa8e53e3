// SPDX-License-Identifier: MIT
// Programs that are run without a shell: words instead of a command line, so that no word means more than it says.
//
// A program is looked for in /bin, /sbin, /usr/bin and /usr/sbin, in this order. It gets these folders as PATH and no
// other environment, no input, and none of the endpoint's files but standard error. None keeps the endpoint for more
// than ten seconds: it is killed then, with all that it has started.
#ifndef BASE_SPAWN_H
#define BASE_SPAWN_H

#include "base/text.h"

// The words of a program's command line, its name first, nullptr behind the last.
using Words = const char *const *;

// Runs a program; its output is nobody's. The exit status; -1: it can't be run, or did not end by itself.
int run_program(Words words);

// Runs a program and reads its output, as much as fits, in the way of read_text() (base/input.h). False: it can't be
// run.
enum class Errors { kLogged, kRead };
bool read_program(Words words, Errors errors, Out output);

// Starts a program whose output is nobody's, and for which nobody waits.
void start_program(Words words);

#endif
