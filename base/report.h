// SPDX-License-Identifier: MIT
// Trouble of the router's own, which no reply tells. The lines go to standard error, which is the web server's log.
#ifndef BASE_REPORT_H
#define BASE_REPORT_H

// Writes a line: the program's name and the message.
void report(const char *message);

// The same, and behind it why the last call failed, by errno.
void report_error(const char *message);

#endif
