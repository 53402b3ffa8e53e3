# SPDX-License-Identifier: MIT
"""The journal: what the last requests were and did. It is kept in the keeper, so that it outlives a reboot of the router, and is
bounded in requests and in bytes; what has gone is counted."""

import asyncio
import collections
import secrets
import time

from exchange import Exchange

MOST_REQUESTS = 10_000
MOST_BYTES = 64 << 20
AT_ONCE = 20  # that are read before others come to their turn
MOST_WAITING = 1000  # lines that a follower has not taken yet


class Journal:
    def __init__(self, most_requests=MOST_REQUESTS, most_bytes=MOST_BYTES):
        self.most_requests = most_requests
        self.most_bytes = most_bytes
        self.exchanges = collections.OrderedDict()  # number -> Exchange
        self.bytes = 0
        self.last = 0
        self.gone = 0  # older ones, for want of room
        self.expected = {}  # word of a request that a port has passed on -> Exchange
        self.followers = set()
        self.taps = {}  # guest -> Tap

    # --- who writes it ---

    def begin(self, router, port):
        self.last += 1
        exchange = self.exchanges[self.last] = Exchange(self.last, router, port, now())
        exchange.counted = 0
        self.count(exchange)
        return exchange

    def expect(self, exchange):
        """A word by which app.cgi says that it is this one that it serves. Nobody else in the router can know it beforehand."""
        word = secrets.token_hex(8)
        self.expected[word] = exchange
        exchange.word = word
        return word

    def claim(self, word, router):
        """The exchange that somebody in a router says to serve; None: there is none, or it is served already."""
        exchange = self.expected.get(word)
        if exchange is None or exchange.router != router:
            return None
        return self.expected.pop(word)

    def count(self, exchange):
        """It has grown."""
        if exchange.number not in self.exchanges:
            return
        self.bytes += exchange.size - exchange.counted
        exchange.counted = exchange.size
        while len(self.exchanges) > self.most_requests or (self.bytes > self.most_bytes and len(self.exchanges) > 1):
            _, oldest = self.exchanges.popitem(last=False)
            self.bytes -= oldest.counted
            self.gone += 1

    def end(self, exchange):
        """The port is done with it, or app.cgi is; it is over when both are."""
        if exchange.told_to_end is None and exchange.router in self.taps:
            self.taps[exchange.router].catch_up()  # app.cgi has been there, and perhaps has not been heard
        if exchange.ended is None or exchange.told_to_end:
            exchange.ended = max(exchange.ended or 0, now())
        if exchange.port and not exchange.told_to_end:
            self.expected.pop(getattr(exchange, "word", None), None)
        if exchange.over:
            self.tell(exchange)

    # --- who reads it ---

    def tell(self, exchange):
        exchange.changed()
        for follower in list(self.followers):
            follower.put(exchange)

    def clear(self):
        self.exchanges.clear()
        self.bytes = 0
        self.gone = 0

    def find(self, number):
        """Raises KeyError."""
        return self.exchanges[number]

    async def chosen(self, wanted, last=None):
        """The lines of those that are wanted, oldest first. `wanted` is a Filter. Others come to their turn meanwhile."""
        found = []
        for looked_at, exchange in enumerate(list(reversed(self.exchanges.values())), 1):
            if looked_at % AT_ONCE == 0:
                await asyncio.sleep(0)
            line = exchange.line()
            if wanted.admits(line, exchange):
                found.append(line)
                if last is not None and len(found) == last:
                    break
        return found[::-1]

    def follow(self):
        return Follower(self)


class Follower:
    """Gets each request when it is over. Whoever takes them too slowly loses the oldest, and is told how many."""

    def __init__(self, journal):
        self.journal = journal
        self.waiting = collections.deque()
        self.lost = 0
        self.ready = asyncio.Event()

    def __enter__(self):
        self.journal.followers.add(self)
        return self

    def __exit__(self, *_):
        self.journal.followers.discard(self)

    def put(self, exchange):
        if len(self.waiting) >= MOST_WAITING:
            self.waiting.popleft()
            self.lost += 1
        self.waiting.append(exchange)
        self.ready.set()

    async def take(self):
        """(how many were lost before it, an exchange)."""
        while not self.waiting:
            self.ready.clear()
            await self.ready.wait()
        lost, self.lost = self.lost, 0
        return lost, self.waiting.popleft()


class Filter:
    """Which requests somebody wants to see; without a condition all of them."""

    CONDITIONS = {
        "phone": "of the phone with this number",
        "action": "with this action",
        "object": "that name this object",
        "since": "behind the one with this number",
        "text": "in whose request or reply this text is",
        "failed": "that were answered with an error, or not",
    }

    def __init__(self, **conditions):
        self.conditions = {name: value for name, value in conditions.items() if value not in (None, False)}
        unknown = self.conditions.keys() - self.CONDITIONS.keys()
        if unknown:
            raise ValueError(f"a journal is not searched by {unknown.pop()}")

    def admits(self, line, exchange):
        return all(getattr(self, "is_" + name)(value, line, exchange) for name, value in self.conditions.items())

    def is_phone(self, value, line, _):
        return line["port"] in ((f"phone {value}", "phone") if int(value) == 1 else (f"phone {value}",))

    def is_action(self, value, line, _):
        return (line["action"] or "").lower() == value.lower()

    def is_object(self, value, line, _):
        return value.lower() in [name.lower() for name in line["objects"]]

    def is_since(self, value, line, _):
        return line["number"] > int(value)

    def is_text(self, value, _, exchange):
        text = value.encode()
        if text in exchange.body.data:
            return True
        if exchange.has_plain_reply:
            return text in exchange.reply.data.partition(b"\r\n\r\n")[2]
        reading = exchange.read()  # which takes its time
        return text in reading.request_body or text in reading.reply_body

    def is_failed(self, _, line, __):
        return line["verdict"] not in ("ok", "under way")


def now():
    return time.time_ns() // 1000
