#include "virtual_router/apmib/boot.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <stdexcept>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace store {

void check(int error, const std::string &what) {
    if (error != 0) {
        throw std::runtime_error(what + ": " + mdb_strerror(error));
    }
}

namespace {

// Reading a damaged file can end in a bus error, or never. A child does it, for this long at most, and hands over what
// it read in memory that it shares with its parent, so that the parent never looks into a file that it does not trust.
constexpr unsigned kReadSeconds = 3;
constexpr size_t kSharedSize = kMapSize;

struct Shared {
    size_t used;  // bytes of `content`: for each record its key, its size (both uint32) and its bytes
    char fault[200];
    char content[kSharedSize];
};

struct ReadResult {
    Records records;
    std::string fault;  // empty: sound
};

// What a copy's file has behind its records: that of a committed one an End, that of the working one nothing.
enum class Ending { kNone, kEnd };

bool share(Shared *shared, uint32_t key, const MDB_val &data) {
    auto size = static_cast<uint32_t>(data.mv_size);
    if (data.mv_size > kSharedSize || shared->used + 2 * sizeof(uint32_t) + size > kSharedSize) {
        return false;
    }
    char *place = shared->content + shared->used;
    memcpy(place, &key, sizeof(key));
    memcpy(place + sizeof(key), &size, sizeof(size));
    memcpy(place + sizeof(key) + sizeof(size), data.mv_data, size);
    shared->used += sizeof(key) + sizeof(size) + size;
    return true;
}

// The End of a copy's file, which is all zeros if it has none.
End read_end(const Copy &copy) {
    int fd = -1;
    struct stat file = {};
    End end = {};
    if (mdb_env_get_fd(copy.env, &fd) != 0 || fstat(fd, &file) != 0 ||
        pread(fd, &end, sizeof(end), file.st_size - off_t{sizeof(end)}) != sizeof(end) || end.magic != kEndMagic) {
        return {};
    }
    return end;
}

// Walks a copy. Returns what is wrong with it, or nullptr.
const char *walk(Copy *copy, Ending ending, Shared *shared) {
    MDB_txn *txn = nullptr;
    MDB_cursor *cursor = nullptr;
    int error = begin(copy, MDB_RDONLY, &txn);
    if (error == 0) {
        error = mdb_cursor_open(txn, copy->dbi, &cursor);
    }
    uint64_t sum = 0;
    MDB_val key = {};
    MDB_val data = {};
    while (error == 0 && (error = mdb_cursor_get(cursor, &key, &data, MDB_NEXT)) == 0) {
        uint32_t id = 0;
        Item item;
        const uint8_t *slots = nullptr;
        if (key.mv_size != sizeof(id)) {
            return "a key of the wrong size";
        }
        memcpy(&id, key.mv_data, sizeof(id));
        if (id >= kIdLimit || !read_record(data, &item, &slots)) {
            return "a record that is none";
        }
        if (item.sum != sum_record(id, data.mv_data)) {
            return "a record does not fit its checksum";
        }
        sum = add_to_sum(sum, item.sum);
        if (!share(shared, id, data)) {
            return "more records than a store can hold";
        }
    }
    if (error != MDB_NOTFOUND) {
        return mdb_strerror(error);
    }
    return ending == Ending::kEnd && read_end(*copy).sum != sum
               ? "the records are not those that were committed together"
               : nullptr;
}

[[noreturn]] void read_in_child(const char *path, Ending ending, Shared *shared) {
    alarm(kReadSeconds);
    const rlimit no_core = {0, 0};
    setrlimit(RLIMIT_CORE, &no_core);
    // LMDB prints the assertions that fail on damaged pages; the parent says it better.
    int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (null >= 0) {
        dup2(null, STDERR_FILENO);
    }
    Copy copy;
    int error = open_copy(&copy, path, MDB_RDONLY);
    if (error == 0) {
        alarm(0);  // a wait for a writer is no fault of the file
        error = lock_copy(copy, LOCK_SH) ? 0 : errno;
        alarm(kReadSeconds);
    }
    const char *fault = error != 0 ? mdb_strerror(error) : nullptr;
    if (fault == nullptr && ending == Ending::kEnd && read_end(copy).magic == 0) {
        fault = "it is cut short, or of another format";
    }
    fault = fault != nullptr ? fault : walk(&copy, ending, shared);
    if (fault != nullptr) {
        strncpy(shared->fault, fault, sizeof(shared->fault) - 1);
    }
    _exit(fault != nullptr);
}

std::string describe_end(int status, const Shared &shared) {
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) {
        return "";
    }
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) {
        return "reading it takes for ever";
    }
    if (WIFSIGNALED(status)) {
        return std::string("reading it ends with the signal '") + strsignal(WTERMSIG(status)) + "'";
    }
    return shared.fault[0] != '\0' ? shared.fault : "reading it fails";
}

Records unpack(const Shared &shared) {
    Records records;
    for (size_t at = 0; at < shared.used;) {
        uint32_t key = 0;
        uint32_t size = 0;
        memcpy(&key, shared.content + at, sizeof(key));
        memcpy(&size, shared.content + at + sizeof(key), sizeof(size));
        at += sizeof(key) + sizeof(size);
        records[key].assign(shared.content + at, size);
        at += size;
    }
    return records;
}

// Reads a copy that may be damaged in any way.
ReadResult read_suspect(const char *path, Ending ending) {
    void *memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::runtime_error("no memory to read the store");
    }
    auto shared = static_cast<Shared *>(memory);
    pid_t child = fork();
    if (child == 0) {
        read_in_child(path, ending, shared);
    }
    int status = 0;
    while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    ReadResult result;
    if (child > 0) {
        result.fault = describe_end(status, *shared);
        if (result.fault.empty()) {
            result.records = unpack(*shared);
        }
    }
    munmap(memory, sizeof(Shared));
    if (child < 0) {
        throw std::runtime_error("no process to read the store");
    }
    return result;
}

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

// Fills a copy with exactly these sealed records, in one transaction.
void fill(Copy *copy, const Records &records) {
    MDB_txn *txn = nullptr;
    check(begin(copy, 0, &txn), "begin");
    int error = mdb_drop(txn, copy->dbi, 0);
    for (auto &[id, record] : records) {
        // LMDB takes what it only reads by a pointer to what is not const.
        uint32_t number = id;
        MDB_val key = {sizeof(number), &number};
        MDB_val data = {record.size(), const_cast<char *>(record.data())};
        error = error != 0 ? error : mdb_put(txn, copy->dbi, &key, &data, 0);
    }
    if (error == 0) {
        error = mdb_txn_commit(txn);
    } else {
        mdb_txn_abort(txn);
    }
    check(error, "write");
}

// Fills the working copy inside the file that is there, which other processes may have open, and commits it.
void lay_out(const Records &records) {
    if (std::filesystem::exists(kWorkingPath)) {
        std::string fault = read_suspect(kWorkingPath, Ending::kNone).fault;
        if (!fault.empty()) {
            std::cerr << "flash: " << kWorkingPath << " is damaged: " << fault << "; it is laid out anew\n";
            std::filesystem::remove(kWorkingPath);
        }
    }
    Copy copy;
    check(open_copy(&copy, kWorkingPath, MDB_NOSYNC), kWorkingPath);
    check(lock_copy(copy, LOCK_EX) ? 0 : errno, kWorkingPath);
    fill(&copy, records);
    lock_copy(copy, LOCK_UN);
    check(commit_locked(&copy), kCommittedPath);
    close_copy(&copy);
}

void make_folder_of(const char *path) {
    auto folder = std::filesystem::path(path).parent_path();
    if (std::filesystem::create_directories(folder)) {
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
    }
}

}  // namespace

void boot(const Records &definitions, bool fresh) {
    make_folder_of(kCommittedPath);
    make_folder_of(kWorkingPath);
    int lock = take_commit_lock();
    check(lock < 0 ? errno : 0, kCommitLockPath);
    Records committed;
    if (!fresh && std::filesystem::exists(kCommittedPath)) {
        ReadResult result = read_suspect(kCommittedPath, Ending::kEnd);
        if (!result.fault.empty()) {
            set_aside(kCommittedPath, result.fault);
        }
        committed = result.records;
    }
    Records records = merge(definitions, committed);
    for (auto &[id, record] : records) {
        seal_record(id, record.data());
    }
    lay_out(records);
    close(lock);
    check(save_settings(), kSettingsPath);
}

}  // namespace store
