// SPDX-License-Identifier: MIT
// Tables of the configuration store: the ids of their operations and the records in them. Declarations only, for C11
// and C++. Which tables there are, and how many entries each takes, platform/items.conf says.
#ifndef PLATFORM_TABLES_H
#define PLATFORM_TABLES_H

#include <assert.h>
#include <netinet/in.h>
#include <stdint.h>

// What the id of a table's count is added to. Entries are numbered from 1, in one byte.
enum {
    kTableRead = 1 + 0x8000,       // apmib_get(): the entry whose number stands in the first byte of the buffer
    kTableAdd = 2 + 0x10000,       // apmib_set(): appends
    kTableDelete = 3 + 0x20000,    // apmib_set(): deletes the first entry that equals the one handed over
    kTableDeleteAll = 4 + 0x40000  // apmib_set()
};
enum { kMostTableEntries = 255 };

// The records, as the firmware lays them out: do not reorder or resize. They are packed, so that each field follows the
// one before; platform/records.conf tells their places to who can't read this. Texts are padded with zeros.

// A device of a radio's access list.
struct AclEntry {
    uint8_t mac[6];
    char comment[21];  // terminated; empty when none was given
};
static_assert(sizeof(struct AclEntry) == 27, "shared with the store");

// A device of the MAC filter.
struct MacFilterEntry {
    uint8_t mac[6];
    char comment[21];  // terminated; empty when none was given
    char time[10];     // terminated, as the app gave it
    uint8_t week;      // mask of weekdays, 7 bits
};
static_assert(sizeof(struct MacFilterEntry) == 38, "shared with the store");

// When a device may reach the network.
struct __attribute__((packed)) SchNetAccEntry {
    int32_t time_control;   // as the app gave it
    char time_span[14];     // terminated: HHMMSS,HHMMSS, or empty
    uint8_t week;           // mask of weekdays, 7 bits
    char name[50];          // terminated
    char SchNetAccMac[13];  // terminated: 12 digits in upper case
};
static_assert(sizeof(struct SchNetAccEntry) == 82, "shared with the store");

// A keyword of the URL filter.
struct UrlFilterEntry {
    char keyword[31];  // terminated
    uint8_t list;      // 0 black list, 1 white list
};
static_assert(sizeof(struct UrlFilterEntry) == 32, "shared with the store");

// A bandwidth rule. Other programs keep rules in the same table and use fields that this one leaves alone.
struct __attribute__((packed)) QosRuleEntry {
    char name[16];
    uint8_t enabled;
    uint8_t mac[6];
    uint8_t flags;  // bit 0: the limits are a guaranteed minimum instead of a maximum; bit 4: the app does not see it
    uint8_t reserved_24[3];
    struct in_addr start;  // of the range of addresses
    struct in_addr end;
    uint32_t upload_limit;
    uint32_t download_limit;
    uint8_t unused_43[65];
    char reserved_108[40];
    uint8_t second_mac[6];
    uint8_t protocol;   // 0 TCP and UDP, 1 TCP, 2 UDP
    uint16_t ports[2];  // first and last
    struct in_addr second_start;
    struct in_addr second_end;
    uint8_t second_ports[2];  // 4 bytes with the reserved ones behind it
    uint8_t reserved_169[2];
    uint8_t vlan_171;  // 255 in this and in the next fields: unset
    uint8_t vlan_172;
    uint8_t unused_173[6];
    uint8_t priority;
    uint8_t vlan_180;
    uint8_t vlan_181;
    // How long a rule is, the store decides. It has room to do so: a read fills what the store keeps, and a delete
    // hands back all of it.
    uint8_t of_the_store[330];
};
static_assert(sizeof(struct QosRuleEntry) == 512, "room for the store's longest rule");

#endif
