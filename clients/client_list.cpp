// SPDX-License-Identifier: MIT
#include "clients/client_list.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "base/records.h"
#include "base/text.h"
#include "clients/leases.h"
#include "clients/stations.h"
#include "clients/switch_ports.h"
#include "clients/traffic.h"
#include "mesh/topology.h"
#include "platform/product.h"

namespace {

constexpr char kBridge[] = PRODUCT_LAN_INTERFACE;
constexpr char kNoLink[] = "0M";
constexpr int32_t kPresent = 888;
constexpr int kTrafficUnit = 10;  // bits: 1024 bytes per second

// The wireless interfaces, with the type of their clients, in the order in which their tables are read and searched: a
// client is shown at the first one that has it.
struct WirelessInterface {
    char name[10];
    char type[3];
};

constexpr WirelessInterface kInterfaces[] = {
    {"wlan0",     "5g"},
    {"wlan1",     "2g"},
    {"wlan0-va0", "5g"},
    {"wlan0-va1", "5g"},
    {"wlan0-va2", "5g"},
    {"wlan0-va3", "5g"},
    {"wlan1-va0", "2g"},
    {"wlan1-va1", "2g"},
    {"wlan1-va2", "2g"},
    {"wlan1-va3", "2g"},
};

// The stations of all interfaces.
struct StationTables {
    int counts[std::size(kInterfaces)];
    StationRow rows[std::size(kInterfaces) * kMostStations];  // one interface's behind those of the one before
};

// Tables of fixed size, of which most homes fill little. They are static, because a page of static memory is the
// process's own only once something is written there.
LeaseList leases;
StationTables stations;

// What else the builder knows while it builds one list. A file is read when the first client needs it.
struct Sources {
    SwitchArp arp;
    SwitchPorts ports;
    TopologySearch topology;
    TrafficFile traffic;
};

void read_sources(Sources &sources) {
    cmnt_cgiGetDHCPLeases(&leases, 1);
    StationRow *rows = stations.rows;
    for (size_t i = 0; i < std::size(kInterfaces); ++i) {
        stations.counts[i] = wirelessClientList(kInterfaces[i].name, rows);
        rows += stations.counts[i];
    }
    open_traffic_file(sources.traffic);
}

void set_link(ClientRecord &client, const char *type, int32_t rssi, const char *dlink, const char *ulink) {
    join(client.conType, {type});
    client.rssi = rssi;
    join(client.dlink, {dlink});
    join(client.ulink, {ulink});
}

// The sources of a client's link. Each sets it and returns true if it knows the client.

bool find_wireless(ClientRecord &client) {
    const StationRow *rows = stations.rows;
    for (size_t i = 0; i < std::size(kInterfaces); ++i) {
        const StationRow *row = find_mac(rows, stations.counts[i], client.mac);
        if (row != nullptr) {
            set_link(client, kInterfaces[i].type, static_cast<int32_t>(row->rssi), row->txRate, row->rxRate);
            return true;
        }
        rows += stations.counts[i];
    }
    return false;
}

bool find_wired(Sources &sources, ClientRecord &client) {
    int port = 0;
    if (cmnt_isClientfromWired(sources.arp, client.mac, &port) == 0) {
        return false;
    }
    char speed[20] = {};
    const bool up = cmnt_getEthPortStatus(sources.ports, port, speed) == 1;
    set_link(client, kTypeWired, 0, up ? speed : kNoLink, up ? speed : kNoLink);
    return true;
}

bool find_in_mesh(Sources &sources, ClientRecord &client) {
    TopologyClient found = {};
    if (cmnt_findFromTopology(sources.topology, client.mac, found) < kTopologyStation) {
        return false;
    }
    set_link(client, found.band, found.rssi, found.downlink, found.uplink);
    return true;
}

// What the router sees itself comes before what others say of the client.
void find_link(Sources &sources, ClientRecord &client) {
    if (!find_wireless(client) && !find_wired(sources, client) && !find_in_mesh(sources, client)) {
        set_link(client, kTypeUnknown, 0, "", "");
    }
}

void find_traffic(Sources &sources, ClientRecord &client) {
    uint32_t upload = 0;
    uint32_t download = 0;
    if (cmnt_cgi_userlist_speedtest_get(sources.traffic, client.mac, &upload, &download) == 1) {
        client.uspeed = upload >> kTrafficUnit;
        client.dspeed = download >> kTrafficUnit;
    }
}

void describe(const ArpEntry &entry, Sources &sources, ClientRecord &client) {
    client = {};
    memcpy(client.mac, entry.mac, sizeof client.mac);
    join(client.ip, {Dotted(in_addr{entry.ip}).c_str()});
    find_link(sources, client);
    cmnt_findLeaseName(&leases, client.mac, &client.name);
    const bool known = strcmp(client.conType, kTypeUnknown) != 0;
    client.presence = known ? kPresent : 0;
    client.isKnown = known ? 1 : 0;
    if (known && strcmp(client.conType, kTypeAgent) != 0) {
        find_traffic(sources, client);
    }
}

// The list's duplicates are weeded out by having no address.
bool is_weeded_out(const ArpEntry &entry) {
    return std::all_of(std::begin(entry.mac), std::end(entry.mac), [](uint8_t byte) { return byte == 0; });
}

}  // namespace

int cmnt_getClientList(ClientList *list) {
    if (list == nullptr) {
        return -1;
    }
    list->count = 0;
    ArpEntry entries[kArpEntryLimit] = {};
    const int count = std::min<int>(get_proc_arp_list(kBridge, entries), kArpEntryLimit);
    if (count <= 0) {
        return 0;  // without clients nothing else needs to be known
    }
    deal_arp_list_dup_client(entries, count);
    Sources sources;
    read_sources(sources);
    for (int i = 0; i < count; ++i) {
        if (!is_weeded_out(entries[i])) {
            describe(entries[i], sources, list->clients[list->count++]);
        }
    }
    return list->count;
}
