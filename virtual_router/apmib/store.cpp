// SPDX-License-Identifier: MIT
#include "virtual_router/apmib/store.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "virtual_router/board/board.h"

namespace store {

bool cut_power;

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

int open_working(Copy *copy, bool create) {
    if (!create && access(kWorkingPath, F_OK) != 0) {
        return errno;
    }
    int error = mdb_env_create(&copy->env);
    if (error != 0) {
        return error;
    }
    error = mdb_env_set_mapsize(copy->env, kMapSize);
    if (error == 0) {
        // A power cut takes the file with it, which lies in the router's memory: it is never written to a disk in
        // haste.
        error = mdb_env_open(copy->env, kWorkingPath, MDB_NOSUBDIR | MDB_NOSYNC, kFileMode);
    }
    int fd = -1;
    if (error == 0) {
        error = mdb_env_get_fd(copy->env, &fd);
    }
    // LMDB leaves this one, and only this one, to the commands that its process runs.
    if (error == 0 && fcntl(fd, F_SETFD, FD_CLOEXEC) != 0) {
        error = errno;
    }
    if (error == 0) {
        // Processes end without a farewell: what they held as readers is set free here.
        error = mdb_reader_check(copy->env, nullptr);
    }
    MDB_stat stat = {};
    if (error == 0) {
        error = mdb_env_stat(copy->env, &stat);
    }
    if (error == 0 && !create && stat.ms_entries == 0) {
        error = ENOENT;  // a file that was never laid out
    }
    if (error != 0) {
        close_working(copy);
    }
    return error;
}

void close_working(Copy *copy) {
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

namespace {

// Each step can be undone, so that one changed word always changes the sum.
uint64_t add_word(uint64_t sum, uint64_t word) {
    sum = (sum ^ word) * 0x9e3779b97f4a7c15;
    return sum ^ (sum >> 32);
}

}  // namespace

uint64_t add_to_sum(uint64_t sum, RecordHead head, const void *record) {
    uint64_t word = 0;
    static_assert(sizeof(head) == sizeof(word));
    memcpy(&word, &head, sizeof(word));
    sum = add_word(sum, word);
    auto bytes = static_cast<const uint8_t *>(record);
    size_t size = head.size;
    for (; size >= sizeof(word); size -= sizeof(word), bytes += sizeof(word)) {
        memcpy(&word, bytes, sizeof(word));
        sum = add_word(sum, word);
    }
    word = 0;
    memcpy(&word, bytes, size);
    return add_word(sum, word);
}

int take_commit_lock() {
    int fd = open(kCommitLockPath, O_RDWR | O_CREAT | O_CLOEXEC, kFileMode);
    int result = -1;
    while (fd >= 0 && (result = flock(fd, LOCK_EX)) != 0 && errno == EINTR) {
    }
    if (fd >= 0 && result != 0) {
        close(fd);
        fd = -1;
    }
    return fd;
}

namespace {

// Writes the working copy's records as they are at one moment, and their End. A record that is none ends it: the
// committed copy is not to take over damage. Returns 0 or an error for mdb_strerror().
int write_working(FILE *to, Copy *working) {
    MDB_txn *txn = nullptr;
    int error = begin(working, MDB_RDONLY, &txn);
    if (error != 0) {
        return error;
    }
    MDB_cursor *cursor = nullptr;
    error = mdb_cursor_open(txn, working->dbi, &cursor);
    End end = {kEndMagic, 0};
    for (MDB_val key = {}, data = {}; error == 0 && (error = mdb_cursor_get(cursor, &key, &data, MDB_NEXT)) == 0;) {
        Item item;
        const uint8_t *slots = nullptr;
        RecordHead head = {0, static_cast<uint32_t>(data.mv_size)};
        if (key.mv_size != sizeof(head.id) || !read_record(data, &item, &slots)) {
            error = MDB_CORRUPTED;
            break;
        }
        memcpy(&head.id, key.mv_data, sizeof(head.id));
        end.sum = add_to_sum(end.sum, head, data.mv_data);
        fwrite(&head, sizeof(head), 1, to);
        fwrite(data.mv_data, data.mv_size, 1, to);
    }
    mdb_cursor_close(cursor);
    mdb_txn_abort(txn);
    fwrite(&end, sizeof(end), 1, to);
    return error == MDB_NOTFOUND ? 0 : error;
}

// Writes what the committed copy has. Returns 0 or an errno.
int write_committed(FILE *to, Copy * /*working*/) {
    FILE *from = fopen(kCommittedPath, "re");
    if (from == nullptr) {
        return errno;
    }
    char part[BUFSIZ];
    for (size_t size = 0; (size = fread(part, 1, sizeof(part), from)) > 0;) {
        fwrite(part, 1, size, to);
    }
    int error = ferror(from) != 0 ? EIO : 0;
    fclose(from);
    return error;
}

// Has the board keep a file of /flash, so that it outlives the router. Returns 0 or an errno.
int keep_file(const char *path) {
    char order[64] = "keep ";
    strncat(order, path + strlen("/flash/"), sizeof(order) - sizeof("keep "));
    return board::order(order);
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
    return error != 0 ? error : keep_file(path);
}

// Puts a new file in a path's place when what is written to it is safely down. The commit lock is held. Returns 0 or an
// error for mdb_strerror().
int replace_file(const char *path, int (*write)(FILE *to, Copy *working), Copy *working) {
    int fd = open(kNewPath, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kFileMode);
    FILE *to = fd < 0 ? nullptr : fdopen(fd, "w");
    if (to == nullptr) {
        return errno;
    }
    int error = write(to, working);
    if (error == 0 && (ferror(to) != 0 || fflush(to) != 0 || fsync(fd) != 0)) {
        error = errno != 0 ? errno : EIO;
    }
    fclose(to);
    if (error != 0) {
        unlink(kNewPath);  // it may be what fills the memory
    }
    if (error == 0 && cut_power) {
        board::order("cut");
        while (true) {
            pause();
        }
    }
    return error != 0 ? error : rename_new(path);
}

}  // namespace

int write_copy(const char *path, Copy *working) {
    FILE *to = fopen(path, "we");
    if (to == nullptr) {
        return errno;
    }
    int error = write_working(to, working);
    const bool written = ferror(to) == 0;
    if ((fclose(to) != 0 || !written) && error == 0) {
        error = errno != 0 ? errno : EIO;
    }
    if (error != 0) {
        unlink(path);
    }
    return error;
}

int commit_locked(Copy *working) {
    return replace_file(kCommittedPath, write_working, working);
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
    int error = replace_file(kSettingsPath, write_committed, nullptr);
    close(lock);
    return error;
}

}  // namespace store
