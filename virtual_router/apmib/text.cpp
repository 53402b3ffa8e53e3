#include "virtual_router/apmib/text.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace store {

const char *const kInterfaceNames[kInterfaceCount] = {
    "WLAN0_", "WLAN0_VA0_", "WLAN0_VA1_", "WLAN0_VA2_", "WLAN0_VA3_", "WLAN0_VXD_",
    "WLAN1_", "WLAN1_VA0_", "WLAN1_VA1_", "WLAN1_VA2_", "WLAN1_VA3_", "WLAN1_VXD_",
};

void free_text(Text *text) {
    free(text->data);
    *text = {};
}

namespace {

// The settings file is part of every request that changes something, and has hundreds of lines. So the room for a line
// is seen to once, and what follows writes to where the line goes and returns where it ended.

size_t longest_value(const Item &item) {
    constexpr size_t kMostPerByte = 4;  // a text's byte as \x0a, a number's as -128, an address's as 255.
    return kMostPerByte * slot_size(item);
}

size_t longest_line(const Item &item) {
    return sizeof(item.name) + strlen(kInterfaceNames[1]) + longest_value(item) + 2;  // "=" and the line's end
}

// Returns the address behind the text, with room for `size` bytes; nullptr: no memory.
char *make_room(Text *text, size_t size) {
    if (text->room - text->used < size) {
        size_t room = 2 * text->room + size;
        auto data = static_cast<char *>(realloc(text->data, room));
        if (data == nullptr) {
            return nullptr;
        }
        text->data = data;
        text->room = room;
    }
    return text->data + text->used;
}

char *put_number(char *to, int64_t number) {
    if (number < 0) {
        *to++ = '-';
        number = -number;
    }
    char digits[24];
    size_t count = 0;
    do {
        digits[count++] = static_cast<char>('0' + number % 10);
        number /= 10;
    } while (number > 0);
    while (count > 0) {
        *to++ = digits[--count];
    }
    return to;
}

char *put_hex(char *to, const uint8_t *bytes, size_t size) {
    constexpr char kHexDigits[] = "0123456789abcdef";
    for (size_t i = 0; i < size; i++) {
        *to++ = kHexDigits[bytes[i] >> 4];
        *to++ = kHexDigits[bytes[i] & 15];
    }
    return to;
}

char *put_text(char *to, const uint8_t *bytes, size_t width) {
    for (size_t i = 0; i < width && bytes[i] != '\0'; i++) {
        if (bytes[i] == '\\') {
            to = stpcpy(to, "\\\\");
        } else if (bytes[i] < 0x20 || bytes[i] == 0x7f) {
            to = put_hex(stpcpy(to, "\\x"), bytes + i, 1);
        } else {
            *to++ = static_cast<char>(bytes[i]);
        }
    }
    return to;
}

char *put_ipv4(char *to, const uint8_t *bytes) {
    for (int i = 0; i < 4; i++) {
        to = put_number(stpcpy(to, i > 0 ? "." : ""), bytes[i]);
    }
    return to;
}

int32_t read_int32(const uint8_t *bytes) {
    int32_t number = 0;
    memcpy(&number, bytes, sizeof(number));
    return number;
}

char *put_table(char *to, const Item &item, const uint8_t *table) {
    const uint8_t *entry = table + kCountSize;
    for (int32_t i = 0; i < read_int32(table) && i < item.limit; i++) {
        to = put_hex(stpcpy(to, i > 0 ? "," : ""), entry, item.width);
        entry += item.width;
    }
    return to;
}

char *put_value(char *to, const Item &item, const uint8_t *value) {
    switch (item.kind) {
        case kByte:
            return put_number(to, value[0]);
        case kSignedByte:
            return put_number(to, static_cast<int8_t>(value[0]));
        case kInt32:
            return put_number(to, read_int32(value));
        case kIpv4:
            return put_ipv4(to, value);
        case kText:
            return put_text(to, value, item.width);
        case kTable:
            return put_table(to, item, value);
    }
    return to;
}

// One line for each slot of an item. False: no memory.
bool print_item(const Item &item, const uint8_t *slots, Text *text) {
    size_t size = slot_size(item);
    for (int slot = 0; slot < item.slots; slot++) {
        char *to = make_room(text, longest_line(item));
        if (to == nullptr) {
            return false;
        }
        if (item.slots > 1) {
            to = stpcpy(stpcpy(to, kInterfaceNames[slot]), item.name + kInterfacePrefixSize);
        } else {
            to = stpcpy(to, item.name);
        }
        *to++ = '=';
        to = put_value(to, item, slots);
        *to++ = '\n';
        text->used = static_cast<size_t>(to - text->data);
        slots += size;
    }
    return true;
}

}  // namespace

bool print_value(const Item &item, const uint8_t *value, Text *text) {
    char *to = make_room(text, longest_value(item));
    if (to != nullptr) {
        text->used = static_cast<size_t>(put_value(to, item, value) - text->data);
    }
    return to != nullptr;
}

int print_items(MDB_txn *txn, MDB_dbi dbi, Text *text) {
    MDB_cursor *cursor = nullptr;
    int error = mdb_cursor_open(txn, dbi, &cursor);
    if (error != 0) {
        return error;
    }
    MDB_val key = {};
    MDB_val data = {};
    while (error == 0 && (error = mdb_cursor_get(cursor, &key, &data, MDB_NEXT)) == 0) {
        Item item;
        const uint8_t *slots = nullptr;
        // What is no item is the checksum.
        if (read_record(data, &item, &slots) && !print_item(item, slots, text)) {
            error = ENOMEM;
        }
    }
    mdb_cursor_close(cursor);
    return error == MDB_NOTFOUND ? 0 : error;
}

}  // namespace store
