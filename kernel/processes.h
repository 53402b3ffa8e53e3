// SPDX-License-Identifier: MIT
// The processes that run at this moment.
#ifndef KERNEL_PROCESSES_H
#define KERNEL_PROCESSES_H

// Sends the signal to every process whose program has this name; 0 sends none and only asks. The name has at most 15
// characters. Whether there was one that may be sent to.
bool signal_processes(const char *name, int signal);

#endif
