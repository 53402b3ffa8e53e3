// SPDX-License-Identifier: MIT
// The file of the session.
#ifndef LOGIN_SESSION_FILE_H
#define LOGIN_SESSION_FILE_H

#include "platform/product.h"

constexpr char kSessionPath[] = PRODUCT_SESSION;
constexpr char kSessionKey[] = "sessionid=";

// The id in the file's text: the word behind the key, which gets its terminator. Empty, and the text's end: there is
// none.
const char *find_session_id(char *text);

// Puts a file with this text in the place of the old one, whole or not at all: what others read meanwhile, or after
// this process was killed, is one of the two. Nobody but its owner may read it. False: not done; standard error says
// why.
bool replace_session_file(const char *text);

// Whether the session file, if there is one, is a file that may be written.
bool can_write_session();

#endif
