// SPDX-License-Identifier: MIT
// The router's switch: which devices are wired to it, to which port, and how fast a port's link is. Its driver tells it
// in two files of text, whose lines are scanned for what the patterns of this program know; all else in them is passed
// over.
//
// A file is read when the first device is looked up, and serves all lookups: going through it again for each device of
// a large home would take longer than everything else.
#ifndef CLIENTS_SWITCH_PORTS_H
#define CLIENTS_SWITCH_PORTS_H

#include <cstdint>

#include "base/mac_text.h"
#include "base/records.h"

// What has become of a file that is read when it is needed.
enum class FileState { kNotRead, kMissing, kRead };

// The switch's ARP table.
struct SwitchArp {
    struct Entry {
        uint8_t mac[kMacBytes];
        int port;
    };
    FileState state = FileState::kNotRead;
    RecordList<Entry> entries;
};

// The state of the switch's ports, by the character that stands for a port in the file.
struct SwitchPorts {
    enum class Link : uint8_t { kUnknown, kDown, kUp };
    struct Port {
        Link link;
        bool has_speed;
        char speed[20];
    };
    FileState state = FileState::kNotRead;
    Port ports[256] = {};
};

// What a port's link is when the one question is whether it is up.
constexpr int kLinkUnknown = -1;  // the file can't be read
constexpr int kLinkDown = 0;
constexpr int kLinkUp = 1;

// The link of the port whose line begins with `name`, such as "Port1", and a blank: up when its first line says so, and
// down when it says anything else or there is none.
int read_port_link(const char *name);

// 1, with its port, when the switch knows the device; 0 when it does not, when its file can't be read, and when an
// argument is nullptr.
int cmnt_isClientfromWired(SwitchArp &arp, const uint8_t *mac, int *port);

// 1 when the port's link is up: then with its speed, or if the switch tells none, with `speed` untouched. 0 when the
// link is down or not known.
int cmnt_getEthPortStatus(SwitchPorts &ports, int port, char (&speed)[20]);

#endif
