# SPDX-License-Identifier: MIT
"""What script/router can do to a home. A verb is a row of VERBS; whoever calls it wrongly gets its usage."""

import json

import homefile
import memory
import sources
import traffic
from model import CannotBe


ALL = "all"  # sources


class WrongCall(Exception):
    """The words after a verb make no sense; the text says why."""


def whole_number(word, what, lowest, highest):
    if not (word.isascii() and word.isdigit() and lowest <= int(word) <= highest):
        raise WrongCall(f"{what} is a number from {lowest} to {highest}, not '{word}'")
    return int(word)


def one_of(word, what, words):
    if word not in words:
        raise WrongCall(f"there is no {what} '{word}' (there are: {' '.join(words)})")
    return word


def columns(rows):
    widths = [max(len(row[column]) for row in rows) for column in range(len(rows[0]))]
    return "\n".join("  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip() for row in rows)


def link_text(device):
    if device.band() is None or not device.connected:
        return "-"
    link = device.link()
    if link.standard not in ("n", "ac"):
        return link.standard
    return f"{link.standard} {link.width} MHz, {link.streams} x MCS {link.down}"


def at_text(home, device):
    """Where a device is, and what keeps it from the network there."""
    if device.spot == "away" or device.connected:
        return device.spot
    return f"{device.spot} ({'joining' if device.waits is not None else home.refusal(device, device.spot)})"


def as_tree(engine):
    """The home at this moment, for programs."""
    home, around = engine.home, engine.around
    addresses = {id(thing): str(address) for address, thing in home.hosts(around)}
    rates = traffic.rates(home, around)
    networks = {
        interface: {"on": network.on, "ssid": network.ssid, "channel": int(network.channel), "list": network.list}
        for interface, network in home.networks.items()
    }
    agents = [
        {"name": agent["name"], "mac": agent["mac"], "address": addresses.get(id(agent)), "via": agent["via"] or "router"} for agent in home.agents
    ]
    devices = [
        {
            "name": device.name,
            "mac": device.mac,
            "address": addresses.get(id(device)),
            "at": device.spot,
            "connected": device.here(),
            "why": None if device.here() or device.spot == "away" or device.waits is not None else home.refusal(device, device.spot),
            "signal": device.signal if device.band() else None,
            "denied": device.mac in around.denied,
            **{way: rates[device][way] for way in traffic.WAYS},
        }
        for device in home.devices
    ]
    return {
        "description": home.about["description"],
        "step": home.steps,
        "moving": engine.moving,
        "clock": around.now,
        "wan": home.wan,
        "internet": home.online(around),
        "broken": engine.broken,
        "networks": networks,
        "agents": agents,
        "devices": devices,
    }


def show(engine, form=None):
    if form is not None and form != "--json":
        raise WrongCall(f"there is no form '{form}' (there is: --json)")
    if form:
        return json.dumps(as_tree(engine), ensure_ascii=False, indent=2)
    home, around = engine.home, engine.around
    addresses = {id(thing): str(address) for address, thing in home.hosts(around)}
    passing = traffic.rates(home, around)
    rows = [("DEVICE", "MAC", "ADDRESS", "AT", "SIGNAL", "LINK", "DOWN", "UP")]
    for agent in home.agents:
        via = agent["via"] or "router"
        rows.append((agent["name"], agent["mac"], addresses.get(id(agent), "-"), f"agent of {via}", "-", "-", "-", "-"))
    for device in home.devices:
        in_air = device.band() is not None and device.connected
        rates = [str(passing[device][way] // 1024) for way in traffic.WAYS]
        signal = str(device.signal) if in_air else "-"
        rows.append((device.name, device.mac, addresses.get(id(device), "-"), at_text(home, device), signal, link_text(device), *rates))
    broken = " ".join(f"{name}:{how}" for name, how in engine.broken.items())
    return "\n".join(
        (
            home.about["description"],
            f"step {home.steps}, {'moving' if engine.moving else 'standing still'}; WAN {'up' if home.wan else 'down'}, "
            f"Internet {'up' if home.online(around) else 'down'}; broken: {broken or 'nothing'}",
            columns(rows),
        )
    )


def device_from(engine, name, at, words):
    """The device that the words of `add` describe, with all its keys."""
    properties = homefile.SCHEMA["definitions"]["device"]["properties"]
    about = {"name": name, "at": at.split(",")}
    for word in words:
        key, equals, value = word.partition("=")
        if not equals or key not in properties or key in about:
            raise WrongCall(f"'{word}' is no KEY=VALUE (keys: {' '.join(key for key in properties if key not in ('name', 'at'))})")
        about[key] = int(value) if value.isascii() and value.isdigit() else {"true": True, "false": False}.get(value, value)
    home = engine.home
    things = [vars(device) for device in home.devices] + home.agents
    places = {thing["place"] for thing in things}
    about.setdefault("place", next(place for place in range(2, 65535) if place not in places))
    place = about["place"] if isinstance(about["place"], int) else 0  # which is found wrong below
    about.setdefault("mac", f"02:4b:54:01:{place >> 8 & 255:02x}:{place & 255:02x}")
    found = homefile.findings(about, homefile.SCHEMA["definitions"]["device"])
    if found:
        raise WrongCall("; ".join(f"{homefile.path_text(path)}: {why}" for path, why in found))
    if len(name.encode()) > homefile.MOST_NAME_BYTES:
        raise WrongCall(f"a name has {homefile.MOST_NAME_BYTES} bytes at most")
    return homefile.complete(about)


def add(engine, name, at, *words):
    about = device_from(engine, name, at, words)
    engine.home.add(about)
    return f"{name} ({about['mac']}, place {about['place']}) is at {at_text(engine.home, engine.home.device(name))}"


def remove(engine, name):
    engine.home.remove(engine.home.device(name))
    return f"{name} is gone"


def roam(engine, name, spot):
    device = engine.home.device(name)
    engine.home.roam(device, spot)
    return f"{device.name} is at {at_text(engine.home, device)}"


def join(engine, name, *words):
    device = engine.home.device(name)
    ssid, key = words if len(words) == 2 else (None, *words)
    return engine.home.join(device, ssid, key)


def ask(engine, name, page):
    device = engine.home.device(name)
    return f"{device.name} asks for {page}: {engine.ask(device, page)}"


def events(engine, count="20"):
    count = whole_number(count, "N", 1, engine.events.maxlen)
    return "\n".join(f"{step}  {text}" for step, text in [*engine.events][-count:]) or "nothing has happened yet"


def wan(engine, state):
    engine.home.wan = one_of(state, "state", ("up", "down")) == "up"
    return f"the WAN is {state}"


def internet(engine, state):
    home = engine.home
    home.internet = one_of(state, "state", ("up", "down")) == "up"
    but = "" if home.wan else ", but the WAN is down"
    return f"the Internet is {state}{but or ('' if home.about['internet'] else ', but this home has none')}"


def break_source(engine, name, how="missing"):
    names = [*sources.SOURCES] if name == ALL else [one_of(name, "source", sources.SOURCES)]
    ways = [*sources.BREAKS, sources.REFUSES] if name in homefile.INTERFACES else [*sources.BREAKS]
    one_of(how, "way to break it", ways)
    engine.broken.update((name, how) for name in names)
    return f"{name} is broken: {how}" if name != ALL else f"all {len(names)} sources are broken: {how}"


def mend(engine, *names):
    for name in names:
        one_of(name, "source", sources.SOURCES)
    for name in names or [*engine.broken]:
        engine.broken.pop(name, None)
    return f"broken: {' '.join(engine.broken) or 'nothing'}"


def step(engine, count="1"):
    for _ in range(whole_number(count, "N", 1, 10000)):
        engine.step()
        engine.let_pass(engine.home.about["pace"])
    return f"step {engine.home.steps}"


def still(engine):
    engine.moving = False
    return f"the home stands still at step {engine.home.steps}"


def move(engine):
    engine.start_moving()
    return f"the home moves every {engine.home.about['pace']:g} s"


# verb: function, words that it takes (those in [] need not be given, "..." is any number), what it does
VERBS = {
    "show": (show, "[--json]", "print the home at this moment: who is where, how strong the signal, KiB/s of traffic"),
    "events": (events, "[N]", "print the last N things that happened (20)"),
    "add": (add, "NAME SPOT[,SPOT] [KEY=VALUE]...", "add a device; the keys are those of the home file"),
    "remove": (remove, "DEVICE", "take a device out of the home for good"),
    "roam": (roam, "DEVICE SPOT", "bring a device to an interface, port or agent, or \"away\""),
    "join": (join, "DEVICE [SSID] KEY", "tell a device the key of a network, that at its spot or SSID; \"\" is no key"),
    "ask": (ask, "DEVICE PAGE", "have a device ask for a page, such as games.example/play"),
    "wan": (wan, "up|down", "plug the WAN in, or cut it"),
    "internet": (internet, "up|down", "say whether the Internet is reached"),
    "break": (break_source, "SOURCE [HOW]", "spoil a source: missing (as it is when nothing is said), empty, half, long, noise"),
    "mend": (mend, "[SOURCE]...", "mend these sources, or all"),
    "step": (step, "[N]", "let N moments pass at once (1)"),
    "still": (still, "", "stop the time of the home"),
    "move": (move, "", "let it run again"),
}


def help_text():
    rows = [(f"  home {verb} {words}".rstrip(), about) for verb, (_, words, about) in VERBS.items()]
    return (
        "Usage: script/router [--state DIR] home [VERB [WORD...]]\n\n"
        "Acts on the home of a router that was started with script/server --home. Without a verb it shows it.\n\n"
        + columns(rows)
        + "\n\nDEVICE is a name or a MAC address. SPOT is a wireless interface (wlan0, wlan1-va2), an Ethernet port (port2 to port5),\n"
        "AGENT/5g, AGENT/2g, unseen (no source tells where) or away. SOURCE is one of:\n"
        f"  {' '.join([*sources.SOURCES][:10])}\n  {' '.join([*sources.SOURCES][10:])} {ALL}\n"
        f"A station table also breaks in the way \"{sources.REFUSES}\": the driver does not hand it over."
    )


def fits(words, count):
    """Whether so many words can stand where these are asked for."""
    needed = [word for word in words.split() if not word.startswith("[")]
    return len(needed) <= count and ("..." in words or count <= len(words.split()))


def act(engine, words):
    """Does what the words say. Returns an exit status and a text."""
    verb, *rest = words or ["show"]
    if any("\ud800" <= character <= "\udfff" for character in "".join(words)):
        return 2, "the words are no UTF-8"
    if verb == "help":
        return 0, help_text()
    if verb in memory.VERBS:
        return memory.act(engine, verb, *rest)
    if verb not in VERBS:
        return 2, f"there is no verb '{verb}' (script/router home help)"
    function, usage, _ = VERBS[verb]
    if not fits(usage, len(rest)):
        return 2, f"usage: home {verb} {usage}".rstrip()
    try:
        return 0, function(engine, *rest)
    except WrongCall as error:
        return 2, str(error)
    except CannotBe as error:
        return 1, str(error)
