// SPDX-License-Identifier: MIT
// firmware-check: tries what a firmware supplies against docs/firmware.md, on the device itself. It links what app.cgi
// links.
//
//   firmware-check [--store-only] [--commit] [--reboot COMMAND]
//
// The store's working copy is changed and put back; run it while nobody uses the router. --commit commits what is
// there, which writes flash. --reboot has the shell play a reboot: what was committed last must come back.
#include <cstdio>
#include <cstring>

#include "tests/firmware/check/checks.h"
#include "tests/firmware/check/report.h"

int main(int count, char **arguments) {
    bool store_only = false;
    bool commit = false;
    const char *reboot = nullptr;
    for (int i = 1; i < count; ++i) {
        if (strcmp(arguments[i], "--store-only") == 0) {
            store_only = true;
        } else if (strcmp(arguments[i], "--commit") == 0) {
            commit = true;
        } else if (strcmp(arguments[i], "--reboot") == 0 && i + 1 < count) {
            reboot = arguments[++i];
        } else {
            fputs("usage: firmware-check [--store-only] [--commit] [--reboot COMMAND]\n", stderr);
            return 2;
        }
    }
    begin();
    check_store(commit, reboot);
    if (!store_only) {
        check_around();
    }
    return finish();
}
