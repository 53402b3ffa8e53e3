# SPDX-License-Identifier: MIT
"""Who and what is around the router, written by hand: hosts of the LAN, drivers, the DHCP server and the speed sampler."""

import json
import re
import struct
import time

import router as routers
from house import House
from router import look_until
from story import get_reply, left_nothing, set_reply

PHONE = ("192.168.1.100", "02:4b:54:00:00:64")
REAL_HOSTS = 32
LAN = {"ip": "10.20.0.1", "mask": "255.255.0.0", "dhcp": 2, "time": 60, "ipStart": "10.20.1.1", "ipEnd": "10.20.1.250"}


def mac(number):
    return f"02:4b:54:77:{number >> 8:02x}:{number & 255:02x}"


class Street(House):
    def put(self, path, content):
        """Writes a file of the router, whole or not at all."""
        octal = "".join(f"\\0{byte:03o}" for byte in content)
        write = f"mkdir -p {path.rpartition('/')[0]} && printf %b '{octal}' >{path}.new && mv {path}.new {path}"
        said = self.router.inside("run", "sh", "-c", write)
        if said != (0, ""):
            self.results.check(f"{path} is written", False, said)

    def hosts(self, *hosts):
        """Changes who is on the LAN: (address, MAC address, "wired" or "air")."""
        self.put("/outside/hosts", "".join(f"{' '.join(host)}\n" for host in hosts).encode())

    def listed(self):
        """The entries of the ARP table: (address, MAC address)."""
        table = self.router.inside("run", "cat", "/proc/net/arp")[1]
        return sorted(re.findall(r"^([0-9.]+) +0x1 +0x[26] +([0-9a-f:]{17}) .* br0$", table, re.MULTILINE))

    def lists(self, step, *hosts):
        """Soon the ARP table has these entries and no other. Returns the seconds."""
        begin = time.monotonic()
        found = look_until(lambda found: found == sorted(hosts), self.listed)
        self.results.check(step, found == sorted(hosts), f"missing {set(hosts) - set(found)}, too many {set(found) - set(hosts)}")
        return time.monotonic() - begin

    def answers(self, step, address, wanted):
        patience = str(routers.PATIENCE_SECONDS // 2) if wanted else "1"  # for what comes at once unless the PC is busy
        said = self.router.inside("run", "ping", "-c", "1", "-W", patience, address)[1]
        self.results.check(step, ("1 packets received" in said) == wanted, said)

    def becomes(self, step, look, wanted):
        seen = look_until(lambda seen: seen == wanted, look)
        self.results.check(step, seen == wanted, f"{seen}\ninstead of\n{wanted}")

    def ask(self, name, **keys):
        """An object of the reply, asked for from the router itself."""
        reply = self.router.ask(json.dumps({"action": "get", name: keys}), loopback=True)[2]
        try:
            return json.loads(reply).get(name)
        except json.JSONDecodeError:
            return None


def hosts(t, by_proot):
    tv, tablet = ("192.168.1.20", mac(1)), ("192.168.1.21", mac(2))
    t.lists("the phone is known before anyone else", PHONE)
    t.hosts((*tv, "wired"), (*tablet, "air"))
    t.lists("hosts with and without a cable appear", PHONE, tv, tablet)
    t.answers("the one with a cable answers", tv[0], True)
    t.answers("the other does not", tablet[0], False)
    moved = ("192.168.1.30", tv[1])
    t.hosts((*moved, "wired"), (*tablet, "wired"))
    t.lists("a host changes its address", PHONE, moved, tablet)
    t.answers("where it was nobody answers", tv[0], False)
    t.answers("where it is it does", moved[0], True)
    t.answers("a host has got a cable", tablet[0], True)
    t.hosts((*moved, "air"), (*tablet, "wired"))
    t.becomes("one without its cable falls silent", lambda: "0 packets received" in t.router.inside("run", "ping", "-c", "1", "-W", "1", moved[0])[1], True)
    t.lists("and is known still", PHONE, moved, tablet)
    twice = ("192.168.1.31", tablet[1])
    t.hosts(
        (PHONE[0], mac(3), "wired"), ("192.168.1.40", PHONE[1], "wired"), ("192.168.1.1", mac(4), "air"),
        ("192.168.1.41", "02:4B:54:70:94:01", "air"), ("192.168.1.42", "nonsense", "wired"), ("192.168.1.43", mac(5)), (),
        ("192.168.1.44;reboot", mac(6), "wired"), ("192.168.1.45", mac(7), "flying"), (*tablet, "wired"), (*twice, "wired"),
    )  # fmt: skip
    t.lists("nobody takes the place of the phone or the router, and nonsense is passed over", PHONE, tablet, twice)
    for address in (tablet[0], twice[0]):
        t.answers("a host with two addresses answers at both", address, True)
    t.expect("the phone is not disturbed", {"action": "get", "app": {}, "sessionid": t.session}, get_reply(app={"port": 0, "ticktime": 0}))
    if not by_proot:
        t.inside("what br0 forgets while it is down", ["run", "sh", "-c", "ifconfig br0 down; ifconfig br0 up"])
        t.hosts((*tablet, "air"))
        t.lists("is there again with the next change", PHONE, tablet)


def crowd(t, by_proot):
    """As many as the ARP list takes, and a LAN that moves."""
    places = [*range(2, 100), *range(101, 255)]
    many = [(f"192.168.1.{place}", mac(place)) for place in places]
    kinds = ["wired" if number <= REAL_HOSTS else "air" for number in range(len(many))]
    t.hosts(*((*host, kind) for host, kind in zip(many, kinds)))
    seconds = t.lists("a full LAN is known", PHONE, *many)
    print(f"        after {seconds:.2f} s")
    t.answers(f"{REAL_HOSTS} with a cable answer", many[REAL_HOSTS - 1][0], True)
    t.answers("more do not", many[REAL_HOSTS][0], False)
    mark = t.mark()
    t.expect("the LAN moves", {"action": "set", "lan": LAN}, set_reply("lan"), loopback=True)
    t.hears("and the phone", "home: the phone has the address 10.20.0.100\n", mark)
    phone = ("10.20.0.100", PHONE[1])
    t.lists("who has not moved is known where he was", phone, *many)
    more = [(f"10.20.{1 + number // 200}.{number % 200}", mac(number)) for number in range(300)]
    t.hosts(*((*host, "wired" if number < 2 else "air") for number, host in enumerate(more)))
    t.lists("300 who have are known", phone, *more)
    t.answers("one with a cable answers there", more[1][0], True)
    devices = (t.ask("lanStatus") or {}).get("devlist", [])
    t.results.check("the client list has room for 256", len(devices) == 256, f"{len(devices)}")
    t.hosts()
    t.lists("all have gone", phone)
    if not by_proot:
        t.inside("and their links with them", ["run", "ifconfig", "-a"], r"\A(?!(.|\n)*^h)")


def station(number, transmit_rate):
    record = bytearray(63)
    struct.pack_into("<H6s", record, 0, number, bytes.fromhex(mac(number).replace(":", "")))
    record[20], record[22], record[23], record[52], record[54] = 4, transmit_rate, 40 + number, 2, transmit_rate
    return bytes(record)


def drivers(t):
    hosts = [(f"10.20.0.{20 + number}", mac(number), "air") for number in (1, 2)]
    t.hosts(*hosts)
    t.put("/outside/stations/wlan0", (bytes(63) + station(1, 108)).ljust(4095, b"\0"))
    t.put("/outside/stations/wlan1", (bytes(63) + station(2, 11)).ljust(4095, b"\0"))
    t.put("/outside/rtl865x/arp", f"head\n10.20.0.100 {PHONE[1].replace(':', '-')} (1 3)\n".encode())
    t.put("/outside/rtl865x/port_status", b"head\nPort1 LinkUp\nDuplex: full, Speed is 1000M\nPort3 LinkUp\nDuplex: full, Speed is 100M\n")

    def seen():
        devices = (t.ask("lanStatus") or {}).get("devlist", [])
        return {device["ip"]: f"{device['conType']} {device['dlink']}" for device in devices}

    all_known = {hosts[0][0]: "5g 54", hosts[1][0]: "2g 5.5", "10.20.0.100": "wired 100M"}
    t.becomes("stations of both radios, and who has a cable", seen, all_known)
    for reader in (("cat",), ("head", "-n", "1"), ("grep", "head")):
        t.inside(f"{reader[0]} reads the switch's file", ["run", *reader, "/proc/rtl865x/arp"], r"\Ahead\n")
    t.inside("the 5 GHz radio becomes one of before 802.11ax", ["flash", "set", "WLAN0_AX_SUPPORT", "0"])
    t.becomes("and is asked as such", seen, all_known)
    t.inside("a driver refuses", ["run", "touch", "/outside/stations/wlan0.refuses"])
    t.becomes("its stations are unknown", seen, {**all_known, hosts[0][0]: "unknown "})
    t.inside("it does not any more", ["run", "rm", "/outside/stations/wlan0.refuses", "/outside/stations/wlan1"])
    t.becomes("the other interface has gone", seen, {**all_known, hosts[1][0]: "unknown "})


def services(t):
    def names():
        return sorted(device["name"] for device in (t.ask("lanStatus") or {}).get("devlist", []))

    def leases(*hosts):
        return b"".join(struct.pack("!16s4sI64sI", bytes.fromhex(mac(n).replace(":", "")), bytes(4), 0, name, 0) for n, name in hosts)

    t.becomes("without leases no names", names, ["", "", ""])
    t.put("/outside/leases", leases((1, b"first"), (2, b"second")))
    t.becomes("the DHCP server writes its leases when it is asked", names, ["", "first", "second"])
    t.put("/outside/leases", leases((2, b"another")))
    t.becomes("and anew each time", names, ["", "", "another"])

    def speeds():
        status = t.ask("wanStatus") or {}
        return status.get("dSpeed"), status.get("uSpeed")

    def sampler():
        return t.router.inside("run", "killall", "-0", "speedtest")

    found = sampler()
    t.results.check("nobody needed the speed sampler so far", found[0] != 0, found)
    mark = t.mark()
    t.put("/outside/wanspeed", b"2.000000,256000,128000\n")
    speeds()
    t.told("who asks first has it started", "queue MSG_APP_START_SPEEDTEST", "  speedtest is started", after=mark)
    t.becomes("whoever asks later is told by it", speeds, ("1000.00", "500.00"))
    t.put("/outside/wanspeed", b"1.000000,12800,0\n")
    t.becomes("and gives a fresh sample each time", speeds, ("100.00", "0.00"))
    t.router.post(8, bytes(360))
    t.told("who starts a second one", "queue MSG_APP_START_SPEEDTEST", "  speedtest runs already", after=mark)
    said = t.router.output()[mark:]
    t.results.check("nobody else did", said.count("queue MSG_APP_START_SPEEDTEST\n") == 2, said)
    mark = t.mark()
    t.router.post(3, bytes(360))
    t.told("a reboot", "queue MSG_REBOOT", "  the router starts anew", after=mark)
    t.started_anew("it is over", mark)
    found = sampler()
    t.results.check("which ends the sampler", found[0] != 0, found)
    t.becomes("until somebody asks again", speeds, ("100.00", "0.00"))
    status = t.ask("wanStatus")
    t.results.check("the WAN's port has a link", (status or {}).get("status") == 1, status)


def follow(results, way, build):
    """Changes what is around a router. The results are added to `results`."""
    router = routers.Router(way, build)
    try:
        if not results.check("a router in a street starts", router.start() is not None, router.output()):
            return
        t = Street(router, results)
        t.log_in("login", "admin", "admin")
        hosts(t, way.by_proot)
        crowd(t, way.by_proot)
        drivers(t)
        services(t)
        left_nothing(results, "Ctrl-C", router.stop(2), 130)
    finally:
        router.remove()
