// SPDX-License-Identifier: MIT
// What firmware-check has to say: lines on standard output, and their numbers. Checks run in processes of their own, so
// that one that crashes or hangs is a fault like any other; the numbers are in memory that all share.
#ifndef TESTS_FIRMWARE_CHECK_REPORT_H
#define TESTS_FIRMWARE_CHECK_REPORT_H

// Notes that something is as it should be, or says what is not. Returns `right`.
bool expect(bool right, const char *format, ...) __attribute__((format(printf, 2, 3)));

// What was not found, and need not be.
void note(const char *format, ...) __attribute__((format(printf, 1, 2)));

// Runs a check in a process of its own for at most so many seconds. `name` is what its faults begin with.
void check(const char *name, unsigned seconds, void (*run)());

// Prints the last line. Returns the exit status.
int finish();

// Maps the shared numbers; before anything else.
void begin();

#endif
