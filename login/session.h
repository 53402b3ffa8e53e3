// SPDX-License-Identifier: MIT
// The one session that the router knows: what stands of it in its file, and whether a request belongs to it.
#ifndef LOGIN_SESSION_H
#define LOGIN_SESSION_H

// What the session file holds. An object of its own, because `id` points into it.
struct Session {
    char text[1034] = {};
    const char *id = "";  // empty: there is none
    Session() = default;
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;
};

// Replaces the session by a new one of this id, whole or not at all. False: the file can't be written; standard error
// says why.
bool write_session(const char *id);

// Reads the session file. False: there is none, or it can't be read.
bool read_session(Session &session);

// Whether a request that brings this id belongs to the session.
bool is_of_session(const Session &session, const char *given);

#endif
