// SPDX-License-Identifier: MIT
#include "gateway/request.h"

#include <cstdio>
#include <cstring>
#include <utility>

#include "base/debug_log.h"
#include "base/json.h"
#include "base/secret.h"
#include "base/shortage.h"
#include "base/text.h"
#include "gateway/actions.h"
#include "gateway/confinement.h"
#include "gateway/debug_switch.h"
#include "gateway/dispatch.h"
#include "gateway/forward.h"
#include "gateway/handler/message.h"
#include "gateway/handler/reply.h"
#include "gateway/handler/request_state.h"
#include "gateway/limits.h"
#include "gateway/remote_address.h"
#include "kernel/routes.h"
#include "login/login.h"
#include "store/items.h"
#include "store/store.h"

namespace {

constexpr char kModule[] = "app";

// The entry's lines in the debug log name one function, whichever step of the road writes them.
#define EntryLog(...) DebugLogOf("main", __VA_ARGS__)

constexpr char kLoopback[] = "127.0.0.1";

// A mesh agent obeys its controller, which is its default gateway.
bool is_from_controller(const char *client) {
    if (store_get(MIB_MESH_ROLE) != kMeshAgent) {
        return false;
    }
    in_addr gateway;
    get_default_gateway(gateway);  // unreadable routes leave an address that no client has
    return strcmp(Dotted(gateway).c_str(), client) == 0;
}

// What the system daemon is to restart; nullptr when no flag is raised. One request asks for one restart, by priority.
const char *pending_sysconf() {
    if (wifi_reinit_flag != 0) {
        return "init gw all";
    }
    if (lan_reinit_flag != 0) {
        return "initlan";
    }
    return wan_reinit_flag != 0 ? "initwan" : nullptr;
}

}  // namespace

bool receive_request(const char *content_length, BodyEnd end, OwnedText &body) {
    limit_process();
    watch_json_allocations();
    app_debug = read_debug_switch();
    if (!store_open()) {
        EntryLog("Initialize AP MIB failed !\n\n");
        lose_reply();
        return false;
    }
    confine_process();
    if (content_length == nullptr) {
        fprintf(stderr, "==>Not found CONTENT_LENGTH\n");
        return false;
    }
    if (!read_body(content_length, end, body)) {
        return false;
    }
    EntryLog("content=%s\n\n", printable(LoggedJson(body.get()).text()));
    return true;
}

int answer_request(OwnedText body, const char *remote_address) {
    Json request(cJSON_Parse(body.get()));
    if (!request) {
        const char *const fault = cJSON_GetErrorPtr();  // of this parse, and of no other
        fprintf(stderr, "cJSON_Parse error:%s\n", printable(LoggedJson(body.get()).from(fault)));
        return kNotServed;
    }
    if (find_item(request.get(), "action") == nullptr) {
        EntryLog("error action_json \n\n");
        send_error_request();
        return kNotServed;
    }
    const ActionRow &action = find_action(find_text(request.get(), "action"));

    if (remote_address == nullptr) {
        fprintf(stderr, "==>Not found REMOTE_ADDR\n");
        return kNotServed;
    }
    EntryLog("REMOTE_ADDR=%s\n\n", remote_address);
    client_address = known_address(remote_address);

    if (!action.open_to_guests && strcmp(client_address, kLoopback) != 0) {
        if (is_from_controller(client_address)) {
            EntryLog("request is from gateway ip\n");
        } else if (checkLogin(request.get()) != 0) {
            EntryLog("not login,need log\n\n");
            send_login_response(Json(), kNeedLogin);
            return kNotServed;
        }
    }

    if (action.open_to_guests) {
        confine_guest();
    }

    const char *ip = find_text(request.get(), "ip");
    if (ip != nullptr) {
        EntryLog("route to ip\n");
        forward(std::move(request), ip);
        return 0;
    }

    if (action.handler == nullptr) {
        EntryLog("error not Find valid action\n\n");
        send_error_request();
        return kNotServed;
    }
    action.handler(request.get());
    return 0;
}

int finish_request() {
    if (save_config_flag != 0) {
        store_commit();
    }
    int status = 0;
    if (app_reinit_flag != 0) {
        SysMsgRecord record = {};
        record.msg_type = MSG_APP_REINIT;
        msg_send(record);  // Deliberately not checked: the settings are stored, and nobody could be told.
    } else if (const char *sysconf = pending_sysconf(); sysconf != nullptr) {
        if (wifi_reinit_flag != 0) {
            EntryLog("sysconfArgv=%s\n", sysconf);
        }
        status = call_sysconf(sysconf);
    }
    return reply_is_lost() ? -1 : status;
}
