# SPDX-License-Identifier: MIT
"""Scenarios and recordings that are played by the control port, which tells of each step as it comes out."""

import http.client
import json
import time

import pages

STORY = """
about = "Somebody is asked"
[[step]]
title = "a phone logs in"
login = true
[[step]]
title = "and waits"
wait = 2
[[step]]
title = "the name is another"
ask = { action = "get", dutInfo = {} }
reply = { dutInfo = { name = "Nobody" } }
[[step]]
say = "which is never said"
"""


def follow(control, path, body):
    """[(seconds until it came, event, what it says)]."""
    connection = http.client.HTTPConnection("127.0.0.1", control.port, timeout=60)
    begun = time.monotonic()
    found, name = [], None
    try:
        connection.request("POST", path, json.dumps(body), {"Authorization": f"Bearer {control.token}", "Content-Type": "application/json"})
        reply = connection.getresponse()
        while line := reply.readline().decode().rstrip("\n"):
            key, _, value = line.partition(": ")
            if key == "event":
                name = value
            elif key == "data":
                found.append((time.monotonic() - begun, name, json.loads(value)))
                if name == "end":
                    break
                reply.readline()
    finally:
        connection.close()
    return found


def tell(results, control):
    scenarios(results, control)
    recordings(results, control)


def scenarios(results, control):
    listed = control.get("/api/scenarios").json()["scenarios"]
    results.check("the scenarios that come along are listed", {"evening", "lost-session"} <= {each["name"] for each in listed} and all(each["about"] and each["text"] for each in listed), listed)
    for each in listed:
        checked = control.post("/api/scenarios/check", {"text": each["text"]})
        results.check(f"{each['name']} is checked, and its steps are told", checked.status == 200 and len(checked.json()["steps"]) > 5, checked.body)
    for wrong, what in (("no TOML [", "line 1"), ("about = 'x'\n[[step]]\ndance = 1\n", "step 1"), ("about = 'x'\n[[step]]\nsay = 'x'\nrun = 'reboot'\n", "run and say")):
        for verb in ("check", "play"):
            refused = control.post(f"/api/scenarios/{verb}", {"text": wrong})
            results.check(f"what is wrong with a scenario is told before it is {verb}ed: {what}", refused.status == 400 and refused.code() == "scenario" and what in refused.json()["error"]["message"], refused.body)
    found = follow(control, "/api/scenarios/play", {"text": STORY})
    said = [what for _, name, what in found if name == "step"]
    results.check("a scenario is played until a step fails", [(step["title"], step["passed"]) for step in said] == [("a phone logs in", True), ("and waits", True), ("the name is another", False)], found)
    name = control.post(pages.PHONE, {"action": "scan"}).json()["dutInfo"]["name"]
    results.check("by what it failed is told", len(said) == 3 and said[2]["misses"] == [f'reply: /dutInfo/name is "{name}", not "Nobody"'], said)
    results.check("and how many came out", found[-1][1:] == ("end", {"passed": 2, "failed": 1}), found[-1])
    results.check("each is told when it comes out", found[1][0] - found[0][0] > 1.5, found)


def recordings(results, control):
    since = control.get("/api/status").json()["journal"]
    session = control.post(pages.PHONE, pages.LOGIN).json()["info"]["sessionid"]
    for request in ({"action": "scan"}, {"action": "get", "wifi": {}, "lan": {}, "sessionid": session}):
        control.post(pages.PHONE, request)
    made = control.get(f"/api/recording?since={since}").json()
    text = json.dumps(made)
    results.check("what phones have asked becomes a recording", [each["request"]["action"] for each in made["exchanges"]] == ["login", "scan", "get"], made)
    results.check("in which nothing private is left", session not in text and "Family" not in text and "admin" not in text, text)
    found = follow(control, "/api/recording/replay", {"recording": made, "ignore": ["name", "sn", "ssid", "ssid5", "wifiPwd", "wifiPwd5"]})
    results.check("asked again, this router says the same", [what["verdict"] for _, _, what in found[:-1]] == ["same"] * 3 and found[-1][2] == {"passed": 3, "failed": 0}, found)
    made["exchanges"][2]["reply"]["lan"]["dhcp"] = "never"
    found = follow(control, "/api/recording/replay", {"recording": made})
    results.check("where it does not, the place is told", any(text.startswith("/lan/dhcp is") for text in found[2][2]["differences"]), found)
    home = control.post("/api/recording/home", {"recording": made}).json()
    results.check("a home is made of it, and what is not in it is told", home["home"]["store"] and home["left_out"], home)
    for path in ("replay", "home"):
        refused = control.post(f"/api/recording/{path}", {"recording": {"form": 9}})
        results.check(f"what is no recording makes no {path}", refused.status == 400 and refused.code() == "recording", refused.body)
