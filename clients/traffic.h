// SPDX-License-Identifier: MIT
// The traffic of each device of the LAN: its present rates, which the router's rate sampler writes to a file, and the
// packet filter's rules that count for the sampler.
#ifndef CLIENTS_TRAFFIC_H
#define CLIENTS_TRAFFIC_H

#include <cstdint>

#include "base/mac_text.h"
#include "base/records.h"
#include "base/resource.h"

// The file, whose lines are read when the first device is looked up and serve all lookups.
struct TrafficFile {
    struct Entry {
        uint8_t mac[kMacBytes];
        uint32_t upload;  // bytes per second
        uint32_t download;
    };
    File file;  // empty: it is not open
    bool is_read = false;
    RecordList<Entry> entries;
};

// Opens the file; it may be missing.
void open_traffic_file(TrafficFile &traffic);

// 1, with the two rates in bytes per second, when the file has a line for the device; else 0, as for an argument that
// is nullptr.
int cmnt_cgi_userlist_speedtest_get(TrafficFile &traffic, const uint8_t *mac, uint32_t *upload, uint32_t *download);

// Has the packet filter count the traffic to and from the device with this address, unless it does already; and no
// longer. The chain that counts is there already. Nothing is done without an address.
void speedtest_add_rules(const char *ip);
void speedtest_del_rules(const char *ip);

#endif
