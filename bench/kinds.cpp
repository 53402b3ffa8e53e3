#include "bench/kinds.h"

namespace {

std::string zeros(size_t bytes) {
    return std::string(2 * bytes, '0');
}

const Step kCommit = {"commit", "4"};
const Step kRestart = {"message", "4="};
const Step kFirewall = {"message", "10=firewall"};

// What a mesh controller's set stores, which is much. The backhaul's key and name stay.
std::vector<Step> mesh_writes() {
    std::vector<Step> steps = {
        {"text", "2389=Room {n}"}
    };
    for (const char *radio : {"0.", "1."}) {
        for (const char *index : {"0", "1", "2", "3", "4", "5"}) {
            steps.insert(steps.end(),
                         {
                             {"wlan",   std::string(radio) + index},
                             {"number", "1250=1"                  },
                             {"number", "1251=1"                  }
            });
        }
    }
    steps.insert(steps.end(), {
                                  {"number", "2386=1"},
                                  {"number", "173=2" },
                                  {"number", "250=0" },
                                  {"number", "252=0" },
                                  {"wlan",   "0.5"   },
                                  {"number", "22=1"  },
                                  {"wlan",   "1.5"   },
                                  {"number", "22=1"  },
                                  {"number", "192=0" },
                                  {"wlan",   "0.1"   },
                                  {"number", "22=0"  },
                                  {"number", "25=4"  },
                                  {"number", "28=2"  }
    });
    for (const char *interface : {"0.0", "0.1", "0.2", "1.0", "1.2"}) {  // those that are on
        steps.insert(steps.end(), {
                                      {"wlan",   interface},
                                      {"number", "2388=32"}
        });
    }
    steps.insert(steps.end(), {
                                  {"wlan",   "0.5"    },
                                  {"number", "2388=0" },
                                  {"wlan",   "1.5"    },
                                  {"number", "2388=0" },
                                  {"wlan",   "0.1"    },
                                  {"number", "2388=64"},
                                  {"wlan",   "1.1"    },
                                  {"number", "22=1"   },
                                  {"number", "2388=0" },
                                  kCommit,
                                  kRestart
    });
    return steps;
}

// The tables are laid out by hand, because two lines a row read best:
// clang-format off

// What listing the clients of a home with radios must run.
const std::vector<Step> kListing = {
    {"system", "kill -SIGUSR1 {p}\n"},
    {"system", "flash get WLAN0_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null"},
    {"system", "flash get WLAN1_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null"},
    {"system", "flash get WLAN0_VA0_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null"},
    {"system", "flash get WLAN0_VA1_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null"},
    {"system", "flash get WLAN0_VA2_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null"},
    {"system", "flash get WLAN0_VA3_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null"},
    {"system", "flash get WLAN1_VA0_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null"},
    {"system", "flash get WLAN1_VA1_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null"},
    {"system", "flash get WLAN1_VA2_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null"},
    {"system", "flash get WLAN1_VA3_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null"},
};

constexpr char kLanStatus[] = R"({"action":"get","sessionid":"{s}","lanStatus":{}})";

// A kind is a row here, and nothing else: name, shell, body; expected, exit status, budget, steps, home.
//
// Some meet full tables (see fill_tables): 20 entries, or 10 rules. Their additions take an entry off first, which leaves
// one place. The last ones are asked in a home.
const std::vector<Kind> kMainKinds = {
    {"scan", true, R"({"action":"scan","guid":"{n}"})",
     R"("scanRsp")", 0, kInstructionBudget, {{"popen", "ifconfig br0"}}},
    {"login", false, R"({"action":"login","guid":"{n}","info":{"user":"admin","pwd":"admin"}})",
     R"("login success")", 0, kInstructionBudget, {}},
    {"get app", false, R"({"action":"get","sessionid":"{s}","guid":"{n}","app":{}})",
     R"("ticktime")", 0, kInstructionBudget, {}},
    {"set app", false, R"({"action":"set","sessionid":"{s}","app":{"port":{n},"ticktime":{n}}})",
     R"("error":	0)", 0, kInstructionBudget, {{"number", "4230={n}"}, {"number", "4231={n}"}, kCommit}},
    {"set timeZone", false, R"({"action":"set","sessionid":"{s}","timeZone":{"timeZoneIndex":"{n}"}})",
     R"("error":	0)", 0, kInstructionBudget, {{"text", "153={n}"}, kCommit, kRestart}},
    {"refused", false, R"({"action":"get","sessionid":"not this one","guid":"{n}","app":{}})",
     R"("need login")", 255, kInstructionBudget, {}},
    {"logout", true, R"({"action":"set","sessionid":"{s}","logout":1})",
     R"("error":	0)", 0, kInstructionBudget, {{"system", "rm /var/app_sessionid"}}},
    {"ping", true, R"({"action":"get","sessionid":"{s}","netDig":{"ping":{"dst":"127.0.0.1"}}})",
     R"(0% packet loss)", 0, kInstructionBudget, {{"popen", "ping -c 1 -W 3 127.0.0.1 2>&1"}}},

    {"Sec full", false, R"({"action":"get","sessionid":"{s}","Sec":{}})",
     R"("020000000019")", 0, kTableBudget, {}},
    {"netAcc full", false, R"({"action":"get","sessionid":"{s}","netAcc":{}})",
     R"("020000000019")", 0, kTableBudget, {}},
    {"url full", false, R"({"action":"get","sessionid":"{s}","urlfilter":{}})",
     R"("url20")", 0, kTableBudget, {}},
    {"qos full", false, R"({"action":"get","sessionid":"{s}","qos":{}})",
     R"("index":	10)", 0, kTableBudget, {}},
    {"Sec add", false, R"({"action":"set","sessionid":"{s}","Sec":{"macFiltering":1,"delMaclist":["020000000019"],)"
                       R"("addMaclist":[["020000000019","","","1111111"]]}})",
     R"("error":	0)", 0, kInstructionBudget,
     {{"replace", "123=020000000019" + zeros(31) + "7f"}, {"number", "122=1"}, kFirewall, kCommit}},
    {"qos add", false, R"({"action":"set","sessionid":"{s}","qos":{"ipRuleMod":{"Act":"mod","index":10,)"
                       R"("ip":"192.168.1.190-192.168.1.199","ulimit":{n},"dlimit":{n}}}})",
     R"("error":	0)", 0, kInstructionBudget,
     {{"replace", "310=" + zeros(16) + "01" + zeros(6) + "06" + zeros(3) + "c0a801bec0a801c7{l}{l}" + zeros(128) + "ffff" +
                  zeros(6) + "ffffff" + zeros(330)}, kCommit, {"message", "7="}}},

    {"wanStatus", true, R"({"action":"get","sessionid":"{s}","wanStatus":{"getInternetSta":1}})",
     R"("dSpeed":	"4096.00")", 0, kInstructionBudget, {{"system", "killall -USR1 speedtest 2>/dev/null"}}, {1, false}},
    {"lan 1 wired", false, kLanStatus, R"("mac":	"020000000000")", 0, 2.0, {}, {1, false}},
    {"lan 256 wired", false, kLanStatus, R"("mac":	"0200000000FF")", 0, kHomeBudget, {}, {256, false}},
    {"lan 1", true, kLanStatus, R"("mac":	"020000000000")", 0, 2.2, kListing, {1, true}},
    {"lan 16", true, kLanStatus, R"("mac":	"02000000000F")", 0, 4.4, kListing, {16, true}},
    {"lan 64", true, kLanStatus, R"("mac":	"02000000003F")", 0, 11, kListing, {64, true}},
    {"lan 128", true, kLanStatus, R"("mac":	"02000000007F")", 0, 21, kListing, {128, true}},
    {"lan 256", true, kLanStatus, R"("mac":	"0200000000FF")", 0, kHomeBudget, kListing, {256, true}},
    {"mesh 256", true, R"({"action":"get","sessionid":"{s}","meshStatus":{}})",
     R"("0200000000FF")", 0, kHomeBudget, kListing, {256, true}},
};

// A row as above. The tables are still full, and the router is the controller of a mesh with one agent; see measure_all().
const std::vector<Kind> kObjectKinds = {
    {"get dutInfo", true, R"({"action":"get","sessionid":"{s}","dutInfo":{}})",
     R"("KT7094HZM")", 0, kInstructionBudget, {{"popen", "ifconfig br0"}}},
    {"set dutInfo", false, R"({"action":"set","sessionid":"{s}","dutInfo":{"name":"Room {n}","init":1}})",
     R"("error":	0)", 0, kInstructionBudget, {{"text", "186=Room {n}"}, {"number", "4201=1"}, kCommit}},
    {"get wanInfo", false, R"({"action":"get","sessionid":"{s}","wanInfo":{}})",
     R"("ip":	"203.0.113.2")", 0, kInstructionBudget, {}},
    {"set wanInfo", false, R"({"action":"set","sessionid":"{s}","wanInfo":{"type":"0","ip":"203.0.113.77","mask":"255.255.255.0",)"
                           R"("gateway":"203.0.113.1","dns1":"{n}"}})",
     R"("error":	0)", 0, kInstructionBudget,
     {{"text", "17006=203.0.113.77"}, {"text", "17007=255.255.255.0"}, {"text", "17008=203.0.113.1"}, {"text", "17009={n}"},
      {"number", "17021=0"}, {"number", "17022=0"}, {"text", "17003=static"}, kCommit, {"message", "10=initwan"}}},
    {"get wanAdvance", false, R"({"action":"get","sessionid":"{s}","wanAdvance":{}})",
     R"("mtu")", 0, kInstructionBudget, {}},
    {"set wanAdvance", false, R"({"action":"set","sessionid":"{s}","wanAdvance":{"mtu":{m}}})",
     R"("error":	0)", 0, kInstructionBudget, {{"number", "158={m}"}, kCommit, kRestart}},
    {"get wifi", false, R"({"action":"get","sessionid":"{s}","wifi":{}})",
     R"("asSysPwd")", 0, kInstructionBudget, {}},
    {"set wifi", false, R"({"action":"set","sessionid":"{s}","wifi":{"combine":1,"ssid":"Home {n}","wifiPwd":"password{n}"}})",
     R"("error":	0)", 0, kInstructionBudget,
     {{"wlan", "1.0"}, {"text", "30=password{n}"}, {"text", "1=Home {n}"}, {"wlan", "0.0"}, {"text", "1=Home {n}"},
      {"text", "30=password{n}"}, kCommit, {"message", "10=init gw all"}}},
    {"get wifiAdvance", false, R"({"action":"get","sessionid":"{s}","wifiAdvance":{"channel":0,"channel5":0,"channellst":0,)"
                               R"("channellst5":0,"disable":0,"disable5":0}})",
     R"("disable5":	0)", 0, kInstructionBudget, {}},
    {"set wifiAdvance", false, R"({"action":"set","sessionid":"{s}","wifiAdvance":{"disable":0,"disable5":0,"channel":{n},"channel5":36}})",
     R"("error":	0)", 0, kInstructionBudget,
     {{"wlan", "1.0"}, {"number", "22=0"}, {"wlan", "0.0"}, {"number", "22=0"}, {"wlan", "1.0"}, {"number", "2={n}"},
      {"wlan", "0.0"}, {"number", "2=36"}, kCommit, kRestart}},
    {"get wifiguest", false, R"({"action":"get","sessionid":"{s}","wifiguest":{}})",
     R"("duration")", 0, kInstructionBudget, {}},
    {"set wifiguest", false, R"({"action":"set","sessionid":"{s}","wifiguest":{"enable":1,"ssid":"Guests {n}","wifiPwd":"password{n}"}})",
     R"("error":	0)", 0, kInstructionBudget,
     {{"wlan", "1.2"}, {"text", "30=password{n}"}, {"text", "1=Guests {n}"}, {"number", "22=0"}, {"wlan", "0.2"}, {"number", "22=0"},
      {"text", "1=Guests {n}"}, {"text", "30=password{n}"}, kCommit, {"message", "10=init gw all"}}},
    {"get wps", false, R"({"action":"get","sessionid":"{s}","wps":{}})",
     R"("status")", 0, kInstructionBudget, {}},
    {"set wps", true, R"({"action":"set","sessionid":"{s}","wps":{"wpsbutton":0}})",
     R"("error":	0)", 0, kInstructionBudget, {{"system", "echo wlan1 > /tmp/wscd_cancel "}}},
    {"get wifiAcc", false, R"({"action":"get","sessionid":"{s}","wifiAcc":{}})",
     R"("maclist")", 0, kInstructionBudget, {}},
    {"set wifiAcc", false, R"({"action":"set","sessionid":"{s}","wifiAcc":{"mode":1,"addMaclist":[["020000000019","d{n}"]],)"
                           R"("delMaclist":["020000000019"]}})",
     R"("error":	0)", 0, kInstructionBudget,
     {{"wlan", "0.0"}, {"number", "52=1"}, {"wlan", "1.0"}, {"number", "52=1"},
      {"wlan", "0.0"}, {"add", "53=02000000001964{h}" + zeros(16)}, {"wlan", "1.0"}, {"add", "53=02000000001964{h}" + zeros(16)},
      {"wlan", "0.0"}, {"remove", "53=02000000001964{h}" + zeros(16)}, {"wlan", "1.0"}, {"remove", "53=02000000001964{h}" + zeros(16)},
      kCommit, kRestart}},
    {"get opMode", false, R"({"action":"get","sessionid":"{s}","opMode":{}})",
     R"("opMode")", 0, kInstructionBudget, {}},
    {"set opMode", false, R"({"action":"set","sessionid":"{s}","opMode":{"opMode":"{b}"}})",
     R"("error":	0)", 0, kInstructionBudget, {{"number", "192={b}"}, kCommit, kRestart}},
    {"get timeZone", false, R"({"action":"get","sessionid":"{s}","timeZone":{}})",
     R"("timeZoneIndex")", 0, kInstructionBudget, {}},
    {"get lan", false, R"({"action":"get","sessionid":"{s}","lan":{}})",
     R"("ip":	"192.168.1.1")", 0, kInstructionBudget, {}},
    {"set lan", false, R"({"action":"set","sessionid":"{s}","lan":{"ip":"192.168.1.1","mask":"255.255.255.0","dhcp":2,"time":{n},)"
                       R"("ipStart":"192.168.1.50","ipEnd":"192.168.1.99"}})",
     R"("error":	0)", 0, kInstructionBudget,
     {{"number", "173=2"}, {"number", "945={n}"}, {"address", "174=192.168.1.50"}, {"address", "175=192.168.1.99"},
      {"address", "170=192.168.1.1"}, {"address", "171=255.255.255.0"}, kCommit, {"message", "10=initlan"}}},
    {"get sys", true, R"({"action":"get","sessionid":"{s}","sys":{}})",
     R"("led":	"allon")", 0, kInstructionBudget, {{"popen", "leds getenable"}, {"system", "killall -0 fwupgtool 2>/dev/null"}}},
    {"set sys", false, R"({"action":"set","sessionid":"{s}","sys":{"usr":"admin","pwd":"admin{n}","schReboot":{"enable":1,)"
                       R"("time":"03:30:00","week":"1111111"},"timezone":"{n}"}})",
     R"("error":	0)", 0, kInstructionBudget,
     {{"text", "182=admin"}, {"text", "183=admin{n}"}, {"text", "4211=033000"}, {"number", "4212=127"}, {"number", "4210=1"},
      {"message", "5="}, {"text", "153={n}"}, kCommit, kRestart}},
    {"set sys led", true, R"({"action":"set","sessionid":"{s}","sys":{"led":"allon"}})",
     R"("error":	0)", 0, kInstructionBudget,
     {{"system", "leds enable"},
      {"system", R"(curl -d '{"action":"set","sys":{"led":"allon"}}' http://10.0.2.1/app/app.cgi >/dev/null 2>/dev/null &)"}}},
    {"get mesh", false, R"({"action":"get","sessionid":"{s}","mesh":{}})",
     R"("backhaul")", 0, kInstructionBudget, {}},
    {"set mesh", false, R"({"action":"set","sessionid":"{s}","mesh":{"name":"Room {n}","role":1,"backhaul":0}})",
     R"("error":	0)", 0, kMeshBudget, mesh_writes()},
    {"set Sec", false, R"({"action":"set","sessionid":"{s}","Sec":{"firewall":1,"udpflood":1}})",
     R"("error":	0)", 0, kInstructionBudget,
     {{"number", "230=1500"}, {"number", "231=1500"}, {"number", "232=1500"}, {"number", "233=1500"}, {"number", "229=31"},
      kFirewall, kCommit}},
    {"set netAcc", false, R"({"action":"set","sessionid":"{s}","netAcc":{"enable":1,"addlist":[{"mac":"020000000019","TimeControl":1,)"
                          R"("stime":"08:00:00","etime":"22:30:00","week":"0111110","name":"t{n}"}]}})",
     R"("error":	0)", 0, kInstructionBudget,
     {{"replace", "16101=010000003038303030302c323233303030003e74{h}" + zeros(45) + "30323030303030303030313900"},
      {"number", "4310=1"}, kFirewall, kCommit}},
    {"set urlfilter", false, R"({"action":"set","sessionid":"{s}","urlfilter":{"enable":1,"mode":0,"addurl":"k{n}","delurl":"k{n}"}})",
     R"("error":	0)", 0, kInstructionBudget,
     {{"number", "239=1"}, {"number", "255=0"}, {"add", "240=6b{h}" + zeros(27)}, {"remove", "240=6b{h}" + zeros(27)}, kFirewall}},
    {"get all", true, R"({"action":"get","sessionid":"{s}","dutInfo":{},"wanInfo":{},"wanAdvance":{},"wifi":{},"wifiguest":{},)"
                      R"("wps":{},"opMode":{},"timeZone":{},"lan":{},"sys":{},"mesh":{},"app":{}})",
     R"("ticktime")", 0, kTableBudget,
     {{"popen", "ifconfig br0"}, {"popen", "leds getenable"}, {"system", "killall -0 fwupgtool 2>/dev/null"}}},
};
// clang-format on

}  // namespace

const std::vector<Kind> &main_kinds() {
    return kMainKinds;
}

const std::vector<Kind> &object_kinds() {
    return kObjectKinds;
}
