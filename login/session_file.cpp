// SPDX-License-Identifier: MIT
#include "login/session_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "base/input.h"
#include "base/output.h"
#include "base/report.h"
#include "base/resource.h"
#include "base/text.h"

namespace {

bool is_blank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

}  // namespace

const char *find_session_id(char *text) {
    if (strncmp(text, kSessionKey, strlen(kSessionKey)) != 0) {
        return text + strlen(text);
    }
    char *id = text + strlen(kSessionKey);
    while (is_blank(*id)) {
        ++id;
    }
    char *end = id;
    while (*end != '\0' && !is_blank(*end)) {
        ++end;
    }
    *end = '\0';
    return id;
}

bool replace_session_file(const char *text) {
    // A name that no other login uses. What a killed process has left under it is no obstacle.
    char path[sizeof kSessionPath + 16];
    join(path, {kSessionPath, ".", Decimal(getpid()).c_str()});
    unlink(path);
    const Descriptor file(open(path, O_WRONLY | O_CREAT | O_EXCL, 0600));
    if (file && write_all(file.get(), text, strlen(text)) && rename(path, kSessionPath) == 0) {
        return true;
    }
    report_error("the session file is not written");
    unlink(path);
    return false;
}

bool can_write_session() {
    return can_write(kSessionPath);
}
