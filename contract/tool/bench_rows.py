# SPDX-License-Identifier: MIT
"""Rows of the benchmark for the requests of which the contract says all that the router must do: items that are read or
written, a commit, a restart. Those that do more have a row by hand in bench/kinds.cpp."""

import contract  # which puts the engine on the path
import seam  # of platform/, whose folder caseformat_text has put on the path
from engine import dryrun
from engine.dryrun import listed

HEAD = """// SPDX-License-Identifier: MIT
// Rows as in bench/kinds.cpp. Made from contract/objects by contract/make: do not edit.
"""
ROW = """    {{"{action} {name}", R"({{"action":"{action}","sessionid":"{{s}}","{name}":{value}}})",
     R"({expected})", 0, {budget}, {{{steps}}}}},
"""
RESTARTS = {"all": "kRestart", "wifi": "kRestartWifi"}


def text(whole):
    items = {item.name: item for item in seam.read_items()}
    rows = []
    for name, facts in whole.objects.items():
        if steps := get_steps(facts.get("get"), items):
            rows.append(row("get", name, "{}", f'"{next(iter(facts["get"]["reply"]))}"', "kGetBudget", steps))
        if steps := set_steps(whole, name, items):
            value = contract.compact(facts["set"]["example"])
            rows.append(row("set", name, value, '"error":\t0', "kSetBudget", steps))
    return HEAD + "".join(rows)


def row(action, name, value, expected, budget, steps):
    return ROW.format(action=action, name=name, value=value, expected=expected, budget=budget, steps=", ".join(steps))


def plain(store, items):
    """Whether this is one global item that is no table."""
    return isinstance(store, str) and store in items and not items[store].is_table and not items[store].per_interface


def get_steps(side, items):
    """The steps of a get that shows nothing but items, else nothing."""
    if side is None or "ask" in side or side.get("steps"):
        return []
    keys = side["reply"].values()
    if not all(plain(facts.get("store"), items) for facts in keys):
        return []
    return [f'"get {facts["store"]}"' for facts in keys]


def set_steps(whole, name, items):
    """The steps of a set of the example where it only writes items that keep a key as it is, else nothing."""
    side = whole.objects[name].get("set", {})
    steps, example = side.get("steps", []), side.get("example")
    if not isinstance(example, dict) or any(step.keys() & {"run", "send", "each", "done", "state"} for step in steps):
        return []
    owners = {facts["store"]: key for key, facts in side["keys"].items() if isinstance(facts.get("store"), str)}
    body = contract.compact({"action": "set", name: example}).encode()
    [effects] = [end.effects for end in dryrun.ends_of(whole, body) if not end.state]
    found = []
    for item, _ in effects.writes:
        if not plain(item, items) or item not in owners or owners[item] not in example:
            return []
        value = example[owners[item]]
        found.append(f'R"(set {item} "{value}")"' if items[item].kind == "text" else f'"set {item} {value}"')
    restarts = dryrun.restarts(effects)
    if not effects.commit or any(each not in RESTARTS for each in listed(restarts)):
        return []
    return [*found, "kCommit", *(RESTARTS[each] for each in restarts)]
