#include "objects/sec.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "base/debug_log.h"
#include "base/json.h"
#include "base/mac_text.h"
#include "gateway/handler/request_state.h"
#include "objects/firewall_reload.h"
#include "objects/schedule_text.h"
#include "store/items.h"
#include "store/store.h"
#include "store/table.h"

namespace {

constexpr char kModule[] = "app";

constexpr int kMostEntries = 20;
constexpr size_t kWeekLength = sizeof WeekText::text - 1;

constexpr char kFirewallInvalid[] = "ERROR: firewall value is invalied";
constexpr char kDeleteFormat[] = "ERROR:delMaclist format error!";
constexpr char kMacFormat[] = "ERROR:MAC format error!";
constexpr char kDeleteCountFailed[] = "ERROR:get_entry_number_error";
constexpr char kDeleteFailed[] = "ERROR:delete_table_entry_error";
constexpr char kAddCountFailed[] = "get_entry_number FAIL";
constexpr char kTooMany[] = "Error:mac item number >20";
constexpr char kRepeated[] = "ERROR:MAC is repeated!";
constexpr char kCommentLength[] = "ERROR: comment length too long";
constexpr char kTimeLength[] = "ERROR: TIME length too long";
constexpr char kWeekFormat[] = "ERROR: week format error";
constexpr char kExists[] = "Error:mac exist";
constexpr char kAddFailed[] = "Error:add_table_entry_error";

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

// An added device is an array of texts, of which all but the first may be missing.
enum DeviceElement { kMac, kComment, kTime, kWeek };

uint32_t stored_flags() {
    return static_cast<uint32_t>(store_get(MIB_FIREWALL_FLAGS));
}

// Reads the MAC filter. The number of entries, or -1 when the count or one of them can't be read. Entries beyond the
// filter's limit, which no setter makes, are left out.
int read_mac_filter(MacFilterEntry (&entries)[kMostEntries]) {
    int32_t count;
    if (!table_count(MIB_MACFILTER_TBL_NUM, count)) {
        fprintf(stderr, "Get table entry error!\n");
        return -1;
    }
    int length = 0;
    for (; length < count && length < kMostEntries; ++length) {
        if (!table_read(MIB_MACFILTER_TBL_NUM, length + 1, entries[length])) {
            return -1;
        }
    }
    return length;
}

// Reads the first of the filter's entries 1 to `count` with this address.
bool find_entry(const uint8_t (&mac)[kMacBytes], int32_t count, MacFilterEntry &entry) {
    return table_find(MIB_MACFILTER_TBL_NUM, count, entry,
                      [&mac](const MacFilterEntry &candidate) { return memcmp(candidate.mac, mac, sizeof mac) == 0; });
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

// Takes the addresses of `list` off the filter; one that is not there is no error. nullptr, or the message of the first
// that failed; those before it stay off.
const char *delete_devices(const cJSON *list) {
    for (const cJSON *address = array_first(list); address != nullptr; address = address->next) {
        const char *text = string_value(address);
        if (text == nullptr) {
            return kDeleteFormat;
        }
        uint8_t mac[kMacBytes];
        if (!parse_mac_text(text, mac)) {
            return kMacFormat;
        }
        int32_t count;
        if (!table_count(MIB_MACFILTER_TBL_NUM, count)) {
            return kDeleteCountFailed;
        }
        MacFilterEntry entry;
        if (find_entry(mac, count, entry) && !table_remove(MIB_MACFILTER_TBL_NUM, entry)) {
            return kDeleteFailed;
        }
    }
    return nullptr;
}

// Looks for an address that is in `list` twice, before anything of it is added. nullptr: there is none. Texts are
// compared, so the same address in upper and in lower case passes.
const char *check_repetition(const cJSON *list) {
    for (const cJSON *device = array_first(list); device != nullptr; device = device->next) {
        const char *mac = array_text(device, kMac);
        if (mac == nullptr) {
            continue;
        }
        if (strlen(mac) != kMacDigits) {
            return kMacFormat;
        }
        for (const cJSON *later = device->next; later != nullptr; later = later->next) {
            const char *other = array_text(later, kMac);
            if (other != nullptr && strcmp(mac, other) == 0) {
                return kRepeated;
            }
        }
    }
    return nullptr;
}

// Adds a device to the filter unless one of its entries 1 to `count` has the address. nullptr, or the message.
const char *add_device(const cJSON *device, const char *mac, int32_t count) {
    MacFilterEntry entry = {};
    if (!parse_mac_text(mac, entry.mac)) {
        return kMacFormat;
    }
    const char *comment = array_text(device, kComment);
    if (comment != nullptr && !fit_text(comment, entry.comment, sizeof entry.comment)) {
        return kCommentLength;
    }
    const char *time = array_text(device, kTime);
    if (time != nullptr && !fit_text(time, entry.time, sizeof entry.time)) {
        return kTimeLength;
    }
    const char *week = array_text(device, kWeek);
    if (week != nullptr && strlen(week) != kWeekLength) {
        return kWeekFormat;
    }
    entry.week = parse_week_mask(week);
    MacFilterEntry existing;
    if (find_entry(entry.mac, count, existing)) {
        return kExists;
    }
    // Should the very entry be there unseen, added by this request in other letters, it is not there twice.
    table_remove(MIB_MACFILTER_TBL_NUM, entry);
    return table_add(MIB_MACFILTER_TBL_NUM, entry) ? nullptr : kAddFailed;
}

// Adds the devices of `list`; elements without an address are passed over, but count towards the limit. nullptr, or the
// message of the first that failed; those before it stay in the filter.
const char *add_devices(const cJSON *list) {
    // Not read again after an addition: what this request adds is compared with what was there before it.
    int32_t count;
    if (!table_count(MIB_MACFILTER_TBL_NUM, count)) {
        return kAddCountFailed;
    }
    if (count > kMostEntries - array_size(list)) {
        return kTooMany;
    }
    const char *refusal = check_repetition(list);
    for (const cJSON *device = array_first(list); device != nullptr && refusal == nullptr; device = device->next) {
        const char *mac = array_text(device, kMac);
        if (mac != nullptr) {
            refusal = add_device(device, mac, count);
        }
    }
    return refusal;
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
    MacFilterEntry entries[kMostEntries];
    const int count = read_mac_filter(entries);
    add_number(sec, "macFiltering", filters);
    cJSON *list = cJSON_AddArrayToObject(sec, "maclist");
    for (int i = 0; i < count; ++i) {
        MacFilterEntry &entry = entries[i];
        char mac[kMacDigits + 1];
        print_mac_digits(entry.mac, mac);
        const WeekText week = print_week_mask(entry.week);
        const char *const device[] = {mac, field_text(entry.comment), field_text(entry.time), week.text};
        cJSON_AddItemToArray(list, cJSON_CreateStringArray(device, 4));
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
            return -1;
        }
    }
    const cJSON *filters = find_item(sec, "macFiltering");
    if (filters == nullptr) {
        return firewall != nullptr ? reload_firewall() : 0;
    }
    const char *refusal = delete_devices(find_item(sec, "delMaclist"));
    const cJSON *added = find_item(sec, "addMaclist");
    if (refusal == nullptr && added != nullptr) {
        refusal = add_devices(added);
    }
    if (refusal != nullptr) {
        if (refusal == kMacFormat || refusal == kDeleteFormat) {
            DebugLog("%s\n", refusal);
        }
        return fail("%s", refusal);
    }
    // Last, so that a refused list leaves the filter's switch alone, whatever of it was stored by then.
    store_set(MIB_MACFILTER_ENABLED, integer_value(filters) != 0 ? 1 : 0);
    save_config_flag = 1;
    return reload_firewall();
}
