# SPDX-License-Identifier: MIT
"""Scenarios and recordings that are played by the control port, which tells of each step as it comes out."""

import http.client
import json

import pages
from asking import SECONDS

STORY = """
about = "Somebody is asked"
[[step]]
title = "a phone logs in"
login = true
[[step]]
title = "and waits"
wait = 0.1
[[step]]
title = "for who is told of it to ask"
expect = { object = "told", seconds = 60 }
[[step]]
title = "the name is another"
ask = { action = "get", dutInfo = {} }
reply = { dutInfo = { name = "Nobody" } }
[[step]]
say = "which is never said"
"""


def follow(control, path, body, hear=lambda name, what: None):
    """[(event, what it says)], each of which is heard at once."""
    connection = http.client.HTTPConnection("127.0.0.1", control.port, timeout=SECONDS)
    found, name = [], None
    try:
        connection.request("POST", path, json.dumps(body), {"Authorization": f"Bearer {control.token}", "Content-Type": "application/json"})
        reply = connection.getresponse()
        while line := reply.readline().decode().rstrip("\n"):
            key, _, value = line.partition(": ")
            if key == "event":
                name = value
            elif key == "data":
                found.append((name, json.loads(value)))
                hear(*found[-1])
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

    def hear(name, what):
        if name == "step" and what["title"] == "and waits":
            control.post(pages.PHONE, {"action": "scan", "told": {}})

    found = follow(control, "/api/scenarios/play", {"text": STORY}, hear)
    said = [what for name, what in found if name == "step"]
    titles = ["a phone logs in", "and waits", "for who is told of it to ask", "the name is another"]
    results.check("a scenario is played until a step fails, and each is told when it comes out", [(step["title"], step["passed"]) for step in said] == [*((title, True) for title in titles[:3]), (titles[3], False)], found)
    name = control.post(pages.PHONE, {"action": "scan"}).json()["dutInfo"]["name"]
    results.check("by what it failed is told", len(said) == 4 and said[3]["misses"] == [f'reply: /dutInfo/name is "{name}", not "Nobody"'], said)
    results.check("and how many came out", found[-1] == ("end", {"passed": 3, "failed": 1}), found[-1])


def recordings(results, control):
    since = control.get("/api/status").json()["journal"]
    session = control.post(pages.PHONE, pages.LOGIN).json()["info"]["sessionid"]
    for request in ({"action": "scan"}, {"action": "get", "wifi": {}, "lan": {}, "sessionid": session}):
        control.post(pages.PHONE, request)
    control.settled()
    made = control.get(f"/api/recording?since={since}").json()
    text = json.dumps(made)
    results.check("what phones have asked becomes a recording", [each["request"]["action"] for each in made["exchanges"]] == ["login", "scan", "get"], made)
    results.check("in which nothing private is left", session not in text and "Family" not in text and "admin" not in text, text)
    found = follow(control, "/api/recording/replay", {"recording": made, "ignore": ["name", "sn", "ssid", "ssid5", "wifiPwd", "wifiPwd5"]})
    results.check("asked again, this router says the same", [what["verdict"] for _, what in found[:-1]] == ["same"] * 3 and found[-1][1] == {"passed": 3, "failed": 0}, found)
    made["exchanges"][2]["reply"]["lan"]["dhcp"] = "never"
    found = follow(control, "/api/recording/replay", {"recording": made})
    results.check("where it does not, the place is told", any(text.startswith("/lan/dhcp is") for text in found[2][1]["differences"]), found)
    home = control.post("/api/recording/home", {"recording": made}).json()
    results.check("a home is made of it, and what is not in it is told", home["home"]["store"] and home["left_out"], home)
    for path in ("replay", "home"):
        refused = control.post(f"/api/recording/{path}", {"recording": {"form": 9}})
        results.check(f"what is no recording makes no {path}", refused.status == 400 and refused.code() == "recording", refused.body)
