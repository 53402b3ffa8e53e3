# SPDX-License-Identifier: MIT
"""What is told to the keeper by somebody in the router who lies, floods or falls silent; and what the journal keeps of it."""

import asyncio
import json
import select
import socket
import tempfile
import time
import types
import unittest.mock

import exchange as exchanges
import gate
import journal as journals
import tap as taps
from exchange import Exchange
from hiding import Hiding

ASKED = "time=1700000000000000 {}asked 192.168.1.100 POST /app/app.cgi\n"


def searched(results):
    journal = journals.Journal()

    def found(text, head=b"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n", reply=b'{"a":"Guest"}', told=b""):
        one = journal.begin("router", "phone")
        one.body.add(b'{"action":"get"}')
        one.reply.add(head + reply)
        one.told.add(told)
        return journals.Filter(text=text).admits({}, one)

    chunked = {"head": b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n", "reply": b'3\r\n{"a\r\na\r\n":"Guest"}\r\n0\r\n\r\n'}
    results.check("a text is found in the request and in the reply", found("action") and found("Guest"))
    results.check("and not in what is around them", not found("Content") and not found("POST") and not found("Nobody"))
    results.check("a reply in chunks is put together for that", found('"a":"Guest"', **chunked) and not found("chunked", **chunked))
    lost = {"head": b"", "reply": b"", "told": ASKED.format("").encode() + b"time=1700000000000001 reply lost\\n\n"}
    results.check("what never went over the wire is found, too", found("lost", **lost))


def attack(results):
    searched(results)
    asyncio.run(tell_lies(results))
    bounds(results)
    readings(results)
    secrets(results)
    head = gate.Gate(8080).admit(b"GET / HTTP/1.1\r\nHost: localhost:8080\r\nX-Keeper-Request: 1\r\nx_keeper.faults: 2\r\nX-Kept: 3\r\n\r\n").head
    results.check("a client cannot say what the keeper alone tells", b"eeper" not in head and b"X-Kept: 3" in head, head)


def any_readable(sockets):
    poll = select.poll()
    for each in sockets:
        poll.register(each, select.POLLIN)
    return bool(poll.poll(0))


async def tell_lies(results):
    journal = journals.Journal()
    loop = asyncio.get_running_loop()
    with tempfile.TemporaryDirectory() as folder:
        path = f"{folder}/tap"
        listener = socket.socket(socket.AF_UNIX)
        listener.bind(path)
        listener.listen(64)
        tap = taps.Tap(listener.detach(), "router", journal)

        def connect():
            connection = socket.socket(socket.AF_UNIX)
            connection.setblocking(False)
            connection.connect(path)
            return connection

        async def told(*lines):
            with connect() as connection:
                await loop.sock_sendall(connection, "".join(lines).encode())
            await heard()

        async def heard():
            """The tap has taken whatever was told by now."""
            while any_readable([tap.listener, *(talk.connection for talk in tap.talks)]):
                await asyncio.sleep(0)

        mine = journal.begin("router", "phone")
        word = journal.expect(mine)
        await told(ASKED.format(f"request={word} "), "time=1700000000000100 get 4230 50000000\n", "time=1700000000000200 exit 0\n")
        results.check("events belong to the request whose word they bear", [str(event) for _, event in mine.read().events][1] == "get MIB_APP_PORT 80", mine.read().events)
        await told(ASKED.format(f"request={word} "), "time=1 exit 9\n")
        results.check("a second process with the same word is another request", len(journal.exchanges) == 2 and mine.read().exit == ("0", None), journal.exchanges)
        other = journal.begin("agent1", "agent 1")
        await told(ASKED.format(f"request={journal.expect(other)} "), "time=1 exit 0\n")
        results.check("a word of another router's request is worth nothing", other.told_to_end is None)
        await told(ASKED.format("request=0123456789abcdef "), "time=1 exit 0\n")
        results.check("nor is an invented one", journal.exchanges[journal.last].port is None)

        await told(ASKED.format(""), "time=x exit 0\n", "nonsense\n", "time=1 set\n", "time=1 set 4230 zz\n", "time=1 queue 10 payload=0\n", "time=1 queue x y\n",
                   "\n", "\x1b[2J\n", "time=" + "9" * 5000 + " exit 0\n", "time=1 get 99999 00\n", "time=1 exit 1\n")  # fmt: skip
        found = journal.exchanges[journal.last].read()
        whole = found.whole()
        results.check("lines that are no events are shown as such", len(whole["refused_lines"]) >= 7 and found.exit == ("1", None), whole)
        results.check("and none of them reaches a terminal as it is", "\x1b" not in json.dumps(whole, ensure_ascii=False), whole)

        before = len(journal.exchanges)
        await told("no event at all, and never a line feed" * 200)
        results.check("who says nothing to the point is not noted", len(journal.exchanges) == before, len(journal.exchanges))

        with connect() as connection:
            await loop.sock_sendall(connection, ASKED.format("").encode())
            sent = 0
            try:
                while sent < 8 << 20:
                    await asyncio.wait_for(loop.sock_sendall(connection, b"time=1 output " + b"x" * 65000 + b"\n"), 5)
                    sent += 65000
                    await asyncio.sleep(0)
            except OSError:
                pass
        kept = journal.exchanges[journal.last]
        results.check("who tells without end is cut off", sent < 4 << 20 and len(kept.told.data) <= exchanges.MOST_BYTES and kept.over, sent)

        journal.clear()
        held = []
        moment = time.monotonic() + 1
        with unittest.mock.patch.object(taps, "time", types.SimpleNamespace(monotonic=lambda: moment)):  # all in one moment, however long it takes
            for _ in range(900):
                try:
                    held.append(connect())
                    held[-1].send(ASKED.format("").encode())
                except OSError:
                    pass
                await asyncio.sleep(0)
            await heard()
        results.check("connections are bounded", 0 < len(tap.talks) <= taps.MOST_CONNECTIONS, len(tap.talks))
        results.check("and so are requests that came by no port", len(journal.exchanges) == taps.MOST_UNASKED, len(journal.exchanges))
        for connection in held:
            connection.close()
        tap.close()
        results.check("all are over when the router is off", not tap.talks and all(each.over for each in journal.exchanges.values()))


def bounds(results):
    journal = journals.Journal(most_requests=100, most_bytes=1 << 20)
    for _ in range(250):
        journal.end(journal.begin("router", "phone"))
    results.check("the journal keeps the last requests", [*journal.exchanges] == [*range(151, 251)] and journal.gone == 150, journal.gone)
    big = journal.begin("router", "phone")
    for _ in range(20):
        big.body.add(bytes(100_000))
        journal.count(big)
    results.check("and bounds their bytes", journal.bytes <= (1 << 20) + exchanges.MOST_BYTES and len(journal.exchanges) < 100, journal.bytes)
    results.check("of each, too", len(big.body.data) == exchanges.MOST_BYTES and big.body.size == 2_000_000)
    for _ in range(120):
        journal.end(journal.begin("router", "phone"))
    results.check("what is counted is what is there", journal.bytes == sum(each.counted for each in journal.exchanges.values()), journal.bytes)
    journal.clear()
    results.check("cleared, it is empty, and numbers go on", not journal.exchanges and journal.begin("router", None).number == 372)


def reading(body=b"", reply=b"", told="", port="phone"):
    found = Exchange(1, "router", port, 1700000000000000)
    found.body.add(body)
    found.reply.add(b"HTTP/1.1 200 OK\r\n\r\n" + reply)
    found.told.add(told.encode())
    found.told_to_end = bool(told) or None
    found.ended = found.began + 5000
    return found.read()


def readings(results):
    for what, found, wanted in (
        ("an error and its message", reading(b'{"action":"get"}', b'{"result":{"error":-1,"msg":"ERROR: x"}}'), "error -1: ERROR: x"),
        ("a crash", reading(b"{}", b"", ASKED.format("") + "time=1 failed=11 exit\n"), "app.cgi ended by signal 11"),
        ("one that was killed", reading(b"{}", b"", ASKED.format("")), "app.cgi was killed, or told no more"),
        ("a deep body", reading(b"[" * 100000, b""), "no reply"),
        ("a reply that is no object", reading(b"{}", b"[1]"), "no JSON"),
        ("strange types", reading(b'{"action":["get"],"wifi":1}', b'{"result":{"error":[],"msg":{}}}'), "ok"),
    ):
        results.check(f"the verdict of {what}", found.verdict == wanted and found.whole(), found.verdict)
    chunked = b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\n{\"a\r\n4;x\r\n\":1}\r\n0\r\n\r\n"
    found = Exchange(1, "router", "phone", 0)
    found.reply.add(chunked)
    results.check("a reply in chunks is put together", found.read().reply == {"a": 1}, found.read().reply_body)


def secrets(results):
    told = (
        ASKED.format("") + "time=1 debug login:7:user=admin,pwd=topsecret\n" + "time=1 get 183 746f70736563726574\n" + "time=1 was=6f6c64736563726574 set 30@0.0 6e6577736563726574\n"
        + "time=1 debug again: topsecret and newsecret and oldsecret\ntime=1 debug id=Us0123456789abcdef0123456789abcdef\n"
    )  # fmt: skip
    body = b'{"action":"login","info":{"user":"topsecret","pwd" :  "topsecret"},"Wifi":{"WifiPwd":"new\\"s"},"sessionid":"Us0123456789abcdef0123456789abcdef"}'
    found = reading(body, b'{"wifiPwd5":"another","pwd":null}', told)
    hidden = json.dumps(found.whole())
    leaked = [word for word in ("oldsecret", "newsecret", "6e6577", "Us0123", "another", "pwd=top", 'new\\\\', "again: topsecret") if word in hidden]
    results.check("passwords, keys and session ids are hidden", not leaked, (leaked, hidden))
    results.check("but not the account, though it is the same text", '\\"user\\":\\"topsecret\\"' in hidden, hidden)
    shown = json.dumps(found.whole(secrets=True))
    results.check("and shown to who asks for them", all(word in shown for word in ("oldsecret", "newsecret", "Us0123456789", "another")), shown)
    hiding = Hiding()
    hiding.learn("a")
    results.check("a text of one character is not hidden everywhere", hiding.hide_all("banana") == "banana")
    half = b'{"action":"login","info":{"user":"u","pwd":"halfsecret'
    results.check("of half a request, too", "halfsecret" not in json.dumps(reading(half, b"").whole()), reading(half, b"").whole())
