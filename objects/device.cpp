// SPDX-License-Identifier: MIT
// The objects "dutInfo" (who the device is), "timeZone", "opMode" and "app" (numbers that the app keeps on the router).

#include <cstdint>

#include "base/debug_log.h"
#include "base/json.h"
#include "base/range.h"
#include "base/text.h"
#include "gateway/handler/objects.h"
#include "gateway/handler/request_state.h"
#include "objects/identity.h"
#include "objects/time_zone.h"
#include "programs/programs.h"
#include "store/items.h"
#include "store/store.h"

namespace {

constexpr char kModule[] = "app";

constexpr size_t kLongestName = 30;

// The numbers that the app keeps here, in the order in which they are checked and stored.
struct AppNumber {
    const char *key;
    Int32Item item;
    const char *invalid;
};
constexpr AppNumber kAppNumbers[] = {
    {"port",     MIB_APP_PORT,     "ERROR: port value is invalied"    },
    {"ticktime", MIB_APP_TICKTIME, "ERROR: ticktime value is invalied"},
};

}  // namespace

int app_get_dutInfo_handler(const char * /*name*/, cJSON * /*request*/, cJSON *reply) {
    MacText mac;
    if (read_lan_mac(mac.text)) {
        DebugLog("==>MAC:%s\n\n", mac.text);
        strip_mac_colons(mac.text);
    }
    const Identity identity = read_identity();
    DebugLog("==>SN:%s\n\n", identity.serial.c_str());
    DebugLog("==>devname:%s\n\n", identity.name.c_str());
    DebugLog("==>BOARD_VER:%d\n\n", identity.board_version);
    add_identity(reply, mac, identity, "");  // the app expects the key, but only "scan" knows the date
    return 0;
}

int app_set_dutInfo_handler(const char *name, cJSON *request, cJSON * /*reply*/) {
    const cJSON *info = find_item(request, name);
    if (info == nullptr) {
        return 0;
    }
    const char *device_name = find_text(info, "name");
    if (device_name != nullptr) {
        DebugLog("dutInfo_name=%s\n\n", device_name);
        if (!has_length(device_name, 0, kLongestName)) {
            DebugLog("ERROR: name length is too long\n");
            return kFailed;
        }
        store_set(MIB_DUT_NAME, device_name);
    }
    const cJSON *init = find_item(info, "init");
    if (init != nullptr) {
        DebugLog("dutInfo_init=%d\n\n", integer_value(init));
        store_set<uint8_t>(MIB_DUT_INIT, integer_value(init) != 0 ? 1 : 0);
    }
    save_config_flag = 1;
    return 0;
}

int app_get_timeZone_handler(const char *name, cJSON * /*request*/, cJSON *reply) {
    cJSON *time_zone = cJSON_AddObjectToObject(reply, name);
    cJSON_AddStringToObject(time_zone, "timeZoneIndex", store_get(MIB_TIME_ZONE_INDEX).c_str());
    return 0;
}

int app_set_timeZone_handler(const char *name, cJSON *request, cJSON * /*reply*/) {
    const cJSON *time_zone = find_item(request, name);
    if (time_zone == nullptr) {
        return 0;
    }
    const char *index = find_text(time_zone, "timeZoneIndex");
    if (index == nullptr) {
        return kFailed;
    }
    DebugLog("TimeZone index=%s\n\n", index);
    if (!is_time_zone_index(index)) {
        return fail(kTimeZoneLength);
    }
    store_set(MIB_TIME_ZONE_INDEX, index);
    save_config_flag = 1;
    app_reinit_flag = 1;
    return 0;
}

int app_get_opMode_handler(const char *name, cJSON * /*request*/, cJSON *reply) {
    char mode[5];  // a sign, three digits and the terminator
    join(mode, {Decimal(store_get(MIB_OP_MODE)).c_str()});
    cJSON *object = cJSON_AddObjectToObject(reply, name);
    cJSON_AddStringToObject(object, "opMode", mode);
    return 0;
}

int app_set_opMode_handler(const char *name, cJSON *request, cJSON * /*reply*/) {
    const cJSON *object = find_item(request, name);
    if (object == nullptr) {
        return 0;
    }
    const char *mode = find_text(object, "opMode");
    if (mode == nullptr) {
        return kFailed;
    }
    DebugLog("opMode=%s\n\n", mode);
    // No range check: which modes there are is the rest of the firmware's affair.
    store_set(MIB_OP_MODE, static_cast<int8_t>(decimal_value(mode)));
    save_config_flag = 1;
    app_reinit_flag = 1;
    return 0;
}

int app_get_app_handler(const char *name, cJSON * /*request*/, cJSON *reply) {
    cJSON *app = cJSON_AddObjectToObject(reply, name);
    for (const AppNumber &row : kAppNumbers) {
        add_number(app, row.key, store_get(row.item));
    }
    return 0;
}

int app_set_app_handler(const char *name, cJSON *request, cJSON * /*reply*/) {
    const cJSON *app = find_item(request, name);
    if (app == nullptr) {
        return 0;
    }
    bool given = false;
    for (const AppNumber &row : kAppNumbers) {
        const cJSON *item = find_item(app, row.key);
        if (item == nullptr) {
            continue;
        }
        given = true;
        const int value = integer_value(item);
        DebugLog("port:%d\n", value);  // both in the words of the port, by which who reads the log knows them
        if (!in_range(value, 0, UINT16_MAX)) {
            // The number before this one stays in the working copy, but is not committed.
            return fail("%s", row.invalid);
        }
        store_set(row.item, value);
    }
    if (given) {
        save_config_flag = 1;
    }
    return 0;
}
