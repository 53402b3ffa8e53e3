# SPDX-License-Identifier: MIT
"""A house that obeys its router: what the app sets is done, and what the devices of a home have of it is seen."""

import calendar
import json
import signal
import time

import router as routers
from homes import Home, Neighbour
from router import look_until
from story import left_nothing, set_reply

KEY = "a new secret key"
TABLET = {"mac": "024B54200005", "TimeControl": 1, "stime": "07:00:00", "etime": "20:30:00", "week": "1111111", "name": "tablet"}
TELEVISION = "192.168.1.25-192.168.1.25"


def seconds_of(moment):
    return calendar.timegm(time.strptime(moment, "%A %Y-%m-%d %H:%M:%S UTC"))


class Parent(Neighbour):
    def change(self, step, **objects):
        self.expect(step, {"action": "set", **objects}, set_reply(*objects), loopback=True)

    def clock(self, answer, *words):
        """Moves the router's clock. It shows what the answer begins with, or, of a whole moment, that one: it goes on meanwhile."""
        status, said = self.router.inside("clock", *words)
        shown = said.partition(",")[0]
        good = said.startswith(answer)
        if answer.endswith(" UTC") and shown.endswith(" UTC"):
            good = 0 <= seconds_of(shown) - seconds_of(answer) < routers.PATIENCE_SECONDS
        self.results.check(f"clock {' '.join(words)}", status == 0 and good, f"status {status}\n{said}")

    def here(self):
        """Who is in the client list, and how."""
        return {device["name"]: device["conType"] for device in self.devices() if device["name"] or device["conType"] == "wired"}

    def rates(self, name):
        return next(([device["dspeed"], device["uspeed"]] for device in self.devices() if device["name"] == name), None)

    def among(self, *names):
        return sorted({*names} & {*self.here()})

    def ping(self, address):
        reply = self.ask(netDig={"ping": {"dst": address}})
        return " 1 packets received" in str(reply.get("netDig", {}).get("ping"))


def of(devices, *names):
    return {device["name"]: device["conType"] for device in devices if device["name"] not in names and device["name"]} | {"": "wired"}


def radios(t, devices):
    everybody = of(devices)
    t.becomes("all are there", t.here, everybody)
    fives = [device["name"] for device in devices if device["conType"] == "5g"]
    t.change("5 GHz is switched off", wifiAdvance={"disable5": 1})
    moved = {name: "2g" if name in ("phone-of-ben", "phone-of-ada") else kind for name, kind in everybody.items()}
    gone = {name: kind for name, kind in moved.items() if name not in fives or kind == "2g"}
    t.becomes("its stations leave, or go to the other radio", t.here, gone)
    t.change("it is on again", wifiAdvance={"disable5": 0})
    t.becomes("who was away comes back", t.here, moved)
    t.order("phone-of-ben is at wlan0", "roam", "phone-of-ben", "wlan0")
    guests = ["Küche", "phone-of-a-guest"]
    t.change("guests are off", wifiguest={"enable": 0})
    t.becomes("they leave", lambda: t.among(*guests), [])
    t.change("they may come", wifiguest={"enable": 1})
    t.becomes("and do", lambda: t.among(*guests), guests)
    t.becomes("and so does everybody, as the radios have started anew", t.here, {**moved, "phone-of-ben": "5g"})


def keys(t):
    old = ["doorbell", "loudspeaker", "thermostat"]
    t.change("2.4 GHz has another key", wifi={"combine": "0", "ssid": "Family", "wifiPwd": KEY})
    t.becomes("who has the old one stays away", lambda: t.among("camera", "phone-of-a-guest", *old), ["camera", "phone-of-a-guest"])
    t.order("doorbell knows 'Family', but wlan1 is not open to it: another name or key", "join", "doorbell", "wrong")
    t.order("doorbell knows 'Family', and joins wlan1", "join", "doorbell", KEY)
    t.becomes("who is told the new one comes", lambda: t.among(*old), ["doorbell"])
    t.change("the old key is back", wifi={"combine": "0", "ssid": "Family", "wifiPwd": "12345678"})
    t.becomes("and with it those who have it", lambda: t.among(*old), ["loudspeaker", "thermostat"])
    t.order("doorbell knows 'Family', and joins wlan1", "join", "doorbell", "12345678")
    t.becomes("all are back", lambda: t.among(*old), old)


def access_list(t):
    both = ["notebook-of-ada", "tablet"]
    t.change("a black list", wifiAcc={"mode": 2, "addMaclist": [["024B54200005", "tablet"]]})
    t.becomes("the tablet is kept out", lambda: t.among(*both), ["notebook-of-ada"])
    t.change("a white list", wifiAcc={"mode": 1})
    t.becomes("the others are", lambda: t.among(*both), ["tablet"])
    t.change("no list", wifiAcc={"mode": 0, "delMaclist": ["024B54200005"]})
    t.becomes("all are there", lambda: t.among(*both), both)


def an_evening(t):
    """A tablet may play until half past eight, and falls silent at that second."""
    t.clock("Friday 2026-11-27 20:00:00 UTC", "set", "2026-11-27", "20:00")
    t.becomes("the tablet plays", lambda: t.rates("tablet"), [600, 10])
    mark = t.mark()
    t.change("it is scheduled", netAcc={"enable": 1, "addlist": [TABLET]})
    until = "may reach the Internet until 2026-11-27 20:30:00\n"
    t.hears("the router knows until when", until, mark)
    t.hears("and looks again then", "daemon:   firewall rules ", t.router.output().find(until, mark))
    mark = t.mark()
    t.clock("Friday 2026-11-27 20:29:00 UTC", "set", "20:29")
    rates = t.rates("tablet")
    t.results.check("a minute before, it plays", rates == [600, 10], rates)
    t.clock("Friday 2026-11-27 20:", "advance", "50s")
    t.hears("at 20:30:00 the router acts", "daemon: it is Friday, 20:30:00: firewall\n", mark)
    t.becomes("the tablet is silent", lambda: t.rates("tablet"), [0, 0])
    here, rates = t.here(), t.rates("television")
    t.results.check("it is still there", here.get("tablet") == "5g", here)
    t.results.check("the television plays on", rates == [3200, 20], rates)
    t.order("tablet asks for games.example: the router lets it send nothing at this time", "ask", "tablet", "games.example")
    t.clock("Saturday 2026-11-28 0", "advance", "10h", "29m", "50s")
    t.hears("the next morning the router acts", "daemon: it is Saturday, 07:00:00: firewall\n", mark)
    t.becomes("the tablet plays", lambda: t.rates("tablet"), [600, 10])
    t.change("it is not scheduled", netAcc={"dellist": [{"mac": TABLET["mac"]}]})


def filters(t):
    t.change("the camera is filtered", Sec={"macFiltering": 1, "addMaclist": [["024B5420000D", "camera"]]})
    t.becomes("it is silent", lambda: t.rates("camera"), [0, 0])
    t.change("it is not", Sec={"macFiltering": 0, "delMaclist": ["024B5420000D"]})
    t.becomes("it sends", lambda: t.rates("camera"), [0, 150])
    rule = {"Act": "add", "ip": TELEVISION, "dlimit": 2000}
    t.change("the television is slowed", qos={"enable": 1, "ipRuleMod": rule})
    t.becomes("2000 kbit/s are 244 KiB/s", lambda: t.rates("television"), [244, 20])
    t.change("it is not", qos={"enable": 0})
    t.becomes("it is fast", lambda: t.rates("television"), [3200, 20])
    mark = t.mark()
    t.change("a word is blocked", urlfilter={"enable": 1, "mode": 0, "addurl": "games"})
    t.hears("as the router shows", "--string 'games' -j DROP", mark)
    page = "tablet asks for games.example/play"
    t.becomes("the home hears of it", lambda: t.router.inside("home", "ask", "tablet", "games.example/play")[1],
              f'{page}: the URL filter refuses it by the word "games"\n')  # fmt: skip
    t.hears("it is printed", f'home: {page}: the URL filter refuses it by the word "games"\n', mark)
    t.order("tablet asks for school.example: it is answered", "ask", "tablet", "school.example")
    t.change("no word is", urlfilter={"enable": 0, "mode": 0})


def internet(t):
    for address, there in (("8.8.8.8", True), ("8.8.4.4", False), ("203.0.113.53", True), ("203.0.113.99", False)):
        t.becomes(f"{address} {'answers' if there else 'does not answer'}", lambda address=address: t.ping(address), there)
    t.order("the Internet is down", "internet", "down")
    t.becomes("without an Internet it does not, but the provider does", lambda: (t.ping("8.8.8.8"), t.ping("203.0.113.1")), (False, True))
    t.order("the Internet is up", "internet", "up")
    static = {"type": "0", "ip": "203.0.113.77", "mask": "255.255.255.0", "gateway": "203.0.113.200", "dns1": "9.9.9.9"}
    t.change("a gateway that is none", wanInfo=static)
    t.becomes("leads nowhere", lambda: (t.ping("8.8.8.8"), t.rates("television"), t.wan().get("internetSta")),
              (False, [0, 0], 0))  # fmt: skip
    t.change("one that is", wanInfo={**static, "gateway": "203.0.113.1"})
    t.becomes("leads out", lambda: (t.ping("8.8.8.8"), t.rates("television")), (True, [3200, 20]))
    t.change("the provider's", wanInfo={"type": 1})
    t.becomes("leads out, too", lambda: (t.ask(wanInfo={}).get("wanInfo", {}).get("ip"), t.rates("television")), ("203.0.113.2", [3200, 20]))


def a_bridge(t):
    t.change("the camera is filtered", Sec={"macFiltering": 1, "addMaclist": [["024B5420000D", "camera"]]})
    t.becomes("and silent", lambda: t.rates("camera"), [0, 0])
    t.change("the router is a bridge", opMode={"opMode": "1"})
    t.becomes("which filters nobody", lambda: t.rates("camera"), [0, 150])
    t.change("it is a router", opMode={"opMode": "0"}, Sec={"macFiltering": 0, "delMaclist": ["024B5420000D"]})


def a_night(t):
    t.clock("Sunday 2026-11-29 02:00:00 UTC", "set", "2026-11-29", "02:00")
    mark = t.mark()
    t.change("a reboot is scheduled", sys={"schReboot": {"enable": 1, "time": "03:00:00", "week": "1000000"}})
    t.told(
        "for Sundays", "queue MSG_APP_SCHREBOOT enable=1 hour=3 minute=0 second=0 weekdays=1000000",
        "  reboots are scheduled: 03:00:00 on the days 1000000", "  the next one is on 2026-11-29", after=mark,
    )  # fmt: skip
    mark = t.mark()
    t.clock("Sunday 2026-11-29 0", "advance", "59m", "58s")
    t.hears("the router reboots", "daemon: it is Sunday, 03:00:00: reboot\n", mark)
    t.hears("the next is a week later", "the next one is on 2026-12-06\n", mark)
    t.started_anew("it is over", mark)
    before = t.ask(sys={}).get("sys", {}).get("upTime")
    t.clock("Wednesday 2026-12-02 ", "advance", "3d")
    after = t.ask(sys={}).get("sys", {}).get("upTime")
    t.results.check("time has passed for the up-time, too", None not in (before, after) and after >= before + 3 * 86400, (before, after))
    t.clock("Saturday 2026-12-05 22:00:00 UTC", "set", "Saturday", "22:00")
    mark = t.mark()
    t.clock("Saturday 2026-12-05 22:", "rate", "1800")
    t.hears("time flies", "daemon: it is Sunday, 03:00:00: reboot\n", mark)
    t.started_anew("and the router starts anew", mark)
    t.clock("", "rate", "1")


def rests(t):
    """A home that stands still looks at nothing until something happens."""

    def look():
        before = t.router.wake_ups("python3", "home.py play")
        time.sleep(2)
        return t.router.wake_ups("python3", "home.py play") - before

    # Once in a day a lease is renewed; what was set before may still have its end.
    woken = look_until(lambda woken: woken <= 2, look)
    t.results.check("it sleeps while nothing happens", woken <= 2, f"it woke up {woken} times in 2 s")


def as_a_tree(t):
    status, said = t.router.inside("home", "show", "--json")
    tree = json.loads(said) if status == 0 else {}
    tablet = next((device for device in tree.get("devices", []) if device["name"] == "tablet"), None)
    wanted = {"name": "tablet", "at": "wlan0", "connected": True, "address": "192.168.1.24", "down": 600 * 1024, "up": 10 * 1024}
    t.results.check("home show --json", tablet is not None and wanted.items() <= tablet.items(), said)


def a_pool(results, router):
    """Who has no place in the home file has an address that the DHCP server gives out."""
    home = router.folder / "pool.json"
    devices = [{"name": name, "mac": f"02:00:00:00:00:0{number}", "at": "port2"} for number, name in enumerate(("printer", "nas"), 1)]
    home.write_text(json.dumps({"description": "Addresses by DHCP", "devices": devices}))
    if not results.check("a router starts in a home with DHCP", router.start("--fresh", "--still", "--home", str(home)) is not None, router.output()):
        return
    t = Parent(router, results)

    def addresses():
        return {device["name"]: device["ip"] for device in t.devices() if device["conType"] == "wired" and device["name"]}

    t.becomes("its devices have addresses of the pool", addresses, {"printer": "192.168.1.101", "nas": "192.168.1.102"})
    lan = {"ip": "192.168.1.1", "mask": "255.255.255.0", "dhcp": 2, "time": 60}
    t.change("another pool", lan={**lan, "ipStart": "192.168.1.30", "ipEnd": "192.168.1.40"})
    t.becomes("they have others", addresses, {"printer": "192.168.1.30", "nas": "192.168.1.31"})
    t.change("another LAN", lan={**lan, "ip": "10.7.0.1", "ipStart": "10.7.0.200", "ipEnd": "10.7.0.210"})
    t.becomes("they follow", addresses, {"printer": "10.7.0.200", "nas": "10.7.0.201"})
    if not router.way.by_proot:
        t.becomes("and answer a ping", lambda: t.ping("10.7.0.201"), True)
    left_nothing(results, "after DHCP, kill", router.stop(signal.SIGTERM), 143)


def obey(results, way, build):
    """A family lives with its router. The results are added to `results`."""
    router = routers.Router(way, build)
    try:
        home = Home("family")
        if not results.check("a router starts in a home", router.start("--fresh", "--still", "--home", "family") is not None, router.output()):
            return
        t = Parent(router, results)
        devices = home.list()
        t.sees("all of the home are listed", devices)
        radios(t, devices)
        as_a_tree(t)
        rests(t)
        keys(t)
        access_list(t)
        for chapter in (an_evening, filters, internet, a_bridge, a_night):
            chapter(t)
        left_nothing(results, "after days in a home, kill", router.stop(signal.SIGTERM), 143)
        a_pool(results, router)
    finally:
        router.remove()


