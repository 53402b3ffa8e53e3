// SPDX-License-Identifier: MIT
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

#endif
