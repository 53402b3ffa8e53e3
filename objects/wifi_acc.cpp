// SPDX-License-Identifier: MIT
// The object "wifiAcc": which devices may join the Wi-Fi. The lists of both radios are kept the same.

#include <cstring>

#include "base/json.h"
#include "base/mac_text.h"
#include "gateway/handler/objects.h"
#include "gateway/handler/request_state.h"
#include "objects/mac_list.h"
#include "store/items.h"
#include "store/store.h"
#include "store/table.h"
#include "store/wlan.h"

namespace {

constexpr char kGetCountFailed[] = "(get_entry_number FAIL)";
constexpr char kNoMode[] = "ERROR: Not find enable info\n";
constexpr char kAddCountFailed[] = "(wlactrl_get_entry_number)";
constexpr char kTooMany[] = "Error:mac item number is >%d";

// In the order in which they are written.
constexpr WlanInterface kRadios[] = {kWlan5G, kWlan2G};

// A device of an access list has nothing behind its comment.
int no_rest(const cJSON * /*device*/, AclEntry & /*entry*/) {
    return 0;
}

}  // namespace

int app_get_wifiAcc_handler(const char *name, cJSON * /*request*/, cJSON *reply) {
    cJSON *acc = cJSON_AddObjectToObject(reply, name);
    SetWlan_idx(kWlan5G);
    add_number(acc, "mode", store_get(MIB_WLAN_ACL_MODE));
    int32_t count;
    if (!table_count(MIB_WLAN_ACL_NUM, count)) {
        return fail(kGetCountFailed);
    }
    cJSON *list = cJSON_AddArrayToObject(acc, "maclist");
    for (int index = 1; index <= count; ++index) {
        AclEntry entry;
        if (!table_read(MIB_WLAN_ACL_NUM, index, entry)) {
            return kFailed;  // the reply keeps the entries before this one
        }
        entry.comment[sizeof entry.comment - 1] = '\0';
        char mac[kMacColonSize];
        print_mac_text(entry.mac, mac);
        const char *const device[] = {mac, entry.comment};
        add_element(list, cJSON_CreateStringArray(device, 2));
    }
    return 0;
}

int app_set_wifiAcc_handler(const char *name, cJSON *request, cJSON * /*reply*/) {
    const cJSON *acc = find_item(request, name);
    if (acc == nullptr) {
        return 0;
    }
    const cJSON *mode = find_item(acc, "mode");
    if (mode == nullptr) {
        return fail(kNoMode);
    }
    const bool filters = integer_value(mode) == 1 || integer_value(mode) == 2;
    for (const WlanInterface radio : kRadios) {
        SetWlan_idx(radio);
        store_set(MIB_WLAN_ACL_MODE, filters ? integer_value(mode) : 0);
    }
    // From here on a failure leaves what was written in the working copy, but commits nothing.
    const cJSON *added = find_item(acc, "addMaclist");
    if (added != nullptr) {
        // One count, that of the radio which the mode was written to last, serves both radios, whose lists are the
        // same. It is not read again behind an addition: an address that the request has twice is no error.
        int32_t count;
        if (!table_count(MIB_WLAN_ACL_NUM, count)) {
            return fail(kAddCountFailed);
        }
        if (count > kMostDevices - array_size(added)) {
            return fail(kTooMany, kMostDevices);
        }
        for (const WlanInterface radio : kRadios) {
            SetWlan_idx(radio);
            if (add_devices(MIB_WLAN_ACL_NUM, added, count, no_rest) != 0) {
                return kFailed;
            }
        }
    }
    const cJSON *removed = find_item(acc, "delMaclist");
    if (removed != nullptr) {
        for (const WlanInterface radio : kRadios) {
            SetWlan_idx(radio);
            if (delete_devices(MIB_WLAN_ACL_NUM, removed) != 0) {
                return kFailed;
            }
        }
    }
    save_config_flag = 1;
    app_reinit_flag = 1;
    return 0;
}
