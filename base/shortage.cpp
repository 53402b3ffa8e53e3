// SPDX-License-Identifier: MIT
#include "base/shortage.h"

#include <cjson/cJSON.h>

#include <cerrno>
#include <cstdlib>

namespace {

bool g_short = false;

void *allocate(size_t size) {
    void *memory = malloc(size);
    if (memory == nullptr) {
        g_short = true;
    }
    return memory;
}

}  // namespace

void watch_json_allocations() {
    cJSON_Hooks hooks = {allocate, free};
    cJSON_InitHooks(&hooks);
}

void note_shortage() {
    g_short = true;
}

void note_shortage_if(int error) {
    if (error == ENOMEM) {
        g_short = true;
    }
}

bool was_short() {
    return g_short;
}
