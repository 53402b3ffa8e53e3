#include "virtual_router/apmib/text.h"

#include <cstring>

namespace store {

const char *const kInterfaceNames[kInterfaceCount] = {
    "WLAN0_", "WLAN0_VA0_", "WLAN0_VA1_", "WLAN0_VA2_", "WLAN0_VA3_", "WLAN0_VXD_",
    "WLAN1_", "WLAN1_VA0_", "WLAN1_VA1_", "WLAN1_VA2_", "WLAN1_VA3_", "WLAN1_VXD_",
};

namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

void put(TextSink sink, const char *text) {
    sink.write(sink.context, text, strlen(text));
}

// By hand: the settings file has hundreds of numbers, and is part of every request that changes something.
void put_number(TextSink sink, int64_t number) {
    char digits[24];
    char *start = digits + sizeof(digits);
    bool negative = number < 0;
    auto rest = static_cast<uint64_t>(negative ? -number : number);
    do {
        *--start = static_cast<char>('0' + rest % 10);
        rest /= 10;
    } while (rest > 0);
    if (negative) {
        *--start = '-';
    }
    sink.write(sink.context, start, static_cast<size_t>(digits + sizeof(digits) - start));
}

void put_hex(TextSink sink, const uint8_t *bytes, size_t size) {
    for (size_t i = 0; i < size; i++) {
        const char digits[] = {kHexDigits[bytes[i] >> 4], kHexDigits[bytes[i] & 15]};
        sink.write(sink.context, digits, sizeof(digits));
    }
}

void put_text(TextSink sink, const uint8_t *bytes, size_t width) {
    auto text = reinterpret_cast<const char *>(bytes);
    size_t size = strnlen(text, width);
    size_t plain = 0;  // start of what needs no escape
    for (size_t i = 0; i < size; i++) {
        if (bytes[i] >= 0x20 && bytes[i] != 0x7f && bytes[i] != '\\') {
            continue;
        }
        sink.write(sink.context, text + plain, i - plain);
        plain = i + 1;
        if (bytes[i] == '\\') {
            put(sink, "\\\\");
        } else {
            put(sink, "\\x");
            put_hex(sink, bytes + i, 1);
        }
    }
    sink.write(sink.context, text + plain, size - plain);
}

int32_t read_int32(const uint8_t *bytes) {
    int32_t number = 0;
    memcpy(&number, bytes, sizeof(number));
    return number;
}

}  // namespace

void print_name(const Item &item, int slot, TextSink sink) {
    const char *name = item.name;
    if (item.slots > 1) {
        put(sink, kInterfaceNames[slot]);
        name += kInterfacePrefixSize;
    }
    put(sink, name);
}

void print_value(const Item &item, const uint8_t *value, TextSink sink) {
    switch (item.kind) {
        case kByte:
            put_number(sink, value[0]);
            break;
        case kSignedByte:
            put_number(sink, static_cast<int8_t>(value[0]));
            break;
        case kInt32:
            put_number(sink, read_int32(value));
            break;
        case kIpv4:
            for (int i = 0; i < 4; i++) {
                put(sink, i > 0 ? "." : "");
                put_number(sink, value[i]);
            }
            break;
        case kText:
            put_text(sink, value, item.width);
            break;
        case kTable:
            for (int32_t i = 0; i < read_int32(value) && i < item.limit; i++) {
                put(sink, i > 0 ? "," : "");
                put_hex(sink, value + kCountSize + static_cast<size_t>(i) * item.width, item.width);
            }
            break;
    }
}

int print_items(MDB_txn *txn, MDB_dbi dbi, TextSink sink) {
    MDB_cursor *cursor = nullptr;
    int error = mdb_cursor_open(txn, dbi, &cursor);
    if (error != 0) {
        return error;
    }
    MDB_val key = {};
    MDB_val data = {};
    while ((error = mdb_cursor_get(cursor, &key, &data, MDB_NEXT)) == 0) {
        Item item;
        const uint8_t *value = nullptr;
        if (!read_record(data, &item, &value)) {
            continue;  // the checksum
        }
        for (int slot = 0; slot < item.slots; slot++) {
            print_name(item, slot, sink);
            put(sink, "=");
            print_value(item, value, sink);
            put(sink, "\n");
            value += slot_size(item);
        }
    }
    mdb_cursor_close(cursor);
    return error == MDB_NOTFOUND ? 0 : error;
}

}  // namespace store
