// SPDX-License-Identifier: MIT
// Users by name.
#ifndef RESIDENT_ACCOUNT_H
#define RESIDENT_ACCOUNT_H

#include <sys/types.h>

struct Account {
    uid_t user;
    gid_t group;
};

// Finds "USER" or "USER:GROUP", each a name or a number; a user's own group where none is said. False, and told: there
// is none.
bool find_account(const char *text, Account &account);

// Becomes that user for good, with no other groups. False, and told: it may not.
bool become(const Account &account);

#endif
