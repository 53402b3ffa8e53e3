// SPDX-License-Identifier: MIT
#include "virtual_router/apmib/text.h"

#include <cstring>

namespace store {

const char *const kInterfaceNames[kInterfaceCount] = {
    "WLAN0_", "WLAN0_VA0_", "WLAN0_VA1_", "WLAN0_VA2_", "WLAN0_VA3_", "WLAN0_VXD_",
    "WLAN1_", "WLAN1_VA0_", "WLAN1_VA1_", "WLAN1_VA2_", "WLAN1_VA3_", "WLAN1_VXD_",
};

namespace {

std::string print_hex(const uint8_t *bytes, size_t size) {
    constexpr char kHexDigits[] = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < size; i++) {
        text += {kHexDigits[bytes[i] >> 4], kHexDigits[bytes[i] & 15]};
    }
    return text;
}

std::string print_text(const uint8_t *bytes, size_t width) {
    std::string text;
    for (size_t i = 0; i < width && bytes[i] != '\0'; i++) {
        if (bytes[i] == '\\') {
            text += "\\\\";
        } else if (bytes[i] < 0x20 || bytes[i] == 0x7f) {
            text += "\\x" + print_hex(bytes + i, 1);
        } else {
            text += static_cast<char>(bytes[i]);
        }
    }
    return text;
}

std::string print_ipv4(const uint8_t *bytes) {
    std::string text = std::to_string(bytes[0]);
    for (int i = 1; i < 4; i++) {
        text += "." + std::to_string(bytes[i]);
    }
    return text;
}

int32_t read_int32(const uint8_t *bytes) {
    int32_t number = 0;
    memcpy(&number, bytes, sizeof(number));
    return number;
}

std::string print_table(const Item &item, const uint8_t *table) {
    const uint8_t *entry = table + kCountSize;
    std::string text;
    for (int32_t i = 0; i < read_int32(table) && i < item.limit; i++) {
        text += (i > 0 ? "," : "") + print_hex(entry, item.width);
        entry += item.width;
    }
    return text;
}

}  // namespace

std::string print_value(const Item &item, const uint8_t *value) {
    switch (item.kind) {
        case kByte:
            return std::to_string(value[0]);
        case kSignedByte:
            return std::to_string(static_cast<int8_t>(value[0]));
        case kInt32:
            return std::to_string(read_int32(value));
        case kIpv4:
            return print_ipv4(value);
        case kText:
            return print_text(value, item.width);
        case kTable:
            return print_table(item, value);
    }
    return "";
}

std::string print_items(const Records &records) {
    std::string text;
    for (auto &[id, record] : records) {
        Item item = item_of(record);
        auto value = reinterpret_cast<const uint8_t *>(record.data()) + sizeof(Item);
        for (int slot = 0; slot < item.slots; slot++, value += slot_size(item)) {
            text += item.slots > 1 ? kInterfaceNames[slot] + std::string(item.name + kInterfacePrefixSize) : item.name;
            text += "=" + print_value(item, value) + "\n";
        }
    }
    return text;
}

}  // namespace store
