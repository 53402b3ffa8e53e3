// SPDX-License-Identifier: MIT
// The session file holds the id and nothing else: whoever knows the id has the session, for as long as the file is
// there.
#include "login/session.h"

#include <cstring>

#include "base/input.h"
#include "base/text.h"
#include "login/session_file.h"
#include "login/session_id.h"

bool write_session(const char *id) {
    char text[sizeof kSessionKey + kSessionIdSize];
    join(text, {kSessionKey, id});
    return replace_session_file(text);
}

bool read_session(Session &session) {
    if (!read_beginning(kSessionPath, session.text)) {
        return false;
    }
    session.id = find_session_id(session.text);
    return true;
}

bool is_of_session(const Session &session, const char *given) {
    // A file without an id lets nobody in, not even with an empty one, and neither does an id that may have been cut.
    const bool whole = session.id + strlen(session.id) < session.text + sizeof session.text - 1;
    return whole && *session.id != '\0' && strcmp(session.id, given) == 0;
}
