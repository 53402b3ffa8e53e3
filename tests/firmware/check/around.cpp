// SPDX-License-Identifier: MIT
// What the endpoint finds around it, read by its own readers: the ARP list, the queue, drivers, files and commands.
#include <arpa/inet.h>
#include <net/if.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/input.h"
#include "base/json.h"
#include "base/text.h"
#include "clients/leases.h"
#include "clients/stations.h"
#include "clients/switch_ports.h"
#include "clients/traffic.h"
#include "kernel/interface_address.h"
#include "kernel/name_servers.h"
#include "kernel/routes.h"
#include "mesh/topology.h"
#include "platform/apmib.h"
#include "platform/arpcheck.h"
#include "platform/product.h"
#include "platform/system_queue.h"
#include "platform/wifi_driver.h"
#include "programs/programs.h"
#include "tests/firmware/check/checks.h"
#include "tests/firmware/check/report.h"

namespace {

// The C library's types are wide on one processor and narrow on another.
template <typename Number>
unsigned long long as_number(Number number) {
    return number;
}

void check_arp() {
    static ArpEntry entries[kArpEntryLimit + 1];
    memset(&entries[kArpEntryLimit], 0x5A, sizeof entries[0]);
    const int count = get_proc_arp_list(PRODUCT_LAN_INTERFACE, entries);
    if (!expect(count >= 0 && count <= kArpEntryLimit, "the list has %d entries, of at most %d", count,
                kArpEntryLimit)) {
        return;
    }
    expect(entries[kArpEntryLimit].mac[0] == 0x5A, "more than %d entries are written", kArpEntryLimit);
    char text[INET_ADDRSTRLEN];
    char mask[INET_ADDRSTRLEN];
    in_addr own = {};
    in_addr network = {};
    const bool has_address = read_interface_ip(PRODUCT_LAN_INTERFACE, text) && inet_aton(text, &own) != 0 &&
                             read_interface_mask(PRODUCT_LAN_INTERFACE, mask) && inet_aton(mask, &network) != 0;
    for (int i = 0; i < count && has_address; ++i) {
        const in_addr address = {entries[i].ip};
        expect((address.s_addr & network.s_addr) == (own.s_addr & network.s_addr),
               "%s is none of the LAN's: addresses are in network order", Dotted(address).c_str());
    }
    if (count == 0) {
        note("no device is in the list");
    }
    expect(get_proc_arp_list("none0", entries) == 0, "a bridge that is not there has entries");
    ArpEntry alike[3] = {};
    for (int i = 0; i < 3; ++i) {
        alike[i].ip = static_cast<uint32_t>(i + 1);
        memset(alike[i].mac, i == 1 ? 0x22 : 0x11, sizeof alike[i].mac);
    }
    deal_arp_list_dup_client(alike, 3);
    const auto weeded = [&](int i) { return memcmp(alike[i].mac, "\0\0\0\0\0", sizeof alike[i].mac) == 0; };
    expect(weeded(0) != weeded(2), "of two entries of one device, not one is weeded out");
    expect(!weeded(1), "an entry is weeded out that has no duplicate");
    expect(alike[0].ip == 1 && alike[1].ip == 2 && alike[2].ip == 3, "entries move when duplicates are weeded out");
}

void check_queue() {
    const int queue = msgget(ftok(SYSTEM_QUEUE_PATH, kSystemQueueProject), 0);
    if (queue < 0) {
        note("there is no queue: the system daemon has not made it, or not in this name space");
        return;
    }
    msqid_ds state = {};
    if (!expect(msgctl(queue, IPC_STAT, &state) == 0, "its state cannot be read")) {
        return;
    }
    expect((state.msg_perm.mode & 0777U) == kSystemQueueMode, "its mode is %o, not %o", state.msg_perm.mode & 0777U,
           kSystemQueueMode);
    expect(state.msg_qbytes >= 4 * kSysMsgPayload, "it has room for %llu bytes, less than four records",
           as_number(state.msg_qbytes));
    if (state.msg_lrpid == 0) {
        note("nobody has received a record yet; %llu wait", as_number(state.msg_qnum));
    } else {
        expect(kill(state.msg_lrpid, 0) == 0 || state.msg_qnum == 0,
               "who received the last record is gone, and %llu wait", as_number(state.msg_qnum));
    }
}

void check_wifi() {
    for (const char *name : {"wlan0", "wlan1"}) {
        StationRow rows[kMostStations];
        static uint8_t table[kStationTableSize];
        if (if_nametoindex(name) == 0 && getWlStaInfo(name, table) != 0) {
            note("there is no %s", name);
            continue;
        }
        if (expect(getWlStaInfo(name, table) == 0, "%s does not tell its stations", name)) {
            note("%s has %d stations, and is %san 802.11ax interface", name, wirelessClientList(name, rows),
                 isAxSupported(name) != 0 ? "" : "not ");
        }
    }
}

bool is_there(const char *path) {
    if (file_exists(path)) {
        return true;
    }
    note("%s is not there", path);
    return false;
}

// Whether the first line begins with a number; the endpoint takes anything else for 0.
bool has_number(const char *path) {
    char line[64];
    return read_first_line(path, line) && (strchr("0123456789-", line[0]) != nullptr && line[0] != '\0');
}

void check_files() {
    for (const char *path : {PRODUCT_DEBUG_SWITCH, PRODUCT_DHCP_SERVER, PRODUCT_INTERNET, PRODUCT_PPP_START,
                             PRODUCT_WAN_START, PRODUCT_WPS_STATUS}) {
        if (is_there(path)) {
            expect(has_number(path), "%s does not begin with a number", path);
        }
    }
    is_there(PRODUCT_PPP_LINK);
    struct stat status;
    if (is_there(PRODUCT_LEASES) && stat(PRODUCT_LEASES, &status) == 0) {
        expect(status.st_size % 92 == 0, PRODUCT_LEASES " has %llu bytes: its records have 92",
               as_number<unsigned long>(static_cast<unsigned long>(status.st_size)));
    }
    char line[kLineSize];
    if (is_there(PRODUCT_FIRMWARE_INFO)) {
        File file = open_file(PRODUCT_FIRMWARE_INFO);
        bool found = false;
        while (file && !found && read_line(file.get(), line)) {
            char word[kLineSize];
            found = sscanf(line, "Compile%1022s%1022s", word, word) == 2;
        }
        expect(found, PRODUCT_FIRMWARE_INFO " has no line 'Compile Time: DATE'");
    }
    if (is_there(PRODUCT_SWITCH_PORTS)) {
        expect(read_port_link("Port1") != kLinkDown || read_first_line(PRODUCT_SWITCH_PORTS, line),
               PRODUCT_SWITCH_PORTS " cannot be read");
        File file = open_file(PRODUCT_SWITCH_PORTS);
        bool wan = false;
        while (file && !wan && read_line(file.get(), line)) {
            wan = strncmp(line, "Port1 Link", 10) == 0;
        }
        expect(wan, PRODUCT_SWITCH_PORTS " has no line of Port1, the WAN");
    }
    if (is_there(PRODUCT_SWITCH_ARP)) {
        File file = open_file(PRODUCT_SWITCH_ARP);
        expect(file && read_line(file.get(), line), PRODUCT_SWITCH_ARP " has no head line");
        while (file && read_line(file.get(), line)) {
            unsigned mac[6];
            expect(sscanf(line, "%*s %x-%x-%x-%x-%x-%x %*s %*s", &mac[0], &mac[1], &mac[2], &mac[3], &mac[4],
                          &mac[5]) == 6,
                   PRODUCT_SWITCH_ARP " has a line of another form: %s", line);
        }
    }
    if (is_there(PRODUCT_TRAFFIC)) {
        File file = open_file(PRODUCT_TRAFFIC);
        while (file && read_line(file.get(), line)) {
            unsigned part[6];
            unsigned long long rate = 0;
            expect(sscanf(line, "%*u %*u %2x%2x%2x%2x%2x%2x %llu %llu", &part[0], &part[1], &part[2], &part[3],
                          &part[4], &part[5], &rate, &rate) == 8,
                   PRODUCT_TRAFFIC " has a line of another form: %s", line);
        }
    }
    if (is_there(PRODUCT_WAN_SPEED)) {
        const File file = open_file(PRODUCT_WAN_SPEED);
        float period = 0;
        long long bytes = 0;
        expect(file && fscanf(file.get(), "%f,%lld,%lld", &period, &bytes, &bytes) == 3,
               PRODUCT_WAN_SPEED " is not SECONDS,BYTES,BYTES");
    }
    if (is_there(PRODUCT_TOPOLOGY)) {
        const Json topology(cJSON_Parse(read_topology(PRODUCT_TOPOLOGY).get()));
        expect(topology != nullptr, PRODUCT_TOPOLOGY " has no JSON document in its first line");
    }
    in_addr gateway;
    expect(get_default_gateway(gateway) == 0, "/proc/net/route cannot be read");
    if (read_name_servers().first[0] == '\0') {
        note("/etc/resolv.conf names no DNS server");
    }
    // Where the session is: a file may be made there and renamed.
    char folder[] = PRODUCT_SESSION;
    *strrchr(folder, '/') = '\0';
    expect(access(folder, W_OK) == 0, "%s, where the session is kept, cannot be written", folder);
}

void check_commands() {
    for (const char *program : {"sh", "ifconfig", "flash", "leds", "killall", "ping", "wscd", "curl", "grep"}) {
        char command[64];
        put(command, "command -v %s >/dev/null", program);
        // The endpoint's own way to run a command is a shell, too. NOLINTNEXTLINE(cert-env33-c)
        expect(system(command) == 0, "there is no program %s", program);
    }
    if (system("command -v iptables >/dev/null") != 0) {  // NOLINT(cert-env33-c)
        note("there is no program iptables, which no request needs");
    }
    char mac[kLineSize];
    expect(read_lan_mac(mac) && strlen(mac) == 17 && strchr(mac, ':') == mac + 2,
           "'ifconfig " PRODUCT_LAN_INTERFACE
           "' does not tell the bridge's address as the fourth word behind its name");
    char line[128] = {};
    expect(read_led_state(line) && (strncmp(line, "enable=0", 8) == 0 || strncmp(line, "enable=1", 8) == 0),
           "'leds getenable' says '%s', not enable=0 or enable=1", line);
}

}  // namespace

void check_around() {
    check("ARP list", 60, check_arp);
    check("queue", 60, check_queue);
    check("Wi-Fi driver", 60, check_wifi);
    check("files", 60, check_files);
    check("commands", 60, check_commands);
}
