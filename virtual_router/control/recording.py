# SPDX-License-Identifier: MIT
"""A recording: what an app and a router have said to each other, with what is private masked; what can be made of it, and how another
router's replies differ. Pure: nobody is asked here.

The same original has the same mask everywhere, so that a session, a device or a name can be followed. Private addresses of IPv4 stay:
they say nothing of anybody, and the LAN hangs together by them.
"""

import ipaddress
import json
import re

from bodies import json_object

from . import recorded_lists, recorded_mesh

FORM = 1
# Keys whose texts are masked, and the form of the mask; a number stands for {}.
MASKED_KEYS = {
    "name": "Name {}", "ssid": "Network {}", "ssid5": "Network {}", "device_name": "Name {}", "wifipwd": "key number {:04}", "wifipwd5": "key number {:04}",
    "pwd": "password {}", "ppppwd": "password {}", "pppuser": "account {}", "sn": "sn{:08}", "user": "user{}", "usr": "user{}", "keyword": "word{}", "addurl": "word{}", "delurl": "word{}", "guid": "guid-{}",
    "maclist[1]": "Name {}", "addmaclist[1]": "Name {}",  # of a device in the list
}  # fmt: skip
_MAC = re.compile(r"\b(?:[0-9A-Fa-f]{2}([:-]))(?:[0-9A-Fa-f]{2}\1){4}[0-9A-Fa-f]{2}\b|\b[0-9A-Fa-f]{12}\b")
_SESSION = re.compile(r"\bUs[0-9a-f]{32}\b")
_NUMBERED = re.compile(r"url\d+")
_IPV4 = re.compile(r"\b\d{1,3}(?:\.\d{1,3}){3}\b")
_LONG_ENOUGH = 4  # of an original that is masked wherever it is: a shorter one may be a part of anything
_PUBLIC = ipaddress.IPv4Network("198.18.0.0/15")  # of tests
# What is not the same each time, and the account, which each router has of its own.
VARYING = ("sessionid", "usr", "pwd", "upTime", "uptime", "uSpeed", "dSpeed", "dspeed", "uspeed", "rssi", "dlink", "ulink", "date",
           "station_rssi", "station_downlink", "station_uplink")


class Wrong(Exception):
    """A file is no recording; the text says why."""


class Mask:
    def __init__(self):
        self.made = {}  # (kind, original) -> mask
        self.elsewhere = {}  # original -> mask, of what is masked wherever it stands

    def number(self, kind, original, make):
        key = (kind, original)
        if key not in self.made:
            self.made[key] = make(1 + sum(found == kind for found, _ in self.made))
        return self.made[key]

    def text(self, text):
        text = _SESSION.sub(lambda found: self.number("session", found[0], lambda n: f"Us{n:032x}"), text)
        text = _MAC.sub(self.mac, text)
        text = _IPV4.sub(self.address, text)
        for original, mask in sorted(self.elsewhere.items(), key=lambda pair: -len(pair[0])):
            text = text.replace(original, mask)
        return text

    def mac(self, found):
        """Keeps how it is written; the group addresses and that of nobody stay."""
        digits = re.sub("[:-]", "", found[0]).lower()
        if int(digits[:2], 16) & 1 or digits == "0" * 12:
            return found[0]
        masked = self.number("mac", digits, lambda n: f"024b5480{n:04x}")
        if found[1]:
            masked = found[1].join(masked[at : at + 2] for at in range(0, 12, 2))
        return masked.upper() if found[0].upper() == found[0] else masked

    def address(self, found):
        try:
            address = ipaddress.IPv4Address(found[0])
        except ValueError:
            return found[0]
        if not address.is_global:
            return found[0]
        return self.number("address", found[0], lambda n: str(_PUBLIC[n]))

    def tree(self, value, key=""):
        if isinstance(value, dict):
            return {name: self.tree(inner, name) for name, inner in value.items()}
        if isinstance(value, list):
            return [self.tree(inner, key if isinstance(inner, (dict, list)) else f"{key}[{place}]") for place, inner in enumerate(value)]
        if not isinstance(value, str):
            return value
        form = MASKED_KEYS.get(key.lower()) or (MASKED_KEYS["keyword"] if _NUMBERED.fullmatch(key) else None)
        if form and value:
            masked = self.number(form, value, form.format)
            if len(value) >= _LONG_ENOUGH:
                self.elsewhere[value] = masked
            return masked
        return self.text(value)

    def body(self, data):
        """What JSON says as a tree, anything else as a text."""
        text = data.decode("utf-8", "replace")
        try:
            return self.tree(json.loads(text))
        except (ValueError, RecursionError):
            return self.text(text)


def masked(exchanges, seeds=lambda reply: {}):
    """The exchanges with bytes as bodies, as they are written. Two rounds: what a later reply shows to be a name is masked in earlier ones.
    `seeds` tells what MAC addresses of a reply become, by their digits, that are not to get any."""
    mask = Mask()
    for exchange in exchanges:
        mask.made.update({("mac", digits): masked for digits, masked in seeds(json_object(exchange["reply"]) or {}).items()})
    for _ in range(2):
        found = [
            {
                "at": exchange["at"], "took": exchange["took"], "path": mask.text(exchange["path"]), "request": mask.body(exchange["request"]),
                "status": exchange["status"], "reply": mask.body(exchange["reply"]),
            }
            for exchange in exchanges
        ]  # fmt: skip
    return {"form": FORM, "exchanges": found}


def known_macs(reply, router_mac, phone_mac, phone_place):
    """What MAC addresses become that the virtual router has of its own: the router's, and its phone's, which is the device at that place
    of a LAN."""
    found = {}
    about = reply.get("dutInfo")
    if isinstance(about, dict) and isinstance(about.get("mac"), str):
        found[about["mac"].lower()] = router_mac
    mesh = reply.get("meshStatus")
    if isinstance(mesh, dict) and (mac := mac_of(mesh.get("topology"))):
        found[mac] = router_mac
    listed = reply.get("lanStatus")
    for device in (listed.get("devlist") or []) if isinstance(listed, dict) else []:
        if isinstance(device, dict) and str(device.get("ip")).endswith(f".{phone_place}") and isinstance(device.get("mac"), str):
            found[device["mac"].lower()] = phone_mac
    return found


def load(text):
    try:
        found = json.loads(text)
        if found["form"] != FORM:
            raise Wrong(f"it has the form {found['form']}, and this is for {FORM}")
        for exchange in found["exchanges"]:
            exchange["request"], exchange["reply"], int(exchange["status"])
    except (ValueError, KeyError, TypeError) as error:
        raise Wrong(f"it is no recording: {error!r}") from None
    return found["exchanges"]


def mac_of(element):
    """Of a device, a station or an agent, in small letters; None: the element of a list is none of them."""
    found = [element[key] for key in ("mac", "station_mac", "mac_address") if isinstance(element.get(key), str)] if isinstance(element, dict) else []
    return found[0].lower() if found else None


def differences(before, after, ignored, place=""):
    """Where two replies are not the same; lists of devices are compared by MAC address, in any order."""
    if isinstance(before, dict) and isinstance(after, dict):
        keys = [key for key in {**before, **after} if key not in ignored]
        missing = [f"{place}/{key} is {'not there' if key in before else 'new'}" for key in keys if (key in before) != (key in after)]
        return missing + [text for key in keys if key in before and key in after for text in differences(before[key], after[key], ignored, f"{place}/{key}")]
    if isinstance(before, list) and isinstance(after, list):
        by_mac = [{mac: element for element in found if (mac := mac_of(element))} for found in (before, after)]
        if len(by_mac[0]) == len(before) and len(by_mac[1]) == len(after):
            return differences(*by_mac, ignored, place)
        if len(before) != len(after):
            return [f"{place} has {len(after)} elements, not {len(before)}"]
        return [text for number, pair in enumerate(zip(before, after)) for text in differences(*pair, ignored, f"{place}/{number}")]
    return [] if before == after else [f"{place or '/'} is {json.dumps(after, ensure_ascii=False)[:80]}, not {json.dumps(before, ensure_ascii=False)[:80]}"]


# --- a home of it ---

NOT_TAKEN = ("MIB_USER_NAME", "MIB_USER_PASSWORD")  # the account is masked; a virtual router has its own
PORT_SPEEDS = {"10M": "10M", "100M": "100M", "1000M": "1000M", "0M": "down"}  # as told, and as a home has it
RADIOS = {"5g": "wlan0", "2g": "wlan1"}
WIRED_PORTS = ("port2", "port3", "port4", "port5")


def first_replies(exchanges):
    """{object: what the first successful get told of it}."""
    found = {}
    for exchange in exchanges:
        request, reply = exchange["request"], exchange["reply"]
        if isinstance(request, dict) and isinstance(reply, dict) and str(request.get("action", "")).lower() == "get":
            for name in request.keys() & reply.keys() - {"action", "sessionid", "result"}:
                if name == "lanStatus" and how_telling(found.get(name)) < how_telling(reply[name]):
                    found[name] = reply[name]  # the first get may be before the DHCP server has told names
                found.setdefault(name, reply[name])
    return found


def how_telling(reply):
    """How much a reply of lanStatus tells of devices."""
    listed = reply.get("devlist") if isinstance(reply, dict) else None
    return sum(1 + bool(device.get("name")) for device in listed if isinstance(device, dict)) if isinstance(listed, list) else 0


def flash_name(item):
    """As the store's command names it: MIB_WLAN_SSID@wlan1 is WLAN1_SSID."""
    name, _, interface = item.partition("@")
    return f"{interface.upper().replace('-', '_')}_{name.removeprefix('MIB_WLAN_')}" if interface else name


def stored_as(told, settable):
    """The items that a key of a reply is read from; where a set writes the same item of more interfaces, those."""
    read, written = ([store] if isinstance(store, str) else store or [] for store in (told.get("store"), settable.get("store")))
    if read and {*read} < {*written} and len({item.partition("@")[0] for item in written}) == 1:
        return written
    return read or written


def home(exchanges, objects, phone_place, items):
    """(a home file in which the replies are those that were recorded as far as can be, texts: what is not in it). `objects` is the
    contract's, `items` are the names that the store knows."""
    replies = first_replies(exchanges)
    store, left_out, keys_of = {}, [], {}
    for name, reply in replies.items():
        if name == "lanStatus" or not isinstance(reply, dict):
            continue
        about = objects.get(name, {})
        told = about.get("get", {}).get("reply", {})
        settable = about.get("set", {}).get("keys", {})
        for key, value in reply.items():
            if (name, key) == ("meshStatus", "topology"):
                continue
            if (table := recorded_lists.stored(name, key, value)) is not None:
                store.update((flash_name(item), text) for item, text in table.items())
                continue
            named = stored_as(told.get(key, {}), settable.get(key, {}))
            usable = named and not isinstance(value, (dict, list)) and all(
                each.partition("@")[0] in items and not each.endswith("@each") and each not in NOT_TAKEN for each in named
            )  # fmt: skip
            if not usable:
                left_out.append(f"{name}/{key}")
                continue
            # What is switched on by 1 in the protocol is switched off by 1 in the store.
            turned = key == "enable" and all("_DISABLED" in each for each in named)
            # Of several keys of an object each is a part of the item; those of two objects may say the same.
            shared = [keys_of[each] for each in named if each in keys_of and (keys_of[each].startswith(f"{name}/") or str(store.get(flash_name(each))) != str(value))]
            if shared:
                left_out += [f"{name}/{key}", *(other for other in shared if other not in left_out)]
                for each in named:
                    store.pop(flash_name(each), None)
                continue
            keys_of.update((each, f"{name}/{key}") for each in named)
            store.update((flash_name(each), int(not int(value)) if turned else value) for each in named)
    found = {"description": "Made of a recording", "store": store, "ports": {}, "phone": {"at": ["wlan0", "wlan1"]}, "devices": []}
    network = network_of(replies.get("lan"))
    mesh = replies.get("meshStatus")
    agents, spots, unlike = recorded_mesh.agents(mesh.get("topology"), network) if isinstance(mesh, dict) else ([], {}, [])
    left_out += unlike
    if agents:
        found["agents"] = agents
        store.setdefault("MIB_MESH_ROLE", 1)  # agents are seen by a controller
    devices(replies.get("lanStatus"), network, phone_place, spots, found, left_out)
    return found, left_out


def network_of(lan):
    """The LAN's, as the object "lan" tells it."""
    try:
        return ipaddress.IPv4Interface(f"{lan['ip']}/{lan['mask']}").network
    except (KeyError, TypeError, ValueError):
        return ipaddress.IPv4Network("192.168.1.0/24")


def port_of(told, ports):
    """The port of a device whose link is told so; the speeds of the ports are noted in `ports`. The last port has what is left."""
    speed = PORT_SPEEDS.get(told)
    if speed is None:
        return WIRED_PORTS[0]
    for port in WIRED_PORTS:
        if ports.setdefault(port, speed) == speed:
            break
    return port


def devices(reply, network, phone_place, spots, found, left_out):
    """Those of lanStatus, but for agents. `spots` are those of whoever is at an agent, by MAC address."""
    listed = reply.get("devlist") if isinstance(reply, dict) else None
    if not isinstance(listed, list):
        left_out.append("lanStatus was not asked for: the home has no devices")
        return
    agents = {agent["mac"] for agent in found.get("agents", [])}
    names = set()
    for device in listed:
        try:
            place = int(ipaddress.IPv4Address(device["ip"])) - int(network.network_address)
            mac = recorded_mesh.colons(device["mac"])
            if mac in agents:
                continue
            radio = spots.get(device["mac"].lower()) or RADIOS.get(device["conType"])
            at = port_of(device.get("dlink"), found["ports"]) if device["conType"] == "wired" else radio or "unseen"
        except (KeyError, TypeError, ValueError):
            left_out.append(f"a device of lanStatus: {json.dumps(device)[:80]}")
            continue
        if device["conType"] not in ("5g", "2g", "wired", "unknown"):
            left_out.append(f"that {device['ip']} is connected as {json.dumps(device['conType'])[:40]}")
        name = device.get("name") or f"device {place}"
        name = name if name not in names else f"{name} {place}"
        names.add(name)
        about = {"name": name, "at": at} if device.get("name") or place == phone_place else {"name": name, "at": at, "lease": False}
        if at == radio:
            about["signal"] = max(0, min(255, int(device.get("rssi", 50))))
            keys, fits = recorded_lists.link({"dlink": "", "ulink": "", **device, "rssi": about["signal"]}, device["conType"])
            about.update(keys)
            if not fits:
                left_out.append(f"the rates of {name}: {device.get('dlink')} down, {device.get('ulink')} up at a signal of {about['signal']}")
        about.update({way: int(device.get(key, 0)) for way, key in (("down", "dspeed"), ("up", "uspeed"))})
        if place == phone_place:
            found["phone"] = about
        else:
            found["devices"].append({**about, "mac": mac, "place": place})
