# SPDX-License-Identifier: MIT
"""A home obeys its router: the settings in force, as the router's commands leave them, and what becomes of the home. The clocks
stand still until they are told."""

import contextlib
import copy
import io
import ipaddress
import json
import pathlib
import pickle
import shutil
import struct
import tempfile

import around as arounds
import engine
import homefile
import model
import verbs
from clocks import SUNDAY_NOON, StillPc

PHONE = ("02:4b:54:00:00:64", 100)
HOME = {
    "description": "obedient",
    "pace": 2,
    "internet": ["8.8.8.8", "198.18.0.0/15"],
    "agents": [{"name": "attic", "mac": "02:00:00:00:01:01", "place": 10}],
    "phone": {"at": ["wlan0", "wlan1"], "down": 10},
    "devices": [
        {"name": "tablet", "mac": "02:00:00:00:00:01", "place": 20, "at": "wlan0", "down": 100, "up": 10},
        {"name": "rover", "mac": "02:00:00:00:00:02", "place": 21, "at": ["wlan0", "wlan1"], "down": 50},
        {"name": "guest", "mac": "02:00:00:00:00:03", "place": 22, "at": "wlan1-va1", "down": 40},
        {"name": "television", "mac": "02:00:00:00:00:04", "place": 23, "at": "port3", "down": 3000, "up": 20},
        {"name": "sleeper", "mac": "02:00:00:00:00:05", "place": 24, "at": "attic/5g", "down": 7},
    ],
}
WLAN = {
    "WLAN0_SSID": "Home 5G", "WLAN0_CHANNEL": "0", "WLAN0_DISABLED": "0", "WLAN0_SECURITY_MODE": "4", "WLAN0_WPA_PSK": "five five five",
    "WLAN0_ACL_MODE": "0", "WLAN0_ACL_NUM": "",
    "WLAN1_SSID": "Home", "WLAN1_CHANNEL": "0", "WLAN1_DISABLED": "0", "WLAN1_SECURITY_MODE": "4", "WLAN1_WPA_PSK": "two two two",
    "WLAN1_ACL_MODE": "0", "WLAN1_ACL_NUM": "",
    "WLAN1_VA1_SSID": "Guest", "WLAN1_VA1_DISABLED": "0", "WLAN1_VA1_SECURITY_MODE": "0", "WLAN1_VA1_WPA_PSK": "not needed",
}  # fmt: skip
PATIENCE = 10  # more than anybody takes to come back
DAY = 86400


class House:
    """A home beside a router that is a folder: its files are what a router's commands would have written."""

    def __init__(self, folder, **keys):
        self.root = folder / "root"
        (self.root / "etc").mkdir(parents=True)
        file = folder / "h.json"
        file.write_text(json.dumps({**HOME, **keys}))
        self.pc = StillPc()
        self.seconds = 0
        self.starts = 1
        self.wlan = dict(WLAN)
        self.engine = engine.Engine(homefile.load(file, *PHONE), folder, False, lambda: self.seconds)
        self.engine.clock.pc, self.engine.clock.pc_uptime = self.pc.now, self.pc.uptime
        self.engine.phone = "192.168.1.100"
        self.home = self.engine.home
        for name, text in (
            ("lan", "192.168.1.1 255.255.255.0\n"),
            ("dhcp", "on 1440\n"),
            ("wan", f"1 up {SUNDAY_NOON}\n"),
            ("mesh", "1\n"),
            ("firewall", "\n"),
            ("shaping", ""),
        ):
            self.put(name, text)
        self.start_wlan(restarts=0)

    def put(self, name, text):
        """What a command of the router does; the home looks."""
        self.engine.root.write(f"var/run/{name}", text.encode())
        self.look()

    def start_wlan(self, restarts=1, **settings):
        self.starts += restarts
        self.wlan.update(settings)
        lines = [f"starts {self.starts}", *(f"{name}={value}" for name, value in self.wlan.items())]
        self.put("wlan", "\n".join(lines) + "\n")

    def look(self):
        with contextlib.redirect_stdout(io.StringIO()) as said:
            self.engine.look()
        return said.getvalue()

    def pass_seconds(self, seconds):
        """The PC's, and with them the home's and the router's."""
        self.seconds += seconds
        self.pc.seconds += seconds
        return self.look()

    def order(self, *words):
        with contextlib.redirect_stdout(io.StringIO()):
            answer = verbs.act(self.engine, list(words))
            self.engine.write()
        return answer

    def content(self, name):
        path = self.root / name
        return path.read_bytes() if path.exists() else None

    def stations(self, interface):
        table = self.content(f"outside/stations/{interface}")
        records = [table[start : start + 63] for start in range(0, len(table), 63)]
        macs = {struct.unpack_from("<H6s", record)[1].hex(":") for record in records if any(record)}
        return sorted(device.name for device in self.home.devices if device.mac in macs)

    def rates(self):
        """Download and upload of each device, in KiB/s."""
        found = {}
        for line in self.content("var/terminal_rate_info").decode().splitlines():
            _, _, mac, up, down = line.split()
            name = next(device.name for device in self.home.devices if device.mac.replace(":", "") == mac)
            found[name] = (int(down) >> 10, int(up) >> 10)
        return found

    def hosts(self):
        return [line.split()[0] for line in self.content("outside/hosts").decode().splitlines()]


def with_house(test):
    def chapter(check):
        folder = pathlib.Path(tempfile.mkdtemp())
        try:
            test(check, House(folder))
        finally:
            shutil.rmtree(folder)

    return chapter


ACL_ENTRY = "{}" + "00" * 21


@with_house
def radios(check, house):
    check("at first", (house.stations("wlan0"), house.stations("wlan1"), house.stations("wlan1-va1")), (["phone", "rover", "tablet"], [], ["guest"]))
    house.start_wlan(WLAN0_DISABLED="1")
    check("a radio is off", house.stations("wlan0"), [])
    check("its stations are not in the LAN", "192.168.1.20" in house.hosts(), False)
    check("nor have they traffic", "tablet" in house.rates(), False)
    check("the phone's requests go on", "phone" in [device.name for _, device in house.home.hosts(house.engine.around) if not isinstance(device, dict)], True)
    said = house.pass_seconds(PATIENCE)
    check("who has another spot goes there", (house.stations("wlan1"), "2 devices, phone among them: joins wlan1" in said), (["phone", "rover"], True))
    check("the tablet has none", "(switched off)" in house.order("show")[1], True)
    house.start_wlan(WLAN0_DISABLED="0")
    check("it does not come back at once", house.stations("wlan0"), [])
    house.pass_seconds(2)
    check("nor within 2 s", house.stations("wlan0"), [])
    house.pass_seconds(PATIENCE)
    check("it comes back", (house.stations("wlan0"), house.stations("wlan1")), (["tablet"], ["phone", "rover"]))
    house.start_wlan(WLAN1_VA1_DISABLED="1")
    house.pass_seconds(PATIENCE)
    check("guests are off", (house.stations("wlan1-va1"), house.stations("wlan0")), ([], ["tablet"]))
    house.start_wlan(WLAN1_VA1_DISABLED="0", WLAN1_DISABLED="1")
    house.pass_seconds(PATIENCE)
    check("without its radio a guest network is off", house.stations("wlan1-va1"), [])


@with_house
def restarts(check, house):
    house.start_wlan(WLAN1_CHANNEL="11")
    dropped = [house.stations(interface) for interface in ("wlan0", "wlan1-va1")]
    check("a start of the radios drops all stations", dropped, [[], []])
    for _ in range(20):
        house.pass_seconds(0.5)
    check("and all come back", (house.stations("wlan0"), house.stations("wlan1-va1")), (["phone", "rover", "tablet"], ["guest"]))
    house.put("firewall", "\n")
    house.engine.root.write("var/run/wlan", house.content("var/run/wlan"))
    house.look()
    check("another command leaves them", house.stations("wlan0"), ["phone", "rover", "tablet"])


@with_house
def outage(check, house):
    """A router that starts anew in a root of its own, as one that was switched off."""
    old = house.root.rename(house.root.with_name("old"))
    house.pass_seconds(5)
    check("a router that is off is left alone", (house.root.exists(), house.order("show")[0]), (False, 0))
    (house.root / "etc").mkdir(parents=True)
    for name in arounds.FILES:
        house.put(name, (old / "var/run" / name).read_text())
    check("it starts, and nobody is in the air", (house.stations("wlan0"), house.hosts()), ([], ["192.168.1.10", "192.168.1.23"]))
    house.pass_seconds(PATIENCE)
    check("all come back", house.stations("wlan0"), ["phone", "rover", "tablet"])


@with_house
def keys(check, house):
    house.start_wlan(WLAN0_WPA_PSK="another key")
    house.pass_seconds(PATIENCE)
    check("who has the old key stays away", house.stations("wlan0"), ["phone"])
    check("or goes where its key is good", house.stations("wlan1"), ["rover"])
    check("why", "wlan0 (another name or key)" in house.order("show")[1], True)
    check("a wrong key", house.order("join", "tablet", "wrong key"),
          (0, "tablet knows 'Home 5G', but wlan0 is not open to it: another name or key"))  # fmt: skip
    check("the new key", house.order("join", "tablet", "another key"), (0, "tablet knows 'Home 5G', and joins wlan0"))
    check("it is joining", "wlan0 (joining)" in house.order("show")[1], True)
    house.pass_seconds(PATIENCE)
    check("and there", house.stations("wlan0"), ["phone", "tablet"])
    house.start_wlan(WLAN0_SSID="Elsewhere \\\\ \\x0a")
    house.pass_seconds(PATIENCE)
    check("another name", house.stations("wlan0"), ["phone"])
    check("is told, too", house.order("join", "tablet", "Elsewhere \\ \n", "another key")[0], 0)
    house.pass_seconds(PATIENCE)
    check("and known", house.stations("wlan0"), ["phone", "tablet"])
    house.start_wlan(WLAN0_SSID="Home 5G", WLAN0_WPA_PSK="another key")
    house.pass_seconds(PATIENCE)
    check("the old name is remembered", house.stations("wlan0"), ["phone", "tablet"])
    house.start_wlan(WLAN1_VA1_WPA_PSK="it has no key")
    house.pass_seconds(PATIENCE)
    check("an open network has no key", house.stations("wlan1-va1"), ["guest"])
    house.start_wlan(WLAN1_VA1_SECURITY_MODE="4")
    house.pass_seconds(PATIENCE)
    check("until it is closed", house.stations("wlan1-va1"), [])
    check("an agent has the key of the band's radio", next(d for d in house.home.devices if d.name == "sleeper").here(), False)
    house.start_wlan(WLAN0_SSID="Home 5G", WLAN0_WPA_PSK="five five five")
    check("the house's own networks are known to its devices", house.order("roam", "television", "wlan1"), (0, "television is at wlan1"))
    check("on both bands", house.order("roam", "television", "wlan0"), (0, "television is at wlan0"))
    check("but not to guests", house.order("roam", "guest", "wlan1"), (0, "guest is at wlan1 (another name or key)"))
    house.order("roam", "television", "port3")
    check("where there is no network", house.order("join", "television", "x"), (1, "television is at port3, where there is no network; name one"))
    check("one learns beforehand", house.order("join", "television", "Home", "two two two"), (0, "television knows 'Home'"))


@with_house
def access_list(check, house):
    tablet = ACL_ENTRY.format("020000000001")
    house.start_wlan(WLAN0_ACL_MODE="2", WLAN0_ACL_NUM=tablet)
    house.pass_seconds(PATIENCE)
    check("a black list keeps one out", house.stations("wlan0"), ["phone", "rover"])
    house.start_wlan(WLAN0_ACL_MODE="1", WLAN0_ACL_NUM=tablet)
    house.pass_seconds(PATIENCE)
    check("a white list keeps the others out", house.stations("wlan0"), ["tablet"])
    house.start_wlan(WLAN0_ACL_MODE="0")
    house.pass_seconds(PATIENCE)
    check("without a mode the list says nothing", house.stations("wlan0"), ["tablet"])
    check("who went to the other radio stays there", house.stations("wlan1"), ["phone", "rover"])


@with_house
def rules(check, house):
    usual = house.rates()
    check("at first", (usual["tablet"], usual["television"]), ((100, 10), (3000, 20)))
    house.put("firewall", "denied 02:00:00:00:00:01\ndenied 0A:0B:0C:0D:0E:0F\n")
    check("a denied tablet has no traffic", house.rates(), {**usual, "tablet": (0, 0)})
    check("the WAN has the others'", house.content("outside/wanspeed"), b"2.000000,%d,%d\n" % ((10 + 50 + 40 + 3000 + 7) * 2048, 20 * 2048))
    house.put("firewall", "\n")
    house.put("shaping", "limit 192.168.1.23 192.168.1.23 0 2000\n")
    check("a slowed television", house.rates(), {**usual, "television": (244, 20)})
    house.put("shaping", "limit 192.168.1.20 192.168.1.23 80 800\n")
    slow = house.rates()
    check("several share a limit", slow["television"][0] + slow["tablet"][0] + slow["rover"][0] + slow["guest"][0] <= 97, True)
    check("by what they would have", (slow["television"], slow["tablet"]), ((91, 6), (3, 3)))
    check("others have none", slow["sleeper"], (7, 0))
    house.put("shaping", "limit 192.168.1.20 192.168.1.30 0 80000\n")
    check("a limit that nobody reaches", house.rates(), usual)
    for text in ("limit", "limit 1 2 3 4", "limit 300.1.1.1 1.1.1.1 1 1", "denied", "denied a b", "\n\n", "\0\xff"):
        house.put("shaping", text)
        house.put("firewall", text)
        check(f"a line that is none: {text!r}", house.rates(), usual)


@with_house
def words(check, house):
    ask = ("ask", "tablet", "games.example/play")
    check("a page", house.order(*ask), (0, "tablet asks for games.example/play: it is answered"))
    house.put("firewall", f"words black\nword {b'games'.hex()}\n")
    refused = 'tablet asks for games.example/play: the URL filter refuses it by the word "games"'
    check("a word of the black list", house.order(*ask), (0, refused))
    check("is told", house.order("events", "1"), (0, f"0  {refused}"))
    check("another page", house.order("ask", "tablet", "http://school.example/"), (0, "tablet asks for http://school.example/: it is answered"))
    check("what is encrypted", house.order("ask", "tablet", "https://games.example/"), (0, "tablet asks for https://games.example/: it is answered"))
    house.put("firewall", f"words white\nword {b'school'.hex()}\n")
    check("the white list", [house.order("ask", "tablet", page)[1].partition(": ")[2] for page in ("school.example", "games.example")],
          ["it is answered", "the URL filter refuses it for it has none of the words"])  # fmt: skip
    house.put("firewall", "denied 02:00:00:00:00:01\n")
    check("who is denied", house.order(*ask)[1], "tablet asks for games.example/play: the router lets it send nothing at this time")
    house.put("firewall", "\n")
    house.order("internet", "down")
    check("no Internet", house.order(*ask)[1], "tablet asks for games.example/play: there is no Internet")
    house.order("roam", "tablet", "away")
    check("who is away", house.order(*ask)[1], "tablet asks for games.example/play: it is not connected")


def asking(check):
    """A device asks by itself, as its seed has it."""
    folder = pathlib.Path(tempfile.mkdtemp())
    devices = copy.deepcopy(HOME["devices"])
    devices[0]["asks"] = ["games.example", "school.example"]
    house = House(folder, devices=devices)
    house.put("firewall", f"words black\nword {b'games'.hex()}\n")
    house.order("step", "200")
    told = [text for _, text in house.engine.events if "asks" in text]
    check("refusals are told, and only they", ({text for text in told}, 3 < len(told) < 20),
          ({'tablet asks for games.example: the URL filter refuses it by the word "games"'}, True))  # fmt: skip
    shutil.rmtree(folder)


@with_house
def wan(check, house):
    check("the cable is in", house.content("outside/wan-cable"), b"up\n")
    check("there is an Internet", (house.content("tmp/internet"), house.content("outside/internet")), (b"1\n", b"answers 8.8.8.8/32\nanswers 198.18.0.0/15\n"))
    house.order("wan", "down")
    check("it is pulled", (house.content("outside/wan-cable"), house.content("tmp/internet")), (b"down\n", b"0\n"))
    house.put("wan", f"1 down {SUNDAY_NOON}\n")
    house.order("wan", "up")
    check("the router has no address yet", (house.content("tmp/internet"), house.content("var/wan_uptime")), (b"0\n", None))
    house.put("wan", f"1 up {SUNDAY_NOON + 5}\n")
    check("it has", (house.content("tmp/internet"), house.content("var/wan_uptime")), (b"1\n", b"%d\n" % (SUNDAY_NOON + 5)))
    house.put("wan", f"0 down {SUNDAY_NOON}\n")
    check("an address that is none", (house.content("tmp/internet"), house.rates()["television"]), (b"0\n", (0, 0)))
    house.put("wan", f"1 up {SUNDAY_NOON}\n")
    house.order("internet", "down")
    check("the provider passes nothing on", (house.content("outside/internet"), house.content("tmp/internet")), (b"", b"0\n"))


def no_internet(check):
    folder = pathlib.Path(tempfile.mkdtemp())
    house = House(folder, internet=[])
    check("a home without Internet", (house.content("outside/internet"), house.content("tmp/internet"), house.rates()["television"]), (b"", b"0\n", (0, 0)))
    check("cannot have one", house.order("internet", "up"), (0, "the Internet is up, but this home has none"))
    shutil.rmtree(folder)


@with_house
def leases(check, house):
    def names():
        content = house.content("outside/leases")
        return sorted(struct.unpack_from("!16s4sI64s", content, start)[3].rstrip(b"\0").decode() for start in range(0, len(content), 92))

    everybody = ["attic", "guest", "phone", "rover", "sleeper", "tablet", "television"]
    check("at first", names(), everybody)
    house.order("roam", "tablet", "away")
    check("who leaves keeps its lease", names(), everybody)
    house.pass_seconds(DAY - 1)
    check("until it ends", names(), everybody)
    house.pass_seconds(1)
    check("by the router's clock", names(), [name for name in everybody if name != "tablet"])
    house.put("dhcp", "off 1440\n")
    house.engine.clock.advance("2d")
    house.pass_seconds(1)
    check("a server that is off renews none", names(), [])
    house.put("dhcp", "on 1\n")
    check("one that is on does", len(names()), len(everybody) - 1)
    ends = {lease.ends for lease in house.home.leases.values()}
    check("for the time that is set", {end - house.engine.around.now for end in ends}, {60})
    house.put("dhcp", "on 999999999\n")
    house.engine.clock.set("2100-01-01", "00:00")
    house.pass_seconds(1)
    check("a time that fits no lease", {lease.ends for lease in house.home.leases.values()}, {2**32 - 1})
    house.put("lan", "10.0.0.1 255.255.255.0\n")
    check("a LAN that moves", {str(lease.address) for lease in house.home.leases.values()} & {"10.0.0.23", "192.168.1.23"}, {"10.0.0.23"})


def pool(check):
    """Who has no place has an address that the DHCP server gives out."""
    folder = pathlib.Path(tempfile.mkdtemp())
    guests = [{"name": f"n{number}", "mac": f"02:00:00:00:02:0{number}", "at": "wlan0"} for number in range(4)]
    house = House(folder, devices=[*HOME["devices"], *guests])

    def addresses():
        found = {device.name: str(address) for address, device in house.home.hosts(house.engine.around) if not isinstance(device, dict)}
        return [found.get(device["name"], "-").removeprefix("192.168.1.") for device in guests]

    check("without a pool there is none", addresses(), ["-"] * 4)
    house.put("dhcp", "on 60 192.168.1.20 192.168.1.30\n")
    check("the first that are free, beside the places", addresses(), ["25", "26", "27", "28"])
    house.order("roam", "n0", "away")
    house.order("roam", "n1", "away")
    house.order("roam", "n1", "wlan0")
    check("who comes back has its own again", addresses(), ["-", "26", "27", "28"])
    house.order("add", "late", "wlan0", "place=30")
    house.order("roam", "n0", "wlan0")
    check("its lease was kept for it", addresses(), ["25", "26", "27", "28"])
    house.put("dhcp", "on 60 192.168.1.27 192.168.1.200\n")
    check("another pool", addresses(), ["29", "31", "27", "28"])
    held = {lease.name: str(lease.address) for lease in house.home.leases.values()}
    check("is that of the leases", [held[f"n{number}"] for number in range(4)], [f"192.168.1.{number}" for number in (29, 31, 27, 28)])
    house.put("dhcp", "on 60 192.168.1.1 192.168.1.2\n")
    check("one that is too small, without the router's own", addresses(), ["2", "-", "-", "-"])
    house.put("dhcp", "off 60 192.168.1.1 192.168.1.100\n")
    check("a server that is off takes no lease away", addresses(), ["2", "31", "27", "28"])
    house.pass_seconds(3601)
    check("and renews none", addresses(), ["-"] * 4)
    house.put("lan", "10.0.0.1 255.255.255.0\n")
    house.put("dhcp", "on 60 10.0.0.50 10.0.0.60\n")
    check("a LAN that moves", addresses(), ["10.0.0.50", "10.0.0.51", "10.0.0.52", "10.0.0.53"])
    house.put("dhcp", "on 60 10.0.0.300 999.0.0.1\n")
    check("a pool that is none", addresses()[0] in ("-", "10.0.0.50"), True)
    shutil.rmtree(folder)


@with_house
def deadlines(check, house):
    """The home knows when it has something to do, and has nothing to do before."""

    def ends():
        return {lease.ends for lease in house.home.leases.values()}

    first = ends()
    due = house.engine.due_in()
    check("half of a lease passes in peace", DAY / 2 <= due <= DAY / 2 + 2, True)
    house.pass_seconds(int(due) - 2)
    check("until then none is renewed", ends(), first)
    house.pass_seconds(int(house.engine.due_in()) + 1)
    check("then all are", (len(ends()), min(ends()) > max(first)), (1, True))
    due = house.engine.due_in()
    house.engine.clock.hurry("60")
    check("a clock that hurries is there sooner", round(house.engine.due_in()), round(due / 60))
    house.engine.clock.hurry("0")
    check("one that stands is never", house.engine.due_in(), None)
    house.start_wlan()
    due = house.engine.due_in()
    waits = [device.waits for device in house.home.devices if device.waits is not None]
    check("the first of those who come back", (due, len(waits) > 1), (min(waits), True))
    house.pass_seconds(due + 0.001)
    now = [device.waits for device in house.home.devices if device.waits is not None]
    check("is there then", len(now) < len(waits), True)
    house.pass_seconds(PATIENCE)
    check("and nothing is due", house.engine.due_in(), None)
    house.engine.start_moving()
    check("but a step", house.engine.due_in(), house.home.about["pace"])


@with_house
def no_room(check, house):
    """A router whose memory is full, or whose folders are gone, is its own trouble."""
    path = house.root / "var/terminal_rate_info"
    path.unlink()
    path.mkdir()
    house.order("step")
    check("a file that cannot be written is left out", (path.is_dir(), house.home.steps), (True, 1))
    path.rmdir()
    house.order("roam", "tablet", "away")
    check("and written when it can", "tablet" in house.rates(), False)


@with_house
def mesh(check, house):
    check("agents are there", ("192.168.1.10" in house.hosts(), "192.168.1.24" in house.hosts()), (True, True))
    house.put("mesh", "0\n")
    check("without a controller they are not, nor who is at them", ("192.168.1.10" in house.hosts(), "192.168.1.24" in house.hosts()), (False, False))
    house.put("mesh", "1\n")
    house.pass_seconds(PATIENCE)
    check("with it they come back", ("192.168.1.10" in house.hosts(), "192.168.1.24" in house.hosts()), (True, True))


@with_house
def trees(check, house):
    house.start_wlan(WLAN0_DISABLED="1")
    tree = json.loads(house.order("show", "--json")[1])
    tablet = next(device for device in tree["devices"] if device["name"] == "tablet")
    check("a device as a tree", tablet, {
        "name": "tablet", "mac": "02:00:00:00:00:01", "address": None, "at": "wlan0", "connected": False, "why": "switched off", "signal": 50,
        "denied": False, "down": 0, "up": 0,
    })  # fmt: skip
    check("a network", tree["networks"]["wlan0"], {"on": False, "ssid": "Home 5G", "channel": 0, "list": None})
    check("the home", (tree["step"], tree["moving"], tree["wan"], tree["internet"], tree["clock"]), (0, False, True, True, SUNDAY_NOON))


@with_house
def hostile(check, house):
    """What the router writes in its own files harms nobody outside."""
    outside = house.root.parent / "outside"
    outside.write_text("1 up 5\n")
    for name in arounds.FILES:
        path = house.root / "var/run" / name
        path.unlink()
        path.symlink_to(outside)
    (house.root / "outside/wanspeed.new").symlink_to(outside)
    house.pass_seconds(2)
    house.order("step")
    check("no link is followed", (outside.read_text(), house.engine.around.wan_since), ("1 up 5\n", str(SUNDAY_NOON)))
    for text in ("\0" * 5000, "starts x\nWLAN0_SSID", "starts 1\nWLAN0_ACL_NUM=zz,," + "z" * 54, "starts 99999999999\n", "\xff" * 100, "on 99999999999999999999"):
        for name in arounds.FILES:
            (house.root / "var/run" / name).unlink(missing_ok=True)
            house.put(name, text)
    check("the home goes on", house.order("show")[0], 0)


@with_house
def restored(check, house):
    house.start_wlan(WLAN0_WPA_PSK="another key")
    house.order("step", "7")
    twin = pickle.loads(pickle.dumps(house.home))
    check("a home that is kept and taken up again is the same", ways(twin) == ways(house.home), True)


def twins(check):
    """The same home comes back in the same way after the same settings."""
    found = []
    for _ in range(2):
        folder = pathlib.Path(tempfile.mkdtemp())
        house = House(folder)
        house.start_wlan()
        found.append([device.waits for device in house.home.devices])
        shutil.rmtree(folder)
    check("who comes back takes a time that is drawn, the same one each time", (found[0], len(set(found[0])) > 3), (found[1], True))


def ways(home):
    found = []
    for _ in range(50):
        home.step()
        home.pass_seconds(2)
        found.append([(device.spot, device.signal, device.load, device.connected, device.waits) for device in home.devices])
    return found


def around_texts(check):
    around = arounds.Around()
    around.take("wlan", "starts 3\nWLAN0_SSID=a\\\\x41\\x0ab\nWLAN0_VA3_SSID==x=\nWLAN2_SSID=none\n")
    check("texts as flash prints them", (around.networks["wlan0"].ssid, around.networks["wlan0-va3"].ssid), ("a\\x41\nb", "=x="))
    check("an interface that is not told of is on", around.networks["wlan1"].on, True)
    around.take("lan", "none none\n")
    check("no LAN", around.lan, None)
    around.take("lan", "10.1.2.3 255.255.0.0\n")
    check("a LAN", around.lan, ipaddress.IPv4Interface("10.1.2.3/16"))
    check("the model knows no file and no clock", [name for name in ("os", "time", "pathlib") if hasattr(model, name)], [])


CHAPTERS = (
    radios, restarts, outage, keys, access_list, rules, words, asking, wan, no_internet, leases, pool, deadlines, no_room,
    mesh, trees, hostile, restored, twins, around_texts,
)  # fmt: skip
