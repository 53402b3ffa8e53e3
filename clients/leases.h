// SPDX-License-Identifier: MIT
// The DHCP server's leases, which give the devices their names.
#ifndef CLIENTS_LEASES_H
#define CLIENTS_LEASES_H

#include <sys/types.h>

#include <cstdint>

#include "base/mac_text.h"

struct LeaseEntry {
    char name[64];  // padded with zeros, unterminated when full
    uint8_t mac[kMacBytes];
    char ip[16];
    char end;  // 0
};
static_assert(sizeof(LeaseEntry) == 87, "a name runs on into the fields behind it");

constexpr int kMostLeases = 256;

struct LeaseList {
    int32_t count;
    LeaseEntry entries[kMostLeases];  // in the order of the file; those from `count` on are undefined
};

// Has the DHCP server write its leases to its file, and reads as many of them as find room, expired ones included. The
// flag is the platform's own for a fresh list; it always is.
void cmnt_cgiGetDHCPLeases(LeaseList *list, int refresh);

// Copies the name of the lease with this address. 0; -1: an argument is nullptr; -2: the list's count is none that it
// can have; -3: there is no such lease. Unless the result is 0, `name` is untouched. A name of 64 characters has no end
// of its own: it runs on into the lease's address, as far as `name` has room.
int cmnt_findLeaseName(const LeaseList *list, const uint8_t *mac, char (*name)[66]);

// The process id that stands in the file; -1 when there is no file, or it cannot be read.
pid_t get_pid_from_file(const char *path);

#endif
