// SPDX-License-Identifier: MIT
// Every item of the configuration store that the program uses, by name, number and type, and so by width: a text's
// counts its terminator. What each means, platform/items.conf says; tests/structure/check_items compares the two.
#ifndef STORE_ITEMS_H
#define STORE_ITEMS_H

#include "platform/tables.h"
#include "store/item.h"

// Account and sessions.
constexpr TextItem<32> MIB_USER_NAME{182};
constexpr TextItem<65> MIB_USER_PASSWORD{183};

// Identity.
constexpr TextItem<32> MIB_DUT_SN{4200};
constexpr ByteItem MIB_DUT_INIT{4201};
constexpr TextItem<31> MIB_DUT_NAME{186};
constexpr Int32Item MIB_BOARD_VER{200};

// System settings.
constexpr TextItem<8> MIB_TIME_ZONE_INDEX{153};
constexpr SignedByteItem MIB_OP_MODE{192};
constexpr Int32Item MIB_APP_PORT{4230};
constexpr Int32Item MIB_APP_TICKTIME{4231};

// Scheduled reboot.
constexpr ByteItem MIB_SCHREBOOT_ENABLED{4210};
constexpr TextItem<7> MIB_SCHREBOOT_TIME{4211};
constexpr ByteItem MIB_SCHREBOOT_WEEK{4212};

// WAN, as it is in force.
constexpr SignedByteItem MIB_WAN_DHCP{104};
constexpr Int32Item MIB_WAN_DNS_MODE{105};
constexpr TextItem<129> MIB_PPP_USER_NAME{106};
constexpr TextItem<129> MIB_PPP_PASSWORD{107};
constexpr Int32Item MIB_PPP_MTU{144};
constexpr Int32Item MIB_FIXED_IP_MTU{157};
constexpr Int32Item MIB_DHCP_MTU{158};

// WAN, as the app wants it.
constexpr TextItem<16> MIB_SET_WAN_TYPE{17003};
constexpr TextItem<64> MIB_SET_WAN_IP{17006};
constexpr TextItem<64> MIB_SET_WAN_MASK{17007};
constexpr TextItem<64> MIB_SET_WAN_GATEWAY{17008};
constexpr TextItem<64> MIB_SET_WAN_DNS1{17009};
constexpr TextItem<64> MIB_SET_WAN_DNS2{17010};
constexpr TextItem<129> MIB_SET_PPP_USER_NAME{17012};
constexpr TextItem<129> MIB_SET_PPP_PASSWORD{17013};
constexpr Int32Item MIB_SET_WAN_DNS_MODE{17021};
constexpr Int32Item MIB_SET_WAN_TYPE20_FLAG{17022};

// LAN.
constexpr Ipv4Item MIB_LAN_IP_ADDR{170};
constexpr Ipv4Item MIB_LAN_SUBNET_MASK{171};
constexpr Int32Item MIB_DHCP_MODE{173};
constexpr int32_t kDhcpOff = 0;
constexpr int32_t kDhcpClient = 1;
constexpr int32_t kDhcpServer = 2;
constexpr Ipv4Item MIB_DHCP_POOL_START{174};
constexpr Ipv4Item MIB_DHCP_POOL_END{175};
constexpr Int32Item MIB_DHCP_LEASE_TIME{945};

// Wi-Fi. These are items of the interface that is selected (store/wlan.h).
constexpr TextItem<33> MIB_WLAN_SSID{1};
constexpr ByteItem MIB_WLAN_CHANNEL{2};
constexpr Int32Item MIB_WLAN_HIDDEN_SSID{21};
constexpr ByteItem MIB_WLAN_DISABLED{22};
constexpr Int32Item MIB_WLAN_SECURITY_MODE{25};
constexpr Int32Item MIB_WLAN_SECURITY_PARAM_28{28};
constexpr TextItem<65> MIB_WLAN_WPA_PSK{30};
constexpr Int32Item MIB_WLAN_SECURITY_PARAM_38{38};
constexpr Int32Item MIB_WLAN_ACL_MODE{52};
constexpr TableItem<AclEntry> MIB_WLAN_ACL_NUM{53};
constexpr Int32Item MIB_WLAN_ITEM_59{59};
constexpr Int32Item MIB_WLAN_REGION{204};
constexpr Int32Item MIB_WLAN_ITEM_270{270};
constexpr Int32Item MIB_WLAN_SECURITY_PARAM_272{272};
constexpr Int32Item MIB_WLAN_SECURITY_PARAM_274{274};
constexpr Int32Item MIB_WLAN_SECURITY_PARAM_275{275};
constexpr TextItem<65> MIB_WLAN_PSK_COPY{277};
constexpr Int32Item MIB_WLAN_CHANNEL_WIDTH{284};
constexpr Int32Item MIB_WLAN_ITEM_285{285};
constexpr Int32Item MIB_WLAN_MESH_ITEM_1250{1250};
constexpr Int32Item MIB_WLAN_MESH_ITEM_1251{1251};
constexpr Int32Item MIB_WLAN_MESH_BSS_TYPE{2388};

// Mesh.
constexpr Int32Item MIB_MESH_ROLE{2386};
constexpr int32_t kMeshOff = 0;
constexpr int32_t kMeshController = 1;
constexpr int32_t kMeshAgent = 2;
constexpr Int32Item MIB_MESH_ITEM_2387{2387};
constexpr TextItem<30> MIB_MESH_DEVICE_NAME{2389};
constexpr Int32Item MIB_MESH_BACKHAUL_5G{250};
constexpr Int32Item MIB_MESH_BACKHAUL_2G{252};

// Firewall.
constexpr Int32Item MIB_FIREWALL_FLAGS{229};
constexpr Int32Item MIB_SYN_FLOOD_THRESHOLD{230};
constexpr Int32Item MIB_FIN_FLOOD_THRESHOLD{231};
constexpr Int32Item MIB_UDP_FLOOD_THRESHOLD{232};
constexpr Int32Item MIB_ICMP_FLOOD_THRESHOLD{233};
constexpr Int32Item MIB_MACFILTER_ENABLED{122};
constexpr TableItem<MacFilterEntry> MIB_MACFILTER_TBL_NUM{123};

// Access schedules.
constexpr ByteItem MIB_SCHNETACC_ENABLED{4310};
constexpr TableItem<SchNetAccEntry> MIB_SCHNETACC_TBL_NUM{16101};

// URL filter.
constexpr Int32Item MIB_URLFILTER_ENABLED{239};
constexpr Int32Item MIB_URLFILTER_MODE{255};
constexpr TableItem<UrlFilterEntry> MIB_URLFILTER_TBL_NUM{240};

// Bandwidth rules.
constexpr Int32Item MIB_QOS_ENABLED{307};
constexpr TableItem<QosRuleEntry> MIB_QOS_RULE_TBL_NUM{310};
constexpr Int32Item MIB_VLAN_ENABLED{3413};

#endif
