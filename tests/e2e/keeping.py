# SPDX-License-Identifier: MIT
"""How a router is kept: who may ask at the PC's ports, phones and agents, an outage, a LAN that moves, and the end of each part."""

import errno
import glob
import json
import os
import pathlib
import re
import shutil
import signal
import socket
import subprocess
import tempfile
import threading
import time

import router as routers
from router import look_until
from story import Teller, get_reply, left_nothing, set_reply

SCAN = b'{"action":"scan"}'
PAGE = "http://app.example:3000"
LET_IN, REFUSED, NONE = 200, 403, 400
OTHER_LAN = {"ip": "10.9.0.1", "mask": "255.255.255.0", "dhcp": 2, "time": 60, "ipStart": "10.9.0.20", "ipEnd": "10.9.0.99"}

# name, target, header lines beside the length ("@" is the port), what it gets
REQUESTS = (
    ("by address", "/app/app.cgi", ["Host: 127.0.0.1:@"], LET_IN),
    ("by name", "/app/app.cgi", ["Host: localhost:@"], LET_IN),
    ("by name in capitals", "/app/app.cgi", ["HOST: LocalHost:@"], LET_IN),
    ("from a page of its own", "/app/app.cgi", ["Host: localhost:@", "Origin: http://localhost:@"], LET_IN),
    ("an absolute target", "http://localhost:@/app/app.cgi", ["Host: localhost:@"], LET_IN),
    ("from a page that is allowed", "/app/app.cgi", ["Host: localhost:@", f"Origin: {PAGE}"], LET_IN),
    ("a name that was led here", "/app/app.cgi", ["Host: evil.example:@"], REFUSED),
    ("a name that was led here, from its own page", "/app/app.cgi", ["Host: evil.example:@", "Origin: http://evil.example:@"], REFUSED),
    ("another port", "/app/app.cgi", ["Host: 127.0.0.1:1"], REFUSED),
    ("no port", "/app/app.cgi", ["Host: 127.0.0.1"], REFUSED),
    ("no host", "/app/app.cgi", [], REFUSED),
    ("an empty host", "/app/app.cgi", ["Host:"], REFUSED),
    ("two hosts", "/app/app.cgi", ["Host: localhost:@", "Host: evil.example"], REFUSED),
    ("the same host twice", "/app/app.cgi", ["Host: localhost:@", "Host: localhost:@"], REFUSED),
    ("an absolute target of another", "http://evil.example/app/app.cgi", ["Host: localhost:@"], REFUSED),
    ("an absolute target without a host", "http://localhost:@/app/app.cgi", [], REFUSED),
    ("from another's page", "/app/app.cgi", ["Host: localhost:@", "Origin: https://evil.example"], REFUSED),
    ("from a page of the other scheme", "/app/app.cgi", ["Host: localhost:@", "Origin: https://app.example:3000"], REFUSED),
    ("from a page of no origin", "/app/app.cgi", ["Host: localhost:@", "Origin: null"], REFUSED),
    ("from a page of another port", "/app/app.cgi", ["Host: localhost:@", "Origin: http://localhost:1"], REFUSED),
    ("with two origins", "/app/app.cgi", ["Host: localhost:@", f"Origin: {PAGE}", "Origin: https://evil.example"], REFUSED),
    ("a picture of another's page", "/app/app.cgi", ["Host: localhost:@", "Sec-Fetch-Site: cross-site"], REFUSED),
    ("to leave a program behind in a browser", "/app/app.cgi", ["Host: localhost:@", "Service-Worker: script"], REFUSED),
    ("a folded header", "/app/app.cgi", ["Host: localhost:@", " evil: x"], NONE),
    ("a header with a blank before its colon", "/app/app.cgi", ["Host : localhost:@"], NONE),
    ("two lengths", "/app/app.cgi", ["Host: localhost:@", "Content-Length: 3"], NONE),
    ("a length and pieces", "/app/app.cgi", ["Host: localhost:@", "Transfer-Encoding: chunked"], NONE),
)  # fmt: skip


def exchange(port, data, seconds=routers.PATIENCE_SECONDS):
    """Sends bytes to a port and returns all that comes back."""
    with socket.create_connection(("127.0.0.1", port), timeout=seconds) as client:
        client.sendall(data)
        answer = b""
        while more := client.recv(65536):
            answer += more
        return answer


def answer_or_end(port, data):
    """What comes back, or, where the connection is cut or refused, which of these."""
    try:
        return exchange(port, data)
    except OSError as error:
        return errno.errorcode.get(error.errno, str(error)).encode()


def end_of(client):
    """How a connection ends on which nothing is said: "reset", or what comes."""
    try:
        return client.recv(1)
    except ConnectionResetError:
        return "reset"


def request(method, target, headers, body, port):
    lines = [f"{method} {target} HTTP/1.1", *headers, f"Content-Length: {len(body)}"]
    return "".join(f"{line}\r\n" for line in lines).replace("@", str(port)).encode() + b"\r\n" + body


def status_of(answer):
    found = re.match(rb"HTTP/1\.1 (\d{3}) ", answer)
    return int(found[1]) if found else None


def gates(t, port):
    for name, target, headers, wanted in REQUESTS:
        answer = exchange(port, request("POST", target, headers, SCAN, port))
        good = status_of(answer) == wanted and (b'"scanRsp"' in answer) == (wanted == LET_IN)
        good &= wanted != REFUSED or b"script/server --allow-" in answer or b"names one host" in answer or b"one header" in answer or b"leaves no program" in answer
        t.results.check(f"a request {name}: {wanted}", good, answer.decode(errors="replace"))
    first = request("POST", "/app/app.cgi", ["Host: localhost:@"], SCAN, port)
    second = request("POST", "/app/app.cgi", ["Host: evil.example"], SCAN, port)
    for name, data in (("behind another", first + second), ("in another's body", request("POST", "/app/app.cgi", ["Host: localhost:@"], SCAN + second, port))):
        answer = exchange(port, data)
        t.results.check(f"a request {name} is not answered", answer.count(b"HTTP/1.1 ") == 1 and answer.count(b"scanRsp") <= 1, answer)
    with socket.socket() as elsewhere:
        refusal = elsewhere.connect_ex(("127.0.0.2", port))
        t.results.check("another address of this PC is not listened at", refusal == errno.ECONNREFUSED, refusal)
    answer = exchange(port, b"PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n")
    t.results.check("HTTP/2 is not spoken", status_of(answer) == NONE, answer)
    answer = exchange(port, request("GET", "/", ["Host: localhost:@", "Connection: Upgrade, HTTP2-Settings", "Upgrade: h2c", "HTTP2-Settings: AAMAAABk"], b"", port))
    t.results.check("nor after an upgrade", status_of(answer) == LET_IN and b"Upgrade" not in answer, answer)
    allowed = exchange(port, request("POST", "/app/app.cgi", ["Host: localhost:@", f"Origin: {PAGE}"], SCAN, port))
    t.results.check("a page that is allowed may read the reply", f"Access-Control-Allow-Origin: {PAGE}\r\n".encode() in allowed, allowed)
    ask = ["Host: localhost:@", "Access-Control-Request-Method: POST", "Access-Control-Request-Headers: content-type"]
    answer = exchange(port, request("OPTIONS", "/app/app.cgi", [*ask, f"Origin: {PAGE}"], b"", port))
    good = status_of(answer) == 204 and b"Access-Control-Allow-Headers: content-type\r\n" in answer and f"Allow-Origin: {PAGE}".encode() in answer
    t.results.check("and is told so before", good, answer)
    answer = exchange(port, request("OPTIONS", "/app/app.cgi", [*ask, "Origin: https://evil.example"], b"", port))
    t.results.check("another is not", status_of(answer) == REFUSED and b"Access-Control" not in answer, answer)
    t.results.check("what was refused is told", t.router.await_output(f"port {port}: 403 Forbidden: "), t.router.output())


def phones(t):
    for number in (1, 2):
        port = t.router.port + number - 1
        mark = t.mark()
        answer = exchange(port, request("POST", "/app/app.cgi", ["Host: localhost:@"], SCAN, port))
        address = f"192.168.1.{99 + number}"
        seen = t.router.await_output(f":REMOTE_ADDR={address}\n", after=mark) if not t.router.way.by_proot else True
        t.results.check(f"phone {number} asks as {address}", b"scanRsp" in answer and seen, answer)
        told = f"The router answers at http://127.0.0.1:{port}/app/app.cgi, as to the phone {address}" if number == 1 else (
            f"It answers at http://127.0.0.1:{port}/app/app.cgi as to phone 2 {address}."
        )  # fmt: skip
        t.results.check(f"and phone {number} is told of", told in t.router.output(), t.router.output())


def agent(t):
    port = t.router.port + 2
    ask = request("POST", "/app/app.cgi", ["Host: localhost:@"], SCAN, port)
    scan = look_until(lambda answer: status_of(answer) == LET_IN, lambda: answer_or_end(port, ask))  # it may still be starting
    t.results.check("the agent answers at a port of its own", b'"name":\t"Agent 1"' in scan, scan)
    read = exchange(port, request("POST", "/app/app.cgi", ["Host: localhost:@"], b'{"action":"get","sys":{}}', port))
    t.results.check("and wants a login from there", b'"need login"' in read, read)
    login = b'{"action":"login","info":{"user":"admin","pwd":"admin"}}'
    session = re.search(rb"Us[0-9a-f]{32}", exchange(port, request("POST", "/app/app.cgi", ["Host: localhost:@"], login, port)))
    ask = b'{"action":"get","sys":{},"sessionid":"%b"}' % (session.group() if session else b"")
    read = exchange(port, request("POST", "/app/app.cgi", ["Host: localhost:@"], ask, port))
    t.results.check("which it can have", b'"led":' in read, read)


AWAY_SECONDS = 16  # of a reboot, during three quarters of which the router is off
REPLY_DELAY = 2_000_000
FEWEST_LOOKS = 4  # at its port meanwhile


def refusal(port):
    """What a connection to the port is refused with; 0: it is not."""
    with socket.socket() as client:
        return client.connect_ex(("127.0.0.1", port))


class Watch:
    """Looks at a port all the time, until it is told to stop."""

    def __init__(self, port):
        self.looks = []  # (before it, what it was refused with, after it)
        self.stopped = threading.Event()
        self.thread = threading.Thread(target=self.look, args=(port,), daemon=True)
        self.thread.start()

    def look(self, port):
        while not self.stopped.wait(0.02):
            self.looks.append((time.monotonic(), refusal(port), time.monotonic()))

    def stop(self):
        self.stopped.set()
        self.thread.join()

    def away(self):
        """For how long it refused everybody, at most, and how often it was looked at meanwhile. None: it did not, or not without a break."""
        refused = [number for number, (_, error, _) in enumerate(self.looks) if error]
        if not refused or refused != [*range(refused[0], refused[-1] + 1)] or refused[0] == 0 or refused[-1] + 1 == len(self.looks):
            return None
        return self.looks[refused[-1] + 1][2] - self.looks[refused[0] - 1][0], len(refused)


def outage(results, router):
    """The router is away as long as the home file says: at once for who is connected, refused for who comes, and back with an up-time
    of its own."""
    home = router.folder / "home.json"
    home.write_text(json.dumps({"description": "Slow to reboot", "outage": AWAY_SECONDS, "devices": []}))
    if not results.check("it starts in a home that says how long an outage is", router.start("--home", str(home), fast=False) is not None, router.output()):
        return
    t, port = Teller(router, results), router.port
    asked = socket.create_connection(("127.0.0.1", port), timeout=routers.PATIENCE_SECONDS)
    asked.sendall(b"POST /app/app.cgi HTTP/1.1\r\nHost: localhost:%d\r\nContent-Length: 100\r\n\r\n" % port)
    planted = router.inside("run", "touch", "/tmp/planted")
    results.check("it has something in its memory", planted == (0, ""), planted)
    watch = Watch(port)
    look_until(bool, lambda: watch.looks)
    mark, begin = t.mark(), time.monotonic()
    router.post(3, bytes(360))
    told = router.await_output(f"router: it starts anew, and is away for {AWAY_SECONDS} s\n", after=mark)
    results.check("it says that it is away", told, router.output()[mark:])
    found = refusal(port)
    results.check("who comes is refused", found == errno.ECONNREFUSED, found)
    status, said = router.inside("run", "true")
    results.check("script/router says that it is away", status == 1 and "is away" in said, (status, said))
    found = end_of(asked)
    results.check("who is connected is cut off", found == "reset", found)
    t.started_anew("it is back", mark)
    looks = len(watch.looks)
    look_until(bool, lambda: len(watch.looks) > looks + 1)
    watch.stop()
    away = watch.away()
    results.check(f"it refused connections for {AWAY_SECONDS} s", away and away[0] >= AWAY_SECONDS and away[1] >= FEWEST_LOOKS, (away, watch.looks))
    text = router.ask('{"action":"get","sys":{}}', loopback=True)[2]
    up, most = re.search(r'"upTime":\t(\d+)', text), time.monotonic() - begin + 1
    results.check("its up-time began anew", up and int(up[1]) <= most, f"{text}\n{most:.2f} s after it was asked to reboot")
    status, said = router.inside("run", "ls", "/tmp/planted")
    results.check("nothing of its memory is left", status == 1 and "No such file" in said, f"status {status}\n{said}")
    t.expect("it answers again", {"action": "get", "app": {}}, get_reply(app={"port": 0, "ticktime": 0}), loopback=True)
    left_nothing(results, "a router of a home, Ctrl-C", router.stop(signal.SIGINT), 130)


def slow_replies(t, delay=None):
    """Replies come so late from now on, in microseconds, or at once again."""
    words = ("add", f"delay={delay} reply") if delay else ("clear",)
    status, said = t.router.inside("faults", *words)
    t.results.check(f"faults {' '.join(words)}", status == 0, said)


def reboot(t):
    """Whoever asks for a reboot has the reply before the router is away."""
    slow_replies(t, REPLY_DELAY)
    mark = t.mark()
    t.expect("a reboot is asked for, and answered late", {"action": "set", "sys": {"reboot": 1}}, set_reply("sys"), loopback=True)
    t.started_anew("it reboots", mark)
    slow_replies(t)


def lan_moves(t):
    """A request that is half here when the LAN moves ends without an answer; whoever waits for a reply gets it."""
    t.log_in()
    port = t.router.port
    slow = socket.create_connection(("127.0.0.1", port), timeout=routers.PATIENCE_SECONDS)
    slow.sendall(b"POST /app/app.cgi HTTP/1.1\r\nHost: localhost:%d\r\nContent-Length: 100\r\n\r\n" % port)
    flying = look_until(bool, lambda: json.loads(t.router.inside("status")[1])["requests"])
    t.results.check("a request is in flight", [found["port"] for found in flying] == [port], flying)
    mark = t.mark()
    slow_replies(t, REPLY_DELAY)
    t.gated("the LAN moves, and whoever asked for it hears so late", {"action": "set", "lan": OTHER_LAN}, set_reply("lan"))
    slow_replies(t)
    t.hears("the phones follow", "home: phone 2 has the address 10.9.0.101\n", mark)
    slow.setblocking(False)  # whoever is told that the phones have followed finds it cut
    try:
        found = end_of(slow)
    except BlockingIOError:
        found = "nothing yet"
    t.results.check("it has ended with a reset", found == "reset", found)
    answer = exchange(port, request("POST", "/app/app.cgi", ["Host: localhost:@"], SCAN, port))
    t.results.check("the port answers as before", b"scanRsp" in answer, answer)


def trouble(t):
    """What the router uses up is its own trouble, and told."""
    mark = t.mark()
    t.router.inside("run", "sh", "-c", "dd if=/dev/zero of=/tmp/1 bs=1M count=30; dd if=/dev/zero of=/tmp/2 bs=1M count=30; dd if=/dev/zero of=/tmp/3 bs=1M count=30")
    t.hears("a full memory is told", "in trouble: it uses up its MiB of memory for files", mark)
    t.router.inside("run", "rm", "-f", "/tmp/1", "/tmp/2", "/tmp/3")
    t.hears("and when it is over", "room for MiB of memory for files again", mark)
    if "no control group can be made" not in t.router.output():
        mark = t.mark()
        # Each holds what it has got until it is told to go.
        greedy = "for i in 1 2 3 4 5 6 7; do (head -c 110000000 /dev/zero | tail -c 110000000 | (until [ -e /tmp/go ]; do sleep 1; done; wc -c)) & done; wait"
        run = t.router.begin("run", "sh", "-c", greedy)
        t.hears("programs that want more memory together are told", " MiB are all the memory there is for its programs together", mark)
        t.router.inside("run", "touch", "/tmp/go")
        said = run.communicate()[0]
        t.results.check("and do not all get it", said.split().count("110000000") < 7, said)
    mark = t.mark()
    bomb = t.router.begin("run", "sh", "-c", "b() { sleep 300 & b | b & }; b; sleep 300")
    t.hears("a fork bomb is told", "in trouble: it uses up its processes", mark)
    t.results.check("and the PC starts programs", subprocess.run(["true"]).returncode == 0)
    bomb.kill()
    bomb.communicate()
    t.hears("and when it is over", "it has room for processes again", mark)


def commits(results, router):
    """What was committed when the reply came is there, though the keeper was killed the moment after."""
    t = Teller(router, results)
    for number in range(1, 6):
        if not results.check("it starts, to be killed", router.start() is not None, router.output()):
            return
        t.expect("a commit", {"action": "set", "app": {"port": number, "ticktime": number}}, set_reply("app"), loopback=True)
        router.process.kill()
        router.await_end()
        left_nothing(results, "kill -9 of the keeper", (router.await_end(), router.leftovers()), -signal.SIGKILL)
    results.check("it starts again", router.start() is not None, router.output())
    t.expect("what was committed is there", {"action": "get", "app": {}}, get_reply(app={"port": 5, "ticktime": 5}), loopback=True)
    flash = router.state / "flash"
    modes = {str(path.relative_to(router.state)): path.stat().st_mode & 0o7777 for path in [flash, *flash.rglob("*")]}
    good = all(mode == (0o700 if (router.state / name).is_dir() else 0o600) for name, mode in modes.items())
    results.check("for its owner alone", good, modes)
    status = (router.state / "keeper.sock").stat().st_mode & 0o7777
    results.check("and so is the keeper's socket", status == 0o600, oct(status))


# Appended to a copy of the keeper's flash.py: the keeper is killed at one call of the disk, once a commit is to be cut.
CUT = """

import disk
import signal
import sys

_disk, _replace = disk.Disk(sys.modules[__name__]), Flash.replace


def _cut(self, name, source):
    if name == "mib/committed.mdb" and os.path.exists("{trigger}"):
        _disk.calls.clear()
        _disk.before_each(lambda number, _name: number == {step} and os.kill(os.getpid(), signal.SIGKILL))
    _replace(self, name, source)


Flash.replace = _cut
"""
CALLS_OF_A_COMMIT = 14  # there is one more before and after each; more than there are does no harm


def cuts(results, way, build):
    """The keeper is killed at each call of a commit's copy: the settings are the old ones or the new ones, and the router starts."""
    with tempfile.TemporaryDirectory() as folder:
        project = routers.copy_project(folder)
        flash = project / "virtual_router/keeper/flash.py"
        source, trigger = flash.read_text(), pathlib.Path(folder, "cut")
        shutil.copy(routers.PROJECT / "tests/keeper/disk.py", flash.parent)
        router = routers.Router(way, build, project)
        seen, before = [], 0
        try:
            for step in (4, 7, 9) if way.by_proot else range(CALLS_OF_A_COMMIT):
                trigger.unlink(missing_ok=True)
                flash.write_text(source + CUT.format(trigger=trigger, step=step))
                if not results.check(f"it starts, to be killed at call {step} of a commit", router.start() is not None, router.output()):
                    return
                number = json.loads(router.ask('{"action":"get","app":{}}', loopback=True)[2])["app"]["port"]
                if seen:
                    results.check("it has the old settings or the new ones", number in (before, seen[-1]), (before, number, seen))
                before = number
                trigger.touch()
                seen.append(step + 1)
                status = router.ask(json.dumps({"action": "set", "app": {"port": step + 1, "ticktime": 1}}), loopback=True)[0]
                if status == 200 and look_until(lambda ended: ended is not None, router.process.poll, seconds=0.5) is None:
                    break  # the web server has replied, for the endpoint has ended: the commit is over
                left_nothing(results, f"kill -9 at call {step}", (router.await_end(), router.leftovers()), -signal.SIGKILL)
            results.check("it was killed at several", len(seen) >= 3, seen)
        finally:
            router.remove()


def stale(results, router):
    """Keeper and caretaker are killed together; what they leave is told, and cleared by the next start."""
    if not results.check("it starts, to be killed with its caretaker", router.start() is not None, router.output()):
        return
    killed, caretaker = router.process.pid, router.await_process("caretaker")
    router.process.send_signal(signal.SIGSTOP)  # so that it does not see what comes first
    os.kill(caretaker, signal.SIGKILL)
    router.process.kill()
    status = router.await_end()
    left = [item for item in router.leftovers() if "control group" not in item]
    good = status == -signal.SIGKILL and len(left) == 3 and all("state folder" in item for item in left)
    results.check("no process is left, but files are", good, f"{status} {left}")
    status, said = router.inside("status")
    good = status == 1 and said.count("\n") == 1 and "was killed; script/server starts it" in said
    results.check("script/router says so in a line", good, f"{status}\n{said}")
    results.check("it starts again", router.start() is not None, router.output())
    said = f"The last router on {router.state.resolve()} was killed, and its caretaker, too: what they left is cleared away (run, keeper.sock, control.json).\n"
    results.check("and says what it found", said in router.output(), router.output())
    groups = glob.glob(f"/sys/fs/cgroup/**/virtual-router-{killed}", recursive=True)
    results.check("no control group of the other is left", not groups, groups)
    script = [*router.way.prefix, str(router.project / "script/router"), "--state", str(router.state), "status"]
    run = subprocess.run(["sh", "-c", '"$@" | true', "sh", *script], capture_output=True, text=True)
    results.check("who reads no further hears no complaint", run.stderr == "", run.stderr)
    left_nothing(results, "Ctrl-C", router.stop(signal.SIGINT), 130)
    status, said = router.inside("status")
    results.check("no router runs, says script/router", status == 1 and said.count("\n") == 1 and "no router runs on" in said, f"{status}\n{said}")


def ends(results, router):
    """Each part is killed; the keeper names it, ends with status 1 and leaves nothing."""
    parts = (("lighttpd", "web server"), ("system_daemon", "system daemon"), ("udhcpd", "DHCP server"))
    for program, name in parts:
        if router.process.poll() is not None and router.start() is None:
            results.check(f"it starts, for the end of the {name}", False, router.output())
            continue
        os.kill(router.await_process(program), signal.SIGKILL)
        left_nothing(results, f"kill -9 of the {name}", (router.await_end(), router.leftovers()), 1)
        results.check(f"which it names: {name}", f"The router's {name} has ended with status " in router.output(), router.output())
    results.check("it starts, for the end of its premises", router.start() is not None, router.output())
    for name, said in (("premises", "The premises have ended."), ("caretaker", "The caretaker has ended.")):
        if router.process.poll() is not None:
            results.check(f"it starts, for the end of its {name}", router.start() is not None, router.output())
        os.kill(router.await_process(name), signal.SIGKILL)
        left_nothing(results, f"kill -9 of the {name}", (router.await_end(), router.leftovers()), 1)
        results.check("which it names", said in router.output(), router.output())


def ignored_signals(results, router):
    """Whoever starts it in the background has Ctrl-C ignored."""
    routers.heed_signals, heeded = (lambda: signal.signal(signal.SIGINT, signal.SIG_IGN)), routers.heed_signals
    try:
        results.check("it starts where Ctrl-C is ignored", router.start() is not None, router.output())
    finally:
        routers.heed_signals = heeded
    left_nothing(results, "Ctrl-C all the same", router.stop(signal.SIGINT), 130)
    if os.geteuid() == 0 and router.way.user is None and not router.way.by_proot:
        results.check("root is told that it need not be", "started as root, though an ordinary user can do so" in router.output(), router.output())


def anywhere(results, router):
    """--state stands before or behind a verb."""
    tool = [*router.way.prefix, str(routers.PROJECT / "script/router")]
    lines = [
        "--state DIR status", "status --state DIR", "status --state=DIR", "clock --state DIR", "clock rate --state DIR 1", "flash --state DIR get MIB_DUT_NAME",
        "flash get --state=DIR MIB_DUT_NAME", "flash get MIB_DUT_NAME --state DIR", "run --state DIR true", "--state DIR run true", "home help --state DIR",
        "sh --state DIR", "url --state DIR", "journal --state DIR", "faults --state DIR", "snapshot --state DIR list", "api GET --state DIR /api/clock",
    ]  # fmt: skip
    if not router.way.by_proot:
        lines += ["phone --state DIR true", "phone 1 --state DIR true", "phone --state DIR 2 true"]
    for words in [[str(router.state) if word == "DIR" else word.replace("=DIR", f"={router.state}") for word in line.split()] for line in lines]:
        run = subprocess.run([*tool, *map(str, words)], stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=routers.PATIENCE_SECONDS)
        results.check(f"script/router {' '.join(str(word).replace(str(router.state), 'DIR') for word in words)}", run.returncode == 0, run.stdout + run.stderr)


def keep(results, way, build):
    """Keeps routers in this way. The results are added to `results`."""
    router = routers.Router(way, build)
    try:
        arguments = ["--phones", "2", "--allow-origin", PAGE] + ([] if way.by_proot else ["--agents", "1"])
        if not results.check("a router with two phones starts", router.start(*arguments) is not None, router.output()):
            return
        t = Teller(router, results)
        gates(t, router.port)
        gates(t, router.loopback_port)
        phones(t)
        if not way.by_proot:
            agent(t)
            trouble(t)
        reboot(t)
        lan_moves(t)
        anywhere(results, router)
        left_nothing(results, "Ctrl-C", router.stop(signal.SIGINT), 130)
        outage(results, router)
        stale(results, router)
        cuts(results, way, build)
        commits(results, router)
        ends(results, router)
        ignored_signals(results, router)
    finally:
        router.remove()
