// SPDX-License-Identifier: MIT
// Logs are read by more people than may know the router's passwords, and kept for longer than those are valid.
#include <strings.h>

#include <cstring>

#include "base/secret.h"
#include "base/shortage.h"

namespace {

constexpr char kHidden[] = "***";

constexpr char kBlanks[] = " \t\r\n";
constexpr char kBetween[] = " \t\r\n:";  // a key and its value

// What keys of secrets hold somewhere, in letters of any size: "pwd", "wifiPwd5", "sessionid".
constexpr const char *kSecretKeys[] = {"pwd", "sessionid", "pass", "psk", "secret", "token"};

// The end of a string's bytes that begin at `at`: its closing quote, or the text's end.
char *end_of_string(char *at) {
    while (*at != '"' && *at != '\0') {
        at += *at == '\\' && at[1] != '\0' ? 2 : 1;
    }
    return at;
}

bool is_secret_key(char *begin, char *end) {
    const char kept = *end;
    *end = '\0';
    bool found = strchr(begin, '\\') != nullptr;  // a key with escapes may be any
    for (const char *key : kSecretKeys) {
        found = found || strcasestr(begin, key) != nullptr;
    }
    *end = kept;
    return found;
}

// Whether what follows is a string with a colon behind it.
bool is_key(char *at) {
    at += strspn(at, kBlanks);
    if (*at != '"') {
        return false;
    }
    at = end_of_string(at + 1);
    at += *at != '\0' ? 1 : 0;
    return at[strspn(at, kBlanks)] == ':';
}

// Hides what follows a key of a secret. A single value ends where the next thing begins; of more than one, and of what
// is no JSON, all that follows is hidden.
char *hide_value(char *at) {
    at += strspn(at, kBetween);
    if (*at == ',' && is_key(at + 1)) {
        return at;  // what was taken for a key was a value
    }
    at += strspn(at, ", \t\r\n");
    if (*at == '"') {
        char *const end = end_of_string(at + 1);
        memset(at + 1, '*', static_cast<size_t>(end - at - 1));
        return *end != '\0' ? end + 1 : end;
    }
    const size_t length = *at == '{' || *at == '[' ? strlen(at) : strcspn(at, " \t\r\n,}]\"");
    memset(at, '*', length);
    return at + length;
}

void hide_secrets(char *at) {
    while (*at != '\0') {
        if (*at != '"') {
            ++at;
            continue;
        }
        char *const begin = at + 1;
        char *const end = end_of_string(begin);
        at = *end != '\0' ? end + 1 : end;
        if (is_secret_key(begin, end)) {
            at = hide_value(at);
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
        text_ = shown_ = nullptr;  // nothing is shown, from wherever
        return;
    }
    hide_secrets(copy_.get());
    shown_ = copy_.get();
}
