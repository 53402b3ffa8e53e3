// SPDX-License-Identifier: MIT
// Logs are read by more people than may know the router's passwords, and kept for longer than those are valid.
//
// Of a text that is JSON the values of secrets are hidden. In any other nobody knows what is a value: a quote that is
// missing, or one too many, turns everything behind it inside out. So there all that follows a secret's name is hidden.
#include "base/secret.h"

#include <strings.h>

#include <cstring>

#include "base/shortage.h"

namespace {

constexpr char kHidden[] = "***";
constexpr char kCut[] = "...";
constexpr size_t kLongestRest = 200;  // who may be anybody fills no disk with it

// What the names of secrets hold somewhere, in letters of any size: "pwd", "wifiPwd5", "sessionid". A name with an
// escape of an ASCII character may be any.
constexpr const char *kSecretNames[] = {"pwd", "sessionid", "pass", "psk", "secret", "token", "\\u00"};

// Where a secret's name begins in a text; nullptr: nowhere.
char *find_secret_name(char *text) {
    char *first = nullptr;
    for (const char *name : kSecretNames) {
        char *const found = strcasestr(text, name);
        first = first == nullptr || (found != nullptr && found < first) ? found : first;
    }
    return first;
}

void hide(char *begin, const char *end) {
    memset(begin, '*', static_cast<size_t>(end - begin));
}

// What stands between tokens, which for the parser is more than JSON allows.
char *skip_blanks(char *at) {
    while (*at > '\0' && *at <= ' ') {
        ++at;
    }
    return at;
}

// The closing quote of a string whose characters begin at `at`.
char *end_of_string(char *at) {
    while (*at != '"') {
        at += *at == '\\' ? 2 : 1;
    }
    return at;
}

bool is_secret(char *begin, char *end) {
    *end = '\0';
    const bool found = find_secret_name(begin) != nullptr;
    *end = '"';
    return found;
}

// Hides a value: what is between the quotes, a word or number whole, and of more than one value all that follows. What
// was taken for a name and was a value itself has none.
char *hide_value(char *at) {
    at = skip_blanks(at);
    if (*at != ':') {
        return at;
    }
    at = skip_blanks(at + 1);
    if (*at == '"') {
        char *const end = end_of_string(at + 1);
        hide(at + 1, end);
        return end + 1;
    }
    char *const end = at + (*at == '{' || *at == '[' ? strlen(at) : strcspn(at, ",}]"));
    hide(at, end);
    return end;
}

void hide_values(char *at) {
    while (*at != '\0') {
        if (*at != '"') {
            ++at;
            continue;
        }
        char *const end = end_of_string(at + 1);
        at = is_secret(at + 1, end) ? hide_value(end + 1) : end + 1;
    }
}

void hide_secrets(char *text) {
    constexpr cJSON_bool kToItsEnd = 1;
    const Json json(cJSON_ParseWithOpts(text, nullptr, kToItsEnd));
    if (json) {
        hide_values(text);
    } else if (char *const name = find_secret_name(text); name != nullptr) {
        hide(name, name + strlen(name));
    }
}

// Makes a text a part of one line that means nothing to a terminal: no line feed, no command, no character that is not
// ASCII.
void make_printable(char *text) {
    for (; *text != '\0'; ++text) {
        if (*text < ' ' || *text > '~') {
            *text = '?';
        }
    }
}

}  // namespace

const char *secret(const char * /*text*/) {
    return kHidden;
}

LoggedJson::LoggedJson(const char *text) : text_(text), shown_(text) {
    if (text == nullptr) {
        return;
    }
    copy_.reset(strdup(text));
    if (!copy_) {
        note_shortage();
        shown_ = nullptr;  // nothing is shown, from wherever
        return;
    }
    hide_secrets(copy_.get());
    shown_ = copy_.get();
}

const char *LoggedJson::from(const char *place) {
    if (!copy_ || place == nullptr) {
        return nullptr;
    }
    char *const rest = copy_.get() + (place - text_);
    if (strlen(rest) > kLongestRest) {
        memcpy(rest + kLongestRest - strlen(kCut), kCut, sizeof kCut);
    }
    make_printable(rest);
    return rest;
}
