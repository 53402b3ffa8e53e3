// SPDX-License-Identifier: MIT
// Logins, logouts and who may act, against a model of sessions. Which callers pass the gate, ask() judges.
//
// In a body "SESSION" stands for the id that was handed out last, "OLD" for the one before.
#include <cstring>

#include "store/items.h"
#include "tests/fuzz/target.h"

const Taste kTaste = {
    {"body", "body", "body", "body", "body", "env", "env", "item", "file", "no-file", "sealed", "clock"},
    {"logout", "app",  "sys",  "mesh" }
};

namespace {

constexpr char kPath[] = "/var/app_sessionid";

std::string replace(std::string text, const char *word, const std::string &by) {
    const size_t at = text.find(word);
    return at == std::string::npos ? text : text.replace(at, strlen(word), by);
}

bool is_session_id(const std::string &id) {
    return id.size() == 34 && id.compare(0, 2, "Us") == 0 &&
           id.find_first_not_of("0123456789abcdef", 2) == std::string::npos;
}

// What a text item holds, up to its zero byte.
std::string text_item(int id) {
    return router.value(id).c_str();
}

// Judges the reply to a login, and takes the id.
void judge_login(const cJSON *request, const Outcome &outcome, bool was_sealed, std::string &session) {
    const cJSON *info = cJSON_GetObjectItem(request, "info");
    const char *user = text_of(info, "user");
    const char *password = text_of(info, "pwd");
    const bool readable =
        router.unreadable.count({MIB_USER_NAME.id, -1, -1}) + router.unreadable.count({MIB_USER_PASSWORD.id, -1, -1}) ==
        0;
    const bool right = readable && user != nullptr && password != nullptr && text_item(MIB_USER_NAME.id) == user &&
                       text_item(MIB_USER_PASSWORD.id) == password;
    if (outcome.status != 0 || !outcome.reply || error_of(outcome.reply.get()) != (right ? 0 : 7)) {
        wrong("a login with %s words is answered wrongly", right ? "the right" : "wrong");
    }
    const char *id = text_of(cJSON_GetObjectItem(outcome.reply.get(), "info"), "sessionid");
    if ((id != nullptr) != (right && !was_sealed)) {
        wrong("an id %s handed out", id != nullptr ? "is" : "is not");
    }
    if (id == nullptr) {
        return;
    }
    if (!is_session_id(id) || router.files[kPath] != std::string("sessionid=") + id) {
        wrong("an id that is not in the session file");
    }
    session = id;
}

}  // namespace

void run_script(const Script &script) {
    std::string session;
    std::string old;
    for (const Section &section : script) {
        if (section.kind == "fail") {
            continue;  // the model knows none
        }
        apply(section);
        if (section.kind != "body") {
            continue;
        }
        give_body(replace(replace(section.content, "SESSION", session), "OLD", old));
        const Tree request = read_request();
        const bool was_sealed = router.sealed.count(kPath) != 0;
        const std::string before = router.files.count(kPath) != 0 ? router.files[kPath] : "none";
        const bool whole = request && cJSON_GetObjectItem(request.get(), "action") != nullptr &&
                           router.body.find('\0') == std::string::npos && router.environment.count("REMOTE_ADDR") != 0;
        const char *action = text_of(request.get(), "action");
        const Outcome outcome = ask();
        if (!whole || action == nullptr) {
            continue;
        }
        const std::string after = router.files.count(kPath) != 0 ? router.files[kPath] : "none";
        if (strcmp(action, "login") == 0 && text_of(request.get(), "ip") == nullptr) {
            const std::string previous = session;
            judge_login(request.get(), outcome, was_sealed, session);
            old = session != previous ? previous : old;
        } else if (after != before && !(strcmp(action, "set") == 0 && after == "none")) {
            wrong("the session file changes by something else than a login or a logout");
        }
        ++router.now;
    }
}
