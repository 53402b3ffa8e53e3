// SPDX-License-Identifier: MIT
// The configuration store, typed. This folder alone knows the firmware's calls, their ids and widths.
//
// Writes go to the router's working copy, where the next request sees them; store_commit() makes them survive a reboot.
#ifndef STORE_STORE_H
#define STORE_STORE_H

#include "store/item.h"

// Untyped access, for the templates below only. `value` is at least as wide as the item.
bool store_read_raw(int id, void *value);
bool store_write_raw(int id, const void *value);

// Opens the store, unless it is open; nothing else may be called unless it returned true. Standard error tells a
// failure.
bool store_open();

// Opens the store before there is a request that needs it. A failure is not told: store_open() tries again.
void store_open_ahead();

// Makes the working copy survive a reboot, then has the settings file written. A failed commit writes no settings file.
void store_commit();

// What a byte is handed over in. Firmwares keep some of the byte items as words: such a store neither writes past this
// nor reads past it, and the byte is the word's low one on a little-endian device.
struct ByteSlot {
    uint8_t value;
    uint8_t rest_of_a_word[3] = {};
};

// Reads an item into `value`. False: it can't be read, and `value` keeps what it held.
template <typename Value>
bool store_read(Item<Value> item, Value &value) {
    if constexpr (sizeof(Value) == 1) {
        ByteSlot slot = {static_cast<uint8_t>(value)};
        const bool done = store_read_raw(item.id, &slot);
        value = static_cast<Value>(slot.value);
        return done;
    } else {
        return store_read_raw(item.id, &value);
    }
}

// The item's value; zero or empty when it can't be read.
template <typename Value>
Value store_get(Item<Value> item) {
    Value value{};
    store_read(item, value);
    return value;
}

// Writes an item. False: the store refused it.
template <typename Value>
bool store_set(Item<Value> item, Value value) {
    if constexpr (sizeof(Value) == 1) {
        const ByteSlot slot = {static_cast<uint8_t>(value)};
        return store_write_raw(item.id, &slot);
    } else {
        return store_write_raw(item.id, &value);
    }
}

// Copies `text` to `width` bytes of `out`, which are zero. False: it does not fit with its terminator.
bool fit_text(const char *text, char *out, size_t width);

// Writes a text, padded with zeros to the item's width. False: the store refused it, or the text is longer than the
// item; it is then not stored at all, rather than cut.
template <size_t Width>
bool store_set(TextItem<Width> item, const char *text) {
    StoreText<Width> value;
    return fit_text(text, value.text, Width) && store_set(item, value);
}

#endif
