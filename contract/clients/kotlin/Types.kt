// SPDX-License-Identifier: MIT
// What the router's objects look like. Made from the contract by contract/make: do not edit.
// A key that need not be there is null by default; a value that may be a text or a number is Any.
package kt7094hzm

/** What the device is, its name, and whether an app has set it up. */
data class DutInfo(
    /** MAC address of the LAN, 12 digits in the case that ifconfig prints; empty if it can't be read */
    val mac: String,
    /** kind of device */
    val type: String,
    /** model */
    val model: String,
    /** serial number, always in lower case */
    val sn: String,
    /** the name that the user gave the device */
    val name: String,
    /** firmware version */
    val sVersion: String,
    /** hardware version */
    val hVersion: String,
    /** always empty here; "scan" gives the build date of the firmware */
    val date: String,
    /** whether an app has set the device up */
    val init: Long
)

/** What a set of "dutInfo" takes. */
data class DutInfoSettings(
    /** the name that the user gives the device */
    val name: String? = null,
    /** 0 is stored as 0, anything else as 1 */
    val init: Long? = null
)

/** How the router reaches the Internet: the type of connection, addresses, the account, name servers. */
data class WanInfo(
    /** type of the connection in force */
    val type: String,
    /** account in plain text */
    val pppUsr: String? = null,
    /** its password in plain text */
    val pppPwd: String? = null,
    /** 0: the provider names the name servers; else they are set by hand */
    val dnsmode: Long,
    /** the WAN's address now; "0.0.0.0" if it has none */
    val ip: String,
    /** its network mask; "0.0.0.0" if it has none */
    val mask: String,
    /** the default gateway now; "255.255.255.255" if there is none */
    val gateway: String,
    /** the first name server in use; "0.0.0.0" if it is missing */
    val dns1: String,
    /** the second name server in use; "0.0.0.0" if it is missing */
    val dns2: String
)

/** What a set of "wanInfo" takes. */
data class WanInfoSettings(
    /** the wanted type */
    val type: Any,
    /** 0: servers of the provider; else those given here */
    val dnsmode: Long? = null,
    /** address; type 0 only; not checked */
    val ip: String? = null,
    /** network mask; type 0 only; not checked */
    val mask: String? = null,
    /** type 0 only, and only together with "ip"; not checked */
    val gateway: String? = null,
    /** with type 0, or with a "dnsmode" other than 0; not checked */
    val dns1: String? = null,
    /** with type 0, or with a "dnsmode" other than 0; not checked */
    val dns2: String? = null,
    /** account */
    val pppUsr: String? = null,
    /** its password */
    val pppPwd: String? = null
)

/** The MTU of the connection. Each type of connection has one of its own; this is that of the type in force. */
data class WanAdvance(
    /** the MTU; 0 if the type has none. Unit: bytes */
    val mtu: Long
)

/** What a set of "wanAdvance" takes. */
data class WanAdvanceSettings(
    /** the MTU of the type in force; without it the set succeeds and does nothing. Unit: bytes */
    val mtu: Long? = null
)

/** How the connection to the Internet is doing: link, speed, up-time. A get may also ask for reports to a server. */
data class WanStatus(
    /** whether the Internet can be reached, as the router last found out: 1 yes, 0 no or not known */
    val internetSta: Long? = null,
    /** the link of the WAN port */
    val status: Long,
    /** what goes up now, with two decimals. Unit: kbit/s of 1024 bits */
    val uSpeed: String,
    /** what comes down now, with two decimals. Unit: kbit/s of 1024 bits */
    val dSpeed: String,
    /** since the connection came up. Unit: seconds */
    val upTime: Long
)

/** What a get of "wanStatus" may ask for. */
data class WanStatusRequest(
    /** 1 asks for "internetSta"; anything else does not */
    val getInternetSta: Long? = null,
    /** 1 asks for reports; anything else does not */
    val reportToServer: Long? = null,
    /** how many reports */
    val reportCount: Long? = null,
    /** the time between two reports. Unit: seconds */
    val reportInterval: Long? = null
)

/** Names and keys of the router's own two networks. Keys without a suffix mean 2.4 GHz, keys that end in "5" mean 5 GHz. */
data class Wifi(
    /** always "1": an order to a set, which nothing keeps */
    val combine: String,
    /** name of the network of 2.4 GHz */
    val ssid: String,
    /** its key, in plain text */
    val wifiPwd: String,
    /** name of the network of 5 GHz */
    val ssid5: String,
    /** its key, in plain text */
    val wifiPwd5: String,
    /** always "0": an order to a set, which nothing keeps */
    val asSysPwd: String
)

/** What a set of "wifi" takes. */
data class WifiSettings(
    /** 1: 5 GHz gets name and key of 2.4 GHz; anything else: it has its own */
    val combine: Any,
    /** name of the network of 2.4 GHz */
    val ssid: String? = null,
    /** its key; 2.4 GHz gets it only together with "ssid" */
    val wifiPwd: String? = null,
    /** name of the network of 5 GHz; ignored with "combine" 1 */
    val ssid5: String? = null,
    /** its key; counts only together with "ssid5"; ignored with "combine" 1 */
    val wifiPwd5: String? = null,
    /** "1": "wifiPwd" becomes the administrator's password as well. The number 1 does nothing */
    val asSysPwd: String? = null
)

/** Switches each radio on or off, sets its channel, and lists the channels that an app may offer. */
data class WifiAdvance(
    /** the channel of 2.4 GHz; 0 is automatic */
    val channel: Long? = null,
    /** the channel of 5 GHz; 0 is automatic */
    val channel5: Long? = null,
    /** the channels of 2.4 GHz in the router's region, behind a leading 0 */
    val channellst: List<Long>? = null,
    /** the channels of 5 GHz in its region that fit the channel width, behind a leading 0 */
    val channellst5: List<Long>? = null,
    /** 1 if the radio of 2.4 GHz is off */
    val disable: Long? = null,
    /** 1 if the radio of 5 GHz is off */
    val disable5: Long? = null
)

/** What a get of "wifiAdvance" may ask for. */
data class WifiAdvanceRequest(
    /** asks for the key of this name; its value does not matter */
    val channel: Any? = null,
    /** asks for the key of this name; its value does not matter */
    val channel5: Any? = null,
    /** asks for the key of this name; its value does not matter */
    val channellst: Any? = null,
    /** asks for the key of this name; its value does not matter */
    val channellst5: Any? = null,
    /** asks for the key of this name; its value does not matter */
    val disable: Any? = null,
    /** asks for the key of this name; its value does not matter */
    val disable5: Any? = null
)

/** What a set of "wifiAdvance" takes. */
data class WifiAdvanceSettings(
    /** 1 switches the radio of 2.4 GHz off */
    val disable: Long? = null,
    /** 1 switches the radio of 5 GHz off */
    val disable5: Long? = null,
    /** channel of 2.4 GHz, 0 is automatic; not compared with the list */
    val channel: Long? = null,
    /** channel of 5 GHz, 0 is automatic; not compared with the list */
    val channel5: Long? = null
)

/** The network for guests, on both radios. Keys without a suffix mean 2.4 GHz, keys that end in "5" mean 5 GHz. */
data class Wifiguest(
    /** whether the guest network of 2.4 GHz is on */
    val enable: Long,
    /** name of the network of 2.4 GHz */
    val ssid: String,
    /** its key, in plain text; empty if it has none */
    val wifiPwd: String,
    /** name of the network of 5 GHz */
    val ssid5: String,
    /** its key, in plain text; empty if it has none */
    val wifiPwd5: String,
    /** always 0 */
    val duration: Long
)

/** What a set of "wifiguest" takes. */
data class WifiguestSettings(
    /** 0 switches both radios' guest networks off, anything else on */
    val enable: Long,
    /** name of the network of 2.4 GHz; needs "wifiPwd" */
    val ssid: String? = null,
    /** its key; without "ssid" only 5 GHz gets it, and one that breaks the limit is passed over */
    val wifiPwd: String? = null,
    /** name of the network of 5 GHz */
    val ssid5: String? = null,
    /** its key */
    val wifiPwd5: String? = null,
    /** not read */
    val duration: Long? = null
)

/** Pairing by push button. */
data class Wps(
    /** the state as the pairing daemon reports it */
    val status: Long
)

/** What a set of "wps" takes. */
data class WpsSettings(
    /** the button */
    val wpsbutton: Long
)

/** Which devices may use the Wi-Fi: a mode, and a list of at most 20 MAC addresses, the same for both radios. */
data class WifiAcc(
    /** 0: no filter; 1 and 2: the two ways to filter */
    val mode: Long,
    /** the devices */
    val maclist: List<List<String>>
)

/** What a set of "wifiAcc" takes. */
data class WifiAccSettings(
    /** the mode */
    val mode: Long,
    /** devices to add; the limit is that of the list with them */
    val addMaclist: List<List<String>>? = null,
    /** devices to delete; one that is not in the list is no error */
    val delMaclist: List<String>? = null
)

/** The operating mode, as a number of the firmware. */
data class OpMode(
    /** the number in decimal */
    val opMode: String
)

/** What a set of "opMode" takes. */
data class OpModeSettings(
    /** the number in decimal; others belong to the firmware and are not refused */
    val opMode: String
)

/** The time zone. "timezone" in "sys" is the same setting. */
data class TimeZone(
    /** the zone's name in the firmware's list */
    val timeZoneIndex: String
)

/** What a set of "timeZone" takes. */
data class TimeZoneSettings(
    /** the zone's name in the firmware's list; which names there are is not checked */
    val timeZoneIndex: String
)

/** The router's address in the LAN, and its DHCP server. */
data class Lan(
    /** the LAN's address now; empty if it has none */
    val ip: String,
    /** its network mask; empty if it has none */
    val mask: String,
    /** what the router does about DHCP */
    val dhcp: Long,
    /** how long a lease lasts. Unit: minutes */
    val time: Long,
    /** first address that the server gives away */
    val ipStart: String,
    /** last address that the server gives away */
    val ipEnd: String
)

/** What a set of "lan" takes. */
data class LanSettings(
    /** the router's address; short forms are taken */
    val ip: String,
    /** the network mask; it may have holes */
    val mask: String,
    /** what the router does about DHCP */
    val dhcp: Long? = null,
    /** how long a lease lasts; ignored unless "dhcp" is 2. Unit: minutes */
    val time: Long? = null,
    /** first address to give away, in the network of "ip" and "mask"; ignored unless "dhcp" is 2 */
    val ipStart: String? = null,
    /** last address, above the first and in the same network; ignored unless "dhcp" is 2 */
    val ipEnd: String? = null
)

/** a device */
data class LanStatusDevlistEntry(
    /** its host name; empty if it has none */
    val name: String,
    /** its IPv4 address */
    val ip: String,
    /** its MAC address */
    val mac: String,
    /** how it is connected; for a station of an agent the text of the mesh */
    val conType: String,
    /** signal strength, a figure of the driver and not dBm; 0 unless the device is on a radio */
    val rssi: Long,
    /** what its link can carry towards the device. Unit: Mb/s; for wired devices with its unit, such as "1000M" */
    val dlink: String,
    /** what its link can carry from the device. Unit: as "dlink" */
    val ulink: String,
    /** what it receives now, rounded down. Unit: 1024 bytes per second */
    val dspeed: Long,
    /** what it sends now, rounded down. Unit: 1024 bytes per second */
    val uspeed: Long
)

/** The devices of the LAN: names, addresses, how they are connected, how fast. */
data class LanStatus(
    /** the devices, in no particular order */
    val devlist: List<LanStatusDevlistEntry>
)

typealias LogoutSettings = Long

/** the scheduled reboot */
data class SysSchReboot(
    /** 1 if reboots are scheduled */
    val enable: Long,
    /** time of day */
    val time: String,
    /** days of the week, Sunday first */
    val week: String
)

/** the upgrade */
data class SysUpgrade(
    /** whether an upgrade is under way */
    val status: Long,
    /** always 0 */
    val error: Long,
    /** always 0 */
    val down_precent: Long
)

/** The administrator's account, the up-time, the scheduled reboot, the LEDs, the time zone, and the commands reboot, factory settings and upgrade. */
data class Sys(
    /** the administrator's name */
    val usr: String,
    /** the administrator's password, in plain text */
    val pwd: String,
    /** since the router started. Unit: seconds */
    val upTime: Long,
    /** the scheduled reboot */
    val schReboot: SysSchReboot,
    /** the LEDs */
    val led: String,
    /** as "timeZoneIndex" in "timeZone" */
    val timezone: String,
    /** the upgrade */
    val upgrade: SysUpgrade
)

/** the scheduled reboot */
data class SysSettingsSchReboot(
    /** 1 if reboots are to be scheduled */
    val enable: Long,
    /** time of day, HH:MM:SS */
    val time: String? = null,
    /** days of the week, Sunday first */
    val week: String? = null
)

/** What a set of "sys" takes. */
data class SysSettings(
    /** the administrator's name; ignored unless "pwd" is there, too */
    val usr: String? = null,
    /** the administrator's password; ignored unless "usr" is there, too */
    val pwd: String? = null,
    /** the LEDs */
    val led: String? = null,
    /** the scheduled reboot */
    val schReboot: SysSettingsSchReboot? = null,
    /** as "timeZoneIndex" in "timeZone" */
    val timezone: String? = null,
    /** 1 reboots; later keys are not looked at */
    val reboot: Long? = null,
    /** 1 brings the factory settings back; later keys are not looked at */
    val restore: Long? = null,
    /** 1 starts an upgrade with the firmware that the following keys name */
    val upgrade: Long? = null,
    /** a URL that begins with "http:", "https:" or "ftp:", in lower case */
    val filePath: String? = null,
    /** not used */
    val newVersion: String? = null,
    /** MD5 of the firmware; the characters are not checked */
    val md5: String? = null
)

/** The router's role in a mesh, the radio that joins it to the others (the backhaul), and its name there. */
data class Mesh(
    /** the device's name in the mesh */
    val name: String,
    /** the role */
    val role: Long,
    /** the radio of the backhaul */
    val backhaul: Long
)

/** What a set of "mesh" takes. */
data class MeshSettings(
    /** the device's name in the mesh */
    val name: String,
    /** the role */
    val role: Long,
    /** the radio of the backhaul */
    val backhaul: Long
)

/** a station */
data class MeshStatusTopologyStation_infoEntry(
    /** its MAC address; in upper case for wired devices */
    val station_mac: String,
    /** signal strength; "0" for wired devices */
    val station_rssi: String,
    /** how it is connected */
    val station_connected_band: String,
    /** what its link can carry towards the station. Unit: Mb/s; for wired devices with its unit */
    val station_downlink: String,
    /** what its link can carry from the station. Unit: as "station_downlink" */
    val station_uplink: String
)

/** the document that the mesh daemon keeps. The router hands it on as it is, and adds the wired devices of "lanStatus" to its "station_info" */
data class MeshStatusTopology(
    /** the device's name; the virtual router has it, a daemon need not */
    val device_name: String? = null,
    /** the device's MAC address, in lower case */
    val mac_address: String? = null,
    /** its IPv4 address */
    val ip_addr: String? = null,
    /** the stations on its radios, for the router also the wired devices */
    val station_info: List<MeshStatusTopologyStation_infoEntry>? = null,
    /** the agents that are attached to it */
    val child_devices: List<MeshStatusTopology>? = null
)

/** The mesh: the router, its agents, and which device is where. */
data class MeshStatus(
    /** the document that the mesh daemon keeps. The router hands it on as it is, and adds the wired devices of "lanStatus" to its "station_info" */
    val topology: MeshStatusTopology
)

/** The firewall, its protections against floods of packets, and the MAC filter: a list of at most 20 devices. */
data class Sec(
    /** the firewall */
    val firewall: Long,
    /** 1 if the protection works: it is on, and so is the firewall */
    val icmpflood: Long,
    /** 1 if the protection works: it is on, and so is the firewall */
    val tcpsynflood: Long,
    /** 1 if the protection works: it is on, and so is the firewall */
    val tcpfinflood: Long,
    /** 1 if the protection works: it is on, and so is the firewall */
    val udpflood: Long,
    /** 1 if the MAC filter is on */
    val macFiltering: Long,
    /** the devices */
    val maclist: List<List<String>>
)

/** What a set of "Sec" takes. */
data class SecSettings(
    /** the firewall */
    val firewall: Long? = null,
    /** read only with "firewall" 1. 1: on; anything else: off */
    val tcpsynflood: Long? = null,
    /** read only with "firewall" 1. 1: on; anything else: off */
    val tcpfinflood: Long? = null,
    /** read only with "firewall" 1. 1: on; anything else: off */
    val udpflood: Long? = null,
    /** read only with "firewall" 1. 1: on; anything else: off */
    val icmpflood: Long? = null,
    /** 0 switches the MAC filter off, anything else on */
    val macFiltering: Long? = null,
    /** devices to delete; read only with "macFiltering"; one that is not in the list is no error */
    val delMaclist: List<String>? = null,
    /** devices to add; read only with "macFiltering"; the limit is that of the list with them */
    val addMaclist: List<List<String>>? = null
)

/** a device */
data class NetAccListEntry(
    /** as set; 0 means that the device's times do not count */
    val TimeControl: Long,
    /** begin; "00:00:00" if none is stored */
    val sTime: String,
    /** end; "00:00:00" if none is stored */
    val eTime: String,
    /** the device's name */
    val name: String,
    /** its MAC address, in upper case */
    val mac: String,
    /** days of the week, Sunday first */
    val week: String
)

/** At which times a device may use the network: a list of devices with a span of a day and weekdays, and one switch for all. */
data class NetAcc(
    /** 1 if the list is in force, else 0 */
    val enable: Long,
    /** the devices */
    val list: List<NetAccListEntry>
)

/** a device */
data class NetAccSettingsAddlistEntry(
    /** MAC address; the characters are not looked at */
    val mac: String? = null,
    /** **if missing, a known device is deleted**, and a new one is stored without times, weekdays and name */
    val TimeControl: Long? = null,
    /** begin; counts only together with "etime" */
    val stime: String? = null,
    /** end; counts only together with "stime" */
    val etime: String? = null,
    /** days of the week, Sunday first */
    val week: String? = null,
    /** the device's name */
    val name: String? = null
)

/** a device */
data class NetAccSettingsDellistEntry(
    /** MAC address; the characters are not looked at */
    val mac: String? = null
)

/** What a set of "netAcc" takes. */
data class NetAccSettings(
    /** 0 off, else on */
    val enable: Long? = null,
    /** devices to add or to change; read only with "enable" on */
    val addlist: List<NetAccSettingsAddlistEntry>? = null,
    /** devices to delete */
    val dellist: List<NetAccSettingsDellistEntry>? = null
)

/** the lists; they are objects, not arrays */
data class UrlfilterUrllist(
    /** the words of the black list, under "url1", "url2" and so on */
    val black: Map<String, String>,
    /** the words of the white list, likewise */
    val white: Map<String, String>
)

/** Words in web addresses: a black list and a white list, of which one is in force. */
data class Urlfilter(
    /** 1 if the filter is on, else 0 */
    val enable: Long,
    /** 0: the black list is in force; 1: the white list */
    val mode: Long,
    /** the lists; they are objects, not arrays */
    val urllist: UrlfilterUrllist
)

/** What a set of "urlfilter" takes. */
data class UrlfilterSettings(
    /** the filter */
    val enable: Long,
    /** the list in force, and the list that the other keys mean; read only with "enable" 1 */
    val mode: Long,
    /** a word to add; with "enable" 1 */
    val addurl: String? = null,
    /** a word to delete; with "enable" 1 */
    val delurl: String? = null,
    /** 1 empties the list; whether the other one with it is up to the firmware (on the virtual router both); with "enable" 1 */
    val delallurl: Long? = null
)

/** A ping from the router. */
data class NetDig(
    /** all that the ping command printed, its error messages too */
    val ping: String? = null
)

/** asks for a ping; without it the object of the reply is empty */
data class NetDigRequestPing(
    /** address or name */
    val dst: String,
    /** how many probes */
    val count: Long? = null
)

/** What a get of "netDig" may ask for. */
data class NetDigRequest(
    /** asks for a ping; without it the object of the reply is empty */
    val ping: NetDigRequestPing? = null
)

/** Two numbers that an app may keep on the router. The router does nothing with them. */
data class App(
    /** a port; 0 in the factory settings */
    val port: Long,
    /** a time; 0 in the factory settings */
    val ticktime: Long
)

/** What a set of "app" takes. */
data class AppSettings(
    /** a port */
    val port: Long? = null,
    /** a time */
    val ticktime: Long? = null
)

/** a rule */
data class QosIpRuleListEntry(
    /** first and last address, joined by "-" */
    val ip: String,
    /** limit for upload. Unit: the unit of the firmware's shaping */
    val ulimit: Long,
    /** limit for download. Unit: the unit of the firmware's shaping */
    val dlimit: Long,
    /** the rule's number, from 1, by which it is changed or deleted */
    val index: Long
)

/** Limits for the speed of devices: a switch, and at most 10 rules, each for a range of addresses. */
data class Qos(
    /** 1 on, 0 off */
    val enable: Long,
    /** the rules that an app can show */
    val ipRuleList: List<QosIpRuleListEntry>
)

/** one change of one rule; without "Act" it does nothing */
data class QosSettingsIpRuleMod(
    /** what is to be done */
    val Act: String,
    /** the number of the rule */
    val index: Long? = null,
    /** START-END; START has 7 to 15 characters, END 6 to 14 */
    val ip: String? = null,
    /** limit for upload. Unit: the unit of the firmware's shaping */
    val ulimit: Long? = null,
    /** limit for download. Unit: the unit of the firmware's shaping */
    val dlimit: Long? = null
)

/** What a set of "qos" takes. */
data class QosSettings(
    /** 1 on, anything else off */
    val enable: Long? = null,
    /** one change of one rule; without "Act" it does nothing */
    val ipRuleMod: QosSettingsIpRuleMod? = null
)
