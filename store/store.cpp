// SPDX-License-Identifier: MIT
#include "store/store.h"

#include <cstring>

#include "base/report.h"
#include "platform/apmib.h"

namespace {
// Begins as true, and so lies beside what is written anyway: behind the large tables it would cost a request a page.
bool g_closed = true;
}  // namespace

void store_open_ahead() {
    g_closed = g_closed && apmib_init() == 0;
}

bool store_open() {
    store_open_ahead();
    if (!g_closed) {
        return true;
    }
    report("the configuration store cannot be opened");
    return false;
}

bool store_read_raw(int id, void *value) {
    return apmib_get(id, value) != 0;
}

bool store_write_raw(int id, const void *value) {
    // The library takes a pointer to non-const and only reads through it.
    return apmib_set(id, const_cast<void *>(value)) != 0;
}

void store_commit() {
    if (apmib_update(kCommitWorkingCopy) == 0) {
        report("the settings are not committed: a reboot loses them");
    } else if (save_cs_to_file() != 0) {
        report("the settings are committed, but their file is not written");
    }
}

bool fit_text(const char *text, char *out, size_t width) {
    const size_t length = strlen(text);
    if (length >= width) {
        return false;
    }
    memcpy(out, text, length + 1);
    return true;
}
