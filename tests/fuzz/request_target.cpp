// SPDX-License-Identifier: MIT
// Requests with their environment, one after another, on any router: the whole road of main(). Behind the last one the
// handlers are called as the dispatcher never calls them.
#include <cstdlib>
#include <cstring>

#include "gateway/actions.h"
#include "gateway/dispatch.h"
#include "gateway/handler/objects.h"
#include "gateway/handler/request_state.h"
#include "tests/fuzz/target.h"

const Taste kTaste = {
    {"body",  "body", "body",     "body", "body",    "body",       "body",   "body",    "item",   "item",
     "item",    "file", "file",     "fail", "fail",    "env",        "no-env", "no-file", "sealed", "unreadable",
     "command", "arp",  "stations", "mute", "address", "no-address", "clock",  "pieces"},
    {}
};

namespace {

// Calls a handler by itself.
int call(ObjectHandler *handler, const char *name, cJSON *request, cJSON *reply) {
    start_endpoint();
    const int result = handler(name, request, reply);
    end_endpoint();
    return result;
}

// A setter whose object the request does not name leaves all as it is. A logout that was not asked for is none.
void hold_setters_without_object(cJSON *request) {
    for (const ObjectRow *row = ObjectHandlerTable; row->name[0] != '\0'; ++row) {
        if (row->set == nullptr || cJSON_HasObjectItem(request, row->name) != 0) {
            continue;
        }
        const Tree reply(cJSON_CreateObject());
        const int result = call(row->set, row->name, request, reply.get());
        if (result != (strcmp(row->name, "logout") == 0 ? -1 : 0) || reply->child != nullptr || !router.done.empty() ||
            err_msg[0] != '\0' ||
            (save_config_flag | app_reinit_flag | wifi_reinit_flag | lan_reinit_flag | wan_reinit_flag) != 0) {
            wrong("the setter of \"%s\" does something for a request without it", row->name);
        }
    }
}

// The one getter that asks for its object.
void hold_netDig_without_object(cJSON *request) {
    const Tree reply(cJSON_CreateObject());
    if (cJSON_HasObjectItem(request, "netDig") == 0 &&
        (call(app_get_netDig_handler, "netDig", request, reply.get()) != -1 || !router.done.empty() ||
         strcmp(err_msg, "ERROR: not find netDig Object") != 0)) {
        wrong("netDig does something for a request without it");
    }
}

void hold_actions_without_request() {
    for (const ActionRow *row = ActionTable; row->handler != nullptr; ++row) {
        start_endpoint();
        const int result = row->handler(nullptr);
        end_endpoint();
        if (result != -1 || !router.done.empty() || !router.replies.empty()) {
            wrong("\"%s\" does something without a request", row->name);
        }
    }
}

long long announced_length() {
    const auto length = router.environment.find("CONTENT_LENGTH");
    return length != router.environment.end() ? strtoll(length->second.c_str(), nullptr, 10) : 0;
}

}  // namespace

void run_script(const Script &script) {
    constexpr long long kCostly = 16 << 20;
    bool has_length = false;  // CONTENT_LENGTH is what the script says
    int costly = 0;
    for (const Section &section : script) {
        apply(section);
        has_length = has_length || section.name == "CONTENT_LENGTH";
        if (section.kind != "body") {
            continue;
        }
        if (has_length) {
            router.body = section.content;
        } else {
            give_body(section.content);
        }
        // The sanitizer takes a tenth of a second for the room of such a body. Two of them tell what a hundred would.
        if (announced_length() > kCostly && ++costly > 2) {
            continue;
        }
        ask();
        ++router.now;
    }
    if (const Tree request = read_request()) {
        hold_setters_without_object(request.get());
        hold_netDig_without_object(request.get());
    }
    hold_actions_without_request();
}
