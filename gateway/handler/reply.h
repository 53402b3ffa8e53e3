// SPDX-License-Identifier: MIT
// Printing replies. Every reply is cJSON's formatted print and a line feed, on standard output. It is printed whole or
// not at all: where memory was short while it was made (base/shortage.h), it may lack anything.
#ifndef GATEWAY_HANDLER_REPLY_H
#define GATEWAY_HANDLER_REPLY_H

#include "base/resource.h"

// Has every reply from now on begin with the header lines that the web server reads, and passes on as its own.
void print_reply_headers();

// Prints the reply in one write and releases it. When this returns, the reply has left the process; when the client
// sees it is the web server's affair. A client that has hung up does not end the process.
void print_reply(Json reply);

// Prints a reply that is a text already, in the same way.
void print_reply_text(OwnedText text);

// Where replies have header lines and none was printed, prints header lines alone, so that the web server does not take
// it for the program's failure: that there is nothing to say when the request was `served`, that it makes no sense when
// it was not, or that the router cannot answer, when the reply is lost.
void print_missing_reply(bool served);

// Notes that there can be no reply.
void lose_reply();

// Whether a reply could not be made whole, or not be written; standard error says why. What was stored by then stays,
// and the work behind the reply is done as ever.
bool reply_is_lost();

// Adds the request's "guid" to the reply when it is a string.
void echo_guid(const cJSON *request, cJSON *reply);

#endif
