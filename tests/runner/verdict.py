"""Compares what was seen of a request with what its case expects."""

import ctypes
import difflib
import hashlib
import itertools
import math
import re
import time

from caseformat import at_second, expand, resolve, to_bytes, to_text
from isolation import libc
from message_queue import expected_record

CLOCK_MACRO = re.compile(r"%(SESSION|SINCE|UPTIME)\(([^)]*)\)%")
DRAWN_MACRO = re.compile(r"%DRAWN\((\d+),(\d+),(\d+),(\d+),(.*?)\)%")
LOG_HEAD = re.compile(r"((?:app|applogin|mesh_fun|cgi_userlist|cgi_wlan|cgi_qos):\w+):\d+:")
QUEUE_MODE = 0o666


def at_time(text, second, uptime=0, laid_out=0):
    """Fills in what depends on the time: %TIME()% and %TIME(-90)%, the session id %SESSION(user)% of that second,
    %SINCE(-90)%, which are the seconds since what the case's files name %TIME(-90)%, and %UPTIME()%."""

    def value(match):
        if match[1] == "SINCE":
            return str(second - laid_out - int(match[2]))
        if match[1] == "UPTIME":
            return str(uptime)
        return "Us" + hashlib.md5(to_bytes(match[2]) + str(second).encode()).hexdigest()

    return DRAWN_MACRO.sub(lambda match: drawn(second, *match.groups()), CLOCK_MACRO.sub(value, at_second(text, second)))


def drawn(second, add, factor, skip, count, characters):
    """%DRAWN(ADD,FACTOR,SKIP,COUNT,CHARACTERS)%: what rand() picks once srand() got (second + ADD) * FACTOR."""
    libc.srand(ctypes.c_uint((second + int(add)) * int(factor)))
    for _ in range(int(skip)):
        libc.rand()
    return "".join(characters[libc.rand() % len(characters)] for _ in range(int(count)))


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
        problems = list(compare(step, case["world"], before, seen, items, second, uptime))
        if not problems:
            return second, []
        if found is None or len(problems) < len(found[1]):
            found = second, problems
    return found


def compare(step, world, before, seen, items, second, uptime):
    def fill(text):
        return at_time(expand(text), second, uptime, seen["laid_out"])

    if seen["timeout"]:
        yield "time", "the program ends", "it had to be killed"
        return
    expected_exit = step.get("exit", 0)
    if seen["exit"] != expected_exit:
        name = f"signal {-seen['exit']}" if seen["exit"] < 0 else f"status {seen['exit']}"
        yield "exit", f"status {expected_exit}", name
    if seen["tool"]:
        yield "tool", "", seen["tool"]

    replies = [] if step["reply"] is None else [to_bytes(fill(step["reply"]))]
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

    events, reads, driver, inits = history(seen["log"], items)
    wanted = resolve([fill(event) for event in step.get("events", [])], events)
    if events != wanted:
        yield "events", "\n".join(wanted), "\n".join(events)
    if "reads" in step and reads != step["reads"]:
        yield "reads", "\n".join(step["reads"]), "\n".join(reads)
    if "driver" in step and driver != step["driver"]:
        yield "driver", "\n".join(step["driver"]), "\n".join(driver)
    if inits != 1:
        yield "store", "opened once", f"opened {inits} times"

    records = [expected_record(record, items.byteorder) for record in step.get("queue", [])]
    if seen["queue"] != records:
        yield "queue", "\n".join(records), "\n".join(seen["queue"])
    if seen["queue_mode"] not in (None, QUEUE_MODE):
        yield "queue", f"mode {QUEUE_MODE:o}", f"mode {seen['queue_mode']:o}"

    files = dict(before)
    for path, content in step.get("files_after", {}).items():
        if content is False:
            files.pop(path, None)
        else:
            files[path] = to_bytes(fill(content))
    for path in sorted(files.keys() | seen["files"].keys()):
        if files.get(path) != seen["files"].get(path):
            yield f"file {path}", show_file(files.get(path)), show_file(seen["files"].get(path))


def show_file(content):
    return "(absent)" if content is None else to_text(content)


def history(log, items):
    """The ordered events as a case lists them, apart what was read of the store and of the Wi-Fi driver, and how often
    the store was opened. A request that the driver would not take is an event too."""
    events, reads, driver, inits = [], [], [], 0
    for line in log:
        words = line.split()
        if words[0] == "init":
            inits += 1
        elif words[0] in ("run", "unexpected"):
            command = to_text(bytes.fromhex(words[1] if len(words) > 1 else ""))
            events.append(("run " if words[0] == "run" else "unexpected command ") + command)
        elif words[0] in ("commit", "save"):
            events.append(commit_event(words))
        elif words[0] == "get":
            reads.append(item_name(words[1], items))
        elif words[0] == "driver":
            driver.append(f"{words[1]} {words[2]}" + (" failed" if words[3] != "ok" else ""))
            if words[4:]:
                events.append(" ".join(["unfit request", words[1], words[2], *words[4:]]))
        elif words[0] == "set":
            events.append(set_event(words, items))
        else:
            events.append(line)
    return events, reads, driver, inits


def item_name(number, items):
    base, at, interface = number.partition("@")
    if int(base) in items.by_id:
        return items.by_id[int(base)].name + at + interface
    return items.table_call(int(base))[1].name + at + interface + " entry"


def set_event(words, items):
    base, at, interface = words[1].partition("@")
    base = int(base)
    failed = "" if words[2] == "ok" else " failed"
    data = bytes.fromhex(words[3]) if len(words) > 3 else b""
    if base in items.by_id:
        return f"set {item_name(words[1], items)} {items.show(items.by_id[base], data)}{failed}"
    prefix, item = items.table_call(base)
    return f"{prefix}{item.name}{at}{interface} {data.hex()}".rstrip() + failed


def commit_event(words):
    """"commit" or "save"; everything that is not as it should be is said behind it."""
    name, kind, result, replied, queued = words
    event = name
    if name == "commit" and kind != "4":
        event += f" of type {kind}"
    if result != "ok":
        event += " failed"
    if replied != "replied=1":
        event += " before the reply"
    if queued != "queued=0":
        event += " after a record"
    return event


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
