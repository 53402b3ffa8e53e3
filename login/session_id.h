// SPDX-License-Identifier: MIT
// Session ids.
#ifndef LOGIN_SESSION_ID_H
#define LOGIN_SESSION_ID_H

#include "base/text.h"

// "Us", 32 hexadecimal digits and the terminator.
constexpr int kSessionIdSize = 2 + 32 + 1;

// Makes the id of a login by `user` at this second into `out`. 0, or -1 when the digest could not be made; `out` is
// then untouched. Two logins of one user in the same second get the same id.
int gen_sessionid(const char *user, Out out);

#endif
