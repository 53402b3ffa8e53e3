// SPDX-License-Identifier: MIT
// What a handler leaves behind for the end of the request. One process serves one request, so nothing is reset for a
// next.
#ifndef GATEWAY_HANDLER_REQUEST_STATE_H
#define GATEWAY_HANDLER_REQUEST_STATE_H

// The message of a failed get or set, returned as "msg". Empty at start; the last writer wins. Handlers write it with
// fail() before they return; the dispatchers read it.
extern char err_msg[1024];

// The client's address, as it is known to exemptions and sessions. Set by the entry before an action runs; nullptr
// until then.
extern const char *client_address;

// Work that is done after the reply. 0 at start; handlers raise them to 1; the entry acts on them.
extern int save_config_flag;  // commit the store
extern int app_reinit_flag;   // have the system daemon restart everything; overrides the three below
extern int wifi_reinit_flag;  // have it restart the radios; overrides LAN and WAN
extern int lan_reinit_flag;   // have it restart the LAN; overrides WAN
extern int wan_reinit_flag;   // have it restart the WAN

// What a handler, and each function that it is made of, returns when it fails, and 0 when it does not. Whoever finds
// the fault calls fail(); all others hand the code on. Returned without a call of fail() it refuses without a message:
// apps know some refusals so, and at most the log tells more.
constexpr int kFailed = -1;

// Copies a message into `err_msg`, cut to its size. Returns kFailed.
int fail(const char *format, ...) __attribute__((format(printf, 1, 2)));

#endif
