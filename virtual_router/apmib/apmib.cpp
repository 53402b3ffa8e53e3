// libapmib.so: the store as its users see it.
//
// What a call costs is part of every request, so nothing happens before it is needed: apmib_init() opens the working
// copy for reading, the first write opens it for writing, and a commit copies it as a file.

#pragma GCC visibility push(default)
#include "platform/apmib.h"
#pragma GCC visibility pop

#include <cstdlib>
#include <cstring>

#include <sys/file.h>

#include "virtual_router/apmib/store.h"

int wlan_idx = 0;
int vwlan_idx = 0;

namespace {

store::Copy working;
bool writable = false;
MDB_txn *reader = nullptr;  // reset between two reads; kept because setting one up costs more than a read

enum Operation { kDeleteAll, kDelete, kAdd, kReadEntry, kWhole };

// A table with the count item c is reached through c itself and four more ids.
constexpr struct {
    int offset;
    Operation operation;
} kOperations[] = {
    {4 + 0x40000, kDeleteAll},
    {3 + 0x20000, kDelete   },
    {2 + 0x10000, kAdd      },
    {1 + 0x8000,  kReadEntry},
    {0,           kWhole    },
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

bool open_working(unsigned flags) {
    if (store::open_copy(&working, store::kWorkingPath, flags) != 0) {
        return false;
    }
    // A file without records is one that was never laid out.
    MDB_stat stat = {};
    if (mdb_env_stat(working.env, &stat) == 0 && stat.ms_entries > 0) {
        return true;
    }
    store::close_copy(&working);
    return false;
}

void close_working() {
    mdb_txn_abort(reader);
    reader = nullptr;
    store::close_copy(&working);
}

// LMDB forbids opening a file twice in a process, so the one for reading is closed first.
bool make_writable() {
    if (!writable && working.env != nullptr) {
        close_working();
        writable = open_working(MDB_NOSYNC);
    }
    return writable;
}

// Begins or goes on with the read transaction. The working copy's lock is held.
bool start_reader() {
    return reader != nullptr ? mdb_txn_renew(reader) == 0 : store::begin(&working, MDB_RDONLY, &reader) == 0;
}

// An item of the working copy in the slot that wlan_idx and vwlan_idx mean.
struct Place {
    store::Item item;
    MDB_val record;
    const uint8_t *value;
};

bool find(MDB_txn *txn, uint32_t id, Place *place) {
    MDB_val key = {sizeof(id), &id};
    if (mdb_get(txn, working.dbi, &key, &place->record) != 0 ||
        !store::read_record(place->record, &place->item, &place->value)) {
        return false;
    }
    if (place->item.slots > 1) {
        if (wlan_idx < 0 || wlan_idx >= store::kRadioCount || vwlan_idx < 0 || vwlan_idx >= store::kVirtualCount) {
            return false;
        }
        int slot = wlan_idx * store::kVirtualCount + vwlan_idx;
        place->value += static_cast<size_t>(slot) * store::slot_size(place->item);
    }
    return true;
}

size_t entry_count(const store::Item &item, const uint8_t *table) {
    int32_t count = 0;
    memcpy(&count, table, sizeof(count));
    return count < 0 ? 0 : count > item.limit ? item.limit : static_cast<size_t>(count);
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
    if (index < 1 || index > entry_count(item, place.value)) {
        return false;
    }
    memcpy(value, place.value + store::kCountSize + (index - 1) * item.width, item.width);
    return true;
}

// Changes a table in place. False: refused, and nothing was changed.
bool change_table(const store::Item &item, uint8_t *table, Operation operation, const void *entry) {
    size_t count = entry_count(item, table);
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

// The part of apmib_set() inside the write transaction.
bool write_in(MDB_txn *txn, Target target, const void *value) {
    Place place;
    if (!find(txn, target.id, &place)) {
        return false;
    }
    // A copy: LMDB leaves nothing of a value that it is told to replace.
    auto slot = place.value - static_cast<const uint8_t *>(place.record.mv_data);
    auto record = static_cast<uint8_t *>(malloc(place.record.mv_size));
    if (record == nullptr) {
        return false;
    }
    memcpy(record, place.record.mv_data, place.record.mv_size);
    MDB_val key = {sizeof(target.id), &target.id};
    MDB_val data = {place.record.mv_size, record};
    bool done = change_value(place.item, record + slot, target.operation, value);
    if (done) {
        store::seal_record(target.id, record, data.mv_size);
        done = mdb_put(txn, working.dbi, &key, &data, 0) == 0;
    }
    free(record);
    return done;
}

}  // namespace

int apmib_init() {
    if (working.env != nullptr) {
        return 1;
    }
    writable = false;
    return open_working(MDB_RDONLY) ? 1 : 0;
}

int apmib_get(int id, void *value) {
    if (value == nullptr || working.env == nullptr || !store::lock_copy(working, LOCK_SH)) {
        return 0;
    }
    Target target = resolve_id(id);
    bool done = false;
    if (start_reader()) {
        Place place;
        done = find(reader, target.id, &place) && read_value(place, target.operation, value);
        mdb_txn_reset(reader);
    }
    store::lock_copy(working, LOCK_UN);
    return done ? 1 : 0;
}

int apmib_set(int id, void *value) {
    if (value == nullptr || !make_writable() || !store::lock_copy(working, LOCK_EX)) {
        return 0;
    }
    MDB_txn *txn = nullptr;
    bool done = false;
    if (store::begin(&working, 0, &txn) == 0) {
        if (write_in(txn, resolve_id(id), value)) {
            done = mdb_txn_commit(txn) == 0;
        } else {
            mdb_txn_abort(txn);
        }
    }
    store::lock_copy(working, LOCK_UN);
    return done ? 1 : 0;
}

int apmib_update(int type) {
    constexpr int kCommit = 4;
    return type == kCommit && working.env != nullptr && store::commit(&working) == 0 ? 1 : 0;
}

int save_cs_to_file() {
    return store::save_settings() == 0 ? 0 : -1;
}
