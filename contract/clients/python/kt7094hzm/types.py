# SPDX-License-Identifier: MIT
"""What the router's objects look like. Made from the contract by contract/make: do not edit."""

# fmt: off
from __future__ import annotations

from typing import Any, Dict, List, Literal, Sequence, TypedDict, Union


class DutInfo(TypedDict):
    """What the device is, its name, and whether an app has set it up."""

    mac: str
    type: Literal["Mesh"]
    model: Literal["KT7094HZM"]
    sn: str
    name: str
    sVersion: str
    hVersion: str
    date: str
    init: Literal[0, 1]


class DutInfoSettings(TypedDict, total=False):
    """What a set of "dutInfo" takes."""

    name: str
    init: int


class _WanInfo(TypedDict):
    """The keys of WanInfo that are always there."""

    type: str
    dnsmode: int
    ip: str
    mask: str
    gateway: str
    dns1: str
    dns2: str


class WanInfo(_WanInfo, total=False):
    """How the router reaches the Internet: the type of connection, addresses, the account, name servers."""

    pppUsr: str
    pppPwd: str


class _WanInfoSettings(TypedDict):
    """The keys of WanInfoSettings that are always there."""

    type: Union[str, int]


class WanInfoSettings(_WanInfoSettings, total=False):
    """What a set of "wanInfo" takes."""

    dnsmode: int
    ip: str
    mask: str
    gateway: str
    dns1: str
    dns2: str
    pppUsr: str
    pppPwd: str


class WanAdvance(TypedDict):
    """The MTU of the connection. Each type of connection has one of its own; this is that of the type in force."""

    mtu: int


class WanAdvanceSettings(TypedDict, total=False):
    """What a set of "wanAdvance" takes."""

    mtu: int


class _WanStatus(TypedDict):
    """The keys of WanStatus that are always there."""

    status: Literal[1, 0, -1]
    uSpeed: str
    dSpeed: str
    upTime: int


class WanStatus(_WanStatus, total=False):
    """How the connection to the Internet is doing: link, speed, up-time. A get may also ask for reports to a server."""

    internetSta: int


class WanStatusRequest(TypedDict, total=False):
    """What a get of "wanStatus" may ask for."""

    getInternetSta: int
    reportToServer: int
    reportCount: int
    reportInterval: int


class Wifi(TypedDict):
    """Names and keys of the router's own two networks. Keys without a suffix mean 2.4 GHz, keys that end in "5" mean 5 GHz."""

    combine: Literal["1"]
    ssid: str
    wifiPwd: str
    ssid5: str
    wifiPwd5: str
    asSysPwd: Literal["0"]


class _WifiSettings(TypedDict):
    """The keys of WifiSettings that are always there."""

    combine: Union[str, int]


class WifiSettings(_WifiSettings, total=False):
    """What a set of "wifi" takes."""

    ssid: str
    wifiPwd: str
    ssid5: str
    wifiPwd5: str
    asSysPwd: str


class WifiAdvance(TypedDict, total=False):
    """Switches each radio on or off, sets its channel, and lists the channels that an app may offer."""

    channel: int
    channel5: int
    channellst: List[int]
    channellst5: List[int]
    disable: int
    disable5: int


class WifiAdvanceRequest(TypedDict, total=False):
    """What a get of "wifiAdvance" may ask for."""

    channel: Any
    channel5: Any
    channellst: Any
    channellst5: Any
    disable: Any
    disable5: Any


class WifiAdvanceSettings(TypedDict, total=False):
    """What a set of "wifiAdvance" takes."""

    disable: int
    disable5: int
    channel: int
    channel5: int


class Wifiguest(TypedDict):
    """The network for guests, on both radios. Keys without a suffix mean 2.4 GHz, keys that end in "5" mean 5 GHz."""

    enable: Literal[0, 1]
    ssid: str
    wifiPwd: str
    ssid5: str
    wifiPwd5: str
    duration: Literal[0]


class _WifiguestSettings(TypedDict):
    """The keys of WifiguestSettings that are always there."""

    enable: int


class WifiguestSettings(_WifiguestSettings, total=False):
    """What a set of "wifiguest" takes."""

    ssid: str
    wifiPwd: str
    ssid5: str
    wifiPwd5: str
    duration: int


class Wps(TypedDict):
    """Pairing by push button."""

    status: int


class WpsSettings(TypedDict):
    """What a set of "wps" takes."""

    wpsbutton: int


class WifiAcc(TypedDict):
    """Which devices may use the Wi-Fi: a mode, and a list of at most 20 MAC addresses, the same for both radios."""

    mode: int
    maclist: List[Sequence[str]]


class _WifiAccSettings(TypedDict):
    """The keys of WifiAccSettings that are always there."""

    mode: int


class WifiAccSettings(_WifiAccSettings, total=False):
    """What a set of "wifiAcc" takes."""

    addMaclist: Sequence[Sequence[str]]
    delMaclist: Sequence[str]


class OpMode(TypedDict):
    """The operating mode, as a number of the firmware."""

    opMode: str


class OpModeSettings(TypedDict):
    """What a set of "opMode" takes."""

    opMode: str


class TimeZone(TypedDict):
    """The time zone. "timezone" in "sys" is the same setting."""

    timeZoneIndex: str


class TimeZoneSettings(TypedDict):
    """What a set of "timeZone" takes."""

    timeZoneIndex: str


class Lan(TypedDict):
    """The router's address in the LAN, and its DHCP server."""

    ip: str
    mask: str
    dhcp: int
    time: int
    ipStart: str
    ipEnd: str


class _LanSettings(TypedDict):
    """The keys of LanSettings that are always there."""

    ip: str
    mask: str


class LanSettings(_LanSettings, total=False):
    """What a set of "lan" takes."""

    dhcp: int
    time: int
    ipStart: str
    ipEnd: str


class LanStatusDevlistEntry(TypedDict):
    """a device"""

    name: str
    ip: str
    mac: str
    conType: str
    rssi: int
    dlink: str
    ulink: str
    dspeed: int
    uspeed: int


class LanStatus(TypedDict):
    """The devices of the LAN: names, addresses, how they are connected, how fast."""

    devlist: List[LanStatusDevlistEntry]


LogoutSettings = Literal[1]

class SysSchReboot(TypedDict):
    """the scheduled reboot"""

    enable: int
    time: str
    week: str


class SysUpgrade(TypedDict):
    """the upgrade"""

    status: Literal[0, 1]
    error: Literal[0]
    down_precent: Literal[0]


class Sys(TypedDict):
    """The administrator's account, the up-time, the scheduled reboot, the LEDs, the time zone, and the commands reboot, factory settings and upgrade."""

    usr: str
    pwd: str
    upTime: int
    schReboot: SysSchReboot
    led: Literal["allon", "alloff"]
    timezone: str
    upgrade: SysUpgrade


class _SysSettingsSchReboot(TypedDict):
    """The keys of SysSettingsSchReboot that are always there."""

    enable: int


class SysSettingsSchReboot(_SysSettingsSchReboot, total=False):
    """the scheduled reboot"""

    time: str
    week: str


class SysSettings(TypedDict, total=False):
    """What a set of "sys" takes."""

    usr: str
    pwd: str
    led: str
    schReboot: SysSettingsSchReboot
    timezone: str
    reboot: int
    restore: int
    upgrade: int
    filePath: str
    newVersion: str
    md5: str


class Mesh(TypedDict):
    """The router's role in a mesh, the radio that joins it to the others (the backhaul), and its name there."""

    name: str
    role: int
    backhaul: Literal[0, 1]


class MeshSettings(TypedDict):
    """What a set of "mesh" takes."""

    name: str
    role: Literal[0, 1, 2]
    backhaul: Literal[0, 1]


class MeshStatusTopologyStation_infoEntry(TypedDict):
    """a station"""

    station_mac: str
    station_rssi: str
    station_connected_band: str
    station_downlink: str
    station_uplink: str


class MeshStatusTopology(TypedDict, total=False):
    """the document that the mesh daemon keeps. The router hands it on as it is, and adds the wired devices of "lanStatus" to its "station_info" """

    device_name: str
    mac_address: str
    ip_addr: str
    station_info: List[MeshStatusTopologyStation_infoEntry]
    child_devices: List["MeshStatusTopology"]


class MeshStatus(TypedDict):
    """The mesh: the router, its agents, and which device is where."""

    topology: MeshStatusTopology


class Sec(TypedDict):
    """The firewall, its protections against floods of packets, and the MAC filter: a list of at most 20 devices."""

    firewall: Literal[0, 1]
    icmpflood: Literal[0, 1]
    tcpsynflood: Literal[0, 1]
    tcpfinflood: Literal[0, 1]
    udpflood: Literal[0, 1]
    macFiltering: int
    maclist: List[Sequence[str]]


class SecSettings(TypedDict, total=False):
    """What a set of "Sec" takes."""

    firewall: int
    tcpsynflood: int
    tcpfinflood: int
    udpflood: int
    icmpflood: int
    macFiltering: int
    delMaclist: Sequence[str]
    addMaclist: Sequence[Sequence[str]]


class NetAccListEntry(TypedDict):
    """a device"""

    TimeControl: int
    sTime: str
    eTime: str
    name: str
    mac: str
    week: str


class NetAcc(TypedDict):
    """At which times a device may use the network: a list of devices with a span of a day and weekdays, and one switch for all."""

    enable: int
    list: List[NetAccListEntry]


class NetAccSettingsAddlistEntry(TypedDict, total=False):
    """a device"""

    mac: str
    TimeControl: int
    stime: str
    etime: str
    week: str
    name: str


class NetAccSettingsDellistEntry(TypedDict, total=False):
    """a device"""

    mac: str


class NetAccSettings(TypedDict, total=False):
    """What a set of "netAcc" takes."""

    enable: int
    addlist: Sequence[NetAccSettingsAddlistEntry]
    dellist: Sequence[NetAccSettingsDellistEntry]


class UrlfilterUrllist(TypedDict):
    """the lists; they are objects, not arrays"""

    black: Dict[str, str]
    white: Dict[str, str]


class Urlfilter(TypedDict):
    """Words in web addresses: a black list and a white list, of which one is in force."""

    enable: int
    mode: int
    urllist: UrlfilterUrllist


class _UrlfilterSettings(TypedDict):
    """The keys of UrlfilterSettings that are always there."""

    enable: int
    mode: int


class UrlfilterSettings(_UrlfilterSettings, total=False):
    """What a set of "urlfilter" takes."""

    addurl: str
    delurl: str
    delallurl: int


class NetDig(TypedDict, total=False):
    """A ping from the router."""

    ping: str


class _NetDigRequestPing(TypedDict):
    """The keys of NetDigRequestPing that are always there."""

    dst: str


class NetDigRequestPing(_NetDigRequestPing, total=False):
    """asks for a ping; without it the object of the reply is empty"""

    count: int


class NetDigRequest(TypedDict, total=False):
    """What a get of "netDig" may ask for."""

    ping: NetDigRequestPing


class App(TypedDict):
    """Two numbers that an app may keep on the router. The router does nothing with them."""

    port: int
    ticktime: int


class AppSettings(TypedDict, total=False):
    """What a set of "app" takes."""

    port: int
    ticktime: int


class QosIpRuleListEntry(TypedDict):
    """a rule"""

    ip: str
    ulimit: int
    dlimit: int
    index: int


class Qos(TypedDict):
    """Limits for the speed of devices: a switch, and at most 10 rules, each for a range of addresses."""

    enable: int
    ipRuleList: List[QosIpRuleListEntry]


class _QosSettingsIpRuleMod(TypedDict):
    """The keys of QosSettingsIpRuleMod that are always there."""

    Act: Literal["add", "del", "mod"]


class QosSettingsIpRuleMod(_QosSettingsIpRuleMod, total=False):
    """one change of one rule; without "Act" it does nothing"""

    index: int
    ip: str
    ulimit: int
    dlimit: int


class QosSettings(TypedDict, total=False):
    """What a set of "qos" takes."""

    enable: int
    ipRuleMod: QosSettingsIpRuleMod


class Objects(TypedDict, total=False):
    """The objects that can be read."""

    dutInfo: DutInfo
    wanInfo: WanInfo
    wanAdvance: WanAdvance
    wanStatus: WanStatus
    wifi: Wifi
    wifiAdvance: WifiAdvance
    wifiguest: Wifiguest
    wps: Wps
    wifiAcc: WifiAcc
    opMode: OpMode
    timeZone: TimeZone
    lan: Lan
    lanStatus: LanStatus
    sys: Sys
    mesh: Mesh
    meshStatus: MeshStatus
    Sec: Sec
    netAcc: NetAcc
    urlfilter: Urlfilter
    netDig: NetDig
    app: App
    qos: Qos


class Settings(TypedDict, total=False):
    """The objects that can be changed."""

    dutInfo: DutInfoSettings
    wanInfo: WanInfoSettings
    wanAdvance: WanAdvanceSettings
    wifi: WifiSettings
    wifiAdvance: WifiAdvanceSettings
    wifiguest: WifiguestSettings
    wps: WpsSettings
    wifiAcc: WifiAccSettings
    opMode: OpModeSettings
    timeZone: TimeZoneSettings
    lan: LanSettings
    logout: LogoutSettings
    sys: SysSettings
    mesh: MeshSettings
    Sec: SecSettings
    netAcc: NetAccSettings
    urlfilter: UrlfilterSettings
    app: AppSettings
    qos: QosSettings


# Why a request failed: by action, object and message; the object is "" where none refused.
CAUSES = {
    ("set", "dutInfo", ""): "\"name\" has 31 bytes or more",
    ("set", "wanInfo", ""): "\"type\" is missing; type 0 has an \"ip\" without a \"mask\"",
    ("set", "wanInfo", "ERROR: Not find ppp user or pwd info\n"): "type 3 without \"pppUsr\" or \"pppPwd\", or one is no string",
    ("set", "wanInfo", "ERROR: the pppUsr or pppPwd lenght should <129"): "one of them has 129 bytes or more",
    ("set", "wanAdvance", "ERROR: current mode not support set MTU"): "the connection is of another type; what \"wanInfo\" sets never leads here",
    ("set", "wanAdvance", "ERROR: the MTU size should in range 1400-1500"): "out of range with a static address",
    ("set", "wanAdvance", "ERROR: the MTU size should in range 1280-1500"): "out of range with DHCP",
    ("set", "wanAdvance", "ERROR: the MTU size should in range 1360-1492"): "out of range with PPPoE",
    ("get", "wanStatus", "ERROR: send MSG_APP_START_SPEEDTEST fail"): "the sampler does not run, and the system daemon can't be told",
    ("get", "wanStatus", "ERROR: reportCount out of range(1~1000)"): "\"reportCount\" is there and not 1 to 1000, also without \"reportToServer\"",
    ("get", "wanStatus", "ERROR: reportInterval out of range(2~30 s)"): "the same for \"reportInterval\" and 2 to 30",
    ("get", "wanStatus", "ERROR: send MSG_APP_REPORTOSERVER_WANSTA fail"): "the system daemon can't be told of the report",
    ("set", "wifi", "ERROR: Not find combine type info\n"): "\"combine\" is missing",
    ("set", "wifi", "ERROR:SSID len is null or too long\n"): "\"ssid\" is empty or has more than 32 bytes",
    ("set", "wifi", "ERROR:password len is too short or too long\n"): "\"wifiPwd\", together with \"ssid\", has less than 8 or more than 64 bytes",
    ("set", "wifiAdvance", "ERROR: Not find combine type info\n"): "any value out of its limits. The text is that of another object on purpose",
    ("set", "wifiguest", ""): "\"enable\" is missing",
    ("set", "wifiguest", "ERROR: No ssid5 string format error"): "\"ssid5\" is no string",
    ("set", "wifiguest", "ERROR:SSID len is too long\n"): "\"ssid5\" is empty or has more than 32 bytes; \"ssid\" is empty or has more than 32 bytes",
    ("set", "wifiguest", "ERROR:password len is too short or too long"): "\"wifiPwd5\" has less than 8 or more than 64 bytes, or is no string; \"wifiPwd\", together with \"ssid\", has less than 8 or more than 64 bytes",
    ("set", "wifiguest", "ERROR: No ssid or wifiPwd string"): "\"ssid\" without \"wifiPwd\", or one of them is no string",
    ("get", "wps", ""): "the pairing daemon has reported nothing; the \"wps\" object is empty",
    ("set", "wps", ""): "\"wpsbutton\" is missing",
    ("get", "wifiAcc", "(get_entry_number FAIL)"): "the router can't read its list",
    ("get", "wifiAcc", ""): "it can't read one of the entries; the reply has those before it",
    ("set", "wifiAcc", "ERROR: Not find enable info\n"): "\"mode\" is missing",
    ("set", "wifiAcc", "(wlactrl_get_entry_number)"): "the router can't read its list, for an addition",
    ("set", "wifiAcc", "Error:mac item number is >20"): "the list would have more than 20 devices",
    ("set", "wifiAcc", "ERROR:MAC format error!"): "a MAC address is not a string of 12 hexadecimal digits",
    ("set", "wifiAcc", "ERROR: comment length too long"): "a comment has more than 20 bytes",
    ("set", "wifiAcc", "Error:mac exist"): "a device to be added is in the list already",
    ("set", "wifiAcc", "Error:add_table_entry_error"): "the router can't change its list, for an addition",
    ("set", "wifiAcc", "ERROR:delMaclist format error!"): "an element of \"delMaclist\" is null",
    ("set", "wifiAcc", "ERROR:get_entry_number_error"): "the router can't read its list, for a deletion",
    ("set", "wifiAcc", "ERROR:delete_table_entry_error"): "the router can't change its list, for a deletion",
    ("set", "opMode", ""): "\"opMode\" is missing or no string; a JSON number is refused, too",
    ("set", "timeZone", ""): "\"timeZoneIndex\" is missing or no string",
    ("set", "timeZone", "ERROR: timezone index length is too short/long"): "it has less than 3 or more than 7 bytes",
    ("set", "lan", ""): "\"ip\" or \"mask\" is missing or no string; \"ip\" or \"mask\" is no address; \"dhcp\" is 2 and \"time\", \"ipStart\" or \"ipEnd\" is missing",
    ("set", "lan", "ERROR:invalid DHCP Lease Time"): "\"time\" is not 1 to 10080",
    ("set", "lan", "ERROR:invalid ip address"): "\"ipStart\" or \"ipEnd\" is no address",
    ("set", "lan", "ERROR:invalid_dhcprange"): "the end is not above the start, one of both is not in the network, or the mask leaves no room for them",
    ("set", "lan", "ERROR:invalid ip or mask"): "\"dhcp\" is missing, and the pool that is stored does not fit the new network",
    ("set", "logout", ""): "the value is not the number 1; the session goes on",
    ("get", "sys", "ERROR: system function call error"): "the up-time can't be read",
    ("set", "sys", "ERROR: username or passwd length is too long"): "\"usr\" or \"pwd\" has more than 30 bytes",
    ("set", "sys", "ERROR: not find schReboot.enable item"): "\"schReboot\" without \"enable\"",
    ("set", "sys", "ERROR: schReboot.enable value error"): "\"enable\" is neither 0 nor 1",
    ("set", "sys", "ERROR: schReboot.time or schReboot.week format error"): "\"time\" has not 8 characters, or \"week\" not 7",
    ("set", "sys", "ERROR: not find schReboot.time or schReboot.week item"): "\"enable\" is 1, and one of them is missing",
    ("set", "sys", "ERROR: send MSG_APP_SCHREBOOT fail"): "the schedule is stored, but the router could not be told",
    ("set", "sys", "ERROR: timezone index length is too short/long"): "\"timezone\" has less than 3 or more than 7 bytes",
    ("set", "sys", "ERROR: send MSG_REBOOT fail"): "the router could not be told to reboot",
    ("set", "sys", "ERROR: send MSG_RESET fail"): "the router could not be told to restore its settings; the router could not be told to upgrade. The text is that of a restore on purpose",
    ("set", "sys", "ERROR: not find fwpath_info or fwver_info or fwmd5_info"): "\"upgrade\" without \"filePath\", \"newVersion\" or \"md5\"",
    ("set", "sys", "ERROR: the filePath lenght should <128"): "\"filePath\" has 128 bytes or more",
    ("set", "sys", "ERROR: the URL format erro or not support"): "\"filePath\" begins with none of the three schemes",
    ("set", "sys", "ERROR: MD5 string lenght should be 32"): "\"md5\" has not 32 characters",
    ("set", "mesh", "ERROR: not find mesh.role or mesh.name or backhaul item"): "a key is missing, or \"name\" is no string",
    ("set", "mesh", "ERROR: DEVICE_NAME length is too long"): "\"name\" has 30 bytes or more",
    ("set", "mesh", "ERROR: mesh.role or mesh.backhaul value invalied"): "\"role\" is not 0 to 2, or \"backhaul\" is not 0 or 1",
    ("get", "meshStatus", "ERROR:open topology_json file fail"): "there is no topology, as on a router without mesh",
    ("get", "meshStatus", "ERROR:Parse topology_json file fail"): "its first line is no JSON document",
    ("set", "Sec", "ERROR: firewall value is invalied"): "\"firewall\" is neither 0 nor 1",
    ("set", "Sec", "ERROR:delMaclist format error!"): "an element of \"delMaclist\" is null",
    ("set", "Sec", "ERROR:MAC format error!"): "a MAC address is not a string of 12 hexadecimal digits",
    ("set", "Sec", "ERROR:get_entry_number_error"): "the router can't read its list, for a deletion",
    ("set", "Sec", "ERROR:delete_table_entry_error"): "the router can't change its list, for a deletion",
    ("set", "Sec", "get_entry_number FAIL"): "the router can't read its list, for an addition",
    ("set", "Sec", "Error:mac item number >20"): "the list would have more than 20 devices",
    ("set", "Sec", "ERROR:MAC is repeated!"): "an address stands twice in \"addMaclist\", with the same case",
    ("set", "Sec", "ERROR: comment length too long"): "a comment has more than 20 bytes",
    ("set", "Sec", "ERROR: TIME length too long"): "a time has more than 9 bytes",
    ("set", "Sec", "ERROR: week format error"): "weekdays are not 7 characters",
    ("set", "Sec", "Error:mac exist"): "a device to be added is in the list already",
    ("set", "Sec", "Error:add_table_entry_error"): "the router can't change its list, for an addition",
    ("set", "Sec", "ERROR: send MSG_CALL_SYSCONF fail"): "everything is stored, but the firewall could not be told",
    ("set", "netAcc", "get_entry_number FAIL"): "the router can't read its list",
    ("set", "netAcc", "ERROR:MAC format error!"): "\"mac\" is not a string of 12 characters. Whether they are hexadecimal digits is not checked",
    ("set", "netAcc", "ERROR: not find schNetAcc.time or schNetAcc.week item"): "\"TimeControl\" is not 0, and \"stime\", \"etime\", \"week\" or \"name\" is missing",
    ("set", "netAcc", "ERROR: time string lenght wrong"): "\"stime\" or \"etime\" has not 8 characters",
    ("set", "netAcc", "ERROR: week format error"): "\"week\" has not 7 characters",
    ("set", "netAcc", "ERROR: name format error"): "\"name\" is empty or has more than 49 bytes",
    ("set", "netAcc", "ERROR:delMaclist format error!"): "an element of \"dellist\" is null; a device of \"dellist\" is not in the list",
    ("set", "netAcc", ""): "the router can't delete a device",
    ("set", "netAcc", "ERROR: send MSG_CALL_SYSCONF fail"): "everything is stored, but the firewall could not be told",
    ("set", "urlfilter", ""): "\"enable\" or \"mode\" is missing; the router can't store a switch; a word has more than 30 bytes; the router can't add a word, as a rule because its lists are full; the word to delete is not in the list of this mode, or the router can't delete it; the router can't empty its list",
    ("set", "urlfilter", "ERROR: send MSG_CALL_SYSCONF fail"): "everything is stored, but the firewall could not be told",
    ("get", "netDig", "ERROR: not find netDig Object"): "the request does not name \"netDig\"",
    ("get", "netDig", "ERROR: not find dst for ping"): "\"dst\" is missing or no string",
    ("get", "netDig", "ERROR: dst is too short or too long"): "\"dst\" has less than 3 or more than 63 bytes",
    ("get", "netDig", ""): "the command could not be started",
    ("set", "app", "ERROR: port value is invalied"): "\"port\" is negative or above 65535",
    ("set", "app", "ERROR: ticktime value is invalied"): "\"ticktime\" is negative or above 65535",
    ("set", "qos", "ERROR: the Act value is invalied"): "\"Act\" is no string, or none of the three",
    ("set", "qos", "ERROR: not find index item"): "\"index\" is missing",
    ("set", "qos", "ERROR: index value not validate"): "\"index\" is not 1 to 10; there is no rule of this \"index\"",
    ("set", "qos", "ERROR: del rule FAIL"): "the router can't read or delete the rule",
    ("set", "qos", "ERROR: not find ip item"): "\"ip\" is missing or no string",
    ("set", "qos", "ERROR: not find ulimit or dlimit item"): "both are missing",
    ("set", "qos", "ERROR: add rule FAIL"): "\"ip\" has no \"-\" or a part of a wrong length; the router can't read or change its rules",
    ("set", "qos", "ERROR: the rule Numbers should < 10"): "there are 10 rules already",
    ("set", "qos", "ERROR: the ip is conflict"): "a rule has some of the addresses",
    ("set", "qos", "ERROR: send MSG_APP_SETQOS fail"): "everything is stored and committed, but the shaping could not be told",
    ("login", "", "need login"): "a request other than \"scan\" and \"login\" without the session id in force",
    ("login", "", "login fail"): "name or password is wrong, missing or no string",
    ("set", "wanStatus", "ERROR:not support set"): "a set of an object that can only be read",
    ("set", "lanStatus", "ERROR:not support set"): "a set of an object that can only be read",
    ("set", "meshStatus", "ERROR:not support set"): "a set of an object that can only be read",
    ("set", "netDig", "ERROR:not support set"): "a set of an object that can only be read",
    ("get", "", ""): "no object was named that the router knows",
    ("set", "", ""): "no object was named that the router knows",
}

# All objects, in the order in which the router handles them.
ORDER = ["dutInfo", "wanInfo", "wanAdvance", "wanStatus", "wifi", "wifiAdvance", "wifiguest", "wps", "wifiAcc", "opMode", "timeZone", "lan", "lanStatus", "logout", "sys", "mesh", "meshStatus", "Sec", "netAcc", "urlfilter", "netDig", "app", "qos"]
