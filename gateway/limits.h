// SPDX-License-Identifier: MIT
// How much a request may ask of the router.
#ifndef GATEWAY_LIMITS_H
#define GATEWAY_LIMITS_H

// The longest body that is taken, in bytes. A request that announces a longer one is one without a body.
int longest_body();

// Limits the process, if it is to be limited. Once, before a request is looked at.
void limit_process();

#endif
