# SPDX-License-Identifier: MIT
"""Waiting for a request, and the near miss; scenarios and what is wrong with their files."""

import concurrent.futures
import json
import pathlib
import re
import subprocess
import time

import pages

PROJECT = pathlib.Path(__file__).resolve().parents[2]
SCENARIO = PROJECT / "script/router"


def log_in(control):
    return control.post(pages.PHONE, pages.LOGIN).json()["info"]["sessionid"]


def expect(results, router, control):
    session = log_in(control)
    name = {"action": "set", "sessionid": session, "dutInfo": {"name": "Attic", "init": 1}}
    since = control.get("/api/status").json()["journal"]
    with concurrent.futures.ThreadPoolExecutor(1) as pool:
        waiting = pool.submit(control.post, "/api/expect", {"seconds": 60, "since": since, "phone": 1, "action": "set", "object": "dutInfo", "error": 0, "request": {"dutInfo": {"name": "~A.*c"}}, "effects": ['set MIB_DUT_NAME "Attic"', "commit"], "never": ["failed commit"]})
        time.sleep(0.5)  # so that it is waiting, as a rule: nothing tells that it is
        router.ask('{"action":"scan"}')
        control.settled()  # it is seen first
        router.ask(json.dumps(name))
        answer = waiting.result().json()
    results.check("a request that is waited for comes", answer["met"] and answer["number"] == since + 2 and answer["seen"] == 2 and answer["near"] is None, answer)
    for what, wanted, misses in (
        ("another phone", {"phone": 2}, ["it came by phone, not by phone 2"]),
        ("another object", {"object": "wifi"}, ["it names dutInfo, not wifi"]),
        ("another name", {"request": {"dutInfo": {"name": "Cellar"}}}, ['request: /dutInfo/name is "Attic", not "Cellar"']),
        ("another pattern", {"request": {"dutInfo": {"name": "~B.*"}}}, ['request: /dutInfo/name is "Attic", not "~B.*"']),
        ("another number", {"request": {"dutInfo": {"init": True}}}, ["request: /dutInfo/init is 1, not true"]),
        ("a key that is missing", {"request": {"dutInfo": {"colour": 1}}}, ["request: /dutInfo/colour is not there"]),
        ("another error", {"error": 6}, ["reply: the error is 0, not 6"]),
        ("an effect that did not come", {"effects": ["set MIB_WLAN_SSID"]}, ["effect: set MIB_WLAN_SSID has not come"]),
        ("effects in another order", {"effects": ["commit", "set MIB_DUT_NAME"]}, ["effect: set MIB_DUT_NAME came before another that is wanted first"]),
        ("a failure that was none", {"effects": ["failed commit"]}, ["effect: failed commit has not come"]),
        ("an effect that must not come", {"never": ["commit"]}, ["effect: commit has come"]),
    ):  # fmt: skip
        answer = control.post("/api/expect", {"seconds": 0, "since": since, "action": "set", **wanted}).json()
        good = not answer["met"] and answer["number"] is None and answer["near"]["number"] == since + 2 and answer["near"]["misses"] == misses
        results.check(f"{what} is a near miss, and it is said which", good, answer)
    answer = control.post("/api/expect", {"seconds": 0, "since": since, "action": "get"}).json()
    results.check("of two that miss as much the later is the nearest", answer["near"]["number"] == since + 2, answer)
    answer = control.post("/api/expect", {"seconds": 0, "since": since, "object": "wifi", "absent": True}).json()
    results.check("one that must not come has not", answer["met"] and answer["number"] is None, answer)
    answer = control.post("/api/expect", {"seconds": 0, "since": since, "action": "scan", "absent": True}).json()
    results.check("or it has", not answer["met"] and answer["number"] == since + 1, answer)
    begun = time.monotonic()
    answer = control.post("/api/expect", {"seconds": 0.5, "action": "get"}).json()
    results.check("who waits for nothing waits so long", not answer["met"] and answer["near"] is None and 0.5 <= time.monotonic() - begun < 30, answer)
    router.ask(json.dumps({"action": "set", "sessionid": session, "wifi": {"wifiPwd": "my own secret"}}))
    answer = control.post("/api/expect", {"seconds": 0, "since": since, "object": "wifi", "request": {"wifi": {"wifiPwd": "another secret"}}, "effects": ['set MIB_WLAN_WPA_PSK@0.0 "another secret"']})
    results.check("a near miss tells no secrets", b"own secret" not in answer.body and b"another secret" not in answer.body and b"***" in answer.body, answer)
    for wrong in ({"effects": ["dance"]}, {"effects": [""]}, {"request": {"a": "~("}}, {"seconds": -1}, {"seconds": 1e9}, {"request": []}, {"colour": 1}, {"effects": "commit"}, {"phone": 0}):
        results.check(f"{str(wrong)[:40]} is no expectation", control.post("/api/expect", {"seconds": 0, **wrong}).status == 400)


def words(results, router, control):
    since = control.get("/api/status").json()["journal"]
    router.ask('{"action":"scan"}')
    control.settled()
    for line, status, text in (
        (["--seconds", "0", f"--since={since}", "--action", "scan", "--error=0"], 0, f"met by request {since + 1}\n"),
        (["--seconds=0", "--since", str(since), "--action", "scan", "--absent"], 1, f"not met: request {since + 1} came\n"),
        (["--seconds=0", "--action", "scan"], 1, "not met: no request came\n"),
        (["--seconds=0", f"--since={since}", "--action=get", "--request", '{"a":1}', "--effect", "commit"], 1,
         f"not met by 1 requests; the nearest is {since + 1} (scan):\n  its action is \"scan\", not \"get\"\n  request: /a is not there\n  effect: commit has not come\n"),
        (["--colour", "1"], 2, None), (["--error", "x"], 2, None), (["--request", "{"], 2, None), (["--action"], 2, None), (["scan"], 2, None), (["help"], 0, None),
    ):  # fmt: skip
        found = router.inside("expect", *line)
        results.check(f"script/router expect {' '.join(line)}"[:100], found[0] == status and text in (None, found[1]), found)


GOOD = 'about = "x"\n[[step]]\n'


def scenarios(results, router, control):
    folder = router.folder / "scenarios"
    folder.mkdir()

    def play(text, *options):
        path = folder / "s.toml"
        path.write_text(text)
        command = [SCENARIO, "--state", router.state, "scenario", *options, path]
        run = subprocess.run(command, capture_output=True, text=True, timeout=120)
        return run.returncode, run.stdout + run.stderr

    for name, text, said in (
        ("no TOML", "about = ", ""), ("no steps", 'about = "x"', "steps [[step]]"), ("no word about it", '[[step]]\nsay = "x"', "'about'"),
        ("another key", GOOD + 'say = "x"\n[other]\n', "no key other"), ("a step of nothing", GOOD + 'title = "x"', "has none of"),
        ("a step of two", GOOD + 'say = "x"\nwait = 1', "say and wait"), ("a word of another kind", GOOD + "wait = true", "wait is int or float"),
        ("a key of another step", GOOD + 'say = "x"\nphone = 1', "phone does not stand beside say"), ("a step without what it needs", GOOD + 'see = "/api/home"', "see needs has"),
        ("a quote that does not end", GOOD + "home = \"roam 'x\"", "No closing quotation"), ("no words", GOOD + 'clock = ""', "clock has words"),
        ("a pattern that is none", GOOD + 'see = "/api/home"\nhas = { wan = "~(" }', "~("), ("an effect that is none", GOOD + 'expect = { effects = ["dance"] }', "dance"),
        ("a snapshot of no verb", GOOD + 'snapshot = "x"', "save NAME"),
    ):  # fmt: skip
        status, output = play(text, "--check")
        results.check(f"{name} is no scenario", status == 2 and said in output, (status, output))
    results.check("a good one is found good", play(GOOD + 'say = "x"', "--check") == (0, ""))
    status, output = play('about = "two\\n lines"\n[[step]]\nsay = "first"\n[[step]]\nask = { action = "scan" }\nreply = { dutInfo = { name = "nobody" } }\n[[step]]\nsay = "never"\n')
    good = status == 1 and "s: two lines\nok        1  first\nFAILED    2  ask" in output and 'reply: /dutInfo/name is "' in output and "never" not in output
    results.check("it ends with the step that fails, and says by what", good and output.endswith("1 passed, 1 failed\n"), output)
    status, output = play(GOOD + 'ask = { action = "scan" }\n[[step]]\nexpect = { action = "scan", error = 0 }\n[[step]]\nexpect = { action = "scan", seconds = 0.2 }\n')
    results.check("it expects what the step before did, and no older request", status == 1 and output.endswith("2 passed, 1 failed\n") and "0 requests came" in output, output)
    status, output = play(GOOD + 'home = "dance"')
    results.check("what the control port refuses fails", status == 1 and "there is no verb 'dance'" in output, output)
    run = subprocess.run([SCENARIO, "--state", folder, "scenario", folder / "s.toml"], capture_output=True, text=True)
    results.check("without a router there is no scenario", run.returncode == 1 and "no router runs" in run.stderr, run)
    for wrong in ([], ["--dance", "x"]):
        results.check(f"script/router scenario {' '.join(wrong)} is a wrong call", router.inside("scenario", *wrong)[0] == 2)
    example = re.search(r"```toml\n(.*?)```", (PROJECT / "docs/scenarios.md").read_text(), re.DOTALL)[1]
    status, output = play(example)
    results.check("the example of the page comes out", status == 0 and output.endswith(" 0 failed\n"), output)
    files = sorted((PROJECT / "virtual_router/scenarios").glob("*.toml"))
    results.check("those that are here are scenarios", len(files) >= 5 and router.inside("scenario", "--check", *map(str, files))[0] == 0)


def tell(results, router, control):
    expect(results, router, control)
    words(results, router, control)
    scenarios(results, router, control)
