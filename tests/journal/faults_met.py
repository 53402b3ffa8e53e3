# SPDX-License-Identifier: MIT
"""Faults as an app and the endpoint meet them."""

import json
import re
import socket
import subprocess
import time

import copied
import router as routers
from requests_told import Reader, deeds
from story import LOGIN, SESSION, STARTED_ANEW


class Meeting:
    def __init__(self, results, router):
        self.results = results
        self.router = router
        self.reader = Reader(router)

    def arm(self, *lines):
        return self.router.inside("faults", "add", *lines)

    def clear(self):
        return self.router.inside("faults", "clear")

    def ask(self, loopback=True, **request):
        return self.router.ask(json.dumps(request), loopback)

    def told(self):
        return deeds(self.reader.last())

    def meets(self, step, lines, request, good, loopback=True):
        """Asks with the faults armed. `good` is called with the status, the text and the events."""
        armed = self.arm(*lines)
        status, _, text = self.ask(loopback, **request)
        told = self.told()
        self.clear()
        self.results.check(step, armed[0] == 0 and good(status, text, told), (armed, status, text, told))


def meet(results, way, build):
    router = routers.Router(way, build)
    try:
        if not results.check("a router starts", router.start() is not None, router.output()):
            return
        meeting = Meeting(results, router)
        copied.copy(meeting, build)
        of_replies(meeting)
        of_the_store(meeting)
        of_the_system(meeting)
        of_sessions(meeting)
        of_power(meeting)
    finally:
        router.remove()


SCAN = {"action": "scan"}
SET = {"action": "set", "opMode": {"opMode": "2"}}


def of_replies(meeting):
    router, results = meeting.router, meeting.results
    url = f"http://127.0.0.1:{router.port}/app/app.cgi"

    def curl(seconds=routers.PATIENCE_SECONDS):
        began = time.monotonic()
        run = subprocess.run(["curl", "-sS", "--max-time", str(seconds), "-w", "\n%{http_code}", "-d", '{"action":"scan"}', url], capture_output=True)
        return run.returncode, run.stdout, time.monotonic() - began

    whole = curl()[1]
    meeting.arm("delay=700000 reply")
    status, text, seconds = curl()
    results.check("a late reply", status == 0 and text == whole and seconds >= 0.7, (status, seconds))
    shown = router.inside("faults")[1]
    results.check("faults are listed", "delay=700000 reply    (1 requests so far)" in shown, shown)
    banner = json.loads(router.inside("status")[1])["faults"]
    results.check("status and terminal say so", banner == ["delay=700000 reply"] and router.await_output("FAULTS ARE ARMED (1): delay=700000 reply"), banner)
    meeting.clear()
    meeting.arm("failed=none reply")
    status, text, _ = curl(seconds=3)
    results.check("no reply, though the work is done", status == 28 and text == b"\n000", (status, text))
    found = meeting.reader.last()
    results.check("which the journal tells", "exit 0" in deeds(found) and "lost, by a fault" in found["verdict"], found)
    meeting.clear()
    meeting.arm("failed=cut:10 reply")
    status, text, _ = curl()
    results.check("a reply that is cut", status == 18 and text == whole[:10] + b"\n200", (status, text))
    meeting.clear()
    meeting.arm("failed=garbage reply", "requests=1 failed=503 reply")
    status, text, _ = curl()
    results.check("a server's error, for one request", status == 0 and text.endswith(b"\n503"), (status, text))
    status, text, _ = curl()
    results.check("and garbage for the next", status == 0 and text != whole and len(text) == len(whole), (status, text))
    meeting.clear()
    meeting.arm("connect")
    status, text, _ = curl()
    results.check("connections are refused", status == 7, (status, text))
    meeting.clear()
    meeting.arm("action=scan connect")
    status, text, _ = curl()
    other = router.ask('{"action":"get"}', loopback=True)
    results.check("or reset for one action only", status in (52, 56) and other[0] == 200, (status, text, other))
    meeting.clear()
    results.check("cleared, all is as before", curl()[1] == whole)
    with socket.create_connection(("127.0.0.1", router.port)) as slow:
        meeting.arm("object=nothing commit")
        slow.sendall(b"POST /app/app.cgi HTTP/1.1\r\nHost: localhost:%d\r\nContent-Length: 17\r\n\r\n" % router.port)
        for byte in b'{"action":"scan"}':
            slow.sendall(bytes([byte]))
            time.sleep(0.01)
        slow.settimeout(routers.PATIENCE_SECONDS)
        reply = slow.recv(100)
        results.check("a body in pieces is waited for", reply.startswith(b"HTTP/1.1 200"), reply)
    meeting.clear()
    for words, why in ((("add",), "are not asked for"), (("add", "nonsense"), "no such call"), (("clear", "99"), "there is no fault 99"), (("clear", "x"), "has a number")):
        status, text = router.inside("faults", *words)
        results.check(f"faults {' '.join(words)} is refused", status != 0 and why in text, text)


def of_the_store(meeting):
    meeting.meets("the store does not open", ["init"], SCAN, lambda status, text, told: status == 500 and "failed init" in told)
    meeting.meets("an item cannot be read", ["get MIB_DUT_NAME"], SCAN, lambda _, text, told: "failed get MIB_DUT_NAME" in told and '"name":\t"My Router"' not in text)
    meeting.meets("only another's", ["object=wifi get MIB_DUT_NAME"], SCAN, lambda _, text, told: '"name":\t"My Router"' in text)
    meeting.meets(
        "a full store", ["set", "add"], SET,
        lambda _, text, told: any(re.match('failed was="?0"? set MIB_OP_MODE 2', line) for line in told) and "commit" in told,
    )  # fmt: skip
    meeting.meets(
        "a failing commit", ["failed commit"], SET,
        lambda _, text, told: "failed commit" in told and "error app.cgi: the settings are not committed: a reboot loses them" in told,
    )  # fmt: skip
    meeting.meets("a late commit", ["delay=300000 commit"], SET, lambda _, text, told: "fault delay=300000 commit" in told and "commit" in told)
    meeting.meets("a settings file that is not saved", ["failed=7 save"], SET, lambda _, text, told: "failed=7 save" in told)
    meeting.meets(
        "an entry that cannot be added to a table", ["add MIB_MACFILTER_TBL_NUM"],
        {"action": "set", "Sec": {"macFiltering": 1, "addMaclist": [["a0b1c2d3e4f5", "tv"]]}},
        lambda _, text, told: any(line.startswith("failed add MIB_MACFILTER_TBL_NUM a0b1c2d3e4f57476") for line in told),
    )  # fmt: skip


def of_the_system(meeting):
    meeting.meets("a full queue", ["failed=EAGAIN msgsnd"], SET, lambda _, text, told: "failed=EAGAIN queue MSG_APP_REINIT" in told and "fault failed=EAGAIN msgsnd" in told)
    meeting.meets(
        "a queue that is not there", ["failed=ENOENT msgget"], SET,
        lambda _, text, told: "error app.cgi: the system daemon is not told: No such file or directory" in told and not any("queue" in line.split()[:1] for line in told),
    )  # fmt: skip
    meeting.meets("a command that fails", ["failed=3 run ifconfig"], SCAN, lambda _, text, told: "failed=3 run ifconfig br0" in told and not any(line.startswith("output") for line in told))
    meeting.meets("another command does not", ["failed=3 run ping"], SCAN, lambda _, text, told: "run ifconfig br0" in told)
    began = time.monotonic()
    meeting.meets("a command that hangs", ["delay=800000 run ifconfig"], SCAN, lambda _, text, told: "run ifconfig br0" in told and time.monotonic() - began > 0.8)
    meeting.meets("a missing file", ["failed=ENOENT open /etc/fwInfo.file"], SCAN, lambda status, text, told: status == 500 and "failed=ENOENT read /etc/fwInfo.file" in told)
    meeting.meets("a file that is cut", ["failed=cut content /etc/fwInfo.file"], SCAN, lambda _, text, told: "fault failed=cut content /etc/fwInfo.file" in told and "2026-11-20" not in text)
    meeting.meets("a file with noise", ["failed=noise seed=3 content /etc/fwInfo.file"], SCAN, lambda _, text, told: "fault failed=noise content /etc/fwInfo.file" in told and "2026-11-20" not in text)
    meeting.meets("a reply that cannot be written", ["failed=EPIPE write"], SCAN, lambda status, text, told: status == 500 and any(line.startswith("failed=EPIPE reply") for line in told))
    meeting.meets("one byte at a time", ["failed=short write", "failed=short read"], SCAN, lambda status, text, told: status == 200 and '"My Router"' in text)


def of_sessions(meeting):
    router, results = meeting.router, meeting.results
    found = SESSION.search(router.ask(json.dumps(LOGIN))[2]).group()
    get = {"action": "get", "app": {}, "sessionid": found}
    results.check("a session", '"error":\t0' in meeting.ask(False, **get)[2])
    meeting.meets("which others' faults do not touch", ["phone=2 failed=lost session"], get, lambda _, text, told: '"error":\t0' in text, loopback=False)
    meeting.meets("another phone takes it", ["requests=1 failed=taken session"], get, lambda _, text, told: '"error":\t6' in text, loopback=False)
    results.check("for good", '"error":\t6' in meeting.ask(False, **get)[2])
    again = SESSION.search(router.ask(json.dumps(LOGIN))[2]).group()
    meeting.meets("it is lost", ["failed=lost session"], {**get, "sessionid": again}, lambda _, text, told: '"error":\t6' in text and "failed=ENOENT read /var/app_sessionid" in told, loopback=False)


def of_power(meeting):
    router, results = meeting.router, meeting.results
    port = {"action": "set", "app": {"port": 1}}
    meeting.ask(**port)
    mark = len(router.output())
    meeting.arm("requests=1 cut-power")
    status = meeting.ask(action="set", app={"port": 2})
    results.check("the power is cut in the middle of a commit", status[0] == 0 and router.await_output(STARTED_ANEW, mark), (status, router.output()[mark:]))
    text = meeting.ask(action="get", app={})[2]
    results.check("and what was committed before is there", '"port":\t1' in text, text)
    found = meeting.reader.lines("--failed")[-2:]
    results.check("which the journal tells", any(line.get("faults") == ["requests=1 cut-power"] for line in found), found)

    mark = len(router.output())
    meeting.arm("failed=off router")
    router.await_output("router: it is off", mark)
    off = routers.look_until(lambda asked: asked[0] == 0, lambda: meeting.ask(**SCAN))
    state = json.loads(router.inside("status")[1])["router"]
    results.check("the router is off", off[0] == 0 and state == "off", (off, state))
    meeting.clear()
    results.check("and starts when that is cleared", router.await_output(STARTED_ANEW, mark) and meeting.ask(**SCAN)[0] == 200, router.output()[mark:])
    mark = len(router.output())
    meeting.arm("failed=booting:2 router")
    results.check(
        "it starts anew and takes its time, after which the fault is over",
        router.await_output("is away for 2 s", mark) and router.await_output(STARTED_ANEW, mark) and router.await_output("none is armed any more", mark), router.output()[mark:],
    )  # fmt: skip
