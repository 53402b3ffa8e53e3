"""The state of a home and how it moves. Pure: no file, no clock. The same home, seed and calls give the same state."""

import random

import homefile

STEP_SIGNAL = 2  # how far a signal may move in a step
SIGNAL_REACH = 10  # how far it strays from the one of the home file
STEP_LOAD = 0.3  # how far a device's traffic may move in a step, of its usual one
MOST_LOAD = 2.0
MOVE_CHANCE = 0.05  # that a device with several spots goes to another one in a step

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
        self.spot = self.spots[0]
        # Its own, so that a device that comes or goes leaves the others' ways alone.
        self.chance = random.Random(f"{seed} {self.mac}")

    def band(self):
        return homefile.spot_band(self.spot)

    def link(self):
        return Link(self, self.band())

    def here(self):
        return self.spot != "away"

    def rate(self, direction):
        """Its traffic in bytes/s, "down" or "up", where nothing is in its way."""
        return int(self.usual[direction] * 1024 * self.load) if self.here() else 0


class Home:
    """`about` is a complete home file."""

    def __init__(self, about):
        self.about = about
        self.seed = about["seed"]
        self.steps = 0
        self.wan = True
        self.internet = True
        self.phone = Device(about["phone"], self.seed)
        self.devices = [self.phone] + [Device(device, self.seed) for device in about["devices"]]
        self.agents = about["agents"]
        # Interface -> its stations by association id, less 1. A station keeps its id until it leaves.
        self.tables = {interface: [None] * homefile.MOST_STATIONS for interface in homefile.INTERFACES}
        for device in self.devices:
            self.enter(device)

    def online(self):
        return self.wan and self.internet

    def device(self, word):
        """The device of that name or MAC address."""
        for device in self.devices:
            if word == device.name or word.lower() == device.mac:
                return device
        raise CannotBe(f"there is no device '{word}'")

    def enter(self, device):
        table = self.tables.get(device.spot)
        if table is not None:
            table[table.index(None)] = device

    def leave(self, device):
        table = self.tables.get(device.spot)
        if table is not None:
            table[table.index(device)] = None

    def has_room(self, spot):
        return spot not in self.tables or None in self.tables[spot]

    def move(self, device, spot):
        """Brings a device to a spot where there is room."""
        self.leave(device)
        device.spot = spot
        self.enter(device)

    def roam(self, device, spot):
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
        if not self.has_room(device.spot):
            raise CannotBe(f"{device.spot} has {homefile.MOST_STATIONS} stations already")
        self.devices.append(device)
        self.enter(device)

    def remove(self, device):
        if device is self.phone:
            raise CannotBe("the phone stays: the PC's requests come from it")
        self.leave(device)
        self.devices.remove(device)

    def step(self):
        """Lets a moment pass."""
        self.steps += 1
        for device in self.devices:
            self.step_device(device)

    def step_device(self, device):
        chance = device.chance
        # All are drawn in every step, so that what a device is made to do does not change what it does later.
        moves, way = chance.random() < MOVE_CHANCE, chance.random()
        signal = device.signal + chance.randint(-STEP_SIGNAL, STEP_SIGNAL)
        load = device.load + chance.uniform(-STEP_LOAD, STEP_LOAD)
        lowest, highest = max(0, device.usual_signal - SIGNAL_REACH), min(255, device.usual_signal + SIGNAL_REACH)
        device.signal = min(highest, max(lowest, signal))
        device.load = min(MOST_LOAD, max(0.0, load))
        others = [spot for spot in device.spots if spot != device.spot]
        if moves and others:
            spot = others[int(way * len(others))]
            if self.has_room(spot):
                self.move(device, spot)
