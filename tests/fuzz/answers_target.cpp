// SPDX-License-Identifier: MIT
// Each file, each driver's answer and each command's output that is read, handed to its reader alone. The section "call
// PATH" is a file's content, "command" a command's output; its reader must give the same answer twice, also when it
// reads byte by byte, and one within its bounds. The section "rules" is a client's address, whose accounting rules are
// inserted and deleted; "select" is the name of a Wi-Fi interface, which is selected.
#include <cstring>

#include "clients/client_list.h"
#include "clients/leases.h"
#include "clients/stations.h"
#include "clients/switch_ports.h"
#include "clients/traffic.h"
#include "gateway/debug_switch.h"
#include "kernel/name_servers.h"
#include "kernel/routes.h"
#include "mesh/topology.h"
#include "platform/apmib.h"
#include "programs/programs.h"
#include "store/items.h"
#include "store/wlan.h"
#include "tests/fuzz/target.h"

const Taste kTaste = {
    {"call",      "call", "call", "call", "stations", "file", "command", "command", "rules", "select"},
    {}
};

namespace {

template <size_t Size>
std::string held(const char (&text)[Size]) {
    const size_t length = strnlen(text, Size);
    if (length == Size) {
        wrong("a text of %zu bytes without an end", Size);
    }
    return std::string(text, length);
}

std::string bytes(const void *from, size_t size) {
    return std::string(static_cast<const char *>(from), size);
}

constexpr uint8_t kMacs[][6] = {
    {0x0a, 0x1b, 0x2c, 0x3d, 0x4e, 0x5f},
    {0xa0, 0xb1, 0xc2, 0xd3, 0xe4, 0xf5},
    {2,    0,    0,    0,    0,    1   },
    {2,    0,    0,    0,    0,    2   },
    {255,  255,  255,  255,  255,  255 },
    {0,    0,    0,    0,    0,    0   }
};

std::string read_leases() {
    static LeaseList list;
    cmnt_cgiGetDHCPLeases(&list, 1);
    const size_t whole = router.files["/var/lib/misc/udhcpd.leases"].size() / 92;
    if (list.count < 0 || static_cast<size_t>(list.count) != std::min<size_t>(whole, 256)) {
        wrong("%d leases of %zu records", list.count, whole);
    }
    std::string seen = std::to_string(list.count);
    for (const uint8_t(&mac)[6] : kMacs) {
        char name[66] = {};
        seen += std::to_string(cmnt_findLeaseName(&list, mac, &name)) + held(name);
    }
    for (int i = 0; i < list.count; ++i) {
        seen += bytes(&list.entries[i], sizeof(LeaseEntry));
        held(list.entries[i].ip);
    }
    return seen;
}

std::string read_topology_file() {
    OwnedText text = read_topology(kTopologyPath);
    Json tree(cJSON_Parse(text.get()));
    AgentAddress agents[kMostAgents] = {};
    const int count = list_agents(tree.get(), agents);
    if (count < 0 || count > kMostAgents || count != getAgentIpList(agents)) {
        wrong("%d agents", count);
    }
    std::string seen = std::to_string(count);
    for (const AgentAddress &agent : agents) {
        seen += held(agent.mac) + held(agent.ip);
    }
    TopologySearch search;
    for (const uint8_t(&mac)[6] : kMacs) {
        TopologyClient client = {};
        const int found = cmnt_findFromTopology(search, mac, client);
        seen += std::to_string(found) + held(client.band) + held(client.downlink) + held(client.uplink) +
                std::to_string(client.rssi);
        if (found < kTopologyUnreadable || found > kTopologyDevice) {
            wrong("%d from the topology", found);
        }
    }
    return seen;
}

std::string read_switch() {
    SwitchArp arp;
    SwitchPorts ports;
    std::string seen = std::to_string(read_port_link("Port1"));
    for (const uint8_t(&mac)[6] : kMacs) {
        int port = -7;
        char speed[20] = {};
        seen += std::to_string(cmnt_isClientfromWired(arp, mac, &port)) + std::to_string(port);
        seen += std::to_string(cmnt_getEthPortStatus(ports, port, speed)) + held(speed);
    }
    for (const int port : {-49, -48, 0, 5, 207, 208, 2147483647, -2147483647 - 1}) {
        char speed[20] = {};
        seen += std::to_string(cmnt_getEthPortStatus(ports, port, speed)) + held(speed);
    }
    return seen;
}

std::string read_traffic() {
    TrafficFile traffic;
    open_traffic_file(traffic);
    std::string seen;
    for (const uint8_t(&mac)[6] : kMacs) {
        uint32_t up = 0;
        uint32_t down = 0;
        seen += std::to_string(cmnt_cgi_userlist_speedtest_get(traffic, mac, &up, &down)) + std::to_string(up) +
                std::to_string(down);
    }
    return seen;
}

std::string read_routes() {
    in_addr gateway = {};
    return std::to_string(get_default_gateway(gateway)) + bytes(&gateway, sizeof gateway);
}

std::string read_resolver() {
    const NameServers servers = read_name_servers();
    if (servers.first[0] == '\0' && servers.second[0] != '\0' &&
        router.files["/etc/resolv.conf"].find("nameserver ") == std::string::npos) {
        wrong("a second name server out of nothing");
    }
    return held(servers.first) + " " + held(servers.second);
}

std::string read_stations(const char *interface) {
    static StationRow rows[kMostStations];
    const int count = wirelessClientList(interface, rows);
    if (count < 0 || count > kMostStations) {
        wrong("%d stations", count);
    }
    std::string seen = std::to_string(count);
    for (int i = 0; i < count; ++i) {
        seen += bytes(rows[i].mac, 6) + held(rows[i].mode) + held(rows[i].txRate) + held(rows[i].rxRate) +
                std::to_string(rows[i].rssi);
        if (rows[i].mode[0] != ' ' || rows[i].rssi > 255) {
            wrong("a station of mode \"%s\"", rows[i].mode);
        }
    }
    return seen;
}

// What readers of a whole request's object look into: the object is asked for.
std::string read_object(const char *object) {
    give_body(std::string(R"({"action":"get",")") + object + R"(":{"getInternetSta":1}})");
    return ask().reply ? router.replies[0] : "";
}

std::string scan() {
    give_body(R"({"action":"scan"})");
    return ask().reply ? router.replies[0] : "";
}

// What the commands say whose output is read.
std::string read_commands() {
    char mac[32] = "";
    char leds[32] = "";
    static char ping[1024];
    std::string seen = std::to_string(read_lan_mac(mac));
    seen += held(mac) + std::to_string(read_led_state(leds));
    seen += held(leds) + std::to_string(run_ping("192.168.1.7", 3, ping));
    return seen + held(ping);
}

std::string read_once(const Section &section) {
    const std::string &name = section.name;
    if (section.kind == "command") {
        start_endpoint();
        const std::string seen = read_commands();
        end_endpoint();
        return seen;
    }
    if (section.kind == "stations") {
        start_endpoint();
        const std::string seen = read_stations(name.c_str());
        end_endpoint();
        return seen;
    }
    if (name == "/etc/fwInfo.file") {
        return scan();
    }
    if (name == "/tmp/wscd_status") {
        return read_object("wps");
    }
    if (name == "/tmp/internet" || name == "/tmp/speed/wanspeed" || name == "/var/wan_uptime" ||
        name == "/var/ppp/startTime") {
        return read_object("wanStatus");
    }
    if (name == "/var/app_sessionid") {
        return read_object("app");
    }
    start_endpoint();
    std::string seen;
    if (name == "/var/lib/misc/udhcpd.leases") {
        seen = read_leases();
    } else if (name == "/tmp/topology_json") {
        seen = read_topology_file();
    } else if (name == "/proc/rtl865x/arp" || name == "/proc/rtl865x/port_status") {
        seen = read_switch();
    } else if (name == "/var/terminal_rate_info") {
        seen = read_traffic();
    } else if (name == "/proc/net/route") {
        seen = read_routes();
    } else if (name == "/etc/resolv.conf") {
        seen = read_resolver();
    } else if (name == "/var/run/udhcpd.pid") {
        seen = std::to_string(get_pid_from_file(name.c_str()));
    } else if (name == "/var/appdebug") {
        seen = std::to_string(read_debug_switch());
    }
    end_endpoint();
    return seen;
}

// Selects an interface by its name, and holds what is selected then.
void select_interface(const std::string &name) {
    const auto number_at = [&name](size_t at) {
        return name.size() > at ? strtoll(name.c_str() + at, nullptr, 10) : 0;
    };
    const long long radio = number_at(4);   // behind "wlan"
    const long long number = number_at(8);  // behind "wlan0-va"
    if (radio != static_cast<int>(radio) || number != static_cast<int>(number)) {
        return;  // beyond the numbers that the description knows
    }
    start_endpoint();
    int selected[] = {wlan_idx, vwlan_idx};
    int result = 0;
    if (radio < 2) {
        selected[0] = static_cast<int>(radio);
        selected[1] = 0;
        const std::string suffix = name.size() >= 9 ? name.substr(5) : "";
        if (suffix.compare(0, 3, "-va") == 0 && number < 5) {
            selected[1] = static_cast<int>(number) + 1;
        } else if (suffix.compare(0, 4, "-vxd") == 0) {
            selected[1] = 5;
        }
        result = suffix.compare(0, 3, "-va") != 0 || number < 5 ? 1 : 0;
    }
    if (SetWlan_idx(name.c_str()) != result || wlan_idx != selected[0] || vwlan_idx != selected[1]) {
        wrong("\"%s\" selects %d.%d", name.c_str(), wlan_idx, vwlan_idx);
    }
    end_endpoint();
}

// The commands that were run since.
std::vector<std::string> commands_run() {
    std::vector<std::string> commands;
    for (const Done &each : router.done) {
        if (each.event == Event::kRun) {
            commands.push_back(each.bytes);
        }
    }
    return commands;
}

// The status of a command, by what the script says of it.
int status_of(const std::string &command) {
    int status = 0;
    for (const auto &[beginning, answer] : router.commands) {
        if (command.compare(0, beginning.size(), beginning) == 0) {
            status = answer.status;  // the longest beginning is the last
        }
    }
    return status;
}

// What would be typed to count a client's traffic: a rule that is there is not inserted again.
void change_rules(const std::string &ip) {
    std::vector<std::string> inserted;
    std::vector<std::string> deleted;
    for (const char *const way : {"o br0 -d ", "i br0 -s "}) {
        const std::string rule = std::string("speedtest -") + way + ip + " 2>/dev/null";
        inserted.push_back("iptables -S speedtest |grep '" + ip + "/32 -" + way[0] + "' 1>/dev/null 2>/dev/null");
        if (status_of(inserted.back()) != 0) {
            inserted.push_back("iptables -I " + rule);
        }
        deleted.push_back("iptables -D " + rule);
    }
    start_endpoint();
    speedtest_add_rules(nullptr);
    speedtest_del_rules(nullptr);
    if (!router.done.empty()) {
        wrong("a rule for nobody");
    }
    speedtest_add_rules(ip.c_str());
    if (commands_run() != inserted) {
        wrong("other commands to count the traffic of %s", ip.c_str());
    }
    router.done.clear();
    speedtest_del_rules(ip.c_str());
    if (commands_run() != deleted) {
        wrong("other commands to count the traffic of %s no more", ip.c_str());
    }
    end_endpoint();
}

// What the readers tell those who hand them nothing to look for, or nowhere to put it.
bool is_found_for_nobody() {
    const LeaseList none = {};
    LeaseList damaged = {};
    damaged.count = kMostLeases + 1;
    char name[66] = {};
    if (cmnt_findLeaseName(nullptr, kMacs[0], &name) != -1 || cmnt_findLeaseName(&none, nullptr, &name) != -1 ||
        cmnt_findLeaseName(&none, kMacs[0], nullptr) != -1 || cmnt_findLeaseName(&none, kMacs[0], &name) != -3 ||
        cmnt_findLeaseName(&damaged, kMacs[0], &name) != -2) {
        return true;
    }
    if (cmnt_getClientList(nullptr) != -1) {
        return true;
    }
    SwitchArp arp;
    int port = 0;
    TrafficFile traffic;
    open_traffic_file(traffic);
    uint32_t rate = 0;
    return cmnt_isClientfromWired(arp, nullptr, &port) != 0 || cmnt_isClientfromWired(arp, kMacs[0], nullptr) != 0 ||
           cmnt_cgi_userlist_speedtest_get(traffic, nullptr, &rate, &rate) != 0 ||
           cmnt_cgi_userlist_speedtest_get(traffic, kMacs[0], nullptr, &rate) != 0 ||
           cmnt_cgi_userlist_speedtest_get(traffic, kMacs[0], &rate, nullptr) != 0;
}

void hold_missing_arguments() {
    start_endpoint();
    if (is_found_for_nobody() || !router.done.empty()) {
        wrong("something is found for nobody");
    }
    end_endpoint();
}

}  // namespace

void run_script(const Script &script) {
    router.values[{MIB_MESH_ROLE.id, -1, -1}] = std::string("\1\0\0\0", 4);  // a controller, who looks for its clients
    router.values[{MIB_WAN_DHCP.id, -1, -1}] = std::string("\1", 1);
    for (const Section &section : script) {
        if (section.kind == "rules" && router.faults.empty()) {
            change_rules(
                section.content.substr(0, section.content.find_first_of(std::string_view("\n\0", 2))).substr(0, 100));
            hold_missing_arguments();
        } else if (section.kind == "select") {
            select_interface(section.content.substr(0, section.content.find_first_of(std::string_view("\n\0", 2))));
        } else if (section.kind != "call") {
            apply(section);
        }
        if (section.kind != "call" && section.kind != "stations" && section.kind != "command") {
            continue;
        }
        if (section.kind == "call") {
            apply({"file", section.name, section.content});
        }
        router.piece = SIZE_MAX;
        const std::string first = read_once(section);
        router.piece = 1;
        if (read_once(section) != first) {
            wrong("%s is read byte by byte, and differently", section.name.c_str());
        }
        router.piece = SIZE_MAX;
    }
}
