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

// Where text goes, piece by piece.
struct TextSink {
    void (*write)(void *context, const char *text, size_t size);
    void *context;
};

// What the names of per-interface items begin with.
constexpr char kInterfacePrefix[] = "MIB_WLAN_";
constexpr size_t kInterfacePrefixSize = sizeof(kInterfacePrefix) - 1;

// What takes the place of the prefix in each slot.
extern const char *const kInterfaceNames[kInterfaceCount];

// Writes the item's name in a slot.
void print_name(const Item &item, int slot, TextSink sink);

// Writes the value of a slot.
void print_value(const Item &item, const uint8_t *value, TextSink sink);

// Writes all items of a copy, one line per slot. Returns 0 or an error for mdb_strerror().
int print_items(MDB_txn *txn, MDB_dbi dbi, TextSink sink);

}  // namespace store

#endif
