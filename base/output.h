// Writing bytes to a descriptor.
#ifndef BASE_OUTPUT_H
#define BASE_OUTPUT_H

#include <cstddef>

// Writes all bytes, in one system call unless the reader takes them in portions. What can't be written is lost.
void write_all(int file, const char *bytes, size_t length);

#endif
