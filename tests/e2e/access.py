# SPDX-License-Identifier: MIT
"""Who may do what: devices are limited with curl alone, and the kernel denies and slows down what it is told to."""

import re
import signal
import subprocess

import router as routers
from router import look_until
from house import House
from story import left_nothing

PHONE = "024B54000064"
PROVIDER = "203.0.113.1"
FIREWALL = 'queue MSG_CALL_SYSCONF sysconfArgv="firewall"'
SATURDAY_NOON = "2026-11-28 12:00:00"
PINGS = 10

# What the kernel must know for the rules; the router's own are not used, so that they cannot hide their faults.
PROBES = {
    "firewall": "add table inet t; add chain inet t c { type filter hook forward priority filter; }; "
    "add rule inet t c ether saddr 02:00:00:00:00:01 limit rate over 9/second drop; "
    "add chain inet t n { type nat hook postrouting priority srcnat; }; add rule inet t n ct state new masquerade",
    "shaping": "add table inet t; add chain inet t c { type filter hook forward priority filter; }; "
    "add rule inet t c meta priority set 1:1",
}


def obstacle(way, table):
    """Returns why a router of this way cannot have its rules in force, or None."""
    if way.by_proot:
        return f"this router has no {'nft' if table == 'firewall' else 'tc'}"
    script = 'PATH="$PATH:/usr/sbin:/sbin"; nft "$1"; ip link add br0 type bridge; tc qdisc add dev br0 root handle 1: htb'
    probe = [*way.prefix, "unshare", "--user", "--map-root-user", "--net", "sh", "-euc", script, "sh", PROBES[table]]
    run = subprocess.run(probe, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    return (run.stdout.strip().splitlines() or ["the kernel refuses"])[0] if run.returncode else None


class Parents(House):
    def __init__(self, router, results):
        super().__init__(router, results)
        self.obstacles = {table: obstacle(router.way, table) for table in PROBES}
        self.left_out = set()

    def limit(self, step, rules, *lines, **objects):
        """Sets objects, and waits until the daemon has told what becomes of that many rules of the firewall, or, for the
        object "qos", of the shaping. It has shown these lines before."""
        table, message = ("shaping", "queue MSG_APP_SETQOS") if "qos" in objects else ("firewall", FIREWALL)
        end = "daemon:   " + self.outcome(table, rules)
        mark = self.mark()
        self.set(step, [message], **objects)
        self.results.check(f"it is done: {step}", self.router.await_output(end, after=mark), self.router.output()[mark:])
        shown = self.router.output()[mark:]
        for line in lines:
            self.results.check(f"it shows: {line}", f"daemon:   {line}\n" in shown, shown)

    def outcome(self, table, rules):
        """What the router says after it has shown that many rules."""
        if rules == 0:
            return f"no {table} rules\n"
        return f"{table} rules " + (f"not in force: {rules} (" if self.obstacles[table] else f"in force: {rules}\n")

    def clock(self, *words):
        """Moves the router's clock, whatever the PC's shows, and waits until the daemon has taken note of it."""
        mark = self.mark()
        status, said = self.router.inside("clock", *words)
        self.results.check(f"clock {' '.join(words)}", status == 0, said)
        self.told(f"clock {' '.join(words)}", "the clock is set: schreboot", "  no reboot is scheduled", after=mark)

    def really(self, table):
        """Whether what the rules of this table do to the phone can be seen. Where it can't, that is said once."""
        obstacle = self.obstacles[table] or self.obstacles["firewall"]  # which also leads the phone's packets out
        if obstacle and table not in self.left_out:
            self.left_out.add(table)
            print(f"left out  {self.results.way}: what the {table} does to the phone: {obstacle}", flush=True)
        return not obstacle

    def reaches(self, step, wanted):
        """The phone's pings to the provider are answered, or not."""
        if not self.really("firewall"):
            return
        patience = str(routers.PATIENCE_SECONDS // 2) if wanted else "1"  # for what comes at once unless the PC is busy
        status, said = self.router.on_phone("busybox", "ping", "-c", "1", "-W", patience, PROVIDER)
        received = "1 packets received" in said
        self.results.check(step, received == wanted and "1 packets transmitted" in said, f"status {status}\n{said}")

    def is_fast(self, step, wanted):
        """Most of the phone's large pings to the provider take less than 300 ms, or more than 500 if they come at all. They are sent in
        much less time than the limit lets them through in, whether replies come or not, so that they stand in line; only where ping
        stood still for long does one find nobody before it. On a busy PC it is tried again: what is limited is never fast."""
        if not self.really("shaping"):
            return

        def good(said):
            times = [float(taken) for taken in re.findall(r" time=([\d.]+) ms", said)]
            if wanted:
                return sum(taken < 300 for taken in times) > PINGS / 2
            return times and f"{PINGS} packets transmitted" in said and PINGS - sum(taken <= 500 for taken in times) > PINGS / 2

        def look():
            return self.router.on_phone("busybox", "ping", "-i", "0.2", "-c", str(PINGS), "-s", "1400", "-W", "10", PROVIDER)[1]

        said = look_until(good, look) if wanted else look()
        self.results.check(step, good(said), said)


def outbound(match, verdict, name):
    return f"nft add rule inet firewall outbound ether saddr {match} {verdict} # '{name}'"


TABLET = {"mac": "024B54000070", "TimeControl": 1, "stime": "08:00:00", "etime": "22:30:00", "week": "0111110", "name": "tablet"}
SHOWN_TABLET = {
    "TimeControl": 1,
    "sTime": "08:00:00",
    "eTime": "22:30:00",
    "name": "tablet",
    "mac": "024B54000070",
    "week": "0111110",
}
KEYWORDS = "shown only: iptables -A FORWARD -i br0 -p tcp --dport 80 -m string --algo bm --string"


def tables(t):
    """Every table is filled and looked at, and what becomes of it is shown."""
    t.clock("set", SATURDAY_NOON)
    t.limit(
        "schedule a tablet", 3,
        "02:4B:54:00:00:70 'tablet' may not reach the Internet until 2026-11-30 08:00:00",
        outbound("02:4B:54:00:00:70", "drop", "tablet"),
        netAcc={"enable": 1, "addlist": [TABLET]},
    )  # fmt: skip
    t.get("it is scheduled", netAcc={"enable": 1, "list": [SHOWN_TABLET]})
    odd = {**TABLET, "mac": "not a MAC!!!", "stime": "25:00:00", "name": "o'dd\n"}
    t.limit(
        "a schedule that is none", 3,
        "the schedule of 'NOT A MAC!!!' 'o'\\''dd?' at '250000,223000' is none; it limits nobody",
        netAcc={"enable": 1, "addlist": [odd]},
    )  # fmt: skip
    t.limit("goes", 3, netAcc={"dellist": [{"mac": odd["mac"]}]})

    t.limit("block a word", 3, f"{KEYWORDS} 'don'\\''t' -j DROP", urlfilter={"enable": 1, "mode": 0, "addurl": "don't"})
    t.limit(
        "allow a word", 3, f"{KEYWORDS} 'school' -j ACCEPT", f"{KEYWORDS} 'Host:' -j DROP",
        urlfilter={"enable": 1, "mode": 1, "addurl": "school"},
    )  # fmt: skip
    t.get("both are listed", urlfilter={"enable": 1, "mode": 1, "urllist": {"black": {"url1": "don't"}, "white": {"url1": "school"}}})
    t.limit("forget the word", 3, urlfilter={"enable": 1, "mode": 0, "delurl": "don't"})

    stranger = ["0A0B0C0D0E0F", "stranger", "", "1111111"]
    t.limit(
        "filter a stranger", 4, outbound("0a:0b:0c:0d:0e:0f", "drop", "stranger"),
        Sec={"macFiltering": 1, "addMaclist": [stranger]},
    )  # fmt: skip
    flood = "nft add rule inet firewall flood iifname { eth1, ppp0 }"
    t.limit(
        "protect from floods", 7, f"{flood} meta l4proto icmp limit rate over 1500/second drop",
        Sec={"firewall": 1, "udpflood": 0},
    )  # fmt: skip
    shown = {"firewall": 1, "icmpflood": 1, "tcpsynflood": 1, "tcpfinflood": 1, "udpflood": 0, "macFiltering": 1}
    t.get("all but UDP", Sec={**shown, "maclist": [stranger]})
    t.limit("a home without a firewall", 2, Sec={"firewall": 0})

    television = {"ip": "192.168.1.60-192.168.1.50", "ulimit": 500, "dlimit": 2000}
    t.limit(
        "slow down a television", 2,
        "tc class add dev eth1 parent 1: classid 1:1 htb rate 500kbit quantum 1514",
        "tc class add dev br0 parent 1: classid 1:1 htb rate 2000kbit quantum 1514",
        "nft add rule inet shaping forward ip saddr 192.168.1.50-192.168.1.60 oifname { eth1, ppp0 } meta priority set 1:1",
        "nft add rule inet shaping forward ip daddr 192.168.1.50-192.168.1.60 oifname br0 meta priority set 1:1",
        qos={"enable": 1, "ipRuleMod": {"Act": "add", **television}},
    )  # fmt: skip
    t.get("it is slow", qos={"enable": 1, "ipRuleList": [{**television, "index": 1}]})


def schedule(begin, end, week="1111111"):
    return {"mac": PHONE, "TimeControl": 1, "stime": begin, "etime": end, "week": week, "name": "phone"}


def denied(t, table_rules):
    """The phone, which is not limited yet, is; table_rules is how many rules there are without its own."""
    t.reaches("the phone reaches the provider", True)
    t.limit("filter the phone", table_rules + 1, Sec={"macFiltering": 1, "addMaclist": [[PHONE, "phone"]]})
    t.reaches("it does not reach the provider", False)
    # A router that starts has the PC's clock.
    t.limit("the tablet has no day", table_rules + 1, netAcc={"enable": 1, "addlist": [{**TABLET, "week": "0000000"}]})
    left_nothing(t.results, "kill", t.router.stop(signal.SIGTERM), 143)
    t.results.check("the router starts again", t.router.start() is not None, t.router.output())
    for table, rules in (("firewall", table_rules + 1), ("shaping", 2)):
        t.results.check(f"with the {table}", "startup: " + t.outcome(table, rules) in t.router.output(), t.router.output())
    t.log_in("the phone reaches the router", "admin", "admin")
    t.reaches("but not the provider", False)
    t.limit("no filter", table_rules - 1, Sec={"macFiltering": 0})
    t.reaches("the phone reaches the provider again", True)
    t.limit("the phone is no longer filtered", table_rules, Sec={"macFiltering": 1, "delMaclist": [PHONE]})
    t.reaches("the phone still reaches it", True)

    t.clock("set", SATURDAY_NOON)
    for step, hours, wanted in (
        ("hours to come", schedule("14:00:00", "15:00:00"), False),
        ("these hours of today", schedule("11:00:00", "13:00:00", "0000001"), True),
        ("these hours of another day", schedule("11:00:00", "13:00:00", "1111110"), False),
        ("hours that began yesterday", schedule("23:00:00", "13:00:00", "0000010"), True),
        ("hours that ended today", schedule("23:00:00", "06:00:00", "0000010"), False),
        ("the whole day", schedule("00:00:00", "00:00:00", "0000001"), True),
    ):
        t.limit(f"the phone has {step}", table_rules + (not wanted), netAcc={"enable": 1, "addlist": [hours]})
        t.reaches(f"with {step} it {'reaches' if wanted else 'does not reach'} the provider", wanted)
    t.limit("the phone has hours", table_rules, netAcc={"enable": 1, "addlist": [schedule("11:00:00", "13:00:00")]})
    for clock, rules, wanted in (("12:59:58", table_rules + 1, False), ("11:00:00", table_rules, True), ("10:59:57", table_rules, True)):
        mark = t.mark()
        t.clock("set", "Saturday", clock)
        told = t.router.await_output("daemon:   " + t.outcome("firewall", rules), after=mark)
        t.results.check(f"the hours change at their second: {clock}", told, t.router.output()[mark:])
        t.reaches(f"the phone {'reaches' if wanted else 'does not reach'} the provider", wanted)
    t.clock("set", SATURDAY_NOON)
    t.limit("it has no schedule any more", table_rules, netAcc={"dellist": [{"mac": PHONE}]})
    t.reaches("and reaches the provider", True)


def slowed(t):
    """The phone plays the television. A large ping of 1442 bytes takes 0.7 s at 16 kbit/s."""
    t.is_fast("the phone's large pings are fast", True)
    for step, limits in (("download", {"dlimit": 16}), ("upload", {"ulimit": 16})):
        rule = {"Act": "add", "ip": "192.168.1.90-192.168.1.110", **limits}
        t.limit(f"slow down the phone's {step}", 3, qos={"ipRuleMod": rule})
        t.is_fast(f"its {step} is slow", False)
        t.limit("it is slow no more", 2, qos={"ipRuleMod": {"Act": "del", "index": 2}})
    t.is_fast("it is fast again", True)


def removed(t):
    t.limit("change the television's limit", 1, qos={"ipRuleMod": {"Act": "mod", "index": 1, "ip": "192.168.1.50-192.168.1.60", "dlimit": 3000}})
    t.get("it is changed", qos={"enable": 1, "ipRuleList": [{"ip": "192.168.1.50-192.168.1.60", "ulimit": 0, "dlimit": 3000, "index": 1}]})
    t.limit("shaping is off", 0, "no shaping classes", qos={"enable": 0})
    t.limit("the television is fast", 0, qos={"ipRuleMod": {"Act": "del", "index": 1}})
    t.limit("the tablet is free", 1, netAcc={"dellist": [{"mac": TABLET["mac"]}]})
    t.limit("the stranger is not filtered", 0, Sec={"macFiltering": 0, "delMaclist": ["0A0B0C0D0E0F"]})
    t.limit("no words", 0, urlfilter={"enable": 1, "mode": 1, "delallurl": 1})
    t.get("there are no rates", qos={"enable": 0, "ipRuleList": []})
    t.get("no schedules", netAcc={"enable": 1, "list": []})
    t.get("no words are listed", urlfilter={"enable": 1, "mode": 1, "urllist": {"black": {}, "white": {}}})


def restrict(results, way, build):
    """Limits the devices of a home. The results are added to `results`."""
    router = routers.Router(way, build)
    try:
        if not results.check("a router for parents starts", router.start() is not None, router.output()):
            return
        t = Parents(router, results)
        t.log_in("login to a router without limits", "admin", "admin")
        tables(t)
        denied(t, 2)
        slowed(t)
        removed(t)
        left_nothing(results, "after a life with limits, kill", router.stop(signal.SIGTERM), 143)
    finally:
        router.remove()
