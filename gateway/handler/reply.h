// SPDX-License-Identifier: MIT
// Printing replies. Every reply is cJSON's formatted print and a line feed, on standard output. It is printed whole or
// not at all: where memory was short while it was made (base/shortage.h), it may lack anything.
#ifndef GATEWAY_HANDLER_REPLY_H
#define GATEWAY_HANDLER_REPLY_H

#include "base/resource.h"

// Prints the reply in one write and releases it. When this returns, the reply has left the process; when the client
// sees it is the web server's affair. A client that has hung up does not end the process.
void print_reply(Json reply);

// Prints a reply that is a text already, in the same way.
void print_reply_text(OwnedText text);

// Whether a reply could not be made whole, or not be written; standard error says why. What was stored by then stays,
// and the work behind the reply is done as ever.
bool reply_is_lost();

// Adds the request's "guid" to the reply when it is a string.
void echo_guid(const cJSON *request, cJSON *reply);

#endif
