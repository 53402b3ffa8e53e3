// SPDX-License-Identifier: MIT
#include "objects/diagnostics.h"

#include <cstdio>
#include <utility>

#include "base/debug_log.h"
#include "base/input.h"
#include "base/json.h"
#include "base/range.h"
#include "base/text.h"
#include "gateway/handler/objects.h"
#include "gateway/handler/reply.h"
#include "gateway/handler/request_state.h"
#include "objects/identity.h"
#include "platform/product.h"
#include "programs/programs.h"

namespace {

constexpr char kModule[] = "app";

constexpr char kFirmwareInfoPath[] = PRODUCT_FIRMWARE_INFO;

constexpr size_t kShortestAddress = 3;
constexpr size_t kLongestAddress = 63;
constexpr int kMostPings = 3;

constexpr char kNoNetDig[] = "ERROR: not find netDig Object";
constexpr char kNoAddress[] = "ERROR: not find dst for ping";
constexpr char kAddressLength[] = "ERROR: dst is too short or too long";

}  // namespace

int app_action_scan(cJSON *request) {
    if (request == nullptr) {
        return -1;
    }
    Json reply(cJSON_CreateObject());
    cJSON_AddStringToObject(reply.get(), "action", "scanRsp");
    cJSON *result = cJSON_AddObjectToObject(reply.get(), "result");
    cJSON_AddStringToObject(result, "error", "0");  // a string, other than in the replies to get and set
    echo_guid(request, reply.get());

    MacText mac;
    if (read_lan_mac(mac.text)) {
        DebugLog("==>MAC:%s\n\n", mac.text);
        strip_mac_colons(mac.text);
    }
    File info = open_file(kFirmwareInfoPath);
    if (!info) {
        // No answer at all: a router without this file is not ready to be found.
        fprintf(stderr, "==>open %s ERROR\n", kFirmwareInfoPath);
        return -1;
    }
    char date[20] = {};
    char line[kLineSize];
    while (read_line(info.get(), line)) {
        char word[kLineSize];
        if (sscanf(line, "Compile%1022s%19s", word, date) == 2) {
            DebugLog("==>DATE:%s\n\n", date);
            break;
        }
    }
    info.reset();
    const Identity identity = read_identity();
    DebugLog("==>SN:%s\n\n", identity.serial.c_str());
    DebugLog("==>BOARD_VER:%d\n\n", identity.board_version);
    add_identity(reply.get(), mac, identity, date);
    print_reply(std::move(reply));
    return 0;
}

int app_get_netDig_handler(const char *name, cJSON *request, cJSON *reply) {
    cJSON *answer = cJSON_AddObjectToObject(reply, name);
    const cJSON *object = find_item(request, name);
    if (object == nullptr) {
        return fail(kNoNetDig);
    }
    const cJSON *ping = find_item(object, "ping");
    if (ping == nullptr) {
        return 0;
    }
    const char *address = find_text(ping, "dst");
    if (address == nullptr) {
        return fail(kNoAddress);
    }
    DebugLog("dst=%s\n", address);
    if (!has_length(address, kShortestAddress, kLongestAddress)) {
        return fail(kAddressLength);
    }
    const cJSON *wanted = find_item(ping, "count");
    const int count = wanted != nullptr && in_range(integer_value(wanted), 1, kMostPings) ? integer_value(wanted) : 1;
    char text[1024] = {};
    if (!run_ping(address, count, text)) {
        DebugLog("popen error:%s!\n\n", PingCommand(address, count).text);
        return kFailed;
    }
    DebugLog("%s\n", text);
    cJSON_AddStringToObject(answer, "ping", text);
    return 0;
}
