# SPDX-License-Identifier: MIT
"""The state of a home and how it moves. Pure: no file, no clock. The same home, seed and calls give the same state."""

import ipaddress
import random
from typing import NamedTuple

import homefile
from around import CONTROLLER

STEP_SIGNAL = 2  # how far a signal may move in a step
SIGNAL_REACH = 10  # how far it strays from the one of the home file
STEP_LOAD = 0.3  # how far a device's traffic may move in a step, of its usual one
MOST_LOAD = 2.0
MOVE_CHANCE = 0.05  # that a device with several spots goes to another one in a step
ASK_CHANCE = 0.1  # that a device asks for a page in a step
JOIN_SECONDS = (3, 8)  # how long a station takes to come back
LATEST = 2**32 - 1  # seconds since the epoch that fit a lease

# The rate codes of the driver: legacy rates in units of 500 kb/s, 128 + MCS for 802.11n, 160 + 10 * (streams - 1) + MCS
# for 802.11ac. A signal finds its rate by SIGNAL_PER_RATE, from the lowest rate on.
LEGACY_RATES = {"b": (2, 4, 11, 22), "g": (12, 18, 24, 36, 48, 72, 96, 108), "a": (12, 18, 24, 36, 48, 72, 96, 108)}
SIGNAL_PER_RATE = 7
HT_CODE, HT_RATES, HT_STREAMS = 128, 8, 2
VHT_CODE, VHT_RATES = 160, 10
# Mb/s of one stream at 20 MHz with the long guard interval, by MCS; the wider channels carry that many times as much.
MCS_RATES = (6.5, 13, 19.5, 26, 39, 52, 58.5, 65, 78, 260 / 3)
WIDTH_FACTORS = {20: 1, 40: 108 / 52, 80: 234 / 52}


class CannotBe(Exception):
    """What was asked for is impossible in this home; the text says why."""


class Link:
    """How a station speaks with the access point: standard, channel width in MHz, streams, guard interval, and both rates as
    numbers from 0, the lowest."""

    def __init__(self, device, band):
        wide = {"5g": 80, "2g": 40}[band]
        # At 2.4 GHz a device of 802.11ac speaks 802.11n.
        self.standard = "n" if device.wifi == "ac" and band == "2g" else device.wifi
        self.width = min(device.width, wide if self.standard == "ac" else 40) if self.standard in ("n", "ac") else 20
        self.streams = min(device.streams, HT_STREAMS) if self.standard == "n" else device.streams
        self.short_guard = device.guard == "short"
        rates = {"n": HT_RATES, "ac": VHT_RATES}.get(self.standard) or len(LEGACY_RATES[self.standard])
        self.down = min(rates - 1, device.signal // SIGNAL_PER_RATE)
        self.up = max(0, self.down - 1)

    def code(self, rate):
        """The driver's code of a rate."""
        if self.standard == "ac":
            return VHT_CODE + VHT_RATES * (self.streams - 1) + rate
        if self.standard == "n":
            return HT_CODE + HT_RATES * (self.streams - 1) + rate
        return LEGACY_RATES[self.standard][rate]

    def megabits(self, rate):
        """A rate in Mb/s."""
        if self.standard in LEGACY_RATES:
            return LEGACY_RATES[self.standard][rate] / 2
        return MCS_RATES[rate] * WIDTH_FACTORS[self.width] * self.streams * (10 / 9 if self.short_guard else 1)


class Lease(NamedTuple):
    address: ipaddress.IPv4Address
    name: str
    ends: int  # seconds since the epoch, by the router's clock


class Device:
    """A device and where it is at this moment. `about` is the device of a complete home file."""

    def __init__(self, about, seed):
        self.name = about["name"]
        self.mac = about["mac"]
        self.place = about["place"]
        self.lease = about["lease"]
        self.spots = list(about["at"])
        self.wifi = about["wifi"]
        self.width = about["width"]
        self.streams = about["streams"]
        self.guard = about["guard"]
        self.usual_signal = self.signal = about["signal"]
        self.usual = {"down": about["down"], "up": about["up"]}
        self.load = 1.0
        self.asks = list(about["asks"])
        self.spot = self.spots[0]
        self.known = {}  # the networks that it knows: name -> key
        # Who is in the air at a spot may be kept out, or be on the way: `waits` are the seconds until it is let in.
        self.connected = True
        self.waits = None
        # Its own, so that a device that comes or goes leaves the others' ways alone.
        self.chance = random.Random(f"{seed} {self.mac}")
        self.joining = random.Random(f"{seed} {self.mac} joins")
        self.asking = random.Random(f"{seed} {self.mac} asks")

    def band(self):
        return homefile.spot_band(self.spot)

    def link(self):
        return Link(self, self.band())

    def here(self):
        return self.spot != "away" and self.connected

    def rate(self, direction):
        """Its traffic in bytes/s, "down" or "up", where nothing is in its way."""
        return int(self.usual[direction] * 1024 * self.load) if self.here() else 0


class Home:
    """`about` is a complete home file."""

    def __init__(self, about):
        self.about = about
        self.seed = about["seed"]
        self.steps = 0
        self.wan = True  # the cable is in
        self.internet = True  # the provider passes on what it has of it
        self.networks = {}  # interface -> what it offers; until the router has told, each lets everybody in
        self.wlan_starts = 0
        self.mesh = True  # agents are attached
        self.leases = {}  # MAC address -> Lease
        self.phone = Device(about["phone"], self.seed)
        self.devices = [self.phone] + [Device(device, self.seed) for device in about["devices"]]
        self.agents = about["agents"]
        # Interface -> its stations by association id, less 1. A station keeps its id until it leaves.
        self.tables = {interface: [None] * homefile.MOST_STATIONS for interface in homefile.INTERFACES}
        for device in self.devices:
            self.enter(device)

    def has_internet(self):
        """Whether there is an Internet behind the provider."""
        return self.internet and bool(self.about["internet"])

    def online(self, around):
        return self.wan and around.wan_up and self.has_internet()

    def device(self, word):
        """The device of that name or MAC address."""
        for device in self.devices:
            if word == device.name or word.lower() == device.mac:
                return device
        raise CannotBe(f"there is no device '{word}'")

    def enter(self, device):
        table = self.tables.get(device.spot)
        if table is not None and device.connected:
            table[table.index(None)] = device

    def leave(self, device):
        table = self.tables.get(device.spot)
        if table is not None and device.connected:
            table[table.index(device)] = None

    def network(self, spot):
        """What the router offers at a spot in the air; None elsewhere, and while it is not known. An agent offers what the main
        access point of that band does."""
        return self.networks.get(homefile.RADIOS[homefile.spot_band(spot)] if "/" in spot else spot)

    def refusal(self, device, spot):
        """Why a device cannot join at a spot, as a text; None if it can."""
        network = self.network(spot)
        if "/" in spot and not self.mesh:
            return "its agent is not attached"
        if network is None:
            return None
        if not network.on:
            return "switched off"
        # What the app sets, the phone's owner tells the phone.
        if network.key and device is not self.phone and device.known.get(network.ssid) != network.key:
            return "another name or key"
        return None if network.admits(device.mac) else "kept out by the access list"

    def learn(self, device):
        """Tells a device the networks that whoever set it up once told it: those of its spots, on both bands, and the house's own
        unless it is a guest's."""
        spots = [homefile.other_band(spot) for spot in device.spots] + device.spots[::-1]
        if not any(map(homefile.is_guest_spot, spots)):
            spots = [*homefile.RADIOS.values(), *spots]
        # Of two networks of one name it knows that of its first spot.
        for network in filter(None, map(self.network, filter(homefile.spot_band, spots))):
            device.known[network.ssid] = network.key

    def disconnect(self, device):
        self.leave(device)
        device.connected = False
        device.waits = None

    def wait_to_join(self, device):
        device.waits = device.joining.uniform(*JOIN_SECONDS)

    def obey(self, around):
        """The router is like this now. Whom it does not let in any more leaves, and goes to another of its spots if it can; whom it
        lets in comes after some seconds. Returns what happened: pairs of a device and a text."""
        first = not self.networks
        restarted = not first and around.wlan_starts != self.wlan_starts
        self.networks, self.wlan_starts = around.networks, around.wlan_starts
        self.mesh = around.mesh_role in (None, CONTROLLER)
        happened = []
        for device in self.devices:
            if first:
                self.learn(device)
            happened += [(device, text) for text in self.look_for_network(device, restarted)]
        return happened

    def look_for_network(self, device, restarted=False):
        """A device makes the best of what is offered at its spot. Yields what happened."""
        if device.band() is None:
            return
        refusal = self.refusal(device, device.spot)
        if device.connected and (refusal or restarted):
            yield f"leaves {device.spot}: {refusal or 'the Wi-Fi starts anew'}"
            self.disconnect(device)
        if refusal:
            others = [spot for spot in device.spots if homefile.spot_band(spot) and self.refusal(device, spot) is None]
            if others:
                device.spot = others[0]
                refusal = None
        if refusal:
            device.waits = None
        elif not device.connected and device.waits is None:
            self.wait_to_join(device)

    def renew_leases(self, around):
        """The DHCP server gives leases to whoever is here and asks for one; a device renews its own when half of it has passed.
        Who left keeps it until it ends. A LAN that has moved knows none of the old ones. True: something has changed."""
        before = self.leases
        kept = {}
        for mac, lease in self.leases.items():
            if lease.ends > around.now and around.lan and lease.address in around.lan.network:
                kept[mac] = lease
        for address, name, mac in self.wanting_leases(around):
            lease = kept.get(mac)
            if around.gives_leases and (not lease or lease.address != address or lease.ends - around.now < around.lease_seconds // 2):
                kept[mac] = Lease(address, name, min(around.now + around.lease_seconds, LATEST))
        # The oldest ones make room.
        self.leases = dict(sorted(kept.items(), key=lambda item: item[1].ends)[-homefile.MOST_CLIENTS :])
        return self.leases != before

    def next_lease_change(self, around):
        """When renew_leases() has something to do next, in seconds since the epoch by the router's clock; None: never."""
        wanting = {mac for _, _, mac in self.wanting_leases(around)} if around.gives_leases else ()
        ends = [lease.ends - (around.lease_seconds // 2 - 1 if mac in wanting else 0) for mac, lease in self.leases.items()]
        return min(ends, default=None)

    def wanting_leases(self, around):
        """Who gets an address from the DHCP server: address, name and MAC address."""
        for address, thing in self.hosts(around):
            if isinstance(thing, dict):
                yield address, thing["name"], thing["mac"]
            elif thing.lease:
                yield address, thing.name, thing.mac

    def hosts(self, around):
        """Yields what has an address at this moment: (address, agent or device of the home). Agents come first, and who has an
        address of the DHCP server's pool last."""
        for agent in self.agents if self.mesh else ():
            address = around.address(agent["place"])
            if address:
                yield address, agent
        for device in self.devices:
            if device is self.phone:
                # The PC's requests come from it, whether the Wi-Fi has it or not.
                if around.phone:
                    yield ipaddress.IPv4Address(around.phone), device
            elif device.place is not None and device.here():
                address = around.address(device.place)
                if address:
                    yield address, device
        yield from self.pooled(around)

    def pooled(self, around):
        """Who has no place gets an address of the pool, and keeps it while it has a lease of it. A pool may be too small for all."""
        devices = [device for device in self.devices if device.place is None]
        if not devices:
            return
        taken = {around.address(thing["place"]) for thing in self.agents}
        taken |= {around.address(device.place) for device in self.devices if device.place is not None}
        taken |= {lease.address for lease in self.leases.values()} | ({ipaddress.IPv4Address(around.phone)} if around.phone else set())
        free = (address for address in around.pool_addresses() if address not in taken)
        for device in devices:
            if not device.here():
                continue
            lease = self.leases.get(device.mac)
            address = lease.address if lease and around.is_in_pool(lease.address) else next(free, None) if around.gives_leases else None
            if address:
                yield address, device

    def pass_seconds(self, seconds):
        """Lets so much time pass for those who are about to join. Returns what happened, as obey() does."""
        happened = []
        for device in self.devices:
            if device.waits is None:
                continue
            device.waits -= seconds
            if device.waits <= 0 and self.has_room(device.spot):
                device.waits = None
                device.connected = True
                self.enter(device)
                happened.append((device, f"joins {device.spot}"))
        return happened

    def join(self, device, ssid, key):
        """Tells a device a network and its key. Returns what comes of it, as a text."""
        if ssid is None:
            network = self.network(device.spot)
            if network is None:
                raise CannotBe(f"{device.name} is at {device.spot}, where there is no network; name one")
            ssid = network.ssid
        device.known[ssid] = key
        list(self.look_for_network(device))
        if device.band() is None:
            return f"{device.name} knows '{ssid}'"
        refusal = self.refusal(device, device.spot)
        if refusal:
            return f"{device.name} knows '{ssid}', but {device.spot} is not open to it: {refusal}"
        return f"{device.name} knows '{ssid}', and {'stays at' if device.connected else 'joins'} {device.spot}"

    def has_room(self, spot):
        return spot not in self.tables or None in self.tables[spot]

    def move(self, device, spot):
        """Brings a device to a spot where there is room. It is connected there at once, or not at all."""
        self.leave(device)
        device.spot = spot
        device.connected = homefile.spot_band(spot) is None or self.refusal(device, spot) is None
        device.waits = None
        self.enter(device)

    def roam(self, device, spot):
        for _, why in homefile.findings(spot, homefile.SCHEMA["definitions"]["spot"]):
            raise CannotBe(why)
        agents = {agent["name"] for agent in self.agents}
        for why in homefile.impossible({"at": [spot], "wifi": device.wifi}, agents, device is self.phone):
            raise CannotBe(why)
        if device.spot == spot:
            raise CannotBe(f"{device.name} is at {spot} already")
        if not self.has_room(spot):
            raise CannotBe(f"{spot} has {homefile.MOST_STATIONS} stations already")
        self.move(device, spot)

    def add(self, about):
        """Adds a device, with all its keys."""
        things = [vars(device) for device in self.devices] + self.agents
        for key, what in (("name", "name"), ("mac", "MAC address"), ("place", "place")):
            for thing in things:
                if thing[key] == about[key]:
                    raise CannotBe(f"{about[key]} is the {what} of {thing['name']} already")
        if len(things) == homefile.MOST_CLIENTS:
            raise CannotBe(f"there are {homefile.MOST_CLIENTS} clients already, with the phone and the agents")
        for why in homefile.impossible(about, {agent["name"] for agent in self.agents}):
            raise CannotBe(why)
        device = Device(about, self.seed)
        self.learn(device)
        if not self.has_room(device.spot):
            raise CannotBe(f"{device.spot} has {homefile.MOST_STATIONS} stations already")
        self.devices.append(device)
        device.connected = device.band() is None or self.refusal(device, device.spot) is None
        self.enter(device)

    def remove(self, device):
        if device is self.phone:
            raise CannotBe("the phone stays: the PC's requests come from it")
        self.leave(device)
        self.devices.remove(device)

    def step(self):
        """Lets a moment pass. Returns who asked for what: pairs of a device and a page."""
        self.steps += 1
        asked = []
        for device in self.devices:
            self.step_device(device)
            asks, which = device.asking.random() < ASK_CHANCE, device.asking.random()
            if asks and device.asks and device.here():
                asked.append((device, device.asks[int(which * len(device.asks))]))
        return asked

    def step_device(self, device):
        chance = device.chance
        # All are drawn in every step, so that what a device is made to do does not change what it does later.
        moves, way = chance.random() < MOVE_CHANCE, chance.random()
        signal = device.signal + chance.randint(-STEP_SIGNAL, STEP_SIGNAL)
        load = device.load + chance.uniform(-STEP_LOAD, STEP_LOAD)
        lowest, highest = max(0, device.usual_signal - SIGNAL_REACH), min(255, device.usual_signal + SIGNAL_REACH)
        device.signal = min(highest, max(lowest, signal))
        device.load = min(MOST_LOAD, max(0.0, load))
        others = [spot for spot in device.spots if spot != device.spot and (not homefile.spot_band(spot) or not self.refusal(device, spot))]
        if moves and others:
            spot = others[int(way * len(others))]
            if self.has_room(spot):
                self.move(device, spot)
