// SPDX-License-Identifier: MIT
#include "login/login.h"

#include <utility>

#include "base/debug_log.h"
#include "base/json.h"
#include "base/secret.h"
#include "base/text.h"
#include "gateway/handler/objects.h"
#include "gateway/handler/reply.h"
#include "gateway/handler/request_state.h"
#include "login/attempts.h"
#include "login/session.h"
#include "login/session_file.h"
#include "login/session_id.h"
#include "programs/programs.h"
#include "store/items.h"
#include "store/store.h"

namespace {

constexpr char kModule[] = "applogin";

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
        DebugLog("user=%s,pwd=%s\n", user, secret(password));
        decltype(MIB_USER_PASSWORD)::value_type stored_password;
        // An account that can't be read is nobody's: empty texts must not open the router then.
        known = may_try_login() && store_read(MIB_USER_NAME, stored_user) &&
                store_read(MIB_USER_PASSWORD, stored_password) &&
                is_account({stored_user.c_str(), stored_password.c_str()}, {user, password});
    }
    if (known) {
        forget_wrong_logins();
        DebugLog("loginSuccess\n");
    }

    cJSON *info = cJSON_AddObjectToObject(reply.get(), "info");  // also in the reply of a failure
    if (!known) {
        send_login_response(std::move(reply), kLoginFail);
        return 0;
    }
    char id[kSessionIdSize] = {};
    if (can_write_session() && gen_sessionid(stored_user.c_str(), id) == 0) {
        DebugLog("id=%s\n\n", secret(id));
        if (write_session(id)) {
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
    Session session;
    if (!read_session(session)) {
        return -1;
    }
    DebugLog("id=%s\n\n", secret(session.id));
    return is_of_session(session, given) ? 0 : -1;
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
    remove_session();
    DebugLog("logout done\n");
    return 0;
}
