// A double of the configuration store: it answers from the case's store and logs what the program does with it.
//
// The case's store is a text file, one statement per line (written by tests/runner/store.py):
//   item ID WIDTH VALUE            an item; VALUE is its bytes in hexadecimal, or "-" when reading it fails
//   item ID@W.V WIDTH VALUE        the same for one wireless interface (wlan_idx W, vwlan_idx V)
//   table ID SIZE KEY RECORD...    the records of the table whose count item is ID, "-" for one that cannot be read;
//                                  a delete compares their first KEY bytes
//   table ID@W.V SIZE KEY RECORD...  the same for one wireless interface
//   fail init|update|save          this call fails
//   fail get|set ID[@W.V]          this call fails for this item
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
#include "tests/runner/doubles/events.h"

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

struct Failure {
    char call[8];
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

void parse_failure(const char *call, const char *id) {
    if (g_failure_count == kMaxFailures || call == nullptr) {
        give_up("bad failure");
    }
    Failure &failure = g_failures[g_failure_count++];
    snprintf(failure.call, sizeof(failure.call), "%s", call);
    failure.id = id == nullptr ? 0 : atoi(id);
    failure.interface = id == nullptr ? kNoInterface : parse_interface(id);
}

void parse_line(char *line) {
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
    } else if (strcmp(kind, "fail") == 0) {
        parse_failure(first, second);
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

bool fails(const char *call, int id) {
    for (size_t i = 0; i < g_failure_count; ++i) {
        const Failure &failure = g_failures[i];
        if (strcmp(failure.call, call) == 0 && (failure.id == 0 || failure.id == id) &&
            (failure.interface == kNoInterface || is_selected(failure.interface))) {
            return true;
        }
    }
    return false;
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

// Ids of the calls on a table, counted from its count item.
constexpr int kReadEntry = 1 + 0x8000;
constexpr int kAddEntry = 2 + 0x10000;
constexpr int kDeleteEntry = 3 + 0x20000;
constexpr int kDeleteAll = 4 + 0x40000;

char g_line[2 * kMaxWidth + 128];

// Logs "CALL ID[@W.V] ok|failed [hexadecimal bytes]" and returns what the call returns. `interface` says only whether
// what the call found belongs to one.
int log_call(const char *call, int id, int interface, bool ok, const void *data, size_t size) {
    int used = snprintf(g_line, 128, "%s %d", call, id);
    if (interface != kNoInterface) {
        used += snprintf(g_line + used, 32, "@%d.%d", wlan_idx, vwlan_idx);
    }
    used += snprintf(g_line + used, 32, " %s", ok ? "ok" : "failed");
    char *end = g_line + used;
    if (size > 0) {
        *end++ = ' ';
        end = put_hex(end, data, size);
    }
    *end++ = '\n';
    append_event(g_line, static_cast<size_t>(end - g_line));
    return ok ? 1 : 0;
}

int log_undeclared(const char *call, int id) {
    const int size = snprintf(g_line, sizeof(g_line), "undeclared %s %d\n", call, id);
    append_event(g_line, static_cast<size_t>(size));
    return 0;
}

// Calls on the tables; -1 when `id` names none.
int get_entry(int id, void *value) {
    Table *table = find_table(id - kReadEntry);
    if (table == nullptr) {
        return -1;
    }
    const size_t index = *static_cast<unsigned char *>(value);
    const bool ok = index >= 1 && index <= table->records && table->record[index - 1] != nullptr && !fails("get", id);
    if (ok) {
        memcpy(value, table->record[index - 1], table->size);
    }
    return log_call("get", id, table->interface, ok, nullptr, 0);
}

// Whether this is the record that a delete means.
bool is_record(const Table &table, size_t i, const void *value) {
    return table.record[i] != nullptr && memcmp(table.record[i], value, table.key) == 0;
}

int change_table(int id, const void *value) {
    if (Table *table = find_table(id - kAddEntry)) {
        const bool ok = table->records < kMaxRecords && !fails("set", id);
        unsigned char *copy = take(table->size);
        memcpy(copy, value, table->size);
        if (ok) {
            table->record[table->records++] = copy;
        }
        return log_call("set", id, table->interface, ok, copy, table->size);
    }
    if (Table *table = find_table(id - kDeleteEntry)) {
        size_t i = 0;
        while (i < table->records && !is_record(*table, i, value)) {
            ++i;
        }
        const bool ok = i < table->records && !fails("set", id);
        log_call("set", id, table->interface, ok, value, table->size);
        if (ok) {
            --table->records;
            memmove(&table->record[i], &table->record[i + 1], (table->records - i) * sizeof(table->record[0]));
        }
        return ok ? 1 : 0;
    }
    if (Table *table = find_table(id - kDeleteAll)) {
        const bool ok = !fails("set", id);
        table->records = ok ? 0 : table->records;
        return log_call("set", id, table->interface, ok, value, table->size);
    }
    return -1;
}

// Logs a commit with what an observer had already: whether the reply has left the process (the runner leaves it in the
// socket until the program has ended) and how many records wait in the daemon's queue.
void log_commit(const char *call, int type, bool ok) {
    int unread = 0;
    const bool replied = ioctl(STDOUT_FILENO, SIOCOUTQ, &unread) == 0 && unread > 0;
    struct msqid_ds queue = {};
    const int id = msgget(ftok("/dev/null", 117), 0);
    const bool seen = id >= 0 && msgctl(id, IPC_STAT, &queue) == 0;
    const int size = snprintf(g_line, sizeof(g_line), "%s %d %s replied=%d queued=%lu\n", call, type,
                              ok ? "ok" : "failed", replied ? 1 : 0, seen ? queue.msg_qnum : 0);
    append_event(g_line, static_cast<size_t>(size));
}

}  // namespace

int apmib_init(void) {
    load_store();
    g_ready = !fails("init", 0);
    return log_call("init", 0, kNoInterface, g_ready, nullptr, 0);
}

int apmib_get(int id, void *value) {
    if (!g_ready) {
        return log_undeclared("get", id);
    }
    Item *item = find_item(id);
    if (item == nullptr) {
        const int result = get_entry(id, value);
        return result >= 0 ? result : log_undeclared("get", id);
    }
    if (const Table *table = find_table(id)) {
        const int32_t count = static_cast<int32_t>(table->records);
        memcpy(item->value, &count, item->width < sizeof(count) ? item->width : sizeof(count));
    }
    const bool ok = item->readable && !fails("get", id);
    if (ok) {
        memcpy(value, item->value, item->width);
    }
    return log_call("get", id, item->interface, ok, nullptr, 0);
}

int apmib_set(int id, void *value) {
    if (!g_ready) {
        return log_undeclared("set", id);
    }
    Item *item = find_item(id);
    if (item == nullptr) {
        const int result = change_table(id, value);
        return result >= 0 ? result : log_undeclared("set", id);
    }
    static unsigned char copy[kMaxWidth];
    memcpy(copy, value, item->width);
    const bool ok = !fails("set", id);
    if (ok) {
        memcpy(item->value, copy, item->width);
        item->readable = true;
    }
    return log_call("set", id, item->interface, ok, copy, item->width);
}

int apmib_update(int type) {
    const bool ok = g_ready && !fails("update", 0);
    log_commit("commit", type, ok);
    return ok ? 1 : 0;
}

int save_cs_to_file(void) {
    const bool ok = g_ready && !fails("save", 0);
    log_commit("save", 0, ok);
    return ok ? 0 : -1;
}
