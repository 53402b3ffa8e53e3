// SPDX-License-Identifier: MIT
// What a commit promises: done or not done, whoever else writes, and whatever ends the process or the power.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <lmdb.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "platform/apmib.h"
#include "platform/tables.h"
#include "tests/store/router.h"
#include "tests/store/tracer.h"

namespace {

constexpr int kAdd = kTableAdd;
constexpr int kReadEntry = kTableRead;
constexpr int kDelete = kTableDelete;
constexpr int kDeleteAll = kTableDeleteAll;

// ---- Many processes at once -----------------------------------------------------------------------------------------

constexpr int kWriters = 8;
constexpr int kNumber = 1000;      // + writer: an item of its own
constexpr int kShared = 2000;      // a record whose slots belong to the writers: one loses nothing by another's write
constexpr int kCommitted1 = 3000;  // + writer: written and committed
constexpr int kTable = 4000;       // everybody adds to it

std::string writers_definitions() {
    std::string text = std::to_string(kShared) + " MIB_WLAN_SHARED int32 interface 0\n" + std::to_string(kTable) +
                       " MIB_TABLE table[8x255/8] global -\n";
    for (int i = 0; i < kWriters; i++) {
        std::string name = std::to_string(i);
        text += std::to_string(kNumber + i) + " MIB_NUMBER_" + name + " int32 global 0\n";
        text += std::to_string(kCommitted1 + i) + " MIB_COMMITTED_" + name + " int32 global 0\n";
    }
    return text;
}

// What the store told each writer, in memory that all processes share and none's death loses.
struct Told {
    std::atomic<int32_t> stored;     // the last number whose writes were said to be stored
    std::atomic<int32_t> tried;      // the last number that was written, whatever was said
    std::atomic<int32_t> committed;  // the last number that was said to be committed
    std::atomic<int32_t> added;      // entries said to be in the table
};

class Writers : public testing::Test {
  protected:
    Writers() : router(writers_definitions()) {
        void *memory =
            mmap(nullptr, sizeof(Told) * kWriters, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        told = static_cast<Told *>(memory);
        EXPECT_EQ(router.flash({"boot"}).status, 0);
    }
    ~Writers() override { munmap(told, sizeof(Told) * kWriters); }

    // Starts a process that writes, and adds to the table with each number that `add_every` divides.
    pid_t start_writer(int writer, int rounds, int add_every) {
        return router.start([=] {
            REQUIRE(apmib_init() != 0);
            for (int i = 0; i < rounds; i++) {
                write_round(writer, told[writer].tried + 1, add_every);
            }
        });
    }

    // Writes `number` everywhere, and commits it every few numbers.
    void write_round(int writer, int32_t number, int add_every) {
        Told &mine = told[writer];
        mine.tried = number;
        wlan_idx = writer / 6;
        vwlan_idx = writer % 6;
        REQUIRE(apmib_set(kNumber + writer, &number) != 0);
        REQUIRE(apmib_set(kShared, &number) != 0);
        REQUIRE(apmib_set(kCommitted1 + writer, &number) != 0);
        mine.stored = number;
        if (number % add_every == 0) {
            int32_t entry[2] = {writer, number};
            REQUIRE(apmib_set(kTable + kAdd, entry) != 0);
            mine.added++;
        }
        if (number % 3 == 0) {
            REQUIRE(apmib_update(4) != 0);
            mine.committed = number;
            REQUIRE(number % 6 != 0 || save_cs_to_file() == 0);
        }
        // What others do never changes what this one wrote.
        int32_t read = 0;
        REQUIRE(apmib_get(kShared, &read) != 0 && read == number);
        REQUIRE(apmib_get(kNumber + writer, &read) != 0 && read == number);
    }

    // Every writer's numbers lie between what it was told and what it last tried.
    void expect_between(const char *what, std::atomic<int32_t> Told::*low) {
        EXPECT_EQ(router.run([&] {
            REQUIRE(apmib_init() != 0);
            for (int i = 0; i < kWriters; i++) {
                wlan_idx = i / 6;
                vwlan_idx = i % 6;
                for (int id : {kNumber + i, kShared, kCommitted1 + i}) {
                    int32_t number = 0;
                    REQUIRE(apmib_get(id, &number) != 0);
                    if (number < told[i].*low || number > told[i].tried) {
                        fprintf(stderr, "%s: item %d of writer %d is %d, not %d to %d\n", what, id, i, number,
                                (told[i].*low).load(), told[i].tried.load());
                        _exit(1);
                    }
                }
            }
        }),
                  0);
    }

    // The table has each entry once, and at least those that were said to be added.
    void expect_entries(int32_t slack) {
        EXPECT_EQ(router.run([&] {
            REQUIRE(apmib_init() != 0);
            int32_t count = 0;
            REQUIRE(apmib_get(kTable, &count) != 0);
            int32_t found[kWriters] = {};
            int32_t last[kWriters] = {};
            for (int32_t i = 1; i <= count; i++) {
                int32_t entry[2] = {i, 0};
                REQUIRE(apmib_get(kTable + kReadEntry, entry) != 0);
                REQUIRE(entry[0] >= 0 && entry[0] < kWriters && entry[1] > last[entry[0]]);
                last[entry[0]] = entry[1];
                found[entry[0]]++;
            }
            for (int i = 0; i < kWriters; i++) {
                REQUIRE(found[i] >= told[i].added && found[i] <= told[i].added + slack);
            }
        }),
                  0);
    }

    Router router;
    Told *told;
};

TEST_F(Writers, LoseNothingThatTheyWereToldIsStored) {
    pid_t processes[kWriters];
    for (int i = 0; i < kWriters; i++) {
        processes[i] = start_writer(i, 600, 20);
    }
    for (pid_t process : processes) {
        EXPECT_EQ(wait_for(process), 0);
    }
    for (int i = 0; i < kWriters; i++) {
        EXPECT_EQ(told[i].stored, 600);
        EXPECT_EQ(told[i].committed, 600);
    }
    expect_between("working copy", &Told::stored);
    expect_entries(0);
    ASSERT_EQ(router.flash({"boot"}).status, 0);
    expect_between("committed copy", &Told::committed);
    expect_entries(0);
}

TEST_F(Writers, AreNotHarmedByTheDeathOfOthers) {
    constexpr int kForEver = 1000000000;
    constexpr int kSeldom = 1000;  // the table must not get full
    constexpr int kKills = 300;
    pid_t processes[kWriters];
    for (int i = 0; i < kWriters; i++) {
        processes[i] = start_writer(i, kForEver, kSeldom);
    }
    Random random(1);
    for (int i = 0; i < kKills; i++) {
        usleep(static_cast<useconds_t>(random.below(4000)));
        auto victim = random.below(kWriters);
        kill(processes[victim], SIGKILL);
        ASSERT_EQ(wait_for(processes[victim]), 128 + SIGKILL) << "a writer ended by itself";
        processes[victim] = start_writer(static_cast<int>(victim), kForEver, kSeldom);
    }
    for (pid_t process : processes) {
        kill(process, SIGKILL);
        EXPECT_EQ(wait_for(process), 128 + SIGKILL);
    }
    expect_between("working copy", &Told::stored);
    Outcome boot = router.flash({"boot"});
    ASSERT_EQ(boot.status, 0);
    EXPECT_EQ(boot.output, "");
    expect_between("committed copy", &Told::committed);
}

// At every moment the settings file can take the place of another router's committed copy.
TEST_F(Writers, LeaveASettingsFileThatIsWhole) {
    constexpr int kForEver = 1000000000;
    pid_t processes[kWriters];
    for (int i = 0; i < kWriters; i++) {
        processes[i] = start_writer(i, kForEver, kForEver);
    }
    Router other(writers_definitions());
    ASSERT_EQ(other.flash({"boot"}).status, 0);
    for (int i = 0; i < 200; i++) {
        std::filesystem::copy_file(router.path(kSettings), other.path(kCommitted),
                                   std::filesystem::copy_options::overwrite_existing);
        Outcome boot = other.flash({"boot"});
        EXPECT_EQ(boot.status, 0);
        EXPECT_EQ(boot.output, "");
    }
    for (pid_t process : processes) {
        kill(process, SIGKILL);
        EXPECT_EQ(wait_for(process), 128 + SIGKILL);
    }
}

// ---- Readers beside writers -----------------------------------------------------------------------------------------

constexpr int kOldest = 1;  // written first, and lies at one end of the records
constexpr int kNewest = 30000;
constexpr int kWide = 20000;  // a record of several pages
constexpr size_t kWideSize = 1024;

std::string wide_definitions() {
    std::string text =
        "1 MIB_OLDEST int32 global 0\n30000 MIB_NEWEST int32 global 0\n20000 MIB_WIDE table[1024x9/1] global " +
        std::string(2 * kWideSize, '0') + "\n";
    for (int id = 100; id < 600; id++) {
        text += std::to_string(id) + " MIB_FILL_" + std::to_string(id) + " text[60] global \"\"\n";
    }
    return text;
}

class Readers : public testing::Test {
  protected:
    Readers() : router(wide_definitions()) { EXPECT_EQ(router.flash({"boot"}).status, 0); }

    // Calls `work` again and again.
    static void for_a_while(const std::function<void()> &work) {
        auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(1200);
        while (std::chrono::steady_clock::now() < end) {
            work();
        }
    }

    // Runs `work` beside a process that writes without a pause.
    void beside_a_writer(const std::function<void()> &work) {
        pid_t writer = router.start([] {
            REQUIRE(apmib_init() != 0);
            uint8_t entry[kWideSize] = {};
            for (int32_t i = 1;; i++) {
                memset(entry, i, sizeof(entry));
                REQUIRE(apmib_set(kOldest, &i) != 0);
                REQUIRE(apmib_set(kWide + kDeleteAll, entry) != 0 && apmib_set(kWide + kAdd, entry) != 0);
                REQUIRE(apmib_set(kNewest, &i) != 0);
            }
        });
        work();
        kill(writer, SIGKILL);
        EXPECT_EQ(wait_for(writer), 128 + SIGKILL);
    }

    Router router;
};

TEST_F(Readers, SeeAValueOfOneWrite) {
    beside_a_writer([this] {
        EXPECT_EQ(router.run([] {
            REQUIRE(apmib_init() != 0);
            for_a_while([] {
                uint8_t entry[kWideSize] = {1};
                if (apmib_get(kWide + kReadEntry, entry) != 0) {  // the writer deletes it for a moment
                    REQUIRE(std::count(entry, entry + kWideSize, entry[0]) == kWideSize);
                }
            });
        }),
                  0);
    });
}

TEST_F(Readers, CommitOneMoment) {
    // The settings file as another router's committed copy.
    Router other(wide_definitions());
    ASSERT_EQ(other.flash({"boot"}).status, 0);
    auto look = [&] {
        ASSERT_EQ(router.run([] { REQUIRE(apmib_init() != 0 && apmib_update(4) != 0 && save_cs_to_file() == 0); }), 0);
        std::filesystem::copy_file(router.path(kSettings), other.path(kCommitted),
                                   std::filesystem::copy_options::overwrite_existing);
        Outcome boot = other.flash({"boot"});
        ASSERT_EQ(boot.output, "");
        ASSERT_EQ(other.run([] {
            int32_t oldest = 0;
            int32_t newest = 0;
            REQUIRE(apmib_init() != 0 && apmib_get(kOldest, &oldest) != 0 && apmib_get(kNewest, &newest) != 0);
            REQUIRE(oldest == newest || oldest == newest + 1);
        }),
                  0);
    };
    beside_a_writer([&] { for_a_while(look); });
    ASSERT_FALSE(HasFailure());
    Outcome boot = router.flash({"boot"});
    EXPECT_EQ(boot.status, 0);
    EXPECT_EQ(boot.output, "");
}

// A process that reads the working copy and is stopped there, until `file` exists.
void read_until(const char *file) {
    MDB_env *env = nullptr;
    MDB_txn *txn = nullptr;
    REQUIRE(mdb_env_create(&env) == 0 && mdb_env_set_mapsize(env, size_t{16} << 20) == 0);
    REQUIRE(mdb_env_open(env, kWorking, MDB_NOSUBDIR | MDB_RDONLY, 0) == 0);
    REQUIRE(mdb_txn_begin(env, nullptr, MDB_RDONLY, &txn) == 0);
    write_file("/etc/reads", "");
    while (access(file, F_OK) != 0) {
        usleep(1000);
    }
    mdb_txn_abort(txn);
    pause();
}

// Nobody can write over what a reader may still look at, so that the file fills up; who writes waits then.
TEST_F(Readers, ThatAreStoppedOrKilledFailNoWrite) {
    for (bool is_killed : {false, true}) {
        SCOPED_TRACE(is_killed ? "killed" : "stopped for a while");
        std::filesystem::remove(router.path("/etc/reads"));
        std::filesystem::remove(router.path("/etc/go"));
        pid_t reader = router.start([] { read_until("/etc/go"); });
        while (!std::filesystem::exists(router.path("/etc/reads"))) {
            usleep(1000);
        }
        pid_t writer = router.start([] {
            REQUIRE(apmib_init() != 0);
            for (int32_t i = 0; i < 6000; i++) {
                REQUIRE(apmib_set(kOldest, &i) != 0);
            }
        });
        usleep(is_killed ? 1000 : 1200000);
        if (is_killed) {
            kill(reader, SIGKILL);
        } else {
            EXPECT_EQ(waitpid(writer, nullptr, WNOHANG), 0) << "nothing has filled up";
            write_file(router.path("/etc/go"), "");
        }
        EXPECT_EQ(wait_for(writer), 0);
        kill(reader, SIGKILL);
        wait_for(reader);
        EXPECT_LE(std::filesystem::file_size(router.path(kWorking)), size_t{16} << 20);
    }
}

// ---- What a process does to the committed copy ----------------------------------------------------------------------

// What a process did to the file that is to become the committed copy.
struct FileEvent {
    enum { kWrite, kSync, kRename, kFolderSync } what;
    size_t offset;
    std::string bytes;
};

// Runs a traced process and writes down what it does for a commit, from its system calls.
class FileRecorder {
  public:
    explicit FileRecorder(pid_t process) : process_(process) {}

    // Kills the process at its n-th stop, counted from 0; the default lets it end. Returns its status.
    int run(size_t n = SIZE_MAX) {
        size_t stop = 0;
        return trace(process_, [&, n](const SystemCall &call) {
            if (call.entry) {
                entry_ = call;
            } else {
                end(call.result);
            }
            return stop++ != n;
        });
    }

    // Whether what makes a commit a fact was done.
    bool committed() const {
        return std::any_of(events.begin(), events.end(),
                           [](const FileEvent &event) { return event.what == FileEvent::kRename; });
    }

    std::vector<FileEvent> events;
    bool strange = false;  // a file was written in a way that this does not know

  private:
    void end(long result) {
        if (result < 0) {
            return;
        }
        auto fd = static_cast<int>(entry_.arguments[0]);
        if (entry_.number == SYS_openat) {
            opened(static_cast<int>(result));
        } else if (is_rename()) {
            events.push_back({FileEvent::kRename, 0, ""});
        } else if (entry_.number == SYS_fsync && fd == folder_) {
            events.push_back({FileEvent::kFolderSync, 0, ""});
        } else if (fd == new_) {
            done(static_cast<size_t>(result));
        }
    }

    // Whether the call makes the new file the committed copy. Not every processor has the call with paths alone.
    bool is_rename() const {
#ifdef SYS_rename
        if (entry_.number == SYS_rename) {
            return names(0, kNew) && names(1, kCommitted);
        }
#endif
        return (entry_.number == SYS_renameat || entry_.number == SYS_renameat2) && names(1, kNew) &&
               names(3, kCommitted);
    }

    // Whether an argument of the call is this path.
    bool names(int argument, const char *path) const {
        return read_memory(process_, entry_.arguments[argument], strlen(path) + 1) ==
               std::string(path, strlen(path) + 1);
    }

    void opened(int fd) {
        const bool writable = (entry_.arguments[2] & O_ACCMODE) != O_RDONLY;
        strange |= writable && names(1, kCommitted);
        new_ = writable && names(1, kNew) ? fd : new_ == fd ? -1 : new_;
        folder_ = names(1, kFlash) ? fd : folder_ == fd ? -1 : folder_;
        size_ = new_ == fd ? 0 : size_;
    }

    void done(size_t result) {
        switch (entry_.number) {
            case SYS_write:
                add(read_memory(process_, entry_.arguments[1], result));
                break;
            case SYS_fsync:
                events.push_back({FileEvent::kSync, 0, ""});
                break;
            case SYS_close:
                new_ = -1;
                break;
            default:
                strange |= !only_looks(entry_.number);
                break;
        }
    }

    static bool only_looks(unsigned long call) {
        for (unsigned long looking : {
                 static_cast<unsigned long>(SYS_fcntl),
#ifdef SYS_newfstatat
                 static_cast<unsigned long>(SYS_newfstatat),
#endif
#ifdef SYS_fstat
                 static_cast<unsigned long>(SYS_fstat),
#endif
             }) {
            if (call == looking) {
                return true;
            }
        }
        return false;
    }

    void add(const std::string &bytes) {
        events.push_back({FileEvent::kWrite, size_, bytes});
        size_ += bytes.size();
    }

    pid_t process_;
    SystemCall entry_ = {};
    int new_ = -1;
    int folder_ = -1;
    size_t size_ = 0;  // of the new file
};

// ---- A process that is killed ---------------------------------------------------------------------------------------

constexpr int kFirst = 100;  // items of one state; all have the same number in one commit
constexpr int kLast = 139;

std::string state_definitions() {
    std::string text = "200 MIB_WLAN_STATE int32 interface 0\n300 MIB_LARGE table[200x20/200] global -\n";
    for (int id = kFirst; id <= kLast; id++) {
        text += std::to_string(id) + " MIB_STATE_" + std::to_string(id) + " int32 global 0\n";
    }
    return text;
}

void write_state(int32_t number) {
    for (int id = kFirst; id <= kLast; id++) {
        REQUIRE(apmib_set(id, &number) != 0);
    }
    for (wlan_idx = 0; wlan_idx < 2; wlan_idx++) {
        REQUIRE(apmib_set(200, &number) != 0);
    }
    int32_t entry[50] = {number};
    REQUIRE(apmib_set(300 + kAdd, entry) != 0);
}

// The number of the state that the store holds. Ends the process if it is a mixture.
int32_t read_state() {
    int32_t state = 0;
    REQUIRE(apmib_get(kFirst, &state) != 0);
    int32_t number = 0;
    for (int id = kFirst; id <= kLast; id++) {
        REQUIRE(apmib_get(id, &number) != 0 && number == state);
    }
    for (wlan_idx = 0; wlan_idx < 2; wlan_idx++) {
        REQUIRE(apmib_get(200, &number) != 0 && number == state);
    }
    // A state's table has the entries of all states before it.
    REQUIRE(apmib_get(300, &number) != 0 && number == state);
    for (int32_t i = 1; i <= state; i++) {
        int32_t entry[50] = {i};
        REQUIRE(apmib_get(300 + kReadEntry, entry) != 0 && entry[0] == i);
    }
    return state;
}

class State : public testing::Test {
  protected:
    State() : router(state_definitions()) { EXPECT_EQ(router.flash({"boot"}).status, 0); }

    // Writes the states up to `number` and commits each.
    void commit_states(int32_t number) {
        EXPECT_EQ(router.run([&] {
            REQUIRE(apmib_init() != 0);
            for (int32_t i = read_state() + 1; i <= number; i++) {
                write_state(i);
                REQUIRE(apmib_update(4) != 0);
            }
        }),
                  0);
    }

    // Starts a process that writes and commits the states after `state` up to `last`, the last one traced in its
    // commit.
    pid_t start_commits(int32_t state, int32_t last) {
        return router.start([=] {
            REQUIRE(apmib_init() != 0);
            for (int32_t i = state + 1; i < last; i++) {
                write_state(i);
                REQUIRE(apmib_update(4) != 0);
            }
            write_state(last);
            REQUIRE(stop_for_tracer());
            REQUIRE(apmib_update(4) != 0);
        });
    }

    // Starts a boot of the router, traced from its first instruction.
    pid_t start_boot() {
        pid_t process = fork();
        if (process == 0) {
            std::string root = router.path("");

            REQUIRE(stop_for_tracer());
            execl(FLASH_PATH, FLASH_PATH, "--root", root.c_str(), "boot", nullptr);
            _exit(127);
        }
        return process;
    }

    // Starts the router again. Returns the state that it starts with, -1 for a mixture or a failure.
    int boot_state() {
        Outcome boot = router.flash({"boot"});
        EXPECT_EQ(boot.status, 0);
        EXPECT_EQ(boot.output, "");
        int status = router.run([] {
            REQUIRE(apmib_init() != 0);
            _exit(100 + read_state());
        });
        return status >= 100 && status < 128 ? status - 100 : -1;
    }

    // Makes the committed copy a file of this content, and starts from it.
    int boot_from(const std::string &committed) {
        write_file(router.path(kCommitted), committed);
        return boot_state();
    }

    // Kills a process of `start` at every stop (step 1) or before every system call (step 2), each time from the same
    // two copies, and looks what the router starts with: `new_state` if the commit was a fact, else `old_state`.
    // Returns the number of places.
    size_t kill_everywhere(int old_state, int new_state, size_t step, const std::function<pid_t()> &start) {
        const std::string committed = read_file(router.path(kCommitted));
        const std::string working = read_file(router.path(kWorking));
        size_t places = 0;
        size_t facts = 0;
        for (size_t n = 0;; n += step) {
            write_file(router.path(kCommitted), committed);
            write_file(router.path(kWorking), working);
            FileRecorder recorder(start());
            int status = recorder.run(n);
            if (status == 0) {
                EXPECT_EQ(boot_state(), new_state);
                EXPECT_TRUE(old_state == new_state || (facts > 0 && facts < places));
                return places;
            }
            EXPECT_EQ(status, 128 + SIGKILL) << "at stop " << n;
            expect_free_locks();
            EXPECT_EQ(boot_state(), recorder.committed() ? new_state : old_state) << "at stop " << n;
            places++;
            facts += recorder.committed();
            if (HasFailure()) {
                return places;
            }
        }
    }

    // The locks of a process that died are free: others read, write and commit, here on a copy that a boot drops.
    void expect_free_locks() {
        EXPECT_EQ(router.run([] {
            alarm(5);
            int32_t number = 0;
            REQUIRE(apmib_init() != 0 && apmib_get(kFirst, &number) != 0 && apmib_set(kFirst, &number) != 0);
            REQUIRE(save_cs_to_file() == 0);
        }),
                  0);
    }

    Router router;
};

TEST_F(State, IsOldOrNewWhereverACommitIsKilled) {
    size_t places = 0;
    // The first commit after a start, and later ones, which find pages to use again; with more and more in the table.
    constexpr int kStates[][2] = {
        {0,  1 },
        {0,  2 },
        {1,  3 },
        {1,  4 },
        {3,  9 },
        {12, 13},
        {4,  19}
    };
    for (auto &states : kStates) {
        int base = states[0];
        int last = states[1];
        SCOPED_TRACE("states " + std::to_string(base) + " to " + std::to_string(last));
        ASSERT_EQ(router.flash({"default"}).status, 0);
        commit_states(base);
        ASSERT_EQ(boot_state(), base);
        places += kill_everywhere(last - 1, last, 1, [=] { return start_commits(base, last); });
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_GT(places, 25 * std::size(kStates));
    printf("killed at %zu places\n", places);
}

// Single writes: a value, a new entry of a table, the end of its last one, of one in the middle, of all.
constexpr struct {
    int id;
    int32_t value;
} kWrites[] = {
    {kFirst,           99},
    {300 + kAdd,       99},
    {300 + kDelete,    19},
    {300 + kDelete,    2 },
    {300 + kDeleteAll, 0 }
};

// What the items hold that the writes change.
std::vector<int32_t> written_values() {
    std::vector<int32_t> values(2);
    REQUIRE(apmib_get(kFirst, &values[0]) != 0 && apmib_get(300, &values[1]) != 0);
    for (int32_t i = 1; i <= values[1]; i++) {
        int32_t entry[50] = {i};
        REQUIRE(apmib_get(300 + kReadEntry, entry) != 0);
        values.insert(values.end(), std::begin(entry), std::end(entry));
    }
    return values;
}

TEST_F(State, HasAWriteWholeOrNotWhereverThatIsKilled) {
    commit_states(19);
    ASSERT_EQ(boot_state(), 19);
    const std::string working = read_file(router.path(kWorking));
    for (auto &write : kWrites) {
        SCOPED_TRACE("write to " + std::to_string(write.id) + " of " + std::to_string(write.value));
        auto process = [&](bool traced) {
            return router.start([&, traced] {
                int32_t entry[50] = {write.value};
                REQUIRE(apmib_init() != 0 && (!traced || stop_for_tracer()) && apmib_set(write.id, entry) != 0);
            });
        };
        // What is seen now, in the words of a file: other processes look, since one that has the store open may not.
        auto look = [&] {
            EXPECT_EQ(router.run([] {
                REQUIRE(apmib_init() != 0);
                std::vector<int32_t> values = written_values();
                std::ofstream("/seen").write(reinterpret_cast<char *>(values.data()),
                                             static_cast<std::streamsize>(values.size() * sizeof(int32_t)));
            }),
                      0);
            return read_file(router.path("/seen"));
        };
        write_file(router.path(kWorking), working);
        const std::string before = look();
        ASSERT_EQ(wait_for(process(false)), 0);
        const std::string after = look();
        ASSERT_NE(before, after);
        size_t old = 0;
        size_t places = 0;
        for (int status = -1; status != 0; places++) {
            write_file(router.path(kWorking), working);
            size_t stop = 0;
            status = trace(process(true), [&](const SystemCall &) { return stop++ != places; });
            ASSERT_TRUE(status == 0 || status == 128 + SIGKILL) << status;
            expect_free_locks();
            const std::string seen = look();
            ASSERT_TRUE(seen == after || (seen == before && status != 0)) << "at stop " << places;
            old += seen == before;
            // It is sound, too: a boot that reads the copy has nothing to say.
            Outcome boot = router.flash({"boot"});
            ASSERT_EQ(boot.output, "") << "at stop " << places;
        }
        EXPECT_GT(old, 3U);
        EXPECT_GT(places - old, 1U);
    }
}

TEST_F(State, IsTheCommittedOneWhereverABootIsKilled) {
    commit_states(3);
    size_t places = kill_everywhere(3, 3, 2, [this] { return start_boot(); });
    EXPECT_GT(places, 100U);
    printf("killed at %zu places\n", places);
}

TEST_F(State, IsOldOrNewAfterKillsAtAnyTime) {
    Random random(2);
    int state = 0;
    int ended = 0;
    auto start = [&] {
        return router.start([state] {
            REQUIRE(apmib_init() != 0);
            write_state(state + 1);
            REQUIRE(apmib_update(4) != 0 && save_cs_to_file() == 0);
        });
    };
    // How long it takes when nobody kills it, on this machine.
    auto begin = std::chrono::steady_clock::now();
    ASSERT_EQ(wait_for(start()), 0);
    auto usual = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - begin);
    ASSERT_EQ(boot_state(), ++state);
    for (int i = 0; i < 200; i++) {
        pid_t process = start();
        usleep(static_cast<useconds_t>(random.below(2 * static_cast<size_t>(usual.count()))));
        kill(process, SIGKILL);
        int status = wait_for(process);
        int next = boot_state();
        ASSERT_TRUE(next == state + 1 || (next == state && status != 0)) << next << " after " << state;
        ended += next == state + 1;
        state = next;
        if (state == 20) {  // the table is full
            ASSERT_EQ(router.flash({"default"}).status, 0);
            state = 0;
        }
    }
    EXPECT_GT(ended, 10);
    EXPECT_LT(ended, 190);
}

// Limits how long a file of this process may get, as full memory does.
void limit_files(rlim_t size) {
    const rlimit limit = {size, RLIM_INFINITY};
    REQUIRE(signal(SIGXFSZ, SIG_IGN) != SIG_ERR && setrlimit(RLIMIT_FSIZE, &limit) == 0);
}

TEST_F(State, IsOldWhenTheMemoryIsFullAndNewWhenThereIsRoomAgain) {
    constexpr rlim_t kPage = 4096;
    constexpr rlim_t kIntoTheEnd = 8;  // what follows the last page is longer
    int facts = 0;
    for (rlim_t size = 0; facts < 2; size += size % kPage == 0 ? kIntoTheEnd : kPage - kIntoTheEnd) {
        ASSERT_EQ(router.flash({"default"}).status, 0);
        int status = router.run([size] {
            REQUIRE(apmib_init() != 0);
            write_state(1);
            limit_files(size);
            int32_t number = 2;
            if (apmib_set(kFirst, &number) == 0) {
                REQUIRE(apmib_get(kFirst, &number) != 0 && number == 1);
            } else {
                limit_files(RLIM_INFINITY);
                number = 1;
                REQUIRE(apmib_set(kFirst, &number) != 0);
                limit_files(size);
            }
            int done = apmib_update(4);
            REQUIRE(size > kPage || done == 0);
            REQUIRE(size > 0 || save_cs_to_file() != 0);
            limit_files(RLIM_INFINITY);
            REQUIRE(read_state() == 1);
            _exit(done != 0 ? 101 : 100);
        });
        EXPECT_FALSE(std::filesystem::exists(router.path(kNew))) << "with room for " << size;
        ASSERT_EQ(status, 100 + boot_state());
        facts += status == 101;
        commit_states(1);
        ASSERT_EQ(boot_state(), 1);
        ASSERT_LT(size, rlim_t{1} << 20);
    }
}

// A limit in the midst of what is written: the kernel writes up to there, and says so.
TEST_F(State, HasAWriteWholeOrNotWhereverAFileMustEnd) {
    commit_states(19);
    ASSERT_EQ(boot_state(), 19);
    const std::string working = read_file(router.path(kWorking));
    int refused = 0;
    int stored = 0;
    for (auto &[id, name] : std::map<int, std::string>{
             {kFirst,        "MIB_STATE_100"},
             {300 + kAdd,    "MIB_LARGE"    },
             {300 + kDelete, "MIB_LARGE"    }
    }) {
        // In front of the record, in its checksum, in its value, behind it. Pages that are no longer used may hold it,
        // too.
        std::vector<size_t> limits;
        for (size_t at = working.find(name); at != std::string::npos; at = working.find(name, at + 1)) {
            for (size_t into = 0; into < 160; into += 4) {
                limits.push_back(at + into);
            }
        }
        for (size_t limit = 500; limit < working.size() + 500; limit += 500) {
            limits.push_back(limit);
        }
        for (size_t limit : limits) {
            write_file(router.path(kWorking), working);
            int status = router.run([id = id, limit] {
                int32_t entry[50] = {id == kFirst ? 99 : 19};
                REQUIRE(apmib_init() != 0);
                limit_files(limit);
                bool done = apmib_set(id, entry) != 0;
                int32_t value = 0;
                REQUIRE(apmib_get(id == kFirst ? kFirst : 300, &value) != 0);
                int32_t changed = id == kFirst ? 99 : id == 300 + kAdd ? 20 : 18;
                REQUIRE(value == (done ? changed : 19));
                _exit(done ? 101 : 100);
            });
            ASSERT_TRUE(status == 100 || status == 101) << status << " at " << limit;
            refused += status == 100;
            stored += status == 101;
            Outcome boot = router.flash({"boot"});
            ASSERT_EQ(boot.output, "") << "write to " << id << ", limit " << limit;
        }
    }
    EXPECT_GT(refused, 30);
    EXPECT_GT(stored, 30);
}

// ---- A power cut ----------------------------------------------------------------------------------------------------

constexpr size_t kSector = 512;  // what a disk writes whole or not at all

// Writes a part of an event's bytes into the image of a file: each sector with a chance of `of` in 4.
void apply(const FileEvent &event, std::string *file, Random *random, size_t of) {
    for (size_t at = 0; at < event.bytes.size();) {
        size_t part = std::min(event.bytes.size() - at, kSector - (event.offset + at) % kSector);
        if (random->below(4) < of) {
            file->resize(std::max(file->size(), event.offset + at + part), '\0');
            file->replace(event.offset + at, part, event.bytes, at, part);
        }
        at += part;
    }
}

// The committed copy after a power cut behind the first `count` events: what was synchronised is there, of the rest
// anything. A rename is done as a whole or not at all.
std::string cut_after(const std::string &before, const std::vector<FileEvent> &events, size_t count, Random *random,
                      size_t of) {
    auto was = [&](size_t i, int what) { return i < count && events[i].what == what; };
    size_t safe = 0;
    bool renamed = false;
    bool certainly = false;
    for (size_t i = 0; i < count; i++) {
        safe = was(i, FileEvent::kSync) ? i : safe;
        renamed |= was(i, FileEvent::kRename);
        certainly |= renamed && was(i, FileEvent::kFolderSync);
    }
    if (!renamed || (!certainly && random->below(4) >= of)) {
        return before;
    }
    std::string file;
    for (size_t i = 0; i < count; i++) {
        if (was(i, FileEvent::kWrite)) {
            apply(events[i], &file, random, i < safe ? 4 : of);
        }
    }
    return file;
}

TEST_F(State, IsOldOrNewAfterAPowerCut) {
    Random random(3);
    size_t cuts = 0;
    // The first commit after a start, and later ones.
    for (int last : {1, 2, 3, 5, 9}) {
        if (last < 3) {
            ASSERT_EQ(router.flash({"default"}).status, 0);
        }
        commit_states(last - 1);
        std::string before = read_file(router.path(kCommitted));
        FileRecorder recorder(start_commits(last - 1, last));
        ASSERT_EQ(recorder.run(), 0);
        const std::vector<FileEvent> &events = recorder.events;
        ASSERT_FALSE(recorder.strange);
        ASSERT_GE(events.size(), 5U);  // pages, their end, made safe, renamed, made safe
        // What was written down is what was done.
        ASSERT_EQ(cut_after(before, events, events.size(), &random, 4), read_file(router.path(kCommitted)));
        for (size_t count = 0; count <= events.size(); count++) {
            for (size_t of : {0U, 4U, 1U, 2U, 3U, 1U, 2U, 3U, 1U, 2U, 3U, 1U, 2U, 3U}) {
                int state = boot_from(cut_after(before, events, count, &random, of));
                ASSERT_TRUE(state == last || (state == last - 1 && count < events.size()))
                    << state << " after event " << count << " of " << events.size();
                cuts++;
            }
        }
    }
    printf("cut the power %zu times\n", cuts);
}

}  // namespace
