# SPDX-License-Identifier: MIT
# mypy: ignore-errors
"""What a request would do, told from the contract alone: which refusals, which writes, which restarts.

The router's state is not known here. So a request has a list of ends, in the order in which the program could come to
them: all but the last depend on the state, which each names; the last one is reached when none of the others is.
"""

import copy
import dataclasses
import difflib

from . import wire
from .expression import parse
from .wire import MISSING, Object


@dataclasses.dataclass
class Effects:
    """What was done up to an end. Each write is (item, state or None)."""

    writes: list = dataclasses.field(default_factory=list)
    commit: str = ""         # "" no, "yes" after the reply, "at once", or the state on which it depends
    restart: set = dataclasses.field(default_factory=set)
    sends: list = dataclasses.field(default_factory=list)
    runs: list = dataclasses.field(default_factory=list)

    def copy(self):
        return Effects(list(self.writes), self.commit, set(self.restart), list(self.sends), list(self.runs))


@dataclasses.dataclass
class End:
    """One way in which a request can end."""

    reply: str               # "getRsp", "setRsp", "loginRsp", "scanRsp", "error_request", or "" for none
    code: object = 0
    message: object = None   # None: the reply has none
    object: str = ""         # the object that refused
    cause: str = ""
    state: str = ""          # what of the router's state leads here; "": nothing else does
    effects: Effects = dataclasses.field(default_factory=Effects)


class Walk:
    """The steps of one object on one value."""

    def __init__(self, facts, side, value, effects):
        self.facts, self.side, self.value, self.effects = facts, side, value, effects
        self.ends = []       # (step, effects up to it, "refuse" or "done", state)

    def run(self, steps, it=MISSING, items=(), at=0, it_facts=None):
        """True: the object has ended for certain."""
        for step in steps:
            if "when" in step and not self.holds(parse(step["when"]), it, items, at, it_facts):
                continue
            state = step.get("state")
            if state and "sure" in step and self.holds(parse(step["sure"]), it, items, at, it_facts):
                state = None
            if "unreachable" in step:
                continue
            if "refuse" in step or "done" in step:
                self.ends.append((step, self.effects.copy(), "refuse" if "refuse" in step else "done", state))
                if not state:
                    return True
            elif "each" in step:
                array = wire.find(self.value, step["each"])
                elements = array if isinstance(array, list) and not isinstance(array, Object) else []
                facts = self.keys()[step["each"]]["of"]
                for number, element in enumerate(elements):
                    if self.run(step["steps"], element, elements, number, facts):
                        return True
            else:
                self.apply(step, state)
        return False

    def apply(self, step, state):
        effects = self.effects
        for item in listed(step.get("write", [])):
            effects.writes.append((item, state))
        if "commit" in step:
            effects.commit = "at once" if step["commit"] == "at once" else effects.commit or "yes"
        if step.get("restart") == "none":
            effects.restart.discard("all")
        elif "restart" in step:
            effects.restart.add(step["restart"])
        if "send" in step:
            effects.sends.append((step["send"], state))
        if "run" in step:
            effects.runs.append((step["run"], state))

    # ---- conditions

    def keys(self):
        side = self.facts[self.side]
        return side.get("keys", side.get("ask", {}))

    def look_up(self, path, it, it_facts):
        """(value, what the contract tells of it) of a path."""
        words = path.split(".")
        if words[0] == "value":
            return self.value, self.facts[self.side]["value"]
        if words[0] == "it":
            value, facts = it, it_facts
            words = words[1:]
        else:
            value, facts = self.value, {"keys": self.keys()}
        for word in words:
            if word.isdigit():
                facts = facts["each"][int(word)]
                is_array = isinstance(value, list) and not isinstance(value, Object)
                value = value[int(word)] if is_array and int(word) < len(value) else MISSING
            else:
                facts = facts["keys"][word]
                value = wire.find(value, word)
        return value, facts

    def holds(self, tree, it, items, at, it_facts):
        if tree[0] in ("and", "or"):
            left = self.holds(tree[1], it, items, at, it_facts)
            if left == (tree[0] == "or"):
                return left
            return self.holds(tree[2], it, items, at, it_facts)
        if tree[0] == "not":
            return not self.holds(tree[1], it, items, at, it_facts)
        word, path, arguments = tree
        if word == "unfit":
            return pool_is_unfit(*(wire.ipv4(self.look_up(each, it, it_facts)[0]) for each in path))
        value, facts = self.look_up(path, it, it_facts)
        if word == "given":
            return value is not MISSING
        if word == "there":  # what is null is as good as missing
            return value is not MISSING and value is not None
        if word == "missing":
            return value is MISSING
        if word == "null":
            return value is None
        if word == "text":
            return isinstance(value, str)
        if word == "breaks":
            return breaks(value, facts)
        if word == "longer":
            return isinstance(value, str) and wire.length(value) > arguments[0] or \
                isinstance(value, list) and not isinstance(value, Object) and len(value) > arguments[0]
        if word == "length":
            return isinstance(value, str) and wire.length(value) == arguments[0]
        if word == "outside":
            return value is not MISSING and not arguments[0] <= wire.integer(value) <= arguments[1]
        if word == "repeated":
            later = [element[0] for element in items[at + 1:] if isinstance(element, list) and element and not isinstance(element, Object)]
            return isinstance(value, str) and value in later
        if word == "=":
            if isinstance(arguments[0], str):
                return value == arguments[0] and isinstance(value, str)
            return worth(value, facts) == arguments[0]
        raise AssertionError(word)


def worth(value, facts):
    """The number that a value counts as."""
    counts, is_text = facts.get("counts"), isinstance(value, str)
    reads_text = "string" in listed(facts["type"])
    number = wire.decimal(value) if is_text and reads_text else wire.integer(value)
    if counts == "low byte" or counts == "low byte of a text" and is_text:
        return wire.signed_byte(number)
    return number


def breaks(value, facts):
    """Whether a value is there, of a type that its limits mean, and beyond them."""
    if value is MISSING:
        return False
    kinds = listed(facts["type"])
    if "string" in kinds and "number" not in kinds and not isinstance(value, str):
        return False
    if isinstance(value, str) and "bytes" in facts and not facts["bytes"][0] <= wire.length(value) <= facts["bytes"][1]:
        return True
    if "range" in facts and "number" in kinds and not facts["range"][0] <= wire.integer(value) <= facts["range"][1]:
        return True
    if "least" in facts and wire.integer(value) < facts["least"]:
        return True
    return "form" in facts and not facts.get("loose") and isinstance(value, str) and not FORMS[facts["form"]](value)


def pool_is_unfit(ip, mask, start, end):
    """The rule for a DHCP pool. The mask's bytes count with the last octet as the most significant, see lan.yaml."""
    if None in (ip, mask, start, end):
        return True
    first, last = int.from_bytes(start, "big"), int.from_bytes(end, "big")
    room = int.from_bytes(mask, "little") ^ 0xFFFFFFFF
    inside = all((a ^ b) & m == 0 for address in (start, end) for a, b, m in zip(address, ip, mask))
    return last <= first or room < last - first or not inside


def is_range(text):
    start, dash, _ = text.partition("-")
    return bool(dash) and 7 <= wire.length(start) <= 15 and 7 <= wire.length(text) - wire.length(start) <= 15


FORMS = {
    "mac": lambda text: len(text) == 12 and all(letter in "0123456789abcdefABCDEF" for letter in text),
    "ipv4": lambda text: wire.ipv4(text) is not None,
    "range": is_range,
    "url": lambda text: text.startswith(("http:", "https:", "ftp:")),
    "session": lambda text: True,
}


def listed(value):
    return value if isinstance(value, list) else [value]


# ---- a whole request

def ends_of(contract, body):
    """All ends of a request, given as bytes. The session is taken to be right; without it the reply is "need login"."""
    try:
        request = wire.parse(body)
    except (wire.ParseError, RecursionError):
        return [End("", cause="the body is no JSON")]
    action = wire.find(request, "action")
    if action is MISSING:
        return [End("error_request", "-1", "error_request", cause='"action" is missing')]
    open_to_all = action in ("scan", "login")
    ends = [] if open_to_all else [End("loginRsp", 6, "need login", state="there is no such session")]
    if isinstance(wire.find(request, "ip"), str):
        return [*ends, End("", cause='"ip" names another device')]
    if action == "scan":
        return [End("", state="the firmware information file is missing"), End("scanRsp", "0")]
    if action == "login":
        return login(request)
    if action not in ("get", "set"):
        return [*ends, End("error_request", "-1", "error_request", cause='"action" is unknown')]
    return ends + dispatch(contract, request, action)


def login(request):
    info = wire.find(request, "info")
    whole = isinstance(wire.find(info, "user"), str) and isinstance(wire.find(info, "pwd"), str)
    refused = End("loginRsp", 7, "login fail", cause="name or password is missing or no string")
    if not whole:
        return [refused]
    refused.state = "name or password is wrong"
    return [refused, End("loginRsp", 0, "login success")]


def dispatch(contract, request, action):
    reply, ends, effects, reached = action + "Rsp", [], Effects(), False
    for name in contract.order:
        value, facts = wire.find(request, name), contract.objects[name]
        if value is MISSING or action == "get" and "get" not in facts:
            continue
        reached = True
        if action not in facts:
            ends.append(End(reply, -1, "ERROR:not support set", name, "it can only be read", effects=effects))
            return ends
        walk = Walk(facts, action, value, effects)
        over = walk.run(facts[action].get("steps", []))
        for step, done, kind, state in walk.ends:
            if kind == "refuse":
                ends.append(End(reply, step.get("code", -1), step["refuse"], name, step["cause"], state or "", done))
                if over and step is walk.ends[-1][0] and not state:
                    return ends
            elif state:
                # The object ends well early; what other objects do comes behind it all the same.
                ends += [dataclasses.replace(end, state=state + ("; " + end.state if end.state else ""))
                         for end in rest(contract, request, action, name, done)]
            else:
                effects = done
    if not reached:
        return [End(reply, -1, "", cause="no object is named that the router knows")]
    return [*ends, End(reply, effects=effects)]


def rest(contract, request, action, behind, effects):
    """The ends of the objects behind one that ended early."""
    later = contract.order[contract.order.index(behind) + 1:]
    named = [name for name in later if wire.find(request, name) is not MISSING]
    if not named:
        return [End(action + "Rsp", effects=effects)]
    view = copy.copy(contract)
    view.order = later
    ends = dispatch(view, request, action)
    for end in ends:
        end.effects.writes = effects.writes + end.effects.writes
        end.effects.sends = effects.sends + end.effects.sends
        end.effects.restart |= effects.restart
        end.effects.commit = end.effects.commit or effects.commit
    return ends


RESTARTS = ("all", "wifi", "lan", "wan")  # of these only the first that is asked for takes place


def restarts(effects):
    """What restarts after the reply, and whether the firewall is loaded anew."""
    return [each for each in RESTARTS if each in effects.restart][:1] + (["firewall"] if "firewall" in effects.restart else [])


# ---- as a document

def document(contract, body):
    """All that is told of a request, as what becomes JSON: the keys that nobody reads, and the ends."""
    strangers = [{"key": key, "meant": near or None} for key, near in unknown_keys(contract, body)]
    return {"unknown": strangers, "ends": [as_document(end) for end in ends_of(contract, body)]}


def as_document(end):
    return {
        "reply": end.reply or None,
        "error": end.code if end.reply else None,
        "msg": end.message,
        "object": end.object or None,
        "cause": end.cause or None,
        "state": end.state or None,
        "writes": [{"item": item, "state": state} for item, state in end.effects.writes],
        "committed": end.effects.commit or None,
        "restarts": restarts(end.effects),
        "messages": [{"message": name, "state": state} for name, state in end.effects.sends],
        "commands": [{"command": name, "state": state} for name, state in end.effects.runs],
    }


# ---- keys that nobody reads

def unknown_keys(contract, body):
    """(path, the key that was perhaps meant) of every key that the router does not look at."""
    try:
        request = wire.parse(body)
    except (wire.ParseError, RecursionError):
        return []
    action = wire.find(request, "action")
    known = dict(contract.protocol["request"])
    if action == "login":
        known |= contract.protocol["login"]["request"]
    elif action in ("get", "set"):
        for name, facts in contract.objects.items():
            side = facts.get(action, {})
            known[name] = {"type": "object", "keys": side.get("keys", side.get("ask", {}))}
    return list(strangers(request, {"type": "object", "keys": known}, ""))


def strangers(value, facts, path):
    if isinstance(value, Object) and "keys" in facts:
        names = {wire.lower(key): key for key in facts["keys"]}
        for key, member in value:
            where = f"{path}.{key}" if path else key
            if wire.lower(key) in names:
                yield from strangers(member, facts["keys"][names[wire.lower(key)]], where)
            else:
                near = difflib.get_close_matches(wire.lower(key), list(names), 1)
                yield where, names[near[0]] if near else ""
    elif isinstance(value, list) and not isinstance(value, Object) and "of" in facts:
        for number, element in enumerate(value):
            yield from strangers(element, facts["of"], f"{path}[{number}]")
