# SPDX-License-Identifier: MIT
"""Snapshots: what is saved comes back, all of it and nothing else; and what no snapshot is stays out."""

import io
import json
import os
import pathlib
import random
import tarfile
import time
import zipfile

import pages
from router import look_until

ROUNDS = 5
MOST_COMMANDS = 15
FILE = {"Content-Type": "application/octet-stream"}


def everything(router, control):
    """What can be seen of the router from outside and inside."""
    home = control.get("/api/home").json()
    for of_the_moment in ("clock", "step", "moving"):
        home.pop(of_the_moment)
    for device in home["devices"]:
        for of_the_moment in ("down", "up"):
            device.pop(of_the_moment)
    commands = {
        "store": "flash all", "committed": "flash settings", "network": "ifconfig -a | grep -v 'packets\\|bytes\\|collisions\\|HWaddr\\|inet6\\|Interrupt\\|Base'; route -n",
        "rules": "nft -s list ruleset 2>/dev/null | sort; tc -s class show dev br0 2>/dev/null | grep class",
        "files": "cd /; find var tmp flash outside -type f ! -path 'var/mib/*' ! -name '*.pid' ! -path 'var/run/at/*' ! -path outside/clock ! -name terminal_rate_info ! -path 'outside/stations/*' ! -path outside/leases"
        " ! -path flash/mib/commit.lock ! -path outside/wanspeed ! -path '*/port_status' | sort | xargs sha256sum",
        "resolver": "cat /etc/resolv.conf",
    }  # fmt: skip
    inside = {name: control.post("/api/run", {"command": ["sh", "-c", command]}).json()["output"] for name, command in commands.items()}
    return {"home": home, **inside}


def kept_outside(router):
    """What outlives the router, on the PC's disk."""
    flash = router.state / "flash"
    return {str(path.relative_to(flash)): path.read_bytes() for path in sorted(flash.rglob("*")) if path.is_file()}


def at_rest(router, control):
    """What is under way ends: what is seen twice is, when the system daemon has nothing to do."""
    def look():
        before, resting = everything(router, control), router.is_at_rest()
        return resting, before, everything(router, control)

    return look_until(lambda seen: seen[0] and seen[1] == seen[2], look, pause=0.3)[2]


def log_in(control):
    return control.post(pages.PHONE, pages.LOGIN).json()["info"]["sessionid"]


def ask(control, session, action, **objects):
    return control.post(pages.PHONE, {"action": action, "sessionid": session, **objects}).json()


def change_all(router, control, session):
    """Changes whatever can be changed, in the store, in force, in files, at home."""
    ask(control, session, "set", dutInfo={"name": "Other"}, timeZone={"timeZone": "GMT_000"})
    ask(control, session, "set", qos={"enable": 1, "list": []})
    run = "flash set WLAN0_SSID Other; flash commit; flash set MIB_LAN_IP_ADDR 192.168.77.1; initlan; leds disable; echo x > /tmp/planted; mkdir /tmp/deep; echo x > '/tmp/deep/a b';" \
        " rm -f /tmp/internet; ln -s / /var/link; nft flush ruleset; route del default; flash set MIB_DUT_NAME 'Again'; true"  # fmt: skip
    control.post("/api/run", {"command": ["sh", "-c", run]})
    for verb, words in (("roam", ["tablet", "away"]), ("add", ["visitor", "wlan1"]), ("wan", ["down"]), ("break", ["leases", "half"]), ("remove", ["printer"]), ("step", ["7"])):
        control.post(f"/api/home/{verb}", {"words": words})
    control.post("/api/clock/advance", {"words": ["3d"]})
    control.ask("DELETE", "/api/faults")
    control.post("/api/faults", {"faults": ["object=qos failed commit"]})
    return log_in(control)


def come_back(results, router, control):
    control.post("/api/home/still")
    session = log_in(control)
    ask(control, session, "set", wifi={"wifiSSID": "Saved", "wifiPwd": "saved password"})
    fault = "requests=7 delay=1000..2000 seed=5 get MIB_DUT_NAME"
    control.post("/api/faults", {"faults": [fault]})
    ask(control, session, "get", dutInfo={})
    armed = [{key: value for key, value in found.items() if key != "number"} for found in control.get("/api/faults").json()["faults"]]
    before = at_rest(router, control)
    outside = kept_outside(router)
    begun, first = time.monotonic(), control.get("/api/clock").json()["seconds"]
    answer = control.post("/api/snapshots/one")
    last = control.get("/api/clock").json()["seconds"]
    results.check("all is saved", answer.status == 200 and answer.json()["bytes"] < 1 << 20, answer)
    changes = control.get("/api/snapshots/one/diff").json()
    nothing = {"settings": {}, "committed": {}, "session": "same", "files": {}, "network": False, "rules": False}
    results.check("nothing has changed since then", changes["routers"] == {"router": nothing} and not changes["home"]["devices"], changes)
    other = change_all(router, control, session)
    at_rest(router, control)
    results.check("the session is another's", ask(control, session, "get", dutInfo={})["result"]["error"] == 6)
    tell_changes(results, control, begun)
    restored = time.monotonic()
    answer = control.post("/api/snapshots/one/restore")
    results.check("all is restored", answer.status == 200, answer)
    after = at_rest(router, control)
    for what in before:
        results.check(f"{what} is what it was", after[what] == before[what], {*str(before[what]).split("\n")} ^ {*str(after[what]).split("\n")})
    now = [{key: value for key, value in found.items() if key != "number"} for found in control.get("/api/faults").json()["faults"]]
    results.check("faults are armed as they were", now == armed and len(now) == 1 and now[0]["left"] == 6, (armed, now))
    control.ask("DELETE", "/api/faults")
    results.check("what outlives the router, too", kept_outside(router) == outside)
    results.check("the session is as it was", ask(control, session, "get", dutInfo={})["dutInfo"]["name"] == "Family")
    results.check("and the later one is not", ask(control, other, "get", dutInfo={})["result"]["error"] == 6)
    now = control.get("/api/clock").json()["seconds"]
    since = time.monotonic() - restored
    results.check("the clock goes on from then", first <= now <= last + since + 1, (first, last, now, since))
    same_future(results, control)
    control.post("/api/snapshots/one/restore")
    control.post("/api/reboot", {"wait": True})
    name = control.post("/api/run", {"command": ["flash", "get", "MIB_DUT_NAME"]}).json()["output"]
    results.check("after a reboot the store is what was committed then", name == "MIB_DUT_NAME=Family\n" and kept_outside(router) == outside, name)
    answer = control.post("/api/snapshots/one/restore")
    results.check("a router that has started anew takes it, too", answer.status == 200 and ask(control, session, "get", dutInfo={})["result"]["error"] == 0, answer)


def tell_changes(results, control, begun):
    changes = control.get("/api/snapshots/one/diff").json()
    since = time.monotonic() - begun
    router = changes["routers"]["router"]
    good = router["settings"]["MIB_DUT_NAME"] == ["Family", "Again"] and router["committed"]["MIB_DUT_NAME"] == ["Family", "Other"]
    results.check("a diff tells both copies of the store", good, router)
    good = router["files"]["tmp/planted"] == "new" and router["files"]["var/link"] == "new"
    results.check("and files", good, router["files"])
    results.check("and the session, the network and the rules", router["session"] == "another" and router["network"], router)
    home = changes["home"]
    good = home["devices"]["visitor"][0] is None and home["devices"]["printer"][1] is None and home["state"]["wan"] == [True, False]
    results.check("and the home", good and home["state"]["broken leases"] == [None, "half"], home)
    results.check("and the clock", 0 <= changes["clock"] - 3 * 86400 <= since + 1, (changes["clock"], since))
    control.post("/api/run", {"command": ["flash", "set", "WLAN1_WPA_PSK", "very secret"]})
    shown, whole = (control.get(f"/api/snapshots/one/diff{query}") for query in ("", "?secrets=true"))
    results.check("a key is hidden unless asked for", b"very secret" not in shown.body and b"very secret" in whole.body, shown.body)


def same_future(results, control):
    """What comes by chance is what would have come."""
    def way():
        control.post("/api/snapshots/one/restore")
        control.post("/api/home/step", {"words": ["40"]})
        home = control.get("/api/home").json()
        return [(device["name"], device["at"], device["signal"]) for device in home["devices"]]

    first = way()
    results.check("the home takes the same way each time", way() == first and len(first) > 5, first)


def fast(results, control):
    """How long a restore takes, beside a command of the router that does nothing."""
    def command():
        begun = time.monotonic()
        control.post("/api/run", {"command": ["true"]})
        return (time.monotonic() - begun) * 1000

    rounds = [(control.post("/api/snapshots/one/restore").json()["milliseconds"], command()) for _ in range(ROUNDS)]
    times, commands = (sorted(column) for column in zip(*rounds))
    print(f"a restore takes {times[0]} ms at best, {times[-1]} ms at worst; a command {commands[0]:.0f} to {commands[-1]:.0f} ms", flush=True)
    results.check(f"a restore takes no longer than {MOST_COMMANDS} commands", times[0] < MOST_COMMANDS * commands[0], rounds)


def while_asked(results, router, control):
    """Requests that come while all is restored wait, and are answered by the one or the other."""
    import concurrent.futures

    session = log_in(control)
    control.post("/api/snapshots/asked", {})

    def one(_):
        return router.ask(json.dumps({"action": "get", "dutInfo": {}, "sessionid": session}))

    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        asked = [pool.submit(one, number) for number in range(40)]
        restored = [control.post("/api/snapshots/asked/restore") for _ in range(3)]
        answers = [future.result() for future in asked]
    good = all(status == 200 and json.loads(text)["result"]["error"] == 0 for status, _, text in answers)
    results.check("requests go on while all is restored", good and all(answer.status == 200 for answer in restored), answers[:2])


def files(results, router, control):
    """A snapshot is one file, and comes from anywhere."""
    data = control.get("/api/snapshots/one/file").body
    answer = control.ask("PUT", "/api/snapshots/two/file", data, headers=FILE)
    listed = [found["name"] for found in control.get("/api/snapshots").json()]
    results.check("a snapshot is taken from its file", answer.status == 200 and {"one", "two"} <= {*listed}, listed)
    results.check("and is the same", control.get("/api/snapshots/one/diff?with=two").json()["routers"]["router"]["settings"] == {})
    results.check("another of that name is refused", control.ask("PUT", "/api/snapshots/two/file", data, headers=FILE).code() == "exists")
    results.check("unless it may take its place", control.ask("PUT", "/api/snapshots/two/file?replace=true", data, headers=FILE).status == 200)
    for name, wrong in damaged(data).items():
        answer = control.ask("PUT", "/api/snapshots/wrong/file", wrong, headers=FILE)
        results.check(f"{name} is no snapshot", answer.status == 400 and answer.code() == "snapshot", answer)
    for name, wrong, statuses in hostile(data):
        control.ask("PUT", "/api/snapshots/hostile/file?replace=true", wrong, headers=FILE)
        answer = control.post("/api/snapshots/hostile/restore")
        results.check(f"{name} does no harm", answer.status in statuses and control.get("/api/home").status == 200, answer)
        answer = control.get("/api/snapshots/hostile/diff")
        results.check(f"and is compared, or is not: {name}", answer.status in (200, 400), answer)
    escaped = [path for path in ("/tmp/escaped", "/escaped", "/tmp/control-escaped") if os.path.exists(path)]
    results.check("nothing of it came to the PC", not escaped, escaped)
    results.check("all is well again with one that is good", control.post("/api/snapshots/one/restore").status == 200)
    control.ask("DELETE", "/api/snapshots/two")
    results.check("a snapshot is removed", control.post("/api/snapshots/two/restore").status == 404)


def rebuilt(data, change):
    """The archive with parts that a function changes; one that it makes None is left out."""
    found = io.BytesIO()
    with zipfile.ZipFile(io.BytesIO(data)) as old, zipfile.ZipFile(found, "w", zipfile.ZIP_DEFLATED) as new:
        parts = {part.filename: old.read(part) for part in old.infolist()}
        for name, content in change(dict(parts)).items():
            new.writestr(name, content)
    return found.getvalue()


def damaged(data):
    generator = random.Random(1)
    return {
        "nothing": b"x", "half a file": data[: len(data) // 2], "noise": generator.randbytes(5000),
        "an archive without a description": rebuilt(data, lambda parts: {name: part for name, part in parts.items() if name != "about.json"}),
        "an archive of another form": rebuilt(data, lambda parts: {**parts, "about.json": b'{"form": 99}'}),
        "an archive with a way up": rebuilt(data, lambda parts: {**parts, "../../escaped": b"x"}),
        "an archive with a path": rebuilt(data, lambda parts: {**parts, "/tmp/escaped": b"x"}),
        "an archive with too many parts": rebuilt(data, lambda parts: {**parts, **{f"routers/agent{n}.tar": b"" for n in range(1, 10)}}),
        "an archive that unpacks without end": rebuilt(data, lambda parts: {**parts, "routers/router.tar": bytes(100 << 20)}),
        "a description without end": rebuilt(data, lambda parts: {**parts, "about.json": b"[" * 100000}),
    }  # fmt: skip


def tar(*entries):
    found = io.BytesIO()
    with tarfile.open(fileobj=found, mode="w") as archive:
        for name, kind, content in entries:
            entry = tarfile.TarInfo(name)
            entry.type = kind
            if kind == tarfile.REGTYPE:
                entry.size = len(content)
                archive.addfile(entry, io.BytesIO(content))
            else:
                entry.linkname = content.decode()
                archive.addfile(entry)
    return found.getvalue()


def hostile(data):
    """Archives with the form of snapshots that do harm if they can: name, archive, what a restore may say."""
    refused = (400, 409)
    link = tar(("tmp/out", tarfile.SYMTYPE, b"/"), ("tmp/out/tmp/escaped", tarfile.REGTYPE, b"x"), ("../../../../tmp/escaped", tarfile.REGTYPE, b"x"))
    yield "a part with ways out", rebuilt(data, lambda parts: {**parts, "routers/router.tar": link}), refused
    yield "a part that is none", rebuilt(data, lambda parts: {**parts, "routers/router.tar": b"no archive"}), refused
    yield "another router", rebuilt(data, lambda parts: {**{name: part for name, part in parts.items() if not name.startswith("routers/")}, "routers/agent1.tar": b""}), refused
    yield "no home", rebuilt(data, lambda parts: {name: part for name, part in parts.items() if name != "home.json"}), refused
    yield "a home that is none", rebuilt(data, lambda parts: {**parts, "home.json": b'{"form": 1}'}), refused
    yield "faults that are none", rebuilt(data, lambda parts: {**parts, "faults.json": b'[{"fault": "dance"}]'}), refused
    yield "a clock that is none", rebuilt(data, lambda parts: {**parts, "about.json": b'{"form": 1, "clock": {"shown": "x\\n", "up": 0, "rate": 1}}'}), refused


def names(results, router, control):
    """Names that lead elsewhere, and links in the state folder."""
    data = control.get("/api/snapshots/one/file").body
    for name in ("..", ".", ".hidden", "-x", "a%2fb", "%2e%2e", "a%00b", "x" * 65, "a b", "..%2f..%2fetc%2fpasswd", "", "one.snapshot%00"):
        for method, path, body in (("POST", f"/api/snapshots/{name}", b"{}"), ("GET", f"/api/snapshots/{name}/file", None), ("PUT", f"/api/snapshots/{name}/file", data), ("DELETE", f"/api/snapshots/{name}", None)):
            kind = FILE if method == "PUT" else {"Content-Type": "application/json"}
            answer = control.raw(control.head(*(f"{key}: {value}" for key, value in kind.items() if body), *([f"Content-Length: {len(body)}"] if body else []), first=f"{method} {path} HTTP/1.1") + (body or b""))
            results.check(f"{method} of a snapshot '{name[:20]}' is refused", answer[9:12] in (b"400", b"404", b"405"), answer[:300])
    folder = router.state / "snapshots"
    secret = router.folder / "secret"
    secret.write_bytes(data)
    (folder / "linked.snapshot").symlink_to(secret)
    os.mkfifo(folder / "pipe.snapshot")
    for name in ("linked", "pipe"):
        results.check(f"a snapshot that is a {name} is not read", control.get(f"/api/snapshots/{name}/file").status == 404)
        results.check(f"nor restored ({name})", control.post(f"/api/snapshots/{name}/restore").status == 404)
    before = secret.read_bytes()
    control.post("/api/snapshots/linked", {"replace": True})
    good = secret.read_bytes() == before and not (folder / "linked.snapshot").is_symlink()
    results.check("a link is replaced, and where it led is not written", good)
    (folder / "pipe.snapshot").unlink()
    mode = oct(folder.stat().st_mode & 0o777), oct((folder / "one.snapshot").stat().st_mode & 0o777)
    results.check("snapshots are their owner's alone", mode == ("0o700", "0o600"), mode)
    aside = router.folder / "aside"
    folder.rename(aside)
    folder.symlink_to(aside)
    results.check("a folder that is a link is not used", control.get("/api/snapshots").status == 409)
    folder.unlink()
    aside.rename(folder)


def words(results, router, control):
    """script/router has the same words."""
    for step in (["save", "words"], ["diff", "words"], ["restore", "words"], ["export", "words", str(router.folder / "w.snapshot")], ["import", str(router.folder / "w.snapshot"), "w2"], ["diff", "words", "w2"], ["remove", "words"], ["list"], [], ["help"]):
        status, said = router.inside("snapshot", *step)
        results.check(f"script/router snapshot {' '.join(pathlib.Path(word).name for word in step)}", status == 0 and (step[:1] != ["diff"] or "clock: " in said), said)
    results.check("which lists them", "w2 " in router.inside("snapshot")[1])
    for wrong in (["dance"], ["save"], ["restore"], ["save", "a", "b"], ["save", "x", "--secrets"]):
        results.check(f"script/router snapshot {' '.join(wrong)} is a wrong call", router.inside("snapshot", *wrong)[0] == 2)
    results.check("one that is not there is told", router.inside("snapshot", "restore", "nothing") == (1, "script/router: there is no snapshot nothing\n"))


def tell(results, router, control):
    come_back(results, router, control)
    fast(results, control)
    while_asked(results, router, control)
    files(results, router, control)
    names(results, router, control)
    words(results, router, control)
