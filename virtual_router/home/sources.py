"""The files in which the router finds its home: what each holds at a moment. One function per source."""

import ipaddress
import json
import random
import struct

import homefile
from model import LEGACY_RATES

LAN_PORTS = ("port2", "port3", "port4", "port5")
PORT_SPEED = "1000M"
STATION = homefile.RECORDS["StaInfoEntry"]
MODE_BITS = {standard: homefile.NUMBERS[f"kMode11{standard}"] for standard in ("ac", "n", "g", "b", "a")}
# What else a station of a standard speaks.
OLDER = {("ac", "5g"): "na", ("n", "5g"): "a", ("n", "2g"): "gb", ("g", "2g"): "b"}
WIDTH_FLAGS = {20: 0, 40: homefile.NUMBERS["kRate40MHz"], 80: homefile.NUMBERS["kRate80MHz"]}
SHORT_GUARD = homefile.NUMBERS["kRateShortGuard"]
LEASE = struct.Struct("!16s4sI64sI")
LEASE_SECONDS = 86400
# As the store has them.
DHCP_WAN = "1"
PPP_WANS = ("3", "4", "6", "16")
CONTROLLER = "1"


class Around:
    """What the home must know of the router at a moment."""

    def __init__(self):
        self.mac = ""  # of the LAN
        self.lan = None  # ipaddress.IPv4Interface, or None without an address
        self.phone = ""  # the phone's address, or empty
        self.wan_type = None  # of the connection in force
        self.wan_since = "0"  # seconds since the epoch
        self.mesh_role = None

    def address(self, place):
        """The address of a place in the LAN, or None where the LAN has none for it."""
        if self.lan is None:
            return None
        network = self.lan.network
        if not 0 < place < network.num_addresses - 1:
            return None
        address = network.network_address + place
        return address if address != self.lan.ip else None


def packed_mac(mac):
    return bytes.fromhex(mac.replace(":", ""))


def hosts(home, around):
    """Yields what has an address at this moment: (address, agent or device of the home). Agents come first."""
    for agent in home.agents:
        address = around.address(agent["place"])
        if address:
            yield address, agent
    for device in home.devices:
        if device is home.phone:
            address = ipaddress.IPv4Address(around.phone) if around.phone else None
        else:
            address = around.address(device.place)
        if address and device.here():
            yield address, device


def station_record(number, device):
    link = device.link()
    standards = (link.standard, *OLDER.get((link.standard, device.band()), ""))
    short_guard = link.short_guard and link.standard not in LEGACY_RATES
    return STATION.pack({
        "association_id": number.to_bytes(2, "little"),
        "mac": packed_mac(device.mac),
        "state": homefile.NUMBERS["kStationAssociated"],
        "tx_rate": link.code(link.down),
        "rssi": device.signal,
        "wireless_mode": sum(MODE_BITS[standard] for standard in standards),
        "rate_flags": WIDTH_FLAGS[link.width] | (SHORT_GUARD if short_guard else 0),
        "rx_rate": link.code(link.up),
    })


def stations(interface):
    """The writer of an interface's station table. The table's first record is not used."""

    def table(home, _around):
        records = [
            station_record(number, device) if device else STATION.pack({})
            for number, device in enumerate(home.tables[interface], 1)
        ]
        return {f"home/stations/{interface}": (STATION.pack({}) + b"".join(records)).ljust(homefile.NUMBERS["kStationTableSize"], b"\0")}

    return table


def leases(home, around):
    """The DHCP server's leases. The phone's is among them."""
    records = []
    for address, thing in hosts(home, around):
        if isinstance(thing, dict):
            mac, name = thing["mac"], thing["name"]
        elif thing.lease:
            mac, name = thing.mac, thing.name
        else:
            continue
        records.append(LEASE.pack(packed_mac(mac), address.packed, LEASE_SECONDS, name.encode(), 0))
    return {"home/leases": b"".join(records)}


def traffic(home, _around):
    lines = []
    for number, device in enumerate(home.devices, 1):
        if device.here():
            up, down = (device.rate(way) if home.online() else 0 for way in ("up", "down"))
            lines.append(f"{number} {home.steps} {device.mac.replace(':', '')} {up} {down}\n")
    return {"var/terminal_rate_info": "".join(lines).encode()}


def speed(home, _around):
    """What passed the WAN in a step: its seconds, bytes received, bytes sent."""
    period = home.about["pace"]
    down, up = (sum(device.rate(way) for device in home.devices) if home.online() else 0 for way in ("down", "up"))
    return {"home/wanspeed": f"{period:f},{int(down * period)},{int(up * period)}\n".encode()}


def plugged(home, port):
    return any(device.spot == port for device in home.devices)


def port_speed(home, port):
    """The speed of a LAN port, or None while it is down."""
    speed = home.about["ports"].get(port, PORT_SPEED if plugged(home, port) else "down")
    return None if speed == "down" else speed


def port_status(home, _around):
    speeds = {"port1": PORT_SPEED if home.wan else None, **{port: port_speed(home, port) for port in LAN_PORTS}}
    lines = ["switch ports: the WAN is Port1\n"]
    for port, speed in speeds.items():
        lines.append(f"{port.capitalize()} {'LinkUp' if speed else 'LinkDown'}\n")
        if speed:
            lines.append(f"Duplex: full, Speed is {speed}\n")
    return {"home/rtl865x/port_status": "".join(lines).encode()}


def switch_arp(home, around):
    lines = ["address         MAC               (port)\n"]
    for address, thing in hosts(home, around):
        if not isinstance(thing, dict) and thing.spot in LAN_PORTS:
            lines.append(f"{str(address):15} {thing.mac.replace(':', '-')} (1 {thing.spot.removeprefix('port')})\n")
    return {"home/rtl865x/arp": "".join(lines).encode()}


def topology_station(device):
    link = device.link()
    return {
        "station_mac": device.mac.replace(":", ""),
        "station_rssi": str(device.signal),
        "station_connected_band": device.band(),
        "station_downlink": str(int(link.megabits(link.down))),
        "station_uplink": str(int(link.megabits(link.up))),
    }


def topology_below(home, around, via):
    """The agents that are attached to this one; None is the router."""
    found = []
    for agent in home.agents:
        address = around.address(agent["place"])
        if agent["via"] == via:
            found.append(
                {
                    "device_name": agent["name"],
                    "mac_address": agent["mac"].replace(":", ""),
                    "ip_addr": str(address or ""),
                    "station_info": [
                        topology_station(device) for device in home.devices if device.spot.partition("/")[0] == agent["name"] and device.band()
                    ],
                    "child_devices": topology_below(home, around, agent["name"]),
                }
            )
    return found


def topology(home, around):
    """What the mesh daemon knows; it runs on a controller."""
    if around.mesh_role != CONTROLLER:
        return {"tmp/topology_json": None}
    root = {
        "device_name": "router",
        "mac_address": around.mac.replace(":", ""),
        "ip_addr": str(around.lan.ip) if around.lan else "",
        "station_info": [topology_station(device) for device in home.devices if device.spot in homefile.INTERFACES],
        "child_devices": topology_below(home, around, None),
    }
    return {"tmp/topology_json": json.dumps(root, separators=(",", ":")).encode() + b"\n"}


def internet(home, _around):
    return {"tmp/internet": b"1\n" if home.online() else b"0\n"}


def uptime(home, around):
    """Since when the WAN is up. Who dials also shows that the line is open."""
    since = f"{around.wan_since}\n".encode()
    dhcp = home.wan and around.wan_type == DHCP_WAN
    ppp = home.wan and around.wan_type in PPP_WANS
    return {
        "var/wan_uptime": since if dhcp else None,
        "var/ppp/startTime": since if ppp else None,
        "etc/ppp/link": b"" if ppp else None,
    }


def lan_hosts(home, around):
    """Who is to be seen on the LAN, but for the phone, which is there anyway. Agents are real hosts, too."""
    lines = []
    for address, thing in hosts(home, around):
        if isinstance(thing, dict):
            lines.append(f"{address} {thing['mac']} wired\n")
        elif thing is not home.phone:
            lines.append(f"{address} {thing.mac} {'wired' if thing.spot in LAN_PORTS else 'air'}\n")
    return {"home/hosts": "".join(lines).encode()}


# What can be broken: name, and the function that gives the content of its files by their paths in the router's root. None
# is no file.
SOURCES = {
    **{interface: stations(interface) for interface in homefile.INTERFACES},
    "leases": leases,
    "traffic": traffic,
    "speed": speed,
    "port-status": port_status,
    "switch-arp": switch_arp,
    "topology": topology,
    "internet": internet,
    "uptime": uptime,
}

# The files that a program of the router makes of a source when it is signalled.
COPIES = {"home/leases": "var/lib/misc/udhcpd.leases", "home/wanspeed": "tmp/speed/wanspeed"}

LONG_LINE = 1 << 20


def noise(seed, path, content):
    return random.Random(f"{seed} {path}").randbytes(max(len(content), 256))


# How a source can be broken: what becomes of a file's content.
BREAKS = {
    "missing": lambda _seed, _path, _content: None,
    "empty": lambda _seed, _path, _content: b"",
    "half": lambda _seed, _path, content: content[: len(content) // 2],
    "long": lambda _seed, _path, content: content + b"x" * LONG_LINE + b"\n",
    "noise": noise,
}
REFUSES = "refuses"  # of a station table: the driver refuses to hand it over


def files(home, around, broken):
    """All files of the home: path -> content, or None for no file. `broken`: source -> how."""
    found = dict(lan_hosts(home, around))
    for name, source in SOURCES.items():
        how = broken.get(name)
        for path, content in source(home, around).items():
            if how in BREAKS:
                content = BREAKS[how](home.seed, path, content or b"")
            found[path] = content
            if name in homefile.INTERFACES:
                found[f"{path}.{REFUSES}"] = b"" if how == REFUSES else None
    return found
