// The mesh as its daemon describes it in a file: the devices below the controller, the devices below those and so on,
// each with its stations.
#ifndef MESH_TOPOLOGY_H
#define MESH_TOPOLOGY_H

#include "base/resource.h"

constexpr char kTopologyPath[] = "/tmp/topology_json";

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

#endif
