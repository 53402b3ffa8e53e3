// SPDX-License-Identifier: MIT
// The object "netAcc": at which times which device may reach the network.

#include <cstdint>
#include <cstring>

#include "base/debug_log.h"
#include "base/json.h"
#include "base/mac_text.h"
#include "base/range.h"
#include "base/text.h"
#include "gateway/handler/objects.h"
#include "gateway/handler/request_state.h"
#include "objects/firewall_reload.h"
#include "objects/mac_list.h"
#include "objects/schedule_text.h"
#include "store/items.h"
#include "store/store.h"
#include "store/table.h"

namespace {

constexpr char kModule[] = "app";

constexpr size_t kCompactLength = sizeof CompactTime::text - 1;
constexpr size_t kTimeSpanLength = 2 * kCompactLength + 1;

constexpr char kCountFailed[] = "get_entry_number FAIL";
constexpr char kNoTimeOrWeek[] = "ERROR: not find schNetAcc.time or schNetAcc.week item";
constexpr char kTimeLength[] = "ERROR: time string lenght wrong";
constexpr char kWeekFormat[] = "ERROR: week format error";
constexpr char kNameFormat[] = "ERROR: name format error";

constexpr int kNotDeleted = -2;  // a failure without a message

// The address of a device as the table has it: 12 characters in upper case.
struct DeviceMac {
    char text[kMacDigits + 1];
};

// The first 12 characters of `mac`, or up to its end.
DeviceMac upper_case(const char *mac) {
    DeviceMac upper = {};
    for (size_t i = 0; i < kMacDigits && mac[i] != '\0'; ++i) {
        const char c = mac[i];
        upper.text[i] = c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c;
    }
    return upper;
}

// The address of a listed device; empty when it has none. 0, or kFailed with the message.
int take_mac(const cJSON *device, DeviceMac &mac) {
    mac = {};
    const cJSON *address = find_item(device, "mac");
    if (!is_there(address)) {
        return 0;
    }
    // The characters are not looked at: the table is matched by text, and what is no address matches no device.
    const char *text = address_text(address);
    if (text == nullptr) {
        return fail(kMacFormat);
    }
    mac = upper_case(text);
    return 0;
}

// Whether an entry is the device's. Other programs may have stored it in lower case.
bool is_of(const SchNetAccEntry &entry, const DeviceMac &mac) {
    return strcmp(upper_case(entry.SchNetAccMac).text, mac.text) == 0;
}

// The number of entries, or what it was known to be when it can't be read.
void read_count_again(int32_t &count) {
    int32_t now;
    if (table_count(MIB_SCHNETACC_TBL_NUM, now)) {
        count = now;
    }
}

// Puts the settings of an added device into its entry; those that it leaves out stay. They may be left out only while
// the time control is 0. 0, or -1 with the message.
int apply_settings(const cJSON *device, int time_control, SchNetAccEntry &entry) {
    const char *start = find_text(device, "stime");
    const char *end = find_text(device, "etime");
    const char *week = find_text(device, "week");
    const char *name = find_text(device, "name");
    if (time_control != 0 && (start == nullptr || end == nullptr || week == nullptr || name == nullptr)) {
        return fail(kNoTimeOrWeek);
    }
    if (start != nullptr && end != nullptr) {
        if (!has_length(start, kClockTimeLength) || !has_length(end, kClockTimeLength)) {
            return fail(kTimeLength);
        }
        join(entry.time_span, {compact_time(start).text, ",", compact_time(end).text});  // which fills it
    }
    if (week != nullptr) {
        if (!has_length(week, kWeekLength)) {
            return fail(kWeekFormat);
        }
        entry.week = parse_week_mask(week);
    }
    if (name != nullptr) {
        // Over zeros, so that nothing of a longer name remains behind it.
        memset(entry.name, 0, sizeof entry.name);
        if (name[0] == '\0' || !fit_text(name, entry.name, sizeof entry.name)) {
            return fail(kNameFormat);
        }
    }
    entry.time_control = time_control;
    return 0;
}

// Adds `entry`, as the device's and with the settings of `device`; without a time control these do not count. Whether
// the table takes it is not asked: a full table refuses without a message. 0, or -1 with the message.
int store_device(const cJSON *device, const DeviceMac &mac, SchNetAccEntry entry) {
    memcpy(entry.SchNetAccMac, mac.text, sizeof entry.SchNetAccMac);
    const cJSON *time_control = find_item(device, "TimeControl");
    if (time_control != nullptr && apply_settings(device, integer_value(time_control), entry) != 0) {
        return kFailed;
    }
    table_add(MIB_SCHNETACC_TBL_NUM, entry);
    return 0;
}

// Deletes all entries of a device. Their number, or kNotDeleted.
int delete_device(const DeviceMac &mac, int32_t count) {
    int deleted = 0;
    SchNetAccEntry entry;
    // The entry behind a deleted one takes its number and is passed over. That stays so: of a device's neighbouring
    // entries, which no setter makes, every second one remains.
    for (int index = 0; table_next(MIB_SCHNETACC_TBL_NUM, count, index, entry);) {
        if (!is_of(entry, mac)) {
            continue;
        }
        if (!table_remove(MIB_SCHNETACC_TBL_NUM, entry)) {
            return kNotDeleted;
        }
        ++deleted;
    }
    return deleted;
}

// Takes the devices of `list` off the table, where all of them must be. 0, -1 with the message, or kNotDeleted.
int delete_devices(const cJSON *list) {
    int32_t count;
    if (!table_count(MIB_SCHNETACC_TBL_NUM, count)) {
        return fail(kCountFailed);
    }
    for (const cJSON *device = array_first(list); device != nullptr; device = device->next) {
        if (!is_there(device)) {
            return fail(kListFormat);  // the MAC filter's text on purpose, here and below
        }
        DeviceMac mac;
        if (take_mac(device, mac) != 0) {
            return kFailed;
        }
        if (mac.text[0] == '\0') {
            continue;
        }
        const int deleted = delete_device(mac, count);
        if (deleted == kNotDeleted) {
            return kNotDeleted;
        }
        if (deleted == 0) {
            return fail(kListFormat);
        }
        read_count_again(count);
    }
    return 0;
}

}  // namespace

int app_get_netAcc_handler(const char *name, cJSON * /*request*/, cJSON *reply) {
    cJSON *access = cJSON_AddObjectToObject(reply, name);
    add_number(access, "enable", store_get(MIB_SCHNETACC_ENABLED));
    cJSON *list = cJSON_AddArrayToObject(access, "list");
    int32_t count;
    table_count(MIB_SCHNETACC_TBL_NUM, count);
    SchNetAccEntry entry;
    for (int index = 0; table_next(MIB_SCHNETACC_TBL_NUM, count, index, entry);) {
        const char *span = entry.time_span;
        const size_t length = strnlen(span, kTimeSpanLength);
        const char *start = length < kCompactLength ? nullptr : span;
        const char *end = length < kTimeSpanLength ? nullptr : span + kCompactLength + 1;
        cJSON *device = cJSON_CreateObject();
        add_number(device, "TimeControl", entry.time_control);
        add_item(device, "sTime", cJSON_CreateString(start != nullptr ? expand_time(start).text : kMidnight));
        add_item(device, "eTime", cJSON_CreateString(end != nullptr ? expand_time(end).text : kMidnight));
        add_item(device, "name", cJSON_CreateString(field_text(entry.name)));
        add_item(device, "mac", cJSON_CreateString(field_text(entry.SchNetAccMac)));
        add_item(device, "week", cJSON_CreateString(print_week_mask(entry.week).text));
        add_element(list, device);
    }
    return 0;
}

int app_set_netAcc_handler(const char *name, cJSON *request, cJSON * /*reply*/) {
    const cJSON *access = find_item(request, name);
    if (access == nullptr) {
        return 0;
    }
    const cJSON *enable = find_item(access, "enable");
    if (enable != nullptr) {
        // The switch is a byte on the router, so only the low byte counts: 256 is off.
        const uint8_t on = static_cast<uint8_t>(integer_value(enable)) != 0 ? 1 : 0;
        const cJSON *added = on == 1 ? find_item(access, "addlist") : nullptr;
        int32_t count = 0;
        if (added != nullptr && !table_count(MIB_SCHNETACC_TBL_NUM, count)) {
            return fail(kCountFailed);
        }
        for (const cJSON *device = array_first(added); device != nullptr; device = device->next) {
            DeviceMac mac;
            if (take_mac(device, mac) != 0) {
                return kFailed;
            }
            if (mac.text[0] == '\0') {
                continue;
            }
            bool known = false;
            SchNetAccEntry entry;
            // The count is not read again here. As an entry goes and comes back at the table's end, the one behind it
            // is passed over, and the new one is met again and replaced by its like. That stays so.
            for (int index = 0; table_next(MIB_SCHNETACC_TBL_NUM, count, index, entry);) {
                if (!is_of(entry, mac)) {
                    continue;
                }
                known = true;
                table_remove(MIB_SCHNETACC_TBL_NUM, entry);
                DebugLog("mac exist,need modify");
                // Without a time control it does not come back: so an app takes a device off the table.
                if (find_item(device, "TimeControl") != nullptr && store_device(device, mac, entry) != 0) {
                    return kFailed;
                }
            }
            if (!known) {
                if (store_device(device, mac, {}) != 0) {
                    return kFailed;
                }
                read_count_again(count);  // the devices behind this one are compared with it as well
            }
        }
        store_set(MIB_SCHNETACC_ENABLED, on);
    }
    const cJSON *removed = find_item(access, "dellist");
    const int result = removed != nullptr ? delete_devices(removed) : 0;
    if (result == kNotDeleted) {
        DebugLog("ERROR:delete_table_entry_error");
    }
    if (result != 0) {
        return kFailed;
    }
    save_config_flag = 1;
    return reload_firewall();
}
