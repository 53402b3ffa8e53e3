# SPDX-License-Identifier: MIT
"""The homes that are played around the router: what is seen of each, and what is seen of all that can be done to one."""

import ipaddress
import json
import pathlib
import signal
import time

import router as routers
from house import House
from router import look_until
from story import get_reply, left_nothing, set_reply

HOMES = routers.PROJECT / "virtual_router/homes"
PHONE = {"name": "phone", "mac": "02:4b:54:00:00:64", "place": 100, "at": "wlan0"}
MBITS = (6.5, 13, 19.5, 26, 39, 52, 58.5, 65, 78, 260 / 3)  # of a stream at 20 MHz with the long guard interval
SUBCARRIERS = {20: 52, 40: 108, 80: 234}
LEGACY = {"b": (1, 2, 5.5, 11), "g": (6, 9, 12, 18, 24, 36, 48, 54), "a": (6, 9, 12, 18, 24, 36, 48, 54)}


def number_text(number):
    return f"{number:.1f}".removesuffix(".0")


def rates(device, band):
    """The rates to and from a station in Mb/s, from the standard that it speaks on that band."""
    standard = device.get("wifi", "ac")
    if standard == "ac" and band == "2g":
        standard = "n"
    top = {"ac": 9, "n": 7}.get(standard) or len(LEGACY[standard]) - 1
    down = min(top, device.get("signal", 50) // 7)
    indices = (down, max(0, down - 1))
    if standard in LEGACY:
        return [LEGACY[standard][index] for index in indices]
    width = min(device.get("width", 80), 80 if standard == "ac" else 40)
    streams = min(device.get("streams", 2), 3 if standard == "ac" else 2)
    guard = 1 if device.get("guard") == "long" else 10 / 9
    exact = [MBITS[index] * SUBCARRIERS[width] / 52 * streams * guard for index in indices]
    return exact if standard == "n" else [int(rate) for rate in exact]


def listed(home, device, address):
    """What "lanStatus" tells of a device that is at its first spot."""
    spot = device["at"] if isinstance(device["at"], str) else device["at"][0]
    shown = {
        "name": device["name"] if device.get("lease", True) else "",
        "ip": address,
        "mac": device["mac"].replace(":", "").upper(),
        "conType": "unknown",
        "rssi": 0,
        "dlink": "",
        "ulink": "",
        "dspeed": device.get("down", 0),
        "uspeed": device.get("up", 0),
    }
    if spot == "unseen":
        return {**shown, "dspeed": 0, "uspeed": 0}
    if spot.startswith("port"):
        speed = home.get("ports", {}).get(spot, "1000M").replace("down", "0M")
        return {**shown, "conType": "wired", "dlink": speed, "ulink": speed}
    agent, _, band = spot.rpartition("/")
    band = band if agent else ("5g" if spot.startswith("wlan0") else "2g")
    # An agent counts in whole Mb/s.
    down, up = (str(int(rate)) if agent else number_text(rate) for rate in rates(device, band))
    return {**shown, "conType": band, "rssi": device.get("signal", 50), "dlink": down, "ulink": up}


class Home:
    """A home file, and what the endpoint must make of it while it stands still."""

    def __init__(self, name):
        self.about = json.loads((HOMES / f"{name}.json").read_text())
        mask = self.about.get("store", {}).get("MIB_LAN_SUBNET_MASK", "255.255.255.0")
        self.network = ipaddress.IPv4Interface(f"192.168.1.1/{mask}").network
        self.phone = {**PHONE, **self.about.get("phone", {})}
        self.devices = [self.phone, *self.about["devices"]]
        self.agents = self.about.get("agents", [])

    def address(self, place):
        return str(self.network.network_address + place)

    def list(self):
        """All entries of "devlist", by address."""
        found = [listed(self.about, device, self.address(device["place"])) for device in self.devices]
        nothing = {"conType": "agent", "rssi": 0, "dlink": "", "ulink": "", "dspeed": 0, "uspeed": 0}
        for agent in self.agents:
            mac = agent["mac"].replace(":", "").upper()
            found.append({"name": agent["name"], "ip": self.address(agent["place"]), "mac": mac, **nothing})
        return by_address(found)


def by_address(devices):
    return sorted(devices, key=lambda device: ipaddress.IPv4Address(device["ip"]))


FLAT = [
    ("notebook", "192.168.1.20", "024B54100001", "5g", 63, "866", "780", 900, 120),
    ("radio", "192.168.1.21", "024B54100002", "2g", 34, "24", "18", 16, 0),
    ("television", "192.168.1.22", "024B54100003", "wired", 0, "1000M", "1000M", 3000, 20),
    ("pixel", "192.168.1.100", "024B54000064", "5g", 55, "650", "585", 120, 15),
]
FLAT_SPEED = {"uSpeed": f"{(120 + 20 + 15) * 8:.2f}", "dSpeed": f"{(900 + 16 + 3000 + 120) * 8:.2f}"}
DEVICE_KEYS = ("name", "ip", "mac", "conType", "rssi", "dlink", "ulink", "dspeed", "uspeed")


def entries(rows):
    return [dict(zip(DEVICE_KEYS, row)) for row in rows]


def changed(devices, who, /, **values):
    """The list with other values for the device of that name, or for all with None."""
    return [{**device, **values} if who in (None, device["name"]) else device for device in devices]


def wan_status(internet, status, speeds, uptime):
    """ "wanStatus" with the up-time as a word."""
    return {"internetSta": internet, "status": status, **speeds, "upTime": uptime}


class Neighbour(House):
    """Asks from the router itself, which needs no session."""

    def ask(self, **objects):
        """The reply to a get, as a tree; {} where there is none."""
        status, _, text = self.router.ask(json.dumps({"action": "get", **objects}), loopback=True)
        try:
            return json.loads(text) if status == 200 else {}
        except json.JSONDecodeError:
            return {}

    def becomes(self, step, look, wanted):
        """Looks until what is seen is as wanted, for some seconds."""
        seen = look_until(lambda seen: seen == wanted, look)
        if isinstance(seen, list) and isinstance(wanted, list):
            seen, wanted = [[one for one in mine if one not in others] for mine, others in ((seen, wanted), (wanted, seen))]
        self.results.check(step, seen == wanted, f"{json.dumps(seen)}\ninstead of\n{json.dumps(wanted)}")

    def devices(self):
        reply = self.ask(lanStatus={})
        return by_address(reply["lanStatus"]["devlist"]) if "lanStatus" in reply else reply

    def sees(self, step, devices):
        self.becomes(step, self.devices, by_address(devices))

    def wan(self):
        """ "wanStatus" with the up-time as a word."""
        status = self.ask(wanStatus={"getInternetSta": 1}).get("wanStatus", {})
        if "upTime" in status:
            status["upTime"] = "none" if status["upTime"] == 0 else "some" if status["upTime"] < 600 else status["upTime"]
        return status

    def wan_is(self, step, *values):
        self.becomes(step, self.wan, wan_status(*values))

    def mesh(self):
        reply = self.ask(meshStatus={})
        return reply.get("meshStatus", {}).get("topology", reply.get("result"))

    def order(self, answer, *words, status=0):
        """Gives the home an order, which answers so."""
        got, said = self.router.inside("home", *words)
        self.results.transcript.append(f"home {' '.join(words)}: {got}\n{said}")
        self.results.check(f"home {' '.join(words)}", got == status and said.rstrip("\n") == answer, f"status {got}\n{said}")


NO_SPEED = {"uSpeed": "0.00", "dSpeed": "0.00"}


def devices_come_and_go(t, flat):
    tablet = dict(zip(DEVICE_KEYS, ("tablet", "192.168.1.2", "024B54010002", "5g", 49, "325", "292", 0, 7)))
    t.order("tablet (02:4b:54:01:00:02, place 2) is at wlan0", "add", "tablet", "wlan0,wlan1", "signal=49", "streams=1", "up=7")
    t.sees("the tablet is there", [*flat, tablet])
    t.order("tablet is at wlan1-va3 (switched off)", "roam", "tablet", "wlan1-va3")
    t.sees("a network that is off takes nobody", flat)
    t.order("tablet is at wlan1", "roam", "tablet", "wlan1")
    slower = {**tablet, "conType": "2g", "dlink": "150", "ulink": "135"}
    t.sees("it roams to the other radio", [*flat, slower])
    t.order("tablet is at port5", "roam", "02:4B:54:01:00:02", "port5")
    t.sees("it is plugged in", [*flat, {**tablet, "conType": "wired", "rssi": 0, "dlink": "1000M", "ulink": "1000M"}])
    t.order("tablet is at away", "roam", "tablet", "away")
    t.sees("it leaves", flat)
    t.order("tablet is at unseen", "roam", "tablet", "unseen")
    t.sees(
        "nobody knows where it is",
        [*flat, {**tablet, "conType": "unknown", "rssi": 0, "dlink": "", "ulink": "", "uspeed": 0}],
    )
    t.order("tablet is gone", "remove", "tablet")
    t.sees("it is gone", flat)


def wan_comes_and_goes(t, flat):
    t.wan_is("the WAN is up", 1, 1, FLAT_SPEED, "some")
    t.order("the Internet is down", "internet", "down")
    t.wan_is("there is no Internet", 0, 1, NO_SPEED, "some")
    t.sees("and no traffic", changed(flat, None, dspeed=0, uspeed=0))
    t.order("the Internet is up", "internet", "up")
    t.wan_is("there is", 1, 1, FLAT_SPEED, "some")
    t.order("the WAN is down", "wan", "down")
    t.wan_is("the cable is cut", 0, 0, NO_SPEED, "none")
    nothing = {"ip": "0.0.0.0", "mask": "0.0.0.0", "gateway": "255.255.255.255", "dns1": "0.0.0.0", "dns2": "0.0.0.0"}
    t.becomes("and with it what the provider gave", lambda: t.ask(wanInfo={}).get("wanInfo"), {"type": "1", "dnsmode": 0, **nothing})
    if not t.router.way.by_proot:
        status, said = t.router.on_phone("busybox", "ping", "-c", "1", "-W", "1", "203.0.113.1")
        t.results.check("no packet reaches the provider", status != 0 and "100% packet loss" in said, said)
    t.order("the WAN is up", "wan", "up")
    t.wan_is("it is plugged in", 1, 1, FLAT_SPEED, "some")


def sources_break(t, flat):
    """Sources break side by side: each has effects of its own."""
    missing = {"conType": "unknown", "rssi": 0, "dlink": "", "ulink": "", "dspeed": 0, "uspeed": 0}
    no_names = changed(flat, None, name="")
    no_traffic = changed(no_names, None, dspeed=0, uspeed=0)
    bare = [{**device, **values} for device, values in zip(no_traffic, ({}, missing, {"dlink": "0M", "ulink": "0M"}, {}))]
    lost = [{**device, **values} for device, values in zip(flat, ({}, missing, missing, {}))]
    for broken, devices, wan in (
        ("leases:missing traffic:missing port-status:missing wlan1:missing", bare, (1, -1, FLAT_SPEED, "some")),
        ("leases:empty traffic:noise port-status:empty wlan1:refuses", bare, (1, 0, NO_SPEED, "none")),
        ("switch-arp:missing wlan1:empty speed:missing internet:missing uptime:missing", lost, (0, 1, NO_SPEED, "none")),
        ("wlan1:half speed:empty", flat, (1, 1, NO_SPEED, "some")),
        ("wlan1:long", flat, (1, 1, FLAT_SPEED, "some")),
    ):
        for source, how in (words.split(":") for words in broken.split()):
            t.order(f"{source} is broken: {how}", "break", source, how)
        t.becomes(broken, lambda: [t.devices(), t.wan()], [by_address(devices), wan_status(*wan)])
        t.order("broken: nothing", "mend")
    t.sees("all is mended", flat)


def noise_everywhere(t):
    """Whatever the sources hold, the endpoint answers; asked a few times, so that signalled files have come, too."""
    for how in ("noise", "half", "long"):
        t.order(f"all 18 sources are broken: {how}", "break", "all", how)
        replies = [t.ask(lanStatus={}, wanStatus={"getInternetSta": 1}) for _ in range(2)]
        t.results.check(f"{how} everywhere", all(reply.get("result") == {"error": 0} for reply in replies), replies)
    t.order("broken: nothing", "mend")


def time_passes(t):
    def steps():
        said = t.router.inside("home")[1]
        return int(said.split("\nstep ")[1].split(",")[0]) if "\nstep " in said else 0

    before, begin = t.devices(), steps()
    t.order("the home moves every 1 s", "move")
    t.becomes("the home moves", lambda: steps() >= begin + 2, True)
    seen = t.devices()
    t.results.check("and is seen moving", seen != before and len(seen) in (3, 4), f"{seen}\nafter\n{before}")
    said = t.router.inside("home", "still")[1]
    stood = steps()
    time.sleep(1.2)
    later = steps()
    t.results.check("home still", said == f"the home stands still at step {stood}\n" and later == stood, f"{said}at {stood}, then at {later}")


def wrong_orders(t):
    t.order("there is no verb 'fly' (script/router home help)", "fly", status=2)
    t.order("usage: home add NAME SPOT[,SPOT] [KEY=VALUE]...", "add", "x", status=2)
    t.order("there is no device 'x'", "remove", "x", status=1)
    spots = "wlan0, wlan1, one of their virtual access points -va0 to -va3, port2 to port5, AGENT/5g, AGENT/2g, unseen or away"
    t.order(f'"port9" must be a spot: {spots}', "roam", "radio", "port9", status=1)


def follows_the_lan(t, flat):
    lan = {"ip": "10.9.0.1", "mask": "255.255.255.0", "dhcp": 2, "time": 60, "ipStart": "10.9.0.20", "ipEnd": "10.9.0.99"}
    t.expect("the LAN becomes another one", {"action": "set", "lan": lan}, set_reply("lan"), loopback=True)
    wanted = by_address([{**device, "ip": device["ip"].replace("192.168.1.", "10.9.0.")} for device in flat])
    t.becomes("the home follows", lambda: t.router.ask('{"action":"scan"}') and t.devices(), wanted)


def dials(t):
    def way():
        """The connection type, and whether there is a way to the provider: told when the router has done all about its cable."""
        return t.router.inside("run", "cat", "/var/run/wan")[1].split()[:2]

    pppoe = {"type": "3", "pppUsr": "u", "pppPwd": "p"}
    t.expect("the WAN dials", {"action": "set", "wanInfo": pppoe}, set_reply("wanInfo"), loopback=True)
    t.becomes("by PPPoE", lambda: t.router.inside("run", "ls", "/etc/ppp/link")[0], 0)
    t.wan_is("it is up", 1, 1, FLAT_SPEED, "some")
    t.order("the WAN is down", "wan", "down")
    t.becomes("the line is dead", lambda: t.router.inside("run", "ls", "/etc/ppp/link")[0] != 0, True)
    t.becomes("the router has given up", way, ["3", "down"])
    t.order("the WAN is up", "wan", "up")
    t.becomes("it dials again", way, ["3", "up"])
    t.becomes("and the home sees it", lambda: "Internet up" in t.router.inside("home")[1], True)


def flat(t, _home):
    devices = entries(FLAT)
    t.sees("each device of the flat", devices)
    for chapter in (devices_come_and_go, wan_comes_and_goes, sources_break):
        chapter(t, devices)
    noise_everywhere(t)
    wrong_orders(t)
    follows_the_lan(t, devices)
    dials(t)
    t.order("step 40", "step", "40")
    status, said = t.router.inside("home")
    t.results.transcript.append(said)  # the same in every way: chance is the home's own
    t.results.check("home show", status == 0 and "\nstep 40, standing still; WAN up, Internet up; broken: nothing\n" in said, said)
    time_passes(t)


def family(t, _home):
    t.expect("its settings are the home's", {"action": "get", "app": {}}, get_reply(app={"port": 0, "ticktime": 0}), loopback=True)
    t.inside("its name", ["flash", "get", "MIB_DUT_NAME"], r"^MIB_DUT_NAME=Family$")
    t.inside("a name with a blank", ["flash", "get", "WLAN0_SSID"], r"^WLAN0_SSID=Family 5G$")


def wired_stations(home):
    return [
        {
            "station_mac": device["mac"],
            "station_rssi": "0",
            "station_connected_band": "wired",
            "station_downlink": device["dlink"],
            "station_uplink": device["ulink"],
        }
        for device in home.list()
        if device["conType"] == "wired"
    ]


def agents_below(home, via=None):
    """What a topology shows of its agents: names, addresses, how many stations each has, and who is below."""
    stations = [device["at"] if isinstance(device["at"], str) else device["at"][0] for device in home.devices]
    return [
        (
            agent["name"],
            agent["mac"].replace(":", ""),
            home.address(agent["place"]),
            sum(spot.startswith(f"{agent['name']}/") for spot in stations),
            agents_below(home, agent["name"]),
        )
        for agent in home.agents
        if agent.get("via") == via
    ]


def agents_shown(devices):
    return [
        (d["device_name"], d["mac_address"], d["ip_addr"], len(d["station_info"]), agents_shown(d["child_devices"])) for d in devices
    ]


def mesh_is_shown(t, home):
    tree = t.mesh() or {}
    t.results.check("the agents are shown", agents_shown(tree.get("child_devices", [])) == agents_below(home), tree)
    wired = [station for station in tree.get("station_info", []) if station["station_connected_band"] == "wired"]
    order = sorted(wired, key=lambda station: station["station_mac"])
    wanted = sorted(wired_stations(home), key=lambda station: station["station_mac"])
    t.results.check("and the wired clients", order == wanted, tree)


def mesh(t, home):
    mesh_is_shown(t, home)
    devices = home.list()
    name = "notebook-7"
    t.order(f"{name} is at cellar/5g", "roam", name, "cellar/5g")
    t.sees("a device roams to an agent", devices)
    t.order(f"{name} is at attic/2g", "roam", name, "attic/2g")
    device = next(device for device in home.devices if device["name"] == name)
    down, up = (str(int(rate)) for rate in rates(device, "2g"))
    t.sees("and to the next", changed(devices, name, conType="2g", dlink=down, ulink=up))
    t.order(f"{name} is at wlan0", "roam", name, "wlan0")

    # As at the start, when a router may be up before its home has written anything.
    before_the_home = "mv /outside/hosts /outside/hosts.aside; initmesh; ls /tmp/topology_json; mv /outside/hosts.aside /outside/hosts"
    t.inside("the router leaves the topology to the home", ["run", "sh", "-c", before_the_home], r"^/tmp/topology_json$")

    behind = {device["name"] for device in home.devices if "/" in str(device["at"])[:12]} | {agent["name"] for agent in home.agents}
    nothing = {"conType": "unknown", "rssi": 0, "dlink": "", "ulink": "", "dspeed": 0, "uspeed": 0}
    unknown = [{**device, **nothing} if device["name"] in behind else device for device in devices]
    for how, message in (("missing", "ERROR:open topology_json file fail"), ("half", "ERROR:Parse topology_json file fail")):
        t.order(f"topology is broken: {how}", "break", "topology", how)
        t.sees(f"whoever is behind an agent is unknown: topology {how}", unknown)
        t.results.check(f'"meshStatus" fails: topology {how}', t.mesh() == {"error": -1, "msg": message}, t.mesh())
    t.order("broken: nothing", "mend", "topology")
    t.sees("all are known again", devices)


def office(_t, _home):
    pass


def limit(t, home):
    t.results.check("there are as many clients as a router knows", len(home.list()) == 256, len(home.list()))
    mesh_is_shown(t, home)
    t.order("there are 256 clients already, with the phone and the agents", "add", "one-more", "wlan0", status=1)
    t.order("wlan0 has 64 stations already", "roam", home.devices[100]["name"], "wlan0", status=1)


STAYS = {"flat": flat, "family": family, "mesh": mesh, "office": office, "limit": limit}

BAD_HOME = {"description": "bad", "devices": [{"name": "x", "mac": "02:00:00:00:00:01", "place": 9, "at": "attic/5g"}]}


def refusals(results, router):
    """Homes that cannot be are told of before anything is started."""
    bad = pathlib.Path(router.folder, "bad.json")
    bad.write_text(json.dumps(BAD_HOME))
    bad.chmod(0o644)
    for arguments, wanted, words in (
        (("--home", "nowhere"), 2, "there is no home 'nowhere' (there are: family flat limit mesh office;"),
        (("--home", "/nowhere.json"), 2, "--home takes a home file, and '/nowhere.json' is none"),
        (("--home", "flat", "--agents", "1"), 2, "--agents cannot be given with it"),
        (("--home", str(bad)), 1, 'bad.json: devices[0].at: there is no agent "attic"'),
    ):
        status, said = router.run("--state", str(router.state), *arguments)
        results.check(f"script/server {' '.join(arguments)}", status == wanted and words in said, f"status {status}\n{said}")
    results.check("nothing was started", not list(router.state.iterdir()), list(router.state.iterdir()))
    status, said = router.inside("home", "help")
    results.check("home help", status == 0 and said.startswith("Usage: script/router"), said)


def visit(results, way, build):
    """Visits every home in this way."""
    router = routers.Router(way, build)
    try:
        refusals(results, router)
        for name, stay in STAYS.items():
            home = Home(name)
            seconds = router.start("--fresh", "--still", "--home", name)
            if not results.check(f"a router starts in the home {name}", seconds is not None, router.output()):
                return
            print(f"        ready after {seconds:.2f} s")
            t = Neighbour(router, results)
            begin = time.monotonic()
            t.sees(f"all {len(home.list())} clients of {name} are listed", home.list())
            print(f"        after {time.monotonic() - begin:.2f} s more")
            stay(t, home)
            left_nothing(results, f"kill in the home {name}", router.stop(signal.SIGTERM), 143)
        results.check("it starts without a home", router.start() is not None, router.output())
        status, said = router.inside("home")
        results.check("and has none", status == 1 and said.startswith("this router has no home"), said)
        left_nothing(results, "kill", router.stop(signal.SIGTERM), 143)
    finally:
        router.remove()
