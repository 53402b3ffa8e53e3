// SPDX-License-Identifier: MIT
#include "mesh/topology.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/debug_log.h"
#include "base/input.h"
#include "base/json.h"
#include "base/shortage.h"
#include "base/text.h"
#include "store/items.h"
#include "store/store.h"

namespace {

constexpr char kModule[] = "mesh_fun";

// Adds the devices below `node` to the `count` agents that are listed already, and returns how many there are then.
// It goes as deep as the parser does.
int add_agents(const cJSON *node, AgentAddress (&agents)[kMostAgents], int count) {
    const cJSON *devices = find_item(node, "child_devices");
    if (type_of(devices) != cJSON_Array) {
        return count;
    }
    for (const cJSON *device = devices->child; device != nullptr && count < kMostAgents; device = device->next) {
        const char *mac = find_text(device, "mac_address");
        const char *ip = find_text(device, "ip_addr");
        if (mac != nullptr && ip != nullptr) {
            join(agents[count].mac, {mac});
            join(agents[count].ip, {ip});
            ++count;
        }
        count = add_agents(device, agents, count);
    }
    return count;
}

// Adds what the address under `key` of a node stands for. The daemon writes addresses as 12 digits in lower case; what
// is written in another way is no client's.
void add_entry(const cJSON *node, const char *key, const cJSON *station, RecordList<TopologySearch::Entry> &entries) {
    const char *text = find_text(node, key);
    TopologySearch::Entry entry = {{}, station};
    if (text != nullptr && strpbrk(text, "ABCDEF") == nullptr && parse_mac_text(text, entry.mac)) {
        entries.add(entry);
    }
}

// Adds the devices below `node` with their stations, a device before its stations, and these before the devices below
// it.
void add_entries(const cJSON *node, RecordList<TopologySearch::Entry> &entries) {
    const cJSON *device = array_first(find_item(node, "child_devices"));
    for (; device != nullptr; device = device->next) {
        add_entry(device, "mac_address", nullptr, entries);
        const cJSON *station = array_first(find_item(device, "station_info"));
        for (; station != nullptr; station = station->next) {
            add_entry(station, "station_mac", station, entries);
        }
        add_entries(device, entries);
    }
}

void prepare(TopologySearch &search) {
    search.is_read = true;
    search.role = store_get(MIB_MESH_ROLE);
    if (search.role != kMeshController) {
        return;
    }
    const OwnedText text = read_topology(kTopologyPath);
    search.has_file = text != nullptr;
    search.topology.reset(cJSON_Parse(text.get()));
    add_entries(search.topology.get(), search.entries);
}

void take_text(const cJSON *station, const char *key, Out out) {
    const char *text = find_text(station, key);
    if (text != nullptr) {
        join(out, {text});
    }
}

}  // namespace

OwnedText read_topology(const char *path) {
    const File file = open_file(path);
    if (!file) {
        return nullptr;
    }
    char *line = nullptr;
    size_t size = 0;
    errno = 0;  // at the end of the file getline() leaves it alone
    const bool has_line = getline(&line, &size, file.get()) >= 0;
    OwnedText text(line);
    if (!has_line) {
        note_shortage_if(errno);
        text.reset(strdup(""));
        if (!text) {
            note_shortage();
        }
    }
    return text;
}

int list_agents(const cJSON *topology, AgentAddress (&agents)[kMostAgents]) {
    return add_agents(topology, agents, 0);
}

int getAgentIpList(AgentAddress (&agents)[kMostAgents]) {
    const OwnedText text = read_topology(kTopologyPath);
    const Json topology(cJSON_Parse(text.get()));
    const int count = list_agents(topology.get(), agents);
    DebugLog("agent_num=%d", count);
    return count;
}

int cmnt_findFromTopology(TopologySearch &search, const uint8_t *mac, TopologyClient &client) {
    if (!search.is_read) {
        prepare(search);
    }
    if (search.role != kMeshController) {
        return kNotInTopology;
    }
    if (!search.topology) {
        DebugLog(search.has_file ? "ERROR:Parse topology_json file fail" : "ERROR:open topology_json file fail");
        return kTopologyUnreadable;
    }
    const TopologySearch::Entry *entry = search.entries.find(mac);
    if (entry == nullptr) {
        return kNotInTopology;
    }
    if (entry->station == nullptr) {
        client = {"agent", 0, "", ""};
        return kTopologyDevice;
    }
    take_text(entry->station, "station_connected_band", client.band);
    const char *rssi = find_text(entry->station, "station_rssi");
    if (rssi != nullptr) {
        client.rssi = decimal_value(rssi);
    }
    take_text(entry->station, "station_downlink", client.downlink);
    take_text(entry->station, "station_uplink", client.uplink);
    return kTopologyStation;
}
