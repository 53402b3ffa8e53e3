# SPDX-License-Identifier: MIT
"""The journal and the faults over HTTP."""

import json
import re
import socket

from asking import SECONDS
from router import look_until


def events(control, path, count, ask):
    """So many events of a path, of what `ask` does once it is followed."""
    with socket.create_connection(("127.0.0.1", control.port), timeout=SECONDS) as connection:
        connection.sendall(control.head(first=f"GET {path} HTTP/1.1"))
        text = connection.recv(65536)
        ask()
        while text.count(b"\ndata: ") < count and (more := connection.recv(65536)):
            text += more
    return text.split(b"\r\n\r\n")[0], [json.loads(line[6:]) for line in text.splitlines() if line.startswith(b"data: ")]


def act(results, router, control):
    stations(results, router, control)
    journal(results, router, control)
    faults(results, router, control)


def stations(results, router, control):
    """What the Wi-Fi driver has told."""

    def look():
        router.ask('{"action":"get","lanStatus":{}}', loopback=True)
        number = control.get("/api/journal?last=1").json()["requests"][0]["number"]
        told = [event["text"] for event in control.get(f"/api/journal/{number}").json()["events"]]
        seen = {bytes.fromhex(text.split()[2])[2:8].hex(":") for text in told if text.startswith("station ")}
        devices = control.get("/api/home").json()["devices"]
        return told, seen, {device["mac"] for device in devices if device["connected"] and device["at"].startswith("wlan")}

    told, seen, there = look_until(lambda found: found[1] == found[2], look)  # they roam
    tables = [text.split() for text in told if re.match(r"driver (ax-)?stations wlan[01] ", text)]
    results.check("the journal has the driver's tables", tables and all(words[3] == "4095" for words in tables), told)
    results.check("with their stations", there and seen == there, (seen, there))
    results.check("and the store as the program asked it, not as the driver did", told.count("init") == 1 and not any(re.match("get (MIB_WLAN_AX_SUPPORT|4300)", text) for text in told), told)


def journal(results, router, control):
    control.ask("DELETE", "/api/journal")
    router.ask('{"action":"scan"}')
    router.ask('{"action":"login","info":{"user":"admin","pwd":"guess-it"}}')
    router.ask('{"action":"set","app":{"port":70000}}', loopback=True)
    found = control.settled()
    lines = found["requests"]
    results.check("the journal is listed", [line["action"] for line in lines] == ["scan", "login", "set"] and found["all"] == 3 and found["gone"] == 0, found)
    for query, actions in (("failed=true", ["login", "set"]), ("object=app", ["set"]), ("phone=1", ["scan", "login"]), (f"since={lines[0]['number']}&last=1", ["set"]), ("text=70000", ["set"])):
        got = [line["action"] for line in control.get(f"/api/journal?{query}").json()["requests"]]
        results.check(f"and searched by {query}", got == actions, got)
    for query in ("last=0", "phone=x", "nonsense=1", "failed=perhaps"):
        answer = control.get(f"/api/journal?{query}")
        results.check(f"but not by {query}", answer.status == 400, answer)
    one = control.get(f"/api/journal/{lines[1]['number']}")
    results.check("one request is whole, without its password", one.json()["events"] and "guess-it" not in one.body.decode() and one.json()["error"] == 7, one)
    results.check("which is shown to who asks for it", "guess-it" in control.get(f"/api/journal/{lines[1]['number']}?secrets=true").json()["request"]["body"])
    copied = control.get(f"/api/journal/{lines[1]['number']}/as/curl")
    results.check("it is copied", copied.json()["text"].startswith("curl -sS -d") and "guess-it" not in copied.body.decode(), copied)
    results.check("in no other form", control.get(f"/api/journal/{lines[1]['number']}/as/poem").status == 409)
    for path in ("/api/journal/999999", "/api/journal/x", "/api/journal/" + "9" * 100):
        results.check(f"there is no {path[:30]}", control.get(path).status == 404, control.get(path))
    head, told = events(control, "/api/journal/follow?action=scan", 2, lambda: [router.ask(body) for body in ('{"action":"scan"}', '{"action":"get"}', '{"action":"scan"}')])
    results.check("events are followed", b"text/event-stream" in head and [line["action"] for line in told] == ["scan", "scan"], (head, told))
    router.ask(b'{"action":"sc\xff\\ud800an","\xfe":1}'.decode("latin-1"))
    odd = control.get("/api/journal?last=1")
    results.check("odd characters are told, too", odd.status == 200 and control.get(f"/api/journal/{odd.json()['requests'][0]['number']}").status == 200, odd)


def faults(results, router, control):
    answer = control.post("/api/faults", {"faults": ["requests=1 failed=503 reply", "action=nothing commit"]})
    armed = answer.json().get("faults")
    results.check("faults are armed", answer.status == 200 and [found["fault"] for found in armed] == ["requests=1 failed=503 reply", "action=nothing commit"], answer)
    results.check("and befall", [router.ask('{"action":"scan"}')[0] for _ in range(2)] == [503, 200])
    answer = control.post("/api/faults", {"faults": ["set", "nonsense"]})
    left = [found["fault"] for found in control.get("/api/faults").json()["faults"]]
    results.check("one that is wrong lets none be armed", answer.status == 400 and answer.code() == "fault" and left == ["action=nothing commit"], (answer, left))
    results.check("the status tells them", control.get("/api/status").json()["faults"] == left)
    for body in ({}, {"faults": []}, {"faults": "set"}, {"faults": ["x" * 300]}, {"faults": ["set"] * 17}):
        results.check(f"{str(body)[:30]} is refused", control.post("/api/faults", body).status == 400)
    number = control.get("/api/faults").json()["faults"][0]["number"]
    results.check("one is cleared", control.ask("DELETE", f"/api/faults/{number}").json() == {"cleared": 1})
    results.check("once", control.ask("DELETE", f"/api/faults/{number}").status == 404)
    results.check("or all", control.ask("DELETE", "/api/faults").json() == {"cleared": 0} and control.get("/api/faults").json() == {"faults": []})
