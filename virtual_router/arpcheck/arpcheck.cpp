// SPDX-License-Identifier: MIT
// libarpcheck.so: the ARP list of a bridge, from the kernel's table.

#pragma GCC visibility push(default)
#include "platform/arpcheck.h"
#pragma GCC visibility pop

#include <cstdio>
#include <cstring>

#include <arpa/inet.h>

#include "virtual_router/tap/hooks.h"

namespace {

constexpr char kTablePath[] = "/proc/net/arp";
constexpr unsigned kComplete = 0x2;  // the kernel's flag of an entry whose hardware address is known

// The value of a hexadecimal digit, or -1.
int hex_digit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    c = static_cast<char>(c | 0x20);
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

// Reads a MAC of six hexadecimal pairs with colons between. By hand: scanf takes "-1" for a hexadecimal number.
bool parse_mac(const char *text, uint8_t mac[6]) {
    for (int i = 0; i < 6; i++) {
        int high = hex_digit(text[0]);
        int low = high < 0 ? -1 : hex_digit(text[1]);
        if (low < 0 || text[2] != (i < 5 ? ':' : '\0')) {
            return false;
        }
        mac[i] = static_cast<uint8_t>(high * 16 + low);
        text += 3;
    }
    return true;
}

// Reads a line of the table. False: it is no complete entry of the bridge.
bool parse_line(const char *line, const char *bridge, ArpEntry *entry) {
    char ip[16];
    char mac[18];
    char device[16];
    unsigned flags = 0;
    // IP address, HW type, Flags, HW address, Mask, Device
    return sscanf(line, "%15s 0x%*x 0x%x %17s %*s %15s", ip, &flags, mac, device) == 4 && (flags & kComplete) != 0 &&
           strcmp(device, bridge) == 0 && inet_pton(AF_INET, ip, &entry->ip) == 1 && parse_mac(mac, entry->mac);
}

// Reads a line, cut to the buffer's size; what is cut off is not taken for a line of its own. False: the end.
bool read_line(FILE *file, char *line, int size) {
    if (fgets(line, size, file) == nullptr) {
        return false;
    }
    if (strchr(line, '\n') == nullptr) {
        int c = 0;
        do {
            c = getc(file);
        } while (c != '\n' && c != EOF);
    }
    return true;
}

constexpr uint8_t kNoMac[6] = {};

}  // namespace

int get_proc_arp_list(const char *bridge, ArpEntry *entries) {
    FILE *file = fopen(kTablePath, "re");
    if (file == nullptr) {
        return 0;
    }
    int count = 0;
    char line[256];
    while (count < kArpEntryLimit && read_line(file, line, sizeof(line))) {
        ArpEntry entry = {};
        if (parse_line(line, bridge, &entry)) {
            entries[count++] = entry;
        }
    }
    fclose(file);
    if (const TapHooks *tap = find_tap()) {
        tap->tell_arp(bridge, entries, count);
    }
    return count;
}

// A client that changed its address stays in the kernel's table under the old one for a while, and the kernel lists new
// entries of a hash bucket first: the first entry of a MAC is kept.
void deal_arp_list_dup_client(ArpEntry *entries, int count) {
    for (int i = 0; i < count; i++) {
        for (int j = 0; j < i; j++) {
            if (memcmp(entries[i].mac, kNoMac, sizeof(kNoMac)) != 0 &&
                memcmp(entries[i].mac, entries[j].mac, sizeof(entries[i].mac)) == 0) {
                memset(entries[i].mac, 0, sizeof(entries[i].mac));
            }
        }
    }
}
