// Every item of the configuration store that the program uses: number, width and meaning, declared once.
// A text's width counts its terminator. The numbers are the firmware's: do not renumber.
#ifndef STORE_ITEMS_H
#define STORE_ITEMS_H

#include "store/item.h"
#include "store/records.h"

// Account and sessions. The password may be a Wi-Fi key of up to 64 characters.
constexpr TextItem<32> MIB_USER_NAME{182};
constexpr TextItem<65> MIB_USER_PASSWORD{183};

// Identity.
constexpr TextItem<32> MIB_DUT_SN{4200};   // serial number
constexpr ByteItem MIB_DUT_INIT{4201};     // 1: the app has completed the initial setup
constexpr TextItem<31> MIB_DUT_NAME{186};  // name that the user sees
constexpr Int32Item MIB_BOARD_VER{200};    // hardware version

// System settings.
constexpr TextItem<8> MIB_TIME_ZONE_INDEX{153};  // as the app names it, 3 to 7 characters
constexpr SignedByteItem MIB_OP_MODE{192};       // operating mode; what the numbers mean is the firmware's affair
constexpr Int32Item MIB_APP_PORT{4230};          // 0 to 65535, kept for the app
constexpr Int32Item MIB_APP_TICKTIME{4231};      // 0 to 65535, kept for the app

// Scheduled reboot.
constexpr ByteItem MIB_SCHREBOOT_ENABLED{4210};  // 0 or 1
constexpr TextItem<7> MIB_SCHREBOOT_TIME{4211};  // time of day as HHMMSS
constexpr ByteItem MIB_SCHREBOOT_WEEK{4212};     // mask of weekdays, 7 bits

// WAN, as it is in force.
constexpr SignedByteItem MIB_WAN_DHCP{104};  // connection type: 0 static, 1 DHCP, 3 PPPoE, others of the firmware's
constexpr Int32Item MIB_WAN_DNS_MODE{105};   // 0: servers from the provider; else set by hand
constexpr TextItem<129> MIB_PPP_USER_NAME{106};
constexpr TextItem<129> MIB_PPP_PASSWORD{107};
constexpr Int32Item MIB_PPP_MTU{144};
constexpr Int32Item MIB_FIXED_IP_MTU{157};
constexpr Int32Item MIB_DHCP_MTU{158};

// WAN, as the app wants it. The firmware makes these the settings in force when the WAN restarts. The addresses are the
// request's own texts.
constexpr TextItem<16> MIB_SET_WAN_TYPE{17003};  // "static", "dhcp" or "pppoe"
constexpr TextItem<64> MIB_SET_WAN_IP{17006};
constexpr TextItem<64> MIB_SET_WAN_MASK{17007};
constexpr TextItem<64> MIB_SET_WAN_GATEWAY{17008};
constexpr TextItem<64> MIB_SET_WAN_DNS1{17009};
constexpr TextItem<64> MIB_SET_WAN_DNS2{17010};
constexpr TextItem<129> MIB_SET_PPP_USER_NAME{17012};
constexpr TextItem<129> MIB_SET_PPP_PASSWORD{17013};
constexpr Int32Item MIB_SET_WAN_DNS_MODE{17021};     // 0 or 1
constexpr Int32Item MIB_SET_WAN_TYPE20_FLAG{17022};  // 1: the wanted type is 20

// LAN.
constexpr Ipv4Item MIB_LAN_IP_ADDR{170};
constexpr Ipv4Item MIB_LAN_SUBNET_MASK{171};
constexpr Int32Item MIB_DHCP_MODE{173};  // 0 off, 1 client, 2 server
constexpr Ipv4Item MIB_DHCP_POOL_START{174};
constexpr Ipv4Item MIB_DHCP_POOL_END{175};
constexpr Int32Item MIB_DHCP_LEASE_TIME{945};  // minutes, 1 to 10080

// Wi-Fi. These are items of the interface that is selected (store/wlan.h).
constexpr TextItem<33> MIB_WLAN_SSID{1};
constexpr ByteItem MIB_WLAN_CHANNEL{2};          // 0: automatic
constexpr Int32Item MIB_WLAN_HIDDEN_SSID{21};    // 1: the name is not broadcast
constexpr ByteItem MIB_WLAN_DISABLED{22};        // 1: the interface is switched off
constexpr Int32Item MIB_WLAN_SECURITY_MODE{25};  // 0 open, 4 WPA2
constexpr Int32Item MIB_WLAN_SECURITY_PARAM_28{28};
constexpr TextItem<65> MIB_WLAN_WPA_PSK{30};  // pre-shared key
constexpr Int32Item MIB_WLAN_SECURITY_PARAM_38{38};
constexpr Int32Item MIB_WLAN_ACL_MODE{52};  // 0 no filter; 1 and 2 filter
constexpr TableItem<AclEntry> MIB_WLAN_ACL_NUM{53};
constexpr Int32Item MIB_WLAN_ITEM_59{59};
constexpr Int32Item MIB_WLAN_REGION{204};  // regulatory region, 1 to 17
constexpr Int32Item MIB_WLAN_ITEM_270{270};
constexpr Int32Item MIB_WLAN_SECURITY_PARAM_272{272};
constexpr Int32Item MIB_WLAN_SECURITY_PARAM_274{274};
constexpr Int32Item MIB_WLAN_SECURITY_PARAM_275{275};
constexpr TextItem<65> MIB_WLAN_PSK_COPY{277};    // second copy of the pre-shared key
constexpr Int32Item MIB_WLAN_CHANNEL_WIDTH{284};  // 0: 20 MHz, 1: 40 MHz, 2: 80 MHz
constexpr Int32Item MIB_WLAN_ITEM_285{285};
constexpr Int32Item MIB_WLAN_MESH_ITEM_1250{1250};
constexpr Int32Item MIB_WLAN_MESH_ITEM_1251{1251};
constexpr Int32Item MIB_WLAN_MESH_BSS_TYPE{2388};  // bits: 128 backhaul station, 64 backhaul BSS, 32 fronthaul BSS

// Mesh.
constexpr Int32Item MIB_MESH_ROLE{2386};
constexpr int32_t kMeshOff = 0;
constexpr int32_t kMeshController = 1;
constexpr int32_t kMeshAgent = 2;  // obeys its default gateway, which is its controller
constexpr Int32Item MIB_MESH_ITEM_2387{2387};
constexpr TextItem<30> MIB_MESH_DEVICE_NAME{2389};
constexpr Int32Item MIB_MESH_BACKHAUL_5G{250};  // 1: an agent's backhaul runs on that band
constexpr Int32Item MIB_MESH_BACKHAUL_2G{252};

// Firewall. A threshold is in a unit of the firewall's.
constexpr Int32Item MIB_FIREWALL_FLAGS{229};  // bit 0 on; bits 1 to 4 SYN, FIN, UDP, ICMP flood protection
constexpr Int32Item MIB_SYN_FLOOD_THRESHOLD{230};
constexpr Int32Item MIB_FIN_FLOOD_THRESHOLD{231};
constexpr Int32Item MIB_UDP_FLOOD_THRESHOLD{232};
constexpr Int32Item MIB_ICMP_FLOOD_THRESHOLD{233};
constexpr Int32Item MIB_MACFILTER_ENABLED{122};  // 0 or 1
constexpr TableItem<MacFilterEntry> MIB_MACFILTER_TBL_NUM{123};

// Access schedules.
constexpr ByteItem MIB_SCHNETACC_ENABLED{4310};  // 0 or 1
constexpr TableItem<SchNetAccEntry> MIB_SCHNETACC_TBL_NUM{16101};

// URL filter.
constexpr Int32Item MIB_URLFILTER_ENABLED{239};  // 0 or 1
constexpr Int32Item MIB_URLFILTER_MODE{255};     // the list in force: 0 black, 1 white
constexpr TableItem<UrlFilterEntry> MIB_URLFILTER_TBL_NUM{240};

// Bandwidth rules.
constexpr Int32Item MIB_QOS_ENABLED{307};  // 0 or 1
constexpr TableItem<QosRuleEntry> MIB_QOS_RULE_TBL_NUM{310};
constexpr Int32Item MIB_VLAN_ENABLED{3413};  // VLANs on the router's ports: 0 or 1

#endif
