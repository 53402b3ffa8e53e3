// SPDX-License-Identifier: MIT
// The mutator: it knows sections and JSON, and what the contract tells of keys and their limits.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>

#include "platform/wifi_driver.h"
#include "tests/fuzz/target.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t most);
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t most, unsigned seed);
extern "C" size_t LLVMFuzzerCustomCrossOver(const uint8_t *first, size_t first_size, const uint8_t *second,
                                            size_t second_size, uint8_t *out, size_t most, unsigned seed);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

std::minstd_rand dice;

unsigned below(size_t end) {
    return end == 0 ? 0 : static_cast<unsigned>(dice() % end);
}

bool one_in(unsigned count) {
    return below(count) == 0;
}

template <typename Value, size_t Count>
const Value &any_of(const Value (&values)[Count]) {
    return values[below(Count)];
}

const char *any_of(const std::initializer_list<const char *> &values) {
    return values.begin()[below(values.size())];
}

// ---- texts

constexpr const char *kAddresses[] = {"0a1b2c3d4e5f", "0A1B2C3D4E5F", "a0b1c2d3e4f5", "000000000000",
                                      "ffffffffffff", "a0b1c2d3e4f6", "a0b1c2d3e4fx", "a0:b1:c2:d3:e4:f5"};
constexpr const char *kIps[] = {"192.168.1.1", "192.168.1.100",   "192.168.1.254", "10.0.0.1",        "255.255.255.0",
                                "0.0.0.0",     "255.255.255.255", "192.168.1.256", "192.168.100.100", "1.1.1.1"};
constexpr const char *kClocks[] = {"08:00:00", "22:30:00", "00:00:00", "23:59:59", "24:00:00", "8:00:00", "08-00-00"};
constexpr const char *kWeeks[] = {"0000000", "1111111", "0111110", "0000001", "10x0000", "111111", "11111111"};
constexpr const char *kOddTexts[] = {"",  "0", "1",    "2",  "-1",    "256",       "999999999999", "%s%n", "\xc3\xa4",
                                     " ", "x", "\xff", "\t", "a;b|c", "$(reboot)", "\\\"",         "00",   "\x01"};

std::string text_of_length(long long length) {
    std::string text;
    const long long cut = std::min<long long>(length, 5000);
    for (long long i = 0; i < cut; ++i) {
        text += static_cast<char>('a' + (i + static_cast<long long>(below(3))) % 26);
    }
    return text;
}

// A length at a limit or beside it, or any between.
long long near(long long low, long long high) {
    const long long far = std::min<long long>(high, 70000);
    switch (below(6)) {
        case 0:
            return low;
        case 1:
            return high;
        case 2:
            return low - 1;
        case 3:
            return high < (1LL << 60) ? high + 1 : far;
        default:
            return low + static_cast<long long>(below(static_cast<size_t>(far - low + 1)));
    }
}

std::string make_text(const Key &key) {
    const std::string form = key.form;
    if (one_in(8)) {
        return any_of(kOddTexts);
    }
    if (one_in(12)) {
        return any_of(kWords);
    }
    if (form == "mac" || (form.empty() && strcmp(key.name, "mac") == 0)) {
        return any_of(kAddresses);
    }
    if (form == "ipv4") {
        return any_of(kIps);
    }
    if (form == "range") {
        return std::string(any_of(kIps)) + "-" + any_of(kIps);
    }
    if (form == "clock") {
        return any_of(kClocks);
    }
    if (form == "week") {
        return any_of(kWeeks);
    }
    if (form == "session") {
        // The last two stand for the id that was handed out last and the one before (login_target.cpp).
        return any_of({"Us0123456789abcdef0123456789abcdef", "", "OLD", "SESSION"});
    }
    if (strcmp(key.name, "Act") == 0) {
        return any_of({"add", "del", "mod"});
    }
    if (strcmp(key.name, "user") == 0 || strcmp(key.name, "pwd") == 0) {
        return "admin";
    }
    return text_of_length(near(key.low, key.high > 100000 ? 40 : key.high));
}

double make_number(const Key &key) {
    constexpr double kOdd[] = {0, 1, 2, 3, -1, 255, 256, 65535, 2147483647, -2147483648.0, 4294967295.0, 1e300, 0.5};
    return one_in(2) ? any_of(kOdd) : static_cast<double>(near(key.low, key.high));
}

// ---- JSON

cJSON *make_value(const Key &key, int depth);

void add_keys(cJSON *object, const Key *keys, size_t count, int depth) {
    for (size_t i = 0; i < count; ++i) {
        if (!one_in(3)) {
            cJSON_AddItemToObject(object, keys[i].name, make_value(keys[i], depth));
        }
        if (one_in(30)) {
            cJSON_AddItemToObject(object, keys[i].name, make_value(keys[i], depth));  // twice
        }
    }
}

cJSON *make_odd_value() {
    switch (below(7)) {
        case 0:
            return cJSON_CreateNull();
        case 1:
            return cJSON_CreateTrue();
        case 2:
            return cJSON_CreateFalse();
        case 3:
            return cJSON_CreateObject();
        case 4:
            return cJSON_CreateArray();
        case 5:
            return cJSON_CreateString(any_of(kOddTexts));
        default:
            return cJSON_CreateNumber(below(5));
    }
}

cJSON *make_list(const Key &key, int depth) {
    cJSON *list = cJSON_CreateArray();
    if (key.is_tuple) {
        const size_t length = one_in(4) ? below(key.count + 1) : key.count;
        for (size_t i = 0; i < length; ++i) {
            cJSON_AddItemToArray(list, make_value(key.inner[i], depth));
        }
        return list;
    }
    const unsigned length = one_in(10) ? 19 + below(3) : below(4);
    for (unsigned i = 0; i < length; ++i) {
        cJSON_AddItemToArray(list, key.count > 0 ? make_value(key.inner[0], depth) : make_odd_value());
    }
    return list;
}

cJSON *make_value(const Key &key, int depth) {
    if (one_in(15) || depth > 6) {
        return make_odd_value();
    }
    const std::string type = key.type;
    if (type == "array") {
        return make_list(key, depth + 1);
    }
    if (type == "object") {
        cJSON *object = cJSON_CreateObject();
        add_keys(object, key.inner, key.count, depth + 1);
        return object;
    }
    const bool text = type.find("string") != std::string::npos;
    const bool number = type.find("number") != std::string::npos;
    if (text && (!number || one_in(2))) {
        return cJSON_CreateString(make_text(key).c_str());
    }
    return number ? cJSON_CreateNumber(make_number(key)) : make_odd_value();
}

bool is_to_taste(const ObjectKeys &object) {
    for (const char *name : kTaste.objects) {
        if (strcmp(object.name, name) == 0) {
            return true;
        }
    }
    return kTaste.objects.size() == 0;
}

const ObjectKeys &any_object(const char *action) {
    for (;;) {
        const ObjectKeys &object = any_of(kObjects);
        if (is_to_taste(object) && strcmp(object.action, action) == 0) {
            return object;
        }
    }
}

std::string print(const cJSON *tree) {
    char *text = cJSON_PrintUnformatted(tree);
    const std::string out = text != nullptr ? text : "";
    free(text);
    return out;
}

std::string make_body() {
    Tree root(cJSON_CreateObject());
    const char *action = one_in(kTaste.other_actions) ? any_of({"login", "login", "scan", "Get", ""})
                         : one_in(3)                  ? "get"
                                                      : "set";
    cJSON_AddStringToObject(root.get(), "action", action);
    const bool sets = strcmp(action, "set") == 0;
    for (unsigned count = one_in(4) ? 1 + below(4) : 1; count > 0; --count) {
        const ObjectKeys &object = any_object(sets ? "set" : "get");
        cJSON *value = cJSON_CreateObject();
        add_keys(value, object.keys, object.count, 0);
        if (strcmp(object.name, "logout") == 0) {
            cJSON_Delete(value);
            value = cJSON_CreateNumber(1);
        }
        cJSON_AddItemToObject(root.get(), object.name, value);
    }
    for (size_t i = 0; i < kRequestKeyCount; ++i) {
        const Key &key = kRequestKeys[i];
        const bool is_info = strcmp(key.name, "info") == 0;
        const bool is_action = strcmp(key.name, "action") == 0;
        const unsigned rare = strcmp(key.name, "ip") == 0 ? 30 : strcmp(key.name, "sessionid") == 0 ? 2 : 4;
        if (!is_action && (is_info ? strcmp(action, "login") == 0 : one_in(rare))) {
            cJSON_AddItemToObject(root.get(), key.name, make_value(key, 0));
        }
    }
    return print(root.get());
}

// Every node below, in a row.
void collect(cJSON *node, std::vector<cJSON *> &nodes) {
    for (cJSON *child = node->child; child != nullptr; child = child->next) {
        nodes.push_back(child);
        collect(child, nodes);
    }
}

// What the contract says of a key of this name, wherever it stands; nullptr: nothing.
const Key *find_key(const Key *keys, size_t count, const char *name) {
    for (size_t i = 0; i < count; ++i) {
        if (strcmp(keys[i].name, name) == 0) {
            return &keys[i];
        }
        if (const Key *found = find_key(keys[i].inner, keys[i].count, name)) {
            return found;
        }
    }
    return nullptr;
}

const Key &key_named(const char *name) {
    static constexpr Key kAny = {"", "any", "", 0, 100, nullptr, 0, false};
    if (name == nullptr) {
        return kAny;
    }
    for (const ObjectKeys &object : kObjects) {
        if (const Key *found = find_key(object.keys, object.count, name)) {
            return *found;
        }
    }
    const Key *found = find_key(kRequestKeys, kRequestKeyCount, name);
    return found != nullptr ? *found : kAny;
}

void change_value(cJSON *node) {
    cJSON *made = one_in(5) ? make_odd_value() : make_value(key_named(node->string), 0);
    // The node keeps its place and its key, and takes the rest.
    std::swap(node->type, made->type);
    std::swap(node->valuestring, made->valuestring);
    std::swap(node->valueint, made->valueint);
    std::swap(node->valuedouble, made->valuedouble);
    std::swap(node->child, made->child);
    cJSON_Delete(made);
}

std::string change_body(const std::string &body) {
    Tree root(cJSON_Parse(body.c_str()));
    if (!root || one_in(12)) {
        return make_body();
    }
    std::vector<cJSON *> nodes;
    collect(root.get(), nodes);
    cJSON *node = nodes.empty() ? nullptr : nodes[below(nodes.size())];
    switch (below(6)) {
        case 0:
            if (node != nullptr && (node->type & 0xff) == cJSON_String && node->valuestring != nullptr) {
                cJSON_SetValuestring(node, make_text(key_named(node->string)).c_str());
                break;
            }
            [[fallthrough]];
        case 1:
        case 2:
            if (node != nullptr) {
                change_value(node);
            }
            break;
        case 3: {  // one more key
            const ObjectKeys &object = any_object(one_in(3) ? "get" : "set");
            cJSON *there = cJSON_GetObjectItem(root.get(), object.name);
            if (cJSON_IsObject(there) != 0 && object.count > 0) {
                const Key &key = object.keys[below(object.count)];
                cJSON_AddItemToObject(there, key.name, make_value(key, 0));
            } else {
                cJSON *value = cJSON_CreateObject();
                add_keys(value, object.keys, object.count, 0);
                cJSON_AddItemToObject(root.get(), object.name, value);
            }
            break;
        }
        case 4:  // one less
            if (node != nullptr) {
                for (cJSON *parent : nodes) {
                    for (cJSON *child = parent->child; child != nullptr; child = child->next) {
                        if (child == node) {
                            cJSON_Delete(cJSON_DetachItemViaPointer(parent, node));
                            return print(root.get());
                        }
                    }
                }
                cJSON_Delete(cJSON_DetachItemViaPointer(root.get(), node));
            }
            break;
        default: {  // very deep, or very much
            const unsigned depth = one_in(10) ? 990 + below(30) : below(20);
            std::string deep;
            for (unsigned i = 0; i < depth; ++i) {
                deep += one_in(2) ? "[" : "{\"a\":";
            }
            return one_in(3) ? "{\"action\":\"get\",\"x\":" + deep : print(root.get());
        }
    }
    return print(root.get());
}

// ---- contents of sections

std::string bytes_of(size_t count) {
    std::string bytes;
    for (size_t i = 0; i < count; ++i) {
        bytes += static_cast<char>(one_in(3) ? 0 : below(256));
    }
    return bytes;
}

// One of few addresses, so that the sources of a client's facts meet.
std::string mac_bytes() {
    constexpr char kMacs[][7] = {"\x0a\x1b\x2c\x3d\x4e\x5f", "\xa0\xb1\xc2\xd3\xe4\xf5", "\x02\x00\x00\x00\x00\x01",
                                 "\x02\x00\x00\x00\x00\x02", "\xff\xff\xff\xff\xff\xff", "\x02\x00\x00\x00\x00\x03"};
    return std::string(any_of(kMacs), 6);
}

std::string hexadecimal(const std::string &bytes, const char *between = "") {
    std::string text;
    for (const char byte : bytes) {
        char digits[8];
        snprintf(digits, sizeof digits, "%s%02x", text.empty() ? "" : between, static_cast<unsigned>(byte) & 0xff);
        text += digits;
    }
    return text;
}

std::string make_station() {
    std::string station = bytes_of(sizeof(StaInfoEntry));
    station[0] = static_cast<char>(one_in(5) ? 0 : 1);
    station.replace(2, 6, mac_bytes());
    station[20] = static_cast<char>(one_in(5) ? below(256) : kStationAssociated);
    return station;
}

std::string make_stations() {
    std::string table(sizeof(StaInfoEntry), '\0');
    for (unsigned count = one_in(8) ? 64 : below(4); count > 0; --count) {
        table += make_station();
    }
    return table.substr(0, one_in(10) ? below(table.size()) : table.size());
}

std::string make_arp() {
    std::string list;
    for (unsigned count = one_in(10) ? 250 + below(10) : below(5); count > 0; --count) {
        const char address[] = {static_cast<char>(192), static_cast<char>(168), 1, static_cast<char>(below(256))};
        list += std::string(address, 4) + (one_in(4) ? bytes_of(6) : mac_bytes());
        list += std::string(one_in(8) ? "\1\0" : "\0\0", 2);
    }
    return list;
}

std::string make_lease() {
    std::string name = one_in(4) ? text_of_length(near(0, 64)) : "phone";
    name.resize(64);
    return mac_bytes() + std::string(10, '\0') + bytes_of(8) + name + std::string(4, '\0');
}

std::string make_device(int depth) {
    Tree device(cJSON_CreateObject());
    const std::string mac = hexadecimal(mac_bytes());
    cJSON_AddStringToObject(device.get(), "mac_address", mac.c_str());
    if (!one_in(4)) {
        cJSON_AddStringToObject(device.get(), "ip_addr", any_of(kIps));
    }
    cJSON *stations = cJSON_AddArrayToObject(device.get(), "station_info");
    for (unsigned count = below(3); count > 0; --count) {
        cJSON *station = cJSON_CreateObject();
        cJSON_AddStringToObject(station, "station_mac", hexadecimal(mac_bytes()).c_str());
        cJSON_AddStringToObject(station, "station_rssi", any_of({"-40", "0", "200", "x", "99999999999"}));
        cJSON_AddStringToObject(station, "station_connected_band", any_of({"5g", "2g", "", "a very long band it is"}));
        cJSON_AddStringToObject(station, "station_downlink", any_of({"866.7", "", "123456789012345678901234567890"}));
        if (!one_in(4)) {
            cJSON_AddStringToObject(station, "station_uplink", "144.4");
        }
        cJSON_AddItemToArray(stations, station);
    }
    if (depth < 4) {
        cJSON *children = cJSON_AddArrayToObject(device.get(), "child_devices");
        for (unsigned count = depth == 1 && one_in(20) ? 34 : below(3); count > 0; --count) {
            cJSON_AddItemToArray(children, cJSON_Parse(make_device(depth + 1).c_str()));
        }
    }
    return print(device.get());
}

std::string lines(unsigned most, std::string (*make)()) {
    std::string text;
    for (unsigned count = below(most + 1); count > 0; --count) {
        text += make() + (one_in(30) ? "" : "\n");
    }
    return text;
}

std::string number_text() {
    return any_of({"0", "1", "2", "-1", "17", "2147483647", "4294967296", "99999999999999999999", "x", ""});
}

std::string make_file(const std::string &path) {
    if (one_in(20)) {
        return bytes_of(below(2000));
    }
    if (path == "/tmp/topology_json") {
        return make_device(0) + (one_in(2) ? "\n" : "");
    }
    if (path == "/var/lib/misc/udhcpd.leases") {
        std::string leases;
        for (unsigned count = one_in(15) ? 257 : below(4); count > 0; --count) {
            leases += make_lease();
        }
        return leases + bytes_of(one_in(5) ? below(92) : 0);
    }
    if (path == "/proc/net/route") {
        return "Iface\tDestination\tGateway\n" + lines(3, [] {
                   return std::string("br0\t") + any_of({"00000000", "0001A8C0", "0"}) + "\t" +
                          any_of({"0101A8C0", "00000000", "FFFFFFFFFF", "g"}) + "\t0003";
               });
    }
    if (path == "/proc/rtl865x/arp") {
        return "head\n" + lines(4, [] {
                   return "e " + hexadecimal(mac_bytes(), "-") +
                          any_of({" (1 3)", " (0 5)", " (1", " (1 99999999999)"});
               });
    }
    if (path == "/proc/rtl865x/port_status") {
        return "head\n" + lines(8, []() -> std::string {
                   return one_in(2) ? std::string("Port") + any_of({"0", "1", "3", "5", "\xff", ""}) + " " +
                                          any_of({"LinkUp", "LinkDown", "Link", ""})
                                    : std::string("Speed is now at ") + any_of({"1000M", "100M", "", "x y z"});
               });
    }
    if (path == "/var/terminal_rate_info") {
        return lines(4, [] { return "1 2 " + hexadecimal(mac_bytes()) + " " + number_text() + " " + number_text(); });
    }
    if (path == "/etc/resolv.conf") {
        return lines(4, [] { return std::string(any_of({"nameserver ", "# nameserver ", "search "})) + any_of(kIps); });
    }
    if (path == "/etc/fwInfo.file") {
        return std::string("a line\nCompile") + any_of({" Time: 20240101", "", " x", "Date y"});
    }
    if (path == "/tmp/speed/wanspeed") {
        return std::string(any_of({"1.0", "0", "-1", "1e-40", "inf", "nan"})) + "," + number_text() + "," +
               number_text();
    }
    if (path == "/var/app_sessionid") {
        return std::string(any_of({"sessionid=", "sessionid= ", "session="})) +
               any_of({"Us0123456789abcdef0123456789abcdef", "", "x y", "\n"});
    }
    return number_text() + any_of({"\n", "", " 5\n", "abcdefghijkl"});
}

std::string make_record(const ItemKind &kind) {
    std::string record = bytes_of(kind.record);
    if (one_in(2)) {
        record.replace(0, 6, mac_bytes());
    }
    if (kind.record == 82 && !one_in(4)) {  // of a device whose access has hours
        record.replace(4, 14, std::string("080000,223000\0", 14));
        record.replace(69, 13, std::string(any_of({"A0B1C2D3E4F5\0", "0a1b2c3d4e5f\0"}), 13));
    }
    return record;
}

std::string make_item(const ItemKind &kind) {
    if (kind.record > 0) {
        std::string records;
        for (unsigned count = one_in(6) ? static_cast<unsigned>(kind.limit) : below(4); count > 0; --count) {
            records += make_record(kind);
        }
        return records;
    }
    if (strcmp(kind.kind, "text") == 0) {
        return one_in(3) ? any_of(kOddTexts) : text_of_length(near(0, static_cast<long long>(kind.width)));
    }
    return strcmp(kind.kind, "ipv4") == 0 ? any_of(kIps) : number_text();
}

std::string item_name(const ItemKind &kind) {
    std::string name = kind.name;
    if (kind.per_interface) {
        name += "@" + std::to_string(below(2)) + "." + std::to_string(one_in(3) ? below(6) : 0);
    }
    return name;
}

std::string make_fault() {
    std::string fault = one_in(2) ? "from=" + std::to_string(1 + below(6)) + " " : "";
    if (one_in(2)) {
        fault += "count=1 ";
    }
    if (one_in(3)) {
        fault += any_of({"failed=ENOMEM ", "failed=ENOSPC ", "failed=EINTR count=1 ", "failed=EACCES "});
    }
    const char *call = any_of({"get",   "set",    "entry",  "add",    "delete", "delete-all", "commit",
                               "save",  "init",   "msgget", "msgsnd", "malloc", "open",       "read",
                               "write", "rename", "socket", "ioctl",  "popen",  "system",     "sysinfo"});
    fault += call;
    const bool on_item = strlen(call) < 7 && strstr("get set entry add delete delete-all", call) != nullptr;
    if (on_item && one_in(2)) {
        fault += std::string(" ") + item_name(any_of(kItemKinds));
    }
    return fault;
}

constexpr const char *kInterfaces[] = {"wlan0",     "wlan1",     "wlan0-va0", "wlan0-va1", "wlan0-va2",
                                       "wlan0-va3", "wlan1-va0", "wlan1-va1", "wlan1-va2", "wlan1-va3"};
constexpr const char *kCommands[] = {"ifconfig br0", "ping ", "leds getenable", "leds ", "flash get", "killall",
                                     "kill ",        "curl ", "iptables -S",    "rm ",   "iptables",  "echo "};

Section make_section() {
    const std::string kind = any_of(kTaste.kinds);
    if (kind == "body") {
        return {kind, "", make_body()};
    }
    if (kind == "file" || kind == "no-file" || kind == "sealed" || kind == "call") {
        const std::string path = any_of(kPaths);
        return {kind, path, kind == "file" || kind == "call" ? make_file(path) : ""};
    }
    if (kind == "item" || kind == "unreadable") {
        const ItemKind &item = any_of(kItemKinds);
        return {kind, item_name(item), kind == "item" ? make_item(item) : ""};
    }
    if (kind == "stations" || kind == "mute") {
        return {kind, any_of(kInterfaces), kind == "stations" ? make_stations() : ""};
    }
    if (kind == "arp") {
        return {kind, "", make_arp()};
    }
    if (kind == "fail") {
        return {kind, "", make_fault()};
    }
    if (kind == "env") {
        const char *name = any_of({"REMOTE_ADDR", "REMOTE_ADDR", "REMOTE_ADDR", "CONTENT_LENGTH"});
        return {kind, name,
                strcmp(name, "REMOTE_ADDR") == 0
                    ? any_of({"127.0.0.1", "192.168.1.100", "192.168.1.1", "255.255.255.255"})
                    : number_text()};
    }
    if (kind == "command") {
        return {kind, any_of(kCommands),
                any_of({"0\n", "1\n", "0\nbr0       Link encap:Ethernet  HWaddr 00:11:22:AA:BB:CC\n", "0\n0\n",
                        "0\n1\n", "0\nPING 1.1.1.1\n64 bytes\n2 packets received\n", "127\nnot found\n"})};
    }
    if (kind == "rules") {
        return {kind, "", any_of({"192.168.1.100", "10.0.0.1", "255.255.255.255", ""})};
    }
    if (kind == "select") {
        return {kind, "",
                any_of({"wlan0", "wlan1-va3", "wlan0-va4", "wlan0-va5", "wlan2", "wlan1-vxd", "wlan", "wlan0-vx"})};
    }
    if (kind == "address") {
        return {kind, any_of({"br0", "eth1", "ppp0"}),
                std::string(any_of({"192.168.1.1", "10.1.2.3", "-"})) + any_of({" 255.255.255.0", " -"}) +
                    any_of({" 02:00:00:00:00:01", " -"})};
    }
    return {kind, "", number_text()};
}

std::string change_bytes(std::string content, size_t most) {
    const size_t size = content.size();
    content.resize(std::max<size_t>(std::min<size_t>(most, size + 64), 1));
    content.resize(
        LLVMFuzzerMutate(reinterpret_cast<uint8_t *>(content.data()), std::min(size, content.size()), content.size()));
    return content;
}

void change(Section &section, size_t most) {
    if (section.kind == "body" && !one_in(6)) {
        section.content = change_body(section.content);
    } else if (one_in(4)) {
        Section made = make_section();
        if (made.kind == section.kind && made.name == section.name) {
            section = made;
            return;
        }
        section.content = change_bytes(section.content, most);
    } else if (section.kind == "file" && one_in(2)) {
        section.content = make_file(section.name);
    } else if (section.kind == "stations" && one_in(2)) {
        section.content = make_stations();
    } else if (section.kind == "item" && one_in(2)) {
        const ItemKind *kind = find_item_kind(Router::place_of(section.name).id);
        section.content = kind != nullptr ? make_item(*kind) : "";
    } else {
        section.content = change_bytes(section.content, most);
    }
}

size_t put(const Script &script, uint8_t *out, size_t most) {
    const std::string text = print_script(script);
    const size_t size = std::min(text.size(), most);
    memcpy(out, text.data(), size);
    return size;
}

}  // namespace

size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t most, unsigned seed) {
    dice.seed(seed);
    if (one_in(40)) {
        return LLVMFuzzerMutate(data, size, most);  // the form itself
    }
    Script script = parse_script(data, size);
    for (unsigned count = 1 + below(3); count > 0; --count) {
        const unsigned choice = below(10);
        if (script.empty() || choice < 2) {
            script.insert(script.begin() + below(script.size() + 1), make_section());
        } else if (choice == 2) {
            script.erase(script.begin() + below(script.size()));
        } else if (choice == 3) {
            const Section copy = script[below(script.size())];
            script.insert(script.begin() + below(script.size() + 1), copy);
        } else {
            change(script[below(script.size())], most);
        }
    }
    return put(script, data, most);
}

size_t LLVMFuzzerCustomCrossOver(const uint8_t *first, size_t first_size, const uint8_t *second, size_t second_size,
                                 uint8_t *out, size_t most, unsigned seed) {
    dice.seed(seed);
    Script script = parse_script(first, first_size);
    const Script other = parse_script(second, second_size);
    script.resize(below(script.size() + 1));
    script.insert(script.end(), other.begin() + below(other.size()), other.end());
    return put(script, out, most);
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    reset_router();
    run_script(parse_script(data, size));
    return 0;
}
