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
CALLS = {word: (columns[0], columns[1]) for kind, word, columns in read_rows("faults.conf") if kind == "call"}


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


def unescape(text):
    def value(match):
        if match[0][1:] not in ("\\", "n") and not match[1]:
            raise VocabularyError(f"what is {match[0]}? {text}")
        return chr(int(match[1], 16)) if match[1] else {"\\": "\\", "n": "\n"}[match[0][1:]]

    return re.sub(r"\\(?:x([0-9a-f]{2})|.?)", value, text)


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


def parse_fault(line):
    marks, rest = take_marks(line, FAULT_MARKS)
    call, _, item = rest.partition(" ")
    if call not in CALLS:
        raise VocabularyError(f"no such call can fail: {line}")
    on, fails = CALLS[call]
    how = marks.get("failed")
    if item and (on != "ITEM" or " " in item):
        raise VocabularyError(f"{call} fails on {'one item' if on == 'ITEM' else 'no item'}: {line}")
    if fails == "ERRNO" and how not in errno.errorcode.values():
        raise VocabularyError(f"{call} fails with an error's name, as in failed=ENOSPC {call}: {line}")
    if fails != "ERRNO" and how is not None and not re.fullmatch(r"-?\d+", how):
        raise VocabularyError(f"{call} fails with a number: {line}")
    for name in ("from", "count", "delay"):
        if name in marks and not re.fullmatch(r"[1-9]\d*", marks[name]):
            raise VocabularyError(f"{name} is a number from 1 on: {line}")
    if fails == "ERRNO" and marks.keys() & {"from", "count", "delay"}:
        raise VocabularyError(f"a system call filter neither counts nor waits: {line}")
    return Fault(call, item, marks)
