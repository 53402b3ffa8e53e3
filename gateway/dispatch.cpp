// SPDX-License-Identifier: MIT
#include "gateway/dispatch.h"

#include <utility>

#include "base/debug_log.h"
#include "base/json.h"
#include "base/resource.h"
#include "gateway/handler/reply.h"
#include "gateway/handler/request_state.h"

namespace {

constexpr char kModule[] = "app";

// What a reply holds before the first handler runs.
struct Envelope {
    Json root;
    cJSON *result;  // owned by the root; the code and the message go here
};

Envelope open_envelope(const cJSON *request, const char *action) {
    Envelope envelope = {Json(cJSON_CreateObject()), nullptr};
    cJSON_AddStringToObject(envelope.root.get(), "action", action);
    envelope.result = cJSON_AddObjectToObject(envelope.root.get(), "result");
    echo_guid(request, envelope.root.get());
    return envelope;
}

void send_envelope(Envelope envelope, int code) {
    add_number(envelope.result, "error", code);
    if (code != 0) {
        cJSON_AddStringToObject(envelope.result, "msg", err_msg);
    }
    print_reply(std::move(envelope.root));
}

}  // namespace

int app_get_parameters_handler(cJSON *request) {
    if (request == nullptr) {
        return -1;
    }
    Envelope envelope = open_envelope(request, "getRsp");
    int code = -1;
    for (const ObjectRow *row = ObjectHandlerTable; row->name[0] != '\0'; ++row) {
        if (row->get == nullptr || find_item(request, row->name) == nullptr) {
            continue;
        }
        code = row->get(row->name, request, envelope.root.get());
        if (code != 0) {
            break;
        }
    }
    DebugLog("error code=%d\n", code);
    send_envelope(std::move(envelope), code);
    return 0;
}

int app_set_parameters_handler(cJSON *request) {
    if (request == nullptr) {
        return -1;
    }
    Envelope envelope = open_envelope(request, "setRsp");
    int code = -1;
    for (const ObjectRow *row = ObjectHandlerTable; row->name[0] != '\0'; ++row) {
        if (find_item(request, row->name) == nullptr) {
            continue;
        }
        // Marks the object as reached, also when its setter then fails.
        cJSON_AddStringToObject(envelope.root.get(), row->name, "1");
        code = row->set != nullptr ? row->set(row->name, request, envelope.root.get()) : fail("ERROR:not support set");
        if (code != 0) {
            break;
        }
    }
    DebugLog("error code=%d\n", code);
    send_envelope(std::move(envelope), code);
    return 0;
}

int send_error_request() {
    Json root(cJSON_CreateObject());
    cJSON *result = cJSON_AddObjectToObject(root.get(), "result");
    // A string here, unlike the number of a get or set reply: apps tell the two apart by it.
    cJSON_AddStringToObject(result, "error", "-1");
    cJSON_AddStringToObject(result, "msg", "error_request");
    print_reply(std::move(root));
    return 0;
}
