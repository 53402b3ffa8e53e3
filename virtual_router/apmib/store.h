// SPDX-License-Identifier: MIT
// The store's two copies and the records in them, shared by libapmib.so and the `flash` command.
//
// The working copy is an LMDB file that all programs of the router read and write, each write a transaction of its own.
// The committed copy, and the settings file beside it, are plain files: the records of one moment, one after the other,
// and an End with their checksum.
//
// A record holds an item's definition and its value in every slot, so that a reader needs no table of items of its own.
// Records never change their size between two boots.
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
constexpr char kWorkingLockPath[] = "/var/mib/working.mdb-lock";  // LMDB's, and its choice
constexpr char kCommittedPath[] = "/flash/mib/committed.mdb";
constexpr char kSettingsPath[] = "/flash/mib/settings.mdb";
constexpr char kFlashPath[] = "/flash/mib";
constexpr char kCommitLockPath[] = "/flash/mib/commit.lock";
constexpr char kNewPath[] = "/flash/mib/new.mdb";  // what is about to take the place of one of the above
constexpr mode_t kFileMode = 0600;

// Upper limit of the working copy's file. A full house of items takes about a hundredth of it; the rest is room for
// what others write while somebody reads for long.
constexpr size_t kMapSize = size_t{16} << 20;

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
};
static_assert(sizeof(Item) == 64, "records are stored as bytes: no padding");

// A table's slot is an int32 count and room for `limit` entries. Unused ones are all zeros.
constexpr size_t kCountSize = sizeof(int32_t);

inline size_t slot_size(const Item &item) {
    return item.kind == kTable ? kCountSize + size_t{item.limit} * item.width : item.width;
}

inline size_t record_size(const Item &item) {
    return sizeof(Item) + item.slots * slot_size(item);
}

// How many entries a table has, whatever its count says.
size_t entry_count(const Item &item, const uint8_t *slot);

// Splits a record into its definition and the address of its first slot. False: `data` is no record that can be
// defined.
bool read_record(const MDB_val &data, Item *item, const uint8_t **slots);

struct Copy {
    MDB_env *env = nullptr;
    MDB_dbi dbi = 0;
};

// Opens the working copy. Returns 0 or an error for mdb_strerror(). A file that does not exist is created, empty, with
// `create`; without it there must be one, and records in it.
int open_working(Copy *copy, bool create);
void close_working(Copy *copy);

// Starts a transaction, which waits for nobody if `flags` is MDB_RDONLY, for other writers if it is 0.
int begin(Copy *copy, unsigned flags, MDB_txn **txn);

// What a committed file is made of: for each record a RecordHead and the record, in the order of ids, then the End.
struct RecordHead {
    uint32_t id;
    uint32_t size;
};
struct End {
    uint64_t magic;
    uint64_t sum;  // of all that comes before the End: add_to_sum() of each record, starting with 0
};
constexpr uint64_t kEndMagic = 0x35304249'4d5041'00;  // format of the file; another number is another format

uint64_t add_to_sum(uint64_t sum, RecordHead head, const void *record);

// Takes the commit lock and waits for it. Returns the descriptor whose closing drops it, or -1. Whoever reads or
// replaces files of kFlashPath holds it; the kernel drops it when its holder dies.
int take_commit_lock();

// Writes the working copy's records, as they are at one moment, to a file of the form of a committed one. Returns 0 or
// an error for mdb_strerror(), and then leaves no file.
int write_copy(const char *path, Copy *working);

// Makes the working copy the committed one. Returns 0 or an error for mdb_strerror(). In this order:
//
//   1. take the commit lock, so that an older moment never takes the place of a newer one
//   2. write the records of one moment to kNewPath, and fsync it; others read and write the working copy meanwhile
//   3. rename kNewPath to kCommittedPath, and fsync kFlashPath: at every moment there is an old copy or a new one, and
//      nothing between
//
// An error before 3 leaves the committed copy as it was, and no kNewPath; whoever is killed may leave that one.
int commit(Copy *working);
// The power is cut between 2 and 3: the board is told, and nothing more is done.
extern bool cut_power;
// 2 and 3, for who holds the commit lock already.
int commit_locked(Copy *working);

// Copies the committed copy to kSettingsPath in the same three steps. Returns 0 or an errno.
//
// What is saved can be listed (flash settings) and can be put in the committed copy's place. It is a copy and no
// listing because it is a part of every request that changes something.
int save_settings();

}  // namespace store

#endif
