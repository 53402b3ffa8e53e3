# SPDX-License-Identifier: MIT
"""Cases of tests/cases, asked of the machine: the store laid out, the request sent through the web server, then reply, store,
commit and records compared."""

import pathlib
import re
import time

import asking
import caseformat
import message_queue
import seam

BYTE_ORDER = "little"  # the machine's
CASES = pathlib.Path(__file__).resolve().parents[1] / "cases"
WORLD = {"store"}
REQUEST = {"body", "remote_addr"}
EXPECTED = {"reply", "events", "reads", "queue", "exit"}
STORE_EVENTS = ("set ", "add ", "delete ", "delete-all ", "commit", "save")
HERE, PHONE = "127.0.0.1", re.compile(r"192\.168\.1\.[1-9]\d*")
CLEAN_UP = ("remove /var/app_sessionid", "remove /etc/fwInfo.file")  # cases begin without
GLOBAL = "0.0"  # an interface, for items that do not ask for one
TRIES = 5  # of what is not under test: a slow machine's web server drops a connection now and then
PAUSES = (0.1, 0.2, 0.4, 0.8, 1.6, 3.2)  # seconds in which the daemon notes what it took, and may be at it
UNANSWERED = (204, 400)
LONGEST = 100000  # characters of a request or a reply: of megabytes a machine with 32 MiB runs out of memory


def texts(case):
    return [text for step in case["steps"] for text in (step.get("body"), step["reply"], *step["events"]) if text]


def suits(case, items):
    """Whether the machine can be asked: the store is all that its world has and that it changes, it has room for it, and nothing in
    it is of the time."""
    if case["world"].keys() - WORLD or any(step.keys() - REQUEST - EXPECTED for step in case["steps"]):
        return False
    for step in case["steps"]:
        address = step.get("remote_addr") or ""
        if address != HERE and not PHONE.fullmatch(address) or not all(event.startswith(STORE_EVENTS) for event in step["events"]):
            return False
    tables = {name: entries for name, entries in case["world"].get("store", {}).items() if isinstance(entries, list)}
    if any("-" in entries or len(entries) > items.find(name)[0].limit for name, entries in tables.items()):
        return False
    filled = [caseformat.expand(text) for text in texts(case)]
    return not any("%" in text or len(text) > LONGEST for text in filled)


class Store:
    """What the store should hold: values and tables, by (item, interface)."""

    def __init__(self, world, items):
        self.items, self.values, self.tables = items, {}, {}
        for name, value in sorted(world.get("store", {}).items()):
            item, interface = items.find(name)
            for where in [interface] if interface else items.interfaces(item):
                if item.is_table:
                    self.tables[item.id, where] = [bytes.fromhex(caseformat.expand(text)).ljust(item.width, b"\0") for text in value]
                else:
                    self.values[item.id, where] = items.show(item, items.encode(item, value)), items.encode(item, value)

    def lines(self):
        """What lays it out."""
        for (number, interface), (_, data) in self.values.items():
            yield f"set {number} {interface or GLOBAL} {data.hex()}"
        for (number, interface), entries in self.tables.items():
            yield f"empty {number} {interface or GLOBAL}"
            yield from (f"add {number} {interface or GLOBAL} {entry.hex()}" for entry in entries)

    def apply(self, event):
        word, _, rest = event.partition(" ")
        if word in ("commit", "save"):
            return
        name, _, value = rest.partition(" ")
        item, interface = self.items.find(name)
        where = item.id, interface
        if word == "set":
            self.values[where] = value, None
        elif word == "add":
            self.tables.setdefault(where, []).append(bytes.fromhex(value))
        elif word == "delete":
            keys = [entry[:item.match] for entry in self.tables[where]]
            del self.tables[where][keys.index(bytes.fromhex(value)[:item.match])]
        else:
            self.tables[where] = []

    def questions(self):
        """(the line that asks, what it should be answered) of all that it holds."""
        for (number, interface), (shown, _) in self.values.items():
            item = self.items.by_id[number]
            yield f"get {number} {interface or GLOBAL} {item.value_width}", item, shown
        for (number, interface), entries in self.tables.items():
            item = self.items.by_id[number]
            yield f"get {number} {interface or GLOBAL} 4", item, str(len(entries))
            for place, entry in enumerate(entries, 1):
                yield f"entry {number} {interface or GLOBAL} {place} {item.width}", None, entry.hex()


class Player:
    def __init__(self, machine, items):
        self.machine, self.items = machine, items
        self.taken = 0  # records that the daemon noted before

    def stage(self, lines):
        """The machine's answers to lines for its stage. They may be sent again: laying out begins with a restore."""
        for attempt in range(TRIES):
            time.sleep(attempt)
            status, _, body = asking.post(self.machine.ports["stage"], "".join(line + "\n" for line in lines))
            if status == 200:
                return body.decode().split("\n")[:-1]
        raise OSError(f"the stage answers {status}: {body!r}")

    def records(self, count):
        """The records that came since it was asked last. The daemon may still be at it: it is given time for `count`."""
        for pause in (*PAUSES, None):
            lines = self.stage(["records"])[:-1]
            if len(lines) >= self.taken + count or pause is None:
                break
            time.sleep(pause)
        new, self.taken = lines[self.taken:], len(lines)
        return [message_queue.show_record(int(kind), bytes.fromhex(payload)) for kind, _, payload in (line.partition(" ") for line in new)]

    def play(self, case):
        """What is wrong, as a list of (aspect, expected, seen). A case whose connection was dropped is played again from its start: its
        request may have been carried out or not."""
        for attempt in range(1, TRIES + 1):
            try:
                return list(self.wrongs(case))
            except ConnectionError as error:
                if attempt == TRIES:
                    return [("reply", "", str(error))]
                print(f"again     {case['name']}: {error}", flush=True)
                time.sleep(attempt)
                self.records(0)  # those of the request that nobody knows of

    def wrongs(self, case):
        store = Store(case["world"], self.items)
        refused = self.stage(["restore", *CLEAN_UP, *store.lines()])
        if refused:
            yield "stage", "", "\n".join(refused)
            return
        for step in case["steps"]:
            port = self.machine.ports["loopback" if step["remote_addr"] == HERE else "cgi"]
            status, _, body = asking.post(port, caseformat.to_bytes(caseformat.expand(step.get("body", ""))))
            if status == 0:
                raise ConnectionError(body.decode())
            wanted = step["reply"] and caseformat.to_bytes(step["reply"])
            if wanted is None and status not in UNANSWERED:
                yield "reply", UNANSWERED, (status, body)
            elif wanted is not None and (status, body) != (200, wanted):
                yield "reply", wanted, (status, body)
            records = [message_queue.expected_record(record, self.items.byteorder) for record in step.get("queue", [])]
            seen = self.records(len(records))
            if seen != records:
                yield "records", records, seen
            for event in step["events"]:
                store.apply(caseformat.expand(event))
            questions = list(store.questions())
            answers = self.stage([line for line, _, _ in questions] + ["committed"])
            for (line, item, shown), answer in zip(questions, answers):
                told = self.items.show(item, bytes.fromhex(answer)) if item and answer != "-" else answer
                if told != shown:
                    yield "store" if item and not item.is_table else "table", f"{line}: {shown}", told
            if "commit" in step["events"] and answers[-1] != "yes":
                yield "commit", "yes", answers[-1]


def load(folder=CASES):
    """The items, and those cases of the folder that the machine can be asked."""
    items = caseformat.Items(seam.ITEMS, BYTE_ORDER)
    return items, [case for case in caseformat.load_cases(folder, items) if suits(case, items)]
