// SPDX-License-Identifier: MIT
// Users by name.
#ifndef RESIDENT_USER_IDS_H
#define RESIDENT_USER_IDS_H

#include <sys/types.h>

struct UserIds {
    uid_t user;
    gid_t group;
};

// Finds "USER" or "USER:GROUP", each a name or a number; a user's own group where none is said. False, and told: there
// is none.
bool find_user_ids(const char *text, UserIds &ids);

// Becomes that user for good, with no other groups. False, and told: it may not.
bool become(const UserIds &ids);

#endif
