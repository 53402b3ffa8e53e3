// SPDX-License-Identifier: MIT
#include "objects/wan.h"

#include <cstdint>

#include "base/debug_log.h"
#include "base/json.h"
#include "base/range.h"
#include "base/text.h"
#include "gateway/handler/objects.h"
#include "gateway/handler/request_state.h"
#include "kernel/interface_address.h"
#include "kernel/name_servers.h"
#include "kernel/routes.h"
#include "platform/product.h"
#include "store/items.h"
#include "store/store.h"

namespace {

constexpr char kModule[] = "app";

constexpr int kType20 = 20;  // reported in the operating mode below; never stored as a type

constexpr int kType20OpMode = 1;

// The order is of no account. Columns: type, name, MTU item, smallest and largest MTU.
constexpr ConnectionType kConnectionTypes[] = {
    {kStatic, "static", MIB_FIXED_IP_MTU, 1400, 1500},
    {kDhcp,   "dhcp",   MIB_DHCP_MTU,     1280, 1500},
    {kPppoe,  "pppoe",  MIB_PPP_MTU,      1360, 1492},
};

constexpr int kPppTextSize = 129;  // of the account's name and password, terminator included

constexpr char kMtuNotSupported[] = "ERROR: current mode not support set MTU";
constexpr char kMtuRange[] = "ERROR: the MTU size should in range %d-%d";
constexpr char kNoPppAccount[] = "ERROR: Not find ppp user or pwd info\n";
constexpr char kPppAccountLength[] = "ERROR: the pppUsr or pppPwd lenght should <%d";

const char *or_no_address(const char *address) {
    return address[0] != '\0' ? address : "0.0.0.0";
}

// The type that a "wanInfo" asks for, as a number or, if there is one, as a text. It is a byte on the router, so only
// the low byte counts.
int wanted_type(const cJSON *number, const char *text) {
    return static_cast<int8_t>(text != nullptr ? decimal_value(text) : integer_value(number));
}

// Stores the request's own text; which addresses make sense is for the firmware to find out.
void store_if_given(const cJSON *info, const char *key, TextItem<64> item) {
    const char *text = find_text(info, key);
    if (text != nullptr) {
        store_set(item, text);
    }
}

int set_static_addresses(const cJSON *info, const char *ip) {
    const char *mask = find_text(info, "mask");
    if (mask == nullptr) {
        return kFailed;  // before the first write: an address without its mask would take the connection down
    }
    store_set(MIB_SET_WAN_IP, ip);
    store_set(MIB_SET_WAN_MASK, mask);
    store_if_given(info, "gateway", MIB_SET_WAN_GATEWAY);
    return 0;
}

int set_ppp_account(const cJSON *info) {
    const char *user = find_text(info, "pppUsr");
    const char *password = find_text(info, "pppPwd");
    if (user == nullptr || password == nullptr) {
        return fail(kNoPppAccount);
    }
    if (!has_length(user, 0, kPppTextSize - 1) || !has_length(password, 0, kPppTextSize - 1)) {
        return fail(kPppAccountLength, kPppTextSize);
    }
    store_set(MIB_SET_PPP_USER_NAME, user);
    store_set(MIB_SET_PPP_PASSWORD, password);
    return 0;
}

}  // namespace

int stored_connection_type() {
    return static_cast<int>(store_get(MIB_WAN_DHCP));
}

const ConnectionType *find_connection_type(int type) {
    for (const ConnectionType &row : kConnectionTypes) {
        if (row.type == type) {
            return &row;
        }
    }
    return nullptr;
}

bool is_mtu_valid(const ConnectionType &connection, int mtu) {
    return in_range(mtu, connection.mtu_min, connection.mtu_max);
}

const char *wan_interface(int type) {
    constexpr int kFirst = 3;
    constexpr unsigned kOverPpp = 0x200B;  // types 3, 4, 6 and 16, counted from the first
    const auto bit = static_cast<uint8_t>(type - kFirst);
    return bit < 14 && (kOverPpp >> bit & 1U) != 0 ? PRODUCT_PPP_INTERFACE : PRODUCT_WAN_INTERFACE;
}

int app_get_wanInfo_handler(const char *name, cJSON * /*request*/, cJSON *reply) {
    int type = stored_connection_type();
    if (store_get(MIB_OP_MODE) == kType20OpMode) {
        type = kType20;
    }
    char type_text[5];  // a sign, three digits and the terminator
    join(type_text, {Decimal(type).c_str()});
    cJSON *info = cJSON_AddObjectToObject(reply, name);
    cJSON_AddStringToObject(info, "type", type_text);
    if (type == kPppoe) {
        cJSON_AddStringToObject(info, "pppUsr", store_get(MIB_PPP_USER_NAME).c_str());
        cJSON_AddStringToObject(info, "pppPwd", store_get(MIB_PPP_PASSWORD).c_str());
    }
    const int dns_mode = store_get(MIB_WAN_DNS_MODE);
    const NameServers servers = read_name_servers();

    const char *interface = wan_interface(type);
    char ip[INET_ADDRSTRLEN] = {};
    char mask[INET_ADDRSTRLEN] = {};
    read_interface_ip(interface, ip);
    read_interface_mask(interface, mask);
    in_addr gateway;
    get_default_gateway(gateway);

    add_number(info, "dnsmode", dns_mode);
    cJSON_AddStringToObject(info, "ip", or_no_address(ip));
    cJSON_AddStringToObject(info, "mask", or_no_address(mask));
    // Without a default route this is 255.255.255.255, which apps know as "none".
    cJSON_AddStringToObject(info, "gateway", Dotted(gateway).c_str());
    cJSON_AddStringToObject(info, "dns1", or_no_address(servers.first));
    cJSON_AddStringToObject(info, "dns2", or_no_address(servers.second));
    return 0;
}

int app_set_wanInfo_handler(const char *name, cJSON *request, cJSON * /*reply*/) {
    const cJSON *info = find_item(request, name);
    if (info == nullptr) {
        return 0;
    }
    DebugLog("wanInfo=yes_____");
    const cJSON *type_item = find_item(info, "type");
    const cJSON *dns_mode_item = find_item(info, "dnsmode");
    if (type_item == nullptr) {
        DebugLog("ERROR: Not find wan type info");
        return kFailed;
    }
    const char *type_text = find_text(info, "type");
    if (type_text != nullptr) {
        DebugLog("wanInfo_wanType=%s", type_text);
    }
    const int type = wanted_type(type_item, type_text);
    const int dns_mode = dns_mode_item != nullptr && integer_value(dns_mode_item) != 0 ? 1 : 0;
    const char *ip = find_text(info, "ip");
    if (type == kStatic && ip != nullptr) {
        DebugLog("wanInfo_ip=%s", ip);
        if (set_static_addresses(info, ip) != 0) {
            return kFailed;
        }
    }
    if (type == kPppoe && set_ppp_account(info) != 0) {
        return kFailed;
    }
    // A static connection has no provider that names servers, so it takes those of the request in either mode.
    if (dns_mode == 1 || type == kStatic) {
        store_if_given(info, "dns1", MIB_SET_WAN_DNS1);
        store_if_given(info, "dns2", MIB_SET_WAN_DNS2);
    }
    store_set(MIB_SET_WAN_DNS_MODE, dns_mode);
    store_set(MIB_SET_WAN_TYPE20_FLAG, type == kType20 ? 1 : 0);
    const ConnectionType *connection = find_connection_type(type);
    if (connection != nullptr) {
        store_set(MIB_SET_WAN_TYPE, connection->name);
    }
    save_config_flag = 1;
    wan_reinit_flag = 1;
    return 0;
}

int app_get_wanAdvance_handler(const char *name, cJSON * /*request*/, cJSON *reply) {
    const ConnectionType *connection = find_connection_type(stored_connection_type());
    const int mtu = connection != nullptr ? store_get(connection->mtu_item) : 0;
    cJSON *advance = cJSON_AddObjectToObject(reply, name);
    add_number(advance, "mtu", mtu);
    return 0;
}

int app_set_wanAdvance_handler(const char *name, cJSON *request, cJSON * /*reply*/) {
    const cJSON *mtu_item = find_item(find_item(request, name), "mtu");
    if (mtu_item == nullptr) {
        return 0;
    }
    const int mtu = integer_value(mtu_item);
    DebugLog("mtu=%d", mtu);
    const int type = stored_connection_type();
    DebugLog("wanType=%d", type);
    const ConnectionType *connection = find_connection_type(type);
    if (connection == nullptr) {
        return fail(kMtuNotSupported);
    }
    if (!is_mtu_valid(*connection, mtu)) {
        return fail(kMtuRange, connection->mtu_min, connection->mtu_max);
    }
    store_set(connection->mtu_item, mtu);
    save_config_flag = 1;
    app_reinit_flag = 1;
    return 0;
}
