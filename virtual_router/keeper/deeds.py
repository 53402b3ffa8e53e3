# SPDX-License-Identifier: MIT
"""What the system daemon does: a line for each record of its queue and for each time of its timetable, and behind it, further in, what
the commands print that it runs for that. The journal has it with the request that asked for it; on a terminal it is folded.

It comes out of the router, so it is bounded, and no more than text.
"""

import asyncio
import collections
import sys
import time

TITLE = "daemon: "
BELOW = "daemon:   "
MOST_LINES = 500  # of a deed
MOST_WAITING = 64  # deeds of which no request is known yet, and records of which no deed is
SHORT = 3  # lines that are not worth folding
MOST_NEW = 3  # lines that a fold tells
QUIET_SECONDS = 1.5  # after which a deed is taken for done
EARLY = 100_000  # microseconds by which a deed may seem to begin before the request tells of its record


class Deed:
    def __init__(self, title):
        self.title = title  # such as "queue MSG_APP_REINIT"
        self.began = time.time_ns() // 1000
        self.lines = []
        self.untold = 0
        self.exchange = None  # the request that asked for it

    def add(self, line):
        if len(self.lines) < MOST_LINES:
            self.lines.append(sys.intern(line))  # one restart prints what the last one did
        else:
            self.untold += 1

    @property
    def size(self):
        return sum(map(len, self.lines))


class Deeds:
    """Of one router. Its daemon's lines go to hear(); `say` prints one."""

    def __init__(self, say, folds=False, journal=None):
        self.say = say
        self.folds = folds
        self.journal = journal
        self.deed = None
        self.held = []  # lines of it that are still to be folded
        self.last = {}  # first line of a deed -> lines of the last one that began with it
        self.timer = None
        self.unasked = collections.deque(maxlen=MOST_WAITING)
        self.unmet = collections.deque(maxlen=MOST_WAITING)  # (microseconds since 1970, title, exchange)

    def hear(self, line):
        if line.startswith(BELOW) and self.deed:
            self.deed.add(line.removeprefix(BELOW))
            if self.folds:
                self.hold(line)
                return
        elif line.startswith(TITLE):
            self.end()
            self.begin(Deed(line.removeprefix(TITLE)))
        self.say(line)

    def begin(self, deed):
        self.deed = deed
        for record in self.unmet:
            if self.is_of(deed, *record):
                self.unmet.remove(record)
                return
        self.unasked.append(deed)

    def expect(self, exchange, records):
        """A request is over that has put these records into the queue: (microseconds since 1970, title). It gives them back in their order."""
        for record in records:
            found = next((deed for deed in self.unasked if self.is_of(deed, *record, exchange)), None)
            if found:
                self.unasked.remove(found)
            else:
                self.unmet.append((*record, exchange))

    @staticmethod
    def is_of(deed, moment, title, exchange):
        if deed.title != title or deed.began < moment - EARLY:
            return False
        deed.exchange = exchange
        exchange.deeds.append(deed)
        return True

    @property
    def silent(self):
        """Whether a deed has begun of which nothing is known yet but its title."""
        return self.deed is not None and not self.deed.lines

    def end(self):
        """The deed is done, or has been quiet for a while."""
        if self.timer:
            self.timer.cancel()
            self.timer = None
        self.tell_held()
        if self.deed and self.deed.exchange and self.journal:
            self.journal.count(self.deed.exchange)

    def forget(self):
        """The router is off, and with it its queue."""
        self.end()
        self.deed = None
        self.unasked.clear()
        self.unmet.clear()

    # --- folding ---

    def hold(self, line):
        self.held.append(line)
        if self.timer:
            self.timer.cancel()
        self.timer = asyncio.get_running_loop().call_later(QUIET_SECONDS, self.end)

    def tell_held(self):
        held, self.held = self.held, []
        if len(held) <= SHORT:
            for line in held:
                self.say(line)
        else:
            self.say(self.folded(held))
            for line in held:
                if line.endswith(" failed)"):
                    self.say(line)
        if held:
            self.last[held[0]] = {*held}
            while len(self.last) > MOST_WAITING:
                del self.last[next(iter(self.last))]

    def folded(self, held):
        last = self.last.get(held[0])
        new = [line.removeprefix(BELOW) for line in held if last is not None and line not in last]
        what = "" if last is None else ", as the last time" if not new else f", {len(new)} of them new"
        if 0 < len(new) <= MOST_NEW:
            what += f": {', '.join(new)}"
        exchange = self.deed.exchange
        where = f"script/router journal {exchange.number} shows them" if exchange else "--all-lines shows them"
        return f"{BELOW}{len(held)} lines{what} ({where})"
