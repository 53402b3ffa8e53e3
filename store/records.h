// Packed records of the store's tables, as the firmware lays them out: do not reorder or resize.
#ifndef STORE_RECORDS_H
#define STORE_RECORDS_H

#include <cstddef>
#include <cstdint>

// A device of a radio's access list.
struct AclEntry {
    uint8_t mac[6];
    char comment[21];  // terminated; empty when none was given
};
static_assert(offsetof(AclEntry, comment) == 6 && sizeof(AclEntry) == 27, "layout shared with the store");

#endif
