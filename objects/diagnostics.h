// SPDX-License-Identifier: MIT
// The "scan" action, by which an app finds and identifies the router before any login, and the object "netDig", a ping
// from the router.
#ifndef OBJECTS_DIAGNOSTICS_H
#define OBJECTS_DIAGNOSTICS_H

#include <cjson/cJSON.h>

// Action "scan". Prints the reply. Returns 0, or -1 without a request or without the firmware information file: then
// nothing is printed.
int app_action_scan(cJSON *request);

#endif
