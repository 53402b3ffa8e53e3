# SPDX-License-Identifier: MIT
"""The router's clock. It is the PC's until it is set, moved on or hurried; the PC's stays as it is.

What it is stands in one line of a file in the router's root, which virtual_router/driver/clock.cpp reads and describes.
"""

import calendar
import re
import time

import rootfs

FILE = "outside/clock"
SECOND = 10**9  # all times here are whole nanoseconds
DAY = 86400
RATE_UNIT = 1000
MOST_RATE = 3600
UNITS = {"s": 1, "m": 60, "h": 3600, "d": DAY}
WEEKDAYS = ("Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday", "Sunday")
LATEST = 2**32 * SECOND  # what comes later does not fit the router's records


class WrongTime(Exception):
    """What was asked of the clock makes no sense; the text says why."""


class Clock:
    """The clock of the router with this root. `pc` tells the PC's time, `pc_uptime` how long the PC is up."""

    def __init__(self, root, pc=time.time_ns, pc_uptime=lambda: time.clock_gettime_ns(time.CLOCK_BOOTTIME)):
        self.root = root
        self.pc = pc
        self.pc_uptime = pc_uptime

    def line(self):
        """The numbers of the file: the PC's time, and what the router's time, up-time and rate were then."""
        content = self.root.read(FILE) or b""
        found = re.fullmatch(rb"(\d{1,19}) (\d{1,19}) (\d{1,19}) (\d{1,7})\n", content)
        pc = self.pc()
        return tuple(map(int, found.groups())) if found else (pc, pc, self.pc_uptime(), RATE_UNIT)

    def read(self):
        """The router's time and up-time at this moment, and its rate in thousandths."""
        pc = self.pc()
        then, router, uptime, rate = self.line()
        passed = (pc - then) // RATE_UNIT * rate
        return router + passed, uptime + passed, rate

    def write(self, router, uptime, rate):
        if not 0 <= router < LATEST:
            raise WrongTime("the clock goes from 1970 to 2106")
        self.root.write(FILE, f"{self.pc()} {router} {uptime} {rate}\n".encode())

    def now(self):
        """The router's seconds since the epoch."""
        return self.read()[0] // SECOND

    def boot(self):
        """The router starts anew: its up-time begins, its time goes on."""
        router, _, rate = self.read()
        self.write(router, 0, rate)

    def set(self, *words):
        """Puts the clock right, as a time server would: how long the router is up stays."""
        router, uptime, rate = self.read()
        self.write(moment(" ".join(words), router // SECOND) * SECOND, uptime, rate)

    def advance(self, *words):
        """Lets time pass at once: what is due meanwhile is done then."""
        passed = sum(duration(word) for word in words) * SECOND
        router, uptime, rate = self.read()
        self.write(router + passed, uptime + passed, rate)

    def hurry(self, word):
        """Sets how many seconds pass for each of the PC's; 0 stops the clock."""
        try:
            rate = round(float(word) * RATE_UNIT)
        except (ValueError, OverflowError):
            rate = -1
        if not 0 <= rate <= MOST_RATE * RATE_UNIT:
            raise WrongTime(f"a rate is a number from 0 to {MOST_RATE}, not '{word}'")
        router, uptime, _ = self.read()
        self.write(router, uptime, rate)

    def show(self):
        router, uptime, rate = self.read()
        minutes, seconds = divmod(uptime // SECOND, 60)
        hours, minutes = divmod(minutes, 60)
        days, hours = divmod(hours, 24)
        pace = "" if rate == RATE_UNIT else f", at {rate / RATE_UNIT:g} times the PC's pace"
        return f"{moment_text(router // SECOND)}, up for {days} d {hours:02}:{minutes:02}:{seconds:02}{pace}"


def moment_text(seconds):
    parts = time.gmtime(seconds)
    return f"{WEEKDAYS[parts.tm_wday]} {time.strftime('%Y-%m-%d %H:%M:%S', parts)} UTC"


def moment(text, now):
    """The seconds that a text says: "2026-11-22 07:30[:00]", "07:30[:00]" of today, or "Monday 07:30", today or on the next one."""
    found = re.fullmatch(r"(?:(\d{4}-\d\d-\d\d)[T ]|([A-Za-z]+) )?(\d\d):(\d\d)(?::(\d\d))?", text)
    if not found:
        raise WrongTime(f"'{text}' is no time (there are: YYYY-MM-DD HH:MM:SS, WEEKDAY HH:MM:SS, HH:MM:SS; the seconds may be left out)")
    date, weekday, *clock = found.groups()
    hours, minutes, seconds = (int(part or 0) for part in clock)
    if hours > 23 or minutes > 59 or seconds > 59:
        raise WrongTime(f"'{text}' is no time of a day")
    day = now - now % DAY
    if date:
        try:
            day = calendar.timegm(time.strptime(date, "%Y-%m-%d"))
        except ValueError:
            raise WrongTime(f"there is no day '{date}'") from None
    elif weekday:
        if weekday.capitalize() not in WEEKDAYS:
            raise WrongTime(f"there is no weekday '{weekday}' (there are: {' '.join(WEEKDAYS)})")
        day += (WEEKDAYS.index(weekday.capitalize()) - time.gmtime(now).tm_wday) % len(WEEKDAYS) * DAY
    return day + hours * 3600 + minutes * 60 + seconds


def duration(word):
    """The seconds of a word such as 90, 90s, 5m, 2h or 1d."""
    found = re.fullmatch(r"(\d{1,9})([smhd]?)", word)
    if not found:
        raise WrongTime(f"'{word}' is no time to pass (such as 90s, 5m, 2h, 1d)")
    return int(found[1]) * UNITS[found[2] or "s"]


# verb: method, the fewest and the most words that it takes, those words, what it does
VERBS = {
    "set": (Clock.set, 1, 2, "[DAY] HH:MM[:SS]", "puts it right; DAY is a date such as 2026-11-22 or a weekday (today)"),
    "advance": (Clock.advance, 1, 9, "TIME...", "lets time pass at once: 90s, 5m, 2h, 1d; what is due meanwhile is done"),
    "rate": (Clock.hurry, 1, 1, "N", f"lets N seconds pass for each of the PC's, 0 to {MOST_RATE}"),
}


def help_text():
    rows = [(f"  clock {verb} {words}", about) for verb, (_, _, _, words, about) in VERBS.items()]
    width = max(len(row[0]) for row in rows)
    return (
        "Usage: script/router [--state DIR] clock [VERB WORD...]\n\n"
        "Shows or moves the router's clock, which is the PC's until then. The PC's stays. All times are UTC.\n\n"
        + "\n".join(f"{usage.ljust(width)}  {about}" for usage, about in rows)
    )


def act(clock, words):
    """Does what the words say. Returns an exit status and a text."""
    if words == ["help"]:
        return 0, help_text()
    if words:
        verb, *rest = words
        if verb not in VERBS:
            return 2, f"there is no verb '{verb}' (script/router clock help)"
        method, fewest, most, usage, _ = VERBS[verb]
        if not fewest <= len(rest) <= most:
            return 2, f"usage: clock {verb} {usage}"
        try:
            method(clock, *rest)
        except WrongTime as error:
            return 2, str(error)
    return 0, clock.show()


def of_router(run):
    """The clock of the router whose run folder this is."""
    return Clock(rootfs.Root(run / "root"))
