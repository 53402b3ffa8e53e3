// SPDX-License-Identifier: MIT
// What holds for every request, whatever is asked of whatever router.
#include <arpa/inet.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "store/items.h"
#include "tests/fuzz/target.h"

namespace {

constexpr int kFailure = 255;

// The length of the UTF-8 character there, by what it is worth: base/utf8.cpp has to say the same, in another way.
// 0: there is none.
size_t character_at(const std::string &text, size_t at) {
    const auto first = static_cast<unsigned char>(text[at]);
    const size_t length = first < 0x80 ? 1 : first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first >= 0x80 && (first < 0xc2 || first > 0xf4)) {
        return 0;
    }
    unsigned worth = length == 1 ? first : first & (0xffU >> (length + 1));
    for (size_t i = 1; i < length; ++i) {
        const unsigned next = at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0;
        if ((next & 0xc0) != 0x80) {
            return 0;
        }
        worth = worth << 6 | (next & 0x3f);
    }
    constexpr unsigned kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    return worth < kLeast[length] || worth > 0x10ffff || (worth >= 0xd800 && worth <= 0xdfff) ? 0 : length;
}

bool is_utf8(const std::string &text) {
    return as_utf8(text) == text;
}

// Whether what the program reads is all valid: then its reply must be, too. Bytes of the store and of requests are
// handed on as they are.
bool world_is_utf8() {
    for (const auto &[place, value] : router.values) {
        if (strcmp(find_item_kind(place.id)->kind, "text") == 0 && !is_utf8(value.c_str())) {
            return false;
        }
    }
    for (const auto &[place, records] : router.tables) {
        for (const std::string &record : records) {
            if (!is_utf8(record)) {
                return false;
            }
        }
    }
    for (const auto &[beginning, answer] : router.commands) {
        if (!is_utf8(answer.output)) {
            return false;
        }
    }
    for (const char *path : {"/etc/fwInfo.file", "/etc/resolv.conf"}) {
        const auto file = router.files.find(path);
        if (file != router.files.end() && !is_utf8(file->second)) {
            return false;
        }
    }
    return is_utf8(router.body);
}

bool has_fault(std::initializer_list<Call> calls) {
    for (const RouterFault &each : router.faults) {
        for (const Call call : calls) {
            if (each.fault.call == call) {
                return true;
            }
        }
    }
    return false;
}

// A reply is one write, however the kernel cuts it: cJSON's formatted print and a line feed. Half of one is told by the
// exit status, and only where the client is gone.
Tree judge_reply(int status) {
    if (router.replies.empty()) {
        return nullptr;
    }
    if (router.reply_is_cut) {
        if (status != kFailure || !has_fault({Call::kWrite})) {
            wrong("half a reply, and exit status %d", status);
        }
        return nullptr;
    }
    if (router.replies.size() > 1) {
        wrong("a reply in %zu writes", router.replies.size());
    }
    const std::string &text = router.replies[0];
    if (text.size() < 2 || text.back() != '\n' || text.find('\0') != std::string::npos) {
        wrong("a reply that does not end with a line feed, or holds a zero byte");
    }
    Tree reply(cJSON_Parse(text.c_str()));
    if (!reply) {
        wrong("a reply that is no JSON: %s", text.c_str());
    }
    char *again = cJSON_Print(reply.get());
    if (text.substr(0, text.size() - 1) != again) {
        // Numbers are printed by the program itself, so that what cJSON would print of them is a check of both.
        wrong("a reply that is no formatted print:\n%s\nbut\n%s", text.c_str(), again);
    }
    free(again);
    return reply;
}

bool changes(Event event) {
    return event == Event::kSet || event == Event::kAdd || event == Event::kDelete || event == Event::kDeleteAll ||
           event == Event::kCommit || event == Event::kSave || event == Event::kRun || event == Event::kQueue ||
           event == Event::kWrite || event == Event::kRemove;
}

constexpr char kRefusal[] =
    "{\n\t\"action\":\t\"loginRsp\",\n\t\"result\":\t{\n\t\t\"error\":\t6,\n\t\t\"msg\":\t\"need login\"\n\t}\n}\n";

bool is_refused() {
    return !router.replies.empty() && router.replies[0] == kRefusal;
}

// A refused caller changes nothing and learns nothing, whatever fails: at most no reply leaves.
void judge_refusal(const Outcome &outcome) {
    for (const Done &each : router.done) {
        if (changes(each.event)) {
            wrong("a caller who may not act did something, of kind %d", static_cast<int>(each.event));
        }
    }
    if (outcome.status != kFailure) {
        wrong("exit status %d for a caller who may not act", outcome.status);
    }
    if (!is_refused() && (router.faults.empty() || outcome.reply)) {
        wrong("a caller who may not act is told something else");
    }
}

// A commit goes before the settings file, and neither before the reply, but for "qos". The last record is for what is
// committed already.
void judge_order() {
    bool committed = false;
    bool replied = false;
    bool shaped = false;
    size_t records_after = 0;
    for (const Done &each : router.done) {
        if (each.event == Event::kReply) {
            replied = true;
        }
        if (each.event == Event::kSet && each.place.id == MIB_QOS_ENABLED.id) {
            shaped = true;
        }
        if (each.event == Event::kAdd || each.event == Event::kDelete) {
            shaped = shaped || each.place.id == MIB_QOS_RULE_TBL_NUM.count_id;
        }
        if (each.event == Event::kCommit) {
            if (records_after > 0) {
                wrong("a commit behind the last record");
            }
            committed = each.done;
            if (!replied && !shaped && !router.short_of_memory && !has_fault({Call::kMalloc, Call::kWrite})) {
                wrong("a commit before the reply");
            }
        }
        if (each.event == Event::kSave && !committed) {
            wrong("a settings file without a commit");
        }
        if (each.event == Event::kQueue) {
            records_after += replied ? 1 : 0;
        }
    }
    if (records_after > 1) {
        wrong("%zu records behind the reply", records_after);
    }
}

void judge_end(const Outcome &outcome, const cJSON *request) {
    if (outcome.status != 0 && outcome.status != kFailure) {
        wrong("exit status %d", outcome.status);
    }
    if (router.short_of_memory && !router.replies.empty()) {
        wrong("a reply from a process that was short of memory");
    }
    if (outcome.reply || outcome.status == kFailure || request == nullptr) {
        return;  // a request that is not looked at may be one of these as well
    }
    // No reply and success: what is handed on to nobody, and a router that is not ready to be found.
    const char *action = text_of(request, "action");
    const bool scans = action != nullptr && strcmp(action, "scan") == 0;
    if (!scans && text_of(request, "ip") == nullptr) {
        wrong("exit status 0 without a reply");
    }
}

bool is_opener(const char *action) {
    return action != nullptr && (strcmp(action, "scan") == 0 || strcmp(action, "login") == 0);
}

// The session id of the file, as sscanf() reads it.
std::string session_of_file() {
    const auto file = router.files.find("/var/app_sessionid");
    if (file == router.files.end() || router.sealed.count("/var/app_sessionid") != 0) {
        return "";
    }
    char id[2048] = "";
    sscanf(file->second.c_str(), "sessionid=%2047s", id);
    return id;
}

std::string gateway_of_file() {
    const auto routes = router.files.find("/proc/net/route");
    if (routes == router.files.end()) {
        return "255.255.255.255";
    }
    const std::string &text = routes->second;
    size_t at = 0;
    for (bool header = true; at < text.size(); header = false) {
        const size_t end = std::min({text.find('\n', at) + 1, text.size(), at + 255});
        const std::string line = text.substr(at, (end <= at ? text.size() : end) - at);
        at += line.size();
        char name[256];
        unsigned long destination = 1;
        unsigned long gateway = 0;
        if (!header && sscanf(line.c_str(), "%255s\t%lX\t%lX", name, &destination, &gateway) == 3 && destination == 0) {
            return inet_ntoa({static_cast<in_addr_t>(gateway)});
        }
    }
    return "255.255.255.255";
}

// Routes that cannot be read leave an address that no client has.
bool is_gateway(const std::string &address) {
    return gateway_of_file() == address.c_str() || (!router.faults.empty() && address == "255.255.255.255");
}

}  // namespace

std::string as_utf8(std::string text) {
    for (size_t at = 0, length = 0; at < text.size(); at += std::max<size_t>(length, 1)) {
        length = character_at(text, at);
        text[at] = length > 0 ? text[at] : '?';
    }
    return text;
}

const char *text_of(const cJSON *parent, const char *key) {
    const cJSON *item = cJSON_GetObjectItem(parent, key);
    return cJSON_IsString(item) != 0 ? item->valuestring : nullptr;
}

int error_of(const cJSON *reply) {
    const cJSON *error = cJSON_GetObjectItem(cJSON_GetObjectItem(reply, "result"), "error");
    if (error == nullptr || cJSON_IsNumber(error) == 0) {
        wrong("a reply without a number \"error\"");
    }
    return error->valueint;
}

const char *message_of(const cJSON *reply) {
    return text_of(cJSON_GetObjectItem(reply, "result"), "msg");
}

bool may_pass(const cJSON *request) {
    const char *action = text_of(request, "action");
    const std::string &from = router.environment["REMOTE_ADDR"];
    if (is_opener(action) || strcmp(from.c_str(), "127.0.0.1") == 0) {
        return true;
    }
    const bool known = router.unreadable.count({MIB_MESH_ROLE.id, -1, -1}) == 0;
    if (known && router.number(MIB_MESH_ROLE.id) == kMeshAgent && is_gateway(from)) {
        return true;
    }
    const char *given = text_of(request, "sessionid");
    const std::string session = session_of_file();
    return given != nullptr && !session.empty() && session == given;
}

Tree read_request() {
    const auto length = router.environment.find("CONTENT_LENGTH");
    if (length == router.environment.end()) {
        return nullptr;
    }
    const long long given = strtoll(length->second.c_str(), nullptr, 10);
    if (given < 1 || given >= INT_MAX) {
        return nullptr;
    }
    return Tree(cJSON_Parse(router.body.substr(0, static_cast<size_t>(given)).c_str()));
}

void give_body(const std::string &body) {
    router.body = body;
    router.environment["CONTENT_LENGTH"] = std::to_string(body.size());
}

Outcome ask() {
    const bool clean = world_is_utf8();
    // A zero byte in a body has rules of its own, which the cases tell.
    const Tree request = router.body.find('\0') == std::string::npos ? read_request() : nullptr;
    const bool judged = request && router.environment.count("REMOTE_ADDR") != 0 &&
                        cJSON_GetObjectItem(request.get(), "action") != nullptr;
    const bool passes = judged && may_pass(request.get());
    Outcome outcome = {run_endpoint(), nullptr};
    outcome.reply = judge_reply(outcome.status);
    judge_order();
    judge_end(outcome, request.get());
    if (outcome.reply && clean && !is_utf8(router.replies[0])) {
        wrong("a reply that is no UTF-8 out of what all is");
    }
    if (judged && !passes) {
        judge_refusal(outcome);
    }
    // Faults may hide from the gate what opens it, but nothing opens it to others.
    if (passes && router.faults.empty() && is_refused()) {
        wrong("a caller who may act is refused");
    }
    return outcome;
}
