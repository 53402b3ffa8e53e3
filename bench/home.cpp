// SPDX-License-Identifier: MIT
#include "bench/home.h"

#include <arpa/inet.h>
#include <net/if_arp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "platform/arpcheck.h"
#include "platform/wifi_driver.h"

namespace {

constexpr int kMostClients = kArpEntryLimit;
constexpr int kClientsPerStation = 4;  // of a table

const char *const kInterfaces[] = {"wlan0",     "wlan1",     "wlan0-va0", "wlan0-va1", "wlan0-va2",
                                   "wlan0-va3", "wlan1-va0", "wlan1-va1", "wlan1-va2", "wlan1-va3"};

using Mac = std::array<uint8_t, 6>;

Mac client_mac(int client) {
    return {2, 0, 0, 0, 0, static_cast<uint8_t>(client)};
}

in_addr client_address(int client) {
    return {htonl(0x0A000001U + static_cast<uint32_t>(client))};  // 10.0.0.1 and on
}

std::string mac_text(const Mac &mac, const char *separator) {
    std::string text;
    for (const uint8_t byte : mac) {
        char digits[3];
        snprintf(digits, sizeof digits, "%02x", byte);
        text += (text.empty() ? "" : separator) + std::string(digits);
    }
    return text;
}

void write_file(const std::string &path, const std::string &content) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream file(path, std::ios::binary);
    file << content;
    file.close();
    if (!file) {
        throw std::runtime_error("writing " + path);
    }
}

// Gives the bridge the clients as neighbours, and no others.
void meet_neighbours(int clients) {
    const int any_socket = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    int error = any_socket < 0 ? errno : 0;
    for (int client = 0; client < kMostClients && error == 0; ++client) {
        arpreq entry = {};
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr = client_address(client);
        memcpy(&entry.arp_pa, &address, sizeof address);
        entry.arp_ha.sa_family = ARPHRD_ETHER;
        const Mac mac = client_mac(client);
        memcpy(entry.arp_ha.sa_data, mac.data(), mac.size());
        entry.arp_flags = ATF_PERM | ATF_COM;
        strncpy(entry.arp_dev, "br0", sizeof entry.arp_dev - 1);
        const bool present = client < clients;
        if (ioctl(any_socket, present ? SIOCSARP : SIOCDARP, &entry) != 0 && (present || errno != ENXIO)) {
            error = errno;
        }
    }
    close(any_socket);
    if (error != 0) {
        throw std::runtime_error(std::string("neighbours of br0: ") + strerror(error));
    }
}

// Every fourth client. So is a station of the last table, where it is found last; see fill_station_tables().
bool is_behind_mesh(int client) {
    return client % 4 == 1;
}

std::string station(int number, const Mac &mac) {
    StaInfoEntry record = {};
    record.association_id[0] = static_cast<uint8_t>(number);
    memcpy(record.mac, mac.data(), mac.size());
    record.state = kStationAssociated;
    record.tx_rate = 169;  // 160 + MCS 9
    record.rssi = 55;
    record.wireless_mode = kMode11ac | kMode11n;
    record.rate_flags = kRate80MHz | kRateShortGuard;
    record.rx_rate = 0x8F;  // HT MCS 15
    return {reinterpret_cast<const char *>(&record), sizeof record};
}

// Every fourth client is in the last table. The other tables hold as many stations, which are no clients.
void fill_station_tables(const Home &home) {
    std::filesystem::remove_all("/outside/stations");
    if (!home.radios) {
        return;
    }
    const char *last = *(std::end(kInterfaces) - 1);
    uint8_t table_number = 0;
    for (const char *interface : kInterfaces) {
        ++table_number;
        std::string table(sizeof(StaInfoEntry), '\0');
        for (int client = 0; client < home.clients; client += kClientsPerStation) {
            const int number = client / kClientsPerStation + 1;
            const Mac stranger = {2, 0, 0, 1, table_number, static_cast<uint8_t>(number)};
            table += station(number, interface == last ? client_mac(client) : stranger);
        }
        table.resize(kStationTableSize);
        write_file(std::string("/outside/stations/") + interface, table);
    }
}

std::string lease(int client) {
    std::string record(92, '\0');
    memcpy(record.data(), client_mac(client).data(), sizeof(Mac));
    const in_addr address = client_address(client);
    memcpy(record.data() + 16, &address, sizeof address);
    const std::string name = "a-device-of-the-home-" + std::to_string(client);
    memcpy(record.data() + 24, name.data(), name.size());
    return record;
}

void fill_lists(const Home &home) {
    std::string leases;
    std::string arp = "header\n";
    std::string traffic;
    std::string stations;
    for (int client = 0; client < home.clients; ++client) {
        const Mac mac = client_mac(client);
        const char *separator = stations.empty() ? "" : ",";
        leases += lease(client);
        traffic += std::to_string(client) + " 1 " + mac_text(mac, "") + " 204800 1048576\n";
        if (is_behind_mesh(client)) {
            stations += separator + (R"({"station_mac":")" + mac_text(mac, "")) +
                        R"(","station_rssi":"-50","station_connected_band":"5g","station_downlink":"866",)" +
                        R"("station_uplink":"780"})";
        }
        // The switch sees those behind the mesh, too, but under the addresses of their agent's ports.
        const Mac seen = is_behind_mesh(client) ? Mac{2, 0, 0, 2, 0, static_cast<uint8_t>(client)} : mac;
        arp += std::string(inet_ntoa(client_address(client))) + " " + mac_text(seen, "-") + " (p " +
               std::to_string(2 + client % 4) + "\n";
    }
    write_file("/var/lib/misc/udhcpd.leases", leases);
    write_file("/var/terminal_rate_info", traffic);
    write_file("/outside/rtl865x/arp", arp);
    std::string ports = "Dump Port Status:\n";
    for (int port = 0; port < 6; ++port) {
        ports += "Port" + std::to_string(port) + " LinkUp\nDuplex Enabled\nThe port's link Speed: 1000M\n";
    }
    write_file("/outside/rtl865x/port_status", ports);
    write_file("/tmp/topology_json",
               R"({"station_info":[],"child_devices":[{"mac_address":"020000000300","ip_addr":"10.0.2.1",)"
               R"("station_info":[)" +
                   stations + "]}]}\n");
}

}  // namespace

void move_into(const Home &home) {
    meet_neighbours(home.clients);
    fill_station_tables(home);
    fill_lists(home);
    // The DHCP server that is told to write its leases. It has written them, so it is anyone who bears the signal.
    write_file("/var/run/udhcpd.pid", std::to_string(getpid()) + "\n");
    if (!home.radios) {
        unlink("/var/run/udhcpd.pid");
    }
    // What the WAN's status is read from.
    write_file("/tmp/speed/wanspeed", "2.0,1048576,204800\n");
    write_file("/tmp/internet", "1\n");
    write_file("/var/wan_uptime", "1000000000\n");
}
