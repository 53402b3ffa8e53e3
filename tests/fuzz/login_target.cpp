// SPDX-License-Identifier: MIT
// Logins, logouts and who may act, against a model of sessions: it follows what was handed out and taken back, and
// never looks into the session file. ask() judges the gate by that file, so that both must say the same.
//
// In a body "SESSION" stands for the id that was handed out last, "OLD" for the one before. Who asks is a phone, which
// has no other way in than a session.
#include <algorithm>
#include <cstring>

#include "store/items.h"
#include "tests/fuzz/target.h"

const Taste kTaste = {
    {"body", "body", "body", "body", "body", "env", "env", "item", "file", "no-file", "sealed", "clock"},
    {"logout", "app",  "sys",  "mesh" },
    2
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

struct Sessions {
    std::string valid;     // the id in force; empty: there is none
    bool is_known = true;  // false: the script wrote the session file, and what is in force is the script's
    std::string last;      // the ids that were handed out
    std::string before;

    void hand_out(const std::string &id) {
        before = id != last ? last : before;
        last = id;
        valid = id;
        is_known = true;
    }
    void end() {
        valid = "";
        is_known = true;
    }
    // What a script does to the session file.
    void follow(const Section &section) {
        if (section.name == kPath && section.kind == "file") {
            is_known = false;
        } else if (section.name == kPath && (section.kind == "no-file" || section.kind == "sealed")) {
            end();
        }
    }
};

// Judges the reply to a login, and takes the id.
void judge_login(const cJSON *request, const Outcome &outcome, bool was_sealed, const std::string &before,
                 const std::string &after, Sessions &sessions) {
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
    if (id == nullptr && after != before) {
        wrong("a login that hands out no id changes the session file");
    }
    if (id == nullptr) {
        return;
    }
    if (!is_session_id(id) || router.files[kPath] != std::string("sessionid=") + id) {
        wrong("an id that is not in the session file");
    }
    sessions.hand_out(id);
}

// Holds the gate against what was handed out: a phone with the id in force passes, and no other.
void judge_gate(const cJSON *request, const Sessions &sessions) {
    const char *action = text_of(request, "action");
    const std::string &from = router.environment["REMOTE_ADDR"];
    const bool is_opener = action != nullptr && (strcmp(action, "login") == 0 || strcmp(action, "scan") == 0);
    const bool is_agent = router.number(MIB_MESH_ROLE.id) == kMeshAgent;  // who obeys its controller, too
    if (!sessions.is_known || is_opener || is_agent || strcmp(from.c_str(), "127.0.0.1") == 0) {
        return;
    }
    const char *given = text_of(request, "sessionid");
    const bool passes = given != nullptr && !sessions.valid.empty() && sessions.valid == given;
    if (may_pass(request) != passes) {
        wrong("the id \"%s\" %s", given != nullptr ? given : "",
              passes ? "is in force and refused" : "is none and passes");
    }
}

// Whether a request logged out: its object was reached and is the number 1. The reply marks who is reached.
bool has_logged_out(const cJSON *request, const cJSON *reply) {
    const cJSON *logout = cJSON_GetObjectItem(request, "logout");
    const bool reached = cJSON_GetObjectItemCaseSensitive(reply, "logout") != nullptr;
    return reached && logout != nullptr && logout->valueint == 1;
}

// Whether a script lets the command fail that removes the session file.
bool can_remove() {
    return std::none_of(router.commands.begin(), router.commands.end(), [](const auto &command) {
        return command.second.status != 0 && command.first.compare(0, 2, "rm") == 0;
    });
}

// A logout takes the session back. Nothing else than it and a login changes the file.
void judge_file(bool logged_out, const std::string &before, const std::string &after, Sessions &sessions) {
    const bool removed = logged_out && can_remove();
    if (after != (removed ? "none" : before)) {
        wrong(logged_out ? "a logout leaves the session" : "the session file changes by neither a login nor a logout");
    }
    if (removed) {
        sessions.end();
    }
}

}  // namespace

void run_script(const Script &script) {
    Sessions sessions;
    router.environment["REMOTE_ADDR"] = "192.168.1.100";
    for (const Section &section : script) {
        if (section.kind == "fail") {
            continue;  // the model knows none
        }
        apply(section);
        sessions.follow(section);
        if (section.kind != "body") {
            continue;
        }
        give_body(replace(replace(section.content, "SESSION", sessions.last), "OLD", sessions.before));
        const Tree request = read_request();
        const bool was_sealed = router.sealed.count(kPath) != 0;
        const std::string before = router.files.count(kPath) != 0 ? router.files[kPath] : "none";
        const bool whole = request && cJSON_GetObjectItem(request.get(), "action") != nullptr &&
                           router.body.find('\0') == std::string::npos && router.environment.count("REMOTE_ADDR") != 0;
        const char *action = text_of(request.get(), "action");
        if (whole) {
            judge_gate(request.get(), sessions);
        }
        const Outcome outcome = ask();
        if (!whole || action == nullptr) {
            continue;
        }
        const std::string after = router.files.count(kPath) != 0 ? router.files[kPath] : "none";
        if (strcmp(action, "login") == 0 && text_of(request.get(), "ip") == nullptr) {
            judge_login(request.get(), outcome, was_sealed, before, after, sessions);
        } else {
            judge_file(has_logged_out(request.get(), outcome.reply.get()), before, after, sessions);
        }
        ++router.now;
    }
}
