// SPDX-License-Identifier: MIT
// Whether a login is let try, and whether its account is the router's.
#ifndef LOGIN_ATTEMPTS_H
#define LOGIN_ATTEMPTS_H

struct Account {
    const char *user;
    const char *password;
};

// Whether the client may try a login now. One that may has tried: the attempt counts as wrong until
// forget_wrong_logins().
bool may_try_login();

// The client has shown that it knows the account.
void forget_wrong_logins();

// Whether the account that is given is the stored one, byte by byte.
bool is_account(const Account &stored, const Account &given);

#endif
