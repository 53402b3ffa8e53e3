// SPDX-License-Identifier: MIT
// A double of the configuration store: it answers from the case's store and logs what the program does with it.
//
// The case's store is a text file, one statement per line (written by tests/runner/store.py):
//   item ID WIDTH VALUE            an item; VALUE is its bytes in hexadecimal, or "-" when reading it fails
//   item ID@W.V WIDTH VALUE        the same for one wireless interface (wlan_idx W, vwlan_idx V)
//   table ID SIZE KEY RECORD...    the records of the table whose count item is ID, "-" for one that cannot be read;
//                                  a delete compares their first KEY bytes
//   table ID@W.V SIZE KEY RECORD...  the same for one wireless interface
//   fail FAULT                     as virtual_router/vocabulary/faults.conf has it, items by number
// A write changes the memory of this process only: the runner carries it over to the next request of the case.
//
// Everything lives in static storage, so that no tool takes the double's memory for the program's.
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/apmib.h"
#include "platform/system_queue.h"
#include "platform/tables.h"
#include "tests/runner/doubles/escape.h"
#include "tests/runner/doubles/events.h"
#include "virtual_router/vocabulary/fault.h"

// Not what a router's store begins with, but an interface that no object means: who forgets to select one is seen.
int wlan_idx = 1;
int vwlan_idx = 4;

namespace {

constexpr const char *kStoreFile = "/.runner/store";
constexpr int kNoInterface = -1;
constexpr size_t kMaxItems = 1024;
constexpr size_t kMaxRecords = 1024;
constexpr size_t kMaxTables = 32;
constexpr size_t kMaxFailures = 64;
constexpr size_t kMaxWidth = 4096;

struct Item {
    int id;
    int interface;  // wlan_idx * 16 + vwlan_idx, or kNoInterface
    size_t width;
    bool readable;
    unsigned char *value;
};

struct Table {
    int count_id;
    int interface;  // as of an item
    size_t size;
    size_t key;
    size_t records;
    unsigned char *record[kMaxRecords];
};

// A fault, and the item that it names.
struct Failure {
    Fault fault;
    int id;         // 0: whatever it is called for
    int interface;  // as of an item; kNoInterface: on all of them
};

bool g_ready;
Item g_items[kMaxItems];
size_t g_item_count;
Table g_tables[kMaxTables];
size_t g_table_count;
Failure g_failures[kMaxFailures];
size_t g_failure_count;
unsigned char g_values[1 << 20];
size_t g_values_used;
char g_text[2 << 20];

[[noreturn]] void give_up(const char *why) {
    fprintf(stderr, "store double: %s\n", why);
    abort();
}

unsigned char *take(size_t size) {
    if (g_values_used + size > sizeof(g_values)) {
        give_up("no room for the case's store");
    }
    unsigned char *p = g_values + g_values_used;
    g_values_used += size;
    return p;
}

int nibble(char c) {
    return c <= '9' ? c - '0' : c - 'a' + 10;
}

// Reads `size` bytes of hexadecimal text.
unsigned char *parse_bytes(const char *hex, size_t size) {
    if (strlen(hex) != 2 * size) {
        give_up("a value does not have its item's width");
    }
    unsigned char *value = take(size);
    for (size_t i = 0; i < size; ++i) {
        value[i] = static_cast<unsigned char>(nibble(hex[2 * i]) * 16 + nibble(hex[2 * i + 1]));
    }
    return value;
}

// The interface of "ID@W.V"; kNoInterface without one.
int parse_interface(const char *id) {
    const char *at = strchr(id, '@');
    return at == nullptr ? kNoInterface : (at[1] - '0') * 16 + (at[3] - '0');
}

bool is_selected(int interface) {
    return interface == wlan_idx * 16 + vwlan_idx;
}

void parse_item(char *id, const char *width, const char *value) {
    if (g_item_count == kMaxItems || id == nullptr || width == nullptr || value == nullptr) {
        give_up("bad item");
    }
    Item &item = g_items[g_item_count++];
    item.id = atoi(id);
    item.interface = parse_interface(id);
    item.width = strtoul(width, nullptr, 10);
    if (item.width > kMaxWidth) {
        give_up("item too wide");
    }
    item.readable = strcmp(value, "-") != 0;
    item.value = item.readable ? parse_bytes(value, item.width) : take(item.width);
}

void parse_table(const char *id, const char *size, const char *key) {
    if (g_table_count == kMaxTables || id == nullptr || size == nullptr || key == nullptr) {
        give_up("bad table");
    }
    Table &table = g_tables[g_table_count++];
    table.count_id = atoi(id);
    table.interface = parse_interface(id);
    table.size = strtoul(size, nullptr, 10);
    table.key = strtoul(key, nullptr, 10);
    while (const char *record = strtok(nullptr, " ")) {
        if (table.records == kMaxRecords) {
            give_up("too many records");
        }
        table.record[table.records++] = strcmp(record, "-") == 0 ? nullptr : parse_bytes(record, table.size);
    }
}

void parse_failure(const char *line) {
    if (g_failure_count == kMaxFailures) {
        give_up("too many faults");
    }
    Failure &failure = g_failures[g_failure_count++];
    if (!parse_fault(line, &failure.fault)) {
        give_up("bad fault");
    }
    failure.id = atoi(failure.fault.item);
    failure.interface = parse_interface(failure.fault.item);
}

void parse_line(char *line) {
    constexpr char kFail[] = "fail ";
    if (strncmp(line, kFail, strlen(kFail)) == 0) {
        parse_failure(line + strlen(kFail));
        return;
    }
    const char *kind = strtok(line, " ");
    if (kind == nullptr) {
        return;
    }
    char *first = strtok(nullptr, " ");
    if (strcmp(kind, "table") == 0) {
        const char *size = strtok(nullptr, " ");
        parse_table(first, size, strtok(nullptr, " "));
        return;
    }
    const char *second = strtok(nullptr, " ");
    if (strcmp(kind, "item") == 0) {
        parse_item(first, second, strtok(nullptr, " "));
    } else {
        give_up("bad line");
    }
}

void load_store() {
    const int file = open(kStoreFile, O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        give_up("the case's store is missing");
    }
    size_t size = 0;
    ssize_t got;
    while (size < sizeof(g_text) - 1 && (got = read(file, g_text + size, sizeof(g_text) - 1 - size)) > 0) {
        size += static_cast<size_t>(got);
    }
    close(file);
    char *line = g_text;
    while (line != nullptr) {
        char *next = strchr(line, '\n');
        if (next != nullptr) {
            *next++ = '\0';
        }
        parse_line(line);
        line = next;
    }
}

// The fault that lets this call fail, nullptr for none; one that is only a delay has passed then. `id` is that of the
// item, 0 for a call on none.
const Fault *find_fault(Call call, int id) {
    const Fault *found = nullptr;
    for (size_t i = 0; i < g_failure_count; ++i) {
        Failure &failure = g_failures[i];
        const bool meant = failure.fault.call == call && (failure.id == 0 || failure.id == id) &&
                           (failure.interface == kNoInterface || is_selected(failure.interface));
        if (meant && failure.fault.strikes()) {  // every one that means the call counts it
            usleep(failure.fault.delay);
            found = failure.fault.fails ? &failure.fault : found;
        }
    }
    return found;
}

// The item as the selected interface sees it; nullptr if the case's store has no such item.
Item *find_item(int id) {
    Item *found = nullptr;
    for (size_t i = 0; i < g_item_count; ++i) {
        if (g_items[i].id == id) {
            if (is_selected(g_items[i].interface)) {
                return &g_items[i];
            }
            if (g_items[i].interface == kNoInterface) {
                found = &g_items[i];
            }
        }
    }
    return found;
}

Table *find_table(int count_id) {
    for (size_t i = 0; i < g_table_count; ++i) {
        if (g_tables[i].count_id == count_id &&
            (g_tables[i].interface == kNoInterface || is_selected(g_tables[i].interface))) {
            return &g_tables[i];
        }
    }
    return nullptr;
}

char g_line[2 * kMaxWidth + 128];

// What a call came to.
struct Result {
    bool ok;
    int value;        // which it returns
    const char *how;  // of its mark of failure; nullptr: as such a call fails
};

// The result of a call that is possible in this store, or is not; a fault may befall it. `id` is as of find_fault().
Result result_of(Call call, int id, bool possible = true) {
    const bool saves = call == Call::kSave;
    const Fault *fault = find_fault(call, id);
    if (possible && fault == nullptr) {
        return {true, saves ? 0 : 1, nullptr};
    }
    if (fault != nullptr && fault->how[0] != '\0') {
        return {false, atoi(fault->how), fault->how};
    }
    return {false, saves ? -1 : 0, nullptr};
}

// Begins the event of a call on an item. `interface` says only whether what the call found belongs to one.
void begin_call(EventLine &line, Event event, const Result &result, int id, int interface) {
    if (!result.ok) {
        line.mark(EventMark::kFailed, result.how);
    }
    line.begin(event);
    line.item({id, interface != kNoInterface, wlan_idx, vwlan_idx});
}

int log_read(Event event, const Result &result, int id, int interface) {
    EventLine line(g_line);
    begin_call(line, event, result, id, interface);
    append_event(line);
    return result.value;
}

int log_write(Event event, const Result &result, int id, int interface, const void *data, size_t size) {
    EventLine line(g_line);
    begin_call(line, event, result, id, interface);
    line.bytes(data, size);
    append_event(line);
    return result.value;
}

int log_undeclared(Event event, int id) {
    EventLine line(g_line);
    line.mark(EventMark::kUndeclared);
    line.begin(event);
    line.item({id, false, 0, 0});
    if (event == Event::kSet) {
        line.word("-");
    }
    append_event(line);
    return 0;
}

// Calls on the tables. False: `id` names none; else `returned` is what the call returns.
bool get_entry(int id, void *value, int *returned) {
    Table *table = find_table(id - kTableRead);
    if (table == nullptr) {
        return false;
    }
    const size_t index = *static_cast<unsigned char *>(value);
    const bool there = index >= 1 && index <= table->records && table->record[index - 1] != nullptr;
    const Result result = result_of(Call::kEntry, table->count_id, there);
    if (result.ok) {
        memcpy(value, table->record[index - 1], table->size);
    }
    *returned = log_read(Event::kEntry, result, table->count_id, table->interface);
    return true;
}

// Whether this is the record that a delete means.
bool is_record(const Table &table, size_t i, const void *value) {
    return table.record[i] != nullptr && memcmp(table.record[i], value, table.key) == 0;
}

bool change_table(int id, const void *value, int *returned) {
    if (Table *table = find_table(id - kTableAdd)) {
        const Result result = result_of(Call::kAdd, table->count_id, table->records < kMaxRecords);
        unsigned char *copy = take(table->size);
        memcpy(copy, value, table->size);
        if (result.ok) {
            table->record[table->records++] = copy;
        }
        *returned = log_write(Event::kAdd, result, table->count_id, table->interface, copy, table->size);
        return true;
    }
    if (Table *table = find_table(id - kTableDelete)) {
        size_t i = 0;
        while (i < table->records && !is_record(*table, i, value)) {
            ++i;
        }
        const Result result = result_of(Call::kDelete, table->count_id, i < table->records);
        *returned = log_write(Event::kDelete, result, table->count_id, table->interface, value, table->size);
        if (result.ok) {
            --table->records;
            memmove(&table->record[i], &table->record[i + 1], (table->records - i) * sizeof(table->record[0]));
        }
        return true;
    }
    if (Table *table = find_table(id - kTableDeleteAll)) {
        const Result result = result_of(Call::kDeleteAll, table->count_id);
        table->records = result.ok ? 0 : table->records;
        *returned = log_write(Event::kDeleteAll, result, table->count_id, table->interface, value, table->size);
        return true;
    }
    return false;
}

// Logs a commit with what an observer had already: whether the reply has left the process (the runner leaves it in the
// socket until the program has ended) and how many records wait in the daemon's queue.
int log_commit(Event event, const Result &result, int type) {
    int unread = 0;
    const bool replied = ioctl(STDOUT_FILENO, SIOCOUTQ, &unread) == 0 && unread > 0;
    struct msqid_ds queue = {};
    const int id = msgget(ftok(SYSTEM_QUEUE_PATH, kSystemQueueProject), 0);
    const bool seen = id >= 0 && msgctl(id, IPC_STAT, &queue) == 0;
    EventLine line(g_line);
    if (!result.ok) {
        line.mark(EventMark::kFailed, result.how);
    }
    if (!replied) {
        line.mark(EventMark::kReplied, "no");
    }
    if (seen && queue.msg_qnum > 0) {
        line.mark(EventMark::kQueued, queue.msg_qnum);
    }
    line.begin(event);
    if (type != kCommitWorkingCopy) {
        line.number(type);
    }
    append_event(line);
    return result.value;
}

}  // namespace

int apmib_init(void) {
    load_store();
    const Result result = result_of(Call::kInit, 0);
    g_ready = result.ok;
    EventLine line(g_line);
    if (!result.ok) {
        line.mark(EventMark::kFailed, result.how);
    }
    line.begin(Event::kInit);
    append_event(line);
    return result.value;
}

int apmib_get(int id, void *value) {
    try_to_escape();
    if (!g_ready) {
        return log_undeclared(Event::kGet, id);
    }
    Item *item = find_item(id);
    if (item == nullptr) {
        int returned = 0;
        return get_entry(id, value, &returned) ? returned : log_undeclared(Event::kGet, id);
    }
    if (const Table *table = find_table(id)) {
        const int32_t count = static_cast<int32_t>(table->records);
        memcpy(item->value, &count, item->width < sizeof(count) ? item->width : sizeof(count));
    }
    const Result result = result_of(Call::kGet, id, item->readable);
    if (result.ok) {
        memcpy(value, item->value, item->width);
    }
    return log_read(Event::kGet, result, id, item->interface);
}

int apmib_set(int id, void *value) {
    if (!g_ready) {
        return log_undeclared(Event::kSet, id);
    }
    Item *item = find_item(id);
    if (item == nullptr) {
        int returned = 0;
        return change_table(id, value, &returned) ? returned : log_undeclared(Event::kSet, id);
    }
    static unsigned char copy[kMaxWidth];
    memcpy(copy, value, item->width);
    const Result result = result_of(Call::kSet, id);
    if (result.ok) {
        memcpy(item->value, copy, item->width);
        item->readable = true;
    }
    return log_write(Event::kSet, result, id, item->interface, copy, item->width);
}

int apmib_update(int type) {
    return log_commit(Event::kCommit, result_of(Call::kCommit, 0, g_ready), type);
}

int save_cs_to_file(void) {
    return log_commit(Event::kSave, result_of(Call::kSave, 0, g_ready), 4);
}
