// SPDX-License-Identifier: MIT
#include "virtual_router/apmib/boot.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "virtual_router/board/board.h"

namespace store {

void check(int error, const std::string &what) {
    if (error != 0) {
        throw std::runtime_error(what + ": " + mdb_strerror(error));
    }
}

namespace {

// Renames a damaged file; never deletes it.
void set_aside(const char *path, const std::string &fault) {
    char stamp[32];
    time_t now = time(nullptr);
    tm parts = {};
    strftime(stamp, sizeof(stamp), "%Y%m%dT%H%M%SZ", gmtime_r(&now, &parts));
    std::string aside = std::string(path) + ".damaged-" + stamp;
    std::string name = aside;
    for (int i = 2; std::filesystem::exists(name); i++) {
        name = aside + "-" + std::to_string(i);
    }
    std::cerr << "flash: " << path << " is damaged: " << fault << "; it is kept as " << name
              << ", and the router starts from its defaults\n";
    std::filesystem::rename(path, name);
    const std::string order = "keep " + name.substr(strlen("/flash/"));
    check(board::order(order.c_str()), name);
}

// Takes over the value of a slot where it still fits the item's definition. False: it does not.
bool keep_value(const Item &item, uint8_t *slot, const Item &old_item, const uint8_t *old_slot) {
    if (item.kind != old_item.kind) {
        return false;
    }
    size_t size = item.width;
    if (item.kind == kText) {
        size = strnlen(reinterpret_cast<const char *>(old_slot), old_item.width);
        if (size >= item.width) {
            return false;
        }
    } else if (item.kind == kTable) {
        int32_t count = 0;
        memcpy(&count, old_slot, sizeof(count));
        if (item.width != old_item.width || count < 0 || count > item.limit || count > old_item.limit) {
            return false;
        }
        size = kCountSize + static_cast<size_t>(count) * item.width;
    }
    memset(slot, 0, slot_size(item));
    memcpy(slot, old_slot, size);
    return true;
}

// The defined items with the values that the committed copy has for them. A new item, or one whose value no longer
// fits, has its default; an item that is no longer defined is dropped.
Records merge(const Records &definitions, const Records &committed) {
    Records merged = definitions;
    for (auto &[id, record] : merged) {
        auto old = committed.find(id);
        if (old == committed.end()) {
            continue;
        }
        Item item = item_of(record);
        Item old_item = item_of(old->second);
        auto slots = reinterpret_cast<uint8_t *>(record.data()) + sizeof(Item);
        auto old_slots = reinterpret_cast<const uint8_t *>(old->second.data()) + sizeof(Item);
        bool fits = true;
        for (size_t i = 0; i < item.slots && i < old_item.slots; i++) {
            fits &= keep_value(item, slots + i * slot_size(item), old_item, old_slots + i * slot_size(old_item));
        }
        if (!fits) {
            std::cerr << "flash: the value of " << item.name << " no longer fits its definition; it has its default\n";
        }
    }
    return merged;
}

// Gives the working copy exactly these records, in one transaction, inside the file that is there, which other
// processes may have open; or in a new one. To go through what is there takes no more than this many seconds, or
// SIGALRM ends it, and what cannot be read again is not stored.
constexpr unsigned kMostSeconds = 3;

void fill(const Records &records, bool create) {
    Copy copy;
    check(open_working(&copy, create), kWorkingPath);
    MDB_txn *txn = nullptr;
    check(begin(&copy, 0, &txn), "begin");
    alarm(kMostSeconds);  // a wait for other writers is over
    int error = mdb_drop(txn, copy.dbi, 0);
    for (auto &[id, record] : records) {
        // LMDB takes what it only reads by a pointer to what is not const.
        uint32_t number = id;
        MDB_val key = {sizeof(number), &number};
        MDB_val data = {record.size(), const_cast<char *>(record.data())};
        error = error != 0 ? error : mdb_put(txn, copy.dbi, &key, &data, 0);
    }
    if (error == 0 && read_working(copy, txn) != records) {
        error = MDB_CORRUPTED;
    }
    if (error == 0) {
        error = mdb_txn_commit(txn);
    } else {
        mdb_txn_abort(txn);
    }
    alarm(0);
    close_working(&copy);
    check(error, kWorkingPath);
}

// fill() in a child, since to go through a damaged file can end in a bus error, or never. False: it failed.
bool fill_in_child(const Records &records) {
    pid_t child = fork();
    if (child < 0) {
        throw std::runtime_error("no process to lay out the store");
    }
    if (child == 0) {
        const rlimit no_core = {0, 0};
        setrlimit(RLIMIT_CORE, &no_core);
        // LMDB prints the assertions that fail on damaged pages; the parent says it better.
        int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (null >= 0) {
            dup2(null, STDERR_FILENO);
        }
        try {
            fill(records, false);
            _exit(0);
        } catch (const std::exception &) {
            _exit(1);
        }
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return status == 0;
}

// Lays out the working copy, and commits it. The commit lock is held.
void lay_out(const Records &records) {
    if (!std::filesystem::exists(kWorkingPath) || !fill_in_child(records)) {
        if (std::filesystem::remove(kWorkingPath)) {
            std::filesystem::remove(kWorkingLockPath);  // for who still has the damaged one open
            std::cerr << "flash: " << kWorkingPath << " is damaged; it is laid out anew\n";
        }
        fill(records, true);
    }
    Copy copy;
    check(open_working(&copy, false), kWorkingPath);
    int error = commit_locked(&copy);
    close_working(&copy);
    check(error, kCommittedPath);
}

void make_folder_of(const char *path) {
    auto folder = std::filesystem::path(path).parent_path();
    if (std::filesystem::create_directories(folder)) {
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
    }
}

}  // namespace

Records read_working(const Copy &copy, MDB_txn *txn) {
    Records records;
    MDB_cursor *cursor = nullptr;
    check(mdb_cursor_open(txn, copy.dbi, &cursor), "read");
    MDB_val key = {};
    MDB_val data = {};
    while (mdb_cursor_get(cursor, &key, &data, MDB_NEXT) == 0) {
        uint32_t id = 0;
        Item item;
        const uint8_t *slots = nullptr;
        check(key.mv_size == sizeof(id) && read_record(data, &item, &slots) ? 0 : MDB_CORRUPTED, "read");
        memcpy(&id, key.mv_data, sizeof(id));
        records[id].assign(static_cast<const char *>(data.mv_data), data.mv_size);
    }
    mdb_cursor_close(cursor);
    return records;
}

std::string read_committed(const char *path, Records *records) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw std::runtime_error(std::string(path) + " (was the router started? flash boot does): " + strerror(errno));
    }
    const std::string file((std::istreambuf_iterator<char>(in)), {});
    End end = {};
    if (file.size() >= sizeof(end)) {
        memcpy(&end, file.data() + file.size() - sizeof(end), sizeof(end));
    }
    if (end.magic != kEndMagic) {
        return "it is cut short, or of another format";
    }
    uint64_t sum = 0;
    size_t left = file.size() - sizeof(end);
    for (const char *at = file.data(); left > 0;) {
        RecordHead head = {};
        if (left < sizeof(head)) {
            return "a record is cut short";
        }
        memcpy(&head, at, sizeof(head));
        at += sizeof(head);
        left -= sizeof(head);
        Item item;
        const uint8_t *slots = nullptr;
        if (head.size > left || head.id >= kIdLimit ||
            !read_record({head.size, const_cast<char *>(at)}, &item, &slots)) {
            return "a record is none";
        }
        sum = add_to_sum(sum, head, at);
        (*records)[head.id].assign(at, head.size);
        at += head.size;
        left -= head.size;
    }
    return sum == end.sum ? "" : "its records do not fit their checksum";
}

void load(const Records &definitions, const char *path) {
    Records saved;
    std::string fault = read_committed(path, &saved);
    if (!fault.empty()) {
        throw std::runtime_error(std::string(path) + " is damaged: " + fault);
    }
    fill(merge(definitions, saved), false);
}

void boot(const Records &definitions, bool fresh) {
    make_folder_of(kCommittedPath);
    make_folder_of(kWorkingPath);
    int lock = take_commit_lock();
    check(lock < 0 ? errno : 0, kCommitLockPath);
    Records committed;
    if (!fresh && std::filesystem::exists(kCommittedPath)) {
        std::string fault = read_committed(kCommittedPath, &committed);
        if (!fault.empty()) {
            set_aside(kCommittedPath, fault);
            committed.clear();
        }
    }
    lay_out(merge(definitions, committed));
    close(lock);
    check(save_settings(), kSettingsPath);
}

}  // namespace store
