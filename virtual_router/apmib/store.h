// The store's two copies and the records in them, shared by libapmib.so and the `flash` command.
//
// A copy is one LMDB file. Its records are keyed by item id; a record holds the item's definition and its value in
// every slot, so a reader needs no table of items of its own. Records never change their size between two boots.
//
// Locks. LMDB's own lock file is not used (MDB_NOLOCK): its reader table keeps the slots of killed processes, and
// setting it up costs each short-lived process more than all its reads. Kernel file locks take its place; the kernel
// drops them when their holder dies. Readers of a copy share its lock, a writer has it alone, which is what LMDB asks
// of its callers.
//   commit lock   a file of its own beside the committed copy; whoever reads or replaces the committed copy holds it
//   working lock  on the working copy's file, which is only ever rewritten in place
// Order: the commit lock first, then the working lock. A snapshot for a commit is taken with the commit lock held, so
// that an older snapshot never takes the place of a newer one.
//
// A commit copies the working copy's file, which the kernel does for almost nothing, and renames the copy to the
// committed one: at every moment there is an old or a new one, and nothing between.
//
// Not for several threads of one process.
#ifndef VIRTUAL_ROUTER_APMIB_STORE_H
#define VIRTUAL_ROUTER_APMIB_STORE_H

#include <lmdb.h>

#include <cstddef>
#include <cstdint>

#include "platform/apmib.h"
#include "platform/tables.h"

namespace store {

constexpr char kWorkingPath[] = "/var/mib/working.mdb";
constexpr char kCommittedPath[] = "/flash/mib/committed.mdb";
constexpr char kCommitLockPath[] = "/flash/mib/commit.lock";
constexpr char kSettingsPath[] = "/flash/mib/settings.mdb";
constexpr char kFlashPath[] = "/flash/mib";
constexpr char kNewPath[] = "/flash/mib/new.mdb";  // what is about to take the place of one of the above
constexpr mode_t kFileMode = 0600;

// Upper limit of a copy's file. A full house of items takes about a fiftieth of it.
constexpr size_t kMapSize = size_t{4} << 20;

constexpr int kRadioCount = kWlanCount;
constexpr int kVirtualCount = kVwlanCount;  // the main access point and five virtual ones
constexpr int kInterfaceCount = kRadioCount * kVirtualCount;

// Ids of table operations lie above this one (see resolve_id).
constexpr uint32_t kIdLimit = 0x8000;

enum Kind : uint8_t { kByte, kSignedByte, kInt32, kIpv4, kText, kTable };
constexpr int kKindCount = 6;
constexpr uint16_t kKindWidths[kKindCount] = {1, 1, 4, 4, 0, 0};  // in bytes; 0: each item has its own

constexpr uint16_t kMostEntries = kMostTableEntries;

// What a record begins with; `slots` values of slot_size() bytes follow.
struct Item {
    Kind kind;
    uint8_t slots;   // 1: global; kInterfaceCount: one value per wireless interface
    uint16_t limit;  // tables: the most entries, 1 to kMostEntries
    uint16_t match;  // tables: leading bytes of an entry that a delete compares, 1 to `width`
    uint16_t width;  // of the value in bytes; of one entry for tables
    char name[56];
    uint64_t sum;  // of all else in the record that means something, and of the item's id: see sum_record()
};
static_assert(sizeof(Item) == 72, "records are compared and summed as bytes: no padding");

// A table's slot is an int32 count and room for `limit` entries. What unused ones hold means nothing.
constexpr size_t kCountSize = sizeof(int32_t);

inline size_t slot_size(const Item &item) {
    return item.kind == kTable ? kCountSize + size_t{item.limit} * item.width : item.width;
}

inline size_t record_size(const Item &item) {
    return sizeof(Item) + item.slots * slot_size(item);
}

// How many entries a table has, whatever its count says.
size_t entry_count(const Item &item, const uint8_t *slot);

// How much of a slot means something.
inline size_t used_size(const Item &item, const uint8_t *slot) {
    return item.kind == kTable ? kCountSize + entry_count(item, slot) * item.width : item.width;
}

// Splits a record into its definition and the address of its first slot. False: `data` is no record that can be
// defined.
bool read_record(const MDB_val &data, Item *item, const uint8_t **slots);

// The checksum of a record that read_record() takes: those of its definition and of its slots, XORed, so that whoever
// changes a slot need not look at the others. Every record has it at all times, so that a commit has only checksums to
// sum up.
uint64_t sum_record(uint32_t id, const void *record);
uint64_t sum_slot(const Item &item, int number, const uint8_t *slot);

// Writes the checksum into a record.
void seal_record(uint32_t id, void *record);

// Folds a record's checksum into a running sum, in the order of keys. Start with 0.
uint64_t add_to_sum(uint64_t sum, uint64_t word);

// What a committed file ends with, behind the pages that LMDB knows of: a file that was cut short has none, and records
// of different commits do not fit it.
struct End {
    uint64_t magic;
    uint64_t sum;  // of all records' checksums
};
constexpr uint64_t kEndMagic = 0x34304249'4d5041'00;  // format of the records; another number is another format

struct Copy {
    MDB_env *env = nullptr;
    MDB_dbi dbi = 0;
};

// Opens a copy. `flags` are LMDB's: MDB_RDONLY for reading, MDB_NOSYNC where a power cut takes the file with it anyway.
// Returns 0 or an error for mdb_strerror(). A file that does not exist is created, empty, unless opened with
// MDB_RDONLY.
int open_copy(Copy *copy, const char *path, unsigned flags);
void close_copy(Copy *copy);

// Starts a transaction and names the copy's only database. Call it with the copy's lock held.
int begin(Copy *copy, unsigned flags, MDB_txn **txn);

// Takes (LOCK_SH, LOCK_EX) or drops (LOCK_UN) the lock of a file; waits. False: failed.
bool lock_file(int fd, int operation);
bool lock_copy(const Copy &copy, int operation);

// Takes the commit lock and waits for it. Returns the descriptor whose closing drops it, or -1.
int take_commit_lock();

// Makes the working copy the committed one, durably; the second with the commit lock held already. Return 0 or an error
// for mdb_strerror().
int commit(Copy *working);
int commit_locked(Copy *working);

// Copies the committed copy to kSettingsPath, replacing it whole. Returns 0 or an errno.
//
// What is saved can be listed (flash settings) and can be put in the committed copy's place. It is a copy and no
// listing because it is a part of every request that changes something.
int save_settings();

}  // namespace store

#endif
