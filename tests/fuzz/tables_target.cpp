// SPDX-License-Identifier: MIT
// Changes of the tables, against a model of each: it says what the reply, every entry and every other item of the store
// must be, whether all is committed, and what the daemon is told. A request that names more than one object is not
// judged so, and the next one starts from what it left.
#include <arpa/inet.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "platform/system_queue.h"
#include "platform/tables.h"
#include "store/items.h"
#include "tests/fuzz/target.h"

const Taste kTaste = {
    {"body",     "body",   "body",      "item"},
    { "Sec", "wifiAcc", "netAcc", "urlfilter",  "qos"}
};

namespace {

using Records = std::vector<std::string>;

struct Verdict {
    int code;
    std::string message;
};

// What the store is to hold after a request, whatever the reply, and what it is to bring about.
struct Expected {
    std::map<Place, Records> tables;
    std::map<Place, std::string> values;
    bool is_committed = false;
    int told = 0;  // the type of the record for the daemon; 0: none

    int number(int id) {
        const std::string &value = values[{id, -1, -1}];
        int32_t number = 0;
        memcpy(&number, value.data(), std::min(value.size(), sizeof number));
        return number;
    }
    void put(int id, int number, int radio = -1, int index = -1) {
        const int32_t value = number;
        values[{id, radio, index}] =
            std::string(reinterpret_cast<const char *>(&value), std::min(sizeof value, find_item_kind(id)->width));
    }
};

constexpr char kMacFormat[] = "ERROR:MAC format error!";
constexpr char kListFormat[] = "ERROR:delMaclist format error!";

const Verdict kDone = {0, ""};

Verdict refuse(const char *message) {
    return {-1, message};
}

// ---- what a request holds, in the words of its description

bool is_missing(const cJSON *item) {
    return item == nullptr || cJSON_IsNull(item) != 0;
}

const char *text(const cJSON *item) {
    return cJSON_IsString(item) != 0 ? item->valuestring : nullptr;
}

std::vector<const cJSON *> elements(const cJSON *list) {
    std::vector<const cJSON *> found;
    for (const cJSON *each = cJSON_IsArray(list) != 0 ? list->child : nullptr; each != nullptr; each = each->next) {
        found.push_back(each);
    }
    return found;
}

const cJSON *element(const cJSON *list, size_t index) {
    const std::vector<const cJSON *> all = elements(list);
    return index < all.size() ? all[index] : nullptr;
}

// The six bytes of an address; empty: it is none.
std::string mac_of(const char *given) {
    const std::string digits = given != nullptr ? given : "";
    if (digits.size() != 12 || digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
        return "";
    }
    std::string bytes;
    for (size_t i = 0; i < 12; i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

char week_of(const char *given) {
    int mask = 0;
    for (const char *day = given; given != nullptr && *day != '\0'; ++day) {
        if (*day != '0' && *day != '1') {
            return 0;
        }
        mask = mask * 2 + (*day - '0');
    }
    return static_cast<char>(mask);
}

std::string padded(const std::string &given, size_t width) {
    std::string field = given;
    field.resize(width);
    return field;
}

// ---- what the store does

bool add(Records &table, const std::string &record, size_t limit) {
    if (table.size() < limit) {
        table.push_back(record);
        return true;
    }
    return false;
}

// Deletes the first record that equals this one in its first `match` bytes.
bool remove(Records &table, const std::string &record, size_t match) {
    const auto found = std::find_if(table.begin(), table.end(), [&](const std::string &each) {
        return each.compare(0, match, record, 0, match) == 0;
    });
    if (found == table.end()) {
        return false;
    }
    table.erase(found);
    return true;
}

// ---- lists of addresses: the MAC filter and the radios' access lists

Verdict delete_macs(Records &table, const cJSON *list, size_t match) {
    for (const cJSON *each : elements(list)) {
        if (is_missing(each)) {
            return refuse(kListFormat);
        }
        const std::string mac = mac_of(text(each));
        if (mac.empty()) {
            return refuse(kMacFormat);
        }
        for (const std::string &record : table) {
            if (record.compare(0, 6, mac) == 0) {
                const std::string found = record;
                remove(table, found, match);
                break;
            }
        }
    }
    return kDone;
}

Verdict add_macs(Records &table, const cJSON *list, size_t count, size_t match, bool schedules) {
    for (const cJSON *device : elements(list)) {
        if (is_missing(element(device, 0))) {
            continue;
        }
        const std::string mac = mac_of(text(element(device, 0)));
        if (mac.empty()) {
            return refuse(kMacFormat);
        }
        const char *comment = text(element(device, 1));
        if (comment != nullptr && strlen(comment) > 20) {
            return refuse("ERROR: comment length too long");
        }
        std::string record = mac + padded(comment != nullptr ? comment : "", 21);
        if (schedules) {
            const char *time = text(element(device, 2));
            const char *week = text(element(device, 3));
            if (time != nullptr && strlen(time) > 9) {
                return refuse("ERROR: TIME length too long");
            }
            if (week != nullptr && strlen(week) != 7) {
                return refuse("ERROR: week format error");
            }
            record += padded(time != nullptr ? time : "", 10) + week_of(week);
        }
        for (size_t i = 0; i < std::min(count, table.size()); ++i) {
            if (table[i].compare(0, 6, mac) == 0) {
                return refuse("Error:mac exist");
            }
        }
        remove(table, record, match);
        if (!add(table, record, 20)) {
            return refuse("Error:add_table_entry_error");
        }
    }
    return kDone;
}

Verdict change_mac_filter(const cJSON *sec, Records &table) {
    const Verdict deleted = delete_macs(table, cJSON_GetObjectItem(sec, "delMaclist"), sizeof(MacFilterEntry));
    const cJSON *list = cJSON_GetObjectItem(sec, "addMaclist");
    if (deleted.code != 0 || list == nullptr) {
        return deleted;
    }
    const std::vector<const cJSON *> added = elements(list);
    if (added.size() + table.size() > 20) {
        return refuse("Error:mac item number >20");
    }
    for (size_t i = 0; i < added.size(); ++i) {
        const cJSON *address = element(added[i], 0);
        if (is_missing(address)) {
            continue;
        }
        if (text(address) == nullptr || strlen(text(address)) != 12) {
            return refuse(kMacFormat);
        }
        for (size_t later = i + 1; later < added.size(); ++later) {
            const char *other = text(element(added[later], 0));
            if (other != nullptr && strcmp(other, text(address)) == 0) {
                return refuse("ERROR:MAC is repeated!");
            }
        }
    }
    return add_macs(table, list, table.size(), sizeof(MacFilterEntry), true);
}

struct Flood {
    const char *key;
    int bit;
    int threshold;
};
constexpr Flood kFloods[] = {
    {"tcpsynflood", 1, MIB_SYN_FLOOD_THRESHOLD.id },
    {"tcpfinflood", 2, MIB_FIN_FLOOD_THRESHOLD.id },
    {"udpflood",    3, MIB_UDP_FLOOD_THRESHOLD.id },
    {"icmpflood",   4, MIB_ICMP_FLOOD_THRESHOLD.id},
};

// Switched on without a word about them, the firewall has all its protections.
void switch_firewall(const cJSON *sec, bool on, Expected &after) {
    int flags = after.number(MIB_FIREWALL_FLAGS.id) & ~1;
    for (const Flood &flood : kFloods) {
        const cJSON *wanted = cJSON_GetObjectItem(sec, flood.key);
        const bool protects = wanted == nullptr || wanted->valueint == 1;
        if (on) {
            flags = protects ? flags | 1 << flood.bit : flags & ~(1 << flood.bit);
        }
        if (on && protects) {
            after.put(flood.threshold, 1500);
        }
    }
    after.put(MIB_FIREWALL_FLAGS.id, on ? flags | 1 : flags);
    after.is_committed = true;
}

Verdict model_sec(const cJSON *sec, Records &table, Expected &after) {
    const cJSON *firewall = cJSON_GetObjectItem(sec, "firewall");
    if (firewall != nullptr && firewall->valueint != 0 && firewall->valueint != 1) {
        return refuse("ERROR: firewall value is invalied");
    }
    if (firewall != nullptr) {
        switch_firewall(sec, firewall->valueint == 1, after);
    }
    const cJSON *filtering = cJSON_GetObjectItem(sec, "macFiltering");
    if (filtering == nullptr) {
        after.told = firewall != nullptr ? MSG_CALL_SYSCONF : 0;
        return kDone;
    }
    const Verdict listed = change_mac_filter(sec, table);
    if (listed.code == 0) {
        after.put(MIB_MACFILTER_ENABLED.id, filtering->valueint != 0 ? 1 : 0);
        after.is_committed = true;
        after.told = MSG_CALL_SYSCONF;
    }
    return listed;
}

Verdict model_wifi_acc(const cJSON *acc, Records &first, Records &second, Expected &after) {
    const cJSON *mode = cJSON_GetObjectItem(acc, "mode");
    if (mode == nullptr) {
        return refuse("ERROR: Not find enable info\n");
    }
    for (const int radio : {0, 1}) {
        after.put(MIB_WLAN_ACL_MODE.id, mode->valueint == 1 || mode->valueint == 2 ? mode->valueint : 0, radio, 0);
    }
    const cJSON *list = cJSON_GetObjectItem(acc, "addMaclist");
    const size_t count = second.size();
    if (elements(list).size() + (list != nullptr ? count : 0) > 20) {
        return refuse("Error:mac item number is >20");
    }
    for (Records *table : {&first, &second}) {
        const Verdict added = add_macs(*table, list, count, 6, false);
        if (added.code != 0) {
            return added;
        }
    }
    for (Records *table : {&first, &second}) {
        const Verdict deleted = delete_macs(*table, cJSON_GetObjectItem(acc, "delMaclist"), 6);
        if (deleted.code != 0) {
            return deleted;
        }
    }
    after.is_committed = true;
    after.told = MSG_APP_REINIT;
    return kDone;
}

// ---- access schedules

std::string upper(std::string letters) {
    for (char &each : letters) {
        each = each >= 'a' && each <= 'z' ? static_cast<char>(each - 'a' + 'A') : each;
    }
    return letters;
}

bool is_of(const std::string &record, const std::string &mac) {
    return upper(record.substr(69, 12).c_str()) == mac;
}

std::string compact(const std::string &clock) {
    return clock.substr(0, 2) + clock.substr(3, 2) + clock.substr(6, 2);
}

// Puts what a device's element says into its record, and the record into the table.
Verdict put_device(Records &table, const cJSON *device, const std::string &mac, std::string record) {
    record.replace(69, 13, mac + '\0');
    if (const cJSON *control = cJSON_GetObjectItem(device, "TimeControl")) {
        const char *start = text_of(device, "stime");
        const char *end = text_of(device, "etime");
        const char *week = text_of(device, "week");
        const char *name = text_of(device, "name");
        if (control->valueint != 0 && (start == nullptr || end == nullptr || week == nullptr || name == nullptr)) {
            return refuse("ERROR: not find schNetAcc.time or schNetAcc.week item");
        }
        if (start != nullptr && end != nullptr) {
            if (strlen(start) != 8 || strlen(end) != 8) {
                return refuse("ERROR: time string lenght wrong");
            }
            record.replace(4, 14, compact(start) + "," + compact(end) + '\0');
        }
        if (week != nullptr) {
            if (strlen(week) != 7) {
                return refuse("ERROR: week format error");
            }
            record[18] = week_of(week);
        }
        if (name != nullptr) {
            if (*name == '\0' || strlen(name) > 49) {
                return refuse("ERROR: name format error");
            }
            record.replace(19, 50, padded(name, 50));
        }
        const int32_t number = control->valueint;
        record.replace(0, 4, std::string(reinterpret_cast<const char *>(&number), 4));
    }
    add(table, record, 32);
    return kDone;
}

Verdict add_schedules(Records &table, const cJSON *list) {
    size_t count = table.size();
    for (const cJSON *device : elements(list)) {
        const cJSON *address = cJSON_GetObjectItem(device, "mac");
        if (is_missing(address)) {
            continue;
        }
        if (text(address) == nullptr || strlen(text(address)) != 12) {
            return refuse(kMacFormat);
        }
        const std::string mac = upper(text(address));
        bool known = false;
        for (size_t i = 0; i < count; ++i) {  // numbers of entries, whatever moves while they are gone through
            if (i >= table.size() || !is_of(table[i], mac)) {
                continue;
            }
            known = true;
            const std::string record = table[i];
            remove(table, record, record.size());
            if (cJSON_GetObjectItem(device, "TimeControl") != nullptr) {
                const Verdict put = put_device(table, device, mac, record);
                if (put.code != 0) {
                    return put;
                }
            }
        }
        if (!known) {
            const Verdict put = put_device(table, device, mac, std::string(82, '\0'));
            if (put.code != 0) {
                return put;
            }
            count = table.size();
        }
    }
    return kDone;
}

Verdict delete_schedules(Records &table, const cJSON *list) {
    for (const cJSON *device : elements(list)) {
        if (is_missing(device)) {
            return refuse(kListFormat);
        }
        const cJSON *address = cJSON_GetObjectItem(device, "mac");
        if (is_missing(address)) {
            continue;
        }
        if (text(address) == nullptr || strlen(text(address)) != 12) {
            return refuse(kMacFormat);
        }
        const std::string mac = upper(text(address));
        const size_t count = table.size();
        bool found = false;
        for (size_t i = 0; i < count; ++i) {
            if (i < table.size() && is_of(table[i], mac)) {
                const std::string record = table[i];
                remove(table, record, record.size());
                found = true;
            }
        }
        if (!found) {
            return refuse(kListFormat);
        }
    }
    return kDone;
}

Verdict model_net_acc(const cJSON *access, Records &table, Expected &after) {
    if (const cJSON *enable = cJSON_GetObjectItem(access, "enable")) {
        const bool on = (enable->valueint & 0xff) != 0;
        const Verdict added = on ? add_schedules(table, cJSON_GetObjectItem(access, "addlist")) : kDone;
        if (added.code != 0) {
            return added;
        }
        after.put(MIB_SCHNETACC_ENABLED.id, on ? 1 : 0);
    }
    const Verdict deleted = delete_schedules(table, cJSON_GetObjectItem(access, "dellist"));
    after.is_committed = deleted.code == 0;
    after.told = deleted.code == 0 ? MSG_CALL_SYSCONF : 0;
    return deleted;
}

// ---- keywords

// Keywords are never committed: they are in force until the router starts again, or until something else is committed.
Verdict model_url_filter(const cJSON *filter, Records &table, Expected &after) {
    const cJSON *enable = cJSON_GetObjectItem(filter, "enable");
    const cJSON *mode = cJSON_GetObjectItem(filter, "mode");
    if (enable == nullptr || mode == nullptr) {
        return refuse("");
    }
    if (enable->valueint != 1) {
        if (enable->valueint == 0) {
            after.put(MIB_URLFILTER_ENABLED.id, 0);
        }
        after.told = MSG_CALL_SYSCONF;
        return kDone;
    }
    after.put(MIB_URLFILTER_ENABLED.id, 1);
    after.put(MIB_URLFILTER_MODE.id, mode->valueint);
    const char list = static_cast<char>(mode->valueint);
    if (const char *added = text_of(filter, "addurl")) {
        const std::string record = padded(added, 31) + list;
        if (*added == '\0') {
            return kDone;
        }
        if (strlen(added) > 30) {
            return refuse("");
        }
        // What another program left behind a keyword's end says nothing.
        const bool is_there = std::any_of(table.begin(), table.end(), [&](const std::string &other) {
            return other.back() == list && strcmp(other.substr(0, 31).c_str(), added) == 0;
        });
        if (is_there) {
            return kDone;
        }
        if (!add(table, record, 32)) {
            return refuse("");
        }
    }
    if (const char *deleted = text_of(filter, "delurl")) {
        if (*deleted == '\0') {
            return kDone;
        }
        if (strlen(deleted) > 30 || !remove(table, padded(deleted, 31) + list, 32)) {
            return refuse("");
        }
    }
    const cJSON *all = cJSON_GetObjectItem(filter, "delallurl");
    if (all != nullptr && all->valueint == 1) {
        table.clear();
    }
    after.told = MSG_CALL_SYSCONF;
    return kDone;
}

// ---- bandwidth rules

uint32_t limit_of(const cJSON *rule, const char *key) {
    const cJSON *item = cJSON_GetObjectItem(rule, key);
    if (item == nullptr) {
        return 0;
    }
    if (cJSON_IsNumber(item) == 0) {
        return static_cast<uint32_t>(item->valueint);
    }
    return static_cast<uint32_t>(std::min(std::max(item->valuedouble, 0.0), 4294967295.0));
}

uint32_t order_of(const std::string &record, size_t at) {
    uint32_t order = 0;
    for (size_t i = 4; i > 0; --i) {
        order = order << 8 | static_cast<unsigned char>(record[at + i - 1]);
    }
    return order;
}

std::string bytes_of(uint32_t number) {
    return std::string(reinterpret_cast<const char *>(&number), sizeof number);
}

Verdict add_rule(Records &table, const cJSON *rule) {
    const char *ip = text_of(rule, "ip");
    if (ip == nullptr) {
        return refuse("ERROR: not find ip item");
    }
    if (cJSON_GetObjectItem(rule, "ulimit") == nullptr && cJSON_GetObjectItem(rule, "dlimit") == nullptr) {
        return refuse("ERROR: not find ulimit or dlimit item");
    }
    const std::string range = ip;
    const size_t dash = range.find('-');
    const size_t rest = range.size() - std::min(dash, range.size());
    if (dash == std::string::npos || dash < 7 || dash > 15 || rest < 7 || rest > 15) {
        return refuse("ERROR: add rule FAIL");
    }
    char start[64] = "";
    char end[64] = "";
    sscanf(range.c_str(), "%63[^-]-%63s", start, end);
    in_addr from = {};
    in_addr to = {};
    inet_aton(start, &from);
    inet_aton(end, &to);
    std::string record(512, '\0');
    record[16] = 1;
    record[23] = 6;
    record.replace(27, 16,
                   bytes_of(from.s_addr) + bytes_of(to.s_addr) + bytes_of(limit_of(rule, "ulimit")) +
                       bytes_of(limit_of(rule, "dlimit")));
    for (const size_t at : {171U, 172U, 179U, 180U, 181U}) {
        record[at] = '\xff';
    }
    if (table.size() >= 10) {
        return {1, "ERROR: the rule Numbers should < 10"};
    }
    const uint32_t low = order_of(record, 27);
    const uint32_t high = order_of(record, 31);
    for (const std::string &other : table) {
        const uint32_t its_low = order_of(other, 27);
        const uint32_t its_high = order_of(other, 31);
        if (!(low < its_low && high < its_low) && !(its_high < low && its_high < high)) {
            return {2, "ERROR: the ip is conflict"};
        }
    }
    table.push_back(record);
    return kDone;
}

Verdict delete_rule(Records &table, const cJSON *rule) {
    const cJSON *index = cJSON_GetObjectItem(rule, "index");
    if (index == nullptr) {
        return refuse("ERROR: not find index item");
    }
    const int number = index->valueint;
    if (number < 1 || number > 10 || static_cast<size_t>(number) > table.size()) {
        return refuse("ERROR: index value not validate");
    }
    const std::string record = table[static_cast<size_t>(number) - 1];
    remove(table, record, record.size());
    return kDone;
}

Verdict change_rules(const cJSON *rule, Records &table) {
    const cJSON *act = cJSON_GetObjectItem(rule, "Act");
    if (act == nullptr) {
        return kDone;
    }
    const std::string word = text(act) != nullptr ? text(act) : "";
    if (word == "add") {
        return add_rule(table, rule);
    }
    if (word == "del") {
        return delete_rule(table, rule);
    }
    if (word != "mod") {
        return refuse("ERROR: the Act value is invalied");
    }
    const Verdict deleted = delete_rule(table, rule);
    return deleted.code != 0 ? deleted : add_rule(table, rule);
}

Verdict model_qos(const cJSON *qos, Records &table, Expected &after) {
    const cJSON *enable = cJSON_GetObjectItem(qos, "enable");
    const cJSON *rule = cJSON_GetObjectItem(qos, "ipRuleMod");
    if (enable != nullptr) {
        after.put(MIB_QOS_ENABLED.id, enable->valueint == 1 ? 1 : 0);
    }
    const Verdict changed = change_rules(rule, table);
    const bool does_something = enable != nullptr || cJSON_GetObjectItem(rule, "Act") != nullptr;
    after.is_committed = changed.code == 0 && does_something;
    after.told = after.is_committed ? MSG_APP_SETQOS : 0;
    return changed;
}

// ---- the whole

// The one object that a request names; nullptr: none, or several.
const char *only_object(const cJSON *request) {
    const char *found = nullptr;
    for (const ObjectKeys &object : kObjects) {
        const bool named = strcmp(object.action, "set") == 0 && cJSON_GetObjectItem(request, object.name) != nullptr;
        if (named && found != nullptr) {
            return nullptr;
        }
        found = named ? object.name : found;
    }
    return found;
}

constexpr int kFilter = MIB_MACFILTER_TBL_NUM.count_id;
constexpr int kAccess = MIB_WLAN_ACL_NUM.count_id;
constexpr int kSchedules = MIB_SCHNETACC_TBL_NUM.count_id;
constexpr int kKeywords = MIB_URLFILTER_TBL_NUM.count_id;
constexpr int kRules = MIB_QOS_RULE_TBL_NUM.count_id;

Verdict predict(const std::string &name, const cJSON *object, Expected &after) {
    if (name == "Sec") {
        return model_sec(object, after.tables[{kFilter, -1, -1}], after);
    }
    if (name == "wifiAcc") {
        return model_wifi_acc(object, after.tables[{kAccess, 0, 0}], after.tables[{kAccess, 1, 0}], after);
    }
    if (name == "netAcc") {
        return model_net_acc(object, after.tables[{kSchedules, -1, -1}], after);
    }
    return name == "urlfilter" ? model_url_filter(object, after.tables[{kKeywords, -1, -1}], after)
                               : model_qos(object, after.tables[{kRules, -1, -1}], after);
}

bool has_model(const char *name) {
    for (const char *object : kTaste.objects) {
        if (name != nullptr && strcmp(name, object) == 0) {
            return true;
        }
    }
    return false;
}

// Whatever stands in one and not in the other is empty there, or zero.
void judge_store(const std::string &name, Expected &after) {
    for (const auto &[place, records] : router.tables) {
        after.tables[place];
    }
    for (const auto &[place, records] : after.tables) {
        if (router.tables[place] != records) {
            wrong("%s: the table %d has not the entries that it should have", name.c_str(), place.id);
        }
    }
    for (const auto &[place, value] : router.values) {
        after.values[place];
    }
    for (auto &[place, value] : after.values) {
        value.resize(find_item_kind(place.id)->width);
        if (router.value(place.id, place.radio, place.index) != value) {
            wrong("%s: item %d is not what it should be", name.c_str(), place.id);
        }
    }
}

void judge_deeds(const std::string &name, const Expected &after) {
    const size_t commits = after.is_committed ? 1 : 0;
    if (router.count(Event::kCommit) != commits || router.count(Event::kSave) != commits) {
        wrong("%s: %zu commits and %zu settings files", name.c_str(), router.count(Event::kCommit),
              router.count(Event::kSave));
    }
    if (router.count(Event::kQueue) != (after.told != 0 ? 1 : 0)) {
        wrong("%s: %zu records for the daemon", name.c_str(), router.count(Event::kQueue));
    }
    for (const Done &each : router.done) {
        long type = 0;
        SysMsgRecord record = {};
        if (each.event == Event::kQueue) {
            memcpy(&type, each.bytes.data(), sizeof type);
            memcpy(reinterpret_cast<char *>(&record) + sizeof record.msg_type, each.bytes.data() + sizeof type,
                   kSysMsgPayload);
            const bool restarts = type == MSG_CALL_SYSCONF;
            if (type != after.told ||
                strncmp(record.sysconfArgv, restarts ? "firewall" : "", sizeof record.sysconfArgv) != 0) {
                wrong("%s: the daemon is told %ld", name.c_str(), type);
            }
        }
    }
}

void judge(const std::string &name, const Outcome &outcome, const Verdict &verdict, Expected &after) {
    if (!outcome.reply || error_of(outcome.reply.get()) != verdict.code) {
        wrong("%s: error %d, but %d is right", name.c_str(), outcome.reply ? error_of(outcome.reply.get()) : 0,
              verdict.code);
    }
    const char *message = message_of(outcome.reply.get());
    if (verdict.code != 0 && (message == nullptr || verdict.message != message)) {
        wrong("%s: \"%s\", but \"%s\" is right", name.c_str(), message, verdict.message.c_str());
    }
    judge_store(name, after);
    judge_deeds(name, after);
}

bool is_table(const Section &section) {
    const ItemKind *kind = find_item_kind(Router::place_of(section.name).id);
    return kind != nullptr && kind->record > 0;
}

}  // namespace

void run_script(const Script &script) {
    for (const Section &section : script) {
        if (section.kind == "item" && is_table(section)) {
            apply(section);
            Records &table = router.tables[Router::place_of(section.name)];
            const size_t limit = find_item_kind(Router::place_of(section.name).id)->limit;
            table.resize(std::min(table.size(), limit));  // no store has more
        }
        if (section.kind != "body" || section.content.find('\0') != std::string::npos) {
            continue;
        }
        give_body(section.content);
        const Tree request = read_request();
        const char *action = text_of(request.get(), "action");
        const char *name = only_object(request.get());
        const bool judged = action != nullptr && strcmp(action, "set") == 0 && has_model(name) &&
                            text_of(request.get(), "ip") == nullptr;
        Expected after = {router.tables, router.values};
        const Verdict verdict = judged ? predict(name, cJSON_GetObjectItem(request.get(), name), after) : kDone;
        const Outcome outcome = ask();
        if (judged) {
            judge(name, outcome, verdict, after);
        }
    }
}
