// SPDX-License-Identifier: MIT
#include "bench/kinds.h"

#include <algorithm>

namespace {

std::string zeros(size_t bytes) {
    return std::string(2 * bytes, '0');
}

const char *const kCommit = "commit";
const char *const kRestart = "queue MSG_APP_REINIT";
const char *const kFirewall = R"(queue MSG_CALL_SYSCONF sysconfArgv="firewall")";
const char *const kRestartWifi = R"(queue MSG_CALL_SYSCONF sysconfArgv="init gw all")";

// What a mesh controller's set does, which is much: it makes every interface ready for Wi-Fi's setup by button, tells
// the wireless interfaces what they are in the mesh, and keeps the backhaul's name and key.
std::vector<std::string> mesh_steps() {
    std::vector<std::string> steps = {"get MIB_OP_MODE", R"(set MIB_MESH_DEVICE_NAME "Room {n}")"};
    for (const char *radio : {"0", "1"}) {
        for (const char *index : {"0", "1", "2", "3", "4", "5"}) {
            const std::string interface = std::string("@") + radio + "." + index;
            steps.push_back("set MIB_WLAN_MESH_ITEM_1250" + interface + " 1");
            steps.push_back("set MIB_WLAN_MESH_ITEM_1251" + interface + " 1");
        }
    }
    for (const char *step :
         {"set MIB_MESH_ROLE 1", "set MIB_DHCP_MODE 2", "set MIB_MESH_BACKHAUL_5G 0", "set MIB_MESH_BACKHAUL_2G 0",
          "set MIB_WLAN_DISABLED@0.5 1", "set MIB_WLAN_DISABLED@1.5 1", "set MIB_OP_MODE 0", "get MIB_WLAN_SSID@0.1",
          "get MIB_WLAN_WPA_PSK@0.1", "set MIB_WLAN_DISABLED@0.1 0", "set MIB_WLAN_SECURITY_MODE@0.1 4",
          "set MIB_WLAN_SECURITY_PARAM_28@0.1 2"}) {
        steps.push_back(step);
    }
    for (const char *interface : {"@0.0", "@0.1", "@0.2", "@0.3", "@0.4", "@1.0", "@1.1", "@1.2", "@1.3", "@1.4"}) {
        steps.push_back(std::string("get MIB_WLAN_DISABLED") + interface);
    }
    for (const char *interface : {"@0.0", "@0.1", "@0.2", "@1.0", "@1.2"}) {  // those that are on
        steps.push_back(std::string("set MIB_WLAN_MESH_BSS_TYPE") + interface + " 32");
    }
    for (const char *step :
         {"set MIB_WLAN_MESH_BSS_TYPE@0.5 0", "set MIB_WLAN_MESH_BSS_TYPE@1.5 0", "set MIB_WLAN_MESH_BSS_TYPE@0.1 64",
          "set MIB_WLAN_DISABLED@1.1 1", "set MIB_WLAN_MESH_BSS_TYPE@1.1 0", kCommit, kRestart}) {
        steps.push_back(step);
    }
    return steps;
}

// The tables are laid out by hand, because two lines a row read best:
// clang-format off

// What listing the clients of a home with radios must run.
const std::vector<std::string> kListing = {
    "run kill -SIGUSR1 {p}\n",
    "run flash get WLAN0_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null",
    "run flash get WLAN1_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null",
    "run flash get WLAN0_VA0_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null",
    "run flash get WLAN0_VA1_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null",
    "run flash get WLAN0_VA2_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null",
    "run flash get WLAN0_VA3_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null",
    "run flash get WLAN1_VA0_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null",
    "run flash get WLAN1_VA1_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null",
    "run flash get WLAN1_VA2_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null",
    "run flash get WLAN1_VA3_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null",
};

constexpr char kLanStatus[] = R"({"action":"get","sessionid":"{s}","lanStatus":{}})";

// A kind is a row here, and nothing else: name, body; expected, exit status, budget, steps, home.
//
// Some meet full tables (see fill_tables): 20 entries, or 10 rules. Their additions take an entry off first, which leaves
// one place. The last ones are asked in a home.
const std::vector<Kind> kMainKinds = {
    {"scan", R"({"action":"scan","guid":"{n}"})",
     R"("scanRsp")", 0, kGetBudget, {"get MIB_DUT_SN", "get MIB_DUT_NAME", "get MIB_BOARD_VER", "get MIB_DUT_INIT",
     "output run ifconfig br0"}},
    {"login", R"({"action":"login","guid":"{n}","info":{"user":"admin","pwd":"admin"}})",
     R"("login success")", 0, kGetBudget, {"get MIB_USER_NAME", "get MIB_USER_PASSWORD"}},
    {"get app", R"({"action":"get","sessionid":"{s}","guid":"{n}","app":{}})",
     R"("ticktime")", 0, kGetBudget, {"get MIB_APP_PORT", "get MIB_APP_TICKTIME"}},
    {"set app", R"({"action":"set","sessionid":"{s}","app":{"port":{n},"ticktime":{n}}})",
     R"("error":	0)", 0, kSetBudget, {"set MIB_APP_PORT {n}", "set MIB_APP_TICKTIME {n}", kCommit}},
    {"set timeZone", R"({"action":"set","sessionid":"{s}","timeZone":{"timeZoneIndex":"{n}"}})",
     R"("error":	0)", 0, kSetBudget, {R"(set MIB_TIME_ZONE_INDEX "{n}")", kCommit, kRestart}},
    {"refused", R"({"action":"get","sessionid":"not this one","guid":"{n}","app":{}})",
     R"("need login")", 255, kGetBudget, {}},
    {"logout", R"({"action":"set","sessionid":"{s}","logout":1})",
     R"("error":	0)", 0, kSetBudget, {"run rm /var/app_sessionid"}},
    {"ping", R"({"action":"get","sessionid":"{s}","netDig":{"ping":{"dst":"127.0.0.1"}}})",
     R"(0% packet loss)", 0, kGetBudget, {"output run ping -c 1 -W 3 127.0.0.1 2>&1"}},

    {"Sec full", R"({"action":"get","sessionid":"{s}","Sec":{}})",
     R"("020000000019")", 0, kTableBudget, {"get MIB_FIREWALL_FLAGS", "get MIB_MACFILTER_ENABLED",
     "entries MIB_MACFILTER_TBL_NUM"}},
    {"netAcc full", R"({"action":"get","sessionid":"{s}","netAcc":{}})",
     R"("020000000019")", 0, kTableBudget, {"get MIB_SCHNETACC_ENABLED", "entries MIB_SCHNETACC_TBL_NUM"}},
    {"url full", R"({"action":"get","sessionid":"{s}","urlfilter":{}})",
     R"("url20")", 0, kTableBudget, {"get MIB_URLFILTER_ENABLED", "get MIB_URLFILTER_MODE", "entries MIB_URLFILTER_TBL_NUM"}},
    {"qos full", R"({"action":"get","sessionid":"{s}","qos":{}})",
     R"("index":	10)", 0, kTableBudget, {"get MIB_QOS_ENABLED", "get MIB_VLAN_ENABLED", "get MIB_WAN_DHCP",
     "entries MIB_QOS_RULE_TBL_NUM"}},
    {"Sec add", R"({"action":"set","sessionid":"{s}","Sec":{"macFiltering":1,"delMaclist":["020000000019"],)"
                       R"("addMaclist":[["020000000019","","","1111111"]]}})",
     R"("error":	0)", 0, kSetBudget,
     {"entries MIB_MACFILTER_TBL_NUM", "replace MIB_MACFILTER_TBL_NUM 020000000019" + zeros(31) + "7f",
      "set MIB_MACFILTER_ENABLED 1", kFirewall, kCommit}},
    {"qos add", R"({"action":"set","sessionid":"{s}","qos":{"ipRuleMod":{"Act":"mod","index":10,)"
                       R"("ip":"192.168.1.190-192.168.1.199","ulimit":{n},"dlimit":{n}}}})",
     R"("error":	0)", 0, kSetBudget,
     {"entries MIB_QOS_RULE_TBL_NUM", "replace MIB_QOS_RULE_TBL_NUM " + zeros(16) + "01" + zeros(6) + "06" + zeros(3) +
      "c0a801bec0a801c7{l}{l}" + zeros(128) + "ffff" +
                  zeros(6) + "ffffff" + zeros(330), kCommit, "queue MSG_APP_SETQOS"}},

    {"wanStatus", R"({"action":"get","sessionid":"{s}","wanStatus":{"getInternetSta":1}})",
     R"("dSpeed":	"4096.00")", 0, kAskingBudget, {"get MIB_WAN_DHCP", "run killall -USR1 speedtest 2>/dev/null",
     "queue MSG_APP_START_SPEEDTEST"}, {1, false}},
    {"lan 1 wired", kLanStatus, R"("mac":	"020000000000")", 0, 1.8, {}, {1, false}},
    {"lan 256 wired", kLanStatus, R"("mac":	"0200000000FF")", 0, kHomeBudget, {}, {256, false}},
    {"lan 1", kLanStatus, R"("mac":	"020000000000")", 0, 2.0, kListing, {1, true}},
    {"lan 16", kLanStatus, R"("mac":	"02000000000F")", 0, 4.0, kListing, {16, true}},
    {"lan 64", kLanStatus, R"("mac":	"02000000003F")", 0, 10, kListing, {64, true}},
    {"lan 128", kLanStatus, R"("mac":	"02000000007F")", 0, 18.5, kListing, {128, true}},
    {"lan 256", kLanStatus, R"("mac":	"0200000000FF")", 0, kHomeBudget, kListing, {256, true}},
    {"mesh 256", R"({"action":"get","sessionid":"{s}","meshStatus":{}})",
     R"("0200000000FF")", 0, kHomeBudget, kListing, {256, true}},
};

// A row as above. The tables are still full, and the router is the controller of a mesh with one agent; see measure_all().
const std::vector<Kind> kObjectKinds = {
    {"get dutInfo", R"({"action":"get","sessionid":"{s}","dutInfo":{}})",
     R"("KT7094HZM")", 0, kGetBudget, {"get MIB_DUT_SN", "get MIB_DUT_NAME", "get MIB_BOARD_VER", "get MIB_DUT_INIT",
     "output run ifconfig br0"}},
    {"set dutInfo", R"({"action":"set","sessionid":"{s}","dutInfo":{"name":"Room {n}","init":1}})",
     R"("error":	0)", 0, kSetBudget, {R"(set MIB_DUT_NAME "Room {n}")", "set MIB_DUT_INIT 1", kCommit}},
    {"get wanInfo", R"({"action":"get","sessionid":"{s}","wanInfo":{}})",
     R"("ip":	"203.0.113.2")", 0, kAskingBudget, {"get MIB_WAN_DHCP", "get MIB_OP_MODE", "get MIB_WAN_DNS_MODE"}},
    {"set wanInfo", R"({"action":"set","sessionid":"{s}","wanInfo":{"type":"0","ip":"203.0.113.77","mask":"255.255.255.0",)"
                           R"("gateway":"203.0.113.1","dns1":"{n}"}})",
     R"("error":	0)", 0, kSetBudget,
     {R"(set MIB_SET_WAN_IP "203.0.113.77")", R"(set MIB_SET_WAN_MASK "255.255.255.0")",
      R"(set MIB_SET_WAN_GATEWAY "203.0.113.1")", R"(set MIB_SET_WAN_DNS1 "{n}")",
      "set MIB_SET_WAN_DNS_MODE 0", "set MIB_SET_WAN_TYPE20_FLAG 0", R"(set MIB_SET_WAN_TYPE "static")",
      kCommit, R"(queue MSG_CALL_SYSCONF sysconfArgv="initwan")"}},
    {"get wanAdvance", R"({"action":"get","sessionid":"{s}","wanAdvance":{}})",
     R"("mtu")", 0, kGetBudget, {"get MIB_WAN_DHCP", "get MIB_DHCP_MTU"}},
    {"set wanAdvance", R"({"action":"set","sessionid":"{s}","wanAdvance":{"mtu":{m}}})",
     R"("error":	0)", 0, kSetBudget, {"get MIB_WAN_DHCP", "set MIB_DHCP_MTU {m}", kCommit, kRestart}},
    {"get wifi", R"({"action":"get","sessionid":"{s}","wifi":{}})",
     R"("asSysPwd")", 0, kGetBudget, {"get MIB_WLAN_SSID@1.0", "get MIB_WLAN_WPA_PSK@1.0", "get MIB_WLAN_SSID@0.0",
     "get MIB_WLAN_WPA_PSK@0.0"}},
    {"set wifi", R"({"action":"set","sessionid":"{s}","wifi":{"combine":1,"ssid":"Home {n}","wifiPwd":"password{n}"}})",
     R"("error":	0)", 0, kSetBudget,
     {"get MIB_WLAN_SECURITY_MODE@1.0", "get MIB_WLAN_SECURITY_MODE@0.0", "get MIB_DUT_INIT",
      R"(set MIB_WLAN_WPA_PSK@1.0 "password{n}")", R"(set MIB_WLAN_SSID@1.0 "Home {n}")",
      R"(set MIB_WLAN_SSID@0.0 "Home {n}")",
      R"(set MIB_WLAN_WPA_PSK@0.0 "password{n}")", kCommit, kRestartWifi}},
    {"get wifiAdvance", R"({"action":"get","sessionid":"{s}","wifiAdvance":{"channel":0,"channel5":0,"channellst":0,)"
                               R"("channellst5":0,"disable":0,"disable5":0}})",
     R"("disable5":	0)", 0, kAskingBudget, {"get MIB_WLAN_CHANNEL@1.0", "get MIB_WLAN_REGION@1.0",
     "get MIB_WLAN_ITEM_285@1.0", "get MIB_WLAN_DISABLED@1.0", "get MIB_WLAN_CHANNEL@0.0", "get MIB_WLAN_REGION@0.0",
     "get MIB_WLAN_ITEM_285@0.0", "get MIB_WLAN_CHANNEL_WIDTH@0.0", "get MIB_WLAN_DISABLED@0.0"}},
    {"set wifiAdvance", R"({"action":"set","sessionid":"{s}","wifiAdvance":{"disable":0,"disable5":0,"channel":{c},"channel5":36}})",
     R"("error":	0)", 0, kSetBudget,
     {"set MIB_WLAN_DISABLED@1.0 0", "set MIB_WLAN_DISABLED@0.0 0", "set MIB_WLAN_CHANNEL@1.0 {c}",
      "set MIB_WLAN_CHANNEL@0.0 36", kCommit, kRestart}},
    {"get wifiguest", R"({"action":"get","sessionid":"{s}","wifiguest":{}})",
     R"("duration")", 0, kGetBudget, {"get MIB_WLAN_DISABLED@1.2", "get MIB_WLAN_SSID@1.2", "get MIB_WLAN_WPA_PSK@1.2",
     "get MIB_WLAN_SSID@0.2", "get MIB_WLAN_WPA_PSK@0.2"}},
    {"set wifiguest", R"({"action":"set","sessionid":"{s}","wifiguest":{"enable":1,"ssid":"Guests {n}","wifiPwd":"password{n}"}})",
     R"("error":	0)", 0, kSetBudget,
     {"get MIB_WLAN_SECURITY_MODE@1.2", "get MIB_WLAN_SECURITY_MODE@0.2", R"(set MIB_WLAN_WPA_PSK@1.2 "password{n}")",
      R"(set MIB_WLAN_SSID@1.2 "Guests {n}")", "set MIB_WLAN_DISABLED@1.2 0", "set MIB_WLAN_DISABLED@0.2 0",
      R"(set MIB_WLAN_SSID@0.2 "Guests {n}")", R"(set MIB_WLAN_WPA_PSK@0.2 "password{n}")", kCommit, kRestartWifi}},
    {"get wps", R"({"action":"get","sessionid":"{s}","wps":{}})",
     R"("status")", 0, kGetBudget, {}},
    {"set wps", R"({"action":"set","sessionid":"{s}","wps":{"wpsbutton":0}})",
     R"("error":	0)", 0, kSetBudget, {"run echo wlan1 > /tmp/wscd_cancel "}},
    {"get wifiAcc", R"({"action":"get","sessionid":"{s}","wifiAcc":{}})",
     R"("maclist")", 0, kGetBudget, {"get MIB_WLAN_ACL_MODE@0.0", "entries MIB_WLAN_ACL_NUM@0.0"}},
    {"set wifiAcc", R"({"action":"set","sessionid":"{s}","wifiAcc":{"mode":1,"addMaclist":[["020000000019","d{n}"]],)"
                           R"("delMaclist":["020000000019"]}})",
     R"("error":	0)", 0, kSetBudget,
     {"entries MIB_WLAN_ACL_NUM@0.0", "entries MIB_WLAN_ACL_NUM@1.0", "set MIB_WLAN_ACL_MODE@0.0 1",
      "set MIB_WLAN_ACL_MODE@1.0 1",
      "add MIB_WLAN_ACL_NUM@0.0 02000000001964{h}" + zeros(16), "add MIB_WLAN_ACL_NUM@1.0 02000000001964{h}" + zeros(16),
      "delete MIB_WLAN_ACL_NUM@0.0 02000000001964{h}" + zeros(16), "delete MIB_WLAN_ACL_NUM@1.0 02000000001964{h}" + zeros(16),
      kCommit, kRestart}},
    {"get lan", R"({"action":"get","sessionid":"{s}","lan":{}})",
     R"("ip":	"192.168.1.1")", 0, kAskingBudget, {"get MIB_DHCP_MODE", "get MIB_DHCP_LEASE_TIME", "get MIB_DHCP_POOL_START",
     "get MIB_DHCP_POOL_END"}},
    {"set lan", R"({"action":"set","sessionid":"{s}","lan":{"ip":"192.168.1.1","mask":"255.255.255.0","dhcp":2,"time":{n},)"
                       R"("ipStart":"192.168.1.50","ipEnd":"192.168.1.99"}})",
     R"("error":	0)", 0, kSetBudget,
     {"set MIB_DHCP_MODE 2", "set MIB_DHCP_LEASE_TIME {n}", "set MIB_DHCP_POOL_START 192.168.1.50",
      "set MIB_DHCP_POOL_END 192.168.1.99",
      "set MIB_LAN_IP_ADDR 192.168.1.1", "set MIB_LAN_SUBNET_MASK 255.255.255.0",
      kCommit, R"(queue MSG_CALL_SYSCONF sysconfArgv="initlan")"}},
    {"get sys", R"({"action":"get","sessionid":"{s}","sys":{}})",
     R"("led":	"allon")", 0, kGetBudget, {"get MIB_USER_NAME", "get MIB_USER_PASSWORD", "get MIB_SCHREBOOT_TIME",
     "get MIB_SCHREBOOT_ENABLED", "get MIB_SCHREBOOT_WEEK", "get MIB_TIME_ZONE_INDEX", "output run leds getenable",
     "run killall -0 fwupgtool 2>/dev/null"}},
    {"set sys", R"({"action":"set","sessionid":"{s}","sys":{"usr":"admin","pwd":"admin{n}","schReboot":{"enable":1,)"
                       R"("time":"03:30:00","week":"1111111"},"timezone":"{n}"}})",
     R"("error":	0)", 0, kSetBudget,
     {R"(set MIB_USER_NAME "admin")", R"(set MIB_USER_PASSWORD "admin{n}")", R"(set MIB_SCHREBOOT_TIME "033000")",
      "set MIB_SCHREBOOT_WEEK 127", "set MIB_SCHREBOOT_ENABLED 1",
      "queue MSG_APP_SCHREBOOT", R"(set MIB_TIME_ZONE_INDEX "{n}")", kCommit, kRestart}},
    {"set sys led", R"({"action":"set","sessionid":"{s}","sys":{"led":"allon"}})",
     R"("error":	0)", 0, kSetBudget,
     {"run leds enable",
      R"(run curl -d '{"action":"set","sys":{"led":"allon"}}' http://10.0.2.1/app/app.cgi >/dev/null 2>/dev/null &)"}},
    {"get mesh", R"({"action":"get","sessionid":"{s}","mesh":{}})",
     R"("backhaul")", 0, kGetBudget, {"get MIB_MESH_DEVICE_NAME", "get MIB_WLAN_DISABLED@0.5", "get MIB_WLAN_DISABLED@1.5"}},
    {"set mesh", R"({"action":"set","sessionid":"{s}","mesh":{"name":"Room {n}","role":1,"backhaul":0}})",
     R"("error":	0)", 0, kSetBudget, mesh_steps()},
    {"set Sec", R"({"action":"set","sessionid":"{s}","Sec":{"firewall":1,"udpflood":1}})",
     R"("error":	0)", 0, kSetBudget,
     {"get MIB_FIREWALL_FLAGS", "set MIB_SYN_FLOOD_THRESHOLD 1500", "set MIB_FIN_FLOOD_THRESHOLD 1500",
      "set MIB_UDP_FLOOD_THRESHOLD 1500", "set MIB_ICMP_FLOOD_THRESHOLD 1500", "set MIB_FIREWALL_FLAGS 31",
      kFirewall, kCommit}},
    {"set netAcc", R"({"action":"set","sessionid":"{s}","netAcc":{"enable":1,"addlist":[{"mac":"020000000019","TimeControl":1,)"
                          R"("stime":"08:00:00","etime":"22:30:00","week":"0111110","name":"t{n}"}]}})",
     R"("error":	0)", 0, kSetBudget,
     {"entries MIB_SCHNETACC_TBL_NUM", "replace MIB_SCHNETACC_TBL_NUM 010000003038303030302c323233303030003e74{h}" +
      zeros(45) + "30323030303030303030313900",
      "set MIB_SCHNETACC_ENABLED 1", kFirewall, kCommit}},
    {"set urlfilter", R"({"action":"set","sessionid":"{s}","urlfilter":{"enable":1,"mode":0,"addurl":"k{n}","delurl":"k{n}"}})",
     R"("error":	0)", 0, kSetBudget,
     {"entries MIB_URLFILTER_TBL_NUM", "set MIB_URLFILTER_ENABLED 1", "set MIB_URLFILTER_MODE 0",
      "add MIB_URLFILTER_TBL_NUM 6b{h}" + zeros(27), "delete MIB_URLFILTER_TBL_NUM 6b{h}" + zeros(27), kFirewall}},
    {"get all", R"({"action":"get","sessionid":"{s}","dutInfo":{},"wanInfo":{},"wanAdvance":{},"wifi":{},"wifiguest":{},)"
                      R"("wps":{},"opMode":{},"timeZone":{},"lan":{},"sys":{},"mesh":{},"app":{}})",
     R"("ticktime")", 0, kTableBudget,
     {"get MIB_DUT_SN", "get MIB_DUT_NAME", "get MIB_BOARD_VER", "get MIB_DUT_INIT", "get MIB_WAN_DHCP", "get MIB_OP_MODE",
      "get MIB_WAN_DNS_MODE", "get MIB_DHCP_MTU", "get MIB_WLAN_SSID@1.0", "get MIB_WLAN_WPA_PSK@1.0",
      "get MIB_WLAN_SSID@0.0", "get MIB_WLAN_WPA_PSK@0.0", "get MIB_WLAN_DISABLED@1.2", "get MIB_WLAN_SSID@1.2",
      "get MIB_WLAN_WPA_PSK@1.2", "get MIB_WLAN_SSID@0.2", "get MIB_WLAN_WPA_PSK@0.2", "get MIB_TIME_ZONE_INDEX",
      "get MIB_DHCP_MODE", "get MIB_DHCP_LEASE_TIME", "get MIB_DHCP_POOL_START", "get MIB_DHCP_POOL_END",
      "get MIB_USER_NAME", "get MIB_USER_PASSWORD", "get MIB_SCHREBOOT_TIME", "get MIB_SCHREBOOT_ENABLED",
      "get MIB_SCHREBOOT_WEEK", "get MIB_MESH_DEVICE_NAME", "get MIB_WLAN_DISABLED@0.5", "get MIB_WLAN_DISABLED@1.5",
      "get MIB_APP_PORT", "get MIB_APP_TICKTIME",
      "output run ifconfig br0", "output run leds getenable", "run killall -0 fwupgtool 2>/dev/null"}},
};

// What the contract says all of. A row by hand goes before the one of the same name.
const std::vector<Kind> kMadeKinds = {
#include "bench/made_kinds.inc"
};
// clang-format on

std::vector<Kind> with_made(std::vector<Kind> kinds) {
    for (const Kind &made : kMadeKinds) {
        const auto same = [&made](const Kind &kind) { return std::string(kind.name) == made.name; };
        if (std::none_of(kMainKinds.begin(), kMainKinds.end(), same) &&
            std::none_of(kinds.begin(), kinds.end(), same)) {
            kinds.push_back(made);
        }
    }
    return kinds;
}

}  // namespace

const std::vector<Kind> &main_kinds() {
    return kMainKinds;
}

const std::vector<Kind> &object_kinds() {
    static const std::vector<Kind> kinds = with_made(kObjectKinds);
    return kinds;
}
