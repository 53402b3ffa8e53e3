# SPDX-License-Identifier: MIT
"""Reads and writes events and faults in the text form that events.conf and faults.conf describe."""

import dataclasses
import errno
import pathlib
import re

HERE = pathlib.Path(__file__).resolve().parent


class VocabularyError(ValueError):
    """A line says what nobody has described."""


def read_rows(name):
    """(kind, word, its columns) of a description; columns end where two spaces or the line do. Other lines begin otherwise."""
    for line in (HERE / name).read_text().splitlines():
        if line and line[0] not in "# ":
            kind, word, *columns = re.split(r" {2,}", line)
            yield kind, word, columns


def shapes(name, kind):
    """Word -> the shapes of its fields, "[VALUE]" for one that may be missing."""
    return {word: [] if columns[0] == "-" else columns[0].split() for found, word, columns in read_rows(name) if found == kind}


EVENTS = shapes("events.conf", "event")
EVENT_MARKS = shapes("events.conf", "mark")
FAULT_MARKS = shapes("faults.conf", "mark")



def read_calls():
    """Call -> what it is on, how it fails, and of whom it is: what the column of the row says, or of the last one above that has it."""
    calls, of = {}, None
    for kind, word, columns in read_rows("faults.conf"):
        if kind == "call":
            of = columns[2] if len(columns) > 2 else of
            calls[word] = (columns[0], columns[1], of)
    return calls


CALLS = read_calls()
OF_STORE, OF_VIRTUAL_ROUTER = "the store library", "the virtual router"
SHORT = ("read", "write")  # which can take less than they are asked for
# Marks that say which requests a fault is meant for, and those that the drawing of one needs.
CONDITIONS = ("requests", "action", "object", "phone", "seed")


def words(*names, known=EVENTS):
    """The names, which must be described: so a program cannot wait for a word that nobody says."""
    for name in names:
        if name not in known:
            raise VocabularyError(f"nobody has described {name!r}")
    return names


@dataclasses.dataclass
class Event:
    word: str
    fields: list
    marks: dict = dataclasses.field(default_factory=dict)  # name -> value, None for one without

    def __str__(self):
        shape = EVENTS[self.word]
        texts = [escape(field) if kind == "TEXT" else field for field, kind in zip(self.fields, shape)]
        return " ".join([*map(show_mark, self.marks.items()), self.word, *texts])


def show_mark(mark):
    name, value = mark
    return name if value is None else f"{name}={value}"


def take_marks(line, known):
    """(the marks at the line's beginning, the rest)."""
    marks = {}
    while True:
        head, _, rest = line.partition(" ")
        name, equals, value = head.partition("=")
        if name not in known or name in marks:
            return marks, line
        shape = known[name]
        if shape and not equals and not shape[0].startswith("[") or equals and not (shape and value):
            raise VocabularyError(f"the mark {name} is written otherwise: {line}")
        marks[name], line = value if equals else None, rest


def parse_event(line):
    marks, rest = take_marks(line, EVENT_MARKS)
    word, _, rest = rest.partition(" ")
    if word not in EVENTS:
        raise VocabularyError(f"no event is called {word!r}: {line}")
    shape = EVENTS[word]
    # VALUE and FIELDS may hold a text with spaces, so they are the rest of the line as TEXT is.
    fields = rest.split(" ", len(shape) - 1) if rest and shape else []
    needed = sum(not kind.startswith("[") for kind in shape)
    if not needed <= len(fields) <= len(shape) or rest and not shape:
        raise VocabularyError(f"{word} has the fields {' '.join(shape) or '-'}: {line}")
    if shape and shape[-1] == "TEXT":
        fields[-1] = unescape(fields[-1])
    return Event(word, fields, marks)


def escape(text):
    return re.sub(r"[\x00-\x1f\x7f\\]", lambda m: {"\\": "\\\\", "\n": "\\n"}.get(m[0]) or f"\\x{ord(m[0]):02x}", text)


_ESCAPED = re.compile(r"(\\(?:x[0-9a-f]{2}|.?))")
_MEANT = {"\\\\": "\\", "\\n": "\n", **{f"\\x{byte:02x}": chr(byte) for byte in range(256)}}


def unescape(text):
    parts = _ESCAPED.split(text)  # a reply has a thousand line feeds and tabs
    try:
        parts[1::2] = map(_MEANT.__getitem__, parts[1::2])
    except KeyError as error:
        raise VocabularyError(f"what is {error.args[0]}? {text}") from None
    return "".join(parts)


@dataclasses.dataclass
class Fault:
    call: str
    item: str = ""  # "" for all
    marks: dict = dataclasses.field(default_factory=dict)

    def __str__(self):
        return " ".join([*map(show_mark, self.marks.items()), self.call, *([self.item] if self.item else [])])

    @property
    def of_the_kernel(self):
        return CALLS[self.call][1] == "ERRNO"


def how_pattern(fails):
    """What the mark "failed" of a call may say, as a regular expression."""
    if fails.lstrip("-").isdigit():
        return r"-?\d+"
    return "|".join(re.escape(way).replace("N", r"\d{1,9}") for way in fails.split("|"))


def parse_fault(line, armed=False):
    """`armed`: for a virtual router that runs, which can do more than a system call filter and knows requests."""
    marks, rest = take_marks(line, FAULT_MARKS)
    call, _, item = rest.partition(" ")
    if call not in CALLS:
        raise VocabularyError(f"no such call can fail: {line}")
    on, fails, of = CALLS[call]
    how = marks.get("failed")
    if item and (on == "-" or " " in item or (on == "[FILE]" and not armed)):
        raise VocabularyError(f"{call} fails on {'no item' if on == '-' else 'one item'}: {line}")
    if not item and on == "FILE":
        raise VocabularyError(f"{call} fails on a file: {line}")
    if fails == "ERRNO":
        if how not in errno.errorcode.values() and not (armed and ("delay" in marks and "failed" not in marks or call in SHORT and how == "short")):
            raise VocabularyError(f"{call} fails with an error's name, as in failed=ENOSPC {call}: {line}")
    elif how is not None and not re.fullmatch(how_pattern(fails), how):
        ways = "a number" if fails.lstrip("-").isdigit() else f"one of {fails}"
        raise VocabularyError(f"{call} fails with {ways}: {line}")
    for name in ("from", "count", "requests", "phone", "seed"):
        if name in marks and not re.fullmatch(r"[1-9]\d{0,8}", marks[name]):
            raise VocabularyError(f"{name} is a number from 1 on: {line}")
    if "delay" in marks:
        delay = re.fullmatch(r"(\d{1,9})\.\.(\d{1,9})" if armed and ".." in marks["delay"] else r"([1-9]\d{0,8})", marks["delay"])
        if not delay or delay.lastindex == 2 and int(delay[1]) > int(delay[2]):
            raise VocabularyError(f"delay is a number of microseconds{', or LEAST..MOST' if armed else ''}: {line}")
    if not armed and (marks.keys() & {*CONDITIONS} or of == OF_VIRTUAL_ROUTER):
        raise VocabularyError(f"only a virtual router that runs can do that: {line}")
    if not armed and fails == "ERRNO" and marks.keys() & {"from", "count", "delay"}:
        raise VocabularyError(f"a system call filter neither counts nor waits: {line}")
    return Fault(call, item, marks)
