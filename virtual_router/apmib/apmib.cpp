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

struct FreeBytes {
    void operator()(uint8_t *bytes) const { free(bytes); }
};

// The part of a write inside its transaction: stores a changed copy of the record. Returns 0 or an error of LMDB's or
// the system's, EINVAL for what is refused.
int put(MDB_txn *txn, Target target, const void *value) {
    Place place;
    if (!find(txn, target.id, &place)) {
        return EINVAL;
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

int write(Target target, const void *value) {
    MDB_txn *txn = nullptr;
    int error = store::begin(&working, 0, &txn);
    if (error != 0) {
        return error;
    }
    error = put(txn, target, value);
    if (error != 0) {
        mdb_txn_abort(txn);
        return error;
    }
    return mdb_txn_commit(txn);
}

}  // namespace

int apmib_init() {
    return working.env != nullptr || store::open_working(&working, false) == 0 ? 1 : 0;
}

int apmib_get(int id, void *value) {
    MDB_txn *txn = nullptr;
    if (value == nullptr || working.env == nullptr || store::begin(&working, MDB_RDONLY, &txn) != 0) {
        return 0;
    }
    Target target = resolve_id(id);
    Place place;
    bool done = find(txn, target.id, &place) && read_value(place, target.operation, value);
    mdb_txn_abort(txn);
    return done ? 1 : 0;
}

int apmib_set(int id, void *value) {
    if (value == nullptr || working.env == nullptr) {
        return 0;
    }
    Target target = resolve_id(id);
    int error = write(target, value);
    // A process that was stopped while it reads keeps all that was written since from being written over. There is room
    // again when it goes on, or when it is found to be dead.
    constexpr int kMostMilliseconds = 5000;
    for (int i = 0; error == MDB_MAP_FULL && i < kMostMilliseconds; i++) {
        mdb_reader_check(working.env, nullptr);
        usleep(1000);
        error = write(target, value);
    }
    return error == 0 ? 1 : 0;
}

int apmib_update(int type) {
    return type == kCommitWorkingCopy && working.env != nullptr && store::commit(&working) == 0 ? 1 : 0;
}

int save_cs_to_file() {
    return store::save_settings() == 0 ? 0 : -1;
}
