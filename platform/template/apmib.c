// SPDX-License-Identifier: MIT
// libapmib.so over plain files: what platform/apmib.h asks for in its simplest form, to begin one's own store from.
//
//   python3 platform/template/items.py >items.inc
//   cc -std=c11 -D_GNU_SOURCE -O2 -fPIC -shared -I. -o libapmib.so platform/template/apmib.c
//
// The working copy is a file in memory (tmpfs), mapped by every process; a reboot loses it. The committed copy is a file in
// flash, which is replaced whole. Both begin with a number that changes with platform/items.conf: a file of another layout
// is not read, and the router starts from the factory's values. A product that keeps settings over an upgrade converts here.
#include "platform/apmib.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/tables.h"

#ifndef APMIB_WORKING
#define APMIB_WORKING "/tmp/apmib"
#define APMIB_FLASH "/etc/config"  // a folder
#endif

enum kind { BYTE, SBYTE, INT32, IPV4, TEXT, TABLE };
struct item {
    int id;
    const char *name;
    enum kind kind;
    unsigned width, limit, match, places;  // of a table: of its entries
    unsigned at;                           // its first place in a copy
};
struct factory {
    unsigned at, width;
    int32_t number;  // when there are no bytes
    const char *bytes;
};
#include "items.inc"
struct copy {
    uint32_t layout;
    unsigned char values[kValues];
};

int wlan_idx;
int vwlan_idx;

static struct copy *working;
static int working_file = -1;

// Locks belong to processes and not to what is open, so that children of a process that has opened the store exclude each
// other, and the kernel releases what a killed process held. One byte stands for the values, another for commits.
enum { kValuesLock, kCommitLock };
static int lock(int what, short type) {
    struct flock region = {.l_type = type, .l_whence = SEEK_SET, .l_start = what, .l_len = 1};
    while (fcntl(working_file, F_SETLKW, &region) != 0)
        if (errno != EINTR) return 0;
    return 1;
}
static void unlock(int what) { lock(what, F_UNLCK); }

static int write_all(int file, const void *data, size_t size) {
    for (const char *next = data; size > 0;) {
        ssize_t written = write(file, next, size);
        if (written < 0 && errno != EINTR) return 0;
        if (written > 0) next += written, size -= (size_t)written;
    }
    return 1;
}

static void set_factory(struct copy *copy) {
    memset(copy, 0, sizeof *copy);
    copy->layout = kLayout;
    for (const struct factory *row = factory; row < factory + kDefaults; ++row) {
        int8_t byte = (int8_t)row->number;
        const void *from = row->bytes ? row->bytes : row->width == 1 ? (const void *)&byte : (const void *)&row->number;
        memcpy(copy->values + row->at, from, row->width);
    }
}

static int read_copy(int file, struct copy *copy) {
    struct stat status;
    return fstat(file, &status) == 0 && status.st_size == sizeof *copy && pread(file, copy, sizeof *copy, 0) == sizeof *copy &&
           copy->layout == kLayout;
}

// The first process after the router's start makes the working copy.
static int make_working(struct copy *copy) {
    int file = open(APMIB_FLASH "/apmib", O_RDONLY | O_CLOEXEC);
    if (file < 0 || !read_copy(file, copy)) set_factory(copy);
    if (file >= 0) close(file);
    return ftruncate(working_file, 0) == 0 && lseek(working_file, 0, SEEK_SET) == 0 && write_all(working_file, copy, sizeof *copy);
}

int apmib_init(void) {
    if (working) return 1;
    static struct copy copy;
    working_file = open(APMIB_WORKING, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (working_file < 0 || !lock(kValuesLock, F_WRLCK)) return 0;
    if (read_copy(working_file, &copy) || make_working(&copy)) {
        working = mmap(NULL, sizeof *working, PROT_READ | PROT_WRITE, MAP_SHARED, working_file, 0);
        if (working == MAP_FAILED) working = NULL;
    }
    unlock(kValuesLock);
    return working != NULL;
}

static int by_id(const void *id, const void *item) { return *(const int *)id - ((const struct item *)item)->id; }
// The item that an id of a call means, and in `operation` what is to be done with it: 0 for its value, or kTable...
static const struct item *find(int id, int *operation) {
    static const int operations[] = {kTableDeleteAll, kTableDelete, kTableAdd, kTableRead, 0};
    for (unsigned i = 0; i < sizeof operations / sizeof *operations; ++i) {
        int plain = id - operations[i];
        if (plain <= 0 || plain > 32767) continue;
        const struct item *item = bsearch(&plain, items, kItems, sizeof *items, by_id);
        if (!working || !item || (operations[i] && item->kind != TABLE)) return NULL;
        if (item->places > 1 && (wlan_idx < 0 || wlan_idx >= kWlanCount || vwlan_idx < 0 || vwlan_idx >= kVwlanCount)) return NULL;
        *operation = operations[i];
        return item;
    }
    return NULL;
}

static unsigned char *place_of(const struct item *item) {
    unsigned place = item->places > 1 ? (unsigned)(wlan_idx * kVwlanCount + vwlan_idx) : 0;
    unsigned size = item->kind == TABLE ? (unsigned)sizeof(int32_t) + item->limit * item->width : item->width;
    return working->values + item->at + place * size;
}

int apmib_get(int id, void *value) {
    int operation, done = 1;
    const struct item *item = find(id, &operation);
    if (!item || (operation && operation != kTableRead) || !lock(kValuesLock, F_RDLCK)) return 0;
    const unsigned char *place = place_of(item);
    if (!operation) {
        memcpy(value, place, item->kind == TABLE ? sizeof(int32_t) : item->width);
    } else {
        unsigned index = *(unsigned char *)value;
        int32_t count;
        memcpy(&count, place, sizeof count);
        done = index >= 1 && index <= (unsigned)count;
        if (done) memcpy(value, place + sizeof count + (index - 1) * item->width, item->width);
    }
    unlock(kValuesLock);
    return done;
}

static int change_table(const struct item *item, int operation, unsigned char *place, const void *entry) {
    int32_t count, at = 0;
    memcpy(&count, place, sizeof count);
    unsigned char *entries = place + sizeof count;
    if (operation == kTableAdd) {
        if ((unsigned)count >= item->limit) return 0;
        memcpy(entries + (unsigned)count++ * item->width, entry, item->width);
    } else if (operation == kTableDelete) {
        while (at < count && memcmp(entries + (unsigned)at * item->width, entry, item->match) != 0) ++at;
        if (at == count) return 0;
        --count;
        memmove(entries + (unsigned)at * item->width, entries + (unsigned)(at + 1) * item->width, (unsigned)(count - at) * item->width);
    } else {
        count = 0;
    }
    memcpy(place, &count, sizeof count);
    return 1;
}

int apmib_set(int id, void *value) {
    int operation, done = 1;
    const struct item *item = find(id, &operation);
    // The count of a table is what its operations make it.
    if (!item || operation == kTableRead || (!operation && item->kind == TABLE) || !lock(kValuesLock, F_WRLCK)) return 0;
    if (operation) done = change_table(item, operation, place_of(item), value);
    else memcpy(place_of(item), value, item->width);
    unlock(kValuesLock);
    return done;
}

// Replaces a file in flash by the working copy as it is now: who loses power meanwhile finds the old one or the new one.
static int save(const char *name) {
    static struct copy snapshot;
    int folder = open(APMIB_FLASH, O_RDONLY | O_DIRECTORY | O_CLOEXEC), done = 0;
    if (folder >= 0 && working && lock(kCommitLock, F_WRLCK)) {  // the later of two commits has the later values
        lock(kValuesLock, F_RDLCK);
        snapshot = *working;
        unlock(kValuesLock);
        int file = openat(folder, "new", O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        done = file >= 0 && write_all(file, &snapshot, sizeof snapshot) && fsync(file) == 0;
        if (file >= 0) close(file);
        done = done && renameat(folder, "new", folder, name) == 0 && fsync(folder) == 0;
        unlock(kCommitLock);
    }
    if (folder >= 0) close(folder);
    return done;
}

int apmib_update(int type) { return type == kCommitWorkingCopy && save("apmib"); }

int save_cs_to_file(void) { return save("settings") ? 0 : -1; }
