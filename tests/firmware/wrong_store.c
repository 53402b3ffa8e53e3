// SPDX-License-Identifier: MIT
// A store with one fault: the template of platform/template, and the fault that the variable WRONG names. firmware-check must
// name each.
#define apmib_init right_init
#define apmib_get right_get
#define apmib_set right_set
#define apmib_update right_update
#define save_cs_to_file right_save
#include "platform/template/apmib.c"
#undef apmib_init
#undef apmib_get
#undef apmib_set
#undef apmib_update
#undef save_cs_to_file

#include <sys/file.h>

int apmib_init(void);
int apmib_get(int id, void *value);
int apmib_set(int id, void *value);
int apmib_update(int type);
int save_cs_to_file(void);

enum { kName = 186, kPort = 4230, kMac = 53, kUrl = 240, kPassword = 107 };

static int wrong(const char *fault) {
    const char *planted = getenv("WRONG");
    return planted && strcmp(planted, fault) == 0;
}

int apmib_init(void) {
    if (wrong("closed") || (wrong("once") && working)) return 0;
    if (!right_init()) return 0;
    if (wrong("private")) working = mmap(NULL, sizeof *working, PROT_READ | PROT_WRITE, MAP_PRIVATE, working_file, 0);
    return 1;
}

int apmib_get(int id, void *value) {
    if (id == kName && wrong("wide")) {
        unsigned char room[40];
        memset(room, 'w', sizeof room);
        if (!right_get(id, room)) return 0;
        memcpy(value, room, sizeof room);
        return 1;
    }
    if (id == kName && wrong("narrow")) {
        char room[31];
        if (!right_get(id, room)) return 0;
        strcpy(value, room);
        return 1;
    }
    if (id == kPort && wrong("unaligned")) return 0;
    if (wrong("one interface")) wlan_idx = vwlan_idx = 0;
    if (id == kUrl + kTableRead && wrong("from zero")) ++*(unsigned char *)value;
    int done = right_get(id, value);
    if (!done && wrong("touched")) memset(value, 0, 4);
    if (!done && wrong("unknown")) done = 1;
    return done;
}

// Deletes the last entry that is alike.
static int delete_last(const struct item *table, void *entry) {
    unsigned char room[1024];
    int32_t count, found = 0;
    right_get(table->id, &count);
    for (int32_t i = 1; i <= count; ++i) {
        room[0] = (unsigned char)i;
        right_get(table->id + kTableRead, room);
        if (memcmp(room, entry, table->match) == 0) found = i;
    }
    if (!found) return 0;
    unsigned char *place = place_of(table) + sizeof count;
    memmove(place + (unsigned)(found - 1) * table->width, place + (unsigned)found * table->width, (unsigned)(count - found) * table->width);
    --count;
    memcpy(place_of(table), &count, sizeof count);
    return 1;
}

int apmib_set(int id, void *value) {
    int operation = 0;
    const struct item *item = find(id, &operation);
    if (id == kPassword && wrong("held")) {  // a lock that is kept to the process's end
        struct flock region = {.l_type = F_WRLCK, .l_whence = SEEK_SET, .l_start = 100, .l_len = 1};
        fcntl(working_file, F_SETLKW, &region);
    }
    if (id == kName && wrong("greedy")) {
        volatile char last = ((char *)value)[31];
        (void)last;
    }
    if (id == kName && wrong("changing")) ((char *)value)[0] = 0;
    if (id == kName && wrong("deaf")) return 1;
    if (!item) return wrong("unknown") ? 1 : 0;
    if (wrong("one interface")) wlan_idx = vwlan_idx = 0;
    if (operation == kTableAdd && wrong("bottomless")) {
        right_set(id, value);
        return 1;
    }
    if (operation == kTableDelete && wrong("compared whole")) {
        struct item whole = *item;
        whole.match = item->width;
        return change_table(&whole, operation, place_of(item), value);
    }
    if (operation == kTableDelete && wrong("last")) return delete_last(item, value);
    if (id == kPassword && wrong("torn")) {
        memcpy(place_of(item), value, item->width / 2);
        usleep(100);  // however busy the machine is, somebody reads meanwhile
        memcpy((char *)place_of(item) + item->width / 2, (char *)value + item->width / 2, item->width - item->width / 2);
        return 1;
    }
    if (operation == kTableAdd && wrong("lost")) {
        int32_t count;
        memcpy(&count, place_of(item), sizeof count);
        usleep(300);
        if ((unsigned)count >= item->limit) return 0;
        memcpy(place_of(item) + sizeof count + (unsigned)count * item->width, value, item->width);
        ++count;
        memcpy(place_of(item), &count, sizeof count);
        return 1;
    }
    if (operation == kTableAdd && wrong("forked")) {  // a lock of what is open, which children share
        flock(working_file, LOCK_EX);
        int32_t count;
        memcpy(&count, place_of(item), sizeof count);
        usleep(300);
        int done = (unsigned)count < item->limit;
        if (done) {
            memcpy(place_of(item) + sizeof count + (unsigned)count * item->width, value, item->width);
            ++count;
            memcpy(place_of(item), &count, sizeof count);
        }
        flock(working_file, LOCK_UN);
        return done;
    }
    if (id == kPassword && wrong("stale lock")) {  // a lock file, which nobody removes soon when its maker was killed
        int file, tries = 0;
        while ((file = open(APMIB_WORKING ".lock", O_CREAT | O_EXCL | O_WRONLY, 0600)) < 0) {
            usleep(1000);
            if (++tries > 3000) unlink(APMIB_WORKING ".lock");
        }
        int done = right_set(id, value);
        usleep(200);
        close(file);
        unlink(APMIB_WORKING ".lock");
        return done;
    }
    return right_set(id, value);
}

int apmib_update(int type) {
    if (wrong("uncommitted")) return 0;
    if (wrong("forgetful")) return 1;
    if (wrong("blocking")) {
        lock(kValuesLock, F_WRLCK);
        usleep(400000);
        unlock(kValuesLock);
    }
    return right_update(type);
}

int save_cs_to_file(void) { return wrong("unsaved") ? -1 : right_save(); }
