#include "virtual_router/apmib/store.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "virtual_router/apmib/text.h"

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

uint64_t add_to_sum(uint64_t sum, uint32_t key, const void *data, size_t size) {
    // Each step can be undone, so that one changed word always changes the sum.
    auto fold = [&sum](uint64_t word) {
        sum = (sum ^ word) * 0x9e3779b97f4a7c15;
        sum ^= sum >> 32;
    };
    fold(key);
    fold(size);
    auto bytes = static_cast<const uint8_t *>(data);
    while (size > 0) {
        uint64_t word = 0;
        size_t part = size < sizeof(word) ? size : sizeof(word);
        memcpy(&word, bytes, part);
        fold(word);
        bytes += part;
        size -= part;
    }
    return sum;
}

int open_copy(Copy *copy, const char *path, unsigned flags) {
    int error = mdb_env_create(&copy->env);
    if (error != 0) {
        return error;
    }
    error = mdb_env_set_mapsize(copy->env, kMapSize);
    if (error == 0) {
        error = mdb_env_open(copy->env, path, MDB_NOSUBDIR | MDB_NOLOCK | flags, kFileMode);
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
    error = mdb_dbi_open(*txn, nullptr, MDB_INTEGERKEY | (flags & MDB_RDONLY ? 0 : MDB_CREATE), &copy->dbi);
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

// Writes those records of `from` that `to` has not, and the sum of all. Sets `changed` if it wrote any.
int copy_changes(MDB_txn *from, MDB_dbi from_dbi, MDB_txn *to, MDB_dbi to_dbi, bool *changed) {
    MDB_cursor *cursor = nullptr;
    int error = mdb_cursor_open(from, from_dbi, &cursor);
    if (error != 0) {
        return error;
    }
    Checksum checksum = {kChecksumMagic, 0};
    auto put_if_new = [&](MDB_val key, MDB_val data) {
        MDB_val old = {};
        int result = mdb_get(to, to_dbi, &key, &old);
        if (result == 0 && old.mv_size == data.mv_size && memcmp(old.mv_data, data.mv_data, data.mv_size) == 0) {
            return 0;
        }
        *changed = true;
        return result == 0 || result == MDB_NOTFOUND ? mdb_put(to, to_dbi, &key, &data, 0) : result;
    };
    MDB_val key = {};
    MDB_val data = {};
    while (error == 0 && (error = mdb_cursor_get(cursor, &key, &data, MDB_NEXT)) == 0) {
        uint32_t id = 0;
        memcpy(&id, key.mv_data, sizeof(id));
        checksum.sum = add_to_sum(checksum.sum, id, data.mv_data, data.mv_size);
        error = put_if_new(key, data);
    }
    mdb_cursor_close(cursor);
    if (error != MDB_NOTFOUND) {
        return error;
    }
    uint32_t checksum_key = kChecksumKey;
    return put_if_new({sizeof(checksum_key), &checksum_key}, {sizeof(checksum), &checksum});
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
            error = copy_changes(from, working->dbi, to, committed->dbi, &changed);
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

// Text on its way to a file, in pieces of the buffer's size.
struct FileWriter {
    int fd;
    int error = 0;
    size_t used = 0;
    char buffer[16384];
};

void flush(FileWriter *out) {
    size_t done = 0;
    while (done < out->used && out->error == 0) {
        ssize_t count = write(out->fd, out->buffer + done, out->used - done);
        if (count >= 0) {
            done += static_cast<size_t>(count);
        } else if (errno != EINTR) {
            out->error = errno;
        }
    }
    out->used = 0;
}

void append(void *context, const char *text, size_t size) {
    auto out = static_cast<FileWriter *>(context);
    while (size > 0) {
        if (out->used == sizeof(out->buffer)) {
            flush(out);
        }
        size_t room = sizeof(out->buffer) - out->used;
        size_t part = size < room ? size : room;
        memcpy(out->buffer + out->used, text, part);
        out->used += part;
        text += part;
        size -= part;
    }
}

int write_settings(Copy *committed, FileWriter *out) {
    MDB_txn *txn = nullptr;
    int error = begin(committed, MDB_RDONLY, &txn);
    if (error == 0) {
        error = print_items(txn, committed->dbi, {append, out});
        mdb_txn_abort(txn);
    }
    flush(out);
    return error != 0 ? error : out->error;
}

}  // namespace

int save_settings() {
    static constexpr char kTemporaryPath[] = "/flash/mib/settings.txt.new";
    int lock = take_commit_lock();
    if (lock < 0) {
        return errno;
    }
    Copy committed;
    int error = open_copy(&committed, kCommittedPath, MDB_RDONLY);
    if (error == 0) {
        FileWriter out;
        out.fd = open(kTemporaryPath, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kFileMode);
        if (out.fd < 0) {
            error = errno;
        } else {
            error = write_settings(&committed, &out);
            if (error == 0 && fsync(out.fd) != 0) {
                error = errno;
            }
            close(out.fd);
            if (error == 0 && rename(kTemporaryPath, kSettingsPath) != 0) {
                error = errno;
            }
        }
        close_copy(&committed);
    }
    close(lock);
    return error;
}

}  // namespace store
