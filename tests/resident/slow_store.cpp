// SPDX-License-Identifier: MIT
// A configuration store that keeps nothing, has an administrator and no other item, and does what a test of app.scgi
// needs: by environment variables it takes its time, refuses, or ends its process.
//
//   COMMIT_SECONDS=N   so long a commit takes
//   COMMIT_WHILE=FILE  so long as the file is there
//   READ_WHILE=FILE    so long as the file is there each read takes
//   CRASH_AT=ID        reading that item ends the process by a signal
//   OPENED=FILE        a byte is added to the file each time the store is opened
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>

#include "platform/apmib.h"

int wlan_idx = 0;
int vwlan_idx = 0;

namespace {

constexpr int kUserName = 182;
constexpr int kUserPassword = 183;

unsigned number_of(const char *variable) {
    const char *text = getenv(variable);
    return text != nullptr ? static_cast<unsigned>(strtoul(text, nullptr, 10)) : 0;
}

// However many signals come meanwhile.
void sleep_whole(unsigned seconds) {
    while (seconds != 0) {
        seconds = sleep(seconds);
    }
}

void wait_while(const char *variable) {
    const char *path = getenv(variable);
    while (path != nullptr && access(path, F_OK) == 0) {
        usleep(5000);
    }
}

}  // namespace

int apmib_init() {
    const char *path = getenv("OPENED");
    const int file = path != nullptr ? open(path, O_WRONLY | O_CREAT | O_APPEND, 0644) : -1;
    if (file >= 0) {
        static_cast<void>(!write(file, "x", 1));
        close(file);
    }
    return 1;
}

int apmib_get(int id, void *value) {
    if (getenv("CRASH_AT") != nullptr && static_cast<int>(number_of("CRASH_AT")) == id) {
        raise(SIGSEGV);
    }
    wait_while("READ_WHILE");
    if (id == kUserName || id == kUserPassword) {
        memcpy(value, "admin", sizeof "admin");
        return 1;
    }
    return 0;
}

int apmib_set(int /*id*/, void * /*value*/) {
    return 1;
}

int apmib_update(int /*type*/) {
    sleep_whole(number_of("COMMIT_SECONDS"));
    wait_while("COMMIT_WHILE");
    return 1;
}

int save_cs_to_file() {
    return 0;
}
