// SPDX-License-Identifier: MIT
// The router's default gateway.
#ifndef KERNEL_ROUTES_H
#define KERNEL_ROUTES_H

#include <netinet/in.h>

// Sets `out` to the gateway of the first default route, in network order, or to all ones (255.255.255.255) when there
// is none. 0, or -1 when the routes can't be read.
int get_default_gateway(in_addr &out);

#endif
