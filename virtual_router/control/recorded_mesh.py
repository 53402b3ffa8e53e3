# SPDX-License-Identifier: MIT
"""The mesh that a router's replies tell: its agents, and which device is at which of them. Pure."""

import ipaddress
import re

BANDS = ("5g", "2g")


def colons(mac):
    digits = mac.lower()
    return ":".join(digits[at : at + 2] for at in range(0, 12, 2))


def agents(topology, network):
    """(the agents as a home has them, {digits of a device's MAC address: its spot}, texts: what is not in it)."""
    found, spots, left_out = [], {}, []

    def walk(device, via):
        for child in device.get("child_devices", []):
            told = child.get("device_name") or f"agent-{len(found) + 1}"
            name = re.sub("[^a-z0-9-]", "-", told.lower())[:60]
            if name in [agent["name"] for agent in found]:
                name = f"{name}-{len(found) + 1}"
            if name != told:
                left_out.append(f"that the agent {name} is called {told}")
            address = ipaddress.IPv4Address(child["ip_addr"])
            if address not in network:
                raise ValueError(f"the agent {name} has the address {address}")
            place = int(address) - int(network.network_address)
            found.append({"name": name, "mac": colons(child["mac_address"]), "place": place, **({"via": via} if via else {})})
            for station in child.get("station_info", []):
                if station["station_connected_band"] in BANDS:
                    spots[station["station_mac"].lower()] = f"{name}/{station['station_connected_band']}"
            walk(child, name)

    try:
        walk(topology, None)
    except (AttributeError, KeyError, TypeError, ValueError) as error:
        return [], {}, [f"meshStatus/topology is not understood: {error!r}"]
    return found, spots, left_out
