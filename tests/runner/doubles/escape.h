// SPDX-License-Identifier: MIT
// Plays a process that a stranger has taken over, if the runner wants one.
#ifndef TESTS_RUNNER_DOUBLES_ESCAPE_H
#define TESTS_RUNNER_DOUBLES_ESCAPE_H

// Tries, once, what would lead out of the process or have it do something else. The file /.runner/escape, if there is
// one, then holds a line "NAME" for each system call that was not refused.
void try_to_escape();

#endif
