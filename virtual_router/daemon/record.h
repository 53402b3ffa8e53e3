// The records that the endpoint posts to the system daemon.
#ifndef VIRTUAL_ROUTER_DAEMON_RECORD_H
#define VIRTUAL_ROUTER_DAEMON_RECORD_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// A record is described as 364 bytes that begin with a 32-bit type. The queue carries the type apart, as a `long`, and
// the other 360 bytes as they are, so a field lies 4 bytes before its described offset.
constexpr std::size_t kTypeSize = 4;
constexpr std::size_t kPayloadSize = 360;

// What the daemon does about a message, as far as this router can show it.
enum class Action : uint8_t {
    kRestart,    // shows the settings in force, as services that start anew read them
    kReboot,     // drops what a power cut drops
    kReset,      // brings the factory's settings back
    kNotPlayed,  // nothing: what it asks for has no part in this router yet
};

struct Message {
    Action action;
    std::string text;  // one line, fit for a terminal
};

// Decodes a record of `type` with the payload bytes that came. Any bytes are welcome: missing ones count as zero, and
// what is unusual about a record is said in the text.
Message decode_record(long type, std::string_view payload);

#endif
