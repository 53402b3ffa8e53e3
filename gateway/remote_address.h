// SPDX-License-Identifier: MIT
// The address of a request's client.
#ifndef GATEWAY_REMOTE_ADDRESS_H
#define GATEWAY_REMOTE_ADDRESS_H

// The address under which the client is known, to exemptions and sessions, of the one that the web server tells. It
// lives as long as that does.
const char *known_address(const char *told);

#endif
