// SPDX-License-Identifier: MIT
// The client list of a whole home, out of sources that say anything, against what each device must be shown as: every
// key of every device. What a source alone says of a device its own reader tells, which the target "answers" judges.
#include <arpa/inet.h>

#include <cstring>

#include "clients/leases.h"
#include "clients/stations.h"
#include "clients/switch_ports.h"
#include "clients/traffic.h"
#include "mesh/topology.h"
#include "platform/wifi_driver.h"
#include "store/items.h"
#include "tests/fuzz/target.h"

const Taste kTaste = {
    {"arp",   "arp",  "stations", "stations", "file", "file", "file", "file", "no-file", "mute", "item", "body"},
    {"lanStatus", "meshStatus", "mesh"    }
};

namespace {

constexpr const char *kOrder[] = {"wlan0",     "wlan1",     "wlan0-va0", "wlan0-va1", "wlan0-va2",
                                  "wlan0-va3", "wlan1-va0", "wlan1-va1", "wlan1-va2", "wlan1-va3"};

// The station of a driver's table; nullptr: it has none of that address.
const StaInfoEntry *find_station(const std::string &table, const uint8_t *mac) {
    static StaInfoEntry found;
    for (size_t slot = 1; slot < kStationSlots; ++slot) {
        StaInfoEntry station = {};
        const size_t at = slot * sizeof station;
        if (at < table.size()) {
            memcpy(&station, table.data() + at, std::min(sizeof station, table.size() - at));
        }
        const bool there = station.association_id[0] != 0 || station.association_id[1] != 0;
        if (there && (station.state & kStationAssociated) != 0 && memcmp(station.mac, mac, sizeof station.mac) == 0) {
            found = station;
            return &found;
        }
    }
    return nullptr;
}

const char *radio_of(const char *interface) {
    return interface[4] == '0' ? "5g" : "2g";
}

bool is_empty(const uint8_t *mac) {
    constexpr uint8_t kNone[6] = {};
    return memcmp(mac, kNone, sizeof kNone) == 0;
}

std::string mac_text(const uint8_t *mac) {
    char text[16];
    snprintf(text, sizeof text, "%02X%02X%02X%02X%02X%02X", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
    return text;
}

// What must be told of a device.
struct Shown {
    std::string type = "unknown";
    int rssi = 0;
    std::string down;
    std::string up;
    uint32_t down_speed = 0;
    uint32_t up_speed = 0;
    std::string name;
};

// What the router knows of its devices, read once for a list of them.
struct Known {
    LeaseList leases = {};
    std::vector<std::vector<StationRow>> stations;  // as kOrder
    SwitchArp arp;
    SwitchPorts ports;
    TrafficFile traffic;
    TopologySearch topology;

    Known() {
        cmnt_cgiGetDHCPLeases(&leases, 1);
        for (const char *interface : kOrder) {
            std::vector<StationRow> rows(kMostStations);
            rows.resize(static_cast<size_t>(wirelessClientList(interface, rows.data())));
            stations.push_back(rows);
        }
        open_traffic_file(traffic);
    }

    // The link of a device: what the router sees itself comes before what the mesh says, a radio before its guests'
    // networks, and air before wire.
    void find_link(const uint8_t *mac, Shown &shown) {
        for (size_t i = 0; i < stations.size(); ++i) {
            for (const StationRow &row : stations[i]) {
                if (memcmp(row.mac, mac, sizeof row.mac) == 0) {
                    shown.type = radio_of(kOrder[i]);
                    shown.rssi = static_cast<int>(row.rssi);
                    shown.down = row.txRate;
                    shown.up = row.rxRate;
                    return;
                }
            }
        }
        int port = 0;
        char speed[20] = {};
        TopologyClient client = {};
        if (cmnt_isClientfromWired(arp, mac, &port) == 1) {
            shown.type = "wired";
            shown.down = cmnt_getEthPortStatus(ports, port, speed) == 1 ? speed : "0M";
            shown.up = shown.down;
        } else if (cmnt_findFromTopology(topology, mac, client) > 0) {
            shown.type = client.band;
            shown.rssi = client.rssi;
            shown.down = client.downlink;
            shown.up = client.uplink;
        }
    }

    Shown look_up(const uint8_t *mac) {
        Shown shown;
        find_link(mac, shown);
        char name[66] = {};
        shown.name = cmnt_findLeaseName(&leases, mac, &name) == 0 ? name : "";
        uint32_t up = 0;
        uint32_t down = 0;
        if (shown.type != "unknown" && shown.type != "agent" &&
            cmnt_cgi_userlist_speedtest_get(traffic, mac, &up, &down) == 1) {
            shown.up_speed = up / 1024;
            shown.down_speed = down / 1024;
        }
        return shown;
    }
};

void judge_text(const cJSON *device, const char *key, const std::string &right) {
    const char *shown = text_of(device, key);
    if (shown == nullptr || as_utf8(right) != shown) {
        wrong("\"%s\" is \"%s\", but \"%s\" is right", key, shown, right.c_str());
    }
}

void judge_number(const cJSON *device, const char *key, double right) {
    const cJSON *shown = cJSON_GetObjectItemCaseSensitive(device, key);
    if (cJSON_IsNumber(shown) == 0 || shown->valuedouble != right) {
        wrong("\"%s\" is not %.0f", key, right);
    }
}

void judge_keys(const cJSON *device, const Shown &right) {
    judge_text(device, "name", right.name);
    judge_text(device, "conType", right.type);
    judge_number(device, "rssi", right.rssi);
    judge_text(device, "dlink", right.down);
    judge_text(device, "ulink", right.up);
    judge_number(device, "dspeed", right.down_speed);
    judge_number(device, "uspeed", right.up_speed);
}

void judge_device(const ArpEntry &entry, const cJSON *device) {
    const char *type = text_of(device, "conType");
    if (text_of(device, "mac") == nullptr || mac_text(entry.mac) != text_of(device, "mac") || type == nullptr ||
        strcmp(text_of(device, "ip"), inet_ntoa({entry.ip})) != 0) {
        wrong("a device with another address");
    }
    for (const char *interface : kOrder) {
        const auto table = router.stations.find(interface);
        const StaInfoEntry *station = table != router.stations.end() && router.mute.count(interface) == 0
                                          ? find_station(table->second, entry.mac)
                                          : nullptr;
        if (station != nullptr) {
            const cJSON *rssi = cJSON_GetObjectItem(device, "rssi");
            if (strcmp(type, radio_of(interface)) != 0 || rssi->valueint != station->rssi) {
                wrong("a station of %s is shown as \"%s\" with %d", interface, type, rssi->valueint);
            }
            return;
        }
    }
    const bool no_switch = router.files.count("/proc/rtl865x/arp") == 0;
    if (strcmp(type, "wired") == 0 && no_switch) {
        // A mesh daemon may call a band so; nobody else may.
        if (router.files.count("/tmp/topology_json") == 0) {
            wrong("a wired device without a switch");
        }
    }
    const bool in_mesh =
        router.number(MIB_MESH_ROLE.id) == kMeshController && router.files.count("/tmp/topology_json") != 0;
    if (no_switch && !in_mesh && strcmp(type, "unknown") != 0) {
        wrong("a device that nobody knows is shown as \"%s\"", type);
    }
}

bool is_shown(const ArpEntry &entry) {
    return !is_empty(entry.mac) && entry.reserved[0] == 0;
}

void judge_devices(const cJSON *device) {
    Known known;
    for (size_t i = 0; i < router.arp.size() && i < kArpEntryLimit; ++i) {
        if (!is_shown(router.arp[i])) {
            continue;
        }
        if (device == nullptr) {
            wrong("a device of the ARP list is not in the list of devices");
        }
        judge_device(router.arp[i], device);
        judge_keys(device, known.look_up(router.arp[i].mac));
        device = device->next;
    }
    if (device != nullptr) {
        wrong("a device that the ARP list does not have");
    }
}

void judge_list() {
    give_body(R"({"action":"get","lanStatus":{}})");
    const Outcome outcome = ask();
    const cJSON *list = cJSON_GetObjectItem(cJSON_GetObjectItem(outcome.reply.get(), "lanStatus"), "devlist");
    if (outcome.status != 0 || cJSON_IsArray(list) == 0) {
        wrong("no list of devices");
    }
    start_endpoint();
    judge_devices(list->child);
    end_endpoint();
}

// The wired devices as they are put into the mesh's own list.
void add_wired(cJSON *stations) {
    Known known;
    for (size_t i = 0; i < router.arp.size() && i < kArpEntryLimit; ++i) {
        const Shown shown = known.look_up(router.arp[i].mac);
        if (!is_shown(router.arp[i]) || shown.type != "wired") {
            continue;
        }
        cJSON *station = cJSON_CreateObject();
        cJSON_AddStringToObject(station, "station_mac", mac_text(router.arp[i].mac).c_str());
        cJSON_AddStringToObject(station, "station_rssi", std::to_string(shown.rssi).c_str());
        cJSON_AddStringToObject(station, "station_connected_band", "wired");
        cJSON_AddStringToObject(station, "station_downlink", as_utf8(shown.down).c_str());
        cJSON_AddStringToObject(station, "station_uplink", as_utf8(shown.up).c_str());
        cJSON_AddItemToArray(stations, station);
    }
}

std::string printed(const cJSON *tree) {
    char *text = cJSON_Print(tree);
    const std::string out = text != nullptr ? text : "nothing";
    free(text);
    return out;
}

// The mesh as its file has it, and the wired devices behind the router's own stations.
void judge_mesh() {
    give_body(R"({"action":"get","meshStatus":{}})");
    const Outcome outcome = ask();
    const auto file = router.files.find("/tmp/topology_json");
    const bool is_there = file != router.files.end();
    const std::string line = is_there ? file->second.substr(0, file->second.find('\n')).c_str() : "";
    const Tree topology(cJSON_Parse(as_utf8(line).c_str()));
    const char *const message = is_there ? "ERROR:Parse topology_json file fail" : "ERROR:open topology_json file fail";
    if (!topology) {
        if (error_of(outcome.reply.get()) != -1 || strcmp(message_of(outcome.reply.get()), message) != 0) {
            wrong("a mesh without a topology is answered otherwise than by \"%s\"", message);
        }
        return;
    }
    cJSON *stations = cJSON_GetObjectItem(topology.get(), "station_info");
    if (cJSON_IsArray(stations) != 0) {
        start_endpoint();
        add_wired(stations);
        end_endpoint();
    }
    const cJSON *shown = cJSON_GetObjectItem(cJSON_GetObjectItem(outcome.reply.get(), "meshStatus"), "topology");
    if (error_of(outcome.reply.get()) != 0 || printed(shown) != printed(topology.get())) {
        wrong("the mesh is\n%s\nand is told as\n%s", printed(topology.get()).c_str(), printed(shown).c_str());
    }
}

}  // namespace

void run_script(const Script &script) {
    bool changed = true;
    for (const Section &section : script) {
        apply(section);
        changed = changed || section.kind != "body";
        if (section.kind == "body") {
            give_body(section.content);
            ask();
        }
    }
    if (changed) {
        router.environment["REMOTE_ADDR"] = "127.0.0.1";
        router.faults.clear();
        judge_list();
        judge_mesh();
    }
}
