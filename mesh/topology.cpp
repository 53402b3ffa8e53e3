#include "mesh/topology.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/debug_log.h"
#include "base/json.h"
#include "base/text.h"

namespace {

constexpr char kModule[] = "mesh_fun";

// Adds the devices below `node` to the `count` agents that are listed already, and returns how many there are then.
// It goes as deep as the parser does.
int add_agents(const cJSON *node, AgentAddress (&agents)[kMostAgents], int count) {
    const cJSON *devices = find_item(node, "child_devices");
    if (!cJSON_IsArray(devices)) {
        return count;
    }
    for (const cJSON *device = devices->child; device != nullptr && count < kMostAgents; device = device->next) {
        const char *mac = find_text(device, "mac_address");
        const char *ip = find_text(device, "ip_addr");
        if (mac != nullptr && ip != nullptr) {
            put(agents[count].mac, "%s", mac);
            put(agents[count].ip, "%s", ip);
            ++count;
        }
        count = add_agents(device, agents, count);
    }
    return count;
}

}  // namespace

OwnedText read_topology(const char *path) {
    const File file(fopen(path, "r"));
    if (!file) {
        return nullptr;
    }
    char *line = nullptr;
    size_t size = 0;
    const bool has_line = getline(&line, &size, file.get()) >= 0;
    OwnedText text(line);
    return has_line ? std::move(text) : OwnedText(strdup(""));
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
