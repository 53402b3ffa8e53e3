// SPDX-License-Identifier: MIT
// The configuration store, item by item and by many processes at once. Everything is put back; nothing is committed
// unless it is asked for.
#include <poll.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <initializer_list>

#include "base/resource.h"
#include "platform/apmib.h"
#include "platform/tables.h"
#include "tests/firmware/check/checks.h"
#include "tests/firmware/check/report.h"

namespace {

enum Kind { BYTE, SBYTE, INT32, IPV4, TEXT, TABLE };
struct item {
    int id;
    const char *name;
    Kind kind;
    unsigned width, limit, match, places, at;
};
#define ITEMS_ONLY
#include "items.inc"

constexpr unsigned kRoom = 1024;  // more than the widest value
constexpr unsigned kPlaces = kWlanCount * kVwlanCount;

using Value = uint8_t[kRoom];

const item *under_test;  // of the checks of one item

unsigned value_width(const item &item) {
    return item.kind == TABLE ? sizeof(int32_t) : item.width;
}

void select(unsigned place) {
    wlan_idx = static_cast<int>(place / kVwlanCount);
    vwlan_idx = static_cast<int>(place % kVwlanCount);
}

// Memory behind which there is none: a value at its end is read and written in its width, or the process ends.
uint8_t *at_the_end(unsigned width) {
    static uint8_t *end;
    if (end == nullptr) {
        const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        auto *memory =
            static_cast<uint8_t *>(mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(memory + page, page, PROT_NONE);
        end = memory + page;
    }
    return end - width;
}

bool get_at_the_end(int id, unsigned width, uint8_t *out) {
    uint8_t *value = at_the_end(width);
    memset(value, 0x33, width);
    const bool done = apmib_get(id, value) != 0;
    memcpy(out, value, width);
    return done;
}

bool set_at_the_end(int id, unsigned width, const uint8_t *in) {
    uint8_t *value = at_the_end(width);
    memcpy(value, in, width);
    const bool done = apmib_set(id, value) != 0;
    expect(memcmp(value, in, width) == 0, "a write changes the buffer that it is given");
    return done;
}

// A value of the item that `number` decides; different numbers below 100 give different values.
void make_value(const item &item, unsigned number, uint8_t *value) {
    memset(value, 0, item.width);
    if (item.kind == TEXT) {
        memset(value, 'a' + static_cast<int>(number % 26), item.width - 1);
        value[0] = static_cast<uint8_t>('A' + number / 26);
        return;
    }
    for (unsigned i = 0; i < item.width; ++i) {
        value[i] = static_cast<uint8_t>(i == 0 ? 0x81 + number : 0xC0 + i + number);
    }
}

void open_store() {
    if (!expect(apmib_init() != 0, "apmib_init() fails")) {
        _exit(0);
    }
}

// --- Values ----------------------------------------------------------------------------------------------------------

// Which bytes a read writes is seen with two fillers.
void check_width(const item &item) {
    const unsigned width = value_width(item);
    Value first;
    Value second;
    memset(first, 0x5A, kRoom);
    memset(second, 0xA5, kRoom);
    if (!expect(apmib_get(item.id, first) != 0 && apmib_get(item.id, second) != 0, "a read fails")) {
        return;
    }
    unsigned written = 0;
    unsigned left_out = 0;
    for (unsigned i = 0; i < kRoom; ++i) {
        const bool untouched = first[i] == 0x5A && second[i] == 0xA5;
        written = untouched ? written : i + 1;
        left_out += untouched && i < width ? 1 : 0;
    }
    expect(written <= width, "a read writes %u bytes, not %u", written, width);
    expect(left_out == 0, "a read leaves %u of the %u bytes as they were", left_out, width);
}

void check_values(const item &item) {
    Value before[kPlaces];
    Value value;
    Value seen;
    for (unsigned place = 0; place < kPlaces; ++place) {
        select(place);
        if (place == 0 || item.places > 1) {
            check_width(item);
        }
        if (!expect(get_at_the_end(item.id, item.width, before[place]), "a read fails for interface %d.%d", wlan_idx,
                    vwlan_idx)) {
            return;
        }
    }
    for (unsigned place = 0; place < item.places; ++place) {
        select(place);
        make_value(item, place, value);
        expect(set_at_the_end(item.id, item.width, value), "a write fails for interface %d.%d", wlan_idx, vwlan_idx);
    }
    for (unsigned place = 0; place < kPlaces; ++place) {
        select(place);
        make_value(item, item.places > 1 ? place : 0, value);
        expect(get_at_the_end(item.id, item.width, seen) && memcmp(seen, value, item.width) == 0,
               item.places > 1 ? "interface %d.%d has not the value that was written for it"
                               : "a value of all interfaces is not read with interface %d.%d",
               wlan_idx, vwlan_idx);
    }
    if (item.kind == TEXT) {  // a short one behind a long one
        memset(value, 0, item.width);
        value[0] = 'x';
        select(0);
        expect(set_at_the_end(item.id, item.width, value) && get_at_the_end(item.id, item.width, seen) &&
                   memcmp(seen, value, item.width) == 0,
               "behind a short text there is something else than zeros");
    }
    for (unsigned place = 0; place < item.places; ++place) {
        select(place);
        set_at_the_end(item.id, item.width, before[place]);
    }
}

// --- Tables ----------------------------------------------------------------------------------------------------------

int32_t count_of(const item &table) {
    int32_t count = -1;
    return apmib_get(table.id, &count) != 0 ? count : -1;
}

bool read_entry(const item &table, unsigned index, uint8_t *entry) {
    uint8_t *value = at_the_end(table.width);
    memset(value, 0, table.width);
    value[0] = static_cast<uint8_t>(index);
    const bool done = apmib_get(table.id + kTableRead, value) != 0;
    if (!done) {
        bool untouched = value[0] == index;
        for (unsigned i = 1; i < table.width; ++i) {
            untouched = untouched && value[i] == 0;
        }
        expect(untouched, "a read of an entry that fails changes the buffer");
    }
    memcpy(entry, value, table.width);
    return done;
}

bool has_entries(const item &table, const unsigned *numbers, unsigned count) {
    Value entry;
    Value wanted;
    for (unsigned i = 0; i < count; ++i) {
        make_value(table, numbers[i], wanted);
        if (!read_entry(table, i + 1, entry) || memcmp(entry, wanted, table.width) != 0) {
            return false;
        }
    }
    return count_of(table) == static_cast<int32_t>(count);
}

bool change(const item &table, int operation, unsigned number) {
    Value entry;
    make_value(table, number, entry);
    return set_at_the_end(table.id + operation, table.width, entry);
}

void empty(const item &table) {
    Value nothing = {};
    apmib_set(table.id + kTableDeleteAll, nothing);
}

struct Saved {
    int32_t count;
    uint8_t entries[kMostTableEntries][kRoom];
};
Saved saved;

void save(const item &table) {
    saved.count = count_of(table);
    for (int32_t i = 0; i < saved.count; ++i) {
        read_entry(table, static_cast<unsigned>(i + 1), saved.entries[i]);
    }
}

void put_back(const item &table) {
    empty(table);
    for (int32_t i = 0; i < saved.count; ++i) {
        apmib_set(table.id + kTableAdd, saved.entries[i]);
    }
}

void check_table(const item &table) {
    check_width(table);
    select(0);
    save(table);
    if (!expect(saved.count >= 0 && saved.count <= static_cast<int32_t>(table.limit), "its count is %d, of at most %u",
                saved.count, table.limit)) {
        return;
    }
    unsigned numbers[kMostTableEntries];
    Value entry;
    empty(table);
    expect(count_of(table) == 0, "after all entries were deleted, %d are there", count_of(table));
    for (unsigned i = 0; i < table.limit; ++i) {
        numbers[i] = i;
        if (!expect(change(table, kTableAdd, i), "entry %u of %u is refused", i + 1, table.limit)) {
            put_back(table);
            return;
        }
    }
    expect(has_entries(table, numbers, table.limit), "entries are not read as they were added");
    expect(!change(table, kTableAdd, 90), "one entry more than %u is taken", table.limit);
    expect(!read_entry(table, 0, entry), "entry 0 is read: entries are counted from 1");
    expect(!read_entry(table, table.limit + 1, entry), "an entry behind the last is read");
    if (table.places > 1) {
        select(kPlaces - 1);
        const int32_t elsewhere = count_of(table);
        select(0);
        expect(elsewhere != static_cast<int32_t>(table.limit), "the interfaces have one table, not one each");
    }
    expect(!change(table, kTableDelete, 90), "an entry is deleted that is not there");
    // What is compared is the beginning; the rest may differ.
    make_value(table, 1, entry);
    for (unsigned i = table.match; i < table.width; ++i) {
        entry[i] = static_cast<uint8_t>(~entry[i]);
    }
    expect(apmib_set(table.id + kTableDelete, entry) != 0, "an entry is not deleted by its first %u bytes",
           table.match);
    for (unsigned i = 1; i + 1 < table.limit; ++i) {
        numbers[i] = i + 1;
    }
    expect(has_entries(table, numbers, table.limit - 1),
           "after entry 2 was deleted, the others are not there in their order");
    // Of two that are alike the first goes.
    empty(table);
    for (const unsigned number : {5U, 6U, 5U}) {
        change(table, kTableAdd, number);
    }
    change(table, kTableDelete, 5);
    const unsigned left[] = {6, 5};
    expect(has_entries(table, left, 2), "of two entries that are alike, not the first is deleted");
    put_back(table);
}

void check_item() {
    open_store();
    if (under_test->kind == TABLE) {
        check_table(*under_test);
    } else {
        check_values(*under_test);
    }
}

void check_opening() {
    open_store();
    expect(apmib_init() != 0, "apmib_init() fails when it is called again");
    for (const int id : {32766, 0, -1, 32766 + kTableRead, items[0].id + kTableAdd}) {
        Value value;
        memset(value, 0x5A, kRoom);
        expect(apmib_get(id, value) == 0, "a read of the number %d, which is no item's, does not fail", id);
        bool untouched = true;
        for (const uint8_t byte : value) {
            untouched = untouched && byte == 0x5A;
        }
        expect(untouched, "a read that fails changes the buffer");
        expect(apmib_set(id, value) == 0, "a write to the number %d, which is no item's, does not fail", id);
    }
}

// --- Many processes --------------------------------------------------------------------------------------------------

const item &find(const char *name) {
    for (const item &item : items) {
        if (strcmp(item.name, name) == 0) {
            return item;
        }
    }
    abort();
}

const item &text_item() {
    return find("MIB_PPP_PASSWORD");
}

const item &table_item() {
    return find("MIB_URLFILTER_TBL_NUM");
}

double now() {
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

template <typename Work>
pid_t start(Work work) {
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        work();
        fflush(stdout);
        _exit(0);
    }
    return child;
}

// Memory that children share, zeros at first; it stays to the end.
template <typename Shared>
Shared *share() {
    return static_cast<Shared *>(
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
}

void wait_for(pid_t child) {
    waitpid(child, nullptr, 0);
}

bool write_text(unsigned number) {
    Value value;
    make_value(text_item(), number, value);
    return apmib_set(text_item().id, value) != 0;
}

// The number of the text that is stored, or -1 when it is none of those.
int read_text_number() {
    Value value;
    Value wanted;
    if (apmib_get(text_item().id, value) == 0) {
        return -1;
    }
    for (unsigned number = 0; number < 26; ++number) {
        make_value(text_item(), number, wanted);
        if (memcmp(value, wanted, text_item().width) == 0) {
            return static_cast<int>(number);
        }
    }
    return -1;
}

// Keeps what the checks of many processes change, and puts it back when they are done, whatever becomes of them.
void keeping(void (*run)()) {
    Value text;
    select(0);
    apmib_get(text_item().id, text);
    save(table_item());
    const pid_t child = start([run] { run(); });
    wait_for(child);
    apmib_set(text_item().id, text);
    put_back(table_item());
}

void check_visibility() {
    wait_for(start([] {
        open_store();
        write_text(3);
    }));
    wait_for(start([] {
        open_store();
        expect(read_text_number() == 3, "what one process wrote, without a commit, another one does not read");
    }));
    // One that had the store open before.
    int ready[2];
    int go[2];
    if (pipe(ready) != 0 || pipe(go) != 0) {
        return;
    }
    const pid_t old = start([&] {
        open_store();
        read_text_number();
        char c = 0;
        (void)!write(ready[1], &c, 1);
        (void)!read(go[0], &c, 1);
        expect(read_text_number() == 4, "a process that had the store open does not read what another one wrote since");
    });
    close(ready[1]);
    char c = 0;
    (void)!read(ready[0], &c, 1);
    wait_for(start([] {
        open_store();
        write_text(4);
    }));
    (void)!write(go[1], &c, 1);
    wait_for(old);
}

// Whether a process waits for something. One that has no processor does not, however long it takes.
bool waits(pid_t process) {
    char path[32];
    snprintf(path, sizeof path, "/proc/%d/stat", process);
    const File file(fopen(path, "re"));
    char state = 'S';
    return !file || fscanf(file.get(), "%*d (%*[^)]) %c", &state) != 1 || state == 'S' || state == 'D';
}

// Whether another process gets its calls done without having waited for two seconds.
bool others_go_on() {
    const pid_t other = start([] {
        open_store();
        write_text(5);
        read_text_number();
    });
    for (int milliseconds = 0; milliseconds < 2000; milliseconds += waits(other) ? 1 : 0) {
        if (waitpid(other, nullptr, WNOHANG) == other) {
            return true;
        }
        usleep(1000);
    }
    kill(other, SIGKILL);
    wait_for(other);
    return false;
}

void check_idle() {
    int ready[2];
    if (pipe(ready) != 0) {
        return;
    }
    const pid_t idle = start([&] {
        open_store();
        read_text_number();
        write_text(6);
        const char c = 0;
        (void)!write(ready[1], &c, 1);
        pause();
    });
    close(ready[1]);
    char c = 0;
    (void)!read(ready[0], &c, 1);
    expect(others_go_on(), "a process that has the store open and does nothing keeps others waiting");
    kill(idle, SIGKILL);
    wait_for(idle);
}

void check_killed() {
    srand(7);
    for (int round = 0; round < 40; ++round) {
        int begun[2];
        if (pipe(begun) != 0) {
            return;
        }
        const pid_t busy = start([&] {
            open_store();
            char c = 0;
            (void)!write(begun[1], &c, 1);
            for (unsigned i = 0;; ++i) {
                write_text(i % 26);
                change(table_item(), kTableAdd, i % 8);
                change(table_item(), kTableDelete, i % 8);
            }
        });
        close(begun[1]);
        char c = 0;
        (void)!read(begun[0], &c, 1);
        close(begun[0]);
        usleep(static_cast<useconds_t>(1000 + rand() % 4000));  // NOLINT: any will do
        kill(busy, SIGKILL);
        wait_for(busy);
        if (!expect(others_go_on(), "a process that was killed in the middle of a call keeps others waiting")) {
            return;
        }
    }
}

void check_torn() {
    struct Course {
        std::atomic<bool> over;
        std::atomic<unsigned> written;
    };
    Course &course = *share<Course>();
    int writing[2];  // ends when all are
    if (pipe(writing) != 0) {
        return;
    }
    pid_t writers[4];
    unsigned number = 0;
    for (pid_t &writer : writers) {
        writer = start([&course, number, end = writing[1]] {
            open_store();
            write_text(number);
            for (close(end); !course.over; ++course.written) {
                write_text(number);
            }
        });
        ++number;
    }
    close(writing[1]);
    wait_for(start([&course, end = writing[0]] {
        open_store();
        pollfd ended = {end, POLLIN, 0};
        poll(&ended, 1, 10000);  // one writer may keep the others waiting
        bool whole = true;
        const double begin = now();
        // On a machine that lets nobody write meanwhile it takes longer.
        const auto enough = [&](int reads) {
            return reads >= 1000 && now() > begin + 0.4 && (course.written >= 200 || now() > begin + 5);
        };
        for (int reads = 0; whole && !enough(reads); ++reads) {
            whole = read_text_number() >= 0;
        }
        expect(whole, "half of one value and half of another is read while two processes write");
    }));
    close(writing[0]);
    course.over = true;
    for (const pid_t writer : writers) {
        wait_for(writer);
    }
}

void add_by_many(bool opened_before, const char *who) {
    constexpr unsigned kProcesses = 8;
    const unsigned each = table_item().limit / kProcesses;
    for (int round = 0; round < 10; ++round) {
        empty(table_item());
        int start_line[2];  // which is open when its writing end is closed
        if (pipe(start_line) != 0) {
            return;
        }
        pid_t processes[kProcesses];
        for (unsigned process = 0; process < kProcesses; ++process) {
            processes[process] = start([=] {
                close(start_line[1]);
                if (!opened_before) {
                    open_store();
                }
                char c = 0;
                (void)!read(start_line[0], &c, 1);
                for (unsigned i = 0; i < each; ++i) {
                    change(table_item(), kTableAdd, process * each + i);
                }
            });
        }
        close(start_line[0]);
        close(start_line[1]);
        for (const pid_t process : processes) {
            wait_for(process);
        }
        bool found[kProcesses * 8] = {};
        Value entry;
        Value wanted;
        unsigned there = 0;
        for (unsigned index = 1; index <= kProcesses * each; ++index) {
            for (unsigned number = 0; read_entry(table_item(), index, entry) && number < kProcesses * each; ++number) {
                make_value(table_item(), number, wanted);
                if (!found[number] && memcmp(entry, wanted, table_item().width) == 0) {
                    found[number] = true;
                    ++there;
                }
            }
        }
        if (!expect(there == kProcesses * each, "of entries that %s add at once, some are lost: %u of %u are there",
                    who, there, kProcesses * each)) {
            return;
        }
    }
}

void check_adding() {
    add_by_many(false, "many processes");
}

void check_children() {
    open_store();
    add_by_many(true, "children of one process");
}

// How often this process has given the processor up by itself.
long times_waited() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_nvcsw;
}

constexpr int kCommits = 5;

void check_commit() {
    write_text(8);
    double began = now();
    expect(apmib_update(kCommitWorkingCopy) != 0, "a commit fails");
    expect(save_cs_to_file() == 0, "the settings file is not written after a commit");
    note("a commit took %.0f ms", (now() - began) * 1000);
    expect(read_text_number() == 8, "a commit changes the working copy");
    struct Commits {
        std::atomic<int> done;
        double seconds[kCommits];
    };
    Commits &commits = *share<Commits>();
    const pid_t committer = start([&commits] {
        open_store();
        for (double &seconds : commits.seconds) {
            const double at = now();
            apmib_update(kCommitWorkingCopy);
            seconds = now() - at;
            ++commits.done;
        }
    });
    double longest[kCommits] = {};  // call that waited meanwhile
    while (waitpid(committer, nullptr, WNOHANG) != committer) {
        const int first = commits.done;
        const long before = times_waited();
        const double at = now();
        write_text(9);
        read_text_number();
        const double took = now() - at;
        for (int i = first; times_waited() != before && i < kCommits && i <= commits.done; ++i) {
            longest[i] = std::max(longest[i], took);
        }
    }
    // One may have waited for a committer that had no processor; most have not.
    int waited = 0;
    for (int i = 0; i < kCommits; ++i) {
        waited += longest[i] >= 0.1 && longest[i] >= commits.seconds[i] / 2 ? 1 : 0;
    }
    expect(waited <= kCommits / 2, "others wait for a commit: %.0f ms for a call, while a commit takes %.0f ms",
           *std::max_element(longest, longest + kCommits) * 1000,
           *std::max_element(commits.seconds, commits.seconds + kCommits) * 1000);
}

const char *reboot_command;

void check_reboot() {
    wait_for(start([] {
        open_store();
        write_text(11);
        apmib_update(kCommitWorkingCopy);
        save_cs_to_file();
        write_text(12);
    }));
    expect(system(reboot_command) == 0, "the command that plays a reboot fails: %s", reboot_command);
    wait_for(start([] {
        open_store();
        const int number = read_text_number();
        expect(number != 12, "what was not committed is there after a reboot");
        expect(number == 11 || number == 12, "what was committed is not there after a reboot");
    }));
}

void run_kept(void (*run)()) {
    open_store();
    keeping(run);
}

}  // namespace

void check_store(bool commit, const char *reboot) {
    check("store: opening it, and what is no item", 60, check_opening);
    for (const item &item : items) {
        under_test = &item;
        char name[128];
        snprintf(name, sizeof name, "item %s (%d)", item.name, item.id);
        check(name, 60, check_item);
    }
    check("store: written by one process, read by another", 60, [] { run_kept(check_visibility); });
    check("store: a process that waits", 60, [] { run_kept(check_idle); });
    check("store: processes that are killed", 120, [] { run_kept(check_killed); });
    check("store: a value written and read at once", 60, [] { run_kept(check_torn); });
    check("store: a table changed at once", 60, [] { run_kept(check_adding); });
    check("store: children of one process", 60, [] { run_kept(check_children); });
    if (commit) {
        check("store: commits", 120, [] { run_kept(check_commit); });
    }
    if (reboot != nullptr) {
        reboot_command = reboot;
        check("store: a reboot", 60, check_reboot);
    }
}
