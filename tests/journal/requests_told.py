# SPDX-License-Identifier: MIT
"""What a router's requests do, as its journal tells it."""

import concurrent.futures
import json
import queue
import re
import signal
import subprocess
import threading
import time

import router as routers
from facts import Facts
from story import LOGIN, SESSION, STARTED_ANEW


PHONE_MAC = Facts(routers.PROJECT / "virtual_router/surroundings.sh")["PHONE_MAC"].lower()


class Reader:
    def __init__(self, router):
        self.router = router

    def lines(self, *words):
        status, text = self.router.inside("journal", *words, "--json")
        return [json.loads(line) for line in text.splitlines()] if status == 0 else []

    def last(self, **more):
        """The last request, whole, when it is over: who asked has its reply before the program has ended."""
        lines = routers.look_until(lambda lines: lines and lines[-1]["verdict"] != "under way", lambda: [line for line in self.lines("--last", "1") if "number" in line])
        if not lines:
            raise LookupError(f"the journal tells no request: {self.router.inside('journal')}")
        return self.whole(lines[-1]["number"], **more)

    def settled(self):
        """Waits until nothing is under way."""
        routers.look_until(lambda lines: all(line["verdict"] != "under way" for line in lines if "number" in line), lambda: self.lines("--last", "50"))

    def whole(self, number, secrets=False):
        return self.lines(str(number), *(["--secrets"] if secrets else []))[0]


def deeds(whole, *left_out):
    """The events without their times."""
    return [re.sub(r"took=\d+ ", "", event["text"]) for event in whole["events"] if event["word"] not in left_out]


def tell(results, way, build):
    router = routers.Router(way, build)
    try:
        if not results.check("a router starts", router.start() is not None, router.output()):
            return
        reader = Reader(router)
        one_request(results, router, reader)
        failures(results, router, reader)
        many_at_once(results, router, reader)
        follow(results, router)
        outlive(results, router, reader)
        status, left = router.stop(signal.SIGTERM)
        results.check("it ends and leaves nothing", status == 143 and not left, (status, left, router.output()[-2000:]))
        unheard(results, router)
    finally:
        router.remove()


def one_request(results, router, reader):
    _, _, text = router.ask(json.dumps(LOGIN))
    session = SESSION.search(text).group()
    login = reader.last()
    results.check(
        "a login: who asked, what came of the session, and the files",
        (login["address"], login["port"], login["session"], login["verdict"], login["exit"]) == ("192.168.1.100", "phone", "given", "ok", 0)
        and "write /var/app_sessionid" in deeds(login),
        login,
    )
    results.check("its password and the session id are hidden", session not in json.dumps(login) and '"pwd": "***"' in login["request"]["body"], login)
    whole = reader.whole(login["number"], secrets=True)
    results.check("but not from who asks for them", session in json.dumps(whole))
    results.check("what was written into the file is told", "wrote sessionid=***" in deeds(login) and f"wrote sessionid={session}" in deeds(whole), deeds(whole))

    router.ask(json.dumps({"action": "set", "timeZone": {"timeZoneIndex": "7_2"}, "app": {"port": 77}, "sessionid": session}))
    found = reader.last()
    told = deeds(found, "debug", "input", "reply", "read", "holds")
    results.check(
        "a set: reads, writes with what was there before, commit, record, end",
        told == [
            "asked 192.168.1.100 POST /app/app.cgi", "init", "get MIB_MESH_ROLE 0", 'was="8_1" set MIB_TIME_ZONE_INDEX "7_2"',
            "was=0 set MIB_APP_PORT 77", "commit", "save", "queue MSG_APP_REINIT", "exit 0",
        ],
        told,
    )  # fmt: skip
    results.check("the session was the phone's", found["session"] == "held" and found["objects"] == ["timeZone", "app"], found)
    results.check("its debug lines", any(text.startswith("debug app:main:") for text in deeds(found)), found)
    times = [event["at"] for event in found["events"]]
    results.check("times rise, and lie within the request", times == sorted(times) and 0 <= times[0] and times[-1] <= found["duration"], (times, found["duration"]))
    raw = reader.whole(found["number"], secrets=True)
    reply = "".join(event["fields"][0] for event in raw["events"] if event["word"] == "reply")
    results.check("the reply on the wire ends as app.cgi wrote it", raw["reply"]["raw"].endswith(reply) and reply.startswith("{\n"), raw["reply"])
    results.check("and the request is as it was sent", json.loads(raw["request"]["body"])["app"] == {"port": 77} and raw["request"]["head"].startswith("POST "), raw["request"])

    router.ask(json.dumps({"action": "get", "netDig": {"ping": {"dst": "192.168.1.100"}}, "sessionid": session}))
    found = reader.last()
    output = "".join(event["fields"][0] for event in found["events"] if event["word"] == "output")
    results.check("a command, its output, and how long it took", "1 packets received" in output and "run ping -c 1 -W 3 192.168.1.100 2>&1" in deeds(found), found)

    router.ask('{"action":"get","sys":{}}', loopback=True)
    found = reader.last()
    results.check("a command's exit status", any(re.match(r"failed=\d+ run killall -0 fwupgtool", text) for text in deeds(found)), deeds(found))
    results.check("the router itself needs no session", (found["session"], found["port"]) == ("own", "router"), found)

    router.ask('{"action":"get","lanStatus":{}}', loopback=True)
    told = deeds(reader.last())
    results.check("the ARP list, with its entries", {"arp br0", f"neighbour 192.168.1.100 {PHONE_MAC}"} <= set(told), told)
    results.check("the Wi-Fi driver", "failed=ENODEV driver name wlan0" in told, told)

    router.ask('{"action":"get","lan":{}}', loopback=True)
    told = deeds(reader.last())
    results.check("addresses of interfaces", {"address ip br0 192.168.1.1", "address mask br0 255.255.255.0"} <= set(told), told)

    router.ask('{"action":"set","opMode":{"opMode":"2"}}', loopback=True)
    status, text = router.inside("journal", str(reader.last()["number"]))
    results.check("the words show one request", status == 0 and "what it did" in text and "queue MSG_APP_REINIT" in text, text)


def failures(results, router, reader):
    router.ask("{nonsense", loopback=True)
    found = reader.last()
    results.check("no JSON: standard error, and the exit status", any(text.startswith("error cJSON_Parse error:") for text in deeds(found)) and found["exit"] == 255 and found["http"] == 500, found)
    router.ask('{"action":"get","app":{}}')
    found = reader.last()
    results.check("a request without a session", found["session"] == "refused" and found["error"] == 6 and found["verdict"] == "error 6: need login", found)
    subprocess.run(["curl", "-sS", "-H", "Host: evil", f"http://127.0.0.1:{router.port}/"], capture_output=True)
    results.check("one that the port turned away", reader.last()["verdict"] == "turned away at the port: 403 Forbidden", reader.last())
    failed = reader.lines("--failed")
    results.check("those that failed are found", len(failed) >= 3 and not any(line.get("verdict") == "ok" for line in failed), failed)
    for words, why in ((("0",), "the journal has no request 0"), (("--phone", "x"), "takes a number"), (("nonsense",), "does not know"), (("--nonsense",), "there is no option")):
        status, text = router.inside("journal", *words)
        results.check(f"journal {' '.join(words)} is refused", status != 0 and why in text, text)
    status, text = router.inside("run", "sh", "-c", "echo '{\"action\":\"scan\"}' | REQUEST_METHOD=POST CONTENT_LENGTH=17 REMOTE_ADDR=192.168.1.7 /web/app/app.cgi")
    found = routers.look_until(lambda found: found["port"] is None, reader.last)
    results.check("a request that came by no port", status == 0 and found["port"] is None and found["address"] == "192.168.1.7" and found["action"] == "scan", (text, found))


def many_at_once(results, router, reader):
    def ask(number):
        return router.ask(json.dumps({"action": "set", "app": {"port": number, "ticktime": number}}), loopback=True)[0]

    first = reader.last()["number"]
    numbers = range(1000, 1040)
    with concurrent.futures.ThreadPoolExecutor(16) as pool:
        list(pool.map(ask, numbers))
    reader.settled()
    mixed, seen = [], set()
    for line in reader.lines("--since", str(first)):
        if "number" not in line:
            continue
        found = reader.whole(line["number"])
        own = json.loads(found["request"]["body"])["app"]["port"]
        told = [text.rpartition(" ")[2] for text in deeds(found) if " set MIB_APP_" in text]
        seen.add(own)
        if told != [str(own)] * 2 or found["exit"] != 0 or [event["word"] for event in found["events"]].count("commit") != 1:
            mixed.append((own, told))
    results.check("40 requests, 16 at a time: each has its own events", not mixed and seen == set(numbers), (mixed, sorted(seen)))


class Follower:
    """A terminal in which the journal is followed."""

    def __init__(self, router):
        command = [*router.way.prefix, str(routers.PROJECT / "script/router"), "--state", str(router.state), "journal", "follow", "--json"]
        self.process = subprocess.Popen(command, stdout=subprocess.PIPE, text=True)
        self.lines = queue.Queue()
        self.reader = threading.Thread(target=lambda: [self.lines.put(json.loads(line)) for line in self.process.stdout])
        self.reader.start()

    def next_of(self, word, seconds=routers.PATIENCE_SECONDS):
        """The next request that names this object; None: it does not come."""
        deadline = time.monotonic() + seconds
        while True:
            try:
                found = self.lines.get(timeout=max(0, deadline - time.monotonic()))
            except queue.Empty:
                return None
            if word in found["objects"]:
                return found

    def end(self):
        self.process.kill()
        self.process.wait()
        self.reader.join()
        self.process.stdout.close()


def follow(results, router):
    follower = Follower(router)

    def see(word, **patience):
        router.ask(json.dumps({"action": "scan", word: {}}))
        asked = time.monotonic()
        return follower.next_of(word, **patience), time.monotonic() - asked

    try:
        routers.look_until(lambda seen: seen[0], lambda: see("first", seconds=1))  # nothing tells that it has begun
        found = [see(f"object{number}") for number in range(5)]
        late = [seconds for _, seconds in found]
        good = all(line and line["action"] == "scan" and line["verdict"] == "ok" for line, _ in found)
        results.check("a follower sees each request when it is over", good and min(late) < 1, found)
        print(f"        a follower has read it {sorted(late)[2] * 1000:.1f} ms after the client (median of 5)")
    finally:
        follower.end()


def outlive(results, router, reader):
    before = reader.last()["number"]
    mark = len(router.output())
    router.post(3, bytes(360))
    router.await_output(STARTED_ANEW, mark)
    router.ask('{"action":"scan"}')
    found = reader.last()
    results.check("the journal outlives a reboot", found["number"] > before and reader.whole(before)["number"] == before and "exit 0" in deeds(found), found)
    router.inside("journal", "clear")
    results.check("until it is cleared", [line for line in reader.lines() if "number" in line] == [])


def unheard(results, router):
    """Without a journal nobody listens, and requests are as ever."""
    router.start("--no-journal")
    status, _, text = router.ask('{"action":"scan"}')
    results.check("without a journal requests are as ever", status == 200 and '"scanRsp"' in text, text)
    status, text = router.inside("journal")
    results.check("and the journal says that there is none", status == 1 and "without a journal" in text, text)
    status, text = router.inside("run", "ls", "/dev")
    results.check("there is no socket then", "tap" not in text.split(), text)
