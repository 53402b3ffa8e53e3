// SPDX-License-Identifier: MIT
// The kernel's random source.
#ifndef BASE_RANDOM_H
#define BASE_RANDOM_H

#include <cstddef>

// Fills `size` bytes, at most 256, with what nobody can foresee. False: the kernel has nothing to give; errno says why.
bool read_random(void *bytes, size_t size);

#endif
