// SPDX-License-Identifier: MIT
#include "clients/leases.h"

#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <cstring>

#include "base/debug_log.h"
#include "base/input.h"
#include "base/records.h"
#include "base/resource.h"
#include "base/text.h"
#include "platform/product.h"
#include "programs/programs.h"

namespace {

constexpr char kModule[] = "cgi_userlist";

constexpr char kPidPath[] = PRODUCT_DHCP_SERVER;
constexpr char kLeasePath[] = PRODUCT_LEASES;
constexpr useconds_t kRefreshPause = 1000;  // microseconds

// A lease in the server's file.
struct FileLease {
    uint8_t mac[kMacBytes];
    uint8_t reserved_6[10];
    uint8_t ip[4];
    uint8_t expiry[4];
    char name[64];  // padded with zeros
    uint8_t reserved_88[4];
};
static_assert(sizeof(FileLease) == 92, "shared with the DHCP server");
static_assert(offsetof(FileLease, ip) == 16 && offsetof(FileLease, name) == 24, "shared with the DHCP server");

// Has the server write its file. There is no telling when it has: a short pause must do, and whoever asks again sees
// it.
void refresh_lease_file() {
    const pid_t server = get_pid_from_file(kPidPath);
    if (server > 0) {
        refresh_leases(server);
    }
    usleep(kRefreshPause);
}

void add_lease(LeaseList *list, const FileLease &lease) {
    LeaseEntry &entry = list->entries[list->count++];
    entry = {};
    memcpy(entry.name, lease.name, strnlen(lease.name, sizeof lease.name));
    memcpy(entry.mac, lease.mac, sizeof entry.mac);
    in_addr ip;
    memcpy(&ip, lease.ip, sizeof ip);
    join(entry.ip, {Dotted(ip).c_str()});
}

}  // namespace

pid_t get_pid_from_file(const char *path) {
    if (!file_exists(path)) {
        return -1;
    }
    char line[100];
    if (!read_first_line(path, line)) {
        fputs("Read pid file error!\n", stderr);
        return -1;
    }
    return decimal_value(line);
}

void cmnt_cgiGetDHCPLeases(LeaseList *list, int /*refresh*/) {
    list->count = 0;
    refresh_lease_file();
    if (!file_exists(kLeasePath)) {
        return;
    }
    const File file = open_file(kLeasePath);
    if (!file) {
        DebugLog("==> could not open DHCP lease file!");
        return;
    }
    FileLease lease;
    while (fread(&lease, sizeof lease, 1, file.get()) == 1) {
        add_lease(list, lease);
        if (list->count == kMostLeases) {
            DebugLog("==> dhcplist num more than %d!", kMostLeases);
            break;
        }
    }
}

int cmnt_findLeaseName(const LeaseList *list, const uint8_t *mac, char (*name)[66]) {
    if (list == nullptr || mac == nullptr || name == nullptr) {
        return -1;
    }
    if (list->count > kMostLeases) {
        return -2;
    }
    const LeaseEntry *entry = find_mac(list->entries, list->count, mac);
    if (entry == nullptr) {
        return -3;
    }
    // The entry as a whole, whose last byte is 0: the name's own field may have none.
    const char *text = reinterpret_cast<const char *>(entry);
    join(*name, {text});
    return 0;
}
