#include "virtual_router/apmib/store.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/sendfile.h>
#include <unistd.h>

namespace store {

namespace {

// Whether an item can be defined so. What cannot is damage, and is not to lead anybody out of a record or a buffer.
bool is_definition(const Item &item) {
    if (item.kind >= kKindCount || (item.slots != 1 && item.slots != kInterfaceCount) || item.width == 0 ||
        memchr(item.name, '\0', sizeof(item.name)) == nullptr) {
        return false;
    }
    if (item.kind == kTable) {
        return item.limit >= 1 && item.limit <= kMostEntries && item.match >= 1 && item.match <= item.width;
    }
    return kKindWidths[item.kind] == 0 || kKindWidths[item.kind] == item.width;
}

}  // namespace

bool read_record(const MDB_val &data, Item *item, const uint8_t **slots) {
    if (data.mv_size < sizeof(Item)) {
        return false;
    }
    memcpy(item, data.mv_data, sizeof(Item));
    *slots = static_cast<const uint8_t *>(data.mv_data) + sizeof(Item);
    return is_definition(*item) && record_size(*item) == data.mv_size;
}

size_t entry_count(const Item &item, const uint8_t *slot) {
    int32_t count = 0;
    memcpy(&count, slot, sizeof(count));
    return count < 0 ? 0 : count > item.limit ? item.limit : static_cast<size_t>(count);
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

uint64_t sum_slot(const Item &item, int number, const uint8_t *slot) {
    return add_bytes(add_to_sum(0, static_cast<uint64_t>(number) + 1), slot, used_size(item, slot));
}

uint64_t sum_record(uint32_t id, const void *record) {
    Item item;
    memcpy(&item, record, sizeof(item));
    auto slot = static_cast<const uint8_t *>(record) + sizeof(item);
    uint64_t sum = add_bytes(add_to_sum(0, id), static_cast<const uint8_t *>(record), offsetof(Item, sum));
    for (int i = 0; i < item.slots; i++, slot += slot_size(item)) {
        sum ^= sum_slot(item, i, slot);
    }
    return sum;
}

void seal_record(uint32_t id, void *record) {
    uint64_t sum = sum_record(id, record);
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

// Sums up the checksums of a copy, whose lock is held. Returns 0 or an error for mdb_strerror().
int sum_copy(Copy *copy, uint64_t *sum) {
    MDB_txn *txn = nullptr;
    MDB_cursor *cursor = nullptr;
    int error = begin(copy, MDB_RDONLY, &txn);
    if (error != 0) {
        return error;
    }
    error = mdb_cursor_open(txn, copy->dbi, &cursor);
    *sum = 0;
    for (MDB_val key = {}, data = {}; error == 0 && (error = mdb_cursor_get(cursor, &key, &data, MDB_NEXT)) == 0;) {
        Item item;
        if (data.mv_size < sizeof(item)) {
            error = MDB_CORRUPTED;
            break;
        }
        memcpy(&item, data.mv_data, sizeof(item));
        *sum = add_to_sum(*sum, item.sum);
    }
    mdb_cursor_close(cursor);
    mdb_txn_abort(txn);
    return error == MDB_NOTFOUND ? 0 : error;
}

// Appends what a file has to another. Returns 0 or an errno.
int append_file(int to, int from) {
    off_t offset = 0;
    for (ssize_t count = 1; count != 0;) {
        count = sendfile(to, from, &offset, kMapSize);
        if (count < 0 && errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

// Appends the working copy, as it is at one moment, and the end that goes with it.
int append_working(int to, Copy *working) {
    if (!lock_copy(*working, LOCK_SH)) {
        return errno;
    }
    int from = -1;
    End end = {kEndMagic, 0};
    int error = sum_copy(working, &end.sum);
    error = error != 0 ? error : mdb_env_get_fd(working->env, &from);
    error = error != 0 ? error : append_file(to, from);
    lock_copy(*working, LOCK_UN);  // before the slow part: nobody waits for the flash memory to read or write an item
    if (error == 0 && write(to, &end, sizeof(end)) != sizeof(end)) {
        error = ENOSPC;
    }
    return error;
}

// Appends the committed copy. The commit lock is held.
int append_committed(int to, Copy * /*working*/) {
    int from = open(kCommittedPath, O_RDONLY | O_CLOEXEC);
    int error = from < 0 ? errno : append_file(to, from);
    close(from);
    return error;
}

// Renames kNewPath, so that it stays renamed. Returns 0 or an errno.
int rename_new(const char *path) {
    int folder = open(kFlashPath, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    int error = folder < 0 || rename(kNewPath, path) != 0 ? errno : 0;
    // Some file systems of a PC cannot do this to a folder, and have nothing like it.
    if (error == 0 && fsync(folder) != 0 && errno != EINVAL) {
        error = errno;
    }
    close(folder);
    return error;
}

// Puts a new file in a path's place when what was appended to it is safely down. The commit lock is held. Returns 0 or
// an error for mdb_strerror().
int replace_file(const char *path, int (*append)(int to, Copy *working), Copy *working) {
    int to = open(kNewPath, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kFileMode);
    if (to < 0) {
        return errno;
    }
    int error = append(to, working);
    if (error == 0 && fsync(to) != 0) {
        error = errno;
    }
    close(to);
    if (error != 0) {
        unlink(kNewPath);  // it may be what fills the memory
    }
    return error != 0 ? error : rename_new(path);
}

}  // namespace

int commit_locked(Copy *working) {
    return replace_file(kCommittedPath, append_working, working);
}

int commit(Copy *working) {
    int lock = take_commit_lock();
    if (lock < 0) {
        return errno;
    }
    int error = commit_locked(working);
    close(lock);
    return error;
}

int save_settings() {
    int lock = take_commit_lock();
    if (lock < 0) {
        return errno;
    }
    int error = replace_file(kSettingsPath, append_committed, nullptr);
    close(lock);
    return error;
}

}  // namespace store
