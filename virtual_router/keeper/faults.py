# SPDX-License-Identifier: MIT
"""Faults that are armed while the router runs, in the words of virtual_router/vocabulary/faults.conf: which there are, and which befall
a request. What the endpoint is to meet, its tap is told (virtual_router/tap); the rest is done at the port and by the keeper."""

import errno
import random
from typing import NamedTuple

import speech

MOST_FAULTS = 16
# What the tap of the endpoint lets fail.
OF_TAP = speech.vocabulary.words(
    "init", "get", "set", "entry", "add", "delete", "delete-all", "commit", "save", "msgget", "msgsnd", "open", "read", "write", "rename",
    "popen", "system", "content", "run", "cut-power", known=speech.vocabulary.CALLS,
)  # fmt: skip
AHEAD = speech.vocabulary.words("init", known=speech.vocabulary.CALLS)  # of app.scgi, before there is a request
CONNECT, REPLY, SESSION, ROUTER = speech.vocabulary.words("connect", "reply", "session", "router", known=speech.vocabulary.CALLS)
OF_PORT = (CONNECT, REPLY, SESSION)
HOW, LATE = speech.vocabulary.words("failed", "delay", known=speech.vocabulary.FAULT_MARKS)
CONDITIONS = speech.vocabulary.CONDITIONS
MOST_DELAY = 600_000_000  # microseconds


class Refused(Exception):
    """A fault cannot be armed; the text says why."""


class Armed:
    def __init__(self, number, line):
        self.number = number
        try:
            self.fault = speech.vocabulary.parse_fault(line, armed=True)
        except (speech.vocabulary.VocabularyError, ValueError) as error:
            raise Refused(str(error)) from None
        self.marks = self.fault.marks
        self.call = self.fault.call
        self.check()
        self.line = str(self.fault)
        self.left = int(self.marks["requests"]) if "requests" in self.marks else None
        self.struck = 0  # requests that it was chosen for
        self.chance = random.Random(int(self.marks.get("seed", 1)))

    def check(self):
        if self.call not in (*OF_TAP, *OF_PORT, ROUTER):
            raise Refused(f"a virtual router does not let {self.call} fail")
        if self.call == ROUTER and self.marks.keys() & {*CONDITIONS, LATE}:
            raise Refused("the router is off for everybody, at once")
        if self.call in (*OF_PORT, ROUTER) and self.marks.keys() & {"from", "count"}:
            raise Refused(f"{self.call} is no call that is made several times in a request; requests=N counts requests")
        if any(not speech.is_word(value) or ";" in value for value in (*self.marks.values(), self.fault.item) if value):
            raise Refused("a word of the fault has characters that none has")
        if self.latest > MOST_DELAY:
            raise Refused(f"nothing waits for longer than {MOST_DELAY} microseconds")
        item = self.fault.item.partition("@")[0]
        if item and speech.vocabulary.CALLS[self.call][0] == "ITEM" and speech.item_of(item) is None:
            raise Refused(f"the store has no item {item}")
        if len(self.fault.item) > 63:
            raise Refused("that name is too long")

    @property
    def latest(self):
        return max((int(part) for part in self.marks.get(LATE, "0").split("..")), default=0)

    @property
    def how(self):
        """How it fails; None: it is only late."""
        if HOW not in self.marks:
            return None if LATE in self.marks else speech.vocabulary.CALLS[self.call][1].partition("|")[0]
        return self.marks[HOW] or speech.vocabulary.CALLS[self.call][1].partition("|")[0]

    @property
    def is_everybodys(self):
        """Without a condition that only a request's content can answer."""
        return not self.marks.keys() & {"requests", "action", "object"}

    def is_of(self, phone):
        return "phone" not in self.marks or phone == int(self.marks["phone"])

    def means(self, phone, action, objects):
        wanted_action, wanted_object = self.marks.get("action"), self.marks.get("object")
        return (
            self.left != 0
            and self.is_of(phone)
            and (wanted_action is None or (action or "").lower() == wanted_action.lower())
            and (wanted_object is None or wanted_object.lower() in [name.lower() for name in objects])
        )

    def draw_delay(self):
        """Microseconds, for one request."""
        least, _, most = self.marks.get(LATE, "0").partition("..")
        return self.chance.randint(int(least), int(most)) if most else int(least)

    def for_tap(self):
        """As the tap reads it: numbers for names, a delay that is drawn."""
        marks = {name: value for name, value in self.marks.items() if name not in CONDITIONS or name == "seed"}
        if LATE in marks:
            marks[LATE] = str(self.draw_delay() or 1)
        if speech.vocabulary.CALLS[self.call][1] == "ERRNO" and marks.get(HOW) not in (None, "short"):
            marks[HOW] = str(getattr(errno, marks[HOW]))
        name, at, interface = self.fault.item.partition("@")
        item = speech.item_of(name) if speech.vocabulary.CALLS[self.call][0] == "ITEM" and name else None
        return str(speech.vocabulary.Fault(self.call, f"{item.id}{at}{interface}" if item else self.fault.item, marks))


class Chosen(NamedTuple):
    """What befalls one request."""

    faults: list  # of Armed
    seconds: dict  # call of the port -> how long it is late

    @property
    def lines(self):
        return [fault.line for fault in self.faults]

    @property
    def tap_lines(self):
        return [fault.for_tap() for fault in self.faults if fault.call in OF_TAP]

    def how(self, call):
        """How a call of the port fails, by the fault that was armed last; None: it doesn't."""
        found = self.failing(call)
        return found.how if found else None

    def failing(self, call):
        return next((fault for fault in reversed(self.faults) if fault.call == call and fault.how), None)


NOTHING = Chosen([], {})


class Faults:
    """`changed` is called with each change. `resident`: app.scgi serves the requests."""

    def __init__(self, say, changed, resident=False):
        self.resident = resident
        self.say = say
        self.changed = changed
        self.armed = {}  # number -> Armed
        self.last = 0

    def add(self, line):
        if len(self.armed) >= MOST_FAULTS:
            raise Refused(f"no more than {MOST_FAULTS} faults are armed at a time")
        found = Armed(self.last + 1, line)
        if found.call in AHEAD and self.resident:
            raise Refused(f"app.scgi, which serves requests here, is past {found.call} when one comes (script/server --resident)")
        if found.call == ROUTER and any(other.call == ROUTER for other in self.armed.values()):
            raise Refused("the router is off already")
        self.last += 1
        self.armed[found.number] = found
        self.tell(f"armed: {found.line}")
        self.changed()
        return found

    def clear(self, number=None):
        """One, or all of them. Returns how many."""
        if number is None:
            count = len(self.armed)
            self.armed.clear()
        else:
            if number not in self.armed:
                raise Refused(f"there is no fault {number}")
            count = 1
            del self.armed[number]
        if count:
            self.tell("cleared")
            self.changed()
        return count

    def banner(self):
        """What is told while any is armed; None otherwise."""
        if not self.armed:
            return None
        return f"FAULTS ARE ARMED ({len(self.armed)}): " + "; ".join(found.line for found in self.armed.values()) + " (script/router faults clear)"

    def tell(self, what):
        self.say(f"faults: {what}")
        self.say(self.banner() or "faults: none is armed any more")

    def list(self):
        return [{"number": found.number, "fault": found.line, "left": found.left, "struck": found.struck} for found in self.armed.values()]

    def state(self):
        """All that is to be known to go on later as if nothing had been between, for JSON."""
        return [{**line, "chance": found.chance.getstate()} for line, found in zip(self.list(), self.armed.values())]

    def restore(self, state):
        """Raises Refused where that is no state; then what was armed is so still."""
        made = {}
        try:
            for found in state[:MOST_FAULTS]:
                fault = Armed(self.last + 1 + len(made), found["fault"])
                fault.left, fault.struck = found["left"], found["struck"]
                version, numbers, gauss = found["chance"]
                fault.chance.setstate((version, tuple(numbers), gauss))
                if not isinstance(fault.struck, int) or not isinstance(fault.left, int | None):
                    raise TypeError("counts are numbers")
                made[fault.number] = fault
        except (KeyError, TypeError, ValueError, OverflowError) as error:
            raise Refused(f"these are no faults: {error!r}") from None
        before, self.armed = self.armed, made
        self.last += len(made)
        if before or made:
            self.tell("restored")
            self.changed()

    def refuses(self, phone):
        """Whether nobody is to answer at this phone's port."""
        return any(found.call == CONNECT and found.how and found.is_everybodys and found.is_of(phone) for found in self.armed.values())

    def choose(self, phone, action, objects):
        """What befalls a request that is there, which is counted."""
        found = [each for each in self.armed.values() if each.call != ROUTER and each.means(phone, action, objects)]
        if not found:
            return NOTHING
        spent = []
        for each in found:
            each.struck += 1
            if each.left is not None:
                each.left -= 1
                if each.left == 0:
                    spent.append(each)
        for each in spent:
            del self.armed[each.number]
            self.tell(f"spent: {each.line}")
        if spent:
            self.changed()
        late = {}
        for each in found:
            if each.call in OF_PORT and LATE in each.marks:
                late[each.call] = late.get(each.call, 0) + each.draw_delay() / 1e6
        return Chosen(found, late)
