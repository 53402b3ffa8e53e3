// SPDX-License-Identifier: MIT
// The mesh as its daemon describes it in a file: the devices below the controller, the devices below those and so on,
// each with its stations.
#ifndef MESH_TOPOLOGY_H
#define MESH_TOPOLOGY_H

#include "base/mac_text.h"
#include "base/records.h"
#include "base/resource.h"
#include "platform/product.h"

constexpr char kTopologyPath[] = PRODUCT_TOPOLOGY;

// Reads the topology, which is the first line of the file at `path` and may have any length. Empty holder: the file
// can't be opened. A file that can't be read gives an empty text, which like any other that is no JSON does not parse.
OwnedText read_topology(const char *path);

// An agent, or rather its texts as the daemon writes them, cut to their fields: nobody has checked them.
struct AgentAddress {
    char mac[16];
    char ip[16];
};
static_assert(sizeof(AgentAddress) == 32, "a record is 32 bytes");

constexpr int kMostAgents = 32;

// Fills `agents`, which is zero, with the devices of a topology that have both addresses, a device before those below
// it. `topology` may be nullptr. Returns how many they are; those that find no room are left out.
int list_agents(const cJSON *topology, AgentAddress (&agents)[kMostAgents]);

// The same with the topology of the moment; 0 when there is none.
int getAgentIpList(AgentAddress (&agents)[kMostAgents]);

// The devices and stations of a topology by their addresses.
struct TopologySearch {
    // What an address stands for.
    struct Entry {
        uint8_t mac[kMacBytes];
        const cJSON *station;  // nullptr: a device
    };
    bool is_read = false;  // the topology is read when something is first looked up, and serves all lookups
    int32_t role = 0;      // the router's own, of MIB_MESH_ROLE
    bool has_file = false;
    Json topology;
    RecordList<Entry> entries;  // in the document's order
};

// What a topology tells of a client.
struct TopologyClient {
    char band[16];
    int rssi;
    char downlink[20];
    char uplink[20];
};

// What became of a search.
constexpr int kTopologyUnreadable = -1;
constexpr int kNotInTopology = 0;
constexpr int kTopologyStation = 1;
constexpr int kTopologyDevice = 2;

// Finds a client below the devices of the mesh. kTopologyStation: what the station's texts tell is written to `client`,
// cut to its fields, and what they do not tell is as it was. kTopologyDevice: it is such a device itself, and `client`
// says "agent". kNotInTopology, too, unless the router is the mesh's controller; the file is not read then. The
// controller is no device of its own mesh, and its own stations are not searched: the router sees those itself. A list
// that is no array is empty.
int cmnt_findFromTopology(TopologySearch &search, const uint8_t *mac, TopologyClient &client);

#endif
