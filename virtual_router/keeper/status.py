# SPDX-License-Identifier: MIT
"""What runs, where, since when, and which requests are in flight: as script/router status and the control port tell it."""

import os
import pwd
import time

SCHEMA = {
    "type": "object",
    "properties": {
        "router": {"enum": ["starting", "up", "off", "booting"], "description": "starting: for the first time; off, booting: in a reboot"},
        "clock": {"type": ["number", "null"], "description": "seconds since 1970 in UTC that the router's clock shows"},
        "journal": {"type": ["integer", "null"], "description": "the number of the last request; null: requests are not noted"},
        "state": {"type": "string"},
        "mode": {"enum": ["namespaces", "proot", None]},
        "user": {"type": "string"},
        "lan": {"type": ["string", "null"]},
        "phones": {"type": "object", "additionalProperties": {"type": "string"}},
        "agents": {"type": "object", "additionalProperties": {"type": "string"}},
        "ports": {"type": "object"},
        "routers": {"type": "object"},
        "parts": {"type": "array"},
        "requests": {"type": "array"},
        "faults": {"type": "array", "items": {"type": "string"}, "description": "those that are armed"},
    },
}


def condition(keeper):
    if not keeper.up:
        return "starting"
    if not keeper.main.on:
        return "off"
    return "booting" if keeper.rebooting and not keeper.rebooting.done() else "up"


async def of(keeper):
    up = condition(keeper) == "up"
    network = keeper.network
    addresses = network.addresses if network else {}

    def those(things):
        return {thing.number: str(address) for thing, address in addresses.items() if thing in things}

    return {
        "router": condition(keeper),
        "clock": (await keeper.clock())[0] / 1e9 if up else None,
        "journal": keeper.journal.last if keeper.journal else None,
        "state": str(keeper.state.path),
        "mode": keeper.premises.mode.name if keeper.premises else None,
        "user": pwd.getpwuid(os.geteuid()).pw_name,
        "lan": str(network.lan) if network and network.lan else None,
        "phones": those(network.phones) if network else {},
        "agents": those(network.agents) if network else {},
        "ports": {port.number: {"of": port.name, "open": port.open} for port in keeper.ports},
        "routers": {name: {"on": found.on, "since": found.since} for name, found in keeper.routers.items()},
        "parts": [{"name": part.name, "of": part.guest, "since": part.since} for part in keeper.parts.values()],
        "requests": [
            {"port": port.number, "request": request.request, "seconds": round(time.time() - request.since, 3)}
            for port in keeper.ports
            for request in port.in_flight.values()
        ],
        "faults": [found["fault"] for found in keeper.faults.list()],
    }
