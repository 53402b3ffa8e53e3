#include "virtual_router/apmib/store.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

namespace store {

bool read_record(const MDB_val &data, Item *item, const uint8_t **slots) {
    if (data.mv_size < sizeof(Item)) {
        return false;
    }
    memcpy(item, data.mv_data, sizeof(Item));
    *slots = static_cast<const uint8_t *>(data.mv_data) + sizeof(Item);
    return item->kind < kKindCount && record_size(*item) == data.mv_size &&
           memchr(item->name, '\0', sizeof(item->name)) != nullptr;
}

uint64_t add_to_sum(uint64_t sum, uint64_t word) {
    // Each step can be undone, so that one changed word always changes the sum.
    sum = (sum ^ word) * 0x9e3779b97f4a7c15;
    return sum ^ (sum >> 32);
}

namespace {

uint64_t add_bytes(uint64_t sum, const uint8_t *bytes, size_t size) {
    uint64_t word = 0;
    for (; size >= sizeof(word); size -= sizeof(word), bytes += sizeof(word)) {
        memcpy(&word, bytes, sizeof(word));
        sum = add_to_sum(sum, word);
    }
    word = 0;
    memcpy(&word, bytes, size);
    return add_to_sum(sum, word);
}

}  // namespace

uint64_t sum_record(uint32_t id, const void *record, size_t size) {
    auto bytes = static_cast<const uint8_t *>(record);
    uint64_t sum = add_to_sum(add_to_sum(0, id), size);
    sum = add_bytes(sum, bytes, offsetof(Item, sum));
    return add_bytes(sum, bytes + sizeof(Item), size - sizeof(Item));
}

void seal_record(uint32_t id, void *record, size_t size) {
    uint64_t sum = sum_record(id, record, size);
    memcpy(static_cast<uint8_t *>(record) + offsetof(Item, sum), &sum, sizeof(sum));
}

int open_copy(Copy *copy, const char *path, unsigned flags) {
    int error = mdb_env_create(&copy->env);
    if (error != 0) {
        return error;
    }
    error = mdb_env_set_mapsize(copy->env, kMapSize);
    if (error == 0) {
        // MDB_NOMEMINIT: to clear what is unused in pages would cost a request that commits 30,000 instructions. What
        // is left there is the process's own, and only its owner reads the files.
        error = mdb_env_open(copy->env, path, MDB_NOSUBDIR | MDB_NOLOCK | MDB_NOMEMINIT | flags, kFileMode);
    }
    int fd = -1;
    if (error == 0) {
        error = mdb_env_get_fd(copy->env, &fd);
    }
    // A command that outlives a killed writer must not keep the writer's lock with an inherited descriptor.
    if (error == 0 && fcntl(fd, F_SETFD, FD_CLOEXEC) != 0) {
        error = errno;
    }
    if (error != 0) {
        close_copy(copy);
    }
    return error;
}

void close_copy(Copy *copy) {
    mdb_env_close(copy->env);
    *copy = {};
}

int begin(Copy *copy, unsigned flags, MDB_txn **txn) {
    int error = mdb_txn_begin(copy->env, nullptr, flags, txn);
    if (error != 0) {
        return error;
    }
    // A new copy is told by its first writer what its keys are.
    error = mdb_dbi_open(*txn, nullptr, MDB_INTEGERKEY | ((flags & MDB_RDONLY) != 0 ? 0 : MDB_CREATE), &copy->dbi);
    if (error != 0) {
        mdb_txn_abort(*txn);
    }
    return error;
}

bool lock_file(int fd, int operation) {
    int result = 0;
    do {
        result = flock(fd, operation);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

bool lock_copy(const Copy &copy, int operation) {
    int fd = -1;
    return mdb_env_get_fd(copy.env, &fd) == 0 && lock_file(fd, operation);
}

int take_commit_lock() {
    int fd = open(kCommitLockPath, O_RDWR | O_CREAT | O_CLOEXEC, kFileMode);
    if (fd >= 0 && !lock_file(fd, LOCK_EX)) {
        close(fd);
        fd = -1;
    }
    return fd;
}

namespace {

// Goes to the next record. False: there is none, or an error.
bool next(MDB_cursor *cursor, MDB_val *key, MDB_val *data, int *error) {
    *error = mdb_cursor_get(cursor, key, data, MDB_NEXT);
    return *error == 0;
}

bool equal(const MDB_val &a, const MDB_val &b) {
    return a.mv_size == b.mv_size && memcmp(a.mv_data, b.mv_data, a.mv_size) == 0;
}

// Writes those records of `from` that `to` has not. The two have the same items in the same order, and only `to` a
// checksum, which is its first record. Sets `changed` if it wrote any. Returns 0 or an error for mdb_strerror().
int copy_changes(MDB_cursor *from, MDB_cursor *to, bool *changed) {
    Checksum checksum = {kChecksumMagic, 0};
    MDB_val old_key = {};
    MDB_val old = {};
    int error = 0;
    int from_error = 0;
    next(to, &old_key, &old, &error);
    bool same_sum = error == 0 && old.mv_size == sizeof(checksum);
    Checksum old_checksum = {};
    if (same_sum) {
        memcpy(&old_checksum, old.mv_data, sizeof(old_checksum));
    }
    for (MDB_val key = {}, data = {}; next(from, &key, &data, &from_error);) {
        Item item;
        if (data.mv_size < sizeof(item)) {
            return MDB_CORRUPTED;
        }
        memcpy(&item, data.mv_data, sizeof(item));
        checksum.sum = add_to_sum(checksum.sum, item.sum);
        if (next(to, &old_key, &old, &error) && equal(key, old_key) && equal(data, old)) {
            continue;
        }
        *changed = true;
        error = mdb_cursor_put(to, &key, &data, 0);  // which leaves `to` at this record
        if (error != 0) {
            return error;
        }
    }
    if (from_error != MDB_NOTFOUND) {
        return from_error;
    }
    if (same_sum && memcmp(&checksum, &old_checksum, sizeof(checksum)) == 0) {
        return 0;
    }
    *changed = true;
    uint32_t id = kChecksumKey;
    MDB_val key = {sizeof(id), &id};
    MDB_val data = {sizeof(checksum), &checksum};
    return mdb_cursor_put(to, &key, &data, 0);
}

// copy_changes() between two transactions.
int copy_in(MDB_txn *from, MDB_dbi from_dbi, MDB_txn *to, MDB_dbi to_dbi, bool *changed) {
    MDB_cursor *from_cursor = nullptr;
    int error = mdb_cursor_open(from, from_dbi, &from_cursor);
    if (error != 0) {
        return error;
    }
    MDB_cursor *to_cursor = nullptr;
    error = mdb_cursor_open(to, to_dbi, &to_cursor);
    if (error == 0) {
        error = copy_changes(from_cursor, to_cursor, changed);
        mdb_cursor_close(to_cursor);
    }
    mdb_cursor_close(from_cursor);
    return error;
}

// The part of commit() that runs with the committed copy open and its lock held.
int commit_to(Copy *working, Copy *committed) {
    MDB_txn *to = nullptr;
    int error = begin(committed, 0, &to);
    if (error != 0) {
        return error;
    }
    bool changed = false;
    if (!lock_copy(*working, LOCK_SH)) {
        error = errno;
    } else {
        MDB_txn *from = nullptr;
        error = begin(working, MDB_RDONLY, &from);
        if (error == 0) {
            error = copy_in(from, working->dbi, to, committed->dbi, &changed);
            mdb_txn_abort(from);
        }
        lock_copy(*working,
                  LOCK_UN);  // before the slow part: nobody waits for the flash memory to read or write an item
    }
    if (error == 0 && changed) {
        return mdb_txn_commit(to);
    }
    mdb_txn_abort(to);
    // Nothing to write, but the one who wrote it may have been killed before it was safely down.
    return error != 0 ? error : mdb_env_sync(committed->env, 1);
}

}  // namespace

int commit(Copy *working) {
    int lock = take_commit_lock();
    if (lock < 0) {
        return errno;
    }
    Copy committed;
    int error = open_copy(&committed, kCommittedPath, 0);
    if (error == 0) {
        error = commit_to(working, &committed);
        close_copy(&committed);
    }
    close(lock);
    return error;
}

namespace {

// Copies a file to one that is safely down when this returns. Returns 0 or an errno.
int copy_file(const char *from_path, const char *to_path) {
    int from = open(from_path, O_RDONLY | O_CLOEXEC);
    int to = from < 0 ? -1 : open(to_path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kFileMode);
    int error = to < 0 ? errno : 0;
    for (ssize_t count = 1; error == 0 && count != 0;) {
        count = sendfile(to, from, nullptr, kMapSize);
        error = count < 0 && errno != EINTR ? errno : 0;
    }
    if (error == 0 && fsync(to) != 0) {
        error = errno;
    }
    close(to);
    close(from);
    return error;
}

}  // namespace

int save_settings() {
    static constexpr char kNewPath[] = "/flash/mib/settings.mdb.new";
    int lock = take_commit_lock();
    if (lock < 0) {
        return errno;
    }
    int error = copy_file(kCommittedPath, kNewPath);
    if (error == 0 && rename(kNewPath, kSettingsPath) != 0) {
        error = errno;
    }
    close(lock);
    return error;
}

}  // namespace store
