# SPDX-License-Identifier: MIT
"""A home's state as data, from which it goes on later as if nothing had been between: where everybody is, what the devices know,
what comes next by chance. The same home file, seed, state and calls give the same future."""

import base64
import ipaddress
import json
import struct

import around
import homefile
from model import Device, Home, Lease

FORM = 1
# A device's sources of chance. Each begins with the home's number, the MAC address and what stands here, so that none repeats another.
_CHANCES = {"chance": "", "joining": " joins", "asking": " asks"}
_OF_EACH_PHONE = ("mac", "place", "lease")
_VERSION, _NUMBERS = 3, struct.Struct("<625I")  # of Python's generator


class WrongState(Exception):
    """What is to be taken over is no state of a home; the text says why."""


def chance_of(generator):
    version, numbers, gauss = generator.getstate()
    if version != _VERSION or gauss is not None:
        raise AssertionError("another generator than this module knows")
    return base64.b64encode(_NUMBERS.pack(*numbers)).decode()


def set_chance(generator, text):
    generator.setstate((_VERSION, _NUMBERS.unpack(base64.b64decode(text, validate=True)), None))


def about_device(device):
    """The device as a complete home file has it."""
    return {
        "name": device.name, "mac": device.mac, "place": device.place, "lease": device.lease, "at": device.spots, "wifi": device.wifi,
        "width": device.width, "streams": device.streams, "guard": device.guard, "signal": device.usual_signal, "asks": device.asks, **device.usual,
    }  # fmt: skip


def state(engine):
    """The state of the home that the engine plays, as what JSON can say."""
    home = engine.home
    fresh = {id(device): Device(about_device(device), home.seed) for device in home.devices}

    def chances(device):
        """A chance that was never drawn from needs no words."""
        found = {name: chance_of(getattr(device, name)) for name in _CHANCES}
        return {name: text for name, text in found.items() if text != chance_of(getattr(fresh[id(device)], name))}

    return {
        "form": FORM,
        "about": home.about,
        "steps": home.steps,
        "moving": engine.moving,
        "next_step": max(0.0, engine.next_step - engine.seconds()),
        "wan": home.wan,
        "internet": home.internet,
        "broken": engine.broken,
        "events": list(engine.events),
        "leases": [[mac, str(lease.address), lease.name, lease.ends] for mac, lease in home.leases.items()],
        "tables": {interface: [device and device.mac for device in table] for interface, table in home.tables.items()},
        "devices": [
            {
                "about": about_device(device), "spot": device.spot, "signal": device.signal, "load": device.load, "known": device.known,
                "connected": device.connected, "waits": device.waits, "chances": chances(device),
            }
            for device in home.devices
        ],
    }  # fmt: skip


def restore(engine, found):
    """Makes the home what a state says. The router's files are those of the same moment already."""
    try:
        if found["form"] != FORM:
            raise WrongState(f"it has the form {found['form']}, and this home knows {FORM}")
        home = remade(found, engine.home.about)
        events = [(int(step), str(text)) for step, text in found["events"]]
        broken = {str(name): str(how) for name, how in found["broken"].items()}
        moving, next_step = bool(found["moving"]), float(found["next_step"])
    except (KeyError, TypeError, ValueError, AttributeError, IndexError, struct.error) as error:
        raise WrongState(f"it is no state of a home: {error!r}") from None
    engine.home, engine.broken, engine.moving = home, broken, moving
    engine.next_step = engine.seconds() + next_step
    engine.events.clear()
    engine.events.extend(events)
    take_router(engine)
    engine.written, engine.answers = {}, None
    engine.looked = engine.seconds()


def remade(found, known):
    """The home of a state. `known` is a home file that needs no look."""
    if found["about"] != known:
        check(homefile.SCHEMA, as_written(found["about"]))
    for spot in {str(device["spot"]) for device in found["devices"]}:
        check(homefile.SCHEMA["definitions"]["spot"], spot)
    home = Home(found["about"])
    home.steps, home.wan, home.internet = int(found["steps"]), bool(found["wan"]), bool(found["internet"])
    home.leases = {mac: Lease(ipaddress.IPv4Address(address), str(name), int(ends)) for mac, address, name, ends in found["leases"]}
    home.devices = [remade_device(device, home.seed) for device in found["devices"]]
    by_mac = {device.mac: device for device in home.devices}
    home.phone = by_mac[home.about["phone"]["mac"]]
    for interface, table in home.tables.items():
        before = len(table)
        table[:] = [by_mac[mac] if mac else None for mac in found["tables"][interface]]
        stations = sorted(device.mac for device in home.devices if device.connected and device.spot == interface)
        if len(table) != before or sorted(device.mac for device in table if device) != stations:
            raise ValueError(f"the stations of {interface}")
    return home


def as_written(about):
    """A complete home file as people write one: without what is left open, and what each phone has."""

    def without_nulls(value):
        if isinstance(value, dict):
            return {key: without_nulls(inner) for key, inner in value.items() if inner is not None}
        return [without_nulls(inner) for inner in value] if isinstance(value, list) else value

    phone = {key: value for key, value in about["phone"].items() if key not in _OF_EACH_PHONE}
    return without_nulls({**about, "phone": phone})


def check(schema, value):
    for path, why in homefile.findings(value, schema):
        raise ValueError(f"{homefile.path_text(path)}: {why}")


def remade_device(found, seed):
    device = Device(found["about"], seed)
    device.spot, device.signal, device.load = str(found["spot"]), int(found["signal"]), float(found["load"])
    device.known = {str(name): str(key) for name, key in found["known"].items()}
    device.connected = bool(found["connected"])
    device.waits = None if found["waits"] is None else float(found["waits"])
    for name, text in found["chances"].items():
        if name not in _CHANCES:
            raise ValueError(name)
        set_chance(getattr(device, name), text)
    return device


def take_router(engine):
    """Takes over what is in force in the router, which is nothing new for anybody in the home."""
    mac, phone = engine.around.mac, engine.around.phone
    engine.around = around.Around()
    engine.around.mac, engine.around.phone = mac, phone
    facts = {name: engine.root.read(f"var/run/{name}") for name in around.FILES}
    for name, content in facts.items():
        if content is not None:
            engine.around.take(name, content.decode(errors="backslashreplace"))
    engine.seen = {**facts, "phone": engine.phone}
    engine.around.now = engine.clock.now()
    home = engine.home
    home.networks, home.wlan_starts = engine.around.networks, engine.around.wlan_starts
    home.mesh = engine.around.mesh_role in (None, around.CONTROLLER)


def act(engine, verb, *rest):
    """Does one of VERBS. Returns an exit status and a text."""
    try:
        return 0, VERBS[verb](engine, *rest)
    except (WrongState, TypeError, json.JSONDecodeError) as error:
        return 1, str(error)


# Orders of the keeper for snapshots, which people do not type.
VERBS = {
    "save-state": lambda engine: json.dumps(state(engine), separators=(",", ":")),
    "restore-state": lambda engine, text: restore(engine, json.loads(text)) or "restored",
}
