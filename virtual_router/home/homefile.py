# SPDX-License-Identifier: MIT
"""Home files: reading one, and saying what is wrong with it."""

import ipaddress
import json
import pathlib
import re
import sys

import jsonschema

sys.path.append(str(pathlib.Path(__file__).resolve().parents[2] / "platform"))
import seam  # noqa: E402

SCHEMA = json.loads(pathlib.Path(__file__).with_name("home.schema.json").read_text())
RADIOS = {"5g": "wlan0", "2g": "wlan1"}  # band -> its radio
INTERFACES = {  # wireless interface -> its band, in the order in which the router looks into them
    **{radio: band for band, radio in RADIOS.items()},
    **{f"{radio}-va{number}": band for band, radio in RADIOS.items() for number in range(4)},
}
RECORDS, NUMBERS = seam.read_records()
MOST_STATIONS = NUMBERS["kStationSlots"] - 1  # of one interface: the first slot of the driver's table is unused
MOST_CLIENTS = NUMBERS["kArpEntryLimit"]  # the router's ARP list has no more entries
MOST_AGENTS = 32
MOST_NAME_BYTES = 63  # of the lease record's 64, one ends the name
BANDS_OF = {"a": {"5g"}, "b": {"2g"}, "g": {"2g"}, "n": {"2g", "5g"}, "ac": {"2g", "5g"}}
DEVICE_DEFAULTS = {"place": None, "lease": True, "wifi": "ac", "width": 80, "streams": 2, "guard": "short", "signal": 50, "down": 0, "up": 0, "asks": []}


class HomeError(Exception):
    """A home that cannot be: a list of lines, each naming the spot in the file and what is wrong there."""


def spot_band(spot):
    """The band of a spot in the air, None of any other."""
    return spot.rpartition("/")[2] if "/" in spot else INTERFACES.get(spot)


def is_guest_spot(spot):
    """Whether a spot is a virtual access point, whose network is another than the house's."""
    return spot in INTERFACES and spot not in RADIOS.values()


def other_band(spot):
    """The same network's spot on the other band; a spot that is not in the air is left as it is."""
    if spot in INTERFACES:
        return spot.replace("wlan0", "wlan2").replace("wlan1", "wlan0").replace("wlan2", "wlan1")
    agent, slash, band = spot.rpartition("/")
    return f"{agent}/{'2g' if band == '5g' else '5g'}" if slash else spot


def path_text(path):
    """devices[3].mac, from the elements of the path to a value."""
    text = "".join(f"[{element}]" if isinstance(element, int) else f".{element}" for element in path)
    return text.lstrip(".") or "the file"


def what_is_wrong(error):
    """What the schema's finding means to whoever wrote the file."""
    if error.validator == "required":
        missing = [key for key in error.validator_value if key not in error.instance]
        return f"the key {', '.join(json.dumps(key) for key in missing)} is missing"
    if error.validator == "additionalProperties" and isinstance(error.instance, dict) and error.validator_value is False:
        known = [*error.schema.get("properties", {})]
        unknown = [key for key in error.instance if key not in known and not key_matches(key, error.schema)]
        there_are = f" (there are: {', '.join(known)})" if known else f"; it must be {error.schema['title']}"
        return f"there is no key {', '.join(json.dumps(key) for key in unknown)}{there_are}"
    value = json.dumps(error.instance, ensure_ascii=False)
    if len(value) > 60:
        value = value[:57] + "..."
    return f"{value} must be {error.schema.get('title', error.message)}"


def key_matches(key, schema):
    return any(re.search(pattern, key) for pattern in schema.get("patternProperties", {}))


def findings(value, schema):
    """What the schema finds wrong with a value: pairs of the path to it and the text. Each spot once."""
    validator = jsonschema.Draft7Validator({**schema, "definitions": SCHEMA["definitions"]})
    found = {}
    for error in sorted(validator.iter_errors(value), key=lambda error: [str(element) for element in error.absolute_path]):
        found.setdefault(tuple(error.absolute_path), what_is_wrong(error))
    return list(found.items())


def without_doubles(pairs):
    keys = [key for key, _ in pairs]
    for key in keys:
        if keys.count(key) > 1:
            raise ValueError(f"the key {json.dumps(key)} stands twice in one object")
    return dict(pairs)


def no_number(text):
    raise ValueError(f"{text} is no number")


def complete(device):
    """A device of a home file with all its keys: "at" an array, "mac" in lower case."""
    at = device["at"]
    return {**DEVICE_DEFAULTS, **device, "mac": device["mac"].lower(), "at": at if isinstance(at, list) else [at]}


def contradictions(home):
    """What the schema cannot see: pairs of the path and the text. `home` is complete."""
    agents, devices = home["agents"], home["devices"]
    things = [(("phone",), home["phone"])]
    things += [(("agents", number), agent) for number, agent in enumerate(agents)]
    things += [(("devices", number), device) for number, device in enumerate(devices)]
    for key, what in (("name", "name"), ("mac", "MAC address"), ("place", "place")):
        seen = {}
        for path, thing in things:
            first = seen.setdefault(thing[key], path)
            if first != path and thing[key] is not None:
                yield (*path, key), f"{json.dumps(thing[key], ensure_ascii=False)} is the {what} of {path_text(first)} already"
    for number, network in enumerate(home["internet"]):
        try:
            ipaddress.IPv4Network(network)
        except ValueError as error:
            yield ("internet", number), f"{error}"
    if len(agents) > MOST_AGENTS:
        yield ("agents",), f"there are {len(agents)} agents; a router knows {MOST_AGENTS} at most"
    if len(things) > MOST_CLIENTS:
        yield ("devices",), (
            f"there are {len(things)} clients, with the phone and the agents; a router knows {MOST_CLIENTS} at most"
        )

    names = {agent["name"]: agent for agent in agents}
    for number, agent in enumerate(agents):
        via = agent["via"]
        if via is not None and via not in names:
            yield ("agents", number, "via"), f'there is no agent "{via}"'
        road = {agent["name"]}
        while via in names and via not in road:
            road.add(via)
            via = names[via]["via"]
        if via in road:
            yield ("agents", number, "via"), "the agents are attached in a circle"
    for path, thing in things:
        if len(thing["name"].encode()) > MOST_NAME_BYTES:
            yield (*path, "name"), f"it is longer than {MOST_NAME_BYTES} bytes"
        if "at" in thing and thing["place"] is None and not thing["lease"]:
            yield path, 'the key "place" is missing: without DHCP it has an address by hand'
        if "at" in thing:
            yield from ((path + ("at",), why) for why in impossible(thing, names, thing is home["phone"]))
    for interface in INTERFACES:
        stations = [thing for _, thing in things if "at" in thing and thing["at"][0] == interface]
        if len(stations) > MOST_STATIONS:
            yield ("devices",), f"{len(stations)} devices are at {interface}; an interface takes {MOST_STATIONS} at most"


def impossible(device, agents, is_phone=False):
    """Why a device cannot be at its spots: texts."""
    for spot in device["at"]:
        if "/" in spot and spot.partition("/")[0] not in agents:
            yield f'there is no agent "{spot.partition("/")[0]}"'
        band = spot_band(spot)
        if band and band not in BANDS_OF[device["wifi"]]:
            yield f'a device of wifi "{device["wifi"]}" cannot be at {spot}'
        if is_phone and spot == "away":
            yield "the phone is always at home: the PC's requests come from it"


def load(path, phone_mac, phone_place):
    """Reads a home file. Returns it with all keys, or raises HomeError."""
    try:
        text = pathlib.Path(path).read_bytes().decode()
        home = json.loads(text, object_pairs_hook=without_doubles, parse_constant=no_number)
        json.dumps(home, ensure_ascii=False).encode()  # a half of a character pair is no text
    except OSError as error:
        raise HomeError(f"{path}: {error.strerror}")
    except json.JSONDecodeError as error:
        raise HomeError(f"{path}: line {error.lineno}, column {error.colno}: {error.msg}")
    except (ValueError, RecursionError) as error:
        raise HomeError(f"{path}: {error}")
    found = findings(home, SCHEMA)
    if not found:
        home = {"seed": 0, "pace": 2, "outage": None, "store": {}, "ports": {}, "internet": [], "phone": {}, "agents": [], **home}
        phone = {"name": "phone", "at": "wlan0", **home["phone"], "mac": phone_mac, "place": phone_place}
        home["phone"] = complete(phone)
        home["agents"] = [{"via": None, **agent, "mac": agent["mac"].lower()} for agent in home["agents"]]
        home["devices"] = [complete(device) for device in home["devices"]]
        found = list(contradictions(home))
    if found:
        raise HomeError("\n".join(f"{path}: {path_text(place)}: {why}" for place, why in found))
    return home
