// SPDX-License-Identifier: MIT
// Login and sessions. The router knows one session id at a time, kept in a file; a login replaces it, a logout removes
// it.
#ifndef LOGIN_LOGIN_H
#define LOGIN_LOGIN_H

#include "base/resource.h"

// Codes of a login reply; part of the protocol.
constexpr int kLoginSuccess = 0;
constexpr int kNeedLogin = 6;
constexpr int kLoginFail = 7;

// Action "login". Prints the reply; returns -1 without a request, else 0.
int app_action_login(cJSON *request);

// 0 when the request carries the id of the session file, else -1.
int checkLogin(const cJSON *request);

// Prints a login reply: `reply`, or a new object when it is empty, with the action and the result added.
void send_login_response(Json reply, int code);

#endif
