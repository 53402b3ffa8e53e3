# SPDX-License-Identifier: MIT
"""Every limit of the contract on both sides: requests that are just right, and such that are just wrong."""

import copy
import dataclasses

from contract import flat
from engine.dryrun import listed

GOOD = {"mac": ["a0b1c2d3e4f5", "A0B1C2D3E4F5"], "ipv4": [], "range": [], "url": ["http:", "https:", "ftp:"]}
BAD = {
    "mac": ["a0b1c2d3e4f", "a0b1c2d3e4f5a", "a0b1c2d3e4fg", ""],
    "ipv4": ["", "router", "256.1.1.1"],
    "range": ["1.1.1.1", "1.1.1.-1.1.1.2", "1.1.1.1-1.1.1", "192.168.100.1000-1.1.1.2", "1.1.1.1-192.168.100.100"],
    "url": ["HTTP:", "gopher:", ""],
}
GOOD["range"] = ["1.1.1.1-1.1.1.2", "192.168.100.100-192.168.1.200"]
MANY = 99  # a value that no list of values has


@dataclasses.dataclass
class Try:
    """A value for one key of one object, on one side of one limit."""

    object: str
    action: str
    path: tuple
    value: object        # MISSING: the key is left out
    inside: bool
    facts: dict
    world: dict

    def __str__(self):
        side = "within" if self.inside else "beyond"
        value = "missing" if self.value is MISSING else repr(self.value)
        return f"{self.action} {self.object}: {'.'.join(map(str, self.path))} {side} its limits: {value[:60]}"


MISSING = object()


def tries_of(contract):
    for name, facts in contract.objects.items():
        for action in ("get", "set"):
            keys = facts.get(action, {}).get("keys", facts.get(action, {}).get("ask", {}))
            for key, below in keys.items():
                yield from tries_of_key(name, action, (key,), below)
            if "value" in facts.get(action, {}):
                yield from (dataclasses.replace(each, path=()) for each in tries_of_key(name, action, ("value",), facts[action]["value"]))


def tries_of_key(name, action, path, facts):
    world = {"store": facts["limit_store"]} if "limit_store" in facts else {}

    def one(value, inside, where=world):
        return Try(name, action, path, value, inside, facts, where)

    kinds = listed(facts["type"])
    is_text = kinds == ["string"]
    if "bytes" in facts:
        low, high = facts["bytes"]
        prefix = "http:" if facts.get("form") == "url" else ""
        for count in {low, high} - {0}:
            yield one(prefix + "x" * (count - len(prefix)), True)
        if low:
            yield one("x" * (low - 1), False)
        yield one(prefix + "x" * (high + 1 - len(prefix)), False)
    if "range" in facts and "open" not in facts or is_text and "range" in facts:
        low, high = facts["range"]
        as_kind = str if is_text else int
        for number, inside in ((low, True), (high, True), (low - 1, False), (high + 1, False)):
            yield one(as_kind(number), inside)
    if "least" in facts:
        yield one(facts["least"], True)
        yield one(facts["least"] - 1, False)
    for row in facts.get("range_by", []):
        low, high = row["range"]
        for number, inside in ((low, True), (high, True), (low - 1, False), (high + 1, False)):
            yield one(number, inside, {"store": row["state"]})
    if "values" in facts and "range" not in facts:
        for kind in kinds:
            for value in facts["values"]:
                if not needs_more(name, path, value):
                    yield one(str(value) if kind == "string" else int(value), True)
            if "open" not in facts:
                yield one("other" if is_text else str(MANY) if kind == "string" else MANY, False)
    if "form" in facts and "loose" not in facts:
        for value in GOOD.get(facts["form"], []):
            yield one(value, True)
        for value in BAD.get(facts["form"], []):
            yield one(value, False)
    if "entries" in facts:
        elements = [[f"{number:012x}"] for number in range(1, facts["entries"] + 2)]
        yield one(elements[:-1], True)
        yield one(elements, False)
    if facts.get("needed") is True and len(path) == 1 and path != ("value",):
        yield one(MISSING, False)
    for key, below in facts.get("keys", {}).items():
        yield from tries_of_key(name, action, (*path, key), below)
    if "of" in facts:
        below = facts["of"]
        if "keys" in below:
            for key, each in below["keys"].items():
                yield from tries_of_key(name, action, (*path, 0, key), each)
        elif "each" in below:
            for number, each in enumerate(below["each"]):
                yield from tries_of_key(name, action, (*path, 0, number), each)
        else:
            yield from tries_of_key(name, action, (*path, 0), below)


def needs_more(name, path, value):
    """A value that takes other keys than those of the example: another limit's trial has them."""
    return (name, path, str(value)) in {("wanInfo", ("type",), "3"), ("qos", ("ipRuleMod", "Act"), "del"), ("qos", ("ipRuleMod", "Act"), "mod")}


def request_of(contract, each):
    """The object of the request: the contract's example, with the value in its place."""
    value = copy.deepcopy(contract.objects[each.object][each.action].get("example", {}))
    merge(value, each.facts.get("limit_with", {}))
    if not each.path:
        return each.value
    spot = value
    for at, word in enumerate(each.path[:-1]):
        if isinstance(word, str):
            if word not in spot:
                spot[word] = [blank(each.path[at + 2:])] if each.path[at + 1] == 0 else {}
            spot = spot[word]
        else:
            spot = spot[word]
    last = each.path[-1]
    if each.value is MISSING:
        del spot[last]
    elif isinstance(last, int) and last >= len(spot):
        spot.append(each.value)
    else:
        spot[last] = each.value
    return value


def blank(rest):
    return {} if rest and isinstance(rest[0], str) else ["a0b1c2d3e4f5"] if rest else ""


def merge(below, above):
    for key, value in above.items():
        if isinstance(value, dict) and isinstance(below.get(key), dict):
            merge(below[key], value)
        else:
            below[key] = value


def refuses(contract, each):
    """Whether anything of the contract says what becomes of a value beyond the limit."""
    return "beyond" in each.facts or any("refuse" in step for step in flat(contract.objects[each.object][each.action].get("steps", [])))
