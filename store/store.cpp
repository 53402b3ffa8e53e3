#include "store/store.h"

#include <cstring>

#include "platform/apmib.h"

namespace {
constexpr int kCommitWorkingCopy = 4;
}

bool store_open() {
    return apmib_init() != 0;
}

bool store_read_raw(int id, void *value) {
    return apmib_get(id, value) != 0;
}

bool store_write_raw(int id, const void *value) {
    // The library takes a pointer to non-const and only reads through it.
    return apmib_set(id, const_cast<void *>(value)) != 0;
}

void store_commit() {
    if (apmib_update(kCommitWorkingCopy) != 0) {
        save_cs_to_file();
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
