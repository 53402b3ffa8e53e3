#include "objects/device.h"

#include <cstring>

#include "base/debug_log.h"
#include "base/json.h"
#include "base/text.h"
#include "gateway/handler/request_state.h"
#include "objects/identity.h"
#include "objects/time_zone.h"
#include "store/items.h"
#include "store/store.h"

namespace {

constexpr char kModule[] = "app";

constexpr size_t kLongestName = 30;

constexpr char kPortInvalid[] = "ERROR: port value is invalied";
constexpr char kTicktimeInvalid[] = "ERROR: ticktime value is invalied";

// Whether the number fits 16 bits. Negative numbers do not: they are large when taken as unsigned.
bool is_u16(int value) {
    return static_cast<unsigned>(value) < 65536;
}

}  // namespace

int app_get_dutInfo_handler(const char * /*name*/, cJSON * /*request*/, cJSON *reply) {
    MacText mac;
    if (read_bridge_mac(mac)) {
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
        if (strlen(device_name) > kLongestName) {
            // On purpose only in the log: apps know this refusal as one without a message.
            DebugLog("ERROR: name length is too long\n");
            return -1;
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
        return -1;
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
        return -1;
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
    add_number(app, "port", store_get(MIB_APP_PORT));
    add_number(app, "ticktime", store_get(MIB_APP_TICKTIME));
    return 0;
}

int app_set_app_handler(const char *name, cJSON *request, cJSON * /*reply*/) {
    const cJSON *app = find_item(request, name);
    if (app == nullptr) {
        return 0;
    }
    const cJSON *port = find_item(app, "port");
    if (port != nullptr) {
        DebugLog("port:%d\n", integer_value(port));
        if (!is_u16(integer_value(port))) {
            return fail(kPortInvalid);
        }
        store_set(MIB_APP_PORT, integer_value(port));
    }
    // A failure from here on leaves the port in the working copy, but commits nothing.
    const cJSON *ticktime = find_item(app, "ticktime");
    if (ticktime != nullptr) {
        DebugLog("port:%d\n", integer_value(ticktime));  // the port's words: whoever reads the log knows both by them
        if (!is_u16(integer_value(ticktime))) {
            return fail(kTicktimeInvalid);
        }
        store_set(MIB_APP_TICKTIME, integer_value(ticktime));
    }
    if (port != nullptr || ticktime != nullptr) {
        save_config_flag = 1;
    }
    return 0;
}
