// SPDX-License-Identifier: MIT
#include "resident/user_ids.h"

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

bool find_user(const char *name, UserIds &ids) {
    unsigned number = 0;
    const bool by_number = is_number(name, number);
    const passwd *user = by_number ? getpwuid(number) : getpwnam(name);
    if (user == nullptr && !by_number) {
        return false;
    }
    ids.user = user != nullptr ? user->pw_uid : number;
    ids.group = user != nullptr ? user->pw_gid : number;
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

bool find_user_ids(const char *text, UserIds &ids) {
    char name[64] = {};
    const char *colon = strchr(text, ':');
    if (!join(name, {text})) {
        tell("'%s' is no user", text);
        return false;
    }
    if (colon != nullptr) {
        name[colon - text] = '\0';
    }
    if (!find_user(name, ids)) {
        tell("there is no user '%s'", name);
        return false;
    }
    if (colon != nullptr && !find_group(colon + 1, ids.group)) {
        tell("there is no group '%s'", colon + 1);
        return false;
    }
    return true;
}

bool become(const UserIds &ids) {
    if (setgroups(0, nullptr) != 0 || setgid(ids.group) != 0 || setuid(ids.user) != 0) {
        tell_error("the user cannot be changed");
        return false;
    }
    return true;
}
