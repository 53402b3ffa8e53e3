// SPDX-License-Identifier: MIT
// What one product has otherwise than another: how it calls itself, and where its firmware keeps what the endpoint
// reads and writes. Each is a build option of the same name, such as `cmake -DPRODUCT_MODEL=AX3000`; the texts below
// are what is meant without it. CMake reads them here, a line of "#define" each (cmake/Product.cmake).
#ifndef PLATFORM_PRODUCT_H
#define PLATFORM_PRODUCT_H

// --- How the router calls itself -------------------------------------------------------------------------------------
#ifndef PRODUCT_MODEL
#define PRODUCT_MODEL "KT7094HZM"  // "model" of dutInfo
#endif
#ifndef PRODUCT_DEVICE_TYPE
#define PRODUCT_DEVICE_TYPE "Mesh"  // "type" of dutInfo
#endif
#ifndef PRODUCT_SOFTWARE_VERSION
#define PRODUCT_SOFTWARE_VERSION "1.0.0(515)"  // "sVersion" of dutInfo: the firmware's version
#endif
#ifndef PRODUCT_ADMINISTRATOR
#define PRODUCT_ADMINISTRATOR "admin"  // account that gets a password where the store has no name
#endif

// --- Network interfaces ----------------------------------------------------------------------------------------------
#ifndef PRODUCT_LAN_INTERFACE
#define PRODUCT_LAN_INTERFACE "br0"  // bridge of the LAN
#endif
#ifndef PRODUCT_WAN_INTERFACE
#define PRODUCT_WAN_INTERFACE "eth1"  // WAN without PPP
#endif
#ifndef PRODUCT_PPP_INTERFACE
#define PRODUCT_PPP_INTERFACE "ppp0"  // WAN over PPP
#endif

// --- Files -----------------------------------------------------------------------------------------------------------
#ifndef PRODUCT_CONSOLE
#define PRODUCT_CONSOLE "/dev/console"  // debug log
#endif
#ifndef PRODUCT_DEBUG_SWITCH
#define PRODUCT_DEBUG_SWITCH "/var/appdebug"  // turns the debug log on
#endif
#ifndef PRODUCT_SESSION
#define PRODUCT_SESSION "/var/app_sessionid"  // the one session
#endif
#ifndef PRODUCT_FIRMWARE_INFO
#define PRODUCT_FIRMWARE_INFO "/etc/fwInfo.file"  // when the firmware was built
#endif
#ifndef PRODUCT_TOPOLOGY
#define PRODUCT_TOPOLOGY "/tmp/topology_json"  // the mesh
#endif
#ifndef PRODUCT_DHCP_SERVER
#define PRODUCT_DHCP_SERVER "/var/run/udhcpd.pid"  // process of the DHCP server
#endif
#ifndef PRODUCT_LEASES
#define PRODUCT_LEASES "/var/lib/misc/udhcpd.leases"  // leases of the DHCP server
#endif
#ifndef PRODUCT_SWITCH_ARP
#define PRODUCT_SWITCH_ARP "/proc/rtl865x/arp"  // which device is at which port of the switch
#endif
#ifndef PRODUCT_SWITCH_PORTS
#define PRODUCT_SWITCH_PORTS "/proc/rtl865x/port_status"  // links and speeds of the switch's ports
#endif
#ifndef PRODUCT_TRAFFIC
#define PRODUCT_TRAFFIC "/var/terminal_rate_info"  // present rates of the devices
#endif
#ifndef PRODUCT_WAN_SPEED
#define PRODUCT_WAN_SPEED "/tmp/speed/wanspeed"  // present rates of the WAN
#endif
#ifndef PRODUCT_INTERNET
#define PRODUCT_INTERNET "/tmp/internet"  // whether the Internet was reached
#endif
#ifndef PRODUCT_PPP_LINK
#define PRODUCT_PPP_LINK "/etc/ppp/link"  // there while a PPPoE session is up
#endif
#ifndef PRODUCT_PPP_START
#define PRODUCT_PPP_START "/var/ppp/startTime"  // since when it is
#endif
#ifndef PRODUCT_WAN_START
#define PRODUCT_WAN_START "/var/wan_uptime"  // since when the WAN is up without PPPoE
#endif
#ifndef PRODUCT_WPS_STATUS
#define PRODUCT_WPS_STATUS "/tmp/wscd_status"  // how far WPS has come
#endif
#ifndef PRODUCT_WPS_BUTTON
#define PRODUCT_WPS_BUTTON "/tmp/virtual_push_button"  // written to start WPS in a mesh
#endif
#ifndef PRODUCT_WPS_CANCEL
#define PRODUCT_WPS_CANCEL "/tmp/wscd_cancel"  // written to end WPS
#endif

#endif
