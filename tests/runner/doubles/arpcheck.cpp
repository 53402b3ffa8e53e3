// SPDX-License-Identifier: MIT
// A double of the ARP list: it answers from the case's file, one "ADDRESS MAC [dup]" per line. Entries marked "dup" are
// the ones that deal_arp_list_dup_client() weeds out.
#include <arpa/inet.h>

#include <cstdio>
#include <cstring>

#include "platform/arpcheck.h"
#include "tests/runner/doubles/events.h"

namespace {

bool g_duplicate[kArpEntryLimit];

}  // namespace

int get_proc_arp_list(const char *bridge, struct ArpEntry *entries) {
    char line[256];
    EventLine event(line);
    event.begin(Event::kArp);
    event.word(bridge);
    append_event(event);
    FILE *file = fopen("/.runner/arp", "re");
    if (file == nullptr) {
        return 0;
    }
    int count = 0;
    while (count < kArpEntryLimit && fgets(line, sizeof(line), file) != nullptr) {
        char address[64];
        unsigned mac[6];
        char mark[8] = "";
        ArpEntry entry = {};
        if (sscanf(line, "%63s %2x:%2x:%2x:%2x:%2x:%2x %7s", address, &mac[0], &mac[1], &mac[2], &mac[3], &mac[4],
                   &mac[5], mark) < 7) {
            continue;
        }
        inet_pton(AF_INET, address, &entry.ip);
        for (int i = 0; i < 6; ++i) {
            entry.mac[i] = static_cast<uint8_t>(mac[i]);
        }
        g_duplicate[count] = strcmp(mark, "dup") == 0;
        entries[count++] = entry;
    }
    fclose(file);
    return count;
}

void deal_arp_list_dup_client(struct ArpEntry *entries, int count) {
    for (int i = 0; i < count && i < kArpEntryLimit; ++i) {
        if (g_duplicate[i]) {
            memset(entries[i].mac, 0, sizeof(entries[i].mac));
        }
    }
}
