# SPDX-License-Identifier: MIT
"""The tables of the pages: keys with their limits, messages with their causes. They stand between marks in docs/objects."""

import re

from contract import flat
from engine.dryrun import listed
from engine.expression import parse

FORMS = {
    "mac": "12 hexadecimal digits", "mac upper": "12 hexadecimal digits in upper case", "mac or empty": "12 hexadecimal digits",
    "mac with colons": "six pairs of hexadecimal digits, in lower case with colons", "ipv4": "an IPv4 address",
    "ipv4 or empty": "an IPv4 address", "range": "START-END", "url": "", "clock": "HH:MM:SS",
    "week": "seven characters 0 or 1", "number": "a decimal number", "decimal": "a decimal number", "session": '"Us" and 32 hexadecimal digits',
}
MARK = re.compile(r"<!-- contract: ([\w.]+) -->\n.*?<!-- /contract -->", re.S)


def table(head, rows):
    if not rows:
        return ""
    used = [at for at in range(len(head)) if at < 2 or any(row[at] for row in rows)]
    lines = [[head[at] for at in used], ["---"] * len(used), *([row[at] for at in used] for row in rows)]
    return "".join("|" + "|".join(cell if cell == "---" else f" {cell} " if cell else " " for cell in line) + "|\n" for line in lines)


def type_name(facts):
    kinds = " or ".join(listed(facts["type"]))
    return "anything" if kinds == "any" else kinds


def rows_of(keys, path=""):
    """(path, description) of every key, those within objects and lists too."""
    for key, facts in keys.items():
        yield from rows_of_value(f'{path}"{key}"', facts)


def rows_of_value(path, facts):
    yield path, facts
    if "keys" in facts:
        yield from rows_of(facts["keys"], path + ".")
    if "usual" in facts:
        yield from rows_of(facts["usual"], path + ".")
    for number, each in enumerate(facts.get("each", [])):
        yield from rows_of_value(f"{path}[{number}]", each)
    if "of" in facts and "numbered" not in facts:
        below = facts["of"]
        if "keys" in below:
            yield from rows_of(below["keys"], path + "[].")
        elif "each" in below:
            for number, each in enumerate(below["each"]):
                yield from rows_of_value(f"{path}[][{number}]", each)


def limits(facts):
    parts = []
    if "bytes" in facts:
        low, high = facts["bytes"]
        parts.append(f"{high} bytes" if low == high else f"{low} to {high} bytes" if low else f"at most {high} bytes")
    if "range" in facts:
        parts.append(f"{facts['range'][0]} to {facts['range'][1]}")
    if "least" in facts:
        parts.append(f"at least {facts['least']}")
    parts += [f"{row['name']}: {row['range'][0]} to {row['range'][1]}" for row in facts.get("range_by", [])]
    if FORMS.get(facts.get("form", ""), ""):
        parts.append(FORMS[facts["form"]])
    if "of" in facts and "form" in facts["of"]:
        parts.append(f"each {FORMS[facts['of']['form']]}")
    if "entries" in facts:
        parts.append(f"at most {facts['entries']}")
    if "beyond" in facts:
        parts.append(f"else {facts['beyond'][0].lower() + facts['beyond'][1:]}")
    return "; ".join(parts)


def meaning(facts, is_reply):
    parts = [facts.get("is", "")]
    if "values" in facts and list(facts["values"].values()) != ["always"]:
        parts.append(", ".join(f"{quoted(value, facts)} {text}" for value, text in facts["values"].items()))
    if "unit" in facts:
        parts.append(facts["unit"] if facts["unit"].startswith("as ") else "in " + facts["unit"])
    if "only" in facts and is_reply:
        parts.append("only " + facts["only"])
    if "default" in facts:
        parts.append(f"if missing: {facts['default']}")
    return ". ".join(part[0].upper() + part[1:] if at and part[0] != '"' else part for at, part in enumerate(filter(None, parts)))


def quoted(value, facts):
    return f'"{value}"' if "string" in listed(facts["type"]) and "number" not in listed(facts["type"]) else f"{value}"


def reply_table(keys):
    return table(["key", "type", "form", "meaning"], [(path, type_name(facts), limits(facts), meaning(facts, True)) for path, facts in rows_of(keys)])


def request_table(keys):
    rows = []
    for path, facts in rows_of(keys):
        needed = "yes" if facts.get("needed") is True else facts.get("needed", "no")
        rows.append((path, type_name(facts), needed, limits(facts), meaning(facts, False)))
    return table(["key", "type", "needed", "limits", "meaning"], rows)


def shown(message):
    return f"`{message}`".replace("\n", "\\n") if message else "empty"


def stored_before(facts, action, last):
    """What may have been stored before a refusal: the keys whose items were written, and whether that is committed."""
    side = facts[action]
    owner = {}
    for path, key in rows_of(side.get("keys", {})):
        for item in listed(key.get("store", [])):
            owner.setdefault(item, []).append(path.split(".")[0].split("[")[0])
    keys, writes, commits = [], [], []  # of writes and commits the tests that must hold

    def note(key, tests):
        if key not in keys:
            keys.append(key)
            writes.append(tests)

    for step in side.get("steps", []):
        inside = any(below is last for below in flat(step.get("steps", [])))
        tests = tests_of(step)
        if step is last:
            break
        if any(exclude(one, other) for one in tests for other in tests_of(last)):
            continue
        if "each" in step:
            if any("write" in below for below in step["steps"]):
                note(f'elements of "{step["each"]}"' if inside else f'"{step["each"]}"', tests)
            if inside:
                break
        for item in listed(step.get("write", [])):
            for key in owner.get(item, []):
                note(key, tests)
        if "commit" in step:
            commits.append(tests)
    return ", ".join(keys) + (committed(writes, commits) if keys and commits else "")


def tests_of(step):
    """The tests all of which must hold for a step to be done, as far as "and" joins them."""
    def split(tree):
        return split(tree[1]) + split(tree[2]) if tree[0] == "and" else [tree]

    return split(parse(step["when"])) if "when" in step else []


THERE = {"given", "text", "there", "null", "breaks", "longer", "length"}


def exclude(one, other):
    """Whether two tests cannot both hold."""
    if one == ("not", other) or other == ("not", one):
        return True
    if "not" in (one[0], other[0]) or one[1] != other[1]:
        return False
    return "missing" in (one[0], other[0]) and bool({one[0], other[0]} & THERE) or one[0] == other[0] == "=" and one[2] != other[2]


def implies(test, wanted):
    """Whether one test holds whenever another does: what is within a key is there with the key only."""
    return test == wanted or wanted[0] == "given" and test[0] in THERE and f"{test[1]}.".startswith(f"{wanted[1]}.")


def committed(writes, commits):
    """Whether what was written is committed, or with which keys only."""
    if all(any(all(any(implies(test, wanted) for test in tests) for wanted in commit) for commit in commits) for tests in writes):
        return " (committed)"
    keys = " or ".join(f'"{wanted[1]}"' for commit in commits for wanted in commit)
    return f" (committed with {keys} only)"


def message_rows(facts):
    """(action, code, text, causes, stored before) of every message of an object, in the order of the checks."""
    rows = {}
    for action in ("get", "set"):
        for step in flat(facts.get(action, {}).get("steps", [])):
            if "refuse" in step:
                row = rows.setdefault((action, step.get("code", -1), step["refuse"]), ([], []))
                if step["cause"] not in row[0]:
                    row[0].append(step["cause"])
                before = stored_before(facts, action, step)
                if before not in row[1]:
                    row[1].append(before)
    if "set" not in facts:
        rows["set", -1, "ERROR:not support set"] = (["a set"], [""])
    return [(action, code, text, "; ".join(causes), "; or ".join(each or "nothing" for each in before) if any(before) else "")
            for (action, code, text), (causes, before) in rows.items()]


def messages_table(facts):
    rows = message_rows(facts)
    actions = {row[0] for row in rows}
    codes = {row[1] for row in rows}
    return table(
        ['"msg"', "cause", "in" if len(actions) > 1 else "", '"error"' if len(codes) > 1 else "", "stored before it"],
        [(shown(text), cause, action if len(actions) > 1 else "", str(code) if len(codes) > 1 else "", before)
         for action, code, text, cause, before in rows],
    )


def tables_of(facts):
    """mark -> table, of a page."""
    found = {"messages": messages_table(facts)}
    if "get" in facts:
        found["get.reply"] = reply_table(facts["get"]["reply"])
        if "ask" in facts["get"]:
            found["get.request"] = request_table(facts["get"]["ask"])
    if "set" in facts:
        keys = facts["set"].get("keys") or {facts["object"]: facts["set"]["value"]}
        found["set.request"] = request_table(keys)
    return found


def overview(contract):
    """All objects in their order, each with the first sentence of what it is."""
    rows = []
    for name, facts in contract.objects.items():
        about = facts["about"].split(". ")[0].removesuffix(".")
        rows.append((f"[{name}]({name}.md)", *("yes" if action in facts else "no" for action in ("get", "set")), about))
    return table(["object", "get", "set", "what it is"], rows)


def splice(page, tables):
    """The page with the tables between its marks. A mark that the contract has no table for is an error."""
    seen = []

    def fill(match):
        seen.append(match[1])
        return f"<!-- contract: {match[1]} -->\n{tables[match[1]]}<!-- /contract -->"

    page = MARK.sub(fill, page)
    missing = set(tables) - set(seen)
    if missing:
        raise KeyError("no mark for " + ", ".join(sorted(missing)))
    return page
