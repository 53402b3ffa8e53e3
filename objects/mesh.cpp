// SPDX-License-Identifier: MIT
// The object "mesh": the unit's role in the mesh, the radio of its backhaul and its name there.

#include <cstring>
#include <initializer_list>

#include "base/json.h"
#include "base/range.h"
#include "gateway/handler/objects.h"
#include "gateway/handler/request_state.h"
#include "mesh/backhaul_credentials.h"
#include "mesh/topology.h"
#include "store/items.h"
#include "store/store.h"
#include "store/wlan.h"
#include "store/wpa2.h"

namespace {

constexpr size_t kLongestName = 29;

constexpr char kIncomplete[] = "ERROR: not find mesh.role or mesh.name or backhaul item";
constexpr char kNameLength[] = "ERROR: DEVICE_NAME length is too long";
constexpr char kValueInvalid[] = "ERROR: mesh.role or mesh.backhaul value invalied";

// MIB_WLAN_MESH_BSS_TYPE: an interface's part in the mesh.
constexpr int32_t kNoPart = 0;
constexpr int32_t kFronthaul = 32;
constexpr int32_t kBackhaul = 64;          // of a controller
constexpr int32_t kBackhaulStation = 128;  // of an agent

// MIB_WLAN_DISABLED.
constexpr uint8_t kOn = 0;
constexpr uint8_t kOff = 1;

constexpr int32_t kAgentLeaseTime = 480;  // minutes

// MIB_OP_MODE.
constexpr int8_t kOwnNetwork = 0;     // of a unit that serves the LAN itself
constexpr int8_t kPartOfNetwork = 1;  // of an agent
constexpr int8_t kKeepsUplink = 2;    // of a unit that keeps its uplink by radio when it becomes a controller

// Finds the radio of the backhaul: by the interfaces' parts in the mesh, and by the repeater interfaces that are
// switched on where these do not tell. -1: the store does not tell.
int find_backhaul_radio() {
    const KeepWlanSelection keep;
    int32_t role = 0;
    if (!store_read(MIB_MESH_ROLE, role)) {
        return -1;
    }
    // The interfaces that may carry it, and the part that makes one do so.
    const bool controller = role == kMeshController;
    const int first = controller ? kMainAccessPoint : kRepeater;
    const int last = controller ? kRepeater - 1 : kRepeater;
    const int32_t wanted = controller ? kBackhaul : kBackhaulStation;
    bool carries[kRadioCount] = {};
    for (int radio = 0; radio < kRadioCount; ++radio) {
        for (int index = first; index <= last && !carries[radio]; ++index) {
            SetWlan_idx({radio, index});
            int32_t part = kNoPart;
            if (!store_read(MIB_WLAN_MESH_BSS_TYPE, part)) {
                return -1;
            }
            carries[radio] = (part & wanted) != 0;
        }
    }
    if (carries[kRadio5G] != carries[kRadio2G]) {
        return carries[kRadio5G] ? kRadio5G : kRadio2G;
    }
    uint8_t disabled[kRadioCount] = {};
    for (int radio = 0; radio < kRadioCount; ++radio) {
        SetWlan_idx({radio, kRepeater});
        if (!store_read(MIB_WLAN_DISABLED, disabled[radio])) {
            return -1;
        }
    }
    return disabled[kRadio5G] != kOn && disabled[kRadio2G] == kOn ? kRadio2G : kRadio5G;
}

// Writes an item of each interface, radio by radio.
void set_on_every_interface(std::initializer_list<Int32Item> items, int32_t value) {
    for (int radio = 0; radio < kRadioCount; ++radio) {
        for (int index = 0; index < kInterfaceCount; ++index) {
            SetWlan_idx({radio, index});
            for (const Int32Item item : items) {
                store_set(item, value);
            }
        }
    }
}

void drop_uplink() {
    store_set(MIB_MESH_BACKHAUL_5G, 0);
    store_set(MIB_MESH_BACKHAUL_2G, 0);
    for (int radio = 0; radio < kRadioCount; ++radio) {
        SetWlan_idx({radio, kRepeater});
        store_set(MIB_WLAN_DISABLED, kOff);
    }
}

// The role changes write in the store's order.

void turn_mesh_off() {
    store_set(MIB_MESH_ROLE, kMeshOff);
    store_set(MIB_DHCP_MODE, kDhcpServer);
    store_set(MIB_OP_MODE, kOwnNetwork);
    drop_uplink();
    store_set(MIB_MESH_ITEM_2387, 0);
    set_on_every_interface({MIB_WLAN_MESH_BSS_TYPE}, kNoPart);
}

void become_agent(int32_t previous_role, int backhaul) {
    store_set(MIB_DHCP_MODE, kDhcpClient);
    store_set(MIB_DHCP_LEASE_TIME, kAgentLeaseTime);
    store_set(MIB_MESH_ROLE, kMeshAgent);
    store_set(MIB_OP_MODE, kPartOfNetwork);
    for (int radio = 0; radio < kRadioCount; ++radio) {
        const bool carries = radio == backhaul;
        SetWlan_idx({radio, kRepeater});
        store_set(MIB_WLAN_DISABLED, carries ? kOn : kOff);
        store_set<int32_t>(MIB_WLAN_ITEM_270, carries ? kOn : kOff);
        store_set(MIB_WLAN_ITEM_59, 1);
        store_set(MIB_WLAN_MESH_BSS_TYPE, carries ? kBackhaulStation : kNoPart);
    }
    store_set(MIB_MESH_BACKHAUL_5G, backhaul == kRadio5G ? 1 : 0);
    store_set(MIB_MESH_BACKHAUL_2G, backhaul == kRadio2G ? 1 : 0);
    if (previous_role != kMeshAgent) {
        store_set(MIB_MESH_ITEM_2387, 0);
    }
}

// Makes the selected interface the access point that agents connect to. Their credentials outlive a repeated set.
void open_backhaul(int32_t previous_role) {
    const auto ssid = store_get(MIB_WLAN_SSID);
    const auto key = store_get(MIB_WLAN_WPA_PSK);
    if (previous_role != kMeshController || strstr(ssid.c_str(), kBackhaulSsidMark) == nullptr ||
        key.c_str()[0] == '\0') {
        _app_set_up_backhaul_credentials();
    }
    store_set(MIB_WLAN_MESH_BSS_TYPE, kBackhaul);
}

void become_controller(int32_t previous_role, int backhaul) {
    store_set(MIB_MESH_ROLE, kMeshController);
    store_set(MIB_DHCP_MODE, kDhcpServer);
    if (store_get(MIB_OP_MODE) != kKeepsUplink) {
        drop_uplink();
    }
    store_set(MIB_OP_MODE, kOwnNetwork);
    if (previous_role != kMeshController) {
        store_set(MIB_MESH_ITEM_2387, 0);
    }
    SetWlan_idx({backhaul, kBackhaulAccessPoint});
    store_set(MIB_WLAN_DISABLED, kOn);
    store_settings({kWpa2Mode, kWpa2Setting28});
    for (int radio = 0; radio < kRadioCount; ++radio) {
        for (int index = kMainAccessPoint; index < kRepeater; ++index) {
            SetWlan_idx({radio, index});
            if (store_get(MIB_WLAN_DISABLED) == kOn) {
                store_set(MIB_WLAN_MESH_BSS_TYPE, kFronthaul);
            }
        }
        SetWlan_idx({radio, kRepeater});
        store_set(MIB_WLAN_MESH_BSS_TYPE, kNoPart);
    }
    for (int radio = 0; radio < kRadioCount; ++radio) {
        SetWlan_idx({radio, kBackhaulAccessPoint});
        if (radio == backhaul) {
            open_backhaul(previous_role);
        } else {
            store_set(MIB_WLAN_DISABLED, kOff);
            store_set(MIB_WLAN_MESH_BSS_TYPE, kNoPart);
        }
    }
}

void change_role(int32_t role, int32_t previous_role, int backhaul) {
    switch (role) {
        case kMeshController:
            become_controller(previous_role, backhaul);
            break;
        case kMeshAgent:
            become_agent(previous_role, backhaul);
            break;
        default:
            turn_mesh_off();
            break;
    }
}

}  // namespace

int app_get_mesh_handler(const char *name, cJSON * /*request*/, cJSON *reply) {
    const int backhaul = find_backhaul_radio();
    cJSON *mesh = cJSON_AddObjectToObject(reply, name);
    cJSON_AddStringToObject(mesh, "name", store_get(MIB_MESH_DEVICE_NAME).c_str());
    add_number(mesh, "role", store_get(MIB_MESH_ROLE));
    add_number(mesh, "backhaul", backhaul >= 0 ? backhaul : kRadio5G);
    return 0;
}

int app_set_mesh_handler(const char *name, cJSON *request, cJSON * /*reply*/) {
    const cJSON *mesh = find_item(request, name);
    if (mesh == nullptr) {
        return 0;
    }
    const char *device_name = find_text(mesh, "name");
    const cJSON *role = find_item(mesh, "role");
    const cJSON *backhaul = find_item(mesh, "backhaul");
    if (device_name == nullptr || role == nullptr || backhaul == nullptr) {
        return fail(kIncomplete);
    }
    if (!has_length(device_name, 0, kLongestName)) {
        return fail(kNameLength);
    }
    // Before the next check: a refusal from here on leaves the name in the working copy, but commits nothing.
    store_set(MIB_MESH_DEVICE_NAME, device_name);
    if (!in_range(integer_value(role), kMeshOff, kMeshAgent) ||
        !in_range(integer_value(backhaul), kRadio5G, kRadio2G)) {
        return fail(kValueInvalid);
    }
    if (integer_value(role) == kMeshController && !prepare_backhaul_credentials()) {
        return kFailed;
    }
    set_on_every_interface({MIB_WLAN_MESH_ITEM_1250, MIB_WLAN_MESH_ITEM_1251}, 1);
    change_role(integer_value(role), store_get(MIB_MESH_ROLE), integer_value(backhaul));
    save_config_flag = 1;
    app_reinit_flag = 1;
    return 0;
}
