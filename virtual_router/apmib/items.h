// SPDX-License-Identifier: MIT
// The definition file: which items the store has, and the values of a router that leaves the factory.
#ifndef VIRTUAL_ROUTER_APMIB_ITEMS_H
#define VIRTUAL_ROUTER_APMIB_ITEMS_H

#include <cstdint>
#include <istream>
#include <map>
#include <string>

#include "virtual_router/apmib/store.h"

namespace store {

// Records as they lie in a copy, by item id.
using Records = std::map<uint32_t, std::string>;

// Reads a definition file; the head of platform/items.conf describes the form. Throws std::runtime_error whose text has
// a line "name:number: what is wrong" for each fault.
Records read_definitions(std::istream &in, const std::string &name);

// Reads a value, in the form that print_value() writes but with nothing escaped, into a slot. Throws
// std::invalid_argument that says what is wrong with it; then the slot is as before.
void parse_value(const Item &item, const std::string &text, uint8_t *slot);

// The slot of an interface's name as in an item's name ("WLAN0_VA1_" or the start of "WLAN0_VA1_SSID"), or -1.
// `size` is the length of the part that names the interface.
int find_interface(const std::string &name, size_t *size);

// The definition that a record begins with.
Item item_of(const std::string &record);

}  // namespace store

#endif
