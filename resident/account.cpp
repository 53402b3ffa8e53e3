// SPDX-License-Identifier: MIT
#include "resident/account.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "base/text.h"
#include "resident/tell.h"

namespace {

// Whether the whole text is a number, which is then in `number`.
bool is_number(const char *text, unsigned &number) {
    char *end = nullptr;
    number = static_cast<unsigned>(strtoul(text, &end, 10));
    return *text >= '0' && *text <= '9' && *end == '\0';
}

bool find_user(const char *name, Account &account) {
    unsigned number = 0;
    const bool by_number = is_number(name, number);
    const passwd *user = by_number ? getpwuid(number) : getpwnam(name);
    if (user == nullptr && !by_number) {
        return false;
    }
    account.user = user != nullptr ? user->pw_uid : number;
    account.group = user != nullptr ? user->pw_gid : number;
    return true;
}

bool find_group(const char *name, gid_t &group) {
    unsigned number = 0;
    if (is_number(name, number)) {
        group = number;
        return true;
    }
    const ::group *found = getgrnam(name);
    if (found == nullptr) {
        return false;
    }
    group = found->gr_gid;
    return true;
}

}  // namespace

bool find_account(const char *text, Account &account) {
    char name[64] = {};
    const char *colon = strchr(text, ':');
    if (!join(name, {text})) {
        tell("'%s' is no user", text);
        return false;
    }
    if (colon != nullptr) {
        name[colon - text] = '\0';
    }
    if (!find_user(name, account)) {
        tell("there is no user '%s'", name);
        return false;
    }
    if (colon != nullptr && !find_group(colon + 1, account.group)) {
        tell("there is no group '%s'", colon + 1);
        return false;
    }
    return true;
}

bool become(const Account &account) {
    if (setgroups(0, nullptr) != 0 || setgid(account.group) != 0 || setuid(account.user) != 0) {
        tell_error("the user cannot be changed");
        return false;
    }
    return true;
}
