// SPDX-License-Identifier: MIT
// What the parts of the preloaded library have in common.
#ifndef VIRTUAL_ROUTER_DRIVER_NEXT_H
#define VIRTUAL_ROUTER_DRIVER_NEXT_H

#include <dlfcn.h>

#define PLAYED extern "C" __attribute__((visibility("default")))

// The next library's function behind one that is played here. Kept, because the endpoint opens many files.
template <typename Function>
Function *next(const char *name, Function *&kept) {
    if (kept == nullptr) {
        kept = reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
    }
    return kept;
}

#endif
