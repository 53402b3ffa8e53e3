# SPDX-License-Identifier: MIT
"""An app's talk with one virtual router is recorded, and asked of another that has the home made of it."""

import contextlib
import http.client
import itertools
import json
import os
import pathlib
import re
import signal
import stat
import subprocess

import router as routers
from router import look_until

PROJECT = pathlib.Path(__file__).resolve().parents[2]
SCRIPT = PROJECT / "script/router"
OBJECTS = (
    "dutInfo wanInfo wanAdvance wanStatus wifi wifiAdvance wifiguest wifiAcc opMode timeZone lan lanStatus sys mesh meshStatus Sec netAcc "
    "urlfilter app qos"
).split()
LISTS = (
    {"Sec": {"macFiltering": 0, "addMaclist": [["a0b1c2d3e4f5", "Erna's tv", "08:00", "0111110"], ["a0b1c2d3e4f6", "radio"]]}},
    {"wifiAcc": {"mode": 0, "addMaclist": [["a0b1c2d3e4f7", "Erna's lamp"]]}},
    {"netAcc": {"enable": 0, "TimeControl": 1, "addlist": [{"mac": "a0b1c2d3e4f8", "name": "Erna's toy", "stime": "20:00:00", "etime": "21:30:00", "week": "1111111"}]}},
    {"urlfilter": {"enable": 1, "mode": 0, "addurl": "cleo-likes.example"}},
    {"urlfilter": {"enable": 1, "mode": 1, "addurl": "8.8.8.8"}},
    {"sys": {"schReboot": {"enable": 0, "time": "03:30:00", "week": "1000001"}}},
    {"qos": {"enable": 1, "ipRuleMod": {"Act": "add", "ip": "192.168.1.60-192.168.1.70", "ulimit": 100, "dlimit": 2000}}},
)
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

    def devices():
        listed = json.loads(router.ask(json.dumps({"action": "get", "lanStatus": {}, "sessionid": session}))[2])["lanStatus"]["devlist"]
        return {device["mac"]: (device["name"], device["conType"]) for device in listed}

    before = look_until(lambda seen: "tablet" in [name for name, _ in seen.values()], devices, pause=0.3)
    results.check("the devices have names", "tablet" in [name for name, _ in before.values()], before)
    for settings in LISTS:
        reply = router.ask(json.dumps({"action": "set", **settings, "sessionid": session}))[2]
        results.check(f"{next(iter(settings))} gets what it tells later", '"error":\t0' in reply, reply)
    after = look_until(lambda seen: seen == before, devices, pause=0.3)  # the Wi-Fi starts anew
    results.check("all devices are there again", after == before, (before, after))
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


def links_of(exchanges):
    """What the first reply tells of each device's link."""
    listed = next(exchange["reply"]["lanStatus"]["devlist"] for exchange in exchanges if "lanStatus" in exchange["request"])
    return {device["mac"]: (device["rssi"], device["dlink"], device["ulink"]) for device in listed}


def copied(results, build, replay, folder, count):
    """What the other router did is cases."""
    folders = (folder / str(number) for number in itertools.count())
    said = look_until(lambda seen: f"{count} cases are in " in seen, lambda: replay(next(folders)), pause=0.5)
    folder = max(folder.iterdir(), key=lambda path: int(path.name))
    results.check("cases are made of it", f"{count} cases are in {folder}" in said and len(list(folder.iterdir())) == count, said)
    tools = ["--binary", f"{build}/app.cgi", "--tools", f"{build}/tests/runner"]
    run = subprocess.run([PROJECT / "tests/run_cases", "--mode", "plain", *tools, "--cases", folder], capture_output=True, text=True)
    results.check("which pass", run.returncode == 0 and run.stdout.endswith(f"{count} passed, 0 failed\n"), run.stdout + run.stderr)
    lan = next(folder.glob("*lanStatus*")).read_text()
    results.check("that of the devices has the ARP list and the stations", '\narp = ["' in lan and '\nstations = { wlan0 = ["' in lan and "fill it in" not in lan, lan)
    results.check("nothing private is in them", not [word for path in folder.iterdir() for word in PRIVATE[:2] if word in path.read_text()])
    results.check("a folder that is there is none for cases", "File exists" in replay(folder))


def agent(number, stations, *children, **about):
    mac, address = f"024b549900{number:02x}", f"192.168.7.{number}"
    told = [{"station_mac": f"024b5498{place:04x}", "station_connected_band": band} for place, band in stations]
    return {"mac_address": mac, "ip_addr": address, "station_info": told, "child_devices": [*children], **about}


def mesh(results, folder):
    """A home has the agents that a router tells of, and at them whom they serve."""
    def device(number, kind, mac=None):
        return {"name": f"d{number}", "ip": f"192.168.7.{number}", "mac": (mac or f"024b5498{number:04x}").upper(), "conType": kind, "rssi": 40, "dlink": "", "ulink": "", "dspeed": 0, "uspeed": 0}

    def made(topology):
        replies = {"lan": {"ip": "192.168.7.1", "mask": "255.255.255.0"}, "meshStatus": {"topology": topology},
                   "lanStatus": {"devlist": [device(20, "5g"), device(21, "2g"), device(22, "5g"), device(23, "wired"), device(10, "agent", "024b5499000a"), device(11, "agent", "024b5499000b")]}}
        exchanges = [{"request": {"action": "get", name: {}}, "status": 200, "reply": {"action": "getRsp", "result": {"error": 0}, name: reply}} for name, reply in replies.items()]
        (folder / "mesh.json").write_text(json.dumps({"form": 1, "exchanges": exchanges}))
        run = subprocess.run([SCRIPT, "recording", "home", folder / "mesh.json"], capture_output=True, text=True)
        return json.loads(run.stdout), run.stderr

    attic = agent(10, [(21, "2g")], agent(11, [(22, "5g"), (23, "wired")], device_name="Cellar 2"), device_name="attic")
    home, said = made(agent(1, [(20, "5g")], attic))
    results.check("agents are in a home, each behind the one that it is at", home.get("agents") == [
        {"name": "attic", "mac": "02:4b:54:99:00:0a", "place": 10}, {"name": "cellar-2", "mac": "02:4b:54:99:00:0b", "place": 11, "via": "attic"}], home)
    at = {about["name"]: about["at"] for about in home["devices"]}
    results.check("and devices at the agents that serve them", at == {"d20": "wlan0", "d21": "attic/2g", "d22": "cellar-2/5g", "d23": "port2"}, at)
    results.check("the router is a controller then", home["store"].get("MIB_MESH_ROLE") == 1, home["store"])
    results.check("a name that no agent of a home can have is told", "that the agent cellar-2 is called Cellar 2" in said, said)
    for wrong in ("text", {**attic, "child_devices": [7]}, agent(1, [], {**attic, "ip_addr": "10.0.0.1"}), agent(1, [], {"mac_address": "024b5499000a"})):
        home, said = made(wrong)
        results.check("a topology that makes no sense is told, and makes no agents", "meshStatus/topology is not understood" in said and "agents" not in home, (wrong, said))


def tell(results, way, build):
    first, second = routers.Router(way, build), routers.Router(way, build)
    file = first.folder / "talk.json"
    try:
        mesh(results, first.folder)
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
        results.check("a home is made of it", run.returncode == 0 and "not in it: Sec/icmpflood" in run.stderr and "maclist" not in run.stderr and "schReboot" not in run.stderr and "the rates of" not in run.stderr and "not in it: wifi/ssid" not in run.stderr, run)
        home = first.folder / "made.json"
        home.write_text(run.stdout)
        home.chmod(0o644)
        first.stop(signal.SIGTERM)
        results.check("in which another router runs", second.start("--home", str(home), "--still") is not None, second.output())

        def shown():
            return links_of([{"request": {"lanStatus": {}}, "reply": json.loads(second.ask('{"action":"get","lanStatus":{}}', loopback=True)[2])}])

        wanted = links_of(recorded)

        def settle():
            return look_until(lambda links: links == wanted, shown, pause=0.5)

        def refresh():
            """What the router is at would go on behind the restore."""
            return look_until(bool, second.is_at_rest) and second.inside("snapshot", "restore", "fresh")[0] == 0 and settle() == wanted

        def replay(*options, before=("run", "true")):
            good = refresh()
            second.inside(*before)
            status, said = second.inside("replay", *options, str(file))
            said += "" if good else "\nit was not as it was before"
            return status, said, [line for line in said.splitlines() if line.startswith("differs")]

        links = settle()
        results.check("signals and rates of the stations are the recorded ones", links == wanted and any(link[1] for link in wanted.values()), (wanted, links))
        second.inside("snapshot", "save", "fresh")
        seen = look_until(lambda seen: not seen[2], replay, pause=0.5)
        results.check("which gives the same replies", seen[0] == 0 and f"{count - 1} passed, 0 failed" in seen[1], seen[1])
        copied(results, build, lambda folder: replay("--cases", str(folder))[1], first.folder / "cases", count - 1)
        status, said, differ = replay(before=("flash", "set", "MIB_TIME_ZONE_INDEX", "0_1"))
        results.check("and one that differs is told, with its place", status == 1 and "/timeZone/timeZoneIndex is " in said and differ, said)
        for wrong in (["replay"], ["replay", str(home)], ["recording", "home", str(home)], ["record", "x"], ["record", "--to", "ftp://x", "y"], ["recording"]):
            results.check(f"script/router {' '.join(pathlib.Path(word).name for word in wrong)} is a wrong call", second.inside(*wrong)[0] == 2)
        second.stop(signal.SIGTERM)
    finally:
        first.remove()
        second.remove()
