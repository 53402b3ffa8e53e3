// SPDX-License-Identifier: MIT
// The road of a request, in three steps. One process serves one request: it takes the steps once and in this order, and
// ends where one of them says so. Who calls them is the entry: gateway/cgi.cpp, which is started for the request, or
// resident/, which was waiting for it.
#ifndef GATEWAY_REQUEST_H
#define GATEWAY_REQUEST_H

#include "base/resource.h"
#include "gateway/body.h"

// The exit status of a request that is not served.
constexpr int kNotServed = -1;

// Reads the debug switch, opens the store, and reads the body from standard input. `content_length` is the body's
// length as the web server tells it; nullptr: it does not. False: the request is not served; standard error may say
// why.
bool receive_request(const char *content_length, BodyEnd end, OwnedText &body);

// Decides whether the caller may act, runs the action, and prints the reply to standard output. `remote_address` is the
// client's address as the web server tells it; nullptr: it does not. 0: the work behind the reply is due. Else the exit
// status: a request without a reply, or one that was not let in.
int answer_request(OwnedText body, const char *remote_address);

// Does the work behind the reply, which has left the process: this may take long, or cut the client off. Returns the
// exit status.
int finish_request();

#endif
