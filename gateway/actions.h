// The actions that a request can name.
#ifndef GATEWAY_ACTIONS_H
#define GATEWAY_ACTIONS_H

#include <cjson/cJSON.h>

using ActionHandler = int (*)(cJSON *request);

struct ActionRow {
    const char *name;
    ActionHandler handler;
    bool open_to_guests;  // runs without a session
};

// Ends with a row whose handler is nullptr.
extern const ActionRow ActionTable[];

// The row of that name, letter for letter, or the last row when there is none. `name` may be nullptr.
const ActionRow &find_action(const char *name);

// Hands a request to another device and has its reply put into `reply`, which is nullptr before and, if set, belongs to
// the caller. `target` is the device's address, `request` the request's text without the address. Returns 0.
// Nothing is handed on yet: the request gets no reply.
int route_to_ip(const char *target, const char *request, char **reply);

#endif
