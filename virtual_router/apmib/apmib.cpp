// SPDX-License-Identifier: MIT
// libapmib.so: the store as its users see it. Each read and each write is a transaction of LMDB.

#pragma GCC visibility push(default)
#include "platform/apmib.h"
#pragma GCC visibility pop

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <unistd.h>

#include "platform/tables.h"
#include "virtual_router/apmib/store.h"
#include "virtual_router/tap/hooks.h"

int wlan_idx = 0;
int vwlan_idx = 0;

namespace {

store::Copy working;

enum Operation { kDeleteAll, kDelete, kAdd, kReadEntry, kWhole };

// A table with the count item c is reached through c itself and four more ids.
constexpr struct {
    int offset;
    Operation operation;
} kOperations[] = {
    {0,               kWhole    },
    {kTableRead,      kReadEntry},
    {kTableAdd,       kAdd      },
    {kTableDelete,    kDelete   },
    {kTableDeleteAll, kDeleteAll},
};

// What an id of a call means.
struct Target {
    uint32_t id;  // of the item, which is the count item for a table
    Operation operation;
};

Target resolve_id(int id) {
    for (auto &row : kOperations) {
        if (id > row.offset && id - row.offset < static_cast<int>(store::kIdLimit)) {
            return {static_cast<uint32_t>(id - row.offset), row.operation};
        }
    }
    return {0, kWhole};  // which is no item
}

// An item of the working copy in the slot that wlan_idx and vwlan_idx mean.
struct Place {
    store::Item item;
    MDB_val record;
    int slot;
    const uint8_t *value;
};

bool find(MDB_txn *txn, uint32_t id, Place *place) {
    MDB_val key = {sizeof(id), &id};
    if (mdb_get(txn, working.dbi, &key, &place->record) != 0 ||
        !store::read_record(place->record, &place->item, &place->value)) {
        return false;
    }
    place->slot = 0;
    if (place->item.slots > 1) {
        if (wlan_idx < 0 || wlan_idx >= store::kRadioCount || vwlan_idx < 0 || vwlan_idx >= store::kVirtualCount) {
            return false;
        }
        place->slot = wlan_idx * store::kVirtualCount + vwlan_idx;
        place->value += static_cast<size_t>(place->slot) * store::slot_size(place->item);
    }
    return true;
}

bool read_value(const Place &place, Operation operation, void *value) {
    const store::Item &item = place.item;
    bool table = item.kind == store::kTable;
    if (operation == kWhole) {
        memcpy(value, place.value, table ? store::kCountSize : item.width);
        return true;
    }
    if (operation != kReadEntry || !table) {
        return false;
    }
    size_t index = *static_cast<const uint8_t *>(value);
    if (index < 1 || index > store::entry_count(item, place.value)) {
        return false;
    }
    memcpy(value, place.value + store::kCountSize + (index - 1) * item.width, item.width);
    return true;
}

// Changes a table in place. False: refused, and nothing was changed.
bool change_table(const store::Item &item, uint8_t *table, Operation operation, const void *entry) {
    size_t count = store::entry_count(item, table);
    uint8_t *entries = table + store::kCountSize;
    uint8_t *end = entries + count * item.width;
    switch (operation) {
        case kAdd:
            if (count == item.limit) {
                return false;
            }
            memcpy(end, entry, item.width);
            count++;
            break;
        case kDelete: {
            uint8_t *victim = entries;
            while (victim < end && memcmp(victim, entry, item.match) != 0) {
                victim += item.width;
            }
            if (victim == end) {
                return false;
            }
            end -= item.width;
            memmove(victim, victim + item.width, static_cast<size_t>(end - victim));
            memset(end, 0, item.width);
            count--;
            break;
        }
        case kDeleteAll:
            memset(entries, 0, count * item.width);
            count = 0;
            break;
        default:
            return false;
    }
    auto stored = static_cast<int32_t>(count);
    memcpy(table, &stored, sizeof(stored));
    return true;
}

// Changes a slot in place. False: refused, and nothing was changed.
bool change_value(const store::Item &item, uint8_t *slot, Operation operation, const void *value) {
    if (item.kind == store::kTable) {
        return change_table(item, slot, operation, value);
    }
    if (operation != kWhole) {
        return false;
    }
    size_t size = item.width;
    if (item.kind == store::kText) {
        size = strnlen(static_cast<const char *>(value), item.width);
        if (size == item.width) {
            return false;
        }
        memset(slot + size, 0, item.width - size);
    }
    memcpy(slot, value, size);
    return true;
}

// --- what the tap is told ---

// The fault that lets a call fail; nullptr: none does, or nobody listens.
const Fault *strike(const TapHooks *tap, Call call, uint32_t id = 0) {
    return tap != nullptr ? tap->strike(call, {static_cast<int>(id), true, wlan_idx, vwlan_idx}) : nullptr;
}

Call call_of(Operation operation) {
    switch (operation) {
        case kDeleteAll:
            return Call::kDeleteAll;
        case kDelete:
            return Call::kDelete;
        case kAdd:
            return Call::kAdd;
        case kReadEntry:
        case kWhole:
            break;
    }
    return Call::kSet;
}

Event event_of(Operation operation) {
    switch (operation) {
        case kDeleteAll:
            return Event::kDeleteAll;
        case kDelete:
            return Event::kDelete;
        case kAdd:
            return Event::kAdd;
        case kReadEntry:
            return Event::kEntry;
        case kWhole:
            break;
    }
    return Event::kSet;
}

EventItem told_item(uint32_t id, bool of_interface) {
    return {static_cast<int>(id), of_interface, wlan_idx, vwlan_idx};
}

// Of a text what stands before its terminator.
ToldBytes told_bytes(const store::Item &item, Operation operation, const void *value) {
    size_t size = item.width;
    if (item.kind == store::kTable && operation == kWhole) {
        size = store::kCountSize;
    } else if (item.kind == store::kText) {
        size = strnlen(static_cast<const char *>(value), item.width);
    }
    return {value, size < kMostToldBytes ? size : kMostToldBytes};
}

// What a write is about to change, kept for the tap while it is being changed.
struct Before {
    bool refused;  // the write: a fault befalls it
    bool found;    // the item
    store::Item item;
    size_t size;
    bool known;
    uint8_t value[kMostToldBytes];
};

void keep_before(Before *before, const Place &place, Operation operation) {
    before->found = true;
    before->item = place.item;
    if (operation == kWhole) {
        const ToldBytes value = told_bytes(place.item, operation, place.value);
        before->known = true;
        before->size = value.size;
        memcpy(before->value, value.data, value.size);
    } else if (operation == kDeleteAll) {
        const size_t size = store::entry_count(place.item, place.value) * place.item.width;
        before->known = true;
        before->size = size < kMostToldBytes ? size : kMostToldBytes;
        memcpy(before->value, place.value + store::kCountSize, before->size);
    }
}

void tell_write(const TapHooks &tap, Target target, const Before &before, const void *value, bool done,
                const Fault *fault) {
    StoreCall call = {event_of(target.operation),
                      told_item(target.id, before.found && before.item.slots > 1),
                      done,
                      how_of(fault),
                      {},
                      {}};
    if (!before.found) {
        call.value = {"", 0};
    } else if (target.operation != kDeleteAll) {
        call.value = told_bytes(before.item, target.operation, value);
    }
    if (before.known) {
        call.before = {before.value, before.size};
    }
    tap.tell_store(call);
}

void tell_read(const TapHooks &tap, Target target, const Place *place, const void *value, bool done,
               const Fault *fault) {
    StoreCall call = {target.operation == kReadEntry ? Event::kEntry : Event::kGet,
                      told_item(target.id, place != nullptr && place->item.slots > 1),
                      done,
                      how_of(fault),
                      {},
                      {}};
    if (done) {
        call.value = told_bytes(place->item, target.operation, value);
    }
    tap.tell_store(call);
}

struct FreeBytes {
    void operator()(uint8_t *bytes) const { free(bytes); }
};

// The part of a write inside its transaction: stores a changed copy of the record. Returns 0 or an error of LMDB's or
// the system's, EINVAL for what is refused.
int put(MDB_txn *txn, Target target, const void *value, Before *before) {
    Place place;
    if (!find(txn, target.id, &place)) {
        return EINVAL;
    }
    if (before != nullptr) {
        keep_before(before, place, target.operation);
        if (before->refused) {
            return EINVAL;
        }
    }
    auto stored = static_cast<const uint8_t *>(place.record.mv_data);
    std::unique_ptr<uint8_t, FreeBytes> record(static_cast<uint8_t *>(malloc(place.record.mv_size)));
    if (record == nullptr) {
        return ENOMEM;
    }
    memcpy(record.get(), stored, place.record.mv_size);
    if (!change_value(place.item, record.get() + (place.value - stored), target.operation, value)) {
        return EINVAL;
    }
    MDB_val key = {sizeof(target.id), &target.id};
    MDB_val data = {place.record.mv_size, record.get()};
    return mdb_put(txn, working.dbi, &key, &data, 0);
}

// `before` may be nullptr.
int write(Target target, const void *value, Before *before) {
    MDB_txn *txn = nullptr;
    int error = store::begin(&working, 0, &txn);
    if (error != 0) {
        return error;
    }
    error = put(txn, target, value, before);
    if (error != 0) {
        mdb_txn_abort(txn);
        return error;
    }
    return mdb_txn_commit(txn);
}

}  // namespace

int apmib_init() {
    const TapHooks *tap = find_tap();
    const Fault *fault = strike(tap, Call::kInit);
    const bool done = fault == nullptr && (working.env != nullptr || store::open_working(&working, false) == 0);
    if (tap != nullptr) {
        tap->tell_init(done, how_of(fault));
    }
    return fault != nullptr ? failed_result(*fault, 0) : done ? 1 : 0;
}

int apmib_get(int id, void *value) {
    const TapHooks *tap = find_tap();
    const Target target = resolve_id(id);
    const Fault *fault = strike(tap, target.operation == kReadEntry ? Call::kEntry : Call::kGet, target.id);
    MDB_txn *txn = nullptr;
    if (value == nullptr || working.env == nullptr || store::begin(&working, MDB_RDONLY, &txn) != 0) {
        return 0;
    }
    Place place;
    const bool found = find(txn, target.id, &place);
    const bool done = found && fault == nullptr && read_value(place, target.operation, value);
    mdb_txn_abort(txn);
    if (tap != nullptr) {
        tell_read(*tap, target, found ? &place : nullptr, value, done, fault);
    }
    return fault != nullptr ? failed_result(*fault, 0) : done ? 1 : 0;
}

int apmib_set(int id, void *value) {
    if (value == nullptr || working.env == nullptr) {
        return 0;
    }
    const TapHooks *tap = find_tap();
    const Target target = resolve_id(id);
    const Fault *fault = strike(tap, call_of(target.operation), target.id);
    static Before room;
    Before *before = tap != nullptr ? &room : nullptr;
    room.refused = fault != nullptr;
    room.found = false;
    room.known = false;
    int error = write(target, value, before);
    // A process that was stopped while it reads keeps all that was written since from being written over. There is room
    // again when it goes on, or when it is found to be dead.
    constexpr int kMostMilliseconds = 5000;
    for (int i = 0; error == MDB_MAP_FULL && i < kMostMilliseconds; i++) {
        mdb_reader_check(working.env, nullptr);
        usleep(1000);
        error = write(target, value, before);
    }
    if (tap != nullptr) {
        tell_write(*tap, target, room, value, error == 0, fault);
    }
    return fault != nullptr ? failed_result(*fault, 0) : error == 0 ? 1 : 0;
}

int apmib_update(int type) {
    const TapHooks *tap = find_tap();
    const int64_t since = tap != nullptr ? tap->now() : 0;
    const Fault *fault = strike(tap, Call::kCommit);
    store::cut_power = strike(tap, Call::kCutPower) != nullptr;
    const bool done =
        fault == nullptr && type == kCommitWorkingCopy && working.env != nullptr && store::commit(&working) == 0;
    if (tap != nullptr) {
        tap->tell_commit(Event::kCommit, done, how_of(fault), type, since);
    }
    return fault != nullptr ? failed_result(*fault, 0) : done ? 1 : 0;
}

int save_cs_to_file() {
    const TapHooks *tap = find_tap();
    const int64_t since = tap != nullptr ? tap->now() : 0;
    const Fault *fault = strike(tap, Call::kSave);
    const bool done = fault == nullptr && store::save_settings() == 0;
    if (tap != nullptr) {
        tap->tell_commit(Event::kSave, done, how_of(fault), kCommitWorkingCopy, since);
    }
    return fault != nullptr ? failed_result(*fault, -1) : done ? 0 : -1;
}
