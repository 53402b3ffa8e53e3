// Items as lines of text, "NAME=value": the settings file and what `flash` prints.
//
// A global item has its own name (MIB_USER_NAME). An item of the wireless interfaces has a name for each of them, in
// which the interface takes the place of MIB_WLAN: MIB_WLAN_SSID is WLAN0_SSID, WLAN0_VA0_SSID to WLAN0_VA3_SSID,
// WLAN0_VXD_SSID (also known as WLAN0_VA4_SSID), and the same of WLAN1.
//
// Values: numbers in decimal, addresses as dotted quads, texts as they are but for control characters (\x0a) and the
// backslash (\\), table entries in hexadecimal with commas between.
#ifndef VIRTUAL_ROUTER_APMIB_TEXT_H
#define VIRTUAL_ROUTER_APMIB_TEXT_H

#include <lmdb.h>

#include <cstddef>
#include <cstdint>

#include "virtual_router/apmib/store.h"

namespace store {

// Text that grows. Starts as {}, ends with free_text().
struct Text {
    char *data = nullptr;
    size_t used = 0;
    size_t room = 0;
};
void free_text(Text *text);

// What the names of per-interface items begin with.
constexpr char kInterfacePrefix[] = "MIB_WLAN_";
constexpr size_t kInterfacePrefixSize = sizeof(kInterfacePrefix) - 1;

// What takes the place of the prefix in each slot.
extern const char *const kInterfaceNames[kInterfaceCount];

// Adds the value of a slot. False: no memory.
bool print_value(const Item &item, const uint8_t *value, Text *text);

// Adds all items of a copy, one line per slot. Returns 0 or an error for mdb_strerror().
int print_items(MDB_txn *txn, MDB_dbi dbi, Text *text);

}  // namespace store

#endif
