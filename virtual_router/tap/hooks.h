// SPDX-License-Identifier: MIT
// What the virtual router's own libraries tell the tap. They find it by the one weak symbol below, so that they are
// whole without it, as they are in a program that has no tap.
#ifndef VIRTUAL_ROUTER_TAP_HOOKS_H
#define VIRTUAL_ROUTER_TAP_HOOKS_H

#include <cstddef>
#include <cstdint>

#include "virtual_router/vocabulary/event.h"
#include "virtual_router/vocabulary/fault.h"

struct ArpEntry;

// Of a value no more is told than this. It holds every item and the longest entry of a table; of a table that is
// emptied it may be the beginning.
constexpr size_t kMostToldBytes = 8192;

struct ToldBytes {
    const void *data;
    size_t size;
};

// A call on an item of the store: what it was for, and what it came to.
struct StoreCall {
    Event event;
    EventItem item;
    bool done;
    const char *how;  // of the mark of failure; nullptr: as such a call fails
    ToldBytes value;
    ToldBytes before;  // data is nullptr where nothing was there, or nobody knows
};

struct TapHooks {
    int64_t (*now)();  // microseconds since 1970 of the PC's clock
    void (*tell_store)(const StoreCall &call);
    // A commit or a save that began then. `type` is as of apmib_update(), `how` as of a StoreCall.
    void (*tell_commit)(Event event, bool done, const char *how, int type, int64_t since);
    void (*tell_init)(bool done, const char *how);
    void (*tell_arp)(const char *bridge, const ArpEntry *entries, int count);
    // The fault that lets this call fail; nullptr: none does. A delay has passed then. Of a call on no item the id is
    // 0.
    const Fault *(*strike)(Call call, const EventItem &item);
};

// What a call returns that such a fault befalls.
inline int failed_result(const Fault &fault, int usual) {
    return fault.how[0] != '\0' ? atoi(fault.how) : usual;
}

inline const char *how_of(const Fault *fault) {
    return fault != nullptr && fault->how[0] != '\0' ? fault->how : nullptr;
}

// nullptr: nobody listens.
extern "C" __attribute__((visibility("default"), weak)) const TapHooks *tap_hooks;

inline const TapHooks *find_tap() {
    return &tap_hooks != nullptr ? tap_hooks : nullptr;
}

#endif
