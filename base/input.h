// SPDX-License-Identifier: MIT
// Reading texts from files and pipes.
#ifndef BASE_INPUT_H
#define BASE_INPUT_H

#include <cstdint>
#include <cstdio>

#include "base/resource.h"
#include "base/text.h"

// Opens a file for reading. Empty: it can't be opened; for want of memory, that is a shortage (base/shortage.h).
File open_file(const char *path);

// Whether there is something at `path`, be it readable or not.
bool file_exists(const char *path);

// Whether what is at `path` may be written, or replaced by a file; also, if nothing is there.
bool can_write(const char *path);

// Room for a line of command output or of a status file: at most 1022 characters are read at a time.
constexpr size_t kLineSize = 1023;

// Reads the next line, its line feed included; of a longer line than `line` holds, the rest is the next line. False:
// there is none, and `line` is empty.
bool read_line(FILE *file, Out line);

// Reads the first line of a file. False: the file can't be opened. Where there is no line, `line` is empty.
bool read_first_line(const char *path, Out line);

// What follows reads from a descriptor. Every request does that, and the first use of stdio costs it some 10 us.

// Opens a file for reading. Below 0: it can't be opened.
int open_input(const char *path);

// Reads into `text`, which is `size` zero bytes, until the file ends or the last byte but one is used. It goes line by
// line, and a zero byte ends a line: what follows it is overwritten by the next line, and a line that begins with one
// ends the text. At most `most` bytes are taken from the file, those that are left out included.
void read_text(int file, char *text, int size, size_t most = SIZE_MAX);

// Reads the beginning of a file, as much as `text` holds. False: it can't be opened, and `text` is empty.
bool read_beginning(const char *path, Out text);

// The same of a file that is open. False: it can't be read.
bool read_beginning(int file, Out text);

#endif
