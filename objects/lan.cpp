// SPDX-License-Identifier: MIT
#include "objects/lan.h"

#include <arpa/inet.h>
#include <endian.h>

#include <cstdint>

#include "base/debug_log.h"
#include "base/ipv4.h"
#include "base/json.h"
#include "base/range.h"
#include "gateway/handler/objects.h"
#include "gateway/handler/request_state.h"
#include "kernel/interface_address.h"
#include "platform/product.h"
#include "store/items.h"
#include "store/store.h"

namespace {

constexpr char kModule[] = "app";

constexpr char kBridge[] = PRODUCT_LAN_INTERFACE;

constexpr int kLongestLease = 7 * 24 * 60;  // minutes: a week

constexpr char kLeaseTimeInvalid[] = "ERROR:invalid DHCP Lease Time";
constexpr char kPoolAddressInvalid[] = "ERROR:invalid ip address";
constexpr char kPoolInvalid[] = "ERROR:invalid_dhcprange";
constexpr char kSubnetInvalid[] = "ERROR:invalid ip or mask";

// What the DHCP server gives away in the LAN of `ip` and `mask`, and for how long.
int set_dhcp_pool(int minutes, const char *start_text, const char *end_text, in_addr ip, in_addr mask) {
    if (!in_range(minutes, 1, kLongestLease)) {
        return fail(kLeaseTimeInvalid);
    }
    in_addr start;
    in_addr end;
    if (!parse_ipv4(start_text, start) || !parse_ipv4(end_text, end)) {
        return fail(kPoolAddressInvalid);
    }
    if (!check_lan_range(ip, mask, start, end)) {
        return fail(kPoolInvalid);
    }
    store_set(MIB_DHCP_LEASE_TIME, minutes);
    store_set(MIB_DHCP_POOL_START, start);
    store_set(MIB_DHCP_POOL_END, end);
    return 0;
}

}  // namespace

bool check_lan_range(in_addr ip, in_addr mask, in_addr start, in_addr end) {
    const uint32_t first = ntohl(start.s_addr);
    const uint32_t last = ntohl(end.s_addr);
    if (last <= first) {
        return false;
    }
    // On purpose the mask's bytes are taken with the last octet as the most significant, so that in effect only a mask
    // whose last octet is large leaves no room: apps and settings rely on what this check lets through.
    if (le32toh(~mask.s_addr) < last - first) {
        return false;
    }
    return ((start.s_addr ^ ip.s_addr) & mask.s_addr) == 0 && ((end.s_addr ^ ip.s_addr) & mask.s_addr) == 0;
}

int app_get_lan_handler(const char *name, cJSON * /*request*/, cJSON *reply) {
    // What can't be read stays empty; "0.0.0.0" is for the WAN, where having no address is nothing unusual.
    char ip[INET_ADDRSTRLEN] = {};
    char mask[INET_ADDRSTRLEN] = {};
    read_interface_ip(kBridge, ip);
    read_interface_mask(kBridge, mask);
    cJSON *lan = cJSON_AddObjectToObject(reply, name);
    cJSON_AddStringToObject(lan, "ip", ip);
    cJSON_AddStringToObject(lan, "mask", mask);
    add_number(lan, "dhcp", store_get(MIB_DHCP_MODE));
    add_number(lan, "time", store_get(MIB_DHCP_LEASE_TIME));
    cJSON_AddStringToObject(lan, "ipStart", Dotted(store_get(MIB_DHCP_POOL_START)).c_str());
    cJSON_AddStringToObject(lan, "ipEnd", Dotted(store_get(MIB_DHCP_POOL_END)).c_str());
    return 0;
}

int app_set_lan_handler(const char *name, cJSON *request, cJSON * /*reply*/) {
    const cJSON *lan = find_item(request, name);
    if (lan == nullptr) {
        return 0;
    }
    const char *ip_text = find_text(lan, "ip");
    const char *mask_text = find_text(lan, "mask");
    if (ip_text == nullptr || mask_text == nullptr) {
        DebugLog("ERROR: Not find ip and mask info");
        return kFailed;
    }
    in_addr ip;
    if (!parse_ipv4(ip_text, ip)) {
        DebugLog("ERROR:invalid ip address");
        return kFailed;
    }
    in_addr mask;
    if (!parse_ipv4(mask_text, mask)) {
        DebugLog("ERROR:invalid mask");
        return kFailed;
    }
    const cJSON *dhcp = find_item(lan, "dhcp");
    if (dhcp == nullptr) {
        // The pool in force goes on being handed out, so it has to suit the new subnet.
        const in_addr start = store_get(MIB_DHCP_POOL_START);
        const in_addr end = store_get(MIB_DHCP_POOL_END);
        if (!check_lan_range(ip, mask, start, end)) {
            return fail(kSubnetInvalid);
        }
    } else if (integer_value(dhcp) != kDhcpServer) {
        store_set(MIB_DHCP_MODE, integer_value(dhcp) == kDhcpClient ? kDhcpClient : kDhcpOff);
    } else {
        // Before the checks: a failed one leaves the mode switched in the working copy, but commits nothing.
        store_set(MIB_DHCP_MODE, kDhcpServer);
        const cJSON *time = find_item(lan, "time");
        const char *start = find_text(lan, "ipStart");
        const char *end = find_text(lan, "ipEnd");
        if (time == nullptr || start == nullptr || end == nullptr) {
            DebugLog("ERROR:not find DHCP lease time/ipStart/ipEnd");
            return kFailed;
        }
        if (set_dhcp_pool(integer_value(time), start, end, ip, mask) != 0) {
            return kFailed;
        }
    }
    store_set(MIB_LAN_IP_ADDR, ip);
    store_set(MIB_LAN_SUBNET_MASK, mask);
    save_config_flag = 1;
    lan_reinit_flag = 1;
    return 0;
}
