// SPDX-License-Identifier: MIT
// How much a request may ask of the router.
#ifndef GATEWAY_LIMITS_H
#define GATEWAY_LIMITS_H

#include "gateway/body.h"

// The longest body that is taken, in bytes. A request that announces a longer one is one without a body.
int longest_body();

// What ends a body of app.cgi, whose standard input ends by itself.
BodyEnd end_of_body();

// How long the process waits for its request may be limited, from the one call to the other; it ends then.
void begin_waiting_for_request();
void end_waiting_for_request();

// Limits the process, if it is to be limited. Once, before a request is looked at.
void limit_process();

#endif
