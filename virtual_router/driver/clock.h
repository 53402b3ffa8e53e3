// SPDX-License-Identifier: MIT
#ifndef VIRTUAL_ROUTER_DRIVER_CLOCK_H
#define VIRTUAL_ROUTER_DRIVER_CLOCK_H

#include <cstdint>

// Nanoseconds since 1970 by the PC's clock, whatever the router's shows.
int64_t pc_now();

#endif
