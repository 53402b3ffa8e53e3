// SPDX-License-Identifier: MIT
#include "login/login.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "base/command.h"
#include "base/debug_log.h"
#include "base/input.h"
#include "base/json.h"
#include "base/output.h"
#include "base/report.h"
#include "base/text.h"
#include "gateway/handler/objects.h"
#include "gateway/handler/reply.h"
#include "gateway/handler/request_state.h"
#include "login/session_id.h"
#include "platform/product.h"
#include "store/items.h"
#include "store/store.h"

namespace {

constexpr char kModule[] = "applogin";

constexpr char kSessionPath[] = PRODUCT_SESSION;
constexpr char kSessionKey[] = "sessionid=";

// The "msg" of the login reply.
char login_msg[1024];

struct LoginText {
    int code;
    const char *text;
};
constexpr LoginText kLoginTexts[] = {
    {kLoginSuccess, "login success"},
    {kNeedLogin,    "need login"   },
    {kLoginFail,    "login fail"   },
};

const char *find_login_text(int code) {
    for (const LoginText &row : kLoginTexts) {
        if (row.code == code) {
            return row.text;
        }
    }
    return "unknow error";
}

bool is_blank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// The id in the text of the session file: the word behind the key. Empty, and the text's end: there is none.
const char *find_session_id(char *text) {
    if (strncmp(text, kSessionKey, strlen(kSessionKey)) != 0) {
        return text + strlen(text);
    }
    char *id = text + strlen(kSessionKey);
    while (is_blank(*id)) {
        ++id;
    }
    char *end = id;
    while (*end != '\0' && !is_blank(*end)) {
        ++end;
    }
    *end = '\0';
    return id;
}

// Puts a file with the new session's id in the place of the old one, whole or not at all: what others read meanwhile,
// or after this process was killed, is one of the two.
bool replace_session(const char *id) {
    // A name that no other login uses. What a killed process has left under it is no obstacle.
    char path[sizeof kSessionPath + 16];
    join(path, {kSessionPath, ".", Decimal(getpid()).c_str()});
    unlink(path);
    char session[sizeof kSessionKey + kSessionIdSize];
    join(session, {kSessionKey, id});
    const Descriptor file(open(path, O_WRONLY | O_CREAT | O_EXCL, 0600));
    if (file && write_all(file.get(), session, strlen(session)) && rename(path, kSessionPath) == 0) {
        return true;
    }
    report_error("the session file is not written");
    unlink(path);
    return false;
}

// Whether the session file, if there is one, is a file that may be written.
bool can_write_session() {
    const Descriptor file(open(kSessionPath, O_WRONLY | O_NONBLOCK));
    return file || errno == ENOENT;
}

}  // namespace

int app_action_login(cJSON *request) {
    if (request == nullptr) {
        return -1;
    }
    Json reply(cJSON_CreateObject());
    echo_guid(request, reply.get());

    const cJSON *given = find_item(request, "info");
    const char *user = find_text(given, "user");
    const char *password = find_text(given, "pwd");
    decltype(MIB_USER_NAME)::value_type stored_user;
    bool known = false;
    if (user != nullptr && password != nullptr) {
        DebugLog("user=%s,pwd=%s\n", user, password);
        decltype(MIB_USER_PASSWORD)::value_type stored_password;
        // An account that can't be read is nobody's: empty texts must not open the router then.
        known = store_read(MIB_USER_NAME, stored_user) && store_read(MIB_USER_PASSWORD, stored_password) &&
                strcmp(stored_user.c_str(), user) == 0 && strcmp(stored_password.c_str(), password) == 0;
    }
    if (known) {
        DebugLog("loginSuccess\n");
    }

    cJSON *info = cJSON_AddObjectToObject(reply.get(), "info");  // also in the reply of a failure
    if (!known) {
        send_login_response(std::move(reply), kLoginFail);
        return 0;
    }
    char id[kSessionIdSize] = {};
    if (can_write_session() && gen_sessionid(stored_user.c_str(), id) == 0) {
        DebugLog("id=%s\n\n", id);
        if (replace_session(id)) {
            cJSON_AddStringToObject(info, "sessionid", id);
        }
    }
    // Without the file there is no session, but name and password were right: the app is told so.
    send_login_response(std::move(reply), kLoginSuccess);
    return 0;
}

int checkLogin(const cJSON *request) {
    const char *given = find_text(request, "sessionid");
    if (given == nullptr) {
        return -1;
    }
    char session[1034];
    if (!read_beginning(kSessionPath, session)) {
        return -1;
    }
    const char *id = find_session_id(session);
    DebugLog("id=%s\n\n", id);
    // A file without an id lets nobody in, not even with an empty one, and neither does an id that may have been cut.
    const bool whole = id + strlen(id) < session + sizeof session - 1;
    return whole && *id != '\0' && strcmp(id, given) == 0 ? 0 : -1;
}

void send_login_response(Json reply, int code) {
    if (!reply) {
        reply.reset(cJSON_CreateObject());
    }
    join(login_msg, {find_login_text(code)});
    cJSON_AddStringToObject(reply.get(), "action", "loginRsp");
    cJSON *result = cJSON_AddObjectToObject(reply.get(), "result");
    add_number(result, "error", code);
    cJSON_AddStringToObject(result, "msg", login_msg);
    print_reply(std::move(reply));
}

int app_set_logout_handler(const char *name, cJSON *request, cJSON * /*reply*/) {
    const cJSON *logout = find_item(request, name);
    if (logout == nullptr) {
        return kFailed;
    }
    DebugLog("logoutInfo.val=%d\n", integer_value(logout));
    if (integer_value(logout) != 1) {
        return kFailed;
    }
    run_command("rm " PRODUCT_SESSION);
    DebugLog("logout done\n");
    return 0;
}
