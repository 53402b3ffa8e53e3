// SPDX-License-Identifier: MIT
// The client list of a whole home, out of sources that say anything, against what each device must be shown as.
#include <arpa/inet.h>

#include <cstring>

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

void judge_device(const ArpEntry &entry, const cJSON *device) {
    char mac[16];
    snprintf(mac, sizeof mac, "%02X%02X%02X%02X%02X%02X", entry.mac[0], entry.mac[1], entry.mac[2], entry.mac[3],
             entry.mac[4], entry.mac[5]);
    const char *type = text_of(device, "conType");
    if (text_of(device, "mac") == nullptr || strcmp(text_of(device, "mac"), mac) != 0 || type == nullptr ||
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

void judge_list() {
    const Outcome outcome = ask();
    const cJSON *list = cJSON_GetObjectItem(cJSON_GetObjectItem(outcome.reply.get(), "lanStatus"), "devlist");
    if (outcome.status != 0 || cJSON_IsArray(list) == 0) {
        wrong("no list of devices");
    }
    const cJSON *device = list->child;
    for (size_t i = 0; i < router.arp.size() && i < kArpEntryLimit; ++i) {
        if (is_empty(router.arp[i].mac) || router.arp[i].reserved[0] != 0) {
            continue;
        }
        if (device == nullptr) {
            wrong("a device of the ARP list is not in the list of devices");
        }
        judge_device(router.arp[i], device);
        device = device->next;
    }
    if (device != nullptr) {
        wrong("a device that the ARP list does not have");
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
        give_body(R"({"action":"get","lanStatus":{}})");
        judge_list();
        give_body(R"({"action":"get","meshStatus":{}})");
        ask();
    }
}
