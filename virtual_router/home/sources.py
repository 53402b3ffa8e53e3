# SPDX-License-Identifier: MIT
"""The files in which the router finds its home: what each holds at a moment. One function per source."""

import json
import random
import struct

import homefile
import traffic
from around import CONTROLLER, DHCP_WAN, PPP_WANS
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

def packed_mac(mac):
    return bytes.fromhex(mac.replace(":", ""))


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
        return {f"outside/stations/{interface}": (STATION.pack({}) + b"".join(records)).ljust(homefile.NUMBERS["kStationTableSize"], b"\0")}

    return table


def leases(home, _around):
    """The DHCP server's leases. The phone's is among them."""
    records = [LEASE.pack(packed_mac(mac), lease.address.packed, lease.ends, lease.name.encode(), 0) for mac, lease in home.leases.items()]
    return {"outside/leases": b"".join(records)}


def traffic_counters(home, around):
    lines = []
    for number, (device, rates) in enumerate(traffic.rates(home, around).items(), 1):
        if device.here():
            lines.append(f"{number} {home.steps} {device.mac.replace(':', '')} {rates['up']} {rates['down']}\n")
    return {"var/terminal_rate_info": "".join(lines).encode()}


def speed(home, around):
    """What passed the WAN in a step: its seconds, bytes received, bytes sent."""
    period = home.about["pace"]
    rates = traffic.rates(home, around).values()
    down, up = (sum(rate[way] for rate in rates) for way in traffic.WAYS)
    return {"outside/wanspeed": f"{period:f},{int(down * period)},{int(up * period)}\n".encode()}


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
    return {"outside/rtl865x/port_status": "".join(lines).encode()}


def switch_arp(home, around):
    lines = ["address         MAC               (port)\n"]
    for address, thing in home.hosts(around):
        if not isinstance(thing, dict) and thing.spot in LAN_PORTS:
            lines.append(f"{str(address):15} {thing.mac.replace(':', '-')} (1 {thing.spot.removeprefix('port')})\n")
    return {"outside/rtl865x/arp": "".join(lines).encode()}


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


def internet(home, around):
    return {"tmp/internet": b"1\n" if home.online(around) else b"0\n"}


def uptime(home, around):
    """Since when the WAN is up. Who dials also shows that the line is open."""
    since = f"{around.wan_since}\n".encode()
    connected = home.wan and around.wan_up
    dhcp = connected and around.wan_type == DHCP_WAN
    ppp = connected and around.wan_type in PPP_WANS
    return {
        "var/wan_uptime": since if dhcp else None,
        "var/ppp/startTime": since if ppp else None,
        "etc/ppp/link": b"" if ppp else None,
    }


def lan_hosts(home, around):
    """Who is to be seen on the LAN, but for the phone, which is there anyway. Agents are real hosts, too."""
    lines = []
    for address, thing in home.hosts(around):
        if isinstance(thing, dict):
            lines.append(f"{address} {thing['mac']} wired\n")
        elif thing is not home.phone:
            lines.append(f"{address} {thing.mac} {'wired' if thing.spot in LAN_PORTS else 'air'}\n")
    return {"outside/hosts": "".join(lines).encode()}


def outside(home, _around):
    """What the router's commands, and those who play the kernel, must know of the WAN: the cable, and what there is behind it."""
    networks = home.about["internet"] if home.has_internet() else []
    return {
        "outside/wan-cable": b"up\n" if home.wan else b"down\n",
        "outside/internet": "".join(f"answers {network if '/' in network else network + '/32'}\n" for network in networks).encode(),
    }


# What can be broken: name, and the function that gives the content of its files by their paths in the router's root. None
# is no file.
SOURCES = {
    **{interface: stations(interface) for interface in homefile.INTERFACES},
    "leases": leases,
    "traffic": traffic_counters,
    "speed": speed,
    "port-status": port_status,
    "switch-arp": switch_arp,
    "topology": topology,
    "internet": internet,
    "uptime": uptime,
}

# The files that a program of the router makes of a source when it is signalled.
COPIES = {"outside/leases": "var/lib/misc/udhcpd.leases", "outside/wanspeed": "tmp/speed/wanspeed"}

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
    found = {**lan_hosts(home, around), **outside(home, around)}
    for name, source in SOURCES.items():
        how = broken.get(name)
        for path, content in source(home, around).items():
            if how in BREAKS:
                content = BREAKS[how](home.seed, path, content or b"")
            found[path] = content
            if name in homefile.INTERFACES:
                found[f"{path}.{REFUSES}"] = b"" if how == REFUSES else None
    return found
