// SPDX-License-Identifier: MIT
// The object "wanStatus": the WAN's link, up-time and throughput, as the router's other programs write them to files.

#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "base/debug_log.h"
#include "base/input.h"
#include "base/json.h"
#include "base/range.h"
#include "base/text.h"
#include "clients/switch_ports.h"
#include "gateway/handler/message.h"
#include "gateway/handler/objects.h"
#include "gateway/handler/request_state.h"
#include "objects/wan.h"
#include "platform/product.h"
#include "programs/programs.h"

namespace {

constexpr char kModule[] = "app";

constexpr char kInternetPath[] = PRODUCT_INTERNET;
constexpr char kSpeedPath[] = PRODUCT_WAN_SPEED;
constexpr char kPppLinkPath[] = PRODUCT_PPP_LINK;
constexpr char kPppStartPath[] = PRODUCT_PPP_START;
constexpr char kDhcpStartPath[] = PRODUCT_WAN_START;

constexpr char kWanPort[] = "Port1";

constexpr float kKilobitsPerByte = 0.0078125F;  // 8 / 1024

// A report to a server: how often and, in seconds, at which distance. Both ends of a range are included.
constexpr int kReportCountMin = 1;
constexpr int kReportCountMax = 1000;
constexpr int kReportCountDefault = 30;
constexpr int kReportIntervalMin = 2;
constexpr int kReportIntervalMax = 30;
constexpr int kReportIntervalDefault = 2;

constexpr char kSamplerNotStarted[] = "ERROR: send MSG_APP_START_SPEEDTEST fail";
constexpr char kReportCountRange[] = "ERROR: reportCount out of range(1~1000)";
constexpr char kReportIntervalRange[] = "ERROR: reportInterval out of range(2~30 s)";
constexpr char kReportNotSent[] = "ERROR: send MSG_APP_REPORTOSERVER_WANSTA fail";

// What the router last found out about the Internet; 0 while it has not.
int internet_state() {
    char line[64];
    read_first_line(kInternetPath, line);
    return decimal_value(line);
}

// A number that may be left out. False: it is there and out of its range.
bool take_number(const cJSON *object, const char *key, int min, int max, int &value) {
    const cJSON *item = find_item(object, key);
    if (item == nullptr) {
        return true;
    }
    value = integer_value(item);
    return in_range(value, min, max);
}

int send_report_request(int interval, int count, const char *guid) {
    SysMsgRecord record = {};
    record.msg_type = MSG_APP_REPORTOSERVER_WANSTA;
    record.report.interval = interval;
    record.report.count = count;
    if (guid != nullptr) {
        memcpy(record.report.guid, guid, strnlen(guid, sizeof record.report.guid));
    }
    return ask_daemon(record, kReportNotSent);
}

// Has the system daemon report the WAN's state to a server, if the request asks for it. Numbers that it must not have
// are refused even if it does not.
int request_report(const cJSON *status, const char *guid) {
    const cJSON *wanted = find_item(status, "reportToServer");
    int count = kReportCountDefault;
    int interval = kReportIntervalDefault;
    if (!take_number(status, "reportCount", kReportCountMin, kReportCountMax, count)) {
        return fail(kReportCountRange);
    }
    if (!take_number(status, "reportInterval", kReportIntervalMin, kReportIntervalMax, interval)) {
        return fail(kReportIntervalRange);
    }
    if (wanted == nullptr || integer_value(wanted) != 1) {
        return 0;
    }
    return send_report_request(interval, count, guid);
}

// The seconds since the moment that the file tells; 0 when there is no such file, and for a moment that is yet to come.
// An unreadable moment is the epoch. A double, for a file may tell any number.
double get_uptime(const char *path) {
    if (!file_exists(path)) {
        DebugLog("not find %s", path);
        return 0;
    }
    const time_t now = time(nullptr);
    long long start = 0;
    const File file = open_file(path);
    if (file && fscanf(file.get(), "%lld", &start) != 1) {
        start = 0;
    }
    const double seconds = static_cast<double>(now) - static_cast<double>(start);
    return seconds > 0 ? seconds : 0;
}

// The rate in kbit/s. Where there is none, as for a sample that took no time, it counts as unknown, which is 0.
float rate_of(long long bytes, float seconds) {
    const float rate = static_cast<float>(bytes) * kKilobitsPerByte / seconds;
    return std::isfinite(rate) ? rate : 0;
}

// Leaves the rates as they are when there is no sample.
void getWanPortSpeed(float &upload, float &download) {
    const File file = open_file(kSpeedPath);
    if (!file) {
        DebugLog("==>[Error] open fail!");
        return;
    }
    float period = 0;  // seconds
    long long received = 0;
    long long sent = 0;
    if (fscanf(file.get(), "%f,%lld,%lld\n", &period, &received, &sent) < 1) {
        return;
    }
    download = rate_of(received, period);
    upload = rate_of(sent, period);
}

void add_rate(cJSON *object, const char *key, float rate) {
    char text[64];  // the largest rate has 39 digits before the point
    put(text, "%1.2f", static_cast<double>(rate));
    cJSON_AddStringToObject(object, key, text);
}

}  // namespace

int app_get_wanStatus_handler(const char *name, cJSON *request, cJSON *reply) {
    cJSON *answer = cJSON_AddObjectToObject(reply, name);
    if (!wake_sampler()) {
        DebugLog("speedtest not runing,start speedtest");
        if (ask_daemon(MSG_APP_START_SPEEDTEST, kSamplerNotStarted) != 0) {
            return kFailed;
        }
    }
    const cJSON *object = find_item(request, name);
    if (object != nullptr) {
        const cJSON *internet = find_item(object, "getInternetSta");
        if (internet != nullptr && integer_value(internet) == 1) {
            add_number(answer, "internetSta", internet_state());
        }
        if (request_report(object, find_text(request, "guid")) != 0) {
            return kFailed;
        }
    }
    const int type = stored_connection_type();
    int status = read_port_link(kWanPort);
    double up_time = 0;
    float upload = 0;
    float download = 0;
    // An unreadable port counts as one that is up here: the other sources may know more.
    if (status != kLinkDown) {
        if (type == kPppoe) {
            if (file_exists(kPppLinkPath)) {
                up_time = get_uptime(kPppStartPath);
            } else {
                status = kLinkDown;
            }
        } else if (type == kDhcp) {
            up_time = get_uptime(kDhcpStartPath);
        }
        getWanPortSpeed(upload, download);
    }
    add_number(answer, "status", status);
    add_rate(answer, "uSpeed", upload);
    add_rate(answer, "dSpeed", download);
    cJSON_AddNumberToObject(answer, "upTime", up_time);
    return 0;
}
