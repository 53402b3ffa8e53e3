// SPDX-License-Identifier: MIT
#include "kernel/name_servers.h"

#include <cstring>

#include "base/input.h"
#include "base/resource.h"

namespace {

constexpr char kResolverPath[] = "/etc/resolv.conf";
constexpr char kKeyword[] = "nameserver ";

}  // namespace

NameServers find_name_servers(FILE *file) {
    NameServers servers;
    char *next = servers.first;
    char line[64];
    while (next != nullptr && read_line(file, line)) {
        const char *keyword = strstr(line, kKeyword);
        if (keyword != nullptr) {
            sscanf(keyword + strlen(kKeyword), "%15s", next);
            next = next == servers.first ? servers.second : nullptr;
        }
    }
    return servers;
}

NameServers read_name_servers() {
    const File file = open_file(kResolverPath);
    return file ? find_name_servers(file.get()) : NameServers{};
}
