// SPDX-License-Identifier: MIT
// The object "Sec": the firewall, its protections against floods, and the MAC filter.

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "base/debug_log.h"
#include "base/json.h"
#include "base/mac_text.h"
#include "base/range.h"
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

constexpr char kFirewallInvalid[] = "ERROR: firewall value is invalied";
constexpr char kAddCountFailed[] = "get_entry_number FAIL";
constexpr char kTooMany[] = "Error:mac item number >%d";
constexpr char kRepeated[] = "ERROR:MAC is repeated!";
constexpr char kTimeLength[] = "ERROR: TIME length too long";
constexpr char kWeekFormat[] = "ERROR: week format error";

constexpr uint32_t kFirewallOn = 1;

// A protection of the firewall against floods, which works while the firewall itself is on.
struct FloodProtection {
    const char *key;
    uint32_t flag;
    Int32Item threshold;
};
constexpr FloodProtection kSynFlood = {"tcpsynflood", 1 << 1, MIB_SYN_FLOOD_THRESHOLD};
constexpr FloodProtection kFinFlood = {"tcpfinflood", 1 << 2, MIB_FIN_FLOOD_THRESHOLD};
constexpr FloodProtection kUdpFlood = {"udpflood", 1 << 3, MIB_UDP_FLOOD_THRESHOLD};
constexpr FloodProtection kIcmpFlood = {"icmpflood", 1 << 4, MIB_ICMP_FLOOD_THRESHOLD};
constexpr int32_t kFloodThreshold = 1500;

// Both orders are part of the protocol.
constexpr const FloodProtection *kAsReported[] = {&kIcmpFlood, &kSynFlood, &kFinFlood, &kUdpFlood};
constexpr const FloodProtection *kAsWritten[] = {&kSynFlood, &kFinFlood, &kUdpFlood, &kIcmpFlood};

// What an added device has behind its comment.
constexpr int kDeviceTime = kDeviceComment + 1;
constexpr int kDeviceWeek = kDeviceComment + 2;

uint32_t stored_flags() {
    return static_cast<uint32_t>(store_get(MIB_FIREWALL_FLAGS));
}

// Reads the MAC filter. The number of entries, or -1 when the count or one of them can't be read. Entries beyond the
// filter's limit, which no setter makes, are left out.
int read_mac_filter(MacFilterEntry (&entries)[kMostDevices]) {
    int32_t count;
    if (!table_count(MIB_MACFILTER_TBL_NUM, count)) {
        fprintf(stderr, "Get table entry error!\n");
        return -1;
    }
    int length = 0;
    for (; length < count && length < kMostDevices; ++length) {
        if (!table_read(MIB_MACFILTER_TBL_NUM, length + 1, entries[length])) {
            return -1;
        }
    }
    return length;
}

// Stores the switch of the firewall, and when it goes on those of its protections, which are on unless they are said
// not to be. When it goes off, they keep what they were for the next time. 0, or -1 with the message.
int set_firewall(const cJSON *sec, int wanted) {
    // Flags that are not the app's are written back as they were read.
    uint32_t flags = stored_flags();
    if (wanted == 1) {
        flags |= kFirewallOn;
        for (const FloodProtection *flood : kAsWritten) {
            const cJSON *item = find_item(sec, flood->key);
            if (item == nullptr || integer_value(item) == 1) {
                flags |= flood->flag;
                store_set(flood->threshold, kFloodThreshold);
            } else {
                flags &= ~flood->flag;
            }
        }
    } else if (wanted == 0) {
        flags &= ~kFirewallOn;
    } else {
        return fail(kFirewallInvalid);
    }
    store_set(MIB_FIREWALL_FLAGS, static_cast<int32_t>(flags));
    save_config_flag = 1;
    return 0;
}

// Refuses addresses that stand in `list` twice, before anything of it is added. Texts are compared, so the same address
// in upper and in lower case passes. 0, or -1 with the message.
int check_repetition(const cJSON *list) {
    for (const cJSON *device = array_first(list); device != nullptr; device = device->next) {
        const cJSON *address = array_item(device, kDeviceMac);
        if (!is_there(address)) {
            continue;
        }
        const char *mac = address_text(address);
        if (mac == nullptr) {
            return fail(kMacFormat);
        }
        for (const cJSON *later = device->next; later != nullptr; later = later->next) {
            const char *other = array_text(later, kDeviceMac);
            if (other != nullptr && strcmp(mac, other) == 0) {
                return fail(kRepeated);
            }
        }
    }
    return 0;
}

// What stands behind the comment of an added device. 0, or -1 with the message.
int take_schedule(const cJSON *device, MacFilterEntry &entry) {
    const char *time = array_text(device, kDeviceTime);
    if (time != nullptr && !fit_text(time, entry.time, sizeof entry.time)) {
        return fail(kTimeLength);
    }
    const char *week = array_text(device, kDeviceWeek);
    if (week != nullptr && !has_length(week, kWeekLength)) {
        return fail(kWeekFormat);
    }
    entry.week = parse_week_mask(week);
    return 0;
}

// Deletes and adds what the request lists. 0, or -1 with the message.
int change_mac_filter(const cJSON *sec) {
    if (delete_devices(MIB_MACFILTER_TBL_NUM, find_item(sec, "delMaclist")) != 0) {
        return kFailed;
    }
    const cJSON *added = find_item(sec, "addMaclist");
    if (added == nullptr) {
        return 0;
    }
    // Not read again after an addition: what this request adds is compared with what was there before it.
    int32_t count;
    if (!table_count(MIB_MACFILTER_TBL_NUM, count)) {
        return fail(kAddCountFailed);
    }
    // Elements without an address count, too.
    if (count > kMostDevices - array_size(added)) {
        return fail(kTooMany, kMostDevices);
    }
    if (check_repetition(added) != 0) {
        return kFailed;
    }
    return add_devices(MIB_MACFILTER_TBL_NUM, added, count, take_schedule);
}

}  // namespace

int app_get_sec_handler(const char *name, cJSON * /*request*/, cJSON *reply) {
    cJSON *sec = cJSON_AddObjectToObject(reply, name);
    const uint32_t flags = stored_flags();
    const bool on = (flags & kFirewallOn) != 0;
    add_number(sec, "firewall", on ? 1 : 0);
    for (const FloodProtection *flood : kAsReported) {
        add_number(sec, flood->key, on && (flags & flood->flag) != 0 ? 1 : 0);
    }
    const int32_t filters = store_get(MIB_MACFILTER_ENABLED);
    MacFilterEntry entries[kMostDevices];
    const int count = read_mac_filter(entries);
    add_number(sec, "macFiltering", filters);
    cJSON *list = cJSON_AddArrayToObject(sec, "maclist");
    for (int i = 0; i < count; ++i) {
        MacFilterEntry &entry = entries[i];
        char mac[kMacDigits + 1];
        print_mac_digits(entry.mac, mac);
        const WeekText week = print_week_mask(entry.week);
        const char *const device[] = {mac, field_text(entry.comment), field_text(entry.time), week.text};
        add_element(list, cJSON_CreateStringArray(device, 4));
    }
    return 0;
}

int app_set_sec_handler(const char *name, cJSON *request, cJSON * /*reply*/) {
    const cJSON *sec = find_item(request, name);
    if (sec == nullptr) {
        return 0;
    }
    const cJSON *firewall = find_item(sec, "firewall");
    if (firewall != nullptr) {
        DebugLog("firewall:%d", integer_value(firewall));
        if (set_firewall(sec, integer_value(firewall)) != 0) {
            return kFailed;
        }
    }
    const cJSON *filters = find_item(sec, "macFiltering");
    if (filters == nullptr) {
        return firewall != nullptr ? reload_firewall() : 0;
    }
    if (change_mac_filter(sec) != 0) {
        if (strcmp(err_msg, kMacFormat) == 0 || strcmp(err_msg, kListFormat) == 0) {
            DebugLog("%s\n", err_msg);
        }
        return kFailed;
    }
    // Last, so that a refused list leaves the filter's switch alone, whatever of it was stored by then.
    store_set(MIB_MACFILTER_ENABLED, integer_value(filters) != 0 ? 1 : 0);
    save_config_flag = 1;
    return reload_firewall();
}
