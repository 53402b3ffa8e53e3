// The "get" and "set" actions: one walk over the table of configuration objects, one reply.
#ifndef GATEWAY_DISPATCH_H
#define GATEWAY_DISPATCH_H

#include <cjson/cJSON.h>

// The calling convention of every get and set handler. `name` is the object's name as the table has it; both trees stay
// the caller's. A handler finds its own object in `request` by that name, and a getter adds its object to `reply`.
// Returns 0, or another value for failure, after it put a message into `err_msg` where it has one.
using ObjectHandler = int (*)(const char *name, cJSON *request, cJSON *reply);

struct ObjectRow {
    const char *name;
    ObjectHandler get;  // nullptr: the object can't be read, and a get passes over it
    ObjectHandler set;  // nullptr: the object can't be set, and a set fails at it
};

// All objects, in the order in which their handlers run. The last row has an empty name.
extern const ObjectRow ObjectHandlerTable[];

// Action handlers: they print the reply. Return -1 without a request, else 0.
int app_get_parameters_handler(cJSON *request);
int app_set_parameters_handler(cJSON *request);

// Prints the reply to a request whose action is missing or unknown. Returns 0.
int send_error_request();

#endif
