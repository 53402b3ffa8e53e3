// SPDX-License-Identifier: MIT
// The symbols of the firmware's ARP list. Nothing runs this: a device has the library itself.
#include "platform/arpcheck.h"

#include <cstdlib>

int get_proc_arp_list(const char *, ArpEntry *) {
    abort();
}

void deal_arp_list_dup_client(ArpEntry *, int) {
    abort();
}
