// SPDX-License-Identifier: MIT
// The "get" and "set" actions: one walk over the table of configuration objects, one reply.
#ifndef GATEWAY_DISPATCH_H
#define GATEWAY_DISPATCH_H

#include "gateway/handler/object_handler.h"

struct ObjectRow {
    const char *name;
    ObjectHandler *get;  // nullptr: the object can't be read, and a get passes over it
    ObjectHandler *set;  // nullptr: the object can't be set, and a set fails at it
};

// All objects, in the order in which their handlers run. The last row has an empty name.
extern const ObjectRow ObjectHandlerTable[];

// Action handlers: they print the reply. Return -1 without a request, else 0.
int app_get_parameters_handler(cJSON *request);
int app_set_parameters_handler(cJSON *request);

// Prints the reply to a request whose action is missing or unknown. Returns 0.
int send_error_request();

#endif
