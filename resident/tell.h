// SPDX-License-Identifier: MIT
// What app.scgi says on standard error of itself. Trouble of a request is told as app.cgi tells it (base/report.h).
#ifndef RESIDENT_TELL_H
#define RESIDENT_TELL_H

// Writes a line: the program's name and the message.
void tell(const char *format, ...) __attribute__((format(printf, 1, 2)));

// The same, and behind it why the last call failed, by errno.
void tell_error(const char *format, ...) __attribute__((format(printf, 1, 2)));

#endif
