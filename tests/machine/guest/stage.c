// SPDX-License-Identifier: MIT
// The store's side of a case. As a CGI program it reads lines and answers some of them with a line:
//
//   restore                     the store as it was after the start
//   set ID W.V VALUE            an item, for the interface W.V; all values in hexadecimal
//   empty ID W.V                a table
//   add ID W.V ENTRY
//   get ID W.V WIDTH            answers with the value, or "-"
//   entry ID W.V NUMBER WIDTH   the same of an entry of the table
//   committed                   answers whether the committed copy is the working copy: "yes" or "no"
//   remove PATH
//   records                     answers with what the system daemon was told, and an empty line
//
// What is refused is answered with "refused" and the line.
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/apmib.h"
#include "platform/tables.h"
#include "tests/machine/guest/guest.h"

enum { kRoom = 16384 };

// The content of a file, and its size. NULL: there is none.
static unsigned char *content(const char *path, size_t *size) {
    int file = open(path, O_RDONLY | O_CLOEXEC);
    struct stat status;
    unsigned char *data = NULL;
    if (file >= 0 && fstat(file, &status) == 0 && status.st_size > 0) {
        *size = (size_t)status.st_size;
        data = mmap(NULL, *size, PROT_READ, MAP_PRIVATE, file, 0);
        if (data == MAP_FAILED) data = NULL;
    }
    if (file >= 0) close(file);
    return data;
}

// In its place: others have mapped it.
static int restore(void) {
    size_t size = 0;
    unsigned char *data = content(FACTORY, &size);
    int file = open(WORKING, O_WRONLY | O_CLOEXEC), done = data && file >= 0 && write_all(file, data, size);
    if (file >= 0) close(file);
    if (data) munmap(data, size);
    return done;
}

static int committed(void) {
    size_t sizes[2] = {0, 0};
    unsigned char *working = content(WORKING, sizes), *flash = content(COMMITTED, sizes + 1);
    return working && flash && sizes[0] == sizes[1] && memcmp(working, flash, sizes[0]) == 0;
}

static void tell_file(const char *path) {
    char line[1024];
    FILE *file = fopen(path, "re");
    while (file && fgets(line, sizeof line, file)) fputs(line, stdout);
    if (file) fclose(file);
    putchar('\n');
}

static int parse(const char *text, unsigned char *data) {
    size_t length = strlen(text);
    for (size_t i = 0; i < length / 2; ++i)
        if (sscanf(text + 2 * i, "%2hhx", data + i) != 1) return 0;
    return length % 2 == 0 && length / 2 <= kRoom;
}

static void tell(const unsigned char *data, int size) {
    for (int i = 0; i < size; ++i) printf("%02x", data[i]);
    putchar('\n');
}

// A line on the store. 0: refused.
static int serve(const char *line) {
    static unsigned char data[kRoom];
    static char text[2 * kRoom + 1];
    char word[16];
    int id, number, width;
    memset(data, 0, sizeof data);
    if (sscanf(line, "%15s %d %d.%d", word, &id, &wlan_idx, &vwlan_idx) != 4) return 0;
    if (strcmp(word, "set") == 0 && sscanf(line, "%*s %*s %*s %32768s", text) == 1) return parse(text, data) && apmib_set(id, data);
    if (strcmp(word, "add") == 0 && sscanf(line, "%*s %*s %*s %32768s", text) == 1) return parse(text, data) && apmib_set(id + kTableAdd, data);
    if (strcmp(word, "empty") == 0) return apmib_set(id + kTableDeleteAll, data);
    int entry = strcmp(word, "entry") == 0 && sscanf(line, "%*s %*s %*s %d %d", &number, &width) == 2;
    if (!entry && (strcmp(word, "get") != 0 || sscanf(line, "%*s %*s %*s %d", &width) != 1)) return 0;
    if (entry) data[0] = (unsigned char)number;
    if (width < 0 || width > kRoom) return 0;
    if (apmib_get(entry ? id + kTableRead : id, data)) tell(data, width);
    else puts("-");
    return 1;
}

int stage(void) {
    static char line[3 * kRoom];
    char path[256];
    fputs("Status: 200 OK\r\nContent-Type: text/plain\r\n\r\n", stdout);
    if (!apmib_init()) return 1;
    while (fgets(line, sizeof line, stdin)) {
        int done = 1;
        line[strcspn(line, "\n")] = '\0';
        if (strcmp(line, "restore") == 0) done = restore();
        else if (strcmp(line, "committed") == 0) puts(committed() ? "yes" : "no");
        else if (strcmp(line, "records") == 0) tell_file(RECORDS);
        else if (sscanf(line, "remove %255s", path) == 1) unlink(path);
        else done = serve(line);
        if (!done) printf("refused %s\n", line);
    }
    return 0;
}

// The two items that the object "app" is made of, and their commit.
int play_flash(int count, char **words) {
    static const struct {
        const char *name;
        int id;
    } known[] = {{"MIB_APP_PORT", 4230}, {"MIB_APP_TICKTIME", 4231}};
    int value = 0;
    if (!apmib_init()) return 1;
    if (count == 1 && strcmp(words[0], "commit") == 0) return apmib_update(kCommitWorkingCopy) && save_cs_to_file() == 0 ? 0 : 1;
    for (unsigned i = 0; count >= 2 && i < sizeof known / sizeof *known; ++i) {
        if (strcmp(words[1], known[i].name) != 0) continue;
        if (count == 3 && strcmp(words[0], "set") == 0) {
            value = atoi(words[2]);
            return apmib_set(known[i].id, &value) ? 0 : 1;
        }
        if (!apmib_get(known[i].id, &value)) return 1;
        printf("%s=%d\n", words[1], value);
        return 0;
    }
    return 2;
}
