# SPDX-License-Identifier: MIT
"""The story that every router is told: what is asked, and what must be answered, printed and left behind."""

import concurrent.futures
import json
import os
import pathlib
import re
import signal
import socket
import struct
import tempfile
import time

import router as routers
from router import look_until

SESSION = re.compile(r"Us[0-9a-f]{32}")
# What differs between two runs of the same story.
VARYING = (
    (SESSION, "<session>"),
    (re.compile(r"time=\d+\.\d+ ms"), "time=<t> ms"),
    (re.compile(r"= \d+\.\d+/\d+\.\d+/\d+\.\d+ ms"), "= <t>/<t>/<t> ms"),
)

STARTED_ANEW = "router: it has started anew; what was not committed is gone, and so is the session\n"

MOST_DETAIL = 3000  # characters of a failed step

DUT = {
    "mac": "024B54709401",
    "type": "Mesh",
    "model": "KT7094HZM",
    "sn": "kt70a1b2c3d4",
    "name": "My Router",
    "sVersion": "1.0.0(515)",
    "hVersion": "2",
    "date": "",
    "init": 0,
}
LOGIN = {"action": "login", "info": {"user": "admin", "pwd": "admin"}}
LOGIN_FAIL = {"info": {}, "action": "loginRsp", "result": {"error": 7, "msg": "login fail"}}
NEED_LOGIN = {"action": "loginRsp", "result": {"error": 6, "msg": "need login"}}


def formatted(value, depth=0):
    """Prints a value as the endpoint does: tabs for depth, a tab after each colon."""
    if isinstance(value, dict):
        inner = ",\n".join(f"{chr(9) * (depth + 1)}{json.dumps(k)}:\t{formatted(v, depth + 1)}" for k, v in value.items())
        return "{\n" + (inner + "\n" if inner else "") + "\t" * depth + "}"
    if isinstance(value, list):
        return "[" + ", ".join(formatted(element, depth + 1) for element in value) + "]"
    return json.dumps(value, ensure_ascii=False)


def get_reply(**objects):
    return {"action": "getRsp", "result": {"error": 0}, **objects}


def set_reply(*objects, error=0, msg=None):
    result = {"error": error} if msg is None else {"error": error, "msg": msg}
    return {"action": "setRsp", "result": result, **{name: "1" for name in objects}}


def ping_text(address, count):
    lines = [f"PING {address} ({address}): 56 data bytes"]
    lines += [f"64 bytes from {address}: seq={i} ttl=64 time=<t> ms" for i in range(count)]
    lines += ["", f"--- {address} ping statistics ---"]
    lines += [f"{count} packets transmitted, {count} packets received, 0% packet loss"]
    lines += ["round-trip min/avg/max = <t>/<t>/<t> ms", ""]
    return "\n".join(lines)


UNREACHABLE = (
    "PING 192.168.1.200 (192.168.1.200): 56 data bytes\n\n--- 192.168.1.200 ping statistics ---\n"
    "1 packets transmitted, 0 packets received, 100% packet loss\n"
)


class Results:
    """Counts verdicts, prints them, and keeps the replies for a comparison with other ways."""

    def __init__(self, way):
        self.way = way
        self.passed = 0
        self.failed = 0
        self.transcript = []

    def check(self, step, good, detail=""):
        self.passed += bool(good)
        self.failed += not good
        print(f"{'ok    ' if good else 'FAILED'}  {self.way}: {step}", flush=True)
        if not good and detail:
            print("        " + str(detail)[:MOST_DETAIL].replace("\n", "\n        "), flush=True)
        return good


class Teller:
    """Asks one router and checks what it answers."""

    def __init__(self, router, results):
        self.router = router
        self.results = results
        self.session = None

    def expect(self, step, request, reply, loopback=False, again=False):
        """Asks, and compares the reply's whole text. Text of the reply that varies is masked. `again`: what a busy machine may spoil is
        asked for more than once."""
        body = request if isinstance(request, str) else json.dumps(request)
        expected = formatted(reply) + "\n"

        def ask():
            status, kind, text = self.router.ask(body, loopback)
            masked = text
            for pattern, mask in VARYING:
                masked = pattern.sub(mask, masked)
            return status, kind, text, masked

        status, kind, text, masked = look_until(lambda answer: not again or answer[3] == expected, ask)
        self.results.transcript.append(f"{step}: {status} {kind}\n{masked}\n")
        self.results.check(
            step,
            status == 200 and kind == "application/json" and masked == expected,
            f"HTTP {status} {kind}\n{masked}\ninstead of\n{expected}",
        )
        return text

    def gated(self, step, request, reply, again=False):
        return self.expect(step, {**request, "sessionid": self.session or "none"}, reply, again=again)

    def log_in(self, step="login"):
        reply = {"info": {"sessionid": "<session>"}, "action": "loginRsp", "result": {"error": 0, "msg": "login success"}}
        found = SESSION.search(self.expect(step, LOGIN, reply))
        self.session = found.group() if found else None

    def told(self, step, *lines, after):
        """The system daemon prints the lines, in order and with nothing between, after that place of the output."""
        block = "".join(f"daemon: {line}\n" for line in lines)

        def look():
            return "".join(re.findall(r"^daemon: .*\n", self.router.output()[after:], re.MULTILINE))

        daemon = look_until(lambda said: block in said, look)
        self.results.check(f"the daemon was told: {step}", block in daemon, daemon)

    def hears(self, step, text, mark):
        """The router prints the text, after that place of the output."""
        self.results.check(step, self.router.await_output(text, after=mark), self.router.output()[mark:])

    def networks_are_up(self, after):
        """The restart that the daemon was told of is over: the schedule is the last that it takes up, the WAN is back by then."""
        self.hears("the networks are up again", "daemon:   no reboot is scheduled\n", after)

    def started_anew(self, step, after):
        """The router was away, and answers again."""
        self.hears(step, STARTED_ANEW, after)

    def lasts(self, what, seconds):
        """How long what is only pretended takes, so that it lasts until it has been looked at."""
        said = self.router.inside("run", "sh", "-c", f"echo {seconds} >/outside/{what}-seconds")
        self.results.check(f"{what} takes {seconds} s", said == (0, ""), said)

    def mark(self):
        return len(self.router.output())


def killed_login(t):
    """What a login that was killed while it wrote has left behind is no obstacle for one of the same process id."""
    login = '{"action":"login","info":{"user":"admin","pwd":"admin"}}'
    endpoint = f"env REMOTE_ADDR=192.168.1.100 CONTENT_LENGTH={len(login)} /web/app/app.cgi"
    got, said = t.router.inside("run", "sh", "-c", f"echo '{login}' >/tmp/login; echo half >/var/app_sessionid.$$; exec {endpoint} </tmp/login")
    _, left = t.router.inside("run", "sh", "-c", "rm /tmp/login; ls /var/app_sessionid.[0-9]* 2>/dev/null; cat /var/app_sessionid")
    told = re.search(r'"(Us[0-9a-f]{32})"', said)
    good = got == 0 and told and left.startswith(f"sessionid={told[1]}")
    t.results.check("a login of the process id of one that was killed while it wrote", good, f"status {got}\n{said}\n{left}")


def identity_and_login(t):
    t.expect(
        "scan",
        {"action": "scan", "guid": "e2e-1"},
        {
            "action": "scanRsp",
            "result": {"error": "0"},
            "guid": "e2e-1",
            "dutInfo": {**DUT, "date": "2026-11-20"},
        },
    )
    t.expect("a get before any login", {"action": "get", "dutInfo": {}}, NEED_LOGIN)
    t.expect("a get with an invented session id", {"action": "get", "app": {}, "sessionid": "Us" + "0" * 32}, NEED_LOGIN)
    t.expect("a wrong password", {"action": "login", "info": {"user": "admin", "pwd": "Admin"}}, LOGIN_FAIL)
    killed_login(t)
    t.log_in()
    t.gated("a get with the session id", {"action": "get", "dutInfo": {}}, get_reply(dutInfo=DUT))
    t.expect(
        "a get from the router itself, without a session",
        {"action": "get", "app": {}},
        get_reply(app={"port": 0, "ticktime": 0}),
        loopback=True,
    )
    for step, address in (("requests come from the phone", "192.168.1.100"), ("or from the router", "127.0.0.1")):
        t.results.check(step, t.router.await_output(f":REMOTE_ADDR={address}\n"), t.router.output())
    t.expect("an unknown action", {"action": "GET"}, NEED_LOGIN)
    t.gated("an unknown action with the session id", {"action": "GET"}, {"result": {"error": "-1", "msg": "error_request"}})


def settings(t):
    t.gated("set the name", {"action": "set", "dutInfo": {"name": "K\u00fcche"}}, set_reply("dutInfo"))
    t.gated("get the name", {"action": "get", "dutInfo": {}}, get_reply(dutInfo={**DUT, "name": "K\u00fcche"}))

    mark = t.mark()
    t.gated("set the time zone", {"action": "set", "timeZone": {"timeZoneIndex": "7_2"}}, set_reply("timeZone"))
    t.told(
        "a restart, with the new settings",
        "queue MSG_APP_REINIT",
        "  services start anew with:",
        "  MIB_TIME_ZONE_INDEX=7_2",
        "  MIB_DUT_NAME=K\u00fcche",
        "  MIB_OP_MODE=0",
        after=mark,
    )
    t.gated("get the time zone", {"action": "get", "timeZone": {}}, get_reply(timeZone={"timeZoneIndex": "7_2"}))
    t.gated(
        "a time zone too long",
        {"action": "set", "timeZone": {"timeZoneIndex": "12345678"}},
        set_reply("timeZone", error=-1, msg="ERROR: timezone index length is too short/long"),
    )
    mark = t.mark()
    t.gated("set the operating mode", {"action": "set", "opMode": {"opMode": "2"}}, set_reply("opMode"))
    t.told("a restart, with the new mode", "  MIB_DUT_NAME=K\u00fcche", "  MIB_OP_MODE=2", after=mark)
    t.networks_are_up(after=mark + t.router.output()[mark:].rfind("  MIB_OP_MODE=2"))
    t.gated("get the operating mode", {"action": "get", "opMode": {}}, get_reply(opMode={"opMode": "2"}))
    t.gated("set the app's numbers", {"action": "set", "app": {"port": 65535, "ticktime": 9}}, set_reply("app"))
    t.gated("get the app's numbers", {"action": "get", "app": {}}, get_reply(app={"port": 65535, "ticktime": 9}))
    t.gated(
        "a port too large",
        {"action": "set", "app": {"port": 65536}},
        set_reply("app", error=-1, msg="ERROR: port value is invalied"),
    )


def pings(t):
    def ping(dst, **count):
        return {"action": "get", "netDig": {"ping": {"dst": dst, **count}}}

    def answered(address, count):
        return get_reply(netDig={"ping": ping_text(address, count)})

    t.gated("ping the phone", ping("192.168.1.100"), answered("192.168.1.100", 1))
    # After the second ping waits for a second only, in which it may stand still.
    t.gated("ping it twice", ping("192.168.1.100", count=2), answered("192.168.1.100", 2), again=True)
    t.gated("a count of 0 is 1", ping("192.168.1.100", count=0), answered("192.168.1.100", 1))
    t.gated("a count of 4 is 1", ping("192.168.1.100", count=4), answered("192.168.1.100", 1))
    t.gated("ping the router", ping("192.168.1.1"), answered("192.168.1.1", 1))
    t.gated("ping the provider", ping("203.0.113.1"), answered("203.0.113.1", 1))
    t.gated("ping nobody", ping("192.168.1.200"), get_reply(netDig={"ping": UNREACHABLE}))
    bad = get_reply(netDig={"ping": "ping: bad address 'no.such.name'\n"})
    t.gated("ping a name", ping("no.such.name"), bad)
    short = {"action": "getRsp", "result": {"error": -1, "msg": "ERROR: dst is too short or too long"}, "netDig": {}}
    t.gated("ping too short an address", ping("ab"), short)


# A program without clone3(), as the hardened build is, starts another by a clone() that shares memory, and then needs more than it has.
GROWS = """
import ctypes, os, struct
filter = struct.pack("HBBI" * 4, 0x20, 0, 0, 0, 0x15, 0, 1, 435, 0x06, 0, 0, 0x50000 | 38, 0x06, 0, 0, 0x7FFF0000)  # ENOSYS
program = struct.pack("HxxxxxxP", 4, ctypes.cast(filter, ctypes.c_void_p).value)
c = ctypes.CDLL(None)
assert c.prctl(38, 1, 0, 0, 0) == 0 and c.prctl(22, 2, program, 0, 0) == 0
os.waitpid(os.posix_spawn("/bin/true", ["true"], {}), 0)
c.malloc.restype = ctypes.c_void_p
for _ in range(40000):
    ctypes.memset(c.malloc(100), 1, 100)
print("has grown")
"""


def memory(t):
    got, said = t.router.inside("run", "/usr/bin/python3", "-c", GROWS)
    t.results.check("a program takes memory after it has started another", (got, said) == (0, "has grown\n"), f"status {got}\n{said}")


def web_server(t):
    status, kind, text = t.router.ask("")
    t.results.check("no body: the program says nothing, the server says so", (status, text) == (500, ""), f"{status} {kind} {text}")
    t.results.transcript.append(f"no body: {status} {kind}\n{text}\n")
    status, kind, text = t.router.ask("", path="/", post=False)
    t.results.check("a page says where the endpoint is", status == 200 and "/app/app.cgi" in text, f"{status} {text}")
    for path in ("/app/", "/app/app.cgi/more", "/etc/passwd", "/app", "/app/APP.CGI"):
        status, _, text = t.router.ask("", path=path, post=False)
        t.results.check(f"{path} is not found", status == 404, f"{status} {text}")
    scan = t.router.ask('{"action":"scan"}')[2]
    for step, size, taken in (("1 MiB", 1 << 20, True), ("one byte more", (1 << 20) + 1, "HARDEN_WAITS" not in t.router.options)):
        body = '{"action":"scan"}'.ljust(size)
        status, _, large = t.router.ask(body)
        expected = (200, scan) if taken else (500, "")
        t.results.check(f"a body of {step} is {'taken' if taken else 'none'}", (status, large) == expected, f"{status} {large[:500]}")
    with concurrent.futures.ThreadPoolExecutor(20) as pool:
        replies = list(pool.map(lambda _: t.router.ask('{"action":"scan"}')[2], range(40)))
    t.results.check("40 requests, 20 at a time", all(reply == scan for reply in replies), set(replies))

    body = json.dumps({"action": "set", "app": {"port": 4711}, "sessionid": t.session}).encode()
    with socket.create_connection(("127.0.0.1", t.router.port)) as phone:
        phone.sendall(b"POST /app/app.cgi HTTP/1.1\r\nHost: localhost:%d\r\nContent-Length: %d\r\n\r\n%b" % (t.router.port, len(body), body))
        phone.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))  # close with a reset
    request = json.dumps({"action": "get", "app": {}, "sessionid": t.session})
    wanted = formatted(get_reply(app={"port": 4711, "ticktime": 9})) + "\n"
    reply = look_until(lambda reply: reply == wanted, lambda: t.router.ask(request)[2])
    t.results.check("a client that hangs up still gets its request done", reply == wanted, reply)


def clock(t, *words):
    status, said = t.router.inside("clock", *words)
    t.results.check(f"clock {' '.join(words)}", status == 0, said)


def clock_is_set(t):
    """A router without a battery gets the time from the network, when it has been up for a while."""
    get_app = {"action": "get", "app": {}}
    app = get_reply(app={"port": 4711, "ticktime": 9})
    ends = "HARDEN_SESSIONS" in t.router.options
    for moment in ("1970-01-01 00:01:00", "2030-01-01 00:00:00"):
        clock(t, "set", moment)
        t.gated(f"the session lasts while it becomes {moment}", get_app, app)
    if ends:
        refused_client(t)
    clock(t, "advance", "13h")
    t.gated("13 hours pass, which end a session, or not", get_app, NEED_LOGIN if ends else app)
    clock(t, "set", time.strftime("%Y-%m-%d %H:%M:%S", time.gmtime()))
    if ends:
        t.log_in("login after it has ended")


def refused_client(t):
    """Who has tried many wrong passwords is refused for as long, whatever time it becomes meanwhile, and nobody else is."""
    guess = json.dumps({"action": "login", "info": {"user": "admin", "pwd": "guess"}})
    with concurrent.futures.ThreadPoolExecutor(20) as pool:
        replies = set(pool.map(lambda _: t.router.ask(guess)[2], range(20)))
    noted = t.router.inside("run", "cat", "/var/app_sessionid.logins")[1]
    counted = re.fullmatch(r"192\.168\.1\.100 (\d+) \d+\n\0+", noted)
    t.results.check("20 guesses at once are answered alike", replies == {formatted(LOGIN_FAIL) + "\n"}, replies)
    t.results.check("and each that was looked at counts", counted and 3 <= int(counted[1]) <= 13, noted)
    up = json.loads(t.router.ask('{"action":"get","sys":{}}', loopback=True)[2])["sys"]["upTime"]
    note = f"echo 192.168.1.100 13 {up + 900} >/var/app_sessionid.logins"
    t.results.check("the phone has tried ten wrong passwords", t.router.inside("run", "sh", "-c", note) == (0, ""))
    t.expect("the right one does not let it in now", LOGIN, LOGIN_FAIL)
    for moment in ("2031-01-01 00:00:00", "1970-01-01 00:01:00"):
        clock(t, "set", moment)
        t.expect(f"nor while it becomes {moment}", LOGIN, LOGIN_FAIL)
    success = {"info": {"sessionid": "<session>"}, "action": "loginRsp", "result": {"error": 0, "msg": "login success"}}
    t.expect("the router itself is let in", LOGIN, success, loopback=True)
    t.gated("whose session is its own", {"action": "get", "app": {}}, NEED_LOGIN)
    clock(t, "advance", "16m")
    t.log_in("after a quarter of an hour the phone is, too")


def endpoint_restarts(t):
    """The resident endpoint is ended and started anew: nobody is logged out, and a request under way gets its reply."""
    app = {"action": "get", "app": {}, "sessionid": t.session}

    def served():
        return look_until(lambda answer: answer[0] == 200, lambda: t.router.ask(json.dumps(app)))[2]

    before = served()
    killed = 0 if t.router.way.by_proot else 137  # proot does not tell by what its program has ended
    for name, number, status in (("asked to end", signal.SIGTERM, 0), ("killed", signal.SIGKILL, killed)):
        mark = t.mark()
        with concurrent.futures.ThreadPoolExecutor(1) as phone:
            slow = json.dumps({"action": "get", "netDig": {"ping": {"dst": "192.168.1.200"}}, "sessionid": t.session})
            reply = phone.submit(t.router.ask, slow)
            under_way = look_until(bool, lambda: t.router.find_process(None, "192.168.1.200"), pause=0.01)
            os.kill(t.router.await_process("app.scgi"), number)
            told = f"router: the resident endpoint has ended with status {status}, and is started anew\n"
            t.results.check(f"a request is under way when the endpoint is {name}", under_way)
            t.results.check(f"the endpoint, {name}, is started anew", t.router.await_output(told, after=mark), t.router.output()[mark:])
            expected = formatted(get_reply(netDig={"ping": UNREACHABLE})) + "\n"
            t.results.check("the request under way gets its reply", reply.result()[2] == expected, reply.result())
        t.results.check("and the session lasts", served() == before, t.router.output()[mark:])


def odd_records(t):
    text = "init\x1b[2J\"\\".encode() + b"\xff"
    nothing = "(nothing in this router acts on it yet)"
    records = (
        (10, bytes(232) + text, 'unfit=length queue MSG_CALL_SYSCONF sysconfArgv="init\\x1b[2J\\"\\\\\\xff"', nothing),
        (10, bytes(232) + b"a" * 128, f'queue MSG_CALL_SYSCONF sysconfArgv="{"a" * 128}"', nothing),
        (10, (bytes(232) + b"firewall").ljust(360, b"\0"), 'queue MSG_CALL_SYSCONF sysconfArgv="firewall"',
         "nft add rule inet firewall input iifname { eth1, ppp0 } ct state new drop"),
        (5, bytes(225) + bytes([1, 23, 59, 7, 0x41]) + bytes(130),
         "queue MSG_APP_SCHREBOOT enable=1 hour=23 minute=59 second=7 weekdays=1000001",
         "reboots are scheduled: 23:59:07 on the days 1000001"),
        (5, bytes(360), "queue MSG_APP_SCHREBOOT enable=0 hour=0 minute=0 second=0 weekdays=0000000", "no reboot is scheduled"),
        (9, bytes(232) + struct.pack("<ii", -1, 3) + b"g-1" + bytes(117),
         'queue MSG_APP_REPORTOSERVER_WANSTA interval=-1 count=3 guid="g-1"',
         "(shown only; this router has no server to report to)"),
        (8, bytes(360), "queue MSG_APP_START_SPEEDTEST", "speedtest is started"),
        (8, bytes(360), "queue MSG_APP_START_SPEEDTEST", "speedtest runs already"),
        (6, b"http://u/$(x)".ljust(128, b"\0") + b"d" * 32 + bytes(200), f'queue MSG_APP_FWUPG url="http://u/$(x)" md5="{"d" * 32}"',
         "an upgrade begins: http://u/$(x)"),
        (6, bytes(360), 'queue MSG_APP_FWUPG url="" md5=""', "an upgrade is under way; this one is not begun"),
        (7, bytes(359) + b"x", "unfit=filled queue MSG_APP_SETQOS",
         "no shaping classes"),
        (77, b"", "unfit=length queue 77", nothing),
        (1 << 40, bytes(8192), f"unfit=length queue {1 << 40}", nothing),
    )  # fmt: skip
    # The second upgrade is to meet the first, however long the machine takes.
    t.lasts("upgrade", 3600)
    mark = t.mark()
    for kind, payload, _, _ in records:
        t.results.check(f"the queue takes a record of type {kind}", t.router.post(kind, payload))
    for _, _, line, outcome in records:
        t.told(line, line, f"  {outcome}", after=mark)


def reboot_and_reset(t):
    t.gated(
        "a write that is not committed",
        {"action": "set", "app": {"port": 1, "ticktime": 70000}},
        set_reply("app", error=-1, msg="ERROR: ticktime value is invalied"),
    )
    t.gated("is read back", {"action": "get", "app": {}}, get_reply(app={"port": 1, "ticktime": 9}))
    mark = t.mark()
    t.router.post(3, bytes(360))
    t.told("a reboot", "queue MSG_REBOOT", "  the router starts anew", after=mark)
    t.started_anew("it is over", mark)
    t.gated("the reboot ended the session", {"action": "get", "app": {}}, NEED_LOGIN)
    t.log_in("login after the reboot")
    t.gated("and dropped the write", {"action": "get", "app": {}}, get_reply(app={"port": 4711, "ticktime": 9}))


def logout(t):
    old = t.session
    time.sleep(1.1)  # a session id is made of the second in which it is made
    t.log_in("a second login, a second later")
    t.results.check("has another session id", t.session != old, old)
    t.expect("the first one is worth nothing now", {"action": "get", "app": {}, "sessionid": old}, NEED_LOGIN)
    t.gated("logout", {"action": "set", "logout": 1}, set_reply("logout"))
    t.gated("a get after the logout", {"action": "get", "app": {}}, NEED_LOGIN)


def refusals(results, router):
    """Calls that must fail, while the router runs."""

    def refused(step, status, *words, arguments=(), **environment):
        got, said = router.run(*arguments, **environment)
        results.check(step, got == status and all(word in said for word in words), f"status {got}\n{said}")

    other = str(router.folder / "other")
    port = str(router.port)
    fresh = str(routers.free_port())
    if router.way.user:
        os.chmod(router.folder, 0o777)
    refused("a busy port", 1, f"Port {port} of 127.0.0.1 cannot be used", arguments=("--port", port, "--state", other))
    refused(
        "a state folder in use", 1, "another router runs on the state folder",
        arguments=("--port", fresh, "--state", str(router.state)),
    )  # fmt: skip
    refused("a state folder with other things", 1, "holds other things", arguments=("--state", str(router.folder)))
    for arguments, words in (
        (("--port", "0"), "--port takes a port from 1 to 65535, not 0"),
        (("--port=70000",), "--port takes a port from 1 to 65535, not 70000"),
        (("--port", "x1"), "--port takes a port number, not 'x1'"),
        (("--loopback-port",), "--loopback-port needs a value"),
        (("--port", "8080", "--loopback-port", "8080"), "must differ"),
        (("--agents", "5"), "--agents takes a number from 0 to 4, not '5'"),
        (("--build", "/nowhere"), "'/nowhere' is none"),
        (("--nonsense",), "there is no option '--nonsense'"),
    ):
        refused(" ".join(arguments), 2, words, arguments=arguments)
    got, said = router.run("--help")
    results.check("--help", got == 0 and said.startswith("Usage: script/server [OPTIONS]"), said)


def stand_ins(results, router):
    """What a machine that lacks something is told. The lack is played by a command found before the real one."""
    if router.way.user is None:
        return
    folder = pathlib.Path(tempfile.mkdtemp(prefix="e2e-commands-"))
    try:
        folder.chmod(0o755)
        command = folder / "dpkg-query"
        command.write_text('#!/bin/sh\nexec /usr/bin/dpkg-query "$@" | grep -v "^proot "\n')
        command.chmod(0o755)
        got, said = router.run(PATH=f"{folder}:{os.environ['PATH']}")
        results.check(
            "a missing package, and no right to install it",
            got == 1 and "sudo apt-get update && sudo apt-get install --no-install-recommends proot\n" in said,
            f"status {got}\n{said}",
        )
        got, said = router.run("--state", str(folder / "state"))
        results.check("no right to the state folder", got == 1 and "cannot make the state folder" in said, said)
    finally:
        (folder / "dpkg-query").unlink()
        folder.rmdir()


def left_nothing(results, step, outcome, status):
    got, left = outcome
    results.check(f"{step} ends it with status {status} and leaves nothing behind", got == status and not left, (got, left))


def restarts(results, router):
    """The router is stopped in every way there is, and started again on the same state."""
    t = Teller(router, results)
    kept = {"action": "get", "dutInfo": {}, "app": {}, "timeZone": {}}
    kept_reply = get_reply(
        dutInfo={**DUT, "name": "K\u00fcche"}, timeZone={"timeZoneIndex": "7_2"}, app={"port": 4711, "ticktime": 9}
    )
    t.expect(
        "a write before the stop that is not committed",
        {"action": "set", "app": {"port": 2, "ticktime": -1}},
        set_reply("app", error=-1, msg="ERROR: ticktime value is invalied"),
        loopback=True,
    )
    left_nothing(results, "Ctrl-C", router.stop(signal.SIGINT), 130)

    results.check("it starts again", router.start() is not None, router.output())
    t.expect("what was committed survived, the rest did not", kept, kept_reply, loopback=True)
    t.expect("and the session did not", {"action": "get", "app": {}, "sessionid": t.session or ""}, NEED_LOGIN)
    left_nothing(results, "kill", router.stop(signal.SIGTERM), 143)

    committed = router.state / "flash/mib/committed.mdb"
    committed.write_bytes(os.urandom(committed.stat().st_size))
    results.check("it starts on a damaged store", router.start() is not None, router.output())
    results.check("and says so", "committed.mdb is damaged" in router.output(), router.output())
    defaults = get_reply(dutInfo=DUT, timeZone={"timeZoneIndex": "8_1"}, app={"port": 0, "ticktime": 0})
    t.expect("with the factory's settings", kept, defaults, loopback=True)
    left_nothing(results, "a hang-up", router.stop(signal.SIGHUP), 129)

    results.check("it starts with --fresh", router.start("--fresh") is not None, router.output())
    damaged = [path.name for path in committed.parent.glob("*damaged*")]
    results.check("on an empty flash", damaged == [], damaged)
    t.expect("change it", {"action": "set", "app": {"port": 3}}, set_reply("app"), loopback=True)
    mark = t.mark()
    router.post(2, bytes(360))
    t.told("a reset", "queue MSG_RESET", "  the factory's settings are back", after=mark)
    t.started_anew("and the router with them", mark)
    t.expect("the factory's settings are back", kept, defaults, loopback=True)
    os.kill(router.await_process("lighttpd"), signal.SIGKILL)
    left_nothing(results, "the end of a part", (router.await_end(), router.leftovers()), 1)
    results.check("which it names", "The router's web server has ended" in router.output(), router.output())

    results.check("it starts once more", router.start() is not None, router.output())
    router.process.kill()
    router.await_end()
    processes = [item for item in router.leftovers() if "state folder" not in item]
    results.check("even kill -9 leaves no process, mount, queue or temporary file", processes == [], processes)
    results.check("and the next one starts nevertheless", router.start() is not None, router.output())
    left_nothing(results, "kill", router.stop(signal.SIGTERM), 143)


def tell(results, way, build):
    """Tells a router run in this way the whole story. The results are added to `results`."""
    router = routers.Router(way, build)
    try:
        seconds = router.start()
        if not results.check("it starts", seconds is not None, router.output()):
            return
        print(f"        ready after {seconds:.2f} s")
        played = "No namespaces can be made here" in router.output()
        results.check("it found out whether namespaces can be made", played == way.by_proot, router.output())
        teller = Teller(router, results)
        resident = [endpoint_restarts] if "--resident" in routers.ALWAYS else []
        for chapter in (identity_and_login, settings, pings, memory, web_server, clock_is_set, *resident, odd_records, reboot_and_reset, logout):
            chapter(teller)
        refusals(results, router)
        stand_ins(results, router)
        restarts(results, router)
    finally:
        router.remove()
