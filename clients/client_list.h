// SPDX-License-Identifier: MIT
// The devices of the LAN, merged from what the router's parts know of them: the ARP table of the bridge, the DHCP
// leases, the station tables of the radios, the switch, the mesh and the traffic file.
#ifndef CLIENTS_CLIENT_LIST_H
#define CLIENTS_CLIENT_LIST_H

#include <cstdint>

#include "base/mac_text.h"
#include "platform/arpcheck.h"

// How a client is connected, beside "5g" and "2g", the radios. A station of a mesh agent has the text that the mesh
// daemon gives for its band instead.
constexpr char kTypeWired[] = "wired";
constexpr char kTypeAgent[] = "agent";
constexpr char kTypeUnknown[] = "unknown";

struct ClientRecord {
    uint8_t mac[kMacBytes];
    char ip[16];
    char conType[16];
    char name[66];     // of its DHCP lease; empty: it has none
    int32_t presence;  // 888: its type is known; else 0
    uint8_t isKnown;   // 1: its type is known; else 0
    uint32_t uspeed;   // present rate from the client, in units of 1024 bytes per second
    uint32_t dspeed;   // present rate to the client
    char dlink[20];    // rate of its link towards the client, as text; empty: unknown
    char ulink[20];    // rate of its link from the client
    int32_t rssi;      // signal strength; 0 unless it is a wireless client
};

constexpr int kMostClients = kArpEntryLimit;

struct ClientList {
    int32_t count;
    ClientRecord clients[kMostClients];
};

// Fills the list; records from `count` on are as they were. Returns the number of clients; -1 when there is no list.
int cmnt_getClientList(ClientList *list);

#endif
