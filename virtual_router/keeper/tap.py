# SPDX-License-Identifier: MIT
"""Hears what app.cgi's tap tells (virtual_router/tap), at the socket /dev/tap of a router. A connection is a process; each line is an
event of virtual_router/vocabulary/events.conf.

Whoever is in the router can say anything here, and as much as it likes. So connections, their bytes, and how many requests of
nobody's port are noted in a second are bounded; nothing is understood before somebody asks for it.
"""

import asyncio
import re
import socket
import time

from exchange import MOST_BYTES

MOST_CONNECTIONS = 512  # app.cgi at a time
MOST_ACCEPTED = 32  # at once, before others come to their turn
CHUNK = 1 << 18
MOST_FIRST_LINE = 4096
MOST_UNASKED = 200  # requests a second that came by no port
_WORD = re.compile(rb"(?:[a-z]+=\S+ )*?request=([0-9a-f]{16}) ")


class Tap:
    def __init__(self, fd, router, journal, deeds=None):
        self.listener = socket.socket(fileno=fd)
        self.listener.setblocking(False)
        self.router = router  # its guest's name
        self.journal = journal
        self.deeds = deeds
        self.talks = set()
        self.unasked = MOST_UNASKED
        self.filled = time.monotonic()
        self.loop = asyncio.get_running_loop()
        self.loop.add_reader(self.listener.fileno(), self.accept)
        journal.taps[router] = self

    def catch_up(self):
        """Hears the beginning of what has been told by now."""
        self.accept()
        for talk in list(self.talks):
            if talk.exchange is None:
                talk.hear()

    def close(self):
        """What has been told by now is heard first."""
        self.loop.remove_reader(self.listener.fileno())
        self.accept()
        self.listener.close()
        self.journal.taps.pop(self.router, None)
        for talk in list(self.talks):
            for _ in range(MOST_BYTES // CHUNK):
                talk.hear()
            talk.end()

    def accept(self):
        for _ in range(MOST_ACCEPTED):
            try:
                connection, _ = self.listener.accept()
            except OSError:
                return
            if len(self.talks) >= MOST_CONNECTIONS:
                connection.close()
                continue
            self.talks.add(Talk(self, connection))

    def may_begin(self):
        """Whether one more request that came by no port is noted."""
        moment = time.monotonic()
        self.unasked = min(MOST_UNASKED, self.unasked + (moment - self.filled) * MOST_UNASKED)
        self.filled = moment
        if self.unasked < 1:
            return False
        self.unasked -= 1
        return True


class Talk:
    def __init__(self, tap, connection):
        self.tap = tap
        self.connection = connection
        connection.setblocking(False)
        self.exchange = None
        self.first = b""
        self.heard = 0
        self.expected = 0  # of the records that it has put into the queue
        tap.loop.add_reader(connection.fileno(), self.hear)

    def hear(self):
        if self.connection.fileno() < 0:
            return
        try:
            data = self.connection.recv(CHUNK)
        except BlockingIOError:
            return
        except OSError:
            data = b""
        self.heard += len(data)
        if data:
            self.take(data)
        if not data or self.heard > MOST_BYTES:
            self.end()

    def take(self, data):
        if self.exchange is None:
            self.first += data
            if b"\n" not in self.first:
                if len(self.first) > MOST_FIRST_LINE:
                    self.end()
                return
            data = self.first
            if not self.begin():
                self.end()
                return
        self.exchange.told.add(data)
        self.tap.journal.count(self.exchange)
        if b" queue " in data:
            self.expect_deeds()  # the daemon may be done before app.cgi has ended

    def begin(self):
        match = _WORD.match(self.first)
        journal = self.tap.journal
        self.exchange = journal.claim(match[1].decode(), self.tap.router) if match else None
        if self.exchange is None:
            if not self.tap.may_begin():
                return False
            self.exchange = journal.begin(self.tap.router, None)
        self.exchange.told_to_end = False
        return True

    def expect_deeds(self):
        if self.tap.deeds:
            records = self.exchange.records()
            self.tap.deeds.expect(self.exchange, records[self.expected :])
            self.expected = len(records)

    def end(self):
        if self not in self.tap.talks:
            return
        self.tap.talks.discard(self)
        self.tap.loop.remove_reader(self.connection.fileno())
        self.connection.close()
        if self.exchange is not None:
            self.exchange.told_to_end = True
            self.expect_deeds()
            exchange = self.exchange
            if exchange.port is None or exchange.ended is not None:
                self.tap.journal.end(exchange)
