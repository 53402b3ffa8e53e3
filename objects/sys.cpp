// SPDX-License-Identifier: MIT
// The object "sys": the administrator's account, up-time, scheduled reboot, LEDs, time zone, and the commands reboot,
// restore and upgrade.

#include <sys/sysinfo.h>

#include <cstring>

#include "base/debug_log.h"
#include "base/input.h"
#include "base/json.h"
#include "base/range.h"
#include "base/secret.h"
#include "base/text.h"
#include "gateway/handler/message.h"
#include "gateway/handler/objects.h"
#include "gateway/handler/request_state.h"
#include "mesh/topology.h"
#include "objects/schedule_text.h"
#include "objects/time_zone.h"
#include "programs/programs.h"
#include "store/items.h"
#include "store/store.h"

namespace {

constexpr char kModule[] = "app";

constexpr size_t kLongestAccountText = 30;
constexpr size_t kUrlLimit = sizeof SysMsgRecord::firmware_url;
constexpr size_t kMd5Length = 32;

constexpr char kSystemCall[] = "ERROR: system function call error";
constexpr char kAccountLength[] = "ERROR: username or passwd length is too long";
constexpr char kNoScheduleEnable[] = "ERROR: not find schReboot.enable item";
constexpr char kScheduleEnableInvalid[] = "ERROR: schReboot.enable value error";
constexpr char kScheduleFormat[] = "ERROR: schReboot.time or schReboot.week format error";
constexpr char kNoSchedule[] = "ERROR: not find schReboot.time or schReboot.week item";
constexpr char kScheduleNotSent[] = "ERROR: send MSG_APP_SCHREBOOT fail";
constexpr char kRebootNotSent[] = "ERROR: send MSG_REBOOT fail";
constexpr char kResetNotSent[] = "ERROR: send MSG_RESET fail";
constexpr char kUpgradeNotSent[] = "ERROR: send MSG_RESET fail";  // the reset's on purpose: apps know no other
constexpr char kNoFirmware[] = "ERROR: not find fwpath_info or fwver_info or fwmd5_info";
constexpr char kUrlLength[] = "ERROR: the filePath lenght should <%d";
constexpr char kUrlScheme[] = "ERROR: the URL format erro or not support";
constexpr char kMd5Format[] = "ERROR: MD5 string lenght should be 32";

// What "led" may say. Another text changes nothing.
struct LedState {
    const char *text;
    bool on;
};
constexpr LedState kLedStates[] = {
    {"allon",  true },
    {"alloff", false},
};
constexpr const LedState &kLedsOn = kLedStates[0];
constexpr const LedState &kLedsOff = kLedStates[1];

// The commands that end a request when they were asked for and sent: whatever comes behind one would be lost with it.
struct DaemonCommand {
    const char *key;
    SysMsgType type;
    const char *not_sent;
};
constexpr DaemonCommand kDaemonCommands[] = {
    {"reboot",  MSG_REBOOT, kRebootNotSent},
    {"restore", MSG_RESET,  kResetNotSent },
};

constexpr const char *kUrlSchemes[] = {"http:", "https:", "ftp:"};

// nullptr: the text is none of them, or nullptr.
const LedState *find_led_state(const char *text) {
    for (const LedState &state : kLedStates) {
        if (text != nullptr && strcmp(text, state.text) == 0) {
            return &state;
        }
    }
    return nullptr;
}

// The number in a line "enable=NUMBER" of the LEDs' command; 0 in any other.
int find_led_switch(const char *line) {
    constexpr char kPrefix[] = "enable=";
    constexpr size_t kPrefixLength = sizeof kPrefix - 1;
    return strncmp(line, kPrefix, kPrefixLength) == 0 ? decimal_value(line + kPrefixLength) : 0;
}

// Whether the text is an address and nothing else: it comes out of a file and goes to a program.
bool is_address(const char *ip) {
    return ip[strspn(ip, "0123456789.")] == '\0';
}

int set_scheduled_reboot(const cJSON *schedule) {
    const cJSON *enable = find_item(schedule, "enable");
    if (enable == nullptr) {
        return fail(kNoScheduleEnable);
    }
    if (!in_range(integer_value(enable), 0, 1)) {
        return fail(kScheduleEnableInvalid);
    }
    const char *time = find_text(schedule, "time");
    const char *week = find_text(schedule, "week");
    CompactTime compact = {};
    uint8_t mask = 0;
    if (time != nullptr && week != nullptr) {
        if (!has_length(time, kClockTimeLength) || !has_length(week, kWeekLength)) {
            return fail(kScheduleFormat);
        }
        compact = compact_time(time);
        mask = parse_week_mask(week);
        store_set(MIB_SCHREBOOT_TIME, compact.text);
        store_set(MIB_SCHREBOOT_WEEK, mask);
    } else if (integer_value(enable) == 1) {
        return fail(kNoSchedule);
    }
    store_set(MIB_SCHREBOOT_ENABLED, static_cast<uint8_t>(integer_value(enable)));
    save_config_flag = 1;

    const int time_of_day = decimal_value(compact.text);
    SysMsgRecord record = {};
    record.msg_type = MSG_APP_SCHREBOOT;
    record.schedule_enable = static_cast<uint8_t>(integer_value(enable));
    record.schedule_hour = static_cast<uint8_t>(time_of_day / 10000);
    record.schedule_minute = static_cast<uint8_t>(time_of_day % 10000 / 100);
    record.schedule_second = static_cast<uint8_t>(time_of_day % 100);
    record.schedule_week = mask;
    return ask_daemon(record, kScheduleNotSent);
}

int set_time_zone(const char *index) {
    if (!is_time_zone_index(index)) {
        app_reinit_flag = 0;  // a new account that came with it waits for the next restart
        return fail(kTimeZoneLength);
    }
    store_set(MIB_TIME_ZONE_INDEX, index);
    save_config_flag = 1;
    app_reinit_flag = 1;
    return 0;
}

// Whether the command under `key` is asked for.
bool is_asked_for(const cJSON *sys, const char *key) {
    const cJSON *item = find_item(sys, key);
    return item != nullptr && integer_value(item) == 1;
}

bool has_supported_scheme(const char *url) {
    for (const char *scheme : kUrlSchemes) {
        if (strncmp(url, scheme, strlen(scheme)) == 0) {
            return true;
        }
    }
    return false;
}

int start_upgrade(const cJSON *sys) {
    const char *url = find_text(sys, "filePath");
    const char *md5 = find_text(sys, "md5");
    if (url == nullptr || find_text(sys, "newVersion") == nullptr || md5 == nullptr) {
        return fail(kNoFirmware);
    }
    if (!has_length(url, 0, kUrlLimit - 1)) {
        return fail(kUrlLength, static_cast<int>(kUrlLimit));
    }
    if (!has_supported_scheme(url)) {
        return fail(kUrlScheme);
    }
    if (!has_length(md5, kMd5Length)) {
        return fail(kMd5Format);
    }
    SysMsgRecord record = {};
    record.msg_type = MSG_APP_FWUPG;
    join(record.firmware_url, {url});
    join(record.firmware_md5, {md5});
    return ask_daemon(record, kUpgradeNotSent);
}

}  // namespace

int app_get_sys_handler(const char *name, cJSON * /*request*/, cJSON *reply) {
    struct sysinfo system_state;
    if (sysinfo(&system_state) != 0) {
        return fail(kSystemCall);
    }
    cJSON *sys = cJSON_AddObjectToObject(reply, name);
    cJSON_AddStringToObject(sys, "usr", store_get(MIB_USER_NAME).c_str());
    cJSON_AddStringToObject(sys, "pwd", store_get(MIB_USER_PASSWORD).c_str());
    add_number(sys, "upTime", static_cast<long long>(system_state.uptime));

    const auto stored_time = store_get(MIB_SCHREBOOT_TIME);
    const ClockTime time = expand_time(stored_time.c_str());
    cJSON *schedule = cJSON_AddObjectToObject(sys, "schReboot");
    add_number(schedule, "enable", store_get(MIB_SCHREBOOT_ENABLED));
    cJSON_AddStringToObject(schedule, "time", time.text[0] != '\0' ? time.text : kMidnight);
    cJSON_AddStringToObject(schedule, "week", print_week_mask(store_get(MIB_SCHREBOOT_WEEK)).text);

    int leds_on = 0;
    char line[128];
    if (read_led_state(line)) {
        leds_on = find_led_switch(line);
    }
    DebugLog("LED enStatus:%d\n\n", leds_on);
    cJSON_AddStringToObject(sys, "led", (leds_on == 1 ? kLedsOn : kLedsOff).text);
    cJSON_AddStringToObject(sys, "timezone", store_get(MIB_TIME_ZONE_INDEX).c_str());

    const int status = is_upgrading() ? 1 : 0;
    const int error = 0;  // the upgrade reports neither error nor progress
    const int down_percent = 0;
    DebugLog("status:%d,error=%d,down_precent:%d\n", status, error, down_percent);
    cJSON *upgrade = cJSON_AddObjectToObject(sys, "upgrade");
    add_number(upgrade, "status", status);
    add_number(upgrade, "error", error);
    add_number(upgrade, "down_precent", down_percent);
    return 0;
}

int app_set_sys_handler(const char *name, cJSON *request, cJSON * /*reply*/) {
    const cJSON *sys = find_item(request, name);
    if (sys == nullptr) {
        return 0;
    }
    const char *user = find_text(sys, "usr");
    const char *password = find_text(sys, "pwd");
    if (user != nullptr && password != nullptr) {
        DebugLog("usr=%s ,pwd=%s\n\n", user, secret(password));
        if (!has_length(user, 0, kLongestAccountText) || !has_length(password, 0, kLongestAccountText)) {
            return fail(kAccountLength);
        }
        store_set(MIB_USER_NAME, user);
        store_set(MIB_USER_PASSWORD, password);
        save_config_flag = 1;
        app_reinit_flag = 1;
    }
    const LedState *led = find_led_state(find_text(sys, "led"));
    if (led != nullptr) {
        switch_leds(led->on);
        AgentAddress agents[kMostAgents] = {};
        const int count = store_get(MIB_MESH_ROLE) == kMeshController ? getAgentIpList(agents) : 0;
        for (int i = 0; i < count; ++i) {
            DebugLog("adevs[%d]:ip=%s\n", i, agents[i].ip);
            if (is_address(agents[i].ip)) {
                switch_agent_leds(agents[i].ip, led->text);
            }
        }
    }
    const cJSON *schedule = find_item(sys, "schReboot");
    if (schedule != nullptr && set_scheduled_reboot(schedule) != 0) {
        return kFailed;
    }
    const char *time_zone = find_text(sys, "timezone");
    if (time_zone != nullptr && set_time_zone(time_zone) != 0) {
        return kFailed;
    }
    for (const DaemonCommand &command : kDaemonCommands) {
        if (is_asked_for(sys, command.key)) {
            return ask_daemon(command.type, command.not_sent);
        }
    }
    return is_asked_for(sys, "upgrade") ? start_upgrade(sys) : 0;
}
