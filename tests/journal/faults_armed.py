# SPDX-License-Identifier: MIT
"""Faults as they are armed, counted and drawn; without a router."""

import asyncio

import faults
import ports


def refused(line):
    try:
        faults.Faults(lambda _: None, lambda: None).add(line)
    except faults.Refused as error:
        return str(error)
    return None


def arm(results):
    for line, why in (
        ("", "no such call"), ("nonsense", "no such call"), ("set MIB_NOT_THERE", "no item"), ("set MIB_APP_PORT more", "one item"), ("failed=x set", "a number"),
        ("msgsnd", "an error's name"), ("failed=EWHAT msgsnd", "an error's name"), ("commit MIB_APP_PORT", "no item"), ("content", "a file"),
        ("failed=melted content /x", "one of cut|noise"), ("failed=cut reply", "one of"), ("failed=cut:x reply", "one of"), ("failed=slowly router", "one of"),
        ("requests=0 commit", "from 1 on"), ("phone=x commit", "from 1 on"), ("delay=x commit", "delay is"), ("delay=9..3 commit", "delay is"),
        ("delay=700000000 commit", "nothing waits"), ("failed=EIO malloc", "does not let malloc fail"), ("failed=off action=get router", "for everybody"),
        ("count=1 reply", "requests=N"), ("action=a;b commit", "characters"), ("run a;b", "characters"), ("failed=ENOENT open /" + "x" * 80, "too long"),
        ("requests=1 requests=2 commit", "no such call"), ("from=2 count=1", "no such call"), ("action=\x1b[2J commit", "characters"),
    ):  # fmt: skip
        got = refused(line)
        results.check(f"{line[:40]!r} is refused", got and why in got, got)
    for line in ("set", "set MIB_WLAN_SSID@0.1", "failed=ENOSPC count=2 from=3 write", "failed=short read", "delay=5 msgsnd", "delay=1..9 seed=3 reply", "failed=404 reply"):
        results.check(f"{line!r} is armed", refused(line) is None, refused(line))

    said, changes = [], []
    found = faults.Faults(said.append, lambda: changes.append(1))
    found.add("requests=2 action=set object=wifi phone=2 failed commit")
    found.add("connect")
    meets = [bool(found.choose(*request).how(faults.CONNECT)) for request in ((1, "get", []), (None, None, []))]
    results.check("a fault without conditions befalls every request", meets == [True, True], meets)
    found.clear(2)
    chosen = [bool(found.choose(*request).faults) for request in ((1, "set", ["wifi"]), (2, "get", ["wifi"]), (2, "set", ["lan"]), (2, "SET", ["a", "WiFi"]), (2, "set", ["wifi"]), (2, "set", ["wifi"]))]
    results.check("conditions choose, and requests are counted", chosen == [False, False, False, True, True, False] and not found.armed, chosen)
    results.check("what is armed, spent and over is told", any("FAULTS ARE ARMED" in line for line in said) and said[-1] == "faults: none is armed any more" and len(changes) == 4, said)

    def drawn(seed):
        found = faults.Faults(lambda _: None, lambda: None)
        found.add(f"delay=1000..9000000 seed={seed} reply")
        return [found.choose(1, None, []).seconds[faults.REPLY] for _ in range(20)]

    results.check("what is drawn is the same again from the same seed", drawn(7) == drawn(7) != drawn(8) and len(set(drawn(7))) > 15 and all(0.001 <= late <= 9 for late in drawn(7)), drawn(7))
    found = faults.Faults(lambda _: None, lambda: None)
    for line in ("requests=1 failed=EAGAIN from=2 msgsnd", "object=x set MIB_WLAN_SSID@0.1", "seed=5 failed=noise content /tmp/x", "failed=none reply"):
        found.add(line)
    told = found.choose(1, "set", ["x"]).tap_lines
    results.check("app.cgi's tap is told numbers, and no conditions", told == ["failed=11 from=2 msgsnd", "set 1@0.1", "seed=5 failed=noise content /tmp/x"], told)
    for _ in range(20):
        last = refused("commit") if len(found.armed) < faults.MOST_FAULTS else None
        try:
            found.add("commit")
        except faults.Refused as error:
            last = str(error)
    results.check("faults are bounded", len(found.armed) == faults.MOST_FAULTS and "no more than" in last, last)

    found = faults.Faults(lambda _: None, lambda: None, resident=True)
    found.add("commit")
    try:
        last = found.add("init")
    except faults.Refused as error:
        last = str(error)
    results.check("where app.scgi serves requests, the store is open before them", "is past init" in str(last), last)

    async def spoil(how, pieces):
        found = faults.Faults(lambda _: None, lambda: None)
        found.add(f"failed={how} reply")
        spoilt = ports.Spoilt(found.choose(1, None, []))
        return b"".join([await spoilt.make_of(piece) for piece in pieces])

    reply = b"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n0123456789"
    for size in (1, 7, len(reply)):
        pieces = [reply[at : at + size] for at in range(0, len(reply), size)]
        cut = asyncio.run(spoil("cut:4", pieces))
        garbage = asyncio.run(spoil("garbage", pieces))
        results.check(f"a reply in pieces of {size} bytes is cut behind its body's fourth byte", cut == reply[:-6], cut)
        results.check(f"and garbage has the right head and length in pieces of {size}", garbage[:-10] == reply[:-10] and len(garbage) == len(reply) and garbage != reply, garbage)
        results.check(f"and is lost in pieces of {size}", asyncio.run(spoil("none", pieces)) == b"")
    for body, wanted in ((b"[[[" * 100000, (None, [])), (b'{"action":{}}', (None, ["action"])), (b'{"ACTION":"set","a":1}', ("set", ["ACTION", "a"])), (b"\xff", (None, []))):
        results.check(f"what {body[:20]!r} asks for", ports.asked_for(body) == wanted, ports.asked_for(body))
