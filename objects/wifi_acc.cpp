#include "objects/wifi_acc.h"

#include <cstring>

#include "base/json.h"
#include "base/mac_text.h"
#include "gateway/handler/request_state.h"
#include "store/items.h"
#include "store/store.h"
#include "store/table.h"
#include "store/wlan.h"

namespace {

constexpr int kMostEntries = 20;

constexpr char kGetCountFailed[] = "(get_entry_number FAIL)";
constexpr char kNoMode[] = "ERROR: Not find enable info\n";
constexpr char kAddCountFailed[] = "(wlactrl_get_entry_number)";
constexpr char kTooMany[] = "Error:mac item number is >%d";
constexpr char kMacFormat[] = "ERROR:MAC format error!";
constexpr char kCommentLength[] = "ERROR: comment length too long";
constexpr char kExists[] = "Error:mac exist";
constexpr char kAddFailed[] = "Error:add_table_entry_error";
constexpr char kRemoveFormat[] = "ERROR:delMaclist format error!";
constexpr char kRemoveCountFailed[] = "ERROR:get_entry_number_error";
constexpr char kRemoveFailed[] = "ERROR:delete_table_entry_error";

// In the order in which they are written.
constexpr const char *kRadios[] = {kWlan5G, kWlan2G};

// Reads the first of the selected radio's entries 1 to `count` that has this address.
bool find_entry(const uint8_t (&mac)[kMacBytes], int32_t count, AclEntry &entry) {
    return table_find(MIB_WLAN_ACL_NUM, count, entry,
                      [&mac](const AclEntry &found) { return memcmp(found.mac, mac, sizeof mac) == 0; });
}

// Adds the devices of `list`, pairs of an address and a comment, to the selected radio's list, of which entries 1 to
// `count` are looked at for an address that is there already. An element without an address is passed over. 0, or -1
// with the message.
int add_devices(const cJSON *list, int count) {
    for (const cJSON *device = array_first(list); device != nullptr; device = device->next) {
        const cJSON *address = array_first(device);
        const char *mac = string_value(address);
        if (mac == nullptr) {
            continue;
        }
        AclEntry entry = {};
        if (!parse_mac_text(mac, entry.mac)) {
            return fail(kMacFormat);
        }
        const char *comment = string_value(address->next);
        if (comment != nullptr && !fit_text(comment, entry.comment, sizeof entry.comment)) {
            return fail(kCommentLength);
        }
        AclEntry existing;
        if (find_entry(entry.mac, count, existing)) {
            return fail(kExists);
        }
        // An entry with this address that the search did not see, such as one of this very request, is replaced.
        table_remove(MIB_WLAN_ACL_NUM, entry);
        if (!table_add(MIB_WLAN_ACL_NUM, entry)) {
            return fail(kAddFailed);
        }
    }
    return 0;
}

// Takes the addresses of `list` off the selected radio's list; one that is not there is no error. 0, or -1 with the
// message.
int remove_devices(const cJSON *list) {
    for (const cJSON *address = array_first(list); address != nullptr; address = address->next) {
        const char *text = string_value(address);
        if (text == nullptr) {
            return fail(kRemoveFormat);
        }
        uint8_t mac[kMacBytes];
        if (!parse_mac_text(text, mac)) {
            return fail(kMacFormat);
        }
        int32_t count;
        if (!table_count(MIB_WLAN_ACL_NUM, count)) {
            return fail(kRemoveCountFailed);
        }
        AclEntry entry;
        if (find_entry(mac, count, entry) && !table_remove(MIB_WLAN_ACL_NUM, entry)) {
            return fail(kRemoveFailed);
        }
    }
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
            return -1;  // no message; the reply keeps the entries before this one
        }
        entry.comment[sizeof entry.comment - 1] = '\0';
        char mac[kMacColonSize];
        print_mac_text(entry.mac, mac);
        const char *const device[] = {mac, entry.comment};
        cJSON_AddItemToArray(list, cJSON_CreateStringArray(device, 2));
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
    for (const char *radio : kRadios) {
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
        if (count > kMostEntries - array_size(added)) {
            return fail(kTooMany, kMostEntries);
        }
        for (const char *radio : kRadios) {
            SetWlan_idx(radio);
            if (add_devices(added, count) != 0) {
                return -1;
            }
        }
    }
    const cJSON *removed = find_item(acc, "delMaclist");
    if (removed != nullptr) {
        for (const char *radio : kRadios) {
            SetWlan_idx(radio);
            if (remove_devices(removed) != 0) {
                return -1;
            }
        }
    }
    save_config_flag = 1;
    app_reinit_flag = 1;
    return 0;
}
