// SPDX-License-Identifier: MIT
// The ARP list of a bridge, which the firmware supplies as libarpcheck.so. Declarations only, for C11 and C++, bound at
// run time.
#ifndef PLATFORM_ARPCHECK_H
#define PLATFORM_ARPCHECK_H

#include <assert.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

struct ArpEntry {
    uint32_t ip;     // IPv4 address in network order
    uint8_t mac[6];  // all zeros: the entry was weeded out as a duplicate
    uint8_t reserved[2];
};
static_assert(sizeof(struct ArpEntry) == 12, "shared with the firmware's library");
enum { kArpEntryLimit = 256 };

// Fills `entries` with the ARP entries of `bridge`. The array must have room for kArpEntryLimit entries, which is where
// the library cuts the list. Returns the count; 0 when there are none.
int get_proc_arp_list(const char *bridge, struct ArpEntry *entries);

// Weeds duplicate clients out of a list of `count` entries: the MAC of a duplicate becomes all zeros, the entry stays.
void deal_arp_list_dup_client(struct ArpEntry *entries, int count);

#ifdef __cplusplus
}
#endif

#endif
