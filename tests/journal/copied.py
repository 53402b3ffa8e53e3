# SPDX-License-Identifier: MIT
"""Requests of the journal, copied: they can be asked again, and the case runner takes them for cases."""

import json
import pathlib
import subprocess
import sys
import tempfile

import router as routers
from story import LOGIN, SESSION

REQUESTS = (
    {"action": "scan", "guid": "x"},
    {"action": "get", "app": {}, "dutInfo": {}, "timeZone": {}},
    {"action": "set", "app": {"port": 77}, "timeZone": {"timeZoneIndex": "7_2"}},
    {"action": "set", "dutInfo": {"name": "K\u00fcche \"oben\""}},
    {"action": "set", "wifi": {"combine": "0", "ssid": "Hello you", "wifiPwd": "supersecret", "ssid5": "K\u00fcche", "wifiPwd5": "another-one"}},
    {"action": "get", "wifi": {}},
    {"action": "set", "Sec": {"macFiltering": 1, "addMaclist": [["a0b1c2d3e4f5", "tv"]]}},
    {"action": "get", "Sec": {}},
    {"action": "set", "Sec": {"macFiltering": 1, "delMaclist": ["a0b1c2d3e4f5"]}},
    {"action": "get", "lanStatus": {}},
    {"action": "get", "wanStatus": {}, "lan": {}},
    {"action": "get", "sys": {}},
    {"action": "get", "netDig": {"ping": {"dst": "192.168.1.100"}}},
    {"action": "set", "sys": {"schReboot": {"enable": 1, "time": "031500", "week": "0101010"}}},
    {"action": "nonsense"},
    {"action": "set", "logout": 1},
    {"action": "get", "app": {}},
)


def run_cases(folder, build, program=None):
    tools = ["--binary", program or f"{build}/app.cgi", "--tools", f"{build}/tests/runner"]
    run = subprocess.run([routers.PROJECT / "tests/run_cases", "--mode", "plain", *tools, "--cases", folder], capture_output=True, text=True)
    return run.stdout.rstrip().rpartition("\n")[2], run.stdout + run.stderr


def near(results, router, case):
    """Which request came nearest to a case, and by what it missed it."""
    status, text = router.inside("expect", "--case", str(case))
    results.check("the journal tells what a case wanted and what came", status == 1 and "effect: set MIB_APP_PORT 78 has not come" in text and "the nearest is " in text, text)
    case.write_text(case.read_text().replace("MIB_APP_PORT 78", "MIB_APP_PORT 77"))
    status, text = router.inside("expect", "--case", str(case))
    results.check("and that all came", status == 0 and "met by request" in text, text)
    case.write_text(case.read_text().replace('\\"port\\": 77', '\\"port\\": 76'))
    status, text = router.inside("expect", "--case", str(case))
    results.check("or that it was asked otherwise", status == 1 and "request: /app/port is 77, not 76" in text, text)
    for words, why in (((case, "--named", "none"), "has no case none"), (("/nowhere.toml",), "No such file"), ((__file__,), "")):
        status, text = router.inside("expect", "--case", *map(str, words))
        results.check(f"--case {' '.join(map(str, words))[-40:]} is refused", status == 2 and why in text, text)


def copy(meeting, build):
    router, results, reader = meeting.router, meeting.results, meeting.reader
    router.inside("journal", "clear")
    session = SESSION.search(router.ask(json.dumps(LOGIN))[2]).group()
    for request in REQUESTS:
        router.ask(json.dumps({**request, "sessionid": session}))
    router.ask('{"action":"x\\u0001\n')
    reader.settled()
    numbers = [line["number"] for line in reader.lines("--last", "100") if "number" in line]
    with tempfile.TemporaryDirectory(prefix="copied-") as folder:
        files = []
        for number in numbers:
            status, text = router.inside("journal", str(number), "--as", "case")
            files.append(pathlib.Path(folder, f"request{number}.toml"))
            files[-1].write_text(text if status == 0 else f"status {status}: {text}")
        last, said = run_cases(folder, build)
        results.check("requests that were copied are cases, which pass", last == f"{len(REQUESTS) + 2} passed, 0 failed", said)
        texts = "".join(path.read_text() for path in files)
        results.check("without secrets in them", not any(secret in texts for secret in (session, "supersecret", "another-one")), texts)
        wanted = files[3].read_text().replace("MIB_APP_PORT 77", "MIB_APP_PORT 78")
        files[3].write_text(wanted)
        last, said = run_cases(folder, build)
        results.check("and one that asks for what did not come fails", last == f"{len(REQUESTS) + 1} passed, 1 failed" and "+set MIB_APP_PORT 77" in said, said)

        near(results, router, files[3])
    meeting.ask(action="set", dutInfo={"name": "My Router"})

    again = {form: router.inside("journal", str(numbers[1]), "--as", form)[1] for form in ("curl", "python", "typescript")}
    replies = [
        subprocess.run(command, input=text, capture_output=True, text=True).stdout
        for command, text in (("bash", again["curl"]), ([sys.executable, "-"], again["python"]))
    ]
    scan = router.ask(json.dumps(REQUESTS[0]))[2]
    results.check("a line of curl and a piece of Python ask the same", [reply.rstrip("\n") for reply in replies] == [scan.rstrip("\n")] * 2, (again, replies, scan))
    results.check("and TypeScript would", f'"http://127.0.0.1:{router.port}/app/app.cgi"' in again["typescript"] and '"action": "scan"' in again["typescript"], again)
    kept = router.inside("journal", str(numbers[0]), "--as", "curl", "--secrets")[1]
    results.check("with secrets where they are asked for", '"pwd": "admin"' in kept and '"pwd": "admin"' not in router.inside("journal", str(numbers[0]), "--as", "curl")[1], kept)
    status, text = router.inside("journal", str(numbers[0]), "--as", "poem")
    results.check("there is no other form", status == 1 and "curl, case, typescript, python, step" in text, text)
