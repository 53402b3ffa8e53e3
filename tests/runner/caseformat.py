# SPDX-License-Identifier: MIT
"""Cases as data: finds them, checks their keys, fills in rows, macros and defaults. README.md describes the format."""

import errno
import itertools
import json
import os
import re
import tomllib

import macros
import seam
from vocabulary import parse_fault

REQUEST_KEYS = {"body", "content_length", "remote_addr", "env", "args", "stdin", "pieces"}
EXPECT_KEYS = {"reply", "exit", "stderr", "console", "events", "reads", "driver", "queue", "files_after"}
WORLD_KEYS = {
    "store", "unset", "fail", "files", "shell", "memory", "queue_exists", "queue_full", "arp", "stations",
}
STEP_KEYS = REQUEST_KEYS | EXPECT_KEYS | {"commands"}
CASE_KEYS = STEP_KEYS | WORLD_KEYS | {"skip", "then"}
HEAD_KEYS = {"name", "about", "rows", "columns"}
MERGED_KEYS = {  # defaults stay, key by key
    "store", "files", "commands", "env", "skip", "files_after", "stations",
}

TYPES = {
    "body": str, "content_length": (str, bool), "remote_addr": (str, bool), "env": dict, "args": list, "stdin": str,
    "pieces": int, "reply": str, "exit": int, "stderr": str, "console": list, "events": list, "reads": list,
    "queue": list, "files_after": dict, "commands": dict, "store": dict, "unset": list, "fail": list, "files": dict,
    "shell": bool, "memory": int, "queue_exists": bool, "queue_full": bool, "arp": list, "skip": dict,
    "then": list, "stations": dict, "driver": list,
}


ERROR_TEXTS = {}  # name of an error -> its text, where the program's C library is another than the runner's


class CaseError(Exception):
    """A case file says something that it cannot mean."""


class Number(str):
    """A JSON number as its text, so that it is printed as it was written."""


# ---- texts: bytes that are no UTF-8 travel through str as surrogates

def to_bytes(text):
    return text.encode("utf-8", "surrogateescape")


def to_text(data):
    return data.decode("utf-8", "surrogateescape")


PATTERN = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_"
STATIC_MACRO = re.compile(r"%(REPEAT|TEXT|BYTE|HEX|NUL|NL|ERROR)\(([^)]*)\)%")


def expand(text):
    """Fills in the macros whose value does not depend on the time."""

    def value(match):
        kind, argument = match.groups()
        if kind == "REPEAT":
            unit, count = argument.rsplit(",", 1)
            return unit * int(count)
        if kind == "TEXT":  # no two neighbouring characters alike, so that a shifted text is seen
            return "".join(itertools.islice(itertools.cycle(PATTERN), int(argument)))
        if kind == "BYTE":
            return "".join(chr(byte if byte < 128 else 0xDC00 + byte) for byte in bytes.fromhex(argument))
        if kind == "HEX":  # a text field of a record: its bytes in hexadecimal, filled with zeros
            field, width = argument.rsplit(",", 1)
            return to_bytes(field).ljust(int(width), b"\0").hex()
        if kind == "ERROR":
            return ERROR_TEXTS.get(argument) or os.strerror(getattr(errno, argument))
        return {"NUL": "\0", "NL": "\n"}[kind]

    return STATIC_MACRO.sub(value, text) if "%" in text else text


TIME_MACRO = re.compile(r"%TIME\((-?\d+)?\)%")


def at_second(text, second):
    """Fills in %TIME()%, that second, and %TIME(-90)%, 90 seconds before it."""
    return TIME_MACRO.sub(lambda match: str(second + int(match[1] or 0)), text) if "%" in text else text


SERIES_MACRO = re.compile(r"%(EACH|LIST)\((\d+),(\d+),")
ENTRY = re.compile(r"%(\w+)\[(\d+)\]%")
NUMBERED = re.compile(r"%(?:(\w+)\[)?(?:(\d+)([-+]))?i\]?(?::(0\d[xX]))?%")


def series(node, lists):
    """Fills in %EACH(FIRST,LAST,TEXT)% and %LIST(FIRST,LAST,TEXT)% in all texts: the TEXT once for every number.

    In the TEXT stand %i%, %i:02x%, %N-i% and %N+i%, and %NAME[i]%, the text of that number in a list of `lists`;
    %NAME[7]% may stand anywhere.
    """
    if isinstance(node, dict):
        return {series(key, lists): series(value, lists) for key, value in node.items()}
    if isinstance(node, list):
        return [series(value, lists) for value in node]
    if not isinstance(node, str) or "%" not in node:
        return node
    while head := SERIES_MACRO.search(node):
        depth = 1
        for mark in re.finditer(r"%[A-Z]+\(|\)%", node[head.end():]):
            depth += 1 if mark[0] != ")%" else -1
            if depth == 0:
                break
        if depth:
            raise CaseError(f"without an end: {head[0]}")
        text, end = node[head.end():head.end() + mark.start()], head.end() + mark.end()
        kind, first, last = head[1], int(head[2]), int(head[3])
        filled = [NUMBERED.sub(lambda match, i=i: numbered(i, lists, *match.groups()), text)
                  for i in range(first, last + 1)]
        node = node[:head.start()] + ("," if kind == "LIST" else "").join(filled) + node[end:]
    return ENTRY.sub(lambda match: numbered(int(match[2]), lists, match[1], None, None, None), node)


def numbered(i, lists, name, base, sign, form):
    number = int(base or 0) - i if sign == "-" else int(base or 0) + i
    if name is None:
        return format(number, form or "d")
    if name not in lists or not 0 <= number < len(lists[name]):
        raise CaseError(f"no such text: {name}[{number}]")
    return lists[name][number]


def read_lists(texts):
    """The lists of a file: words in their order, "-" for an empty one, "@NAME" for all of a list above."""
    lists = {}
    for name, text in texts.items():
        words = [lists[word[1:]] if word.startswith("@") else ["" if word == "-" else word] for word in text.split()]
        lists[name] = sum(words, [])
    return lists


# ---- replies: compact JSON in the case, the product's formatted print on the wire

def format_json(node, depth=1):
    """cJSON's formatted print. Objects are lists of (key, value), as parse_json() makes them."""
    if isinstance(node, dict):
        members = node["members"]
        lines = [f"{'	' * depth}{quote(key)}:\t{format_json(value, depth + 1)}" for key, value in members]
        inner = ",\n".join(lines) + "\n" if lines else ""
        return "{\n" + inner + "\t" * (depth - 1) + "}"
    if isinstance(node, list):
        return "[" + ", ".join(format_json(item, depth + 1) for item in node) + "]"
    if isinstance(node, Number):
        return str(node)
    if isinstance(node, str):
        return quote(node)
    return {True: "true", False: "false", None: "null"}[node]


ESCAPES = {'"': '\\"', "\\": "\\\\", "\b": "\\b", "\f": "\\f", "\n": "\\n", "\r": "\\r", "\t": "\\t"}


ESCAPED = re.compile('[\0-\x1f"\\\\]')


def quote(text):
    return '"' + ESCAPED.sub(lambda m: ESCAPES.get(m[0]) or f"\\u{ord(m[0]):04x}", text) + '"'


def parse_json(text):
    return json.loads(text, object_pairs_hook=lambda pairs: {"members": pairs}, parse_int=Number, parse_float=Number)


# ---- store items

class Items:
    """The endpoint's items of the configuration store, as platform/items.conf tells them."""

    NUMBERS = seam.read_records()[1]
    INTERFACES = [f"{radio}.{virtual}"
                  for radio, virtual in itertools.product(range(NUMBERS["kWlanCount"]), range(NUMBERS["kVwlanCount"]))]

    def __init__(self, path, byteorder="little"):
        self.byteorder = byteorder  # of the processor that the program is built for
        self.by_name = {item.name: item for item in seam.read_items(path) if not item.of_others}
        self.by_id = {item.id: item for item in self.by_name.values()}

    def find(self, name):
        """The item and its interface ("W.V" or None) of a name like MIB_WLAN_SSID@0.1."""
        base, _, interface = name.partition("@")
        if base not in self.by_name:
            raise CaseError(f"no such store item: {base}")
        return self.by_name[base], interface or None

    def interfaces(self, item):
        """For which interfaces the item has a value; [None]: it has one for all."""
        return self.INTERFACES if item.per_interface else [None]

    def encode(self, item, value):
        kind, width = item.value_kind, item.value_width
        if isinstance(value, dict) and set(value) == {"hex"}:
            data = bytes.fromhex(value["hex"])
        elif kind == "text" and isinstance(value, str):
            data = to_bytes(expand(value)).ljust(width, b"\0")
        elif kind == "ipv4" and isinstance(value, str):
            data = bytes(int(part) for part in value.split("."))
        elif kind in ("int32", "byte", "sbyte") and isinstance(value, int):
            data = value.to_bytes(width, self.byteorder, signed=kind != "byte")
        else:
            raise CaseError(f"{item.name}: not a value of its kind: {value!r}")
        if len(data) != width:
            raise CaseError(f"{item.name}: {len(data)} bytes instead of {width}")
        return data

    def show(self, item, data):
        """The bytes that were written, as an event names them."""
        return item.show(data, self.byteorder)


# ---- case files

def find_files(folder):
    return sorted(folder.rglob("*.toml"))


def load_cases(folder, items):
    """All cases below `folder`, in the order of their files. Raises CaseError with the file's name in it."""
    cases = []
    for path in find_files(folder):
        try:
            cases += load_file(path, path.relative_to(folder), items)
        except (CaseError, KeyError, ValueError, TypeError) as error:
            raise CaseError(f"{path}: {error}") from error
    names = [case["name"] for case in cases]
    doubles = sorted({name for name in names if names.count(name) > 1}) if len(set(names)) < len(names) else []
    if doubles:
        raise CaseError("names used twice: " + ", ".join(doubles))
    return cases


EMPTY_FILE = {"defaults": {}, "lists": {}, "replies": {}, "events": {}, "case": []}


def load_file(path, relative, items):
    data = read_files(tomllib.loads(path.read_text()), path.parent)
    if path.name == "case.toml":  # a case with a folder of its own
        area = relative.parent
        head = {**EMPTY_FILE, "case": [{"name": "", **data}]}
    else:
        area = relative.with_suffix("")
        head = {**EMPTY_FILE, **data}
    unknown = set(head) - set(EMPTY_FILE)
    if unknown:
        raise CaseError(f"unknown tables: {', '.join(sorted(unknown))}")
    check_keys(head["defaults"], CASE_KEYS, "defaults")
    lists = read_lists(head["lists"])
    own = macros.of_file(path)
    named = series({key: head[key] for key in ("replies", "events")}, lists)
    cases = []
    for raw in head["case"]:
        for number, row in enumerate(rows_of(raw)):
            case = series(merge(head["defaults"], row), lists)
            own_name = json.dumps(case.pop("name"), ensure_ascii=False)[1:-1].replace('\\"', '"')  # one line, whatever it holds
            name = f"{area}: {own_name}" if own_name else str(area)
            try:
                cases.append({"row": number, **finish(name, case, **named, items=items, own=own)})
            except (CaseError, ValueError, KeyError) as error:
                raise CaseError(f"{name}: {error}") from error
    return cases


def read_files(node, folder):
    """Replaces every {file = "NAME"} by the content of that file beside the case."""
    if isinstance(node, dict):
        if set(node) == {"file"}:
            return to_text((folder / node["file"]).read_bytes())
        return {key: read_files(value, folder) for key, value in node.items()}
    if isinstance(node, list):
        return [read_files(value, folder) for value in node]
    return node


def rows_of(raw):
    """The cases that a [[case]] table stands for: itself, or one for each of its rows."""
    raw = dict(raw)
    rows, columns = raw.pop("rows", None), raw.pop("columns", None)
    if "name" not in raw:
        raise CaseError("a case without a name")
    check_keys(raw, CASE_KEYS | HEAD_KEYS, raw["name"])
    raw.pop("about", None)
    if rows is None:
        return [raw]
    filled = []
    for row in rows:
        if columns is not None:
            if len(row) != len(columns):
                raise CaseError(f"{raw['name']}: a row with {len(row)} columns: {row}")
            row = dict(zip(columns, row))
        own = {key: value for key, value in row.items() if key in CASE_KEYS}
        used = set()
        for key in own:
            if f"%{key}%" in str(raw.get(key, "")) and raw[key] != f"%{key}%":
                raise CaseError(f"{raw['name']}: {key} is a key of the case, and cannot stand for a part of it")
        filled.append(substitute(merge(raw, own), row, used))
        unused = set(row) - CASE_KEYS - used
        if unused:
            raise CaseError(f"{raw['name']}: neither a key nor a variable in use: {', '.join(sorted(unused))}")
    return filled


VARIABLE = re.compile(r"%([A-Za-z_0-9]+)%")


def substitute(node, variables, used):
    """Fills in %variable%. A text that is nothing but a variable takes the variable's type."""
    if isinstance(node, dict):
        return {substitute(key, variables, used): substitute(value, variables, used) for key, value in node.items()}
    if isinstance(node, list):
        return [substitute(value, variables, used) for value in node]
    if not isinstance(node, str) or "%" not in node:
        return node
    whole = VARIABLE.fullmatch(node)
    if whole and whole[1] in variables:
        used.add(whole[1])
        return variables[whole[1]]

    def value(match):
        if match[1] not in variables:
            return match[0]
        used.add(match[1])
        return str(variables[match[1]])

    return VARIABLE.sub(value, node)


def merge(below, above):
    merged = {**below, **above}
    for key in MERGED_KEYS & below.keys() & above.keys():
        merged[key] = {**below[key], **above[key]}
    return merged


def check_keys(table, known, where):
    unknown = set(table) - known
    if unknown:
        raise CaseError(f"{where}: unknown keys: {', '.join(sorted(unknown))}")
    for key, value in table.items():
        wanted = TYPES.get(key)
        text = isinstance(value, str) and VARIABLE.fullmatch(value)  # a row fills it in later
        if wanted and not text and (not isinstance(value, wanted) or isinstance(value, bool) and wanted is int):
            raise CaseError(f"{where}: {key} has the wrong type")


def finish(name, case, replies, events, items, own):
    """Checks a case after all filling in, and makes the list of its steps."""
    check_keys(case, CASE_KEYS, name)
    for mode, reason in case.get("skip", {}).items():
        if mode not in ("plain", "sanitize", "valgrind", "target") or not reason:
            raise CaseError("skip names a mode and a reason")
    world = {key: case[key] for key in WORLD_KEYS & case.keys()}
    later = case.get("then", [])
    first = {key: case[key] for key in STEP_KEYS & case.keys()}
    steps = [first]
    for number, step in enumerate(later, 2):
        check_keys(step, STEP_KEYS, f"step {number}")
        # What a later request says and expects is its own; where it comes from stays.
        kept = {key: first[key] for key in ("remote_addr", "env", "commands") if key in first}
        steps.append(merge(kept, step))
    for fault in map(parse_fault, world.get("fail", [])):
        if fault.item:
            items.find(fault.item)
    for step in steps:
        if "reply" not in step:
            raise CaseError("no expectation: what is the reply?")
        if step.get("stdin", "close") not in ("close", "open"):
            raise CaseError("stdin is close or open")
        step["reply"] = wire_reply(step["reply"], replies, own)
        step["events"] = splice(step.get("events", []), events)
    return {"name": name, "world": world, "steps": steps, "skip": case.get("skip", {}), "macros": own}


def splice(lines, named):
    """The events of a step, every "@name" replaced by the lines of that name in [events]."""
    filled = []
    for line in lines:
        if line.startswith("@") and line[1:] not in named:
            raise CaseError(f"no such events: {line}")
        filled += splice(named[line[1:]], named) if line.startswith("@") else [line]
    return filled


def wire_reply(reply, replies, own):
    """The text that must be seen on standard output: None for nothing. Macros of the time are still in it."""
    if reply.startswith("@"):
        if reply[1:] not in replies:
            raise CaseError(f"no such reply: {reply}")
        reply = replies[reply[1:]]
    if reply == "none":
        return None
    if reply.startswith("text:"):
        return expand(reply.removeprefix("text:"))
    return own.bare_numbers(format_json(parse_json(expand(reply)))) + "\n"
