# SPDX-License-Identifier: MIT
"""An app's talk with one virtual router is recorded, and asked of another that has the home made of it."""

import contextlib
import http.client
import json
import os
import pathlib
import re
import signal
import stat
import subprocess
import time

import router as routers
from router import look_until

PROJECT = pathlib.Path(__file__).resolve().parents[2]
SCRIPT = PROJECT / "script/router"
OBJECTS = (
    "dutInfo wanInfo wanAdvance wanStatus wifi wifiAdvance wifiguest wifiAcc opMode timeZone lan lanStatus sys mesh meshStatus Sec netAcc "
    "urlfilter app qos"
).split()
PRIVATE = ("Erna", "Family", "kt70a", "8.8.8.8", "admin", "cleo", "notebook", "2001db8", "very private key")


def post(port, body, **headers):
    connection = http.client.HTTPConnection("127.0.0.1", port, timeout=60)
    try:
        connection.request("POST", "/app/app.cgi", body if isinstance(body, bytes) else json.dumps(body).encode(), headers)
        reply = connection.getresponse()
        return reply.status, reply.read()
    finally:
        connection.close()


@contextlib.contextmanager
def proxy(results, to, file):
    """The recorder: gives its port."""
    port = routers.free_port()
    command = [SCRIPT, "record", "--to", f"http://127.0.0.1:{to}", "--port", str(port), file]
    process = subprocess.Popen(command, stdout=subprocess.PIPE, text=True, preexec_fn=routers.heed_signals)
    try:
        process.stdout.readline()
        yield port
        process.send_signal(signal.SIGINT)
        said = process.communicate(timeout=60)[0]
        results.check("the recorder ends when it is told to", process.returncode == 0 and "requests are written down" in said, said)
    finally:
        if process.poll() is None:
            process.kill()
            process.wait()


def talk(results, router, port):
    """What an app asks, by way of the recorder. Returns how many requests that were."""
    direct = router.ask('{"action":"scan"}')[2]
    results.check("a reply comes as the router gave it", post(port, {"action": "scan"}) == (200, direct.encode()))
    session = json.loads(post(port, {"action": "login", "info": {"user": "admin", "pwd": "admin"}})[1])["info"]["sessionid"]
    named = look_until(lambda seen: b'"tablet"' in seen[1], lambda: router.ask(json.dumps({"action": "get", "lanStatus": {}, "sessionid": session}))[::2] and post(router.port, {"action": "get", "lanStatus": {}, "sessionid": session}), pause=0.3)
    results.check("the devices have names", b'"tablet"' in named[1])
    asked = [{"action": "get", name: {}} for name in OBJECTS]
    asked += [{"action": "set", "dutInfo": {"name": "Erna's router"}}, {"action": "get", "dutInfo": {}}]
    asked += [{"action": "set", "wifi": {"combine": 1, "ssid": "Erna", "wifiPwd": "very private key"}}, {"action": "get", "wifi": {}}, {"action": "set", "app": {"port": 65536}}]
    for request in asked:
        post(port, {**request, "sessionid": session})
    post(port, b"no JSON of Erna, 8.8.8.8, 00:11:22:33:44:55")
    return len(asked) + 3


def outsiders(results, port):
    results.check("a page from elsewhere is not recorded", post(port, {"action": "scan"}, Host="evil.example")[0] == 403 and post(port, {"action": "scan"}, Origin="https://evil.example")[0] == 403)
    connection = http.client.HTTPConnection("127.0.0.1", port, timeout=60)
    connection.putrequest("POST", "/app/app.cgi")
    connection.putheader("Content-Length", "99999999999")
    connection.endheaders()
    results.check("nor is a body without end", connection.getresponse().status == 413)
    connection.close()


def tell(results, way, build):
    first, second = routers.Router(way, build), routers.Router(way, build)
    file = first.folder / "talk.json"
    try:
        results.check("a router runs in a home", first.start("--home", "family", "--still") is not None, first.output())
        with proxy(results, first.port, file) as port:
            count = talk(results, first, port)
            outsiders(results, port)
        text = file.read_text()
        session = first.inside("run", "cat", "/var/app_sessionid")[1]
        results.check("no session is", re.search("Us[0-9a-f]{32}", session)[0] not in text, session)
        recorded = json.loads(text)["exchanges"]
        results.check("all is written down", len(recorded) == count, len(recorded))
        found = [word for word in PRIVATE if word.lower() in text.lower()]
        results.check("nothing private is", not found and "00:11:22" not in text, found)
        results.check("to a file of its owner", stat.S_IMODE(os.stat(file).st_mode) == 0o600)
        names = {recorded[-6]["request"]["dutInfo"]["name"], recorded[-5]["reply"]["dutInfo"]["name"]}
        results.check("the same name has the same mask", len(names) == 1 and recorded[0]["reply"]["dutInfo"]["name"] not in names, names)
        run = subprocess.run([SCRIPT, "recording", "home", file], capture_output=True, text=True)
        results.check("a home is made of it", run.returncode == 0 and "not in it: Sec/maclist" in run.stderr and "not in it: wifi/ssid" not in run.stderr, run)
        home = first.folder / "made.json"
        home.write_text(run.stdout)
        home.chmod(0o644)
        first.stop(signal.SIGTERM)
        results.check("in which another router runs", second.start("--home", str(home), "--still") is not None, second.output())
        time.sleep(1)

        def replay():
            status, said = second.inside("replay", str(file))
            return status, said, [line for line in said.splitlines() if line.startswith("differs")]

        control_save(second)
        seen = look_until(lambda seen: not seen[2], lambda: control_restore(second) and replay(), pause=0.5, seconds=20)
        results.check("which gives the same replies", seen[0] == 0 and f"{count - 1} passed, 0 failed" in seen[1], seen[1])
        second.inside("flash", "set", "MIB_TIME_ZONE_INDEX", "0_1")
        status, said, differ = replay()
        results.check("and one that differs is told, with its place", status == 1 and "/timeZone/timeZoneIndex is " in said and differ, said)
        for wrong in (["replay"], ["replay", str(home)], ["recording", "home", str(home)], ["record", "x"], ["record", "--to", "ftp://x", "y"], ["recording"]):
            results.check(f"script/router {' '.join(pathlib.Path(word).name for word in wrong)} is a wrong call", second.inside(*wrong)[0] == 2)
        second.stop(signal.SIGTERM)
    finally:
        first.remove()
        second.remove()


def control_save(router):
    router.inside("snapshot", "save", "fresh")


def control_restore(router):
    return router.inside("snapshot", "restore", "fresh")[0] == 0
