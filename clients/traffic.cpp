// SPDX-License-Identifier: MIT
#include "clients/traffic.h"

#include <cstdio>

#include "base/debug_log.h"
#include "base/input.h"
#include "base/text.h"
#include "platform/product.h"
#include "programs/programs.h"

namespace {

constexpr char kModule[] = "cgi_userlist";

constexpr char kTrafficPath[] = PRODUCT_TRAFFIC;

// A number of the file as the 32 bits that it has on the router.
uint32_t rate_of(unsigned long long number) {
    return number < UINT32_MAX ? static_cast<uint32_t>(number) : UINT32_MAX;
}

// False: it is no device's line.
bool scan_line(const char *line, TrafficFile::Entry &entry) {
    unsigned mac[kMacBytes];
    unsigned long long upload = 0;
    unsigned long long download = 0;
    if (sscanf(line, "%*u %*u %2x%2x%2x%2x%2x%2x %llu %llu", &mac[0], &mac[1], &mac[2], &mac[3], &mac[4], &mac[5],
               &upload, &download) != 8 ||
        !take_mac_bytes(mac, entry.mac)) {
        return false;
    }
    entry.upload = rate_of(upload);
    entry.download = rate_of(download);
    return true;
}

void read_lines(TrafficFile &traffic) {
    char line[kLineSize];
    while (read_line(traffic.file.get(), line)) {
        TrafficFile::Entry entry;
        if (scan_line(line, entry)) {
            traffic.entries.add(entry);
        }
    }
}

constexpr Direction kDirections[] = {
    {'o', 'd'},
    {'i', 's'}
};

}  // namespace

void open_traffic_file(TrafficFile &traffic) {
    traffic.file = open_file(kTrafficPath);
}

int cmnt_cgi_userlist_speedtest_get(TrafficFile &traffic, const uint8_t *mac, uint32_t *upload, uint32_t *download) {
    if (!traffic.file) {
        DebugLog("==>[Error] file not open!");
        return 0;
    }
    if (mac == nullptr || upload == nullptr || download == nullptr) {
        return 0;
    }
    if (!traffic.is_read) {
        read_lines(traffic);
        traffic.is_read = true;
    }
    const TrafficFile::Entry *entry = traffic.entries.find(mac);
    if (entry == nullptr) {
        return 0;
    }
    *upload = entry->upload;
    *download = entry->download;
    return 1;
}

void speedtest_add_rules(const char *ip) {
    if (ip == nullptr) {
        return;
    }
    for (const Direction direction : kDirections) {
        if (!has_counting_rule(direction, ip)) {
            insert_counting_rule(direction, ip);
        }
    }
}

void speedtest_del_rules(const char *ip) {
    if (ip == nullptr) {
        return;
    }
    for (const Direction direction : kDirections) {
        delete_counting_rule(direction, ip);
    }
}
