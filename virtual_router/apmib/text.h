// SPDX-License-Identifier: MIT
// Items as lines of text, "NAME=value": what `flash` prints.
//
// A global item has its own name (MIB_USER_NAME). An item of the wireless interfaces has a name for each of them, in
// which the interface takes the place of MIB_WLAN: MIB_WLAN_SSID is WLAN0_SSID, WLAN0_VA0_SSID to WLAN0_VA3_SSID,
// WLAN0_VXD_SSID (also known as WLAN0_VA4_SSID), and the same of WLAN1.
//
// Values: numbers in decimal, addresses as dotted quads, texts as they are but for control characters (\x0a) and the
// backslash (\\), table entries in hexadecimal with commas between.
#ifndef VIRTUAL_ROUTER_APMIB_TEXT_H
#define VIRTUAL_ROUTER_APMIB_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "virtual_router/apmib/items.h"
#include "virtual_router/apmib/store.h"

namespace store {

// What the names of per-interface items begin with.
constexpr char kInterfacePrefix[] = "MIB_WLAN_";
constexpr size_t kInterfacePrefixSize = sizeof(kInterfacePrefix) - 1;

// What takes the place of the prefix in each slot.
extern const char *const kInterfaceNames[kInterfaceCount];

// The value of a slot.
std::string print_value(const Item &item, const uint8_t *value);

// All items, one line per slot.
std::string print_items(const Records &records);

}  // namespace store

#endif
