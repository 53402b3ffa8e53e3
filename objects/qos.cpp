// SPDX-License-Identifier: MIT
#include "objects/qos.h"

#include <arpa/inet.h>

#include <cstdio>
#include <cstring>

#include "base/debug_log.h"
#include "base/ipv4.h"
#include "base/json.h"
#include "base/range.h"
#include "base/text.h"
#include "gateway/handler/message.h"
#include "gateway/handler/objects.h"
#include "gateway/handler/request_state.h"
#include "store/items.h"
#include "store/store.h"
#include "store/table.h"

namespace {

constexpr char kModule[] = "cgi_qos";

constexpr char kActInvalid[] = "ERROR: the Act value is invalied";
constexpr char kNoIp[] = "ERROR: not find ip item";
constexpr char kNoLimit[] = "ERROR: not find ulimit or dlimit item";
constexpr char kTooMany[] = "ERROR: the rule Numbers should < %d";
constexpr char kIpConflict[] = "ERROR: the ip is conflict";
constexpr char kAddFailed[] = "ERROR: add rule FAIL";
constexpr char kNoIndex[] = "ERROR: not find index item";
constexpr char kIndexInvalid[] = "ERROR: index value not validate";
constexpr char kDeleteFailed[] = "ERROR: del rule FAIL";
constexpr char kNotSent[] = "ERROR: send MSG_APP_SETQOS fail";

// Bounds of the length of the start address, and of the "-" with the end address. The end therefore may have one
// character less: 255.255.255.255 is a start, but no end. Apps know it so.
constexpr size_t kShortestPart = 7;
constexpr size_t kLongestPart = 15;

constexpr uint8_t kHiddenFlag = 1 << 4;
constexpr uint8_t kNewRuleFlags = 6;
constexpr uint8_t kUnset = 255;

// The connection type as a word that is zero before, for the store keeps it in a byte or in a word. Whether it is 0 can
// be told all the same, whichever end the byte is at.
constexpr Int32Item kWanTypeWord{MIB_WAN_DHCP.id};

// The number by which addresses are compared: the last octet counts most. In one /24 network this is the common order,
// across networks it is not. The octets are taken one by one, so that every machine orders them alike.
uint32_t order_of(in_addr address) {
    uint8_t octets[4];
    memcpy(octets, &address, sizeof octets);
    return static_cast<uint32_t>(octets[3]) << 24 | static_cast<uint32_t>(octets[2]) << 16 |
           static_cast<uint32_t>(octets[1]) << 8 | octets[0];
}

// Whether a rule can be shown to the app, which knows nothing of the fields looked at here.
bool is_listed(const QosRuleEntry &rule, bool wan_is_static, bool has_vlans) {
    constexpr uint8_t kNoMac[sizeof rule.second_mac] = {};
    if (!wan_is_static && memcmp(rule.second_mac, kNoMac, sizeof kNoMac) != 0) {
        return false;
    }
    if ((rule.flags & kHiddenFlag) != 0) {
        return false;
    }
    return has_vlans || (rule.vlan_172 == kUnset && rule.vlan_181 == kUnset);
}

QosRuleView view_of(const QosRuleEntry &rule, int index) {
    QosRuleView view = {};
    join(view.range, {Dotted(rule.start).c_str(), "-", Dotted(rule.end).c_str()});
    view.upload_limit = rule.upload_limit;
    view.download_limit = rule.download_limit;
    view.index = index;
    return view;
}

QosRuleEntry new_rule(const AddressRange &range, const QosRuleRequest &request) {
    QosRuleEntry rule = {};
    rule.enabled = 1;
    rule.flags = kNewRuleFlags;
    rule.start = range.start;
    rule.end = range.end;
    rule.upload_limit = request.upload_limit;
    rule.download_limit = request.download_limit;
    rule.vlan_171 = kUnset;
    rule.vlan_172 = kUnset;
    rule.priority = kUnset;
    rule.vlan_180 = kUnset;
    rule.vlan_181 = kUnset;
    return rule;
}

// The limit under `key`, 0 without one.
uint32_t limit_under(const cJSON *rule, const char *key) {
    const cJSON *item = find_item(rule, key);
    return item != nullptr ? unsigned_value(item) : 0;
}

QosResult delete_rule(int index) {
    int32_t count;
    if (!table_count(MIB_QOS_RULE_TBL_NUM, count)) {
        return kQosUnreadable;
    }
    if (index > count) {
        return kQosNoSuchRule;
    }
    QosRuleEntry rule;
    if (!table_read(MIB_QOS_RULE_TBL_NUM, index, rule)) {
        return kQosUnreadable;
    }
    return table_remove(MIB_QOS_RULE_TBL_NUM, rule) ? kQosDone : kQosRefused;
}

int delete_action(const cJSON *rule) {
    const cJSON *index = find_item(rule, "index");
    if (index == nullptr) {
        return fail(kNoIndex);
    }
    if (!in_range(integer_value(index), 1, kMostRules)) {
        return fail(kIndexInvalid);
    }
    const QosResult result = delete_rule(integer_value(index));
    if (result == kQosDone) {
        return 0;
    }
    return fail("%s", result == kQosNoSuchRule ? kIndexInvalid : kDeleteFailed);
}

// A modification is a deletion and an addition: when the addition fails, the old rule is gone.
int modify_action(const cJSON *rule) {
    const int result = delete_action(rule);
    return result == 0 ? qosAddAction(rule) : result;
}

struct RuleAction {
    const char *name;
    int (*run)(const cJSON *rule);
};
constexpr RuleAction kRuleActions[] = {
    {"add", qosAddAction },
    {"del", delete_action},
    {"mod", modify_action},
};

// Does with a rule what `act` says; nullptr is no action that there is.
int change_rule(const cJSON *rule, const char *act) {
    for (const RuleAction &action : kRuleActions) {
        if (act != nullptr && strcmp(act, action.name) == 0) {
            return action.run(rule);
        }
    }
    return fail(kActInvalid);
}

}  // namespace

bool parse_range(const char *text, AddressRange &range) {
    const char *dash = strchr(text, '-');
    if (dash == nullptr || !in_range(static_cast<size_t>(dash - text), kShortestPart, kLongestPart) ||
        !has_length(dash, kShortestPart, kLongestPart)) {
        return false;
    }
    char start[kLongestPart + 1] = {};
    char end[kLongestPart + 1] = {};
    sscanf(text, "%15[^-]-%15s", start, end);
    range = {};
    parse_ipv4(start, range.start);
    parse_ipv4(end, range.end);
    return true;
}

bool ranges_conflict(const AddressRange &wanted, const AddressRange &existing) {
    const uint32_t start = order_of(wanted.start);
    const uint32_t end = order_of(wanted.end);
    const uint32_t existing_start = order_of(existing.start);
    const uint32_t existing_end = order_of(existing.end);
    const bool is_below = start < existing_start && end < existing_start;
    const bool is_above = existing_end < start && existing_end < end;
    return !is_below && !is_above;
}

int ipQosList(QosRuleView (&rows)[kMostRules]) {
    int32_t count;
    if (!table_count(MIB_QOS_RULE_TBL_NUM, count)) {
        DebugLog("Get table entry error!");
        return -1;
    }
    int32_t vlan = 0;
    if (!store_read(MIB_VLAN_ENABLED, vlan)) {
        fprintf(stderr, "Get MIB_VLAN_ENABLED error!\n");
        return -1;
    }
    int32_t wan_type = 0;
    if (!store_read(kWanTypeWord, wan_type)) {
        fprintf(stderr, "Get MIB_WAN_DHCP error!\n");
        return -1;
    }
    int length = 0;
    for (int index = 1; index <= count; ++index) {
        QosRuleEntry rule;
        if (!table_read(MIB_QOS_RULE_TBL_NUM, index, rule)) {
            return -1;
        }
        // Other programs may have made the table longer than the app's list.
        if (length < kMostRules && is_listed(rule, wan_type == 0, vlan != 0)) {
            rows[length++] = view_of(rule, index);
        }
    }
    return length;
}

QosResult ipQosAdd(const QosRuleRequest &request) {
    AddressRange range;
    if (!parse_range(request.range, range)) {
        return kQosBadRange;
    }
    int32_t count;
    if (!table_count(MIB_QOS_RULE_TBL_NUM, count)) {
        return kQosUnreadable;
    }
    if (count >= kMostRules) {
        return kQosFull;
    }
    QosRuleEntry existing;
    const bool conflicts = table_find(MIB_QOS_RULE_TBL_NUM, count, existing, [&range](const QosRuleEntry &rule) {
        return ranges_conflict(range, {rule.start, rule.end});
    });
    if (conflicts) {
        DebugLog("ip conflict");
        return kQosConflict;
    }
    return table_add(MIB_QOS_RULE_TBL_NUM, new_rule(range, request)) ? kQosDone : kQosRefused;
}

int qosAddAction(const cJSON *rule) {
    const char *ip = find_text(rule, "ip");
    if (ip == nullptr) {
        return fail(kNoIp);
    }
    if (find_item(rule, "ulimit") == nullptr && find_item(rule, "dlimit") == nullptr) {
        return fail(kNoLimit);
    }
    QosRuleRequest request = {};
    join(request.range, {ip});  // a text that is cut is too long for a range as well
    request.upload_limit = limit_under(rule, "ulimit");
    request.download_limit = limit_under(rule, "dlimit");
    switch (ipQosAdd(request)) {
        case kQosDone:
            return 0;
        case kQosFull:
            fail(kTooMany, kMostRules);
            return 1;
        case kQosConflict:
            fail(kIpConflict);
            return 2;
        default:
            return fail(kAddFailed);
    }
}

int app_get_qos_handler(const char *name, cJSON * /*request*/, cJSON *reply) {
    cJSON *qos = cJSON_AddObjectToObject(reply, name);
    add_number(qos, "enable", store_get(MIB_QOS_ENABLED));
    cJSON *list = cJSON_AddArrayToObject(qos, "ipRuleList");
    QosRuleView rows[kMostRules] = {};
    const int count = ipQosList(rows);  // a failure is an empty list
    for (int i = 0; i < count; ++i) {
        cJSON *rule = cJSON_CreateObject();
        add_item(rule, "ip", cJSON_CreateString(rows[i].range));
        add_number(rule, "ulimit", rows[i].upload_limit);
        add_number(rule, "dlimit", rows[i].download_limit);
        add_number(rule, "index", rows[i].index);
        add_element(list, rule);
    }
    return 0;
}

// Passes the numbers of qosAddAction() on.
int app_set_qos_handler(const char *name, cJSON *request, cJSON * /*reply*/) {
    const cJSON *qos = find_item(request, name);
    if (qos == nullptr) {
        return 0;
    }
    const cJSON *enable = find_item(qos, "enable");
    if (enable != nullptr) {
        store_set(MIB_QOS_ENABLED, integer_value(enable) == 1 ? 1 : 0);
    }
    const cJSON *rule = find_item(qos, "ipRuleMod");
    const bool changes_rule = find_item(rule, "Act") != nullptr;
    if (changes_rule) {
        const int result = change_rule(rule, find_text(rule, "Act"));
        if (result != 0) {
            return result;
        }
    }
    if (enable == nullptr && !changes_rule) {
        return 0;
    }
    // Here and not after the request: the daemon is to find the change committed.
    store_commit();
    return ask_daemon(MSG_APP_SETQOS, kNotSent);
}
