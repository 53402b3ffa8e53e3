// SPDX-License-Identifier: MIT
// The object "urlfilter": keywords in addresses of web pages, a black and a white list of them.

#include <cstdint>
#include <cstring>

#include "base/debug_log.h"
#include "base/json.h"
#include "base/text.h"
#include "gateway/handler/objects.h"
#include "gateway/handler/request_state.h"
#include "objects/firewall_reload.h"
#include "store/items.h"
#include "store/store.h"
#include "store/table.h"

namespace {

constexpr char kModule[] = "app";

constexpr int kLongestKeyword = sizeof UrlFilterEntry::keyword - 1;

// The two lists of the one table: what an entry is marked with, and its name in the reply, in the reply's order.
constexpr const char *kLists[] = {"black", "white"};
constexpr int kListCount = 2;

bool is_listed(const UrlFilterEntry &wanted) {
    int32_t count;
    table_count(MIB_URLFILTER_TBL_NUM, count);
    UrlFilterEntry entry;
    return table_find(MIB_URLFILTER_TBL_NUM, count, entry, [&wanted](const UrlFilterEntry &candidate) {
        return candidate.list == wanted.list && strncmp(candidate.keyword, wanted.keyword, sizeof wanted.keyword) == 0;
    });
}

// An equal entry that the search could not read makes way.
bool add_keyword(const UrlFilterEntry &entry) {
    table_remove(MIB_URLFILTER_TBL_NUM, entry);
    return table_add(MIB_URLFILTER_TBL_NUM, entry);
}

bool remove_keyword(const UrlFilterEntry &entry) {
    return table_remove(MIB_URLFILTER_TBL_NUM, entry);
}

// What a request may do with a keyword, in the order in which it is done, and what is logged about it.
struct KeywordAction {
    const char *key;
    bool must_be_new;
    bool (*apply)(const UrlFilterEntry &entry);  // false: the store refused
    const char *begun;
    const char *empty;
    const char *refused;
};
constexpr KeywordAction kKeywordActions[] = {
    {"addurl", true,  add_keyword,    "addurl!", "No url keyword to set.!", "Add table entry error!"},
    {"delurl", false, remove_keyword, "delurl!", "No url keyword to del.!", "del table entry error!"},
};

}  // namespace

int app_get_urlfilter_handler(const char *name, cJSON * /*request*/, cJSON *reply) {
    cJSON *filter = cJSON_AddObjectToObject(reply, name);
    add_number(filter, "enable", store_get(MIB_URLFILTER_ENABLED));
    add_number(filter, "mode", store_get(MIB_URLFILTER_MODE));
    int32_t count;
    table_count(MIB_URLFILTER_TBL_NUM, count);
    cJSON *both = cJSON_AddObjectToObject(filter, "urllist");
    cJSON *lists[kListCount];
    int lengths[kListCount] = {};
    for (int i = 0; i < kListCount; ++i) {
        lists[i] = cJSON_AddObjectToObject(both, kLists[i]);
    }
    UrlFilterEntry entry;
    for (int index = 0; table_next(MIB_URLFILTER_TBL_NUM, count, index, entry);) {
        if (entry.list < kListCount) {
            char key[16];
            join(key, {"url", Decimal(++lengths[entry.list]).c_str()});
            cJSON_AddStringToObject(lists[entry.list], key, field_text(entry.keyword));
        }
    }
    return 0;
}

// Failures of this handler have no message, but for that of the reload. Nothing is committed: what it writes is in
// force until a reboot, or survives it with the next commit of whatever object.
int app_set_urlfilter_handler(const char *name, cJSON *request, cJSON * /*reply*/) {
    const cJSON *filter = find_item(request, name);
    if (filter == nullptr) {
        return 0;
    }
    const cJSON *enable = find_item(filter, "enable");
    const cJSON *mode = find_item(filter, "mode");
    if (enable == nullptr || mode == nullptr) {
        return kFailed;
    }
    DebugLog("enable = %d\n\n", integer_value(enable));
    DebugLog("mode = %d\n\n", integer_value(mode));
    const bool on = integer_value(enable) == 1;
    const bool off = integer_value(enable) == 0;
    if ((on || off) && !store_set(MIB_URLFILTER_ENABLED, on ? 1 : 0)) {
        DebugLog("Set enabled flag error!\n\n");
        return kFailed;
    }
    if (!on) {
        return reload_firewall();  // all other keys are of no account, and so is a switch that is neither
    }
    if (!store_set(MIB_URLFILTER_MODE, integer_value(mode))) {
        DebugLog("Set mode flag error!\n\n");
        return kFailed;
    }
    UrlFilterEntry entry = {};
    entry.list = static_cast<uint8_t>(integer_value(mode));
    for (const KeywordAction &action : kKeywordActions) {
        const char *keyword = find_text(filter, action.key);
        if (keyword == nullptr) {
            continue;
        }
        DebugLog("%s\n\n", action.begun);
        // A request without a keyword, or for one that is there, is done at once: later keys are not looked at, and the
        // firewall is not built anew.
        if (keyword[0] == '\0') {
            DebugLog("%s\n\n", action.empty);
            return 0;
        }
        memset(entry.keyword, 0, sizeof entry.keyword);
        if (!fit_text(keyword, entry.keyword, sizeof entry.keyword)) {
            DebugLog("url should <= %d \n\n", kLongestKeyword);
            return kFailed;
        }
        if (action.must_be_new && is_listed(entry)) {
            DebugLog("rules already exist!\n\n");
            return 0;
        }
        if (!action.apply(entry)) {
            DebugLog("%s\n\n", action.refused);
            return kFailed;
        }
    }
    const cJSON *all = find_item(filter, "delallurl");
    if (all != nullptr && integer_value(all) == 1) {
        DebugLog("delallurl!\n\n");
        memset(entry.keyword, 0, sizeof entry.keyword);
        if (!table_remove_all(MIB_URLFILTER_TBL_NUM, entry)) {
            DebugLog("delallurl error!\n\n");
            return kFailed;
        }
    }
    return reload_firewall();
}
