# SPDX-License-Identifier: MIT
"""Requests that app.scgi serves, whose processes are there before them: noted and made to fail as those of app.cgi."""

import concurrent.futures
import json
import signal

import router as routers
from faults_met import SCAN, SET, Meeting
from requests_told import deeds
from story import LOGIN, SESSION

SLOW = 5_000_000  # microseconds of a commit: longer than a busy machine takes to hand a reply on


def tell(results, way, build):
    router = routers.Router(way, build)
    try:
        if not results.check("a router starts with app.scgi", router.start("--resident") is not None, router.output()):
            return
        meeting = Meeting(results, router)
        one(meeting)
        replied_first(meeting)
        at_once(meeting)
        faults(meeting)
        status, left = router.stop(signal.SIGTERM)
        results.check("it ends and leaves nothing", status == 143 and not left, (status, left))
    finally:
        router.remove()


def one(meeting):
    router, results = meeting.router, meeting.results
    session = SESSION.search(router.ask(json.dumps(LOGIN))[2]).group()
    router.ask(json.dumps({"action": "set", "timeZone": {"timeZoneIndex": "7_2"}, "app": {"port": 77}, "sessionid": session}))
    found = meeting.reader.last()
    told = deeds(found, "debug", "input", "reply", "read", "holds")
    results.check(
        "a set: who asked, reads, writes, commit, record, end",
        told == [
            "asked 192.168.1.100 POST /app/app.cgi", "get MIB_MESH_ROLE 0", 'was="8_1" set MIB_TIME_ZONE_INDEX "7_2"',
            "was=0 set MIB_APP_PORT 77", "commit", "save", "queue MSG_APP_REINIT", "exit 0",
        ],
        told,
    )  # fmt: skip
    results.check("in its line", (found["action"], found["session"], found["verdict"], found["port"]) == ("set", "held", "ok", "phone"), found)
    request = "".join(event["fields"][0] for event in found["events"] if event["word"] == "input")
    done = routers.look_until(lambda done: any("MIB_TIME_ZONE_INDEX=7_2" in deed["lines"] for deed in done), lambda: meeting.reader.whole(found["number"])["deeds"])
    results.check("what the system daemon did for it", [deed["title"] for deed in done if "MIB_TIME_ZONE_INDEX=7_2" in deed["lines"]] == ["queue MSG_APP_REINIT"], done)
    results.check("the head of the request is no part of it", json.loads(request)["action"] == "set", request)


def replied_first(meeting):
    """A line tells how long all took; opened, it tells when whoever asked had the reply."""
    meeting.arm(f"delay={SLOW} commit")
    meeting.ask(**SET)
    found = meeting.reader.last()
    meeting.clear()
    committed = next(event["at"] for event in found["events"] if event["word"] == "commit")
    meeting.results.check("the reply is there before a slow commit", 0 < found["replied"] < committed <= found["duration"],
                          (found["replied"], committed, found["duration"]))


def at_once(meeting):
    """Each event is of its request."""
    ports = [*range(1000, 1012)]
    with concurrent.futures.ThreadPoolExecutor(len(ports)) as pool:
        list(pool.map(lambda port: meeting.ask(action="set", app={"port": port}), ports))
    meeting.reader.settled()
    numbers = [line["number"] for line in meeting.reader.lines("--last", str(len(ports))) if "number" in line]
    seen = []
    for whole in map(meeting.reader.whole, numbers):
        asked = json.loads(whole["request"]["body"])["app"]["port"]
        seen.append(asked if any(text.endswith(f"set MIB_APP_PORT {asked}") for text in deeds(whole)) else whole)
    meeting.results.check("of many at once each has its own events", sorted(seen, key=str) == sorted(ports, key=str), seen)


def faults(meeting):
    refused = meeting.arm("init")
    meeting.results.check("a store that does not open is no fault here", refused[0] != 0 and "is past init" in refused[1], refused)

    def meets(step, line, request, *wanted):
        armed = meeting.arm(line)
        meeting.ask(**request)
        told = meeting.told()
        meeting.clear()
        meeting.results.check(step, armed[0] == 0 and all(any(text.startswith(each) for text in told) for each in wanted), (armed, told))

    meets("a failing commit", "commit", SET, "fault failed commit", "failed commit")
    meets("a reply that cannot be written", "failed=EPIPE write", SCAN, "fault failed=EPIPE write", "failed=EPIPE reply")
    meets("a full queue", "failed=EAGAIN msgsnd", SET, "failed=EAGAIN queue MSG_APP_REINIT")
    meets("a missing file", "failed=ENOENT open /etc/fwInfo.file", SCAN, "failed=ENOENT read /etc/fwInfo.file")
    meets("a command that fails", "failed=3 run ifconfig", SCAN, "failed=3 run ifconfig br0")
    meets("only for some", "action=get commit", SET, "commit")
