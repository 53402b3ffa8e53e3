// SPDX-License-Identifier: MIT
// The records that the endpoint posts to the system daemon.
#ifndef VIRTUAL_ROUTER_DAEMON_RECORD_H
#define VIRTUAL_ROUTER_DAEMON_RECORD_H

#include <string>
#include <string_view>
#include <vector>

struct Message {
    std::string text;  // an event as virtual_router/vocabulary/events.conf writes it, fit for a terminal
    std::vector<std::string>
        command;       // the router's command that does what is asked, and its words; empty: there is none
    std::string note;  // without a command: what becomes of the message, fit for a terminal
};

// Decodes a record of `type` with the payload bytes that came. Any bytes are welcome: missing ones count as zero, and
// what is unusual about a record is said in the text.
Message decode_record(long type, std::string_view payload);

#endif
