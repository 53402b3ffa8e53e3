// SPDX-License-Identifier: MIT
#include "clients/switch_ports.h"

#include <cstdio>
#include <cstring>

#include "base/debug_log.h"
#include "base/input.h"
#include "base/resource.h"
#include "base/text.h"
#include "platform/product.h"

namespace {

constexpr char kModule[] = "cgi_userlist";

constexpr char kArpPath[] = PRODUCT_SWITCH_ARP;
constexpr char kPortStatusPath[] = PRODUCT_SWITCH_PORTS;

constexpr char kNoPort[] = "(0";
constexpr int kPortCharacter = 4;  // of the first word of a port's line, such as "Port3"

// False: it is no entry.
bool scan_arp_line(const char *line, SwitchArp::Entry &entry) {
    unsigned mac[kMacBytes];
    char first[256];
    char second[256];
    if (sscanf(line, "%*s %x-%x-%x-%x-%x-%x %255s %255s", &mac[0], &mac[1], &mac[2], &mac[3], &mac[4], &mac[5], first,
               second) != 8 ||
        !take_mac_bytes(mac, entry.mac)) {
        return false;
    }
    entry.port = strcmp(first, kNoPort) == 0 ? 0 : decimal_value(second);
    return true;
}

FileState read_arp(SwitchArp &arp) {
    const File file = open_file(kArpPath);
    if (!file) {
        return FileState::kMissing;
    }
    char line[256];
    read_line(file.get(), line);  // the header
    while (read_line(file.get(), line)) {
        SwitchArp::Entry entry;
        if (scan_arp_line(line, entry)) {
            arp.entries.add(entry);
        }
    }
    return FileState::kRead;
}

// A line of the port status file.
struct PortLine {
    char text[512];
    char name[512];  // the first two words; what is missing is empty
    char link[512];
    int words;
    // The character that stands for the port; none in a shorter name.
    uint8_t port() const { return static_cast<uint8_t>(name[kPortCharacter]); }
};

// False: there is no more line.
bool read_port_line(FILE *file, PortLine &line) {
    memset(line.name, 0, kPortCharacter + 1);  // the rest is looked at behind these only
    line.link[0] = '\0';
    if (!read_line(file, line.text)) {
        return false;
    }
    line.words = sscanf(line.text, "%511[^ ] %511s", line.name, line.link);
    return true;
}

bool is_up(const PortLine &line) {
    return strcmp(line.link, "LinkUp") == 0;
}

// The speed that a line tells goes to every port whose link was said to be up before, and which has none yet: a port's
// speed is the first one behind its own line.
void take_speed(const char *line, SwitchPorts &ports) {
    char speed[512];
    if (strstr(line, "Speed") == nullptr || sscanf(line, "%*[^ ] %*[^ ] %*[^ ] %*[^ ] %511s", speed) != 1) {
        return;
    }
    for (SwitchPorts::Port &port : ports.ports) {
        if (port.link == SwitchPorts::Link::kUp && !port.has_speed) {
            join(port.speed, {speed});
            port.has_speed = true;
        }
    }
}

// A port's link is what its first line with a known word says.
void take_link(const PortLine &line, SwitchPorts &ports) {
    if (line.words != 2) {
        return;
    }
    SwitchPorts::Port &port = ports.ports[line.port()];
    if (port.link != SwitchPorts::Link::kUnknown) {
        return;
    }
    if (is_up(line)) {
        port.link = SwitchPorts::Link::kUp;
    } else if (strcmp(line.link, "LinkDown") == 0) {
        port.link = SwitchPorts::Link::kDown;
    }
}

FileState read_ports(SwitchPorts &ports) {
    const File file = open_file(kPortStatusPath);
    if (!file) {
        return FileState::kMissing;
    }
    PortLine line;
    read_port_line(file.get(), line);  // the header
    while (read_port_line(file.get(), line)) {
        take_speed(line.text, ports);
        take_link(line, ports);
    }
    return FileState::kRead;
}

}  // namespace

int cmnt_isClientfromWired(SwitchArp &arp, const uint8_t *mac, int *port) {
    if (mac == nullptr || port == nullptr) {
        DebugLog("==>Error macAdrr or port is NULL");
        return 0;
    }
    if (arp.state == FileState::kNotRead) {
        arp.state = read_arp(arp);
    }
    if (arp.state == FileState::kMissing) {
        DebugLog("==> could not open file!");
        return 0;
    }
    const SwitchArp::Entry *entry = arp.entries.find(mac);
    if (entry == nullptr) {
        return 0;
    }
    *port = entry->port;
    return 1;
}

int read_port_link(const char *name) {
    const File file = open_file(kPortStatusPath);
    if (!file) {
        return kLinkUnknown;
    }
    // From the first line on: a header names no port.
    for (PortLine line; read_port_line(file.get(), line);) {
        if (strcmp(line.name, name) == 0) {
            return is_up(line) ? kLinkUp : kLinkDown;
        }
    }
    return kLinkDown;
}

int cmnt_getEthPortStatus(SwitchPorts &ports, int port, char (&speed)[20]) {
    if (ports.state == FileState::kNotRead) {
        ports.state = read_ports(ports);
    }
    if (ports.state == FileState::kMissing) {
        DebugLog("==> could not open file!");
        return 0;
    }
    const long long character = static_cast<long long>(port) + '0';
    if (character < 0 || character > UINT8_MAX) {
        return 0;
    }
    const SwitchPorts::Port &status = ports.ports[character];
    if (status.link != SwitchPorts::Link::kUp) {
        return 0;
    }
    if (status.has_speed) {
        join(speed, {status.speed});
    }
    return 1;
}
