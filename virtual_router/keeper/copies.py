# SPDX-License-Identifier: MIT
"""A request of the journal as something to go on with: a line of curl, a piece of TypeScript or Python, a case for tests/run_cases.

What is secret is replaced by stand-ins of the same length, the same text by the same one, so that a copy may be handed on and works.
"""

import json
import re
import shlex

import speech
from hiding import ITEMS, KEYS, MEMBER, SHORTEST

URL = "http://127.0.0.1:{}/app/app.cgi"
_SESSION = re.compile(r"\bUs[0-9a-f]{32}\b")
STAND_IN_SESSION = "Us" + "0" * 32
_SESSION_FILE = "/var/app_sessionid"
_SINCE = ("/var/wan_uptime", "/var/ppp/startTime")  # files that tell since when the WAN is up
_OF_RECORD = {"sysconfArgv": "sysconf", "weekdays": "week"}  # where a case has another word than the printout


class NoCopy(Exception):
    """The request cannot be copied so; the text says why."""


class StandIns:
    """Replaces secrets. `kept`: nothing is replaced."""

    def __init__(self, reading, kept):
        self.kept = kept
        self.found = {}
        for tree in (reading.request, reading.reply):
            self.learn_from(tree)
        for _, event in reading.events:
            if event.word in ("get", "set") and event.fields[0].partition("@")[0] in ITEMS:
                for text in (*event.fields[1:], event.marks.get("was") or ""):
                    self.learn(text.replace("\\x20", " ").strip('"'))

    def learn(self, text):
        if text and text not in self.found and not _SESSION.fullmatch(text):
            name = f"secret{len(self.found) + 1}"
            self.found[text] = name.ljust(len(text), "x")[: len(text)]

    def learn_from(self, tree):
        if isinstance(tree, dict):
            for key, value in tree.items():
                if key.lower() in KEYS and isinstance(value, str):
                    self.learn(value)
                self.learn_from(value)
        elif isinstance(tree, list):
            for value in tree:
                self.learn_from(value)

    def of(self, text):
        """For a whole secret."""
        return text if self.kept else self.found.get(text, text)

    def in_json(self, text):
        """In a request or a reply, where a secret stands under its key."""
        if self.kept:
            return text

        def instead(match):
            try:
                secret = json.loads(match[3])
            except ValueError:
                return match[0]
            return match[1] + json.dumps(self.of(secret), ensure_ascii=False) if isinstance(secret, str) and secret in self.found else match[0]

        return _SESSION.sub(STAND_IN_SESSION, MEMBER.sub(instead, text))

    def within(self, text):
        """In what a program printed or a file holds."""
        if self.kept:
            return text
        for secret in sorted(self.found, key=len, reverse=True):
            if len(secret) >= SHORTEST:
                text = text.replace(secret, self.found[secret])
        return _SESSION.sub(STAND_IN_SESSION, text)


def make(exchange, form, secrets=False):
    """The text. Raises NoCopy."""
    if form not in FORMS:
        raise NoCopy(f"a request is copied as {', '.join(FORMS)}, not as {form}")
    if exchange.body.size > len(exchange.body.data):
        raise NoCopy("the request is longer than what is kept of it")
    reading = exchange.read()
    return FORMS[form](exchange, reading, StandIns(reading, secrets))


def body_of(reading, stand_ins):
    return stand_ins.in_json(reading.request_body.decode("utf-8", "surrogateescape"))


def url_of(exchange):
    return URL.format(exchange.port_number or 8080)


def as_curl(exchange, reading, stand_ins):
    return f"curl -sS -d {shlex.quote(speech.clean(body_of(reading, stand_ins)))} {url_of(exchange)}\n"


def as_python(exchange, reading, stand_ins):
    body = reading.request or None
    text = speech.clean(body_of(reading, stand_ins))
    what = f"json.dumps({pretty_python(json.loads(text))})" if body is not None else repr(text)
    return (
        "import json\nimport urllib.request\n\n"
        f"body = {what}\n"
        f'with urllib.request.urlopen("{url_of(exchange)}", body.encode()) as reply:\n    print(reply.read().decode())\n'
    )


def pretty_python(tree):
    return repr(tree)


def as_typescript(exchange, reading, stand_ins):
    text = speech.clean(body_of(reading, stand_ins))
    body = f"JSON.stringify({json.dumps(json.loads(text), indent=2)})" if reading.request else json.dumps(text)
    return (
        f"const body = {body};\n"
        f'const reply = await fetch("{url_of(exchange)}", {{ method: "POST", body }});\n'
        "console.log(await reply.text());\n"
    )


# --- a step of a scenario ---


def as_step(exchange, reading, stand_ins):
    """Whoever plays it has a session of its own."""
    request = json.loads(body_of(reading, stand_ins)) if reading.request else None
    if request is None:
        raise NoCopy("a step of a scenario asks what is an object of JSON, and this is none")
    request = without_null({key: value for key, value in request.items() if key.lower() != "sessionid"})
    error, _ = reading.result
    phone = re.fullmatch(r"phone (\d+)", exchange.port or "")
    return "\n".join([
        "[[step]]",
        f"title = {toml(' '.join([reading.action or 'a request', *reading.objects]))}",
        "login = true" if reading.session == "given" else f"ask = {toml(request)}",
        *([f"phone = {phone[1]}"] if phone else []),
        *([f"error = {error}"] if error else []),
    ]) + "\n"  # fmt: skip


def without_null(value):
    """TOML has none."""
    if isinstance(value, dict):
        return {key: without_null(each) for key, each in value.items() if each is not None}
    return [without_null(each) for each in value if each is not None] if isinstance(value, list) else value


# --- a case ---


def toml(value):
    """A value as TOML writes it."""
    if isinstance(value, bool):
        return "true" if value else "false"
    if isinstance(value, (int, float)):
        return str(value)
    if isinstance(value, list):
        return "[" + ", ".join(toml(each) for each in value) + "]"
    if isinstance(value, dict):
        return "{ " + ", ".join(f"{toml_key(key)} = {toml(each)}" for key, each in value.items()) + " }"
    text = re.sub("[\udc80-\udcff]+", lambda match: f"%BYTE({match[0].encode('utf-8', 'surrogateescape').hex()})%", value).replace("\0", "%NUL()%")
    return re.sub("[\ud800-\udfff]", "?", json.dumps(text, ensure_ascii=False)).replace("\x7f", "\\u007f")


def toml_key(key):
    return key if re.fullmatch(r"[A-Za-z0-9_-]+", key) else toml(key)


def as_case(exchange, reading, stand_ins):
    case = Case(exchange, reading, stand_ins)
    lines = [f"# Copied from the journal: what came, so that it passes. Put what should have come into its place, and it fails.{''.join(case.remarks)}"]
    lines += ["[[case]]", *(f"{key} = {toml(value)}" for key, value in case.keys.items())]
    return "\n".join(lines) + "\n"


class Case:
    def __init__(self, exchange, reading, stand_ins):
        if reading.asked is None:
            raise NoCopy("app.cgi was not asked, so there is no case of it")
        self.reading, self.stand_ins = reading, stand_ins
        self.store, self.files, self.commands = {}, {}, {}
        self.events, self.queue, self.errors = [], [], []
        self.written = {}
        self.remarks = []
        self.replied = False
        self.output = ""
        self.path = None
        self.arp, self.stations, self.interfaces = [], {}, {}
        self.table = None  # rows of the station table that was read last
        self.changed = set()
        self.counts = {}
        for line in reading.lines:
            found = reading.event_of(line)
            if found:
                getattr(self, "take_" + found[1].word.replace("-", "_"), self.pass_over)(found[1], line)
        for name, count in self.counts.items():  # entries that nobody read
            self.store[name] += ["-"] * (count - len(self.store[name]))
        for name, found in self.interfaces.items():
            self.files[f"/sys/class/net/{name}"] = " ".join(found.get(what, "-") for what in ("ip", "mask", "mac"))
        status, signal = reading.exit
        body = body_of(reading, stand_ins)
        self.keys = {
            "name": f"request {exchange.number} of the journal",
            "body": body,
            "remote_addr": reading.asked.fields[0],
            "reply": self.reply(),
            **({"exit": int(status)} if status not in (None, "0") else {}),
            **({"exit": -int(signal)} if signal else {}),
            **({"stderr": "".join(self.errors)} if self.errors else {}),
            **({"store": self.store} if self.store else {}),
            **({"files": self.files} if self.files else {}),
            **({"commands": self.commands} if self.commands else {}),
            **({"arp": self.arp} if self.arp else {}),
            **({"stations": self.stations} if self.stations else {}),
            **({"fail": found} if (found := self.faults(exchange)) else {}),
            "events": self.events,
            **({"queue": self.queue} if self.queue else {}),
            **({"files_after": self.written} if self.written else {}),
        }

    def reply(self):
        text = self.stand_ins.in_json(self.reading.told_reply.decode("utf-8", "surrogateescape"))
        if not text:
            return "none"
        if user := self.written.get(_SESSION_FILE):
            text = text.replace(STAND_IN_SESSION, user.removeprefix("sessionid="))
        try:
            tree = json.loads(text)
        except ValueError:
            return "text:" + text
        if cjson_print(tree) + "\n" != text:
            return "text:" + text
        return json.dumps(self.at_any_time(tree), ensure_ascii=False, separators=(",", ":"))

    def at_any_time(self, tree):
        """A reply with macros for what is another each time; the files with those that belong to them."""
        found = tree.get("sys") if isinstance(tree, dict) else None
        if isinstance(found, dict) and "upTime" in found:
            found["upTime"] = "%UPTIME()%"
        found = tree.get("wanStatus") if isinstance(tree, dict) else None
        path = next((path for path in _SINCE if path in self.files), None)
        if isinstance(found, dict) and path and isinstance(found.get("upTime"), int):
            since = -found["upTime"]
            self.files[path] = f"%TIME({since})%\n"
            found["upTime"] = f"%SINCE({since})%"
        return tree

    def faults(self, exchange):
        found = []
        for line in exchange.faults:
            fault = speech.vocabulary.parse_fault(line, armed=True)
            fault.marks = {name: value for name, value in fault.marks.items() if name not in speech.vocabulary.CONDITIONS}
            try:
                speech.vocabulary.parse_fault(str(fault))
            except ValueError:
                self.remarks.append(f"\n# Not a case's fault: {line}")
                continue
            found.append(str(fault))
        return found

    def pass_over(self, event, line):
        pass

    # --- what was there ---

    def find(self, event):
        """The item of an event, and its name as a case has it."""
        return speech.item_of(event.fields[0].partition("@")[0]), event.fields[0]

    def value(self, item, shown):
        """Of a shown value."""
        if item.value_kind not in ("text", "ipv4"):
            return int(shown)
        text = json.loads(shown) if shown.startswith('"') else shown
        return self.stand_ins.of(text) if item.name in ITEMS else text

    def take_get(self, event, _):
        item, name = self.find(event)
        if item is None or name in self.changed or len(event.fields) < 2:
            return
        self.store.setdefault(name, [] if item.is_table else self.value(item, event.fields[1]))
        if item.is_table:
            self.counts.setdefault(name, int(event.fields[1]))

    def take_entry(self, event, _):
        item, name = self.find(event)
        if item is not None and name not in self.changed and len(event.fields) > 1:
            records = self.store.setdefault(name, [])
            record = self.trimmed(event.fields[1])
            if record not in records:
                records.append(record)

    @staticmethod
    def trimmed(record):
        return re.sub("(00)+$", "", record) or "00"

    # --- what was done ---

    def deed(self, event, *fields):
        how = {name: value for name, value in event.marks.items() if name == "failed"}
        self.events.append(str(speech.vocabulary.Event(event.word, list(fields), how)))

    def take_set(self, event, _):
        item, name = self.find(event)
        if item is None:
            return
        if name not in self.store and "was" in event.marks and event.marks["was"] is not None:
            self.store[name] = self.value(item, event.marks["was"].replace("\\x20", " "))
        self.changed.add(name)
        value = self.value(item, event.fields[1])
        self.deed(event, name, json.dumps(value, ensure_ascii=False) if item.value_kind == "text" else str(value))

    def take_table(self, event, _):
        item, name = self.find(event)
        records = self.store.setdefault(name, [])
        if event.word == "delete" and "failed" not in event.marks and name not in self.changed and self.trimmed(event.fields[1]) not in records:
            records.append(self.trimmed(event.fields[1]))
        self.changed.add(name)
        self.deed(event, name, *event.fields[1:])

    take_add = take_delete = take_delete_all = take_table

    def take_commit(self, event, _):
        marks = {name: value for name, value in event.marks.items() if name == "failed"}
        marks.update({} if self.replied else {"replied": "no"})
        marks.update({"queued": str(len(self.queue))} if self.queue else {})
        self.events.append(str(speech.vocabulary.Event(event.word, event.fields, marks)))

    take_save = take_commit

    def take_reply(self, event, _):
        self.replied = True

    def take_output(self, event, _):
        self.output += event.fields[0]

    def take_begins(self, event, _):
        self.events.append(f"run {speech.vocabulary.escape(event.fields[0])}")
        self.output = ""

    def take_run(self, event, _):
        status = event.marks.get("failed") or "0"
        answer = self.stand_ins.within(self.output)
        known = {"output": answer, **({"status": int(status)} if status != "0" else {})}
        if event.fields[0] == f"rm {_SESSION_FILE}":
            known["remove"] = _SESSION_FILE
            self.written[_SESSION_FILE] = False
        self.commands[event.fields[0]] = answer if list(known) == ["output"] else known

    def take_arp(self, event, _):
        self.events.append(f"arp {event.fields[0]}")
        self.arp = []

    def take_neighbour(self, event, _):
        address, mac = event.fields
        again = any(line.split()[1] == mac for line in self.arp)
        self.arp.append(f"{address} {mac}{' dup' if again else ''}")

    def take_driver(self, event, _):
        request, interface = event.fields[:2]
        if "failed" in event.marks:
            return
        self.stations.setdefault(interface, False)
        if request != "name":
            self.table = self.stations[interface] = []
            if event.fields[2:] != [str(speech.TABLE_BYTES)]:
                self.remarks.append(f"\n# The station table of {interface} came with {event.fields[2]} bytes, which the rows of a case cannot say.")

    def take_station(self, event, _):
        place, data = int(event.fields[0]), bytes.fromhex(event.fields[1])
        if self.table is not None and place > 0:  # the first record is unused
            self.table += ["-"] * (place - 1 - len(self.table)) + [speech.station_row(data)]

    def take_address(self, event, _):
        what, interface = event.fields[:2]
        if "failed" not in event.marks:
            self.interfaces.setdefault(interface, {})[what] = event.fields[2]
        elif event.marks["failed"] != "ENODEV":
            self.interfaces.setdefault(interface, {})

    def take_queue(self, event, line):
        if "failed" in event.marks:
            return
        number = speech.vocabulary.parse_event(line.decode("utf-8", "surrogateescape")).fields[0]
        fields = dict(re.findall(r'(\w+)=("(?:[^"\\]|\\.)*"|\S+)', event.fields[1] if len(event.fields) > 1 else ""))
        record = {"type": int(number)}
        for name, value in fields.items():
            text = speech.vocabulary.unescape(value[1:-1].replace('\\"', '"')) if value.startswith('"') else None
            word = _OF_RECORD.get(name, name)
            record[word] = text if text is not None else int(value, 2 if word == "week" else 10)
            if record[word] in ("", 0):
                del record[word]
        self.queue.append(record)

    def take_error(self, event, _):
        self.errors.append(self.stand_ins.within(event.fields[0]) + "\n")

    # --- files ---

    def take_read(self, event, _):
        self.path = event.fields[0] if "failed" not in event.marks else None

    def take_holds(self, event, _):
        if self.path and not self.path.startswith(("/var/appdebug", "/dev/")) and self.path not in self.files and self.path not in self.written:
            self.files[self.path] = self.stand_ins.within(event.fields[0])
        self.path = None

    def take_write(self, event, _):
        if event.fields[0] == _SESSION_FILE and self.reading.action == "login" and "failed" not in event.marks:
            info = self.reading.request.get("info")
            user = info.get("user", "") if isinstance(info, dict) else ""
            self.written[_SESSION_FILE] = f"sessionid=%SESSION({user})%"


def cjson_print(tree, depth=0):
    """As cJSON prints a tree, formatted."""
    if isinstance(tree, dict):
        inner = ",\n".join("\t" * (depth + 1) + f"{json.dumps(key, ensure_ascii=False)}:\t{cjson_print(value, depth + 1)}" for key, value in tree.items())
        return "{\n" + inner + ("\n" if inner else "") + "\t" * depth + "}"
    if isinstance(tree, list):
        return "[" + ", ".join(cjson_print(value, depth + 1) for value in tree) + "]"
    return json.dumps(tree, ensure_ascii=False)


FORMS = {"curl": as_curl, "case": as_case, "typescript": as_typescript, "python": as_python, "step": as_step}
