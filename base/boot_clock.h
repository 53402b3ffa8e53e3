// SPDX-License-Identifier: MIT
// Time that nobody sets.
#ifndef BASE_BOOT_CLOCK_H
#define BASE_BOOT_CLOCK_H

#include "base/text.h"

// Seconds since the kernel's start. The time of day is another matter: many routers begin with that of 1970 and get it
// from the network minutes later, and whoever answers them may tell any.
long long seconds_since_start();

// Names this start of the kernel: no other has the same name. Empty where the kernel does not tell.
void name_start(Out name);

#endif
