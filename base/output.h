// SPDX-License-Identifier: MIT
// Writing bytes to a descriptor.
#ifndef BASE_OUTPUT_H
#define BASE_OUTPUT_H

#include <cstddef>

// Writes all bytes, in one system call unless the reader takes them in portions. False: not all of them could be
// written, and errno says why.
bool write_all(int file, const char *bytes, size_t length);

// The same for two texts, one behind the other.
bool write_both(int file, const char *first, size_t first_length, const char *second, size_t second_length);

#endif
