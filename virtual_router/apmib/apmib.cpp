// libapmib.so: the store as its users see it.
//
// What a call costs is part of every request, so nothing happens before it is needed: apmib_init() opens the working
// copy for reading, a write overwrites a part of a page of it where it can, and a commit copies it as a file.

#pragma GCC visibility push(default)
#include "platform/apmib.h"
#pragma GCC visibility pop

#include <algorithm>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "virtual_router/apmib/store.h"

int wlan_idx = 0;
int vwlan_idx = 0;

namespace {

store::Copy working;
size_t page_size = 0;       // of the working copy
bool writable = false;      // whether it is open for transactions that write
int overwriter = -1;        // the working copy's file, opened for writing by the first write
MDB_txn *reader = nullptr;  // kept for the next read, since beginning one costs more than to read

// Records that were looked up, each in the place of its id's remainder: whoever reads a table, or writes an item of all
// interfaces, asks for the same ones again and again.
struct Seen {
    size_t transaction;  // the number of the last one that had written when the record was looked up; 0: none was
    uint32_t id;
    MDB_val record;
};
constexpr size_t kSeenPlaces = 16;
Seen seen[kSeenPlaces] = {};

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

bool open_working(unsigned flags) {
    if (store::open_copy(&working, store::kWorkingPath, flags) != 0) {
        return false;
    }
    // A file without records is one that was never laid out.
    MDB_stat stat = {};
    if (mdb_env_stat(working.env, &stat) == 0 && stat.ms_entries > 0) {
        page_size = stat.ms_psize;
        return true;
    }
    store::close_copy(&working);
    return false;
}

void close_working() {
    mdb_txn_abort(reader);
    reader = nullptr;
    for (Seen &place : seen) {
        place = {};
    }
    if (overwriter >= 0) {
        close(overwriter);
        overwriter = -1;
    }
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

// Makes the reader see what was written last. The working copy's lock is held.
bool start_reader() {
    if (reader == nullptr) {
        return store::begin(&working, MDB_RDONLY, &reader) == 0;
    }
    MDB_envinfo newest = {};
    if (mdb_env_info(working.env, &newest) != 0) {
        return false;
    }
    if (newest.me_last_txnid == mdb_txn_id(reader)) {
        return true;
    }
    mdb_txn_reset(reader);
    return mdb_txn_renew(reader) == 0;
}

// An item of the working copy in the slot that wlan_idx and vwlan_idx mean.
struct Place {
    store::Item item;
    MDB_val record;
    int slot;
    const uint8_t *value;
};

bool look_up(MDB_txn *txn, uint32_t id, MDB_val *record) {
    // A transaction that writes moves records; the numbers of readers tell whether there was one since.
    size_t transaction = txn == reader ? mdb_txn_id(txn) : 0;
    Seen &place = seen[id % kSeenPlaces];
    if (transaction == 0 || transaction != place.transaction || id != place.id) {
        MDB_val key = {sizeof(id), &id};
        if (mdb_get(txn, working.dbi, &key, record) != 0) {
            return false;
        }
        place = {transaction, id, *record};
    }
    *record = place.record;
    return true;
}

bool find(MDB_txn *txn, uint32_t id, Place *place) {
    if (!look_up(txn, id, &place->record) || !store::read_record(place->record, &place->item, &place->value)) {
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

// Writes the checksum into a record whose slot was changed from the stored one.
void seal_slot(uint32_t id, const Place &stored, const uint8_t *slot, uint8_t *record) {
    if (stored.item.slots == 1) {
        store::seal_record(id, record);
        return;
    }
    uint64_t sum = stored.item.sum ^ store::sum_slot(stored.item, stored.slot, stored.value) ^
                   store::sum_slot(stored.item, stored.slot, slot);
    memcpy(record + offsetof(store::Item, sum), &sum, sizeof(sum));
}

// A stored record's copy with a change that is not stored yet.
struct Draft {
    MDB_val stored;
    size_t begin;  // of the slot that was changed
    size_t end;  // of what differs in what the stored one uses; `begin`: nothing does. The checksum stands before both
    size_t new_from;  // what the stored one does not use yet, up to new_to
    size_t new_to;
};

bool changes_nothing(const Draft &draft) {
    return draft.end == draft.begin;
}

uint8_t draft_record[store::kMapSize];  // the copy; the kernel gives it no memory before it is needed

// Looks a record up and changes its copy. False: refused, and there is no draft.
bool draft_change(MDB_txn *txn, Target target, const void *value, Draft *draft) {
    Place place;
    if (!find(txn, target.id, &place) || place.record.mv_size > sizeof(draft_record)) {
        return false;
    }
    memcpy(draft_record, place.record.mv_data, place.record.mv_size);
    auto begin = static_cast<size_t>(place.value - static_cast<const uint8_t *>(place.record.mv_data));
    uint8_t *slot = draft_record + begin;
    if (!change_value(place.item, slot, target.operation, value)) {
        return false;
    }
    size_t used = store::used_size(place.item, place.value);
    size_t uses = store::used_size(place.item, slot);
    size_t common = std::min(used, uses);
    *draft = {place.record, begin, begin + common, begin + used, begin + std::max(used, uses)};
    if (memcmp(slot, place.value, common) == 0) {
        draft->end = begin;
    } else if (place.item.kind == store::kTable &&
               memcmp(slot + store::kCountSize, place.value + store::kCountSize, common - store::kCountSize) == 0) {
        draft->end = begin + store::kCountSize;  // the entries that it has before and after stay where they are
    }
    if (!changes_nothing(*draft)) {
        seal_slot(target.id, place, slot, draft_record);
    }
    return true;
}

// Opens the file of the working copy for writing. False: it cannot be, or another one has taken the place of the one
// that is read here.
bool open_overwriter() {
    if (overwriter < 0) {
        int read_one = -1;
        struct stat read = {};
        struct stat written = {};
        overwriter = open(store::kWorkingPath, O_RDWR | O_CLOEXEC);
        if (mdb_env_get_fd(working.env, &read_one) != 0 || fstat(read_one, &read) != 0 ||
            fstat(overwriter, &written) != 0 || read.st_dev != written.st_dev || read.st_ino != written.st_ino) {
            close(overwriter);
            overwriter = -1;
        }
    }
    return overwriter >= 0;
}

bool write_part(off_t record, size_t begin, size_t end) {
    size_t size = end - begin;
    return pwrite(overwriter, draft_record + begin, size, record + static_cast<off_t>(begin)) ==
           static_cast<ssize_t>(size);
}

// Stores a draft over the record where all that differs lies within a page, but for what the record did not use: the
// kernel has then written such a part or has not, whenever this process is killed. Nobody sees it half written, since
// readers share the file's lock, and it is in the memory that they have mapped. False: it is not that simple, and what
// the record uses is as it was.
bool overwrite(const Draft &draft) {
    auto address = static_cast<const uint8_t *>(draft.stored.mv_data);
    size_t in_page = reinterpret_cast<uintptr_t>(address) % page_size;
    if (in_page + draft.end > page_size) {
        return false;
    }
    // A page of LMDB begins with its number; should one not, what is found in the file is not the record.
    size_t number = 0;
    memcpy(&number, address - in_page, sizeof(number));
    auto record = static_cast<off_t>(number * page_size + in_page);
    store::Item found;
    if (pread(overwriter, &found, sizeof(found), record) != sizeof(found) ||
        memcmp(&found, address, sizeof(found)) != 0) {
        return false;
    }
    // A process that may not write files of this length would write less than it was told to.
    rlimit longest = {};
    if (getrlimit(RLIMIT_FSIZE, &longest) != 0 ||
        static_cast<rlim_t>(record) + std::max(draft.end, draft.new_to) > longest.rlim_cur) {
        return false;
    }
    if (draft.new_to > draft.new_from && !write_part(record, draft.new_from, draft.new_to)) {
        return false;
    }
    return write_part(record, offsetof(store::Item, sum), draft.end);
}

enum Outcome { kStored, kRefused, kNotSimple };

// Writes without a transaction of LMDB, which would cost several times what all else does.
Outcome write_over(Target target, const void *value) {
    if (!open_overwriter() || !store::lock_file(overwriter, LOCK_EX)) {
        return kNotSimple;
    }
    Outcome outcome = kRefused;
    Draft draft;
    if (start_reader()) {
        if (draft_change(reader, target, value, &draft)) {
            outcome = changes_nothing(draft) || overwrite(draft) ? kStored : kNotSimple;
        }
    }
    store::lock_file(overwriter, LOCK_UN);
    return outcome;
}

// The part of write_in_transaction() inside it.
bool put(MDB_txn *txn, Target target, const void *value) {
    Draft draft;
    if (!draft_change(txn, target, value, &draft)) {
        return false;
    }
    MDB_val key = {sizeof(target.id), &target.id};
    MDB_val data = {draft.stored.mv_size, draft_record};
    return mdb_put(txn, working.dbi, &key, &data, 0) == 0;
}

Outcome write_in_transaction(Target target, const void *value) {
    if (!make_writable() || !store::lock_copy(working, LOCK_EX)) {
        return kRefused;
    }
    mdb_txn_abort(reader);  // a process has one transaction at a time
    reader = nullptr;
    MDB_txn *txn = nullptr;
    bool done = false;
    if (store::begin(&working, 0, &txn) == 0) {
        if (put(txn, target, value)) {
            done = mdb_txn_commit(txn) == 0;
        } else {
            mdb_txn_abort(txn);
        }
    }
    store::lock_copy(working, LOCK_UN);
    return done ? kStored : kRefused;
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
    }
    store::lock_copy(working, LOCK_UN);
    return done ? 1 : 0;
}

int apmib_set(int id, void *value) {
    if (value == nullptr || working.env == nullptr) {
        return 0;
    }
    Target target = resolve_id(id);
    Outcome outcome = write_over(target, value);
    if (outcome == kNotSimple) {
        outcome = write_in_transaction(target, value);
    }
    return outcome == kStored ? 1 : 0;
}

int apmib_update(int type) {
    return type == kCommitWorkingCopy && working.env != nullptr && store::commit(&working) == 0 ? 1 : 0;
}

int save_cs_to_file() {
    return store::save_settings() == 0 ? 0 : -1;
}
