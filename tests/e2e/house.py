# SPDX-License-Identifier: MIT
"""A house is set up from nothing with curl alone; then the router is looked into, stopped and started again."""

import json
import re
import signal

import router as routers
from router import look_until
from story import NEED_LOGIN, SESSION, STARTED_ANEW, Teller, get_reply, left_nothing, set_reply

ACCOUNT = {"usr": "owner", "pwd": "correct horse"}
WIFI = {"combine": "0", "ssid": "House", "wifiPwd": "house key 2.4", "ssid5": "House 5G", "wifiPwd5": "house key 5"}
GUEST = {"enable": 1, "ssid": "Visitors", "wifiPwd": "come in please", "ssid5": "Visitors 5G", "wifiPwd5": "come in please"}
STATIC = {
    "type": "0",
    "ip": "203.0.113.77",
    "mask": "255.255.255.0",
    "gateway": "203.0.113.1",
    "dns1": "9.9.9.9",
    "dns2": "149.112.112.112",
}
PPPOE = {"type": "3", "pppUsr": "house@provider 'x' \\ y", "pppPwd": 'p"$(reboot)'}
LAN = {"ip": "10.20.0.1", "mask": "255.255.0.0", "dhcp": 2, "time": 60, "ipStart": "10.20.1.1", "ipEnd": "10.20.1.250"}
NEW_LAN = {
    "ip": "192.168.1.1",
    "mask": "255.255.255.0",
    "dhcp": 2,
    "time": 1440,
    "ipStart": "192.168.1.100",
    "ipEnd": "192.168.1.200",
}
SCHEDULE = {"enable": 1, "time": "03:30:00", "week": "1000001"}
UPGRADE = {"upgrade": 1, "filePath": "https://firmware.test/f.bin", "newVersion": "2", "md5": "0123456789abcdef" * 2}
AGENT_ADDRESSES = ("10", "11")
AGENTS = len(AGENT_ADDRESSES)


# What every restart says at last: whether reboots are scheduled; and who is away meanwhile, that it is back.
RESTART_ENDS = {
    "queue MSG_APP_REINIT": " scheduled",
    'queue MSG_CALL_SYSCONF sysconfArgv="init gw all"': " scheduled",
    "queue MSG_REBOOT": STARTED_ANEW,
    "queue MSG_RESET": STARTED_ANEW,
}


class House(Teller):
    def log_in(self, step, user, password):
        request = {"action": "login", "info": {"user": user, "pwd": password}}
        reply = {"info": {"sessionid": "<session>"}, "action": "loginRsp", "result": {"error": 0, "msg": "login success"}}
        found = SESSION.search(self.expect(step, request, reply))
        self.session = found.group() if found else None

    def set(self, step, lines=(), **objects):
        """Sets objects, and waits until the system daemon has printed these lines about it; if they tell of a restart,
        until that is over."""
        mark = self.mark()
        self.gated(step, {"action": "set", **objects}, set_reply(*objects))
        if lines:
            self.told(step, *lines, after=mark)
        if lines and lines[0] in RESTART_ENDS:
            begin = mark + self.router.output()[mark:].find(f"daemon: {lines[0]}\n")
            self.results.check(f"it ends: {step}", self.router.await_output(RESTART_ENDS[lines[0]], begin), self.router.output()[begin:])

    def get(self, step, **objects):
        self.gated(step, {"action": "get", **{name: {} for name in objects}}, get_reply(**objects))

    def inside(self, step, command, *patterns):
        """A command inside the router succeeds and prints, for each pattern, a text that matches."""
        status, said = self.router.inside(*command)
        good = status == 0 and all(re.search(pattern, said, re.MULTILINE) for pattern in patterns)
        self.results.check(step, good, f"status {status}\n{said}")

    def comes_from_elsewhere(self, user, password):
        """The phone has another address: where a session is its client's alone, it has none until it logs in again."""
        if "HARDEN_SESSIONS" in self.router.options:
            self.gated("its session is another address's", {"action": "get", "app": {}}, NEED_LOGIN)
            self.log_in("login from there", user, password)

    def sys(self):
        """The "sys" object, which holds the PC's up-time."""
        reply = self.router.ask(json.dumps({"action": "get", "sys": {}, "sessionid": self.session or ""}))[2]
        try:
            return json.loads(reply).get("sys", {})
        except json.JSONDecodeError:
            return {}

    def await_true(self, step, condition):
        self.results.check(step, look_until(bool, condition), self.router.output()[-2000:])


WAN_KEYS = ("type", "pppUsr", "pppPwd", "dnsmode", "ip", "mask", "gateway", "dns1", "dns2")


def wan_reply(**values):
    return {key: values[key] for key in WAN_KEYS if key in values}


DHCP_WAN = wan_reply(
    type="1", dnsmode=0, ip="203.0.113.2", mask="255.255.255.0", gateway="203.0.113.1", dns1="203.0.113.1", dns2="203.0.113.53"
)
HAND_WAN = {**DHCP_WAN, "dnsmode": 1, "dns1": "9.9.9.9", "dns2": "1.1.1.1"}
PPPOE_WAN = wan_reply(
    **PPPOE, dnsmode=0, ip="198.51.100.2", mask="255.255.255.255", gateway="198.51.100.1", dns1="203.0.113.1", dns2="203.0.113.53"
)


def initwan(*lines):
    return ('queue MSG_CALL_SYSCONF sysconfArgv="initwan"', *("  " + line for line in lines))


def internet(t):
    t.get("a new router is a DHCP client", wanInfo=DHCP_WAN)
    t.set(
        "a static address",
        initwan(
            "eth1 has the address 203.0.113.77, mask 255.255.255.0, MTU 1500",
            "the default route leads to 203.0.113.1",
            "name servers: 9.9.9.9 149.112.112.112",
        ),
        wanInfo=STATIC,
    )
    t.get("it is in force", wanInfo=wan_reply(**STATIC, dnsmode=0))
    t.inside("eth1 has it", ["run", "ifconfig", "eth1"], r"inet addr:203\.0\.113\.77 .*Mask:255\.255\.255\.0", r"MTU:1500\b")
    t.inside("the resolver has the servers", ["run", "cat", "/etc/resolv.conf"], r"\Anameserver 9\.9\.9\.9\nnameserver 149")
    t.set("an MTU", ["queue MSG_APP_REINIT"], wanAdvance={"mtu": 1450})
    t.inside("is the interface's", ["run", "ifconfig", "eth1"], r"MTU:1450\b")
    t.set(
        "a static address that is none",
        initwan(
            "eth1 has no address: 'my address' with mask '255.255.255.0' is none",
            "name servers: 9.9.9.9 149.112.112.112",
        ),
        wanInfo={**STATIC, "ip": "my address"},
    )
    none = {"ip": "0.0.0.0", "mask": "0.0.0.0", "gateway": "255.255.255.255"}
    t.get("leaves the router without one", wanInfo=wan_reply(**{**STATIC, **none}, dnsmode=0))
    t.set(
        "a bridge",
        initwan("eth1 has no address: 'my address' with mask '255.255.255.0' is none"),
        wanInfo={"type": 20},
    )
    t.get("is the type 20", wanInfo=wan_reply(**{**STATIC, **none, "type": "20"}, dnsmode=0))
    t.inside("and the operating mode 1", ["flash", "get", "OP_MODE"], r"\AOP_MODE=1\n\Z")
    t.set(
        "PPPoE",
        initwan(
            "ppp0 has the address 198.51.100.2, mask 255.255.255.255, MTU 1492",
            "the default route leads to 198.51.100.1",
            "name servers: 203.0.113.1 203.0.113.53",
        ),
        wanInfo=PPPOE,
    )
    t.get("it is in force, with its account", wanInfo=PPPOE_WAN)
    t.inside("ppp0 is there, eth1 has no address", ["run", "ifconfig"],
             r"^ppp0 .*\n +inet addr:198\.51\.100\.2 ", r"^eth1 .*\n +(inet6|UP)")  # fmt: skip
    t.inside("the default route is ppp0's", ["run", "route", "-n"], r"^0\.0\.0\.0 +198\.51\.100\.1 .* ppp0$")
    t.set("an operating mode", ["queue MSG_APP_REINIT"], opMode={"opMode": "1"})
    t.get("outlives the restart", opMode={"opMode": "1"})
    t.set("another, and WAN settings with it", ["queue MSG_APP_REINIT"], wanInfo={**STATIC, "ip": "not."}, opMode={"opMode": "0"})
    t.get("one restart brings both", wanInfo=wan_reply(**{**STATIC, **none}, dnsmode=0), opMode={"opMode": "0"})
    t.set(
        "DHCP with servers by hand",
        initwan(
            "eth1 has the address 203.0.113.2, mask 255.255.255.0, MTU 1500",
            "the default route leads to 203.0.113.1",
            "name servers: 9.9.9.9 1.1.1.1",
        ),
        wanInfo={"type": 1, "dnsmode": 1, "dns1": "9.9.9.9", "dns2": "1.1.1.1"},
    )
    t.get("both are in force", wanInfo=HAND_WAN)
    t.inside("ppp0 has gone", ["run", "ifconfig"], r"\A(?!(.|\n)*ppp0)")


def wifi(t):
    t.set(
        "names and keys of both radios",
        ('queue MSG_CALL_SYSCONF sysconfArgv="init gw all"', "  services start anew with:"),
        wifi=WIFI,
    )
    t.get("are in force", wifi={"combine": "1", **{k: WIFI[k] for k in ("ssid", "wifiPwd", "ssid5", "wifiPwd5")}, "asSysPwd": "0"})
    t.inside("and in the store", ["flash", "get", "WLAN0_WPA_PSK"], r"\AWLAN0_WPA_PSK=house key 5\n\Z")
    mark = t.mark()
    t.set("a guest network", ('queue MSG_CALL_SYSCONF sysconfArgv="init gw all"',), wifiguest=GUEST)
    shown = t.router.output()[mark:]
    t.results.check("is on after the restart", "daemon:   WLAN1_VA1_SSID=Visitors\n" in shown, shown)
    t.get("and in force", wifiguest={**GUEST, "duration": 0})


def box(t):
    t.set("an account of one's own", ["queue MSG_APP_REINIT"], sys=ACCOUNT)
    t.log_in("login with it", ACCOUNT["usr"], ACCOUNT["pwd"])
    t.set(
        "a scheduled reboot",
        (
            "queue MSG_APP_SCHREBOOT enable=1 hour=3 minute=30 second=0 weekdays=1000001",
            "  reboots are scheduled: 03:30:00 on the days 1000001",
        ),
        sys={"schReboot": SCHEDULE},
    )
    t.inside("is kept", ["run", "cat", "/var/run/schreboot"], r"\A03:30:00 1000001\n\Z")
    t.results.check("and read back", t.sys().get("schReboot") == SCHEDULE, t.sys())
    t.set("LEDs off", sys={"led": "alloff"})
    t.results.check("they are", t.sys().get("led") == "alloff", t.sys())
    for what in ("upgrade", "pairing"):
        t.lasts(what, 3600)
    t.set(
        "an upgrade",
        (f'queue MSG_APP_FWUPG url="{UPGRADE["filePath"]}" md5="{UPGRADE["md5"]}"', f'  an upgrade begins: {UPGRADE["filePath"]}'),
        sys=UPGRADE,
    )
    t.await_true("is under way", lambda: t.sys().get("upgrade", {}).get("status") == 1)
    t.set("pairing, while it runs", wps={"wpsbutton": 1})
    t.await_true("is under way", lambda: t.router.inside("run", "cat", "/tmp/wscd_status") == (0, "1\n"))
    t.get("which can be seen", wps={"status": 1})
    t.set("is cancelled", wps={"wpsbutton": 0})
    t.await_true("and ends", lambda: t.router.inside("run", "cat", "/tmp/wscd_status") == (0, "3\n"))
    t.get("which can be seen, too", wps={"status": 3})
    t.lasts("upgrade", 0)
    t.await_true("the upgrade ends", lambda: t.sys().get("upgrade", {}).get("status") == 0)


def lan(t):
    mark = t.mark()
    t.set(
        "another LAN",
        ('queue MSG_CALL_SYSCONF sysconfArgv="initlan"', "  br0 has the address 10.20.0.1, mask 255.255.0.0"),
        lan=LAN,
    )
    t.await_true("the phone follows", lambda: "home: the phone has the address 10.20.0.100\n" in t.router.output()[mark:])
    t.comes_from_elsewhere(ACCOUNT["usr"], ACCOUNT["pwd"])
    mark = t.mark()
    t.get("the router is reached there", lan=LAN)
    t.results.check("from there", t.router.await_output(":REMOTE_ADDR=10.20.0.100\n", after=mark), t.router.output()[mark:])
    t.inside("br0 has the address", ["run", "ifconfig", "br0"], r"inet addr:10\.20\.0\.1 .*Mask:255\.255\.0\.0")


def agents_led(t, prefix):
    """What the agents themselves say of their LEDs, asked from their controller, which needs no session."""
    request = '{"action":"get","sys":{}}'
    replies = [t.router.inside("run", "curl", "-sS", "-d", request, f"http://{prefix}.{place}/app/app.cgi")[1] for place in AGENT_ADDRESSES]
    return [re.findall(r'"led":\t"(\w+)"', reply) for reply in replies]


def mesh(t, has_agents):
    mark = t.mark()
    t.set("become the mesh controller", ["queue MSG_APP_REINIT"], mesh={"name": "Hall", "role": 1, "backhaul": 0})
    shown = t.router.output()[mark:]
    t.results.check("which the restart shows", "daemon:   MIB_MESH_ROLE=1\n" in shown, shown)
    t.get("it is", mesh={"name": "Hall", "role": 1, "backhaul": 0})
    t.inside("with a backhaul of its own", ["flash", "get", "WLAN0_VA0_SSID"], r"=EasyMeshBH-\w{9}$")
    if has_agents:
        t.inside(
            "the topology lists the agents", ["run", "cat", "/tmp/topology_json"],
            r'\A\{"child_devices":\[.*"ip_addr":"10\.20\.0\.10".*"ip_addr":"10\.20\.0\.11".*\n\Z',
        )  # fmt: skip
        # It has its new address a while after the phone.
        ask = ["run", "curl", "-sS", "-d", '{"action":"scan"}', "http://10.20.0.11/app/app.cgi"]
        status, scan = look_until(lambda answer: answer[0] == 0, lambda: t.router.inside(*ask))
        t.results.check("an agent is a device of its own", '"name":\t"Agent 2"' in scan and "024B54709502" in scan, f"status {status}\n{scan}")
    # Each is another state than the agents have: who sees it knows that no older order is still on its way.
    for state in ("alloff", "allon", "alloff"):
        t.set(f"LEDs: {state}", sys={"led": state})
        t.results.check("the controller's are", t.sys().get("led") == state, t.sys())
        if has_agents:
            t.await_true("the agents' are", lambda state=state: agents_led(t, "10.20.0") == [[state]] * AGENTS)


LOCKED_OUT_GET = {"action": "get", "lan": {}}
LOCKED_OUT = get_reply(lan={**NEW_LAN, "ip": "10.9.9.9", "mask": "255.255.255.255", "dhcp": 0})


def lock_out(t):
    """A LAN that has room for the router only."""
    mark = t.mark()
    t.set("a LAN without room", lan={"ip": "10.9.9.9", "mask": "255.255.255.255", "dhcp": 0})
    t.results.check("the phone is lost", t.router.await_output("home: the phone finds no place", after=mark), t.router.output()[mark:])
    status, _, text = t.router.ask('{"action":"scan"}')
    t.results.check("and gets no answer", status == 0, f"{status} {text}")
    t.expect("the router answers itself", LOCKED_OUT_GET, LOCKED_OUT, loopback=True)


def kept(t):
    """What was set, and must be there whenever the router has started again."""
    t.log_in("login", ACCOUNT["usr"], ACCOUNT["pwd"])
    t.get(
        "the house is as it was set up",
        wanInfo=HAND_WAN,
        wifiguest={**GUEST, "duration": 0},
        lan=LAN,
        mesh={"name": "Hall", "role": 1, "backhaul": 0},
    )
    found = t.sys()
    good = (found.get("usr"), found.get("led"), found.get("schReboot")) == (ACCOUNT["usr"], "alloff", SCHEDULE)
    t.results.check("account, schedule and LEDs too", good, found)
    t.inside("a reboot is scheduled", ["run", "cat", "/var/run/schreboot"], r"\A03:30:00 1000001\n\Z")


def wrong_calls(results, router):
    """Calls of script/router that must fail."""
    for words, status, text in (
        (("flash", "all"), 1, "no router runs on the state folder"),
        ((), 2, "no command"),
        (("run",), 2, "run needs a command"),
        (("nonsense",), 2, "there is no command 'nonsense'"),
        (("--nonsense",), 2, "there is no option '--nonsense'"),
    ):
        got, said = router.inside(*words)
        results.check(f"script/router {' '.join(words)}, without a router", got == status and text in said, f"status {got}\n{said}")
    got, said = router.inside("--help")
    results.check("script/router --help", got == 0 and said.startswith("Usage: script/router"), said)


def live(results, way, build):
    """Sets a house up. The results are added to `results`."""
    router = routers.Router(way, build)
    agents = [] if way.by_proot else ["--agents", str(AGENTS)]
    try:
        if way.by_proot:
            got, said = router.run("--state", str(router.state), "--agents", "1")
            results.check("agents need namespaces, and it says so", got == 1 and "--agents needs namespaces" in said, said)
        wrong_calls(results, router)
        if not results.check("a router for a house starts", router.start(*agents) is not None, router.output()):
            return
        t = House(router, results)
        t.log_in("login to a new router", "admin", "admin")
        status, said = router.inside("run", "sh", "-c", "echo $0 $PATH; exit 7", "x y")
        results.check("a command of the router has its words, and its status is told", (status, said) == (7, "x y /bin:/sbin\n"), said)
        for chapter in (internet, wifi, box, lan):
            chapter(t)
        mesh(t, not way.by_proot)

        t.set(
            "reboot",
            ("queue MSG_REBOOT", "  the router starts anew"),
            sys={"reboot": 1},
        )
        kept(t)
        left_nothing(results, "after a life in a house, kill", router.stop(signal.SIGTERM), 143)

        results.check("the house's router starts again", router.start(*agents) is not None, router.output())
        results.check("the phone is where it was", "as to the phone 10.20.0.100 on its LAN" in router.output(), router.output())
        kept(t)
        if agents:
            t.await_true("the agents kept their LEDs off", lambda: agents_led(t, "10.20.0") == [["alloff"]] * AGENTS)

        t.set("back to the factory's settings", ("queue MSG_RESET", "  the factory's settings are back"), sys={"restore": 1})
        t.log_in("login to a router that is new again", "admin", "admin")
        t.get("the Internet and the LAN are those of a new router", wanInfo=DHCP_WAN, lan=NEW_LAN)
        t.results.check("and the LEDs", t.sys().get("led") == "allon", t.sys())
        lock_out(t)
        left_nothing(results, "without a phone, kill", router.stop(signal.SIGTERM), 143)
        results.check("it starts without a phone", router.start() is not None, router.output())
        results.check("and says so", "no phone finds a place" in router.output(), router.output())
        t.expect("and answers itself", LOCKED_OUT_GET, LOCKED_OUT, loopback=True)
        left_nothing(results, "kill", router.stop(signal.SIGTERM), 143)
    finally:
        router.remove()
