# SPDX-License-Identifier: MIT
"""What the system daemon does for a request: the journal has it whole, a terminal one line of it."""

import asyncio
import json
import os
import pty
import re
import signal
import threading

import deeds
import journal as journals
import router as routers
from story import LOGIN, SESSION

RECORD = "queue MSG_APP_REINIT"
RESTART = ["daemon:   services start anew with:", *(f"daemon:   MIB_{name}=1" for name in "ABCDEFGH")]


def without_a_router(results):
    asyncio.run(folded(results))
    asyncio.run(whose(results))


async def folded(results):
    said = []
    router = deeds.Deeds(said.append, folds=True)

    def hear(*lines):
        for line in (f"daemon: {RECORD}", *lines):
            router.hear(line)
        router.end()
        found = said[:]
        said.clear()
        return found

    results.check("a restart is a line with the count of its lines", hear(*RESTART) == [f"daemon: {RECORD}", "daemon:   9 lines (--all-lines shows them)"])
    results.check("the same again is told to be", hear(*RESTART)[1:] == ["daemon:   9 lines, as the last time (--all-lines shows them)"])
    results.check("what is new is told", hear(*RESTART[:-1], "daemon:   MIB_H=2")[1:] == ["daemon:   9 lines, 1 of them new: MIB_H=2 (--all-lines shows them)"])
    results.check("what failed is never folded", hear(*RESTART, "daemon:   (restart failed)")[-1] == "daemon:   (restart failed)")
    results.check("a few lines are shown as they are", hear(*RESTART[:3]) == [f"daemon: {RECORD}", *RESTART[:3]])
    router.hear(f"daemon: {RECORD}")
    for line in RESTART:
        router.hear(line)
    results.check("nothing is told before the deed is done", said == [f"daemon: {RECORD}"], said)
    router.hear("daemon: queue MSG_REBOOT")
    results.check("the next one ends it", len(said) == 3 and "9 lines" in said[1], said)
    deeds.QUIET_SECONDS, before = 0.01, deeds.QUIET_SECONDS
    for line in RESTART:
        router.hear(line)
    await asyncio.sleep(0.1)
    deeds.QUIET_SECONDS = before
    results.check("and so does silence", len(said) == 4 and "9 lines" in said[3], said)
    plain = []
    router = deeds.Deeds(plain.append)
    for line in (f"daemon: {RECORD}", *RESTART, "daemon:   " + "x" * 5000, "something else"):
        router.hear(line)
    results.check("where nothing is folded, all is told at once", plain == [f"daemon: {RECORD}", *RESTART, "daemon:   " + "x" * 5000, "something else"], plain)


async def whose(results):
    journal = journals.Journal()
    router = deeds.Deeds(lambda _: None, journal=journal)
    now = journals.now()
    one, two = journal.begin("router", "phone"), journal.begin("router", "phone")
    router.hear(f"daemon: {RECORD}")  # before the request tells of it
    router.hear("daemon:   of one")
    router.expect(one, [(now - 10, RECORD)])
    router.expect(two, [(now, RECORD)])
    router.hear(f"daemon: {RECORD}")
    router.hear("daemon:   of two")
    results.check("the queue gives records back in their order", [[deed.lines for deed in each.deeds] for each in (one, two)] == [[["of one"]], [["of two"]]], (one.deeds, two.deeds))
    router.hear(f"daemon: {RECORD}")  # somebody's whom no journal knows
    router.expect(one, [(journals.now() + 1_000_000, RECORD)])
    results.check("what was done before is not for a later request", len(one.deeds) == 1, one.deeds)
    for number in range(1000):
        router.hear(f"daemon: a deed {number}")
        router.expect(one, [(now, f"another {number}")])
    results.check("who floods is not waited for", len(router.unasked) <= deeds.MOST_WAITING and len(router.unmet) <= deeds.MOST_WAITING)
    router.hear(f"daemon: {RECORD}")
    for number in range(2 * deeds.MOST_LINES):
        router.hear(f"daemon:   {number}")
    results.check("nor kept", len(router.deed.lines) == deeds.MOST_LINES == router.deed.untold)
    router.forget()
    results.check("with the router its queue is gone", not router.unasked and not router.unmet)


class Terminal:
    """Collects what is printed on a terminal."""

    def __init__(self):
        self.own, self.given = pty.openpty()
        self.data = b""
        threading.Thread(target=self.read, daemon=True).start()

    def read(self):
        try:
            while data := os.read(self.own, 65536):
                self.data += data
        except OSError:
            pass  # nobody prints there any more

    @property
    def text(self):
        return self.data.decode(errors="replace").replace("\r\n", "\n")


def told(folded):
    """For how many lines these stand on a terminal."""
    return sum(int(count[1]) if (count := re.match(r"daemon:   (\d+) lines", line)) else 1 for line in folded)


def on_a_terminal(results, way, build):
    router = routers.Router(way, build)
    terminal = Terminal()
    try:
        if not results.check("a router starts on a terminal", router.start(output=terminal.given, look=lambda: terminal.text) is not None, terminal.text):
            return
        _, _, text = router.ask(json.dumps(LOGIN))
        router.ask(json.dumps({"action": "set", "opMode": {"opMode": "0"}, "sessionid": SESSION.search(text).group()}))

        def look():
            status, shown = router.inside("journal", "2")
            lines = shown.partition("what the system daemon did for queue MSG_APP_REINIT:\n")[2].partition("\nreply:")[0].split("\n")
            return [line for line in terminal.text.split("\n") if line.startswith("daemon:")], lines if status == 0 else shown

        found, lines = routers.look_until(lambda seen: len(seen[0]) > 1 and told(seen[0][1:]) == len(seen[1]), look)
        # Where the machine is so slow that the daemon seems to be done in the middle of it, the rest is folded for itself.
        results.check("a restart takes a line of it, and one for all that is done for that", "queue MSG_APP_REINIT" in found[0] and all("journal 2 shows them" in line for line in found if "show" in line) and len(found) < len(lines) / 2, found)
        results.check("the journal shows all of them", told(found[1:]) == len(lines) and lines[0].strip() == "services start anew with:", (found, lines))
        status, left = router.stop(signal.SIGTERM)
        results.check("it ends and leaves nothing", status == 143 and not left, (status, left))
    finally:
        router.remove()
        for fd in (terminal.own, terminal.given):
            os.close(fd)
