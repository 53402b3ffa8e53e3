# SPDX-License-Identifier: MIT
"""The router as a device, over HTTP: the same as script/router's words."""

import os
import subprocess
import time

from router import look_until


def act(results, router, control):
    status = control.get("/api/status").json()
    results.check("the status tells that the router is up", status["router"] == "up" and str(router.port) in status["ports"], status)
    control.post("/api/home/still")  # nobody comes back by himself
    home = control.get("/api/home").json()
    names = [device["name"] for device in home["devices"]]
    results.check("the home is shown", len(names) > 3, names)
    device = next(device for device in home["devices"][1:] if device["at"] not in ("away", "unseen"))  # the phone is the first, and stays
    answer = control.post("/api/home/roam", {"words": [device["name"], "away"]})
    results.check("a device is led away", answer.status == 200 and answer.json()["text"] == f"{device['name']} is at away", answer)
    _, said = router.inside("home", "show", "--json")
    results.check("which script/router sees", f'"name": "{device["name"]}"' in said, said[:300])
    answer = control.post("/api/home/roam", {"words": [device["name"], "away"]})
    results.check("what cannot be is refused as a state", answer.status == 409 and answer.code() == "state", answer)
    answer = control.post("/api/home/dance")
    results.check("a verb that there is not is refused as a word", answer.status == 400 and answer.code() == "words", answer)
    control.post("/api/home/move")
    clock(results, control)
    answer = control.post("/api/run", {"command": ["flash", "get", "MIB_DUT_NAME"]})
    results.check("a command's output comes", answer.json() == {"status": 0, "output": "MIB_DUT_NAME=Family\n"}, answer)
    answer = control.post("/api/run", {"command": ["sh", "-c", "echo; exit 3"]})
    results.check("so does its exit status", answer.json() == {"status": 3, "output": "\n"}, answer)
    answer = control.post("/api/run", {"command": ["sh", "-c", "yes | head -c 3000000"]})
    results.check("output without end is cut", len(answer.json()["output"]) == 1 << 20, answer.status)
    answer = control.post("/api/run", {"command": ["nothing-like-that"]})
    results.check("a command that there is not has status 127", answer.json()["status"] == 127, answer)


def clock(results, control):
    begun = time.monotonic()
    before = control.get("/api/clock").json()
    after = control.post("/api/clock/advance", {"words": ["2h"]}).json()
    results.check("two hours pass", 0 <= after["seconds"] - before["seconds"] - 7200 <= time.monotonic() - begun + 1, (before, after))
    answer = control.post("/api/clock/rate", {"words": ["60"]})
    results.check("the clock is hurried", answer.json()["rate"] == 60, answer)
    answer = control.post("/api/clock/set", {"words": ["Monday", "07:30"]})
    results.check("the clock is set", answer.json()["text"].startswith("Monday "), answer)
    results.check("a rate that is none is refused", control.post("/api/clock/rate", {"words": ["fast"]}).status == 400)
    control.post("/api/clock/rate", {"words": ["1"]})


def reboot(results, router, control):
    answer = control.post("/api/reboot")
    results.check("a reboot is begun", answer.status == 200 and answer.json()["router"] in ("off", "booting"), answer)
    back = look_until(lambda seen: seen == "up", lambda: control.get("/api/status").json()["router"])
    results.check("the status tells when it is back", back == "up" and router.ask('{"action":"scan"}')[0] == 200, back)
    off(results, control)
    answer = control.post("/api/reboot", {"wait": True})
    results.check("who waits is answered when it is back", answer.json()["router"] == "up" and router.ask('{"action":"scan"}')[0] == 200, answer)


def off(results, control):
    """What cannot be done while it is off, for as long as it takes to ask."""
    control.post("/api/faults", {"faults": ["failed=off router"]})
    gone = look_until(lambda seen: seen == "off", lambda: control.get("/api/status").json()["router"])
    results.check("the status tells that it is off", gone == "off", gone)
    for path, body in (("/api/clock/rate", {"words": ["1"]}), ("/api/run", {"command": ["true"]}), ("/api/reboot", {})):
        answer = control.post(path, body)
        results.check(f"{path} is refused meanwhile", answer.status == 409 and answer.code() == "away", answer)
    control.ask("DELETE", "/api/faults")
    back = look_until(lambda seen: seen == "up", lambda: control.get("/api/status").json()["router"])
    results.check("it is on again", back == "up", back)


def words(results, router, control):
    """script/router asks the control port, too."""
    status, said = router.inside("url")
    results.check("script/router url prints what was printed", status == 0 and said == f"{control.origin}/?token={control.token}\n", said)
    status, said = router.inside("api", "/api/clock")
    results.check("script/router api asks", status == 0 and '"rate": 1.0' in said, said)
    status, said = router.inside("api", "/api/clock/rate", '{"words":["fast"]}')
    results.check("a refusal is told", status == 1 and said == "script/router: a rate is a number from 0 to 3600, not 'fast'\n", said)
    reading, writing = os.pipe()
    os.close(reading)
    done = subprocess.run(router.tool("api", "/api/clock"), stdout=writing, stderr=subprocess.PIPE, text=True)
    os.close(writing)
    results.check("who has seen enough, as head has, hears no complaint", done.returncode == 130 and done.stderr == "", done)
    for wrong in (["api"], ["api", "status"], ["api", "/api/clock", "{"], ["reboot", "now"], ["url", "x"], ["api", "GET", "/a", "{}", "x"]):
        status, said = router.inside(*wrong)
        results.check(f"script/router {' '.join(wrong)} is a wrong call", status == 2, said)
    status, said = router.inside("reboot", "--wait")
    results.check("script/router reboot --wait waits", status == 0 and control.get("/api/status").json()["router"] == "up", said)
