// SPDX-License-Identifier: MIT
// Requests that are meant for another device.
#ifndef GATEWAY_FORWARD_H
#define GATEWAY_FORWARD_H

#include "base/resource.h"

// Hands a request to another device and has its reply put into `reply`, which is nullptr before and, if set, belongs to
// the caller. `target` is the device's address, `request` the request's text without the address. Returns 0.
// Nothing is handed on yet: the request gets no reply.
int route_to_ip(const char *target, const char *request, char **reply);

// Hands the request, without its "ip", to the device of that address, and prints the reply if there is one.
void forward(Json request, const char *ip);

#endif
