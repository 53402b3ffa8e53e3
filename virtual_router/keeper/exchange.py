# SPDX-License-Identifier: MIT
"""One request in the journal: what came over the wire, as a port of the PC saw it, and what app.cgi did, as its tap told it.

Either may be missing: a request of the router's own network comes by no port, and one that is turned away at the port reaches no
app.cgi. What is told comes from inside the router, so it is kept as it came, bounded, and read when somebody asks.
"""

import functools
import re

import speech
from bodies import json_object
from hiding import HIDDEN, ITEMS, Hiding
from printable import printable

MOST_BYTES = 1 << 20  # of the request, of the reply, and of what is told, each
MOST_EVENTS = 20000
MOST_OBJECTS = 100
_OPEN_ACTIONS = ("scan", "login")
_LOOPBACK = "127.0.0.1"
# What became of the session check.
SESSIONS = {
    "open": "everyone may ask this",
    "own": "the router itself asked, which needs none",
    "held": "the request had the session's id",
    "given": "a login began a session",
    "refused": "there was no session, or another's id",
    "controller": "a mesh agent lets its controller in",
}
_NEED_LOGIN = 6
_CHUNKED = re.compile(rb"(?i)\ntransfer-encoding:")
MOST_HEAD = 4096  # bytes of a reply's
_CGI_HEAD = re.compile(rb"\AStatus: .*?\r\n\r\n", re.DOTALL)  # which app.scgi writes for the web server
_PRINTED = speech.vocabulary.words("debug", "error", "output", "run", "begins", "holds", "wrote")


class Bytes:
    """Bytes up to a limit, and how many they would have been."""

    def __init__(self):
        self.data = bytearray()
        self.size = 0

    def add(self, data):
        """Returns by how much it has grown."""
        before = len(self.data)
        self.size += len(data)
        self.data += data[: MOST_BYTES - before]
        return len(self.data) - before


class Exchange:
    def __init__(self, number, router, port, began):
        self.number = number
        self.router = router  # the guest's name
        self.port = port  # the port's name, such as "phone 1"; None: by no port
        self.port_number = None
        self.began = began  # microseconds since 1970
        self.replied = None  # when the last byte of its reply went to whoever asked
        self.ended = None
        self.head = b""
        self.body = Bytes()
        self.reply = Bytes()  # as it went over the wire
        self.told = Bytes()
        self.told_to_end = None  # None: nothing is told; False: it is still being told
        self.faults = []  # lines of those that were armed for it
        self.deeds = []  # what the system daemon did for it
        self.note = ""  # what the port did with it
        self._line = None  # when it is over

    @property
    def over(self):
        return self.ended is not None and self.told_to_end is not False

    @property
    def size(self):
        return len(self.head) + len(self.body.data) + len(self.reply.data) + len(self.told.data) + sum(deed.size for deed in self.deeds) + 500

    @property
    def has_plain_reply(self):
        """Whether what went over the wire has the reply as app.cgi wrote it."""
        return bool(self.port and not self.faults and self.body.data and self.reply.data and not _CHUNKED.search(self.reply.data, 0, MOST_HEAD))

    def read(self):
        """What can be made of it so far. It is not kept: it takes much more room than what it is made of."""
        return Reading(self)

    def records(self):
        """What it put into the queue to the system daemon: when, in microseconds since 1970, and the record as the daemon prints it."""
        if b" queue " not in self.told.data:
            return []
        return [(time, str(speech.vocabulary.Event(event.word, event.fields))) for time, event in self.read().events if event.word == "queue" and "failed" not in event.marks]

    def line(self):
        """What a list tells of it."""
        if self._line is not None:
            return self._line
        found = self.read().line()
        if self.over:
            self._line = found
        return found

    def changed(self):
        self._line = None


class Reading:
    """An exchange, read."""

    def __init__(self, exchange):
        self.exchange = exchange
        self.lines = bytes(exchange.told.data).split(b"\n")[:-1][:MOST_EVENTS]
        self.untold = bytes(exchange.told.data).rpartition(b"\n")[2] != b"" or exchange.told.size > len(exchange.told.data)
        self.asked = self.first("asked")
        self.request_body = bytes(exchange.body.data) if exchange.port else self.text_of("input")
        self.told_reply = _CGI_HEAD.sub(b"", self.text_of("reply"), count=1)
        self.reply_body = self.told_reply or self.body_of_reply()
        self.request = json_object(self.request_body) or {}
        self.reply = json_object(self.reply_body) or {}

    @functools.cached_property
    def read_lines(self):
        """((microseconds since 1970, Event) by name, lines that are none)."""
        events, refused = [], []
        for line in self.lines:
            found = self.event_of(line)
            if found:
                events.append(found)
            else:
                refused.append(printable(line[:200]))
        return events, refused

    @property
    def events(self):
        return self.read_lines[0]

    def event_of(self, line):
        """None: it is none."""
        try:
            event = speech.vocabulary.parse_event(line.decode("utf-8", "surrogateescape"))
            time = int(event.marks.pop("time", self.exchange.began))
            event.marks.pop("request", None)
            event = speech.by_name(event)
            if event.word in ("get", "set") and event.fields[0].partition("@")[0] in ITEMS:
                event.marks = {"secret": None, **event.marks}
            return time, event
        except (ValueError, TypeError, IndexError, KeyError, OverflowError):
            return None

    def all(self, word):
        """The events of one kind, without reading the others."""
        marker = f" {word}".encode()
        found = (self.event_of(line) for line in self.lines if marker in line)
        return [event for _, event in filter(None, found) if event.word == word]

    def first(self, word):
        return next(iter(self.all(word)), None)

    def text_of(self, word):
        return "".join(event.fields[-1] for event in self.all(word)).encode("utf-8", "surrogateescape")

    def body_of_reply(self):
        head, end, body = bytes(self.exchange.reply.data).partition(b"\r\n\r\n")
        if end and re.search(rb"(?im)^transfer-encoding:\s*chunked", head):
            return unchunked(body)
        return body

    # --- what is told of it ---

    @property
    def address(self):
        return printable(self.asked.fields[0].encode("utf-8", "surrogateescape")) if self.asked else None

    @property
    def method_and_path(self):
        line = self.exchange.head.split(b"\r\n", 1)[0].rpartition(b" ")[0] if self.exchange.head else b""
        if not line and self.asked:
            line = self.asked.fields[1].encode("utf-8", "surrogateescape")
        return printable(line[:200])

    @property
    def action(self):
        found = key_without_case(self.request, "action")
        return found if isinstance(found, str) else None

    @property
    def objects(self):
        """The keys of the request that name objects: what is no part of every request."""
        return [key for key in self.request if key.lower() not in ("action", "sessionid", "guid", "ip", "info")]

    @property
    def http_status(self):
        match = re.match(rb"HTTP/1\.[01] (\d{3})", bytes(self.exchange.reply.data[:32]))
        return int(match[1]) if match else None

    @property
    def result(self):
        """The reply's error, as a number, and its message."""
        found = self.reply.get("result")
        if not isinstance(found, dict):
            return None, None
        try:
            return int(found.get("error")), found.get("msg")
        except (TypeError, ValueError):
            return None, found.get("msg")

    @functools.cached_property
    def exit(self):
        """(exit status, number of the signal) of the process."""
        event = self.first("exit")
        if event is None:
            return None, None
        if "failed" in event.marks:
            return None, event.marks["failed"]
        return event.fields[0] if event.fields else None, None

    @property
    def session(self):
        """A key of SESSIONS, or None where it never came to the check."""
        error, _ = self.result
        if not self.reply:
            return None
        if self.action == "login":
            info = self.reply.get("info")
            return "given" if error == 0 and isinstance(info, dict) and info.get("sessionid") else "open"
        if error == _NEED_LOGIN:
            return "refused"
        if self.action in _OPEN_ACTIONS:
            return "open"
        if self.address == _LOOPBACK:
            return "own"
        if self.asked is None:
            return None
        read_session = any(event.fields[0].endswith("/app_sessionid") for event in self.all("read"))
        return "held" if read_session else "controller"

    @property
    def verdict(self):
        exchange = self.exchange
        if not exchange.over:
            return "under way"
        status, killed_by = self.exit
        if killed_by:
            return f"app.cgi ended by signal {killed_by}"
        if exchange.told_to_end and status is None and self.asked is not None:
            return "app.cgi was killed, or told no more"
        error, message = self.result
        if error is not None and not exchange.note:
            text = f"error {error}" + (f": {message}" if message else "")
            return "ok" if error == 0 else text.strip()
        if exchange.note:
            return exchange.note
        if self.http_status is not None and self.http_status != 200:
            return f"HTTP {self.http_status}"
        if not self.reply_body:
            return "no reply"
        return "ok" if self.reply else "no JSON"

    def hiding(self):
        hiding = Hiding()
        for text in (self.request_body, self.reply_body):
            hiding.learn_from(text.decode("utf-8", "replace"))
        for _, event in self.events:
            if "secret" in event.marks and len(event.fields) > 1 and event.word in ("get", "set"):
                for shown in (event.fields[1], event.marks.get("was") or ""):
                    hiding.learn(shown.replace("\\x20", " ").strip('"'))
        return hiding

    def line(self):
        """What a list tells of it."""
        exchange = self.exchange
        return {
            "number": exchange.number,
            "time": exchange.began,
            "duration": exchange.ended - exchange.began if exchange.ended is not None else None,
            "router": exchange.router,
            "port": exchange.port,
            "address": self.address,
            "asks": self.method_and_path,
            "action": self.action and speech.clean(self.action),
            "objects": [speech.clean(name) for name in self.objects[:MOST_OBJECTS]],
            "session": self.session,
            "http": self.http_status,
            "error": self.result[0],
            "verdict": speech.clean(Hiding().hide(self.verdict)),
            "faults": exchange.faults,
        }

    def whole(self, secrets=False):
        """All that is known; what is secret only where it is asked for."""
        hiding = self.hiding()

        def text(data):
            found = data.decode("utf-8", "backslashreplace") if isinstance(data, (bytes, bytearray)) else data
            return found if secrets else hiding.hide(found)

        status, signal = self.exit
        exchange = self.exchange
        return {
            **self.line(),
            "replied": exchange.replied - exchange.began if exchange.replied is not None else None,
            "request": {"head": text(exchange.head), "body": text(self.request_body), "cut": exchange.body.size > len(exchange.body.data)},
            "reply": {
                "raw": text(exchange.reply.data), "body": text(self.reply_body), "cut": exchange.reply.size > len(exchange.reply.data),
            },
            "events": [self.shown(time, event, secrets, hiding) for time, event in self.events],
            "deeds": [{"title": text(deed.title), "lines": [line if secrets else hiding.hide_all(line) for line in deed.lines], "untold": deed.untold} for deed in exchange.deeds],
            "exit": int(status) if status and status.isdigit() else None,
            "signal": signal,
            "untold": self.untold,
            "refused_lines": [line if secrets else hiding.hide_all(line) for line in self.read_lines[1][:100]],
        }  # fmt: skip

    def shown(self, time, event, secrets, hiding):
        marks = {name: value for name, value in event.marks.items() if name != "secret"}
        fields = list(event.fields)
        secret = "secret" in event.marks
        if not secrets and secret:
            fields[1:] = [HIDDEN] * (len(fields) - 1)
            marks.update({"was": HIDDEN} if "was" in marks else {})
        elif not secrets and event.word in _PRINTED:
            fields = [hiding.hide_all(field) for field in fields]
        elif not secrets and event.word in ("input", "reply"):
            fields = [hiding.hide(field) for field in fields]
        fields = [speech.clean(field) for field in fields]
        marks = {name: value and speech.clean(value) for name, value in marks.items()}
        shown = speech.vocabulary.Event(event.word, fields, marks)
        return {
            "at": time - self.exchange.began,
            "word": event.word,
            "fields": fields,
            "marks": marks,
            "secret": secret,
            "text": printable(str(shown).encode("utf-8", "surrogateescape")),
        }


def key_without_case(found, key):
    return next((value for name, value in found.items() if name.lower() == key), None)


def unchunked(data):
    """The body of a reply that comes in chunks, as far as it came."""
    body = b""
    while match := re.match(rb"([0-9A-Fa-f]{1,8})[^\r\n]*\r\n", data):
        size = int(match[1], 16)
        body += data[match.end() : match.end() + size]
        data = data[match.end() + size + 2 :]
        if size == 0:
            break
    return body
