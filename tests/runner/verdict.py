# SPDX-License-Identifier: MIT
"""Compares what was seen of a request with what its case expects."""

import difflib
import hashlib
import itertools
import math
import re
import time

from caseformat import at_second, expand, to_bytes, to_text
from macros import Moment
from message_queue import expected_record
from vocabulary import EVENT_MARKS, EVENTS, Event, show_mark, take_marks, words

LAID_OUT_MACRO = re.compile(r"%LAID\((-?\d+)?\)%")
SESSION_MACRO = re.compile(r"%SESSION\(([^)]*)\)%")
LOG_HEAD = re.compile(r"((?:app|applogin|mesh_fun|cgi_userlist|cgi_wlan|cgi_qos):\w+):\d+:")
QUEUE_MODE = 0o666


def at_time(text, moment, own):
    """Fills in what depends on the time: %TIME()% and %TIME(-90)%, the session id %SESSION(user)% of that second, and the
    case file's own macros."""
    if "%" not in text:
        return text

    def session(match):
        return "Us" + hashlib.md5(to_bytes(match[1]) + str(moment.second).encode()).hexdigest()

    text = LAID_OUT_MACRO.sub(lambda match: str(moment.laid_out + int(match[1] or 0)), text)
    return own.fill(SESSION_MACRO.sub(session, at_second(text, moment.second)), moment)


def seconds_of(seen):
    """The seconds in which the program may have asked for the time; the kernel's coarse clock lags a little."""
    return range(int(seen["started"] - 0.02), int(seen["ended"]) + 1)


def uptimes_of(seen):
    """The seconds since the kernel's start, rounded up as the kernel tells them, of the same span of time."""
    booted = time.time() - time.clock_gettime(time.CLOCK_BOOTTIME)
    return range(math.ceil(seen["started"] - booted - 0.02), math.ceil(seen["ended"] - booted + 0.02) + 1)


def judge(case, step, before, seen, items):
    """(second, problems): the second that fits, and a list of (aspect, expected, seen) with all that differs."""
    found = None
    for second, uptime in itertools.product(seconds_of(seen), uptimes_of(seen)):
        moment = Moment(second, uptime, seen["laid_out"])
        problems = list(compare(step, case["macros"], before, seen, items, moment))
        if not problems:
            return second, []
        if found is None or len(problems) < len(found[1]):
            found = second, problems
    return found


def compare(step, own, before, seen, items, moment):
    def fill(text):
        return at_time(expand(text), moment, own)

    if seen["timeout"]:
        yield "time", "the program ends", "it had to be killed"
        return
    expected_exit = step.get("exit", 0)
    if seen["exit"] != expected_exit:
        name = f"signal {-seen['exit']}" if seen["exit"] < 0 else f"status {seen['exit']}"
        yield "exit", f"status {expected_exit}", name
    if seen["tool"]:
        yield "tool", "", seen["tool"]

    replies = [] if step["reply"] is None else [fill(step["reply"])]
    after = {path: content if content is False else fill(content) for path, content in step.get("files_after", {}).items()}
    events = [str(event) for event in (named(event, items) for event in seen["log"]) if is_deed(event)]
    # One after the other, so that a macro's name means the same text in all of them.
    written = [path for path, content in after.items() if content is not False]
    texts = own.resolve(replies + [after[path] for path in written] + [fill(event) for event in step.get("events", [])],
                        [to_text(b"".join(seen["stdout"]))] * len(replies)
                        + [to_text(seen["files"].get(path, b"")) for path in written] + events)
    replies = [to_bytes(text) for text in texts[:len(replies)]]
    after.update(zip(written, texts[len(replies):]))
    if seen["stdout"] != replies:
        whole = b"".join(seen["stdout"])
        if replies and whole == replies[0]:
            yield "reply", "one write", "writes of " + ", ".join(str(len(part)) for part in seen["stdout"])
        else:
            yield "reply", to_text(b"".join(replies)) or "(nothing)", to_text(whole) or "(nothing)"
    stderr = to_bytes(fill(step.get("stderr", "")))
    if seen["stderr"] != stderr:
        yield "standard error", to_text(stderr), to_text(seen["stderr"])

    lines = [fill(line) for line in step.get("console", [])]
    console = LOG_HEAD.sub(r"\1:#:", to_text(seen["console"]))
    if console != "".join(lines):
        yield "console", "".join(lines), console
    elif seen["console_opens"] != len(lines):
        yield "console", f"opened {len(lines)} times", f"opened {seen['console_opens']} times"

    told = [named(event, items) for event in seen["log"]]
    wanted = texts[len(replies) + len(written):]
    if events != wanted:
        yield "events", "\n".join(wanted), "\n".join(events)
    for key, word, others in OF_ONE_KIND:
        lines = [str(event) for event in told if event.word in (word, *others)]
        wanted = [with_word(line, word, others) for line in step.get(key, [])]
        if key in step and lines != wanted:
            yield key, "\n".join(wanted), "\n".join(lines)
    inits = sum(event.word == INIT for event in told)
    if inits != 1:
        yield "store", "opened once", f"opened {inits} times"

    records = [expected_record(record, items.byteorder) for record in step.get("queue", [])]
    if seen["queue"] != records:
        yield "queue", "\n".join(records), "\n".join(seen["queue"])
    if seen["queue_mode"] not in (None, QUEUE_MODE):
        yield "queue", f"mode {QUEUE_MODE:o}", f"mode {seen['queue_mode']:o}"

    files = dict(before)
    for path, content in after.items():
        if content is False:
            files.pop(path, None)
        else:
            files[path] = to_bytes(content)
    for path in sorted(files.keys() | seen["files"].keys()):
        if files.get(path) != seen["files"].get(path):
            yield f"file {path}", show_file(files.get(path)), show_file(seen["files"].get(path))


def show_file(content):
    return "(absent)" if content is None else to_text(content)


INIT, GET, ENTRY, DRIVER = words("init", "get", "entry", "driver")
UNDECLARED, UNFIT = words("undeclared", "unfit", known=EVENT_MARKS)
# Keys that list events of one kind, whose word is left out there, and what else they list.
OF_ONE_KIND = (("reads", GET, (ENTRY,)), ("driver", DRIVER, ()))


def with_word(line, word, others):
    """The whole line of one that leaves out `word`, which stands behind the marks."""
    marks, rest = take_marks(line, EVENT_MARKS)
    own = [] if rest.partition(" ")[0] in others else [word]
    return " ".join([*map(show_mark, marks.items()), *own, rest])


def is_deed(event):
    """Whether a case has to list it: reading changes nothing, if it is done as it should be."""
    if event.word in (GET, ENTRY):
        return UNDECLARED in event.marks
    if event.word == DRIVER:
        return UNFIT in event.marks
    return event.word != INIT


def named(event, items):
    """The event with its item by name and its value as the item's kind is written."""
    shape = EVENTS[event.word]
    if not shape or shape[0] != "ITEM" or UNDECLARED in event.marks:
        return event
    number, at, interface = event.fields[0].partition("@")
    item = items.by_id[int(number)]
    fields = [item.name + at + interface, *event.fields[1:]]
    if shape[1:] == ["VALUE"]:
        fields[1] = items.show(item, bytes.fromhex(fields[1]))
    return Event(event.word, fields, event.marks)


def show(problem, whole):
    """A problem as readable lines: a diff, cut short unless the whole is asked for."""
    aspect, expected, seen = problem
    diff = list(difflib.unified_diff(shorten(expected, whole), shorten(seen, whole), lineterm="", n=2))[2:]
    lines = [f"  {aspect}: (- expected, + seen)"]
    lines += ["    " + line.encode("ascii", "backslashreplace").decode() for line in diff]
    if not whole and len(lines) > 40:
        lines = lines[:40] + ["    ... (-v shows all)"]
    return "\n".join(lines)


def shorten(text, whole):
    lines = text.split("\n")
    if whole:
        return lines
    return [line if len(line) <= 300 else f"{line[:200]}...{line[-60:]} ({len(line)} characters)" for line in lines]
