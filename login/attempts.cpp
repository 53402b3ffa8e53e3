// SPDX-License-Identifier: MIT
// Every client may try as often as it likes.
#include "login/attempts.h"

#include <cstring>

bool may_try_login() {
    return true;
}

void forget_wrong_logins() {}

bool is_account(const Account &stored, const Account &given) {
    return strcmp(stored.user, given.user) == 0 && strcmp(stored.password, given.password) == 0;
}
