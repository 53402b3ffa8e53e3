// SPDX-License-Identifier: MIT
// The calling convention of everything that serves a configuration object.
#ifndef GATEWAY_HANDLER_OBJECT_HANDLER_H
#define GATEWAY_HANDLER_OBJECT_HANDLER_H

#include <cjson/cJSON.h>

// A getter or setter. `name` is the object's name as the table has it; both trees stay the caller's. A handler finds
// its own object in `request` by that name, and a getter adds its object to `reply`. Returns 0, or another value for
// failure, after it put a message into `err_msg` where it has one. (A typedef: cppcheck takes what is declared with an
// alias of a function type for a variable, and loses sight of what the function uses.)
typedef int ObjectHandler(const char *name, cJSON *request, cJSON *reply);

#endif
