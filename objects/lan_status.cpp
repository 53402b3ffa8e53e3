// SPDX-License-Identifier: MIT
// The objects "lanStatus" (the devices of the LAN) and "meshStatus" (the mesh with the wired devices added).

#include <cstring>

#include "base/debug_log.h"
#include "base/json.h"
#include "base/text.h"
#include "base/utf8.h"
#include "clients/client_list.h"
#include "gateway/handler/objects.h"
#include "gateway/handler/request_state.h"
#include "mesh/topology.h"

namespace {

constexpr char kModule[] = "app";

constexpr char kNoTopology[] = "ERROR:open topology_json file fail";
constexpr char kTopologyInvalid[] = "ERROR:Parse topology_json file fail";

// The devices of the LAN. Static like the tables that it is made from: what a home does not fill takes no memory.
ClientList list;

// Adds a text of the list, whose texts are what drivers and files hold.
void add_text(cJSON *object, const char *key, char *text) {
    add_item(object, key, cJSON_CreateString(make_valid_utf8(text)));
}

cJSON *describe_client(ClientRecord &client) {
    char mac[kMacDigits + 1];
    print_mac_digits(client.mac, mac);
    cJSON *device = cJSON_CreateObject();
    add_text(device, "name", client.name);
    add_text(device, "ip", client.ip);
    add_text(device, "mac", mac);
    add_text(device, "conType", client.conType);
    add_number(device, "rssi", client.rssi);
    add_text(device, "dlink", client.dlink);
    add_text(device, "ulink", client.ulink);
    add_number(device, "dspeed", client.dspeed);
    add_number(device, "uspeed", client.uspeed);
    return device;
}

cJSON *describe_station(ClientRecord &client) {
    char mac[kMacDigits + 1];
    print_mac_digits(client.mac, mac);
    char rssi[16];
    join(rssi, {Decimal(client.rssi).c_str()});
    cJSON *station = cJSON_CreateObject();
    add_text(station, "station_mac", mac);
    add_text(station, "station_rssi", rssi);
    add_text(station, "station_connected_band", client.conType);
    add_text(station, "station_downlink", client.dlink);
    add_text(station, "station_uplink", client.ulink);
    return station;
}

}  // namespace

int app_get_lanStatus_handler(const char *name, cJSON * /*request*/, cJSON *reply) {
    cJSON *answer = cJSON_AddObjectToObject(reply, name);
    cJSON *devices = cJSON_AddArrayToObject(answer, "devlist");
    const int count = cmnt_getClientList(&list);
    for (int i = 0; i < count; ++i) {
        ClientRecord &client = list.clients[i];
        const uint8_t(&mac)[kMacBytes] = client.mac;
        DebugLog("%s,%s,%02X%02X%02X%02X%02X%02X", client.name, client.ip, mac[0], mac[1], mac[2], mac[3], mac[4],
                 mac[5]);
        add_element(devices, describe_client(client));
    }
    return 0;
}

int app_get_meshStatus_handler(const char *name, cJSON * /*request*/, cJSON *reply) {
    cJSON *answer = cJSON_AddObjectToObject(reply, name);
    OwnedText text = read_topology(kTopologyPath);
    if (!text) {
        return fail(kNoTopology);
    }
    DebugLog("%s", text.get());
    Json topology(cJSON_Parse(make_valid_utf8(text.get())));
    text.reset();
    // Also without a topology: it has the DHCP server write its leases afresh, which others read.
    const int count = cmnt_getClientList(&list);
    if (!topology) {
        return fail(kTopologyInvalid);
    }
    // A mesh without stations of the router's own has no place for its wired devices either.
    cJSON *stations = cJSON_GetObjectItem(topology.get(), "station_info");
    for (int i = 0; i < count && type_of(stations) == cJSON_Array; ++i) {
        if (strcmp(list.clients[i].conType, kTypeWired) == 0) {
            add_element(stations, describe_station(list.clients[i]));
        }
    }
    add_item(answer, "topology", topology.release());
    return 0;
}
