// SPDX-License-Identifier: MIT
// What the router's objects look like. Made from the contract by contract/make: do not edit.

/** What the device is, its name, and whether an app has set it up. */
export interface DutInfo {
  /** MAC address of the LAN, 12 digits in the case that ifconfig prints; empty if it can't be read */
  mac: string;
  /** kind of device. Mesh the only type */
  type: "Mesh";
  /** model. KT7094HZM the only model */
  model: "KT7094HZM";
  /** serial number, always in lower case */
  sn: string;
  /** the name that the user gave the device */
  name: string;
  /** firmware version */
  sVersion: string;
  /** hardware version */
  hVersion: string;
  /** always empty here; "scan" gives the build date of the firmware */
  date: string;
  /** whether an app has set the device up. 0 not set up, 1 set up */
  init: 0 | 1;
}

/** What a set of "dutInfo" takes. */
export interface DutInfoSettings {
  /** the name that the user gives the device */
  name?: string;
  /** 0 is stored as 0, anything else as 1 */
  init?: number;
}

/** How the router reaches the Internet: the type of connection, addresses, the account, name servers. */
export interface WanInfo {
  /** type of the connection in force. 0 static address, 1 DHCP client, 3 PPPoE, 20 the operating mode is 1: the router is part of another router's network */
  type: string;
  /** account in plain text */
  pppUsr?: string;
  /** its password in plain text */
  pppPwd?: string;
  /** 0: the provider names the name servers; else they are set by hand */
  dnsmode: number;
  /** the WAN's address now; "0.0.0.0" if it has none */
  ip: string;
  /** its network mask; "0.0.0.0" if it has none */
  mask: string;
  /** the default gateway now; "255.255.255.255" if there is none */
  gateway: string;
  /** the first name server in use; "0.0.0.0" if it is missing */
  dns1: string;
  /** the second name server in use; "0.0.0.0" if it is missing */
  dns2: string;
}

/** What a set of "wanInfo" takes. */
export interface WanInfoSettings {
  /** the wanted type. 0 static address, 1 DHCP client, 3 PPPoE, 20 part of another router's network */
  type: string | number;
  /** 0: servers of the provider; else those given here */
  dnsmode?: number;
  /** address; type 0 only; not checked */
  ip?: string;
  /** network mask; type 0 only; not checked */
  mask?: string;
  /** type 0 only, and only together with "ip"; not checked */
  gateway?: string;
  /** with type 0, or with a "dnsmode" other than 0; not checked */
  dns1?: string;
  /** with type 0, or with a "dnsmode" other than 0; not checked */
  dns2?: string;
  /** account */
  pppUsr?: string;
  /** its password */
  pppPwd?: string;
}

/** The MTU of the connection. Each type of connection has one of its own; this is that of the type in force. */
export interface WanAdvance {
  /** the MTU; 0 if the type has none. Unit: bytes */
  mtu: number;
}

/** What a set of "wanAdvance" takes. */
export interface WanAdvanceSettings {
  /** the MTU of the type in force; without it the set succeeds and does nothing. Unit: bytes */
  mtu?: number;
}

/** How the connection to the Internet is doing: link, speed, up-time. A get may also ask for reports to a server. */
export interface WanStatus {
  /** whether the Internet can be reached, as the router last found out: 1 yes, 0 no or not known */
  internetSta?: number;
  /** the link of the WAN port. 1 the link is up, 0 it is down, -1 the switch does not tell */
  status: 1 | 0 | -1;
  /** what goes up now, with two decimals. Unit: kbit/s of 1024 bits */
  uSpeed: string;
  /** what comes down now, with two decimals. Unit: kbit/s of 1024 bits */
  dSpeed: string;
  /** since the connection came up. Unit: seconds */
  upTime: number;
}

/** What a get of "wanStatus" may ask for. */
export interface WanStatusRequest {
  /** 1 asks for "internetSta"; anything else does not */
  getInternetSta?: number;
  /** 1 asks for reports; anything else does not */
  reportToServer?: number;
  /** how many reports */
  reportCount?: number;
  /** the time between two reports. Unit: seconds */
  reportInterval?: number;
}

/** Names and keys of the router's own two networks. Keys without a suffix mean 2.4 GHz, keys that end in "5" mean 5 GHz. */
export interface Wifi {
  /** always "1": an order to a set, which nothing keeps */
  combine: "1";
  /** name of the network of 2.4 GHz */
  ssid: string;
  /** its key, in plain text */
  wifiPwd: string;
  /** name of the network of 5 GHz */
  ssid5: string;
  /** its key, in plain text */
  wifiPwd5: string;
  /** always "0": an order to a set, which nothing keeps */
  asSysPwd: "0";
}

/** What a set of "wifi" takes. */
export interface WifiSettings {
  /** 1: 5 GHz gets name and key of 2.4 GHz; anything else: it has its own */
  combine: string | number;
  /** name of the network of 2.4 GHz */
  ssid?: string;
  /** its key; 2.4 GHz gets it only together with "ssid" */
  wifiPwd?: string;
  /** name of the network of 5 GHz; ignored with "combine" 1 */
  ssid5?: string;
  /** its key; counts only together with "ssid5"; ignored with "combine" 1 */
  wifiPwd5?: string;
  /** "1": "wifiPwd" becomes the administrator's password as well. The number 1 does nothing */
  asSysPwd?: string;
}

/** Switches each radio on or off, sets its channel, and lists the channels that an app may offer. */
export interface WifiAdvance {
  /** the channel of 2.4 GHz; 0 is automatic */
  channel?: number;
  /** the channel of 5 GHz; 0 is automatic */
  channel5?: number;
  /** the channels of 2.4 GHz in the router's region, behind a leading 0 */
  channellst?: number[];
  /** the channels of 5 GHz in its region that fit the channel width, behind a leading 0 */
  channellst5?: number[];
  /** 1 if the radio of 2.4 GHz is off */
  disable?: number;
  /** 1 if the radio of 5 GHz is off */
  disable5?: number;
}

/** What a get of "wifiAdvance" may ask for. */
export interface WifiAdvanceRequest {
  /** asks for the key of this name; its value does not matter */
  channel?: unknown;
  /** asks for the key of this name; its value does not matter */
  channel5?: unknown;
  /** asks for the key of this name; its value does not matter */
  channellst?: unknown;
  /** asks for the key of this name; its value does not matter */
  channellst5?: unknown;
  /** asks for the key of this name; its value does not matter */
  disable?: unknown;
  /** asks for the key of this name; its value does not matter */
  disable5?: unknown;
}

/** What a set of "wifiAdvance" takes. */
export interface WifiAdvanceSettings {
  /** 1 switches the radio of 2.4 GHz off */
  disable?: number;
  /** 1 switches the radio of 5 GHz off */
  disable5?: number;
  /** channel of 2.4 GHz, 0 is automatic; not compared with the list */
  channel?: number;
  /** channel of 5 GHz, 0 is automatic; not compared with the list */
  channel5?: number;
}

/** The network for guests, on both radios. Keys without a suffix mean 2.4 GHz, keys that end in "5" mean 5 GHz. */
export interface Wifiguest {
  /** whether the guest network of 2.4 GHz is on. 0 off, 1 on */
  enable: 0 | 1;
  /** name of the network of 2.4 GHz */
  ssid: string;
  /** its key, in plain text; empty if it has none */
  wifiPwd: string;
  /** name of the network of 5 GHz */
  ssid5: string;
  /** its key, in plain text; empty if it has none */
  wifiPwd5: string;
  /** always 0 */
  duration: 0;
}

/** What a set of "wifiguest" takes. */
export interface WifiguestSettings {
  /** 0 switches both radios' guest networks off, anything else on */
  enable: number;
  /** name of the network of 2.4 GHz; needs "wifiPwd" */
  ssid?: string;
  /** its key; without "ssid" only 5 GHz gets it, and one that breaks the limit is passed over */
  wifiPwd?: string;
  /** name of the network of 5 GHz */
  ssid5?: string;
  /** its key */
  wifiPwd5?: string;
  /** not read */
  duration?: number;
}

/** Pairing by push button. */
export interface Wps {
  /** the state as the pairing daemon reports it */
  status: number;
}

/** What a set of "wps" takes. */
export interface WpsSettings {
  /** the button. 1 starts pairing, 0 cancels it */
  wpsbutton: number;
}

/** Which devices may use the Wi-Fi: a mode, and a list of at most 20 MAC addresses, the same for both radios. */
export interface WifiAcc {
  /** 0: no filter; 1 and 2: the two ways to filter */
  mode: number;
  /** the devices */
  maclist: [mac: string, comment: string][];
}

/** What a set of "wifiAcc" takes. */
export interface WifiAccSettings {
  /** the mode. 0 no filter, 1 one way to filter, 2 the other way */
  mode: number;
  /** devices to add; the limit is that of the list with them */
  addMaclist?: [mac: string, comment?: string][];
  /** devices to delete; one that is not in the list is no error */
  delMaclist?: string[];
}

/** The operating mode, as a number of the firmware. */
export interface OpMode {
  /** the number in decimal. 0 the router serves its own network, 1 part of another router's network, 2 own network with the uplink by radio */
  opMode: string;
}

/** What a set of "opMode" takes. */
export interface OpModeSettings {
  /** the number in decimal; others belong to the firmware and are not refused. 0 the router serves its own network, 1 part of another router's network, 2 own network with the uplink by radio */
  opMode: string;
}

/** The time zone. "timezone" in "sys" is the same setting. */
export interface TimeZone {
  /** the zone's name in the firmware's list */
  timeZoneIndex: string;
}

/** What a set of "timeZone" takes. */
export interface TimeZoneSettings {
  /** the zone's name in the firmware's list; which names there are is not checked */
  timeZoneIndex: string;
}

/** The router's address in the LAN, and its DHCP server. */
export interface Lan {
  /** the LAN's address now; empty if it has none */
  ip: string;
  /** its network mask; empty if it has none */
  mask: string;
  /** what the router does about DHCP. 0 off, 1 the router is a DHCP client, 2 DHCP server on */
  dhcp: number;
  /** how long a lease lasts. Unit: minutes */
  time: number;
  /** first address that the server gives away */
  ipStart: string;
  /** last address that the server gives away */
  ipEnd: string;
}

/** What a set of "lan" takes. */
export interface LanSettings {
  /** the router's address; short forms are taken */
  ip: string;
  /** the network mask; it may have holes */
  mask: string;
  /** what the router does about DHCP. 0 off, 1 DHCP client, 2 DHCP server on */
  dhcp?: number;
  /** how long a lease lasts; ignored unless "dhcp" is 2. Unit: minutes */
  time?: number;
  /** first address to give away, in the network of "ip" and "mask"; ignored unless "dhcp" is 2 */
  ipStart?: string;
  /** last address, above the first and in the same network; ignored unless "dhcp" is 2 */
  ipEnd?: string;
}

/** The devices of the LAN: names, addresses, how they are connected, how fast. */
export interface LanStatus {
  /** the devices, in no particular order */
  devlist: {
    /** its host name; empty if it has none */
    name: string;
    /** its IPv4 address */
    ip: string;
    /** its MAC address */
    mac: string;
    /** how it is connected; for a station of an agent the text of the mesh. 5g 5 GHz, 2g 2.4 GHz, wired an Ethernet port, agent it is a mesh agent, unknown no source tells where */
    conType: string;
    /** signal strength, a figure of the driver and not dBm; 0 unless the device is on a radio */
    rssi: number;
    /** what its link can carry towards the device. Unit: Mb/s; for wired devices with its unit, such as "1000M" */
    dlink: string;
    /** what its link can carry from the device. Unit: as "dlink" */
    ulink: string;
    /** what it receives now, rounded down. Unit: 1024 bytes per second */
    dspeed: number;
    /** what it sends now, rounded down. Unit: 1024 bytes per second */
    uspeed: number;
  }[];
}

/** Ends the session. */
export type LogoutSettings = 1;

/** The administrator's account, the up-time, the scheduled reboot, the LEDs, the time zone, and the commands reboot, factory settings and upgrade. */
export interface Sys {
  /** the administrator's name */
  usr: string;
  /** the administrator's password, in plain text */
  pwd: string;
  /** since the router started. Unit: seconds */
  upTime: number;
  /** the scheduled reboot */
  schReboot: {
    /** 1 if reboots are scheduled */
    enable: number;
    /** time of day */
    time: string;
    /** days of the week, Sunday first */
    week: string;
  };
  /** the LEDs. allon the LEDs are on, alloff they are off or do not tell */
  led: "allon" | "alloff";
  /** as "timeZoneIndex" in "timeZone" */
  timezone: string;
  /** the upgrade */
  upgrade: {
    /** whether an upgrade is under way. 0 none, 1 under way */
    status: 0 | 1;
    /** always 0 */
    error: 0;
    /** always 0 */
    down_precent: 0;
  };
}

/** What a set of "sys" takes. */
export interface SysSettings {
  /** the administrator's name; ignored unless "pwd" is there, too */
  usr?: string;
  /** the administrator's password; ignored unless "usr" is there, too */
  pwd?: string;
  /** the LEDs. allon switches the LEDs on, alloff switches them off */
  led?: string;
  /** the scheduled reboot */
  schReboot?: {
    /** 1 if reboots are to be scheduled */
    enable: number;
    /** time of day, HH:MM:SS */
    time?: string;
    /** days of the week, Sunday first */
    week?: string;
  };
  /** as "timeZoneIndex" in "timeZone" */
  timezone?: string;
  /** 1 reboots; later keys are not looked at */
  reboot?: number;
  /** 1 brings the factory settings back; later keys are not looked at */
  restore?: number;
  /** 1 starts an upgrade with the firmware that the following keys name */
  upgrade?: number;
  /** a URL that begins with "http:", "https:" or "ftp:", in lower case */
  filePath?: string;
  /** not used */
  newVersion?: string;
  /** MD5 of the firmware; the characters are not checked */
  md5?: string;
}

/** The router's role in a mesh, the radio that joins it to the others (the backhaul), and its name there. */
export interface Mesh {
  /** the device's name in the mesh */
  name: string;
  /** the role. 0 no mesh, 1 controller, 2 agent */
  role: number;
  /** the radio of the backhaul. 0 5 GHz, 1 2.4 GHz */
  backhaul: 0 | 1;
}

/** What a set of "mesh" takes. */
export interface MeshSettings {
  /** the device's name in the mesh */
  name: string;
  /** the role. 0 no mesh, 1 controller, 2 agent */
  role: 0 | 1 | 2;
  /** the radio of the backhaul. 0 5 GHz, 1 2.4 GHz */
  backhaul: 0 | 1;
}

/** The mesh: the router, its agents, and which device is where. */
export interface MeshStatus {
  /** the document that the mesh daemon keeps. The router hands it on as it is, and adds the wired devices of "lanStatus" to its "station_info" */
  topology: {
    /** the device's name; the virtual router has it, a daemon need not */
    device_name?: string;
    /** the device's MAC address, in lower case */
    mac_address?: string;
    /** its IPv4 address */
    ip_addr?: string;
    /** the stations on its radios, for the router also the wired devices */
    station_info?: {
      /** its MAC address; in upper case for wired devices */
      station_mac: string;
      /** signal strength; "0" for wired devices */
      station_rssi: string;
      /** how it is connected. 5g 5 GHz, 2g 2.4 GHz, wired an Ethernet port of the router */
      station_connected_band: string;
      /** what its link can carry towards the station. Unit: Mb/s; for wired devices with its unit */
      station_downlink: string;
      /** what its link can carry from the station. Unit: as "station_downlink" */
      station_uplink: string;
    }[];
    /** the agents that are attached to it */
    child_devices?: MeshStatus["topology"][];
  };
}

/** The firewall, its protections against floods of packets, and the MAC filter: a list of at most 20 devices. */
export interface Sec {
  /** the firewall. 0 off, 1 on */
  firewall: 0 | 1;
  /** 1 if the protection works: it is on, and so is the firewall. 0 off, 1 on */
  icmpflood: 0 | 1;
  /** 1 if the protection works: it is on, and so is the firewall. 0 off, 1 on */
  tcpsynflood: 0 | 1;
  /** 1 if the protection works: it is on, and so is the firewall. 0 off, 1 on */
  tcpfinflood: 0 | 1;
  /** 1 if the protection works: it is on, and so is the firewall. 0 off, 1 on */
  udpflood: 0 | 1;
  /** 1 if the MAC filter is on */
  macFiltering: number;
  /** the devices */
  maclist: [mac: string, comment: string, time: string, week: string][];
}

/** What a set of "Sec" takes. */
export interface SecSettings {
  /** the firewall */
  firewall?: number;
  /** read only with "firewall" 1. 1: on; anything else: off */
  tcpsynflood?: number;
  /** read only with "firewall" 1. 1: on; anything else: off */
  tcpfinflood?: number;
  /** read only with "firewall" 1. 1: on; anything else: off */
  udpflood?: number;
  /** read only with "firewall" 1. 1: on; anything else: off */
  icmpflood?: number;
  /** 0 switches the MAC filter off, anything else on */
  macFiltering?: number;
  /** devices to delete; read only with "macFiltering"; one that is not in the list is no error */
  delMaclist?: string[];
  /** devices to add; read only with "macFiltering"; the limit is that of the list with them */
  addMaclist?: [mac: string, comment?: string, time?: string, week?: string][];
}

/** At which times a device may use the network: a list of devices with a span of a day and weekdays, and one switch for all. */
export interface NetAcc {
  /** 1 if the list is in force, else 0 */
  enable: number;
  /** the devices */
  list: {
    /** as set; 0 means that the device's times do not count */
    TimeControl: number;
    /** begin; "00:00:00" if none is stored */
    sTime: string;
    /** end; "00:00:00" if none is stored */
    eTime: string;
    /** the device's name */
    name: string;
    /** its MAC address, in upper case */
    mac: string;
    /** days of the week, Sunday first */
    week: string;
  }[];
}

/** What a set of "netAcc" takes. */
export interface NetAccSettings {
  /** 0 off, else on */
  enable?: number;
  /** devices to add or to change; read only with "enable" on */
  addlist?: {
    /** MAC address; the characters are not looked at */
    mac?: string;
    /** **if missing, a known device is deleted**, and a new one is stored without times, weekdays and name */
    TimeControl?: number;
    /** begin; counts only together with "etime" */
    stime?: string;
    /** end; counts only together with "stime" */
    etime?: string;
    /** days of the week, Sunday first */
    week?: string;
    /** the device's name */
    name?: string;
  }[];
  /** devices to delete */
  dellist?: {
    /** MAC address; the characters are not looked at */
    mac?: string;
  }[];
}

/** Words in web addresses: a black list and a white list, of which one is in force. */
export interface Urlfilter {
  /** 1 if the filter is on, else 0 */
  enable: number;
  /** 0: the black list is in force; 1: the white list */
  mode: number;
  /** the lists; they are objects, not arrays */
  urllist: {
    /** the words of the black list, under "url1", "url2" and so on */
    black: Record<string, string>;
    /** the words of the white list, likewise */
    white: Record<string, string>;
  };
}

/** What a set of "urlfilter" takes. */
export interface UrlfilterSettings {
  /** the filter. 0 off, 1 on */
  enable: number;
  /** the list in force, and the list that the other keys mean; read only with "enable" 1. 0 black list, 1 white list */
  mode: number;
  /** a word to add; with "enable" 1 */
  addurl?: string;
  /** a word to delete; with "enable" 1 */
  delurl?: string;
  /** 1 empties the list; whether the other one with it is up to the firmware (on the virtual router both); with "enable" 1 */
  delallurl?: number;
}

/** A ping from the router. */
export interface NetDig {
  /** all that the ping command printed, its error messages too */
  ping?: string;
}

/** What a get of "netDig" may ask for. */
export interface NetDigRequest {
  /** asks for a ping; without it the object of the reply is empty */
  ping?: {
    /** address or name */
    dst: string;
    /** how many probes. 1 one probe, 2 two, 3 three */
    count?: number;
  };
}

/** Two numbers that an app may keep on the router. The router does nothing with them. */
export interface App {
  /** a port; 0 in the factory settings */
  port: number;
  /** a time; 0 in the factory settings */
  ticktime: number;
}

/** What a set of "app" takes. */
export interface AppSettings {
  /** a port */
  port?: number;
  /** a time */
  ticktime?: number;
}

/** Limits for the speed of devices: a switch, and at most 10 rules, each for a range of addresses. */
export interface Qos {
  /** 1 on, 0 off */
  enable: number;
  /** the rules that an app can show */
  ipRuleList: {
    /** first and last address, joined by "-" */
    ip: string;
    /** limit for upload. Unit: the unit of the firmware's shaping */
    ulimit: number;
    /** limit for download. Unit: the unit of the firmware's shaping */
    dlimit: number;
    /** the rule's number, from 1, by which it is changed or deleted */
    index: number;
  }[];
}

/** What a set of "qos" takes. */
export interface QosSettings {
  /** 1 on, anything else off */
  enable?: number;
  /** one change of one rule; without "Act" it does nothing */
  ipRuleMod?: {
    /** what is to be done. add adds a rule, del deletes one, mod deletes one and adds one */
    Act: "add" | "del" | "mod";
    /** the number of the rule */
    index?: number;
    /** START-END; START has 7 to 15 characters, END 6 to 14 */
    ip?: string;
    /** limit for upload. Unit: the unit of the firmware's shaping */
    ulimit?: number;
    /** limit for download. Unit: the unit of the firmware's shaping */
    dlimit?: number;
  };
}

/** The objects that can be read. */
export interface Objects {
  dutInfo: DutInfo;
  wanInfo: WanInfo;
  wanAdvance: WanAdvance;
  wanStatus: WanStatus;
  wifi: Wifi;
  wifiAdvance: WifiAdvance;
  wifiguest: Wifiguest;
  wps: Wps;
  wifiAcc: WifiAcc;
  opMode: OpMode;
  timeZone: TimeZone;
  lan: Lan;
  lanStatus: LanStatus;
  sys: Sys;
  mesh: Mesh;
  meshStatus: MeshStatus;
  Sec: Sec;
  netAcc: NetAcc;
  urlfilter: Urlfilter;
  netDig: NetDig;
  app: App;
  qos: Qos;
}

/** Of these a get may say what it wants. */
export interface Requests {
  wanStatus: WanStatusRequest;
  wifiAdvance: WifiAdvanceRequest;
  netDig: NetDigRequest;
}

/** The objects that can be changed. */
export interface Settings {
  dutInfo: DutInfoSettings;
  wanInfo: WanInfoSettings;
  wanAdvance: WanAdvanceSettings;
  wifi: WifiSettings;
  wifiAdvance: WifiAdvanceSettings;
  wifiguest: WifiguestSettings;
  wps: WpsSettings;
  wifiAcc: WifiAccSettings;
  opMode: OpModeSettings;
  timeZone: TimeZoneSettings;
  lan: LanSettings;
  logout: LogoutSettings;
  sys: SysSettings;
  mesh: MeshSettings;
  Sec: SecSettings;
  netAcc: NetAccSettings;
  urlfilter: UrlfilterSettings;
  app: AppSettings;
  qos: QosSettings;
}

/** Why a request failed: by action, object and message; the object is empty where none refused. */
export const causes: Record<string, string> = {
  "set dutInfo ": "\"name\" has 31 bytes or more",
  "set wanInfo ": "\"type\" is missing; type 0 has an \"ip\" without a \"mask\"",
  "set wanInfo ERROR: Not find ppp user or pwd info\n": "type 3 without \"pppUsr\" or \"pppPwd\", or one is no string",
  "set wanInfo ERROR: the pppUsr or pppPwd lenght should <129": "one of them has 129 bytes or more",
  "set wanAdvance ERROR: current mode not support set MTU": "the connection is of another type; what \"wanInfo\" sets never leads here",
  "set wanAdvance ERROR: the MTU size should in range 1400-1500": "out of range with a static address",
  "set wanAdvance ERROR: the MTU size should in range 1280-1500": "out of range with DHCP",
  "set wanAdvance ERROR: the MTU size should in range 1360-1492": "out of range with PPPoE",
  "get wanStatus ERROR: send MSG_APP_START_SPEEDTEST fail": "the sampler does not run, and the system daemon can't be told",
  "get wanStatus ERROR: reportCount out of range(1~1000)": "\"reportCount\" is there and not 1 to 1000, also without \"reportToServer\"",
  "get wanStatus ERROR: reportInterval out of range(2~30 s)": "the same for \"reportInterval\" and 2 to 30",
  "get wanStatus ERROR: send MSG_APP_REPORTOSERVER_WANSTA fail": "the system daemon can't be told of the report",
  "set wifi ERROR: Not find combine type info\n": "\"combine\" is missing",
  "set wifi ERROR:SSID len is null or too long\n": "\"ssid\" is empty or has more than 32 bytes",
  "set wifi ERROR:password len is too short or too long\n": "\"wifiPwd\", together with \"ssid\", has less than 8 or more than 64 bytes",
  "set wifiAdvance ERROR: Not find combine type info\n": "any value out of its limits. The text is that of another object on purpose",
  "set wifiguest ": "\"enable\" is missing",
  "set wifiguest ERROR: No ssid5 string format error": "\"ssid5\" is no string",
  "set wifiguest ERROR:SSID len is too long\n": "\"ssid5\" is empty or has more than 32 bytes; \"ssid\" is empty or has more than 32 bytes",
  "set wifiguest ERROR:password len is too short or too long": "\"wifiPwd5\" has less than 8 or more than 64 bytes, or is no string; \"wifiPwd\", together with \"ssid\", has less than 8 or more than 64 bytes",
  "set wifiguest ERROR: No ssid or wifiPwd string": "\"ssid\" without \"wifiPwd\", or one of them is no string",
  "get wps ": "the pairing daemon has reported nothing; the \"wps\" object is empty",
  "set wps ": "\"wpsbutton\" is missing",
  "get wifiAcc (get_entry_number FAIL)": "the router can't read its list",
  "get wifiAcc ": "it can't read one of the entries; the reply has those before it",
  "set wifiAcc ERROR: Not find enable info\n": "\"mode\" is missing",
  "set wifiAcc (wlactrl_get_entry_number)": "the router can't read its list, for an addition",
  "set wifiAcc Error:mac item number is >20": "the list would have more than 20 devices",
  "set wifiAcc ERROR:MAC format error!": "a MAC address is not a string of 12 hexadecimal digits",
  "set wifiAcc ERROR: comment length too long": "a comment has more than 20 bytes",
  "set wifiAcc Error:mac exist": "a device to be added is in the list already",
  "set wifiAcc Error:add_table_entry_error": "the router can't change its list, for an addition",
  "set wifiAcc ERROR:delMaclist format error!": "an element of \"delMaclist\" is null",
  "set wifiAcc ERROR:get_entry_number_error": "the router can't read its list, for a deletion",
  "set wifiAcc ERROR:delete_table_entry_error": "the router can't change its list, for a deletion",
  "set opMode ": "\"opMode\" is missing or no string; a JSON number is refused, too",
  "set timeZone ": "\"timeZoneIndex\" is missing or no string",
  "set timeZone ERROR: timezone index length is too short/long": "it has less than 3 or more than 7 bytes",
  "set lan ": "\"ip\" or \"mask\" is missing or no string; \"ip\" or \"mask\" is no address; \"dhcp\" is 2 and \"time\", \"ipStart\" or \"ipEnd\" is missing",
  "set lan ERROR:invalid DHCP Lease Time": "\"time\" is not 1 to 10080",
  "set lan ERROR:invalid ip address": "\"ipStart\" or \"ipEnd\" is no address",
  "set lan ERROR:invalid_dhcprange": "the end is not above the start, one of both is not in the network, or the mask leaves no room for them",
  "set lan ERROR:invalid ip or mask": "\"dhcp\" is missing, and the pool that is stored does not fit the new network",
  "set logout ": "the value is not the number 1; the session goes on",
  "get sys ERROR: system function call error": "the up-time can't be read",
  "set sys ERROR: username or passwd length is too long": "\"usr\" or \"pwd\" has more than 30 bytes",
  "set sys ERROR: not find schReboot.enable item": "\"schReboot\" without \"enable\"",
  "set sys ERROR: schReboot.enable value error": "\"enable\" is neither 0 nor 1",
  "set sys ERROR: schReboot.time or schReboot.week format error": "\"time\" has not 8 characters, or \"week\" not 7",
  "set sys ERROR: not find schReboot.time or schReboot.week item": "\"enable\" is 1, and one of them is missing",
  "set sys ERROR: send MSG_APP_SCHREBOOT fail": "the schedule is stored, but the router could not be told",
  "set sys ERROR: timezone index length is too short/long": "\"timezone\" has less than 3 or more than 7 bytes",
  "set sys ERROR: send MSG_REBOOT fail": "the router could not be told to reboot",
  "set sys ERROR: send MSG_RESET fail": "the router could not be told to restore its settings; the router could not be told to upgrade. The text is that of a restore on purpose",
  "set sys ERROR: not find fwpath_info or fwver_info or fwmd5_info": "\"upgrade\" without \"filePath\", \"newVersion\" or \"md5\"",
  "set sys ERROR: the filePath lenght should <128": "\"filePath\" has 128 bytes or more",
  "set sys ERROR: the URL format erro or not support": "\"filePath\" begins with none of the three schemes",
  "set sys ERROR: MD5 string lenght should be 32": "\"md5\" has not 32 characters",
  "set mesh ERROR: not find mesh.role or mesh.name or backhaul item": "a key is missing, or \"name\" is no string",
  "set mesh ERROR: DEVICE_NAME length is too long": "\"name\" has 30 bytes or more",
  "set mesh ERROR: mesh.role or mesh.backhaul value invalied": "\"role\" is not 0 to 2, or \"backhaul\" is not 0 or 1",
  "get meshStatus ERROR:open topology_json file fail": "there is no topology, as on a router without mesh",
  "get meshStatus ERROR:Parse topology_json file fail": "its first line is no JSON document",
  "set Sec ERROR: firewall value is invalied": "\"firewall\" is neither 0 nor 1",
  "set Sec ERROR:delMaclist format error!": "an element of \"delMaclist\" is null",
  "set Sec ERROR:MAC format error!": "a MAC address is not a string of 12 hexadecimal digits",
  "set Sec ERROR:get_entry_number_error": "the router can't read its list, for a deletion",
  "set Sec ERROR:delete_table_entry_error": "the router can't change its list, for a deletion",
  "set Sec get_entry_number FAIL": "the router can't read its list, for an addition",
  "set Sec Error:mac item number >20": "the list would have more than 20 devices",
  "set Sec ERROR:MAC is repeated!": "an address stands twice in \"addMaclist\", with the same case",
  "set Sec ERROR: comment length too long": "a comment has more than 20 bytes",
  "set Sec ERROR: TIME length too long": "a time has more than 9 bytes",
  "set Sec ERROR: week format error": "weekdays are not 7 characters",
  "set Sec Error:mac exist": "a device to be added is in the list already",
  "set Sec Error:add_table_entry_error": "the router can't change its list, for an addition",
  "set Sec ERROR: send MSG_CALL_SYSCONF fail": "everything is stored, but the firewall could not be told",
  "set netAcc get_entry_number FAIL": "the router can't read its list",
  "set netAcc ERROR:MAC format error!": "\"mac\" is not a string of 12 characters. Whether they are hexadecimal digits is not checked",
  "set netAcc ERROR: not find schNetAcc.time or schNetAcc.week item": "\"TimeControl\" is not 0, and \"stime\", \"etime\", \"week\" or \"name\" is missing",
  "set netAcc ERROR: time string lenght wrong": "\"stime\" or \"etime\" has not 8 characters",
  "set netAcc ERROR: week format error": "\"week\" has not 7 characters",
  "set netAcc ERROR: name format error": "\"name\" is empty or has more than 49 bytes",
  "set netAcc ERROR:delMaclist format error!": "an element of \"dellist\" is null; a device of \"dellist\" is not in the list",
  "set netAcc ": "the router can't delete a device",
  "set netAcc ERROR: send MSG_CALL_SYSCONF fail": "everything is stored, but the firewall could not be told",
  "set urlfilter ": "\"enable\" or \"mode\" is missing; the router can't store a switch; a word has more than 30 bytes; the router can't add a word, as a rule because its lists are full; the word to delete is not in the list of this mode, or the router can't delete it; the router can't empty its list",
  "set urlfilter ERROR: send MSG_CALL_SYSCONF fail": "everything is stored, but the firewall could not be told",
  "get netDig ERROR: not find netDig Object": "the request does not name \"netDig\"",
  "get netDig ERROR: not find dst for ping": "\"dst\" is missing or no string",
  "get netDig ERROR: dst is too short or too long": "\"dst\" has less than 3 or more than 63 bytes",
  "get netDig ": "the command could not be started",
  "set app ERROR: port value is invalied": "\"port\" is negative or above 65535",
  "set app ERROR: ticktime value is invalied": "\"ticktime\" is negative or above 65535",
  "set qos ERROR: the Act value is invalied": "\"Act\" is no string, or none of the three",
  "set qos ERROR: not find index item": "\"index\" is missing",
  "set qos ERROR: index value not validate": "\"index\" is not 1 to 10; there is no rule of this \"index\"",
  "set qos ERROR: del rule FAIL": "the router can't read or delete the rule",
  "set qos ERROR: not find ip item": "\"ip\" is missing or no string",
  "set qos ERROR: not find ulimit or dlimit item": "both are missing",
  "set qos ERROR: add rule FAIL": "\"ip\" has no \"-\" or a part of a wrong length; the router can't read or change its rules",
  "set qos ERROR: the rule Numbers should < 10": "there are 10 rules already",
  "set qos ERROR: the ip is conflict": "a rule has some of the addresses",
  "set qos ERROR: send MSG_APP_SETQOS fail": "everything is stored and committed, but the shaping could not be told",
  "login  need login": "a request other than \"scan\" and \"login\" without the session id in force",
  "login  login fail": "name or password is wrong, missing or no string",
  "set wanStatus ERROR:not support set": "a set of an object that can only be read",
  "set lanStatus ERROR:not support set": "a set of an object that can only be read",
  "set meshStatus ERROR:not support set": "a set of an object that can only be read",
  "set netDig ERROR:not support set": "a set of an object that can only be read",
  "get  ": "no object was named that the router knows",
  "set  ": "no object was named that the router knows",
};

/** All objects, in the order in which the router handles them. */
export const order: readonly string[] = ["dutInfo", "wanInfo", "wanAdvance", "wanStatus", "wifi", "wifiAdvance", "wifiguest", "wps", "wifiAcc", "opMode", "timeZone", "lan", "lanStatus", "logout", "sys", "mesh", "meshStatus", "Sec", "netAcc", "urlfilter", "netDig", "app", "qos"];
