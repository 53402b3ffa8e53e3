// SPDX-License-Identifier: MIT
// Types of the configuration store's items. An item is declared once, in store/items.h, as a constant that carries its
// number and, by its type, its width; reading it into anything else does not compile.
#ifndef STORE_ITEM_H
#define STORE_ITEM_H

#include <netinet/in.h>

#include <cstddef>
#include <cstdint>

// A text as the store holds it: `Width` bytes, the terminator included. The byte behind them stays 0, so that a text
// which fills its item to the last byte is still a C string.
template <size_t Width>
struct StoreText {
    char text[Width + 1] = {};
    const char *c_str() const { return text; }
};

template <typename Value>
struct Item {
    using value_type = Value;
    int id;
};

using ByteItem = Item<uint8_t>;
using SignedByteItem = Item<int8_t>;
using Int32Item = Item<int32_t>;
using Ipv4Item = Item<in_addr>;  // network order
template <size_t Width>
using TextItem = Item<StoreText<Width>>;

// A table of packed records, known by the item that holds its count.
template <typename Record>
struct TableItem {
    int count_id;
};

#endif
